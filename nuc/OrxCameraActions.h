#pragma once

#include "NucImageInput.h"

#include <QStringList>

class OxCamera;
class QWidget;
struct OxMapEntry;

// What the panel does with the opened camera beyond moving maps: frames into
// a series, and a verification of a map entry with its report.
namespace OrxCameraActions {

// Runs "Acquire…" for the series through the dialog seam. The list texts of
// the frames added; empty when cancelled or failed (the series unchanged).
QStringList acquire(QWidget* parent, NucImageInput& input, NucImageInput::Series which,
                    OxCamera* camera);

// Takes frames with the correction off and with entry on, puts the camera's
// setting back and opens the report in a window of its own (deleted when
// closed); the dark series, when it holds frames, is the dark reference.
// Failures are told through the dialog seam.
void verify(QWidget* parent, OxCamera* camera, const OxMapEntry& entry, const NucImageInput& input,
            int frames = 16);

} // namespace OrxCameraActions
