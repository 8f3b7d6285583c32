#pragma once

#include <QStringList>

// orvex-nuc upload: writes a .bin map file into a shading-map entry or a .ge3
// user map file into a user-map entry of a camera.
int runUploadCommand(const QStringList& arguments);
