#include "UploadCommand.h"

#include "CameraTransfer.h"
#include "CliCommand.h"
#include "NucMapBackups.h"
#include "NucMapFile.h"
#include "OxCamera.h"
#include "OxFeatureContainer.h"

#include <QCommandLineOption>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTextStream>

#include <vector>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc upload", text);
}

// Map entries take only their own kind of file; the camera would refuse any
// other only after the whole transfer.
QString wrongKind(const OxMapEntry& entry, const QString& path, const QByteArray& data)
{
    if (entry.kind == OxMapEntry::Kind::DeviceFile)
        return QString();
    const bool wantBin = entry.kind == OxMapEntry::Kind::ShadingMap;
    NucMapFile::Info info;
    QString error;
    const bool parsed = NucMapFile::parse(data, &info, &error);
    if (parsed && (info.kind == NucMapFile::Kind::Bin) == wantBin)
        return QString();
    const QString want = wantBin ? tr("the shading-map entry %1 takes .bin map files")
                                 : tr("the user-map entry %1 takes .ge3 user map files");
    return tr("%1 is not a %2 file (%3); %4")
        .arg(path, wantBin ? ".bin" : ".ge3",
             parsed ? (wantBin ? tr("it is a .ge3 user map file") : tr("it is a .bin map file"))
                    : error,
             want.arg(entry.name));
}

// Keeps the camera's current file of the entry among the backups before the
// upload replaces it; the backup's path, or empty with the reason in *error.
QString backUp(const CameraTransfer& transfer, QString* error)
{
    const OxMapEntry& entry = transfer.entry();
    auto download = [&](const QString& path, QString* why) {
        long read = 0;
        if (transfer.camera()->DownloadDeviceFile(QFile::encodeName(path).constData(),
                                                  entry.fileName.toUtf8().constData(),
                                                  entry.selector.toUtf8().constData(), &read))
            return true;
        *why = tr("the download of %1 from camera %2 failed after %3 bytes")
                   .arg(entry.name, transfer.extendedId())
                   .arg(read);
        return false;
    };
    const QString extension = entry.kind == OxMapEntry::Kind::UserMap ? "ge3" : "bin";
    return NucMapBackups().take(transfer.serialNumber(), entry.name, extension, download, error);
}

} // namespace

int runUploadCommand(const QStringList& arguments)
{
    CameraTransfer transfer(
        "upload", tr("Upload a map file."),
        tr("Uploads a .bin map file to a shading-map entry or a .ge3 user map file "
           "to a user-map entry of a camera. The camera's current file of the entry is "
           "kept as a backup first (orvex-nuc backups lists them; restoring is an upload of "
           "a backup file). Progress goes to the error stream."));
    const QCommandLineOption noBackup(
        "no-backup", tr("Upload without keeping the camera's current file as a backup."));
    transfer.addOption(noBackup);
    const int parsed = transfer.parse(arguments);
    if (parsed >= 0)
        return parsed;

    QFile file(transfer.file());
    if (!file.open(QIODevice::ReadOnly))
        return transfer.fail(tr("%1: %2").arg(transfer.file(), file.errorString()));
    const QByteArray data = file.readAll();
    if (data.isEmpty())
        return transfer.fail(tr("%1 is empty").arg(transfer.file()));

    if (!transfer.open())
        return ExitFailed;
    const OxMapEntry& entry = transfer.entry();
    const QString kindError = wrongKind(entry, transfer.file(), data);
    if (!kindError.isEmpty())
        return transfer.fail(kindError);

    // A streaming camera holds its parameters and must not take a map then.
    QVariant locked;
    if (transfer.camera()->GetFeatureContainer()->GetValue("TLParamsLocked", locked) &&
        locked.toLongLong() != 0)
        return transfer.fail(tr("the parameters of camera %1 are locked (\"TLParamsLocked\"); "
                                "stop streaming before uploading a map")
                                 .arg(transfer.extendedId()));

    if (!transfer.isSet(noBackup)) {
        QString backupError;
        const QString backup = backUp(transfer, &backupError);
        if (backup.isEmpty())
            return transfer.fail(tr("no backup of %1 could be made (%2); nothing was uploaded. "
                                    "Give --no-backup to upload without one")
                                     .arg(entry.name, backupError));
        cliErr() << tr("Backup of %1 of camera %2: %3")
                        .arg(entry.name, transfer.extendedId(), QDir::toNativeSeparators(backup))
                 << '\n'
                 << Qt::flush;
    }

    long written = 0;
    const std::vector<unsigned char> bytes(data.begin(), data.end());
    const bool closed = transfer.camera()->UploadBuffer(
        bytes, entry.fileName.toUtf8().constData(), entry.selector.toUtf8().constData(), &written);
    // Refused, or not confirmed in time (a close that never completed):
    // "refused" would blame the map for a camera that hangs.
    if (!closed)
        return transfer.fail(tr("camera %1 did not complete the upload to %2")
                                 .arg(transfer.extendedId(), entry.name));
    if (written != long(data.size()))
        return transfer.fail(tr("short transfer: %1 of %2 bytes reached %3")
                                 .arg(written)
                                 .arg(data.size())
                                 .arg(entry.name));
    cliOut() << tr("%1 bytes written to %2 of camera %3.")
                    .arg(written)
                    .arg(entry.name, transfer.extendedId())
             << '\n'
             << Qt::flush;
    return ExitOk;
}
