#include "BackupsCommand.h"

#include "CameraSession.h"
#include "CliCommand.h"
#include "NucMapBackups.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc backups", text);
}

QJsonObject toJson(const NucMapBackups::Backup& backup)
{
    return QJsonObject{
        {"entry", backup.entry},
        {"time", backup.time.toString(Qt::ISODateWithMs)},
        {"size", backup.size},
        {"format", backup.format.isEmpty() ? QJsonValue() : QJsonValue(backup.format)},
        {"mapId", backup.mapId >= 0 ? QJsonValue(backup.mapId) : QJsonValue()},
        {"path", backup.path},
    };
}

} // namespace

int runBackupsCommand(const QStringList& arguments)
{
    QCommandLineParser parser;
    parser.setApplicationDescription(
        tr("Lists the backups of a camera's map entries that uploads kept, newest first. "
           "Restoring one is an upload of its file."));
    parser.addPositionalArgument("backups", tr("List map backups."), "backups");
    const QCommandLineOption camera(
        "camera", tr("The camera: extended ID, plain ID or serial number."), "ID");
    const QCommandLineOption entry("entry", tr("Only the backups of this map entry."), "NAME");
    const QCommandLineOption json("json", tr("Print a JSON array of objects."));
    parser.addOption(camera);
    parser.addOption(entry);
    parser.addOption(json);

    const int parsed = parseSubcommand(parser, arguments);
    if (parsed >= 0)
        return parsed;
    if (parser.positionalArguments().size() != 1)
        return usageError("backups", tr("takes no arguments"));
    const QString id = parser.value(camera);
    if (id.isEmpty())
        return usageError("backups", tr("give the camera with --camera ID"));

    // Backups are kept by serial number; a camera that is not connected is
    // found by the serial number it was given.
    QString serial = id;
    bool connected = false;
    {
        CameraSession session;
        const CameraInfoMap info = session.find(id);
        connected = !info.isEmpty();
        if (connected)
            serial = CameraSession::serialNumber(info);
    }
    const NucMapBackups store;
    if (!connected && !QDir(store.folder(serial)).exists()) {
        cliErr() << "orvex-nuc backups: "
                 << tr("no backups are kept of a camera with the ID or serial number '%1'").arg(id)
                 << '\n'
                 << Qt::flush;
        return ExitFailed;
    }

    const QList<NucMapBackups::Backup> backups = store.list(serial, parser.value(entry));
    if (parser.isSet(json)) {
        QJsonArray array;
        for (const NucMapBackups::Backup& backup : backups)
            array.append(toJson(backup));
        cliOut() << QJsonDocument(array).toJson(QJsonDocument::Indented);
    } else {
        for (const NucMapBackups::Backup& backup : backups)
            cliOut() << backup.entry << ": " << NucMapBackups::describe(backup) << '\n'
                     << "  " << QDir::toNativeSeparators(backup.path) << '\n';
    }
    cliOut() << Qt::flush;
    return ExitOk;
}
