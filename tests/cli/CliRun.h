#pragma once

#include <QFile>
#include <QProcess>
#include <QStringList>

// Running the orvex-nuc binary under test (ORVEX_NUC_BINARY) and the files it
// reads and writes.
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

// The file's bytes; empty when it cannot be read.
inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

inline bool writeFile(const QString& path, const QByteArray& data)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(data) == data.size();
}
