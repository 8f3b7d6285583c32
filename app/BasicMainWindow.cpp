#include "BasicMainWindow.h"

#include "ApiController.h"
#include "CameraDiscoveryWidget.h"
#include "OrxDialogs.h"
#include "OxCamera.h"
#include "OxCameraManager.h"

#include <QAction>
#include <QApplication>
#include <QDockWidget>
#include <QIcon>
#include <QListWidget>
#include <QMenuBar>

namespace {

// A camera restarts several times during a firmware update; its first
// disconnect events then are not a real loss of the camera.
constexpr quint8 kIgnoredFirmwareDisconnects = 3;

} // namespace

BasicMainWindow::BasicMainWindow(QWidget* parent)
    : QMainWindow(parent), m_logList(new QListWidget(this)), m_cameraDiscovery(nullptr),
      m_viewMenu(nullptr), m_cameraListDock(nullptr), m_logViewDock(nullptr),
      m_disconnectCounter(0), m_firmwareUpdate(false)
{
    m_logList->setObjectName(QStringLiteral("logList"));
    setWindowIcon(QIcon(QStringLiteral(":/Images/res/Varnholt.ico")));

    m_viewMenu = menuBar()->addMenu(tr("&View"));
    QMenu* helpMenu = menuBar()->addMenu(tr("&Help"));
    QAction* about = helpMenu->addAction(tr("About"));
    connect(about, &QAction::triggered, this, &BasicMainWindow::showAbout);
    QAction* aboutQt = helpMenu->addAction(tr("About Qt"));
    connect(aboutQt, &QAction::triggered, qApp, &QApplication::aboutQt);

    m_cameraListDock = new QDockWidget(tr("Camera List"), this);
    m_cameraListDock->setObjectName(QStringLiteral("cameraListDock"));

    m_cameraDiscovery = new CameraDiscoveryWidget(this);
    qRegisterMetaType<LogType>("LogType");
    qRegisterMetaType<OxCamera*>("OxCamera*");

    connect(m_cameraDiscovery, &CameraDiscoveryWidget::CameraOpened, this,
            &BasicMainWindow::OnCameraOpenRequested);
    connect(m_cameraDiscovery, &CameraDiscoveryWidget::CameraClosed, this,
            &BasicMainWindow::OnCameraCloseRequested);
    connect(m_cameraDiscovery, &CameraDiscoveryWidget::CameraRemoved, this,
            &BasicMainWindow::OnCameraDisconnected);
    connect(m_cameraDiscovery, &CameraDiscoveryWidget::ApiError, this,
            [this](const QString& text) { OnLogMessage(text, LogError); });
    connect(this, &BasicMainWindow::CameraCloseRequested, m_cameraDiscovery,
            [this] { m_cameraDiscovery->OnCameraStatusChanged(false); });
    connect(m_cameraDiscovery, &CameraDiscoveryWidget::ApiControllerAvailable, this,
            &BasicMainWindow::OnApiControllerAvailable);
    connect(this, &BasicMainWindow::CameraFirmwareUpdateStarted, this,
            [this](bool started) { m_firmwareUpdate = started; });

    m_cameraListDock->setWidget(m_cameraDiscovery);
    addDockWidget(Qt::BottomDockWidgetArea, m_cameraListDock);
    m_cameraListDock->setContentsMargins(5, 5, 5, 5);

    // The camera list action does not follow the dock's visibility: it starts
    // unchecked over a visible dock, so its first use keeps the dock.
    QAction* cameraList = m_viewMenu->addAction(tr("Camera List"));
    cameraList->setCheckable(true);
    cameraList->setChecked(false);
    connect(cameraList, &QAction::triggered, this, [this](bool checked) {
        m_cameraListDock->setVisible(checked);
        adjustSize();
    });

    m_logViewDock = new QDockWidget(tr("Log View"), this);
    m_logViewDock->setObjectName(QStringLiteral("logViewDock"));
    m_logViewDock->setContentsMargins(5, 5, 5, 5);
    m_logViewDock->setWidget(m_logList);
    addDockWidget(Qt::TopDockWidgetArea, m_logViewDock);
    m_logViewDock->hide();

    QAction* logView = m_viewMenu->addAction(tr("Log View"));
    logView->setCheckable(true);
    logView->setChecked(false);
    connect(logView, &QAction::triggered, this, [this](bool checked) {
        m_logViewDock->setVisible(checked);
        adjustSize();
    });
    connect(m_logViewDock, &QDockWidget::visibilityChanged, logView, &QAction::setChecked);

    setMinimumSize(600, 600);
}

BasicMainWindow::~BasicMainWindow() = default;

void BasicMainWindow::setDefaultWindowTitle(const QString& title)
{
    m_defaultWindowTitle = title;
    setWindowTitle(title);
}

void BasicMainWindow::showAbout()
{
    const QStringList lines = {
        tr("%1 is a Qt application using the Hvx API.").arg(m_defaultWindowTitle),
        tr("Version: %1").arg(QCoreApplication::applicationVersion()),
        QString(),
        QStringLiteral("Copyright (C) 2026 Varnholt Technologies"),
    };
    OrxDialogs::instance().about(this, tr("About"), lines.join("\n"));
}

void BasicMainWindow::OnLogMessage(const QString& message, LogType type)
{
    auto* item = new QListWidgetItem(message);
    if (type == LogError)
        item->setForeground(QColor("red"));
    else if (type == LogWarning)
        item->setForeground(QColor("yellow"));
    m_logList->addItem(item);
    m_logList->scrollToItem(item);
    if (type == LogError) {
        m_logViewDock->setVisible(true);
        adjustSize();
    }
}

void BasicMainWindow::OnCameraSelected(bool isSelected, QString cameraId)
{
    OnLogMessage(
        (isSelected ? tr("Camera selected: %1") : tr("Camera unselected: %1")).arg(cameraId),
        LogInfo);
    emit CameraSelected(isSelected, cameraId);
}

void BasicMainWindow::OnCameraOpenRequested(const QString& cameraExtId)
{
    if (!m_cameraManager)
        return;
    setCursor(Qt::WaitCursor);
    // The manager and the controller word their own failures.
    if (OxCamera* camera = m_cameraManager->Open(cameraExtId)) {
        OnLogMessage(tr("Camera opened: %1").arg(camera->GetCameraName()), LogInfo);
        emit CameraOpened(camera);
    }
    unsetCursor();
}

void BasicMainWindow::OnCameraCloseRequested(const QString& cameraExtId, const QString& cameraName)
{
    if (!m_cameraManager)
        return;
    setCursor(Qt::WaitCursor);
    if (m_cameraManager->Close(cameraExtId)) {
        emit CameraClosed(cameraName);
        OnLogMessage(tr("Camera closed: %1").arg(cameraName), LogInfo);
    }
    unsetCursor();
}

void BasicMainWindow::OnCameraDisconnected(const QString& cameraExtId, const QString& cameraName)
{
    if (m_firmwareUpdate && m_disconnectCounter < kIgnoredFirmwareDisconnects) {
        ++m_disconnectCounter;
        return;
    }
    m_disconnectCounter = 0;
    if (!m_cameraManager)
        return;
    setCursor(Qt::WaitCursor);
    if (m_cameraManager->Close(cameraExtId)) {
        emit CameraClosed(cameraName);
        OnLogMessage(tr("Camera disconnected: %1 (%2)").arg(cameraName, cameraExtId), LogInfo);
    }
    unsetCursor();
}

void BasicMainWindow::OnApiControllerAvailable(std::shared_ptr<ApiController> newController)
{
    // The window is the manager's parent as well, which is safe: the pointer
    // releases it first, and a deleted object leaves its parent.
    m_cameraManager = std::make_shared<OxCameraManager>(std::move(newController), this);
}
