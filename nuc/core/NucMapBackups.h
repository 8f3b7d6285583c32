#pragma once

#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>

// The camera's own map files as they were before an upload overwrote them,
// one folder per camera:
//   <root>/<camera serial>/<entry>-<UTC time, e.g. 20261124T002315.123Z>.<bin|ge3>
// The root is $XDG_DATA_HOME/orvex-nuc/backups. Names sort in time order
// within an entry; the newest Kept backups of each entry stay, older ones go.
// Restoring is an upload of the backup file like any other map file.
class NucMapBackups
{
    Q_DECLARE_TR_FUNCTIONS(NucMapBackups)

public:
    static constexpr int Kept = 20;

    struct Backup
    {
        QString path;
        QString entry;
        QDateTime time; // UTC
        qint64 size = 0;
        QString format;    // "bin", "ge3", or empty when the file is no map file
        qint64 mapId = -1; // a .bin's map id; -1 for user maps and other files
    };

    // Fetches the camera's current file of an entry into path; false with the
    // reason in *error when it did not arrive whole.
    using Download = std::function<bool(const QString& path, QString* error)>;

    explicit NucMapBackups(const QString& root = defaultRoot());
    static QString defaultRoot();

    QString folder(const QString& serial) const;

    // The camera's backups, of one entry or (empty entry) of all, newest first.
    QList<Backup> list(const QString& serial, const QString& entry = QString()) const;

    // Downloads the entry's current file into a new backup named after `now`
    // (a millisecond later while that name is taken) and drops the entry's
    // backups beyond the newest Kept. Returns the backup's path, or an empty
    // text with the reason in *error; a failed download leaves no file.
    QString take(const QString& serial, const QString& entry, const QString& extension,
                 const Download& download, QString* error,
                 const QDateTime& now = QDateTime::currentDateTimeUtc()) const;

    // "2026-11-24 00:23:15.123 UTC, 65568 bytes, map id 8193"
    static QString describe(const Backup& backup);
    // "2026-11-24 00:23:15.123 UTC"
    static QString timeText(const QDateTime& time);

private:
    QString m_root;
};
