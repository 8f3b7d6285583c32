#include "OxCamera.h"

#include "FileOperationReport.h"
#include "OxCameraFeature.h"
#include "SdkText.h"

#include <Hvx/Camera.h>
#include <Hvx/Frame.h>
#include <Hvx/Stream.h>

#include <QFile>
#include <QMetaType>
#include <QtEndian>

#include <algorithm>
#include <cstring>

namespace {

// The largest block one FileAccessBuffer access moves.
constexpr int64_t kFileAccessChunk = 65536;

// Completion waits of the File Access commands (milliseconds). An open and
// a chunk get 2 s; the close may take long because the camera stores the
// file into flash then. An operation's report means something only once it
// is complete, so every one is waited for.
constexpr uint64_t kNoWait = 0;
constexpr uint64_t kChunkWaitMs = 2000;
constexpr uint64_t kOpenWaitMs = 2000;
constexpr uint64_t kCloseWaitMs = 180000;
constexpr uint64_t kPacketSizeWaitMs = 5000;

// The close wait, unless ORVEX_FILE_CLOSE_WAIT_MS gives another (a positive
// number of milliseconds): a camera that never finishes a close then costs
// seconds instead of minutes.
uint64_t CloseWaitMs()
{
    bool ok = false;
    const int configured = qEnvironmentVariableIntValue("ORVEX_FILE_CLOSE_WAIT_MS", &ok);
    return ok && configured > 0 ? uint64_t(configured) : kCloseWaitMs;
}

constexpr int kFrameAttempts = 5;

QString Text(const char* utf8)
{
    return QString::fromUtf8(utf8 != nullptr ? utf8 : "");
}

QVariant Integer(int64_t value)
{
    return QVariant(static_cast<qlonglong>(value));
}

} // namespace

OxCamera::OxCamera(std::shared_ptr<Hvx::Camera> camera, QObject* parent)
    : QObject(parent), m_feature(new OxCameraFeature(camera, nullptr)), m_camera(std::move(camera)),
      m_bigEndian(true)
{
    // Progress crosses threads by queued connections, which need the type
    // under the name the signal uses.
    qRegisterMetaType<int64_t>("int64_t");

    // Register bytes arrive in network order on every transport but USB3
    // Vision, which is little-endian like the host.
    HvTransportLayerType type = HvTransportLayerTypeUnknown;
    if (m_camera && m_camera->GetInterfaceType(type) == HvErrorSuccess)
        m_bigEndian = type != HvTransportLayerTypeU3V;

    AdjustPacketSize();
}

OxCamera::~OxCamera()
{
    delete m_feature;
}

HvErrorType OxCamera::GetInfo(HvCameraInfo* info) const
{
    if (info == nullptr)
        return HvErrorBadParameter;
    std::memset(info, 0, sizeof(*info));
    if (!m_camera)
        return HvErrorBadHandle;
    unsigned int length = 0;
    HvErrorType result = m_camera->GetID(nullptr, length, true);
    if (result != HvErrorSuccess)
        return result;
    std::vector<char> id(size_t(length) + 1, '\0');
    result = m_camera->GetID(id.data(), length, true);
    if (result != HvErrorSuccess)
        return result;
    return HvCameraInfoQuery(id.data(), info, 80);
}

QString OxCamera::GetCameraName() const
{
    HvCameraInfo info;
    if (GetInfo(&info) != HvErrorSuccess || info.cameraName == nullptr)
        return QString();
    return QString::fromUtf8(info.cameraName);
}

QString OxCamera::GetCameraManufacturerInfo() const
{
    QVariant value;
    if (!m_feature->GetValue("DeviceManufacturerInfo", value))
        return QString();
    return value.toString();
}

OxFeatureContainer* OxCamera::GetFeatureContainer() const
{
    return m_feature;
}

bool OxCamera::IsFileAccessSupported()
{
    return true;
}

bool OxCamera::IsBigEndian()
{
    return m_bigEndian;
}

bool OxCamera::UploadBuffer(std::vector<unsigned char> buffer, char const* fileName,
                            char const* fileSelector, long* bytesWritten)
{
    if (buffer.empty())
        return false;
    const QString name = Text(fileName);

    if (!m_feature->SetValue("FileSelector", Text(fileSelector)))
        return false;
    // Cameras with a single file per selector entry have no file name.
    bool hasFilename = false;
    if (m_feature->HasFeature("Filename", hasFilename) && hasFilename &&
        !m_feature->SetValue("Filename", name))
        return false;
    const FileOperationReport report(*m_feature);
    if (!OpenDeviceFile(QStringLiteral("Write"), report, name))
        return false;

    // From here on the device file is open and every path closes it. Offset
    // and length belong to the operation selected when they are written, so
    // "Write" is selected first and stays selected for every chunk.
    const int64_t size = int64_t(buffer.size());
    bool lengthWritable = false;
    int64_t chunk = 0;
    if (m_feature->SetValue("FileOperationSelector", QStringLiteral("Write")))
        chunk = ChunkLength(size, lengthWritable);
    // A camera whose length is fixed takes what the buffer write put in,
    // or pads it to that length.
    const bool lengthSet =
        chunk > 0 && (!lengthWritable || m_feature->SetValue("FileAccessLength", Integer(chunk)));

    int64_t offset = 0; // bytes the camera confirmed
    if (lengthSet) {
        std::vector<uint8_t> scratch;
        int64_t remaining = size;
        while (remaining > 0) {
            const int64_t length = std::min(chunk, remaining);
            if (!m_feature->SetValue("FileAccessOffset", Integer(offset)))
                break;
            if (length < chunk && lengthWritable &&
                !m_feature->SetValue("FileAccessLength", Integer(length)))
                break;
            scratch.assign(buffer.begin() + offset, buffer.begin() + offset + length);
            if (!m_feature->SetRegisterValue("FileAccessBuffer", scratch, int(length)))
                break;
            if (!m_feature->SetCommand("FileOperationExecute", kChunkWaitMs))
                break;
            int64_t moved = 0;
            const QString problem = report.problem(length, &moved);
            if (!problem.isEmpty()) {
                ReportFailure(QStringLiteral("Write"), name, offset, problem);
                offset += moved;
                break;
            }
            remaining -= length;
            // No report for the last two chunks: the final report below
            // follows right after them.
            if (remaining > length)
                emit updateTransferProcess(remaining, name, QStringLiteral("Write"));
            offset += length;
        }
    }

    if (!CloseDeviceFile(report, name))
        return false;
    emit updateTransferProcess(0, name, QStringLiteral("Write"));
    if (bytesWritten != nullptr)
        *bytesWritten = long(offset);
    return true;
}

bool OxCamera::UploadLocalFile(char const* fileName, char const* localPath,
                               char const* fileSelector, long* bytesWritten)
{
    if (fileName == nullptr || localPath == nullptr || bytesWritten == nullptr)
        return false;
    *bytesWritten = 0;
    QFile file(QFile::decodeName(localPath));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    if (!file.seek(file.size()))
        return false;
    const qint64 size = file.pos();
    if (size < 0 || !file.seek(0))
        return false;
    std::vector<unsigned char> bytes(size_t(size), 0);
    if (size > 0 && file.read(reinterpret_cast<char*>(bytes.data()), size) != size)
        return false;
    file.close();
    return UploadBuffer(std::move(bytes), fileName, fileSelector, bytesWritten);
}

bool OxCamera::OpenDeviceFile(const QString& mode, const FileOperationReport& report,
                              const QString& fileName)
{
    QString problem;
    auto open = [&] {
        if (!m_feature->SetValue("FileOpenMode", mode) ||
            !m_feature->SetValue("FileOperationSelector", QStringLiteral("Open")) ||
            !m_feature->SetCommand("FileOperationExecute", kOpenWaitMs))
            return false;
        problem = report.problem(-1);
        return problem.isEmpty();
    };
    if (open())
        return true;
    // A file still open on the camera (a transfer that ended without its
    // close, a close that never completed, a host that died mid-transfer)
    // refuses a second open: cameras that track the file state take "Open"
    // off the selector, others fail its execute or report a failure. Closing
    // it settles all of them. With nothing open the camera refuses "Close"
    // as well, and the open stays refused. One close and one more open,
    // never a loop: a file left open by a retry would lock the entry for
    // good.
    if (m_feature->SetValue("FileOperationSelector", QStringLiteral("Close"))) {
        // Even a close the camera answers with an error (content it does
        // not accept) ends the file, so its result does not decide.
        m_feature->SetCommand("FileOperationExecute", CloseWaitMs());
        problem.clear();
        if (open())
            return true;
    }
    if (!problem.isEmpty())
        ReportFailure(QStringLiteral("Open"), fileName, -1, problem);
    return false;
}

bool OxCamera::CloseDeviceFile()
{
    const bool selected = m_feature->SetValue("FileOperationSelector", QStringLiteral("Close"));
    const bool executed = m_feature->SetCommand("FileOperationExecute", CloseWaitMs());
    return selected && executed;
}

bool OxCamera::CloseDeviceFile(const FileOperationReport& report, const QString& fileName)
{
    if (!m_feature->SetValue("FileOperationSelector", QStringLiteral("Close")) ||
        !m_feature->SetCommand("FileOperationExecute", CloseWaitMs()))
        return false;
    const QString problem = report.problem(-1);
    if (problem.isEmpty())
        return true;
    ReportFailure(QStringLiteral("Close"), fileName, -1, problem);
    return false;
}

int64_t OxCamera::ChunkLength(int64_t size, bool& lengthWritable) const
{
    if (!m_feature->IsWritable("FileAccessLength", lengthWritable))
        lengthWritable = false;
    // Cameras take from 1 byte up to a limit of their own; one whose length
    // is fixed is sent chunks of that length, the last one shorter.
    QVariant minimum, limit, increment;
    bool known = false;
    const qlonglong cameraLimit =
        (lengthWritable ? m_feature->GetFeatureRange("FileAccessLength", minimum, limit, increment)
                        : m_feature->GetValue("FileAccessLength", limit))
            ? limit.toLongLong(&known)
            : 0;
    int64_t chunk = std::min(size, kFileAccessChunk);
    if (known && cameraLimit > 0)
        chunk = std::min<int64_t>(chunk, cameraLimit);
    return chunk;
}

void OxCamera::ReportFailure(const QString& operation, const QString& fileName, int64_t offset,
                             const QString& problem)
{
    emit fileAccessError(
        offset < 0 ? tr("File Access %1 of %2 failed: %3.").arg(operation, fileName, problem)
                   : tr("File Access %1 of %2 at byte %3 failed: %4.")
                         .arg(operation, fileName)
                         .arg(offset)
                         .arg(problem));
}

bool OxCamera::DownloadDeviceFile(char const* localPath, char const* fileName,
                                  char const* fileSelector, long* bytesRead)
{
    if (localPath == nullptr || fileName == nullptr || fileSelector == nullptr ||
        bytesRead == nullptr)
        return false;
    *bytesRead = 0;
    const QString name = Text(fileName);

    QFile local(QFile::decodeName(localPath));
    if (!local.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    if (!m_feature->SetValue("FileSelector", Text(fileSelector))) {
        local.close();
        return false;
    }
    bool hasFilename = false;
    if (m_feature->HasFeature("Filename", hasFilename) && hasFilename &&
        !m_feature->SetValue("Filename", name))
        return false;
    const FileOperationReport report(*m_feature);
    if (!OpenDeviceFile(QStringLiteral("Read"), report, name)) {
        local.close();
        return false;
    }

    // The device file is open from here on.
    auto abort = [&]() {
        CloseDeviceFile();
        local.close();
        return false;
    };
    QVariant sizeValue;
    bool sizeOk = m_feature->GetValue("FileSize", sizeValue);
    const qlonglong size = sizeOk ? sizeValue.toLongLong(&sizeOk) : -1;
    if (!sizeOk || size < 0)
        return abort();

    // An empty file needs no chunk, and no length (cameras take at least 1).
    int64_t chunk = 0;
    bool lengthWritable = false;
    if (size > 0) {
        // Offset and length belong to the operation selected when written.
        if (!m_feature->SetValue("FileOperationSelector", QStringLiteral("Read")))
            return abort();
        chunk = ChunkLength(size, lengthWritable);
        // This one failure returns without closing the device file; the
        // local file is closed by its destructor.
        if (lengthWritable && !m_feature->SetValue("FileAccessLength", Integer(chunk)))
            return false;
    }
    std::vector<uint8_t> scratch(size_t(chunk), 0);

    int64_t offset = 0;
    int64_t remaining = size;
    while (remaining > 0) {
        const int64_t length = std::min(remaining, chunk);
        if (!m_feature->SetValue("FileAccessOffset", Integer(offset)))
            return abort();
        if (length != chunk && lengthWritable &&
            !m_feature->SetValue("FileAccessLength", Integer(length)))
            return abort();
        if (!m_feature->SetCommand("FileOperationExecute", kChunkWaitMs))
            return abort();
        // The buffer holds the chunk only if the camera says so.
        const QString problem = report.problem(length);
        if (!problem.isEmpty()) {
            ReportFailure(QStringLiteral("Read"), name, offset, problem);
            return abort();
        }
        scratch.resize(size_t(length));
        if (!m_feature->GetRegisterValue("FileAccessBuffer", scratch, int(length)))
            return abort();
        if (local.write(reinterpret_cast<const char*>(scratch.data()), length) != length)
            return abort();
        remaining -= length;
        offset += length;
        *bytesRead += long(length);
        emit updateTransferProcess(remaining, name, QStringLiteral("Read"));
    }

    if (!CloseDeviceFile(report, name))
        return abort();
    local.close();
    emit updateTransferProcess(0, name, QStringLiteral("Read"));
    return true;
}

bool OxCamera::DeleteDeviceFile(char const* fileName, char const* fileSelector)
{
    return m_feature->SetValue("FileSelector", Text(fileSelector)) &&
           m_feature->SetValue("Filename", Text(fileName)) &&
           m_feature->SetValue("FileOpenMode", QStringLiteral("Write")) &&
           m_feature->SetValue("FileOperationSelector", QStringLiteral("Delete")) &&
           m_feature->SetCommand("FileOperationExecute", kNoWait);
}

void OxCamera::GetFileAccessMode(bool* readBlocked, bool* writeBlocked)
{
    if (readBlocked == nullptr || writeBlocked == nullptr)
        return;
    *readBlocked = false;
    *writeBlocked = false;
    if (m_feature == nullptr)
        return;
    QVariant selector;
    if (!m_feature->GetValue("FileSelector", selector))
        return;
    // The kind of file and the modes the camera lists are looked at, but
    // only the write attempts below decide: cameras list modes they refuse.
    const bool firmware = selector.toString().contains(QLatin1String("firmware"));
    std::vector<Hvx::EnumEntry> listedModes;
    m_feature->GetSubFeatures("FileOpenMode", &listedModes);
    Q_UNUSED(firmware)

    const bool readAccepted = m_feature->SetValue("FileOpenMode", QStringLiteral("Read"));
    const bool writeAccepted = m_feature->SetValue("FileOpenMode", QStringLiteral("Write"));
    const bool readWriteAccepted = m_feature->SetValue("FileOpenMode", QStringLiteral("ReadWrite"));
    *readBlocked = !readAccepted && !readWriteAccepted;
    *writeBlocked = !writeAccepted && !readWriteAccepted;
}

bool OxCamera::Read(unsigned long address, void* data, unsigned int* size)
{
    if (data == nullptr || size == nullptr || *size == 0 || !m_camera)
        return false;
    std::vector<unsigned char> scratch(*size, 0);
    unsigned int completed = 0;
    if (m_camera->ReadMemory(address, scratch.data(), *size, &completed) != HvErrorSuccess)
        return false;
    std::memcpy(data, scratch.data(), *size);
    return true;
}

bool OxCamera::Write(unsigned long address, void const* data, unsigned int* size)
{
    if (data == nullptr || size == nullptr || *size == 0 || !m_camera)
        return false;
    const auto* bytes = static_cast<const unsigned char*>(data);
    std::vector<unsigned char> scratch(bytes, bytes + *size);
    unsigned int completed = 0;
    return m_camera->WriteMemory(address, scratch.data(), *size, &completed) == HvErrorSuccess;
}

bool OxCamera::ReadRegister(unsigned long address, unsigned int* value)
{
    if (value == nullptr)
        return false;
    quint32 raw = 0;
    unsigned int size = sizeof(raw);
    if (!Read(address, &raw, &size))
        return false;
    *value = m_bigEndian ? qbswap(raw) : raw;
    return true;
}

bool OxCamera::WriteRegister(unsigned long address, unsigned int value)
{
    quint32 raw = m_bigEndian ? qbswap(quint32(value)) : quint32(value);
    unsigned int size = sizeof(raw);
    return Write(address, &raw, &size);
}

bool OxCamera::OxRegisterDeviceWrite(char const*, unsigned char const*, unsigned int*,
                                     unsigned long)
{
    return false;
}

bool OxCamera::AcquireSingleImage(std::shared_ptr<Hvx::Frame>& frame, unsigned int timeout,
                                  Hvx::FrameAllocationMode mode)
{
    if (!m_camera)
        return false;
    // Damaged frames happen on busy networks; a few immediate retries are
    // cheaper than failing the whole image series.
    for (int attempt = 0; attempt < kFrameAttempts; ++attempt) {
        if (m_camera->AcquireSingleImage(frame, timeout, mode) != HvErrorSuccess || !frame)
            continue;
        HvFrameStatusType status = HvFrameStatusInvalid;
        if (frame->GetReceiveStatus(status) == HvErrorSuccess && status == HvFrameStatusComplete)
            return true;
    }
    return false;
}

bool OxCamera::SaveToUserSet()
{
    QVariant selected;
    if (!m_feature->GetValue("UserSetSelector", selected))
        return false;
    // "Default" is the read-only factory set; the first user set takes its place.
    if (selected.toString() == QLatin1String("Default") &&
        !m_feature->SetValue("UserSetSelector", QStringLiteral("UserSet1")))
        return false;
    return m_feature->SetCommand("UserSetSave", kNoWait);
}

void OxCamera::AdjustPacketSize()
{
    if (!m_camera)
        return;
    HvTransportLayerType type = HvTransportLayerTypeUnknown;
    if (m_camera->GetInterfaceType(type) != HvErrorSuccess || type != HvTransportLayerTypeGEV)
        return;
    unsigned int count = 0;
    if (m_camera->GetStreams(nullptr, count) != HvErrorSuccess || count == 0)
        return;
    std::vector<std::shared_ptr<Hvx::Stream>> streams(count);
    if (m_camera->GetStreams(streams.data(), count) != HvErrorSuccess)
        return;
    // Only the first stream carries images in this program.
    if (!streams.front())
        return;
    OxFeatureContainer stream(streams.front(), nullptr);
    QVariant protocol;
    if (stream.GetValue("GVSPProtocol", protocol) && protocol.toString() == QLatin1String("TCP"))
        return;
    // Failure leaves the packet size as it was; the camera still works.
    stream.SetCommand("GVSPAdjustPacketSize", kPacketSizeWaitMs);
}
