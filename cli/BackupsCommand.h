#pragma once

#include <QStringList>

// orvex-nuc backups: lists the map backups that uploads kept of a camera's
// entries, newest first.
int runBackupsCommand(const QStringList& arguments);
