#pragma once

class QSettings;

// Default contents of the settings files the store creates on first start.
namespace OrxSettingsDefaults {

// Colour-correction profiles: "Profile SRGB" with the 24 reference colours of
// the colour chart and "Profile SRGB Weighted" with the same colours plus a
// weight per patch.
void writeColourProfiles(QSettings& settings);

// Defect-pixel match patterns "DefMatch00" to "DefMatch33".
void writeDefectMatchTable(QSettings& settings);

// Descriptions of the camera's user-map slots "nuc_usermap0.ge3" to "nuc_usermap4.ge3".
void writeUserMapTable(QSettings& settings);

} // namespace OrxSettingsDefaults
