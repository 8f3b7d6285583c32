#include "ApiController.h"

#include "CameraObserver.h"
#include "InterfaceObserver.h"
#include "SdkText.h"

#include <Hvx/Camera.h>
#include <Hvx/Interface.h>
#include <Hvx/TransportLayer.h>

namespace {

// Either of these permitted-access bits lets the program write to the camera.
constexpr HvAccessModeType kWritableAccessMask = HvAccessModeFull | HvAccessModeExclusive;

} // namespace

ApiController::ApiController(QObject* parent)
    : QObject(parent), m_system(Hvx::HvSystem::GetInstance())
{
    qRegisterMetaType<Hvx::CameraPtr>("Hvx::CameraPtr");
    qRegisterMetaType<Hvx::InterfacePtr>("Hvx::InterfacePtr");
    qRegisterMetaType<Hvx::UpdateTriggerType>("Hvx::UpdateTriggerType");
    qRegisterMetaType<CameraInfoMap>("CameraInfoMap");

    m_interfaceObserver = std::make_shared<InterfaceObserver>();
    m_cameraObserver = std::make_shared<CameraObserver>();
    // The observer hands the SDK's callbacks over to its own thread, the
    // controller's, where the slot runs.
    connect(m_cameraObserver.get(), &CameraObserver::CameraListChangedSignal, this,
            &ApiController::OnCameraListChanged);
}

ApiController::~ApiController() = default;

QString ApiController::ErrorCodeToMessage(HvErrorType code) const
{
    const char* message = "Unknown";
    switch (code) {
    case HvErrorSuccess:
        message = "Success.";
        break;
    case HvErrorInternalFault:
        message = "Unexpected fault in HvApi or driver.";
        break;
    case HvErrorApiNotStarted:
        message = "API not started.";
        break;
    case HvErrorNotFound:
        message = "Not found.";
        break;
    case HvErrorBadHandle:
        message = "Invalid handle ";
        break;
    case HvErrorDeviceNotOpen:
        message = "Device not open.";
        break;
    case HvErrorInvalidAccess:
        message = "Invalid access.";
        break;
    case HvErrorBadParameter:
        message = "Bad parameter.";
        break;
    case HvErrorStructSize:
        message = "Wrong DLL version.";
        break;
    case HvErrorMoreData:
        message = "More data returned than memory provided.";
        break;
    case HvErrorWrongType:
        message = "Wrong type.";
        break;
    case HvErrorInvalidValue:
        message = "Invalid value.";
        break;
    case HvErrorTimeout:
        message = "Timeout.";
        break;
    case HvErrorOther:
        message = "TL error.";
        break;
    case HvErrorResources:
        message = "Resource not available.";
        break;
    case HvErrorInvalidCall:
        message = "Invalid call.";
        break;
    case HvErrorNoTL:
        message = "TL not loaded.";
        break;
    case HvErrorNotImplemented:
        message = "Not implemented.";
        break;
    case HvErrorNotSupported:
        message = "Not supported.";
        break;
    default:
        break;
    }
    return QString::fromUtf8(message);
}

void ApiController::emitApiError(HvErrorType code, const QString& text)
{
    const QString message = ErrorCodeToMessage(code);
    if (text.isEmpty())
        emit ApiError(tr("Error: %1").arg(message));
    else
        emit ApiError(tr("%1 (error: %2)").arg(text, message));
}

HvErrorType ApiController::enableAutomaticDiscovery(bool enable)
{
    if (enable) {
        m_system.RegisterCameraListObserver(m_cameraObserver);
        return m_system.RegisterInterfaceListObserver(m_interfaceObserver);
    }
    m_system.UnregisterCameraListObserver(m_cameraObserver);
    return m_system.UnregisterInterfaceListObserver(m_interfaceObserver);
}

HvErrorType ApiController::LookUpCamera(const QString& extendedId, Hvx::CameraPtr& camera)
{
    const QByteArray id = extendedId.toUtf8();
    const HvErrorType result = m_system.GetCameraByID(id.constData(), camera);
    if (result != HvErrorSuccess || !camera) {
        camera.reset();
        emitApiError(result, tr("Failed to get camera for %1").arg(extendedId));
    }
    return result;
}

Hvx::CameraPtr ApiController::GetCameraPtr(const QString& extendedId)
{
    Hvx::CameraPtr camera;
    LookUpCamera(extendedId, camera);
    return camera;
}

Hvx::CameraPtr ApiController::OpenCamera(const QString& extendedId)
{
    Hvx::CameraPtr camera;
    if (LookUpCamera(extendedId, camera) != HvErrorSuccess || !camera)
        return {};
    const HvErrorType result = camera->Open(HvAccessModeFull);
    if (result != HvErrorSuccess) {
        emitApiError(result, tr("Failed to open camera %1").arg(extendedId));
        return {};
    }
    return camera;
}

HvErrorType ApiController::CloseCamera(const QString& extendedId)
{
    Hvx::CameraPtr camera;
    HvErrorType result = LookUpCamera(extendedId, camera);
    if (result != HvErrorSuccess || !camera)
        return result;
    result = camera->Close();
    // Closing a camera that is not open is no error worth telling anyone.
    if (result != HvErrorSuccess && result != HvErrorDeviceNotOpen)
        emitApiError(result, tr("Failed to close camera %1").arg(extendedId));
    return result;
}

Hvx::CameraPtr ApiController::AddCameraByAddress(const QString& address)
{
    Hvx::CameraPtr camera;
    const HvErrorType result =
        m_system.AddCameraByAddress(address.trimmed().toUtf8().constData(), camera);
    if (result != HvErrorSuccess || !camera) {
        emitApiError(result, tr("Failed to find a camera at %1").arg(address));
        return {};
    }
    return camera;
}

std::vector<Hvx::CameraPtr> ApiController::UpdateCamerasList()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_cameras.clear();
    unsigned int count = 0;
    if (m_system.GetCameras(nullptr, count) != HvErrorSuccess)
        return {};
    std::vector<Hvx::CameraPtr> cameras(count);
    if (count > 0 && m_system.GetCameras(cameras.data(), count) != HvErrorSuccess)
        return {};
    cameras.resize(count);
    m_cameras = cameras;
    return cameras;
}

std::vector<Hvx::CameraPtr> ApiController::GetCameraModel()
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_cameras;
}

std::string ApiController::GetVersion() const
{
    HvVersionInfo version{};
    if (m_system.QueryVersion(version) != HvErrorSuccess)
        return "0.0.0";
    return std::to_string(version.major) + "." + std::to_string(version.minor) + "." +
           std::to_string(version.patch);
}

CameraInfoMap ApiController::GetCameraInfo(Hvx::CameraPtr camera)
{
    CameraInfoMap info;
    if (!camera) {
        emitApiError(HvErrorBadParameter, tr("Failed to get camera extended ID"));
        return info;
    }
    QString extendedId;
    HvErrorType result = ReadSdkText(
        [&](char* text, unsigned int& length) { return camera->GetID(text, length, true); },
        extendedId);
    if (result != HvErrorSuccess) {
        emitApiError(result, tr("Failed to get camera extended ID"));
        return info;
    }
    info.insert("Extended ID", extendedId);

    // Every later step stands alone: a failure is reported, leaves its key
    // empty and does not stop the others.
    auto readInto = [&](const char* key, const QString& failure, auto read) {
        QString value;
        const HvErrorType code = ReadSdkText(read, value);
        if (code != HvErrorSuccess) {
            value.clear();
            emitApiError(code, failure.arg(extendedId));
        }
        info.insert(key, value);
    };

    readInto("Camera ID", tr("Failed to get camera ID for %1"),
             [&](char* text, unsigned int& length) { return camera->GetID(text, length, false); });
    readInto("Model Name", tr("Failed to get camera model for %1"),
             [&](char* text, unsigned int& length) { return camera->GetModel(text, length); });
    readInto("Camera Name", tr("Failed to get camera name for %1"),
             [&](char* text, unsigned int& length) { return camera->GetName(text, length); });
    readInto(
        "Serial No.", tr("Failed to get camera serial number for %1"),
        [&](char* text, unsigned int& length) { return camera->GetSerialNumber(text, length); });

    // Only some transport layers know these; other cameras' maps go without them.
    auto insertKnown = [&](const char* key, auto read) {
        QString value;
        if (ReadSdkText(read, value) == HvErrorSuccess && !value.isEmpty())
            info.insert(key, value);
    };
    insertKnown("Vendor",
                [&](char* text, unsigned int& length) { return camera->GetVendor(text, length); });
    insertKnown("Firmware", [&](char* text, unsigned int& length) {
        return camera->GetFirmwareVersion(text, length);
    });

    Hvx::InterfacePtr interface;
    result = camera->GetInterface(interface);
    if (result == HvErrorSuccess && !interface)
        result = HvErrorNotFound;
    if (result != HvErrorSuccess) {
        emitApiError(result, tr("Failed to get camera interface ID for %1").arg(extendedId));
        info.insert("Interface", QString());
    } else {
        readInto("Interface", tr("Failed to get camera interface ID for %1"),
                 [&](char* text, unsigned int& length) { return interface->GetID(text, length); });
    }

    Hvx::TransportLayerPtr transportLayer;
    result = camera->GetTransportLayer(transportLayer);
    if (result == HvErrorSuccess && !transportLayer)
        result = HvErrorNotFound;
    if (result != HvErrorSuccess) {
        emitApiError(result, tr("Failed to get camera transport layer for %1").arg(extendedId));
        // Without the layer object neither its name nor its path can be asked.
        info.insert("Transport Layer", QString());
        info.insert("TL Path", QString());
    } else {
        readInto("Transport Layer", tr("Failed to get camera transport layer name for %1"),
                 [&](char* text, unsigned int& length) {
                     return transportLayer->GetName(text, length);
                 });
        readInto("TL Path", tr("Failed to get camera TL path for %1"),
                 [&](char* text, unsigned int& length) {
                     return transportLayer->GetPath(text, length);
                 });
    }

    HvAccessModeType access = HvAccessModeNone;
    result = camera->GetPermittedAccess(access);
    if (result != HvErrorSuccess) {
        emitApiError(result, tr("Failed to get camera access mode for %1").arg(extendedId));
        info.insert("Full Access", false);
    } else {
        info.insert("Full Access", (access & kWritableAccessMask) != 0);
    }
    return info;
}

void ApiController::OnCameraListChanged(Hvx::CameraPtr pCamera, Hvx::UpdateTriggerType reason)
{
    switch (static_cast<int>(reason)) {
    case Hvx::UpdateTriggerPluggedIn:
        emit CameraAdded(GetCameraInfo(pCamera));
        break;
    case Hvx::UpdateTriggerPluggedOut: {
        // The camera is gone: only what identifies it for the list is read,
        // and a camera that cannot even be named is dropped silently.
        if (!pCamera)
            return;
        QString extendedId;
        if (ReadSdkText([&](char* text,
                            unsigned int& length) { return pCamera->GetID(text, length, true); },
                        extendedId) != HvErrorSuccess)
            return;
        CameraInfoMap info;
        info.insert("Extended ID", extendedId);
        QString name;
        if (ReadSdkText(
                [&](char* text, unsigned int& length) { return pCamera->GetName(text, length); },
                name) == HvErrorSuccess)
            info.insert("Camera Name", name);
        emit CameraRemoved(info);
        break;
    }
    case Hvx::UpdateTriggerOpenStateChanged:
        emit CameraOpenStateChanged(GetCameraInfo(pCamera));
        break;
    default:
        break;
    }
}
