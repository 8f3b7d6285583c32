#include "CameraSession.h"

#include "ApiController.h"
#include "CameraSource.h"
#include "OxCamera.h"
#include "OxCameraManager.h"

#include <Hvx/HvSystem.h>

#include <QCoreApplication>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("orvex-nuc", text);
}

// Four decimal numbers up to 255 separated by dots.
bool isIpv4Address(const QString& text)
{
    const QStringList parts = text.split('.');
    if (parts.size() != 4)
        return false;
    for (const QString& part : parts) {
        bool ok = false;
        if (part.isEmpty() || part.size() > 3 || part.toUInt(&ok) > 255 || !ok)
            return false;
    }
    return true;
}

} // namespace

CameraSession::CameraSession()
{
    const HvErrorType result = Hvx::HvSystem::GetInstance().Startup();
    m_started = result == HvErrorSuccess;
    m_controller = std::make_shared<ApiController>();
    if (!m_started) {
        m_startError =
            tr("the camera SDK did not start: %1").arg(m_controller->ErrorCodeToMessage(result));
        return;
    }
    QObject::connect(m_controller.get(), &ApiController::ApiError,
                     [this](const QString& error) { m_errors << error; });
}

CameraSession::~CameraSession()
{
    if (m_opened) {
        // The wrapper goes before the camera closes, as in the window.
        m_opened.reset();
        OxCameraManager(m_controller).Close(m_openedId);
    }
    m_controller.reset();
    if (m_started)
        Hvx::HvSystem::GetInstance().Shutdown();
}

QList<CameraInfoMap> CameraSession::cameras()
{
    QList<CameraInfoMap> list;
    if (!m_started)
        return list;
    for (const Hvx::CameraPtr& camera : m_controller->UpdateCamerasList()) {
        const CameraInfoMap info = m_controller->GetCameraInfo(camera);
        if (!info.isEmpty())
            list << info;
    }
    return list;
}

CameraInfoMap CameraSession::find(const QString& id)
{
    const QList<CameraInfoMap> all = cameras();
    for (const char* key : {"Extended ID", "Camera ID", "Serial No."}) {
        for (const CameraInfoMap& camera : all) {
            if (camera.value(key).toString() == id)
                return camera;
        }
    }
    QString ignored;
    if (selectedCameraSource() != CameraSource::Simulated && isIpv4Address(id))
        return findByAddress(id, &ignored);
    return CameraInfoMap();
}

CameraInfoMap CameraSession::findByAddress(const QString& address, QString* error)
{
    if (!m_started) {
        *error = m_startError;
        return CameraInfoMap();
    }
    if (selectedCameraSource() == CameraSource::Simulated) {
        *error = tr("looking for a camera at an address needs real cameras: give --cameras real "
                    "or --cameras all before the command");
        return CameraInfoMap();
    }
    takeErrors();
    const Hvx::CameraPtr camera = m_controller->AddCameraByAddress(address);
    if (!camera) {
        *error = takeErrors().join("; ");
        return CameraInfoMap();
    }
    return m_controller->GetCameraInfo(camera);
}

OxCamera* CameraSession::openById(const QString& id, CameraInfoMap* info, QString* error)
{
    if (!m_startError.isEmpty()) {
        *error = m_startError;
        return nullptr;
    }
    *info = find(id);
    if (info->isEmpty()) {
        *error = tr("no camera has the ID or serial number '%1'").arg(id);
        return nullptr;
    }
    return open(*info, error);
}

QString CameraSession::serialNumber(const CameraInfoMap& camera)
{
    const QString serial = camera.value("Serial No.").toString();
    return serial.isEmpty() ? camera.value("Extended ID").toString() : serial;
}

OxCamera* CameraSession::open(const CameraInfoMap& camera, QString* error)
{
    const QString extendedId = camera.value("Extended ID").toString();
    if (!camera.value("Full Access").toBool()) {
        *error = tr("camera %1 is held by another application").arg(extendedId);
        return nullptr;
    }
    takeErrors();
    OxCamera* opened = OxCameraManager(m_controller).Open(extendedId);
    if (opened == nullptr) {
        const QStringList reasons = takeErrors();
        *error = reasons.isEmpty() ? tr("camera %1 could not be opened").arg(extendedId)
                                   : reasons.join("; ");
        return nullptr;
    }
    m_opened.reset(opened);
    m_openedId = extendedId;
    return opened;
}

QStringList CameraSession::takeErrors()
{
    QStringList errors;
    errors.swap(m_errors);
    return errors;
}
