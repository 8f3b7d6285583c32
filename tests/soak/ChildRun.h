#pragma once

#include <QString>
#include <QStringList>

// One run of a program as a child process with its standard output and error
// in files: how it ended and how much memory it took at its peak.
struct ChildRun
{
    int exitCode = -1; // 128 + signal number when a signal ended it
    long peakRssKiB = 0;
    QString out;
    QString err;
};

// Runs program with arguments in the current environment and waits for it;
// scratch is a folder for the captured output.
ChildRun runChild(const QString& program, const QStringList& arguments, const QString& scratch);
