#pragma once

#include <QStringList>

// orvex-nuc verify: measures a map on the camera (frames with the correction
// off, then with the map on) and reports the EMVA 1288 figures.
int runVerifyCommand(const QStringList& arguments);
