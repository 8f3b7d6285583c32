#pragma once

#include "CameraInfoMap.h"

#include <QString>

// Why the assistant cannot open a camera of the list, in the operator's
// words ("held by another application", "not supported by this program");
// empty when it can be opened.
QString cameraOpenRefusal(const CameraInfoMap& camera);
