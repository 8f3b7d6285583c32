#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>

// Whole-file reads and writes for tests that compare bytes on disk.

// The file's bytes, or ifMissing when it cannot be read (a marker that no
// expected content equals, where an empty file must not pass for a missing
// one).
inline QByteArray readFile(const QString& path, const QByteArray& ifMissing = QByteArray())
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : ifMissing;
}

inline bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}
