#pragma once

#include <QMetaType>

// Kind of a log line sent to the main window's log view.
enum LogType
{
    LogInfo = 0,
    LogWarning = 1,
    LogError = 2
};
Q_DECLARE_METATYPE(LogType)
