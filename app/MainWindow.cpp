#include "MainWindow.h"

#include "CameraSourceMenu.h"
#include "OrxNUShadingCorrection.h"
#include "OxCamera.h"

#include <QDockWidget>
#include <QIcon>
#include <QMenu>

MainWindow::MainWindow(QWidget* parent)
    : BasicMainWindow(parent), m_assistant(nullptr), m_assistantDock(nullptr)
{
    setWindowIcon(QIcon(QStringLiteral(":/Images/res/Varnholt.ico")));

    m_assistant = new OrxNUShadingCorrection(this);
    m_assistant->setEnabled(false);

    m_assistantDock = new QDockWidget(tr("NUC Assistant"), this);
    m_assistantDock->setObjectName(QStringLiteral("assistantDock"));
    // An empty title bar widget hides the title bar altogether.
    m_assistantDock->setTitleBarWidget(new QWidget(this));
    m_assistantDock->setWidget(m_assistant);
    m_assistantDock->setFeatures(QDockWidget::NoDockWidgetFeatures);
    m_assistantDock->setAllowedAreas(Qt::BottomDockWidgetArea);
    m_assistantDock->setFloating(false);
    addDockWidget(Qt::BottomDockWidgetArea, m_assistantDock);
    m_viewMenu->addAction(m_assistantDock->toggleViewAction());
    m_assistantDock->hide();
    new CameraSourceMenu(this, m_viewMenu, m_cameraDiscovery);

    connect(this, &BasicMainWindow::CameraOpened, this, &MainWindow::onInitAssistant);
    connect(this, &BasicMainWindow::CameraClosed, this, &MainWindow::onResetAssistant);
    connect(m_assistant, &OrxNUShadingCorrection::cameraCloseRequested, this,
            &BasicMainWindow::CameraCloseRequested);
    connect(m_assistant, &OrxNUShadingCorrection::sendLogMessage, this,
            &BasicMainWindow::OnLogMessage);

    resize(1000, 760);
}

MainWindow::~MainWindow()
{
    // The camera list shuts the camera SDK down when it goes, which happens
    // before the assistant as the older child; the camera must go first.
    m_assistant->Reset();
}

void MainWindow::onInitAssistant(OxCamera* camera)
{
    if (camera == nullptr) {
        onResetAssistant();
        return;
    }
    if (!m_assistant->Init(camera)) {
        m_cameraListDock->setVisible(true);
        emit m_assistant->sendLogMessage(
            tr("Unsupported camera (%1). NUC map selection is unavailable.")
                .arg(camera->GetCameraName()),
            LogError);
        emit m_assistant->cameraCloseRequested();
        return;
    }
    m_cameraListDock->hide();
    m_assistantDock->show();
    m_assistant->setEnabled(true);
    setWindowTitle(QStringLiteral("%1 - %2").arg(m_defaultWindowTitle, camera->GetCameraName()));
}

void MainWindow::onResetAssistant()
{
    setWindowTitle(m_defaultWindowTitle);
    m_assistant->Reset();
    m_assistant->setEnabled(false);
    m_cameraListDock->show();
    m_assistantDock->hide();
}
