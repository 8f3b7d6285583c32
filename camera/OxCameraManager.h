#pragma once

#include <QObject>
#include <QString>

#include <memory>

class ApiController;
class OxCamera;

// Opens and closes cameras by extended ID for the main window. Failures are
// worded by the controller's ApiError signal; the manager only returns
// null or false.
class OxCameraManager : public QObject
{
    Q_OBJECT

public:
    OxCameraManager(std::shared_ptr<ApiController> controller, QObject* parent = nullptr);
    ~OxCameraManager() override;

    // A new wrapper owned by the caller, who destroys it after Close; null
    // when the camera could not be found or opened.
    OxCamera* Open(const QString& extendedId);
    // True exactly when the SDK closed the camera.
    bool Close(const QString& extendedId);

private:
    std::shared_ptr<ApiController> m_controller;
};
