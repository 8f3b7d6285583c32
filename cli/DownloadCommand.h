#pragma once

#include <QStringList>

// orvex-nuc download: reads an entry of a camera into a local file.
int runDownloadCommand(const QStringList& arguments);
