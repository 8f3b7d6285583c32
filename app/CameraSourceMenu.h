#pragma once

#include <QObject>

class BasicMainWindow;
class CameraDiscoveryWidget;
class QAction;
class QMenu;

// The View menu's camera source items: "Real Cameras (GigE Vision, USB3
// Vision)", a checkable switch between the simulated and the real cameras that
// restarts the camera SDK and is remembered in the settings, and "Add Camera
// by Address…" for a GigE Vision camera that discovery does not reach. The
// switch waits while a camera is open.
class CameraSourceMenu : public QObject
{
    Q_OBJECT

public:
    CameraSourceMenu(BasicMainWindow* window, QMenu* menu, CameraDiscoveryWidget* discovery);

    // The settings entry of the switch (group, key).
    static const char* const SettingsGroup;
    static const char* const SettingsKey;

private:
    void setRealCameras(bool on);
    void addCameraByAddress();
    void updateActions();

    BasicMainWindow* m_window;
    CameraDiscoveryWidget* m_discovery;
    QAction* m_realCameras;
    QAction* m_addByAddress;
    bool m_cameraOpen = false;
};
