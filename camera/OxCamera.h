#pragma once

#include <HvTypes.h>
#include <HvcApi.h>
#include <Hvx/FrameAllocationMode.h>
#include <Hvx/SharedPointers.h>

#include <QObject>
#include <QString>

#include <cstdint>
#include <memory>
#include <vector>

class FileOperationReport;
class OxCameraFeature;
class OxFeatureContainer;

// One opened camera as the rest of the program uses it: GenICam File Access
// transfers of device files, raw memory and registers, single frames, the
// User Set save and small information queries. It shows no messages; every
// operation reports by its result. Transfers may run on a worker thread but
// only one at a time per camera: the wrapper keeps no per-transfer state and
// takes no lock.
class OxCamera : public QObject
{
    Q_OBJECT

public:
    // Builds the feature access, learns the register byte order from the
    // transport and tunes the stream packet size (GigE Vision only).
    OxCamera(std::shared_ptr<Hvx::Camera> camera, QObject* parent);
    ~OxCamera() override;

    HvErrorType GetInfo(HvCameraInfo* info) const;
    QString GetCameraName() const;
    QString GetCameraManufacturerInfo() const;

    // The camera's own features; owned by the wrapper and valid as long as it.
    OxFeatureContainer* GetFeatureContainer() const;

    bool IsFileAccessSupported();
    bool IsBigEndian();

    // True when the device file was opened and closed; *bytesWritten then
    // tells how much of the buffer the camera confirmed, and a caller must
    // take fewer bytes than the buffer holds for a failed upload.
    bool UploadBuffer(std::vector<unsigned char> buffer, char const* fileName,
                      char const* fileSelector, long* bytesWritten);
    bool UploadLocalFile(char const* fileName, char const* localPath, char const* fileSelector,
                         long* bytesWritten);
    bool DownloadDeviceFile(char const* localPath, char const* fileName, char const* fileSelector,
                            long* bytesRead);
    bool DeleteDeviceFile(char const* fileName, char const* fileSelector);
    // Which open modes the selected device file refuses (true = refused).
    void GetFileAccessMode(bool* readBlocked, bool* writeBlocked);

    bool Read(unsigned long address, void* data, unsigned int* size);
    bool Write(unsigned long address, void const* data, unsigned int* size);
    bool ReadRegister(unsigned long address, unsigned int* value);
    bool WriteRegister(unsigned long address, unsigned int value);
    bool OxRegisterDeviceWrite(char const* name, unsigned char const* data, unsigned int* size,
                               unsigned long address);

    bool AcquireSingleImage(std::shared_ptr<Hvx::Frame>& frame, unsigned int timeout,
                            Hvx::FrameAllocationMode mode);
    bool SaveToUserSet();
    void AdjustPacketSize();

signals:
    // Bytes still to transfer; fileOperation is "Write" or "Read". Emitted
    // on the transferring thread.
    void updateTransferProcess(int64_t remaining, QString fileName, QString fileOperation);
    // Why a transfer failed where the camera's own report on an operation
    // tells it: a failure status, or fewer bytes than asked. Emitted on the
    // transferring thread, before the transfer returns.
    void fileAccessError(QString message);

private:
    // Sets the open mode and opens the selected device file; closes a file
    // left open first.
    bool OpenDeviceFile(const QString& mode, const FileOperationReport& report,
                        const QString& fileName);
    // Selects and runs "Close" whatever the selection gave (the last resort
    // of a failed download).
    bool CloseDeviceFile();
    // Closes the device file and checks the camera's report on it.
    bool CloseDeviceFile(const FileOperationReport& report, const QString& fileName);
    // Bytes per chunk for a file of `size` bytes, within what the camera's
    // "FileAccessLength" allows (the operation must be selected already).
    int64_t ChunkLength(int64_t size, bool& lengthWritable) const;
    // offset < 0: an operation on the whole file (open, close).
    void ReportFailure(const QString& operation, const QString& fileName, int64_t offset,
                       const QString& problem);

    OxCameraFeature* m_feature;
    std::shared_ptr<Hvx::Camera> m_camera;
    bool m_bigEndian;
};
