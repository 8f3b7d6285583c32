#include "DownloadCommand.h"

#include "CameraTransfer.h"
#include "CliCommand.h"
#include "OxCamera.h"

#include <QCoreApplication>
#include <QFile>
#include <QTextStream>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc download", text);
}

} // namespace

int runDownloadCommand(const QStringList& arguments)
{
    CameraTransfer transfer("download", tr("Read a map entry into a file."),
                            tr("Reads a map entry of a camera into a local file. Progress goes "
                               "to the error stream."));
    const int parsed = transfer.parse(arguments);
    if (parsed >= 0)
        return parsed;
    if (!transfer.open())
        return ExitFailed;

    // The camera layer only says that it failed; a destination that cannot
    // be written is worth naming.
    QFile destination(transfer.file());
    if (!destination.open(QIODevice::WriteOnly))
        return transfer.fail(tr("%1: %2").arg(transfer.file(), destination.errorString()));
    destination.close();

    const OxMapEntry& entry = transfer.entry();
    long read = 0;
    const bool done = transfer.camera()->DownloadDeviceFile(
        QFile::encodeName(transfer.file()).constData(), entry.fileName.toUtf8().constData(),
        entry.selector.toUtf8().constData(), &read);
    if (!done)
        return transfer.fail(tr("the download of %1 from camera %2 failed after %3 bytes; %4 "
                                "holds what was read")
                                 .arg(entry.name, transfer.extendedId())
                                 .arg(read)
                                 .arg(transfer.file()));
    cliOut() << tr("%1 bytes read from %2 of camera %3 into %4.")
                    .arg(read)
                    .arg(entry.name, transfer.extendedId(), transfer.file())
             << '\n'
             << Qt::flush;
    return ExitOk;
}
