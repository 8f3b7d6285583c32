#include "CameraSourceMenu.h"

#include "ApiController.h"
#include "BasicMainWindow.h"
#include "CameraDiscoveryWidget.h"
#include "CameraSource.h"
#include "OrxDialogs.h"
#include "OrxSettings.h"
#include "OxCamera.h"

#include <Hvx/Camera.h>

#include <QAction>
#include <QApplication>
#include <QMenu>

const char* const CameraSourceMenu::SettingsGroup = "Cameras";
const char* const CameraSourceMenu::SettingsKey = "RealCameras";

CameraSourceMenu::CameraSourceMenu(BasicMainWindow* window, QMenu* menu,
                                   CameraDiscoveryWidget* discovery)
    : QObject(window), m_window(window), m_discovery(discovery)
{
    menu->addSeparator();
    m_realCameras = menu->addAction(tr("Real Cameras (GigE Vision, USB3 Vision)"));
    m_realCameras->setCheckable(true);
    m_realCameras->setChecked(selectedCameraSource() != CameraSource::Simulated);
    connect(m_realCameras, &QAction::triggered, this, &CameraSourceMenu::setRealCameras);
    m_addByAddress = menu->addAction(tr("Add Camera by Address…"));
    connect(m_addByAddress, &QAction::triggered, this, &CameraSourceMenu::addCameraByAddress);

    connect(window, &BasicMainWindow::CameraOpened, this, [this] {
        m_cameraOpen = true;
        updateActions();
    });
    connect(window, &BasicMainWindow::CameraClosed, this, [this] {
        m_cameraOpen = false;
        updateActions();
    });
    updateActions();
}

void CameraSourceMenu::updateActions()
{
    m_realCameras->setEnabled(!m_cameraOpen);
    m_addByAddress->setEnabled(m_realCameras->isChecked());
}

void CameraSourceMenu::setRealCameras(bool on)
{
    OrxSettings::getInstance()->Set(SettingsGroup, SettingsKey, on);
    selectCameraSource(on ? CameraSource::Real : CameraSource::Simulated);
    updateActions();
    m_window->OnLogMessage(on ? tr("Listing real cameras (GigE Vision, USB3 Vision)")
                              : tr("Listing simulated cameras"),
                           LogInfo);
    m_discovery->RestartSdk();
}

void CameraSourceMenu::addCameraByAddress()
{
    const std::shared_ptr<ApiController> controller = m_discovery->GetApiController();
    if (!controller)
        return;
    bool ok = false;
    const QString address =
        OrxDialogs::instance()
            .getText(m_window, tr("Add Camera by Address"),
                     tr("IPv4 address of the GigE Vision camera:"), QString(), &ok)
            .trimmed();
    if (!ok || address.isEmpty())
        return;
    QApplication::setOverrideCursor(Qt::WaitCursor);
    // The controller words a failure itself, into the log.
    const Hvx::CameraPtr camera = controller->AddCameraByAddress(address);
    QApplication::restoreOverrideCursor();
    if (!camera)
        return;
    m_window->OnLogMessage(
        tr("Camera found at %1: %2")
            .arg(address,
                 controller->GetCameraInfo(camera).value(QStringLiteral("Extended ID")).toString()),
        LogInfo);
    m_discovery->RefreshCameraList();
}
