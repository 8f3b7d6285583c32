#include "OxCameraManager.h"

#include "ApiController.h"
#include "OxCamera.h"

OxCameraManager::OxCameraManager(std::shared_ptr<ApiController> controller, QObject* parent)
    : QObject(parent), m_controller(std::move(controller))
{
}

OxCameraManager::~OxCameraManager() = default;

OxCamera* OxCameraManager::Open(const QString& extendedId)
{
    Hvx::CameraPtr camera = m_controller->OpenCamera(extendedId);
    if (!camera)
        return nullptr;
    return new OxCamera(camera, nullptr);
}

bool OxCameraManager::Close(const QString& extendedId)
{
    return m_controller->CloseCamera(extendedId) == HvErrorSuccess;
}
