#pragma once

#include <QMap>
#include <QString>
#include <QVariant>

// Describes one camera by the keys "Extended ID", "Camera ID", "Model Name",
// "Camera Name", "Serial No.", "Interface", "Transport Layer", "TL Path" (texts)
// and "Full Access" (bool). The extended ID identifies a camera everywhere.
using CameraInfoMap = QMap<QString, QVariant>;
