#pragma once

#include <QStringList>

// orvex-nuc acquire: takes frames from a camera and writes them as PNG files
// of the camera's bit depth, named in acquisition order, for generate.
int runAcquireCommand(const QStringList& arguments);
