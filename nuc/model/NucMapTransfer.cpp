#include "NucMapTransfer.h"

#include "NucImageInput.h"
#include "NucMapBackups.h"
#include "NucMapPacking.h"
#include "NucMapPipeline.h"
#include "NucPanelModel.h"
#include "NucPanelPort.h"
#include "NucRawMemoryTransfer.h"
#include "NucUserMapTransfer.h"
#include "OxCamera.h"

#include <QDir>
#include <QFile>

#include <vector>

namespace {

// Where cameras that take shading maps by raw memory writes keep them, and
// the size of one write there.
constexpr unsigned long RawMapAddress = 0x10100000;
constexpr quint32 RawBlockSize = 512;

QString failedSuffix(bool ok)
{
    return ok ? QString() : QStringLiteral(" failed");
}

// A file task that keeps the entry's current file as a backup, writes image
// into it and logs the outcome.
std::function<bool()> uploadTask(NucPanelPort& port, OxCamera* camera, const QString& serial,
                                 const OxMapEntry& entry, const QByteArray& image)
{
    return [&port, camera, serial, entry, image] {
        if (!NucMapTransfer::keepBackup(port, camera, serial, entry))
            return false;
        long written = 0;
        // A file the camera took only in part is a failed upload.
        const bool ok = camera != nullptr &&
                        camera->UploadBuffer(std::vector<unsigned char>(image.begin(), image.end()),
                                             entry.fileName.toUtf8().constData(),
                                             entry.selector.toUtf8().constData(), &written) &&
                        written == image.size();
        port.log(NucMapTransfer::tr("Upload device file %1: %2 bytes written.")
                     .arg(entry.fileName + failedSuffix(ok))
                     .arg(written),
                 ok ? LogInfo : LogError);
        return ok;
    };
}

} // namespace

std::unique_ptr<NucMapTransfer> NucMapTransfer::choose(NucPanelModel& model)
{
    if (model.hasNucControl())
        return std::make_unique<NucUserMapTransfer>(model);
    if (model.registerAccess())
        return std::make_unique<NucRawMemoryTransfer>(model);
    return std::make_unique<NucSlotTransfer>(model);
}

bool NucMapTransfer::confirmGeneratedUpload()
{
    // What the map view warns of is asked once more before the map goes out.
    const QStringList warnings = m_model.mapWarnings();
    if (!warnings.isEmpty() &&
        !m_model.port().question(tr("Map Warnings"),
                                 tr("The map may not be what you want:\n%1\nUpload it all the "
                                    "same?")
                                     .arg(warnings.join('\n')),
                                 true))
        return false;
    return m_model.port().question(
        tr("Upload Shadin Map"),
        tr("The uploaded map would overwrite the selected map '%1'.\nStart "
           "upload?")
            .arg(m_model.currentSlot().name));
}

void NucMapTransfer::uploadGeneratedMap()
{
    if (!confirmGeneratedUpload())
        return;
    NucPanelPort& port = m_model.port();
    const QByteArray image =
        NucMapPipeline::fileImage(m_model.input(), m_model.fileLayout(NucMapFile::Kind::Bin));
    port.startFileTask(
        QStringLiteral("Upload Generated Map"),
        uploadTask(port, m_model.camera(), m_model.serialNumber(), m_model.currentSlot(), image));
}

void NucMapTransfer::uploadUserMap()
{
    const QByteArray image =
        NucMapPipeline::fileImage(m_model.input(), m_model.fileLayout(NucMapFile::Kind::UserMap));
    NucPanelPort& port = m_model.port();
    port.startFileTask(
        QStringLiteral("Upload"),
        uploadTask(port, m_model.camera(), m_model.serialNumber(), m_model.currentSlot(), image));
}

void NucMapTransfer::restoreBackup()
{
    NucPanelPort& port = m_model.port();
    const NucMapSlot slot = m_model.currentSlot();
    const QString title = tr("Restore Previous Map");
    const QList<NucMapBackups::Backup> backups =
        NucMapBackups().list(m_model.serialNumber(), slot.name);
    if (backups.isEmpty()) {
        port.information(title, tr("No backup of '%1' is kept for this camera.").arg(slot.name));
        return;
    }
    QStringList items;
    for (const NucMapBackups::Backup& backup : backups)
        items << NucMapBackups::describe(backup);
    const int chosen =
        port.chooseItem(title, tr("Backups of '%1', newest first:").arg(slot.name), items);
    if (chosen < 0 || chosen >= backups.size())
        return;
    QFile file(backups[chosen].path);
    if (!file.open(QIODevice::ReadOnly)) {
        port.information(title,
                         tr("Cannot read %1").arg(QDir::toNativeSeparators(file.fileName())));
        return;
    }
    port.startFileTask(
        QStringLiteral("Restore"),
        uploadTask(port, m_model.camera(), m_model.serialNumber(), slot, file.readAll()));
}

bool NucMapTransfer::keepBackup(NucPanelPort& port, OxCamera* camera, const QString& serial,
                                const OxMapEntry& entry)
{
    if (camera == nullptr)
        return false;
    auto download = [&](const QString& path, QString* why) {
        long read = 0;
        if (camera->DownloadDeviceFile(QFile::encodeName(path).constData(),
                                       entry.fileName.toUtf8().constData(),
                                       entry.selector.toUtf8().constData(), &read))
            return true;
        *why = tr("the download of %1 failed after %2 bytes").arg(entry.fileName).arg(read);
        return false;
    };
    const QString extension = entry.kind == OxMapEntry::Kind::UserMap ? "ge3" : "bin";
    QString error;
    const QString path = NucMapBackups().take(serial, entry.name, extension, download, &error);
    if (!path.isEmpty()) {
        port.log(tr("Backup of the camera's map '%1': %2")
                     .arg(entry.name, QDir::toNativeSeparators(path)),
                 LogInfo);
        return true;
    }
    port.log(tr("No backup of the camera's map '%1': %2.").arg(entry.name, error), LogError);
    return port.question(tr("Map Backup"),
                         tr("The camera's current map '%1' could not be kept as a backup "
                            "(%2).\nUpload without a backup?")
                             .arg(entry.name, error),
                         true);
}

bool NucMapTransfer::uploadMapByMemory()
{
    const NucImageInput& input = m_model.input();
    NucPanelPort& port = m_model.port();
    if (!input.darkParams.map || !input.brightParams.map) {
        port.information(tr("Upload Map"), tr("Upload failed: missing maps"));
        return false;
    }
    // The camera's memory takes the words in its own byte order.
    const QVector<quint16> words = NucMapPacking::packedMap(input.darkParams, input.brightParams,
                                                            input.bitDepth, m_model.endianess());
    const auto* bytes = reinterpret_cast<const unsigned char*>(words.constData());
    const quint32 size = 2 * quint32(words.size());
    OxCamera* camera = m_model.camera();

    quint32 offset = 0;
    auto reportProgress = [&] { port.progress(false, int(double(offset) * 100.0 / double(size))); };
    auto write = [&](quint32 length) {
        unsigned int count = length;
        return camera != nullptr && camera->Write(RawMapAddress + offset, bytes + offset, &count);
    };
    auto fail = [&port] {
        port.information(tr("Upload NUC Map"), tr("Upload failed"));
        return false;
    };

    bool blockWritten = false;
    while (size - offset >= RawBlockSize) {
        reportProgress();
        if (!write(RawBlockSize))
            return fail();
        blockWritten = true;
        offset += RawBlockSize;
    }
    // Switched on before the tail on purpose; a map of less than one block is
    // never sent but still switches the correction on.
    setShadingCorrectionEnabled(true);
    if (size > offset) {
        if (!blockWritten)
            return fail();
        reportProgress();
        if (!write(size - offset))
            return fail();
    }
    port.progress(true, 100);
    return true;
}

void NucMapTransfer::startDownload(const QString& destination, const QString& fileName,
                                   const QString& selector)
{
    NucPanelPort& port = m_model.port();
    OxCamera* camera = m_model.camera();
    m_downloaded = destination;
    port.startFileTask(QStringLiteral("Download"), [&port, camera, destination, fileName,
                                                    selector] {
        long read = 0;
        const bool ok = camera != nullptr &&
                        camera->DownloadDeviceFile(QFile::encodeName(destination).constData(),
                                                   fileName.toUtf8().constData(),
                                                   selector.toUtf8().constData(), &read);
        // "written" also for downloads: the bytes written into the local file.
        port.log(tr("Download device file %1: %2 bytes written.")
                     .arg(fileName + failedSuffix(ok))
                     .arg(read),
                 ok ? LogInfo : LogError);
        if (ok)
            port.log(tr("Downloaded map saved as %1").arg(QDir::toNativeSeparators(destination)),
                     LogInfo);
        // What a failed download read stays on disk; the operator must not
        // take it for a map.
        else if (QFile::exists(destination))
            port.log(tr("Partial file left by the failed download: %1 (%2 bytes).")
                         .arg(QDir::toNativeSeparators(destination))
                         .arg(read),
                     LogWarning);
        return ok;
    });
    m_model.rememberMapDir(destination);
}

void NucMapTransfer::reportSave(bool saved)
{
    m_model.port().information(tr("Save Map"),
                               saved ? tr("Save to file successful!") : tr("Save to file failed!"));
}
