#pragma once

#include <QStringList>

// orvex-nuc cameras: lists the detected cameras with their information, the
// models the assistant serves unless --all, as text or as JSON.
int runCamerasCommand(const QStringList& arguments);
