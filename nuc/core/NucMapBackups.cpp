#include "NucMapBackups.h"

#include "NucMapFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QStandardPaths>

#include <algorithm>

namespace {

const QString TimeFormat = QStringLiteral("yyyyMMdd'T'HHmmss.zzz'Z'");
// <entry>-<time>.<extension>; the entry may itself hold '-'.
const QRegularExpression
    BackupName(QStringLiteral("^(.+)-(\\d{8}T\\d{6}\\.\\d{3}Z)\\.([A-Za-z0-9]+)$"));

// Serial numbers and entry names come from the camera; only characters that
// are safe in a file name on every system are kept.
QString safeName(const QString& text)
{
    QString safe = text;
    safe.replace(QRegularExpression(QStringLiteral("[^A-Za-z0-9._-]")), QStringLiteral("_"));
    if (safe.isEmpty() || safe.startsWith('.'))
        safe.prepend('_');
    return safe;
}

NucMapBackups::Backup describeFile(const QFileInfo& file, const QRegularExpressionMatch& name)
{
    NucMapBackups::Backup backup;
    backup.path = file.absoluteFilePath();
    backup.entry = name.captured(1);
    backup.time = QDateTime::fromString(name.captured(2), TimeFormat);
    backup.time.setTimeSpec(Qt::UTC);
    backup.size = file.size();
    QFile content(backup.path);
    NucMapFile::Info info;
    if (content.open(QIODevice::ReadOnly) && NucMapFile::parse(content.readAll(), &info, nullptr)) {
        const bool bin = info.kind == NucMapFile::Kind::Bin;
        backup.format = bin ? QStringLiteral("bin") : QStringLiteral("ge3");
        if (bin)
            backup.mapId = info.blockId;
    }
    return backup;
}

} // namespace

NucMapBackups::NucMapBackups(const QString& root) : m_root(root) {}

QString NucMapBackups::defaultRoot()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) +
           QStringLiteral("/orvex-nuc/backups");
}

QString NucMapBackups::folder(const QString& serial) const
{
    return m_root + '/' + safeName(serial);
}

QList<NucMapBackups::Backup> NucMapBackups::list(const QString& serial, const QString& entry) const
{
    QList<Backup> backups;
    const QFileInfoList files = QDir(folder(serial)).entryInfoList(QDir::Files, QDir::Name);
    for (const QFileInfo& file : files) {
        const QRegularExpressionMatch name = BackupName.match(file.fileName());
        if (!name.hasMatch() || (!entry.isEmpty() && name.captured(1) != safeName(entry)))
            continue;
        backups << describeFile(file, name);
    }
    std::stable_sort(backups.begin(), backups.end(),
                     [](const Backup& a, const Backup& b) { return a.time > b.time; });
    return backups;
}

QString NucMapBackups::take(const QString& serial, const QString& entry, const QString& extension,
                            const Download& download, QString* error, const QDateTime& now) const
{
    auto fail = [error](const QString& why) {
        if (error)
            *error = why;
        return QString();
    };
    const QString dir = folder(serial);
    if (!QDir().mkpath(dir))
        return fail(tr("cannot create the backup folder %1").arg(QDir::toNativeSeparators(dir)));

    QDateTime time = now.toUTC();
    QString path;
    for (;; time = time.addMSecs(1)) {
        path = dir + '/' + safeName(entry) + '-' + time.toString(TimeFormat) + '.' + extension;
        if (!QFile::exists(path))
            break;
    }
    // Downloaded under another name first: a backup that is there is whole.
    const QString partial = path + QStringLiteral(".part");
    QString why;
    if (!download(partial, &why)) {
        QFile::remove(partial);
        return fail(why);
    }
    if (!QFile::rename(partial, path)) {
        QFile::remove(partial);
        return fail(tr("cannot store the backup as %1").arg(QDir::toNativeSeparators(path)));
    }

    const QList<Backup> kept = list(serial, entry);
    for (int i = Kept; i < kept.size(); ++i)
        QFile::remove(kept[i].path);
    return path;
}

QString NucMapBackups::timeText(const QDateTime& time)
{
    return time.toUTC().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss.zzz")) +
           QStringLiteral(" UTC");
}

QString NucMapBackups::describe(const Backup& backup)
{
    QString map;
    if (backup.mapId >= 0)
        map = tr("map id %1").arg(backup.mapId);
    else if (backup.format == QLatin1String("ge3"))
        map = tr("user map");
    else
        map = tr("not a map file");
    return tr("%1, %2 bytes, %3").arg(timeText(backup.time)).arg(backup.size).arg(map);
}
