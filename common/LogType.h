#pragma once

#include <QMetaType>

// Kind of a log line shown in the main window's log view. The assistant panel
// sends them, possibly from worker threads, so the type is registered with
// the meta-type system under the name "LogType" by the window and the panel.
enum LogType
{
    LogInfo = 0,
    LogWarning = 1, // shown in yellow
    LogError = 2    // shown in red; also opens the log view
};
Q_DECLARE_METATYPE(LogType)
