#pragma once

#include "LogType.h"

#include <QMainWindow>
#include <QString>

#include <memory>

class ApiController;
class CameraDiscoveryWidget;
class OxCamera;
class OxCameraManager;
class QDockWidget;
class QListWidget;
class QMenu;

// The frame of the program's main window: the camera list in a dock at the
// bottom, the log in a dock at the top, the "&View" and "&Help" menus and the
// camera manager. It turns the camera list's open, close and removal events
// into calls of the camera manager and announces the outcome as its own
// signals, to which the derived window attaches the assistant.
class BasicMainWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit BasicMainWindow(QWidget* parent = nullptr);
    ~BasicMainWindow() override;

    // The title without a camera; also the program's name in the About box.
    void setDefaultWindowTitle(const QString& title);

signals:
    void CameraSelected(bool state, const QString& cameraId);
    void CameraOpened(OxCamera* camera);
    void CameraClosed(const QString& cameraName);
    void CameraCloseRequested();
    void CameraFirmwareUpdateStarted(bool started);

public slots:
    void OnCameraSelected(bool isSelected, QString cameraId);
    void OnLogMessage(const QString& message, LogType type);
    void OnCameraOpenRequested(const QString& cameraExtId);
    void OnCameraCloseRequested(const QString& cameraExtId, const QString& cameraName);
    void OnCameraDisconnected(const QString& cameraExtId, const QString& cameraName);
    void OnApiControllerAvailable(std::shared_ptr<ApiController> newController);

protected:
    QListWidget* m_logList;
    CameraDiscoveryWidget* m_cameraDiscovery;
    std::shared_ptr<OxCameraManager> m_cameraManager;
    QMenu* m_viewMenu;
    QDockWidget* m_cameraListDock;
    QDockWidget* m_logViewDock;
    QString m_defaultWindowTitle;
    // Disconnect events swallowed while a firmware update restarts the camera.
    quint8 m_disconnectCounter;
    bool m_firmwareUpdate;

private:
    void showAbout();
};
