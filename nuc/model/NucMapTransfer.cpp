#include "NucMapTransfer.h"

#include "NucImageInput.h"
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

// A file task that writes image into a device file and logs the outcome.
std::function<bool()> uploadTask(NucPanelPort& port, OxCamera* camera, const QByteArray& image,
                                 const QString& fileName, const QString& selector)
{
    return [&port, camera, image, fileName, selector] {
        long written = 0;
        // A file the camera took only in part is a failed upload.
        const bool ok = camera != nullptr &&
                        camera->UploadBuffer(std::vector<unsigned char>(image.begin(), image.end()),
                                             fileName.toUtf8().constData(),
                                             selector.toUtf8().constData(), &written) &&
                        written == image.size();
        port.log(NucMapTransfer::tr("Upload device file %1: %2 bytes written.")
                     .arg(fileName + failedSuffix(ok))
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

void NucMapTransfer::uploadGeneratedMap()
{
    NucPanelPort& port = m_model.port();
    const QString name = m_model.currentSlot().name;
    if (!port.question(
            tr("Upload Shadin Map"),
            tr("The uploaded map would overwrite the selected map '%1'.\nStart upload?").arg(name)))
        return;
    // The entry's name names both the device file and the selector value.
    const QByteArray image =
        NucMapPipeline::fileImage(m_model.input(), m_model.fileSpec(NucMapFile::Kind::Bin));
    port.startFileTask(QStringLiteral("Upload Generated Map"),
                       uploadTask(port, m_model.camera(), image, name, name));
}

void NucMapTransfer::uploadUserMap()
{
    const QByteArray image =
        NucMapPipeline::fileImage(m_model.input(), m_model.fileSpec(NucMapFile::Kind::UserMap));
    NucPanelPort& port = m_model.port();
    port.startFileTask(QStringLiteral("Upload"),
                       uploadTask(port, m_model.camera(), image, m_model.currentUserMapFile(),
                                  QStringLiteral("Userfile")));
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
    port.startFileTask(
        QStringLiteral("Download"), [&port, camera, destination, fileName, selector] {
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
            // What a failed download read stays on disk; the operator must not
            // take it for a map.
            if (!ok && QFile::exists(destination))
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
