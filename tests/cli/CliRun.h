#pragma once

#include <QProcess>
#include <QStringList>

#include "TestFiles.h"

// Running the orvex-nuc binary under test (ORVEX_NUC_BINARY); TestFiles.h for
// the files it reads and writes.
struct CliRun
{
    int exitCode = -1; // -1: did not finish normally within a minute
    QString out;
    QString err;
};

inline CliRun orvexNuc(const QStringList& arguments)
{
    QProcess process;
    process.start(ORVEX_NUC_BINARY, arguments);
    CliRun run;
    if (!process.waitForFinished(60000) || process.exitStatus() != QProcess::NormalExit)
        return run;
    run.exitCode = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromUtf8(process.readAllStandardError());
    return run;
}
