#include "CameraDiscoveryWidget.h"

#include "ApiController.h"
#include "CameraModelCompatibility.h"
#include "CameraTreeModel.h"

#include <Hvx/HvSystem.h>

#include <QApplication>
#include <QCheckBox>
#include <QFutureWatcher>
#include <QHBoxLayout>
#include <QLabel>
#include <QMouseEvent>
#include <QPushButton>
#include <QStackedWidget>
#include <QTreeView>
#include <QVBoxLayout>
#include <QtConcurrent>

namespace {

const QString kModelName = QStringLiteral("Model Name");

const QString& refreshInProgressText()
{
    static const QString text = CameraDiscoveryWidget::tr("Refresh in progress...");
    return text;
}

bool isCompatible(const CameraInfoMap& info)
{
    QString family;
    return IsCameraModelCompatible(info.value(kModelName).toString(), family);
}

// Taking and releasing the refresh hand-over mutex orders this thread after
// every earlier pass (see CameraDiscoveryWidget::m_refreshHandOver).
void passHandOver(std::mutex& handOver)
{
    std::lock_guard<std::mutex> pass(handOver);
}

// Runs on a pool thread; the filter state was read on the GUI thread. The
// task borrows the controller rather than share it: the widget waits for its
// refreshes before letting go of the controller, whereas a task's own copy
// could be the last one, destroying the controller (a QObject of the GUI
// thread) on the pool thread while the GUI thread still disconnects from it.
QVector<CameraInfoMap> collectCameras(ApiController* controller, bool compatibleOnly,
                                      std::mutex* handOver)
{
    passHandOver(*handOver);
    QVector<CameraInfoMap> kept;
    for (const Hvx::CameraPtr& camera : controller->UpdateCamerasList()) {
        CameraInfoMap info = controller->GetCameraInfo(camera);
        if (!compatibleOnly || isCompatible(info))
            kept.push_back(info);
    }
    passHandOver(*handOver);
    return kept;
}

} // namespace

CameraDiscoveryWidget::CameraDiscoveryWidget(QWidget* parent) : QWidget(parent)
{
    qRegisterMetaType<std::shared_ptr<ApiController>>("std::shared_ptr<ApiController>");
    qRegisterMetaType<QVector<CameraInfoMap>>("QVector<CameraInfoMap>");
    qRegisterMetaType<CameraInfoMap>("CameraInfoMap");

    buildControls();

    connect(m_chkCompatibleOnly, &QCheckBox::stateChanged, this,
            &CameraDiscoveryWidget::RefreshCameraList);
    connect(m_chkAutoRefresh, &QCheckBox::stateChanged, this,
            &CameraDiscoveryWidget::_onAutoRefreshToggled);
    connect(m_btnOpen, &QPushButton::clicked, this, [this] { OnCameraStatusChanged(true); });
    connect(m_tree, &QTreeView::doubleClicked, this, [this] { OnCameraStatusChanged(true); });
    // A row that cannot be opened says why when it is clicked, and a double
    // click on it does nothing (the view would report it, and the current row
    // is another camera's).
    m_tree->viewport()->installEventFilter(this);
    connect(m_btnClose, &QPushButton::clicked, this, [this] { OnCameraStatusChanged(false); });
    connect(m_btnRefresh, &QPushButton::clicked, this, &CameraDiscoveryWidget::RefreshCameraList);
    connect(this, &CameraDiscoveryWidget::CameraOpened, this, [this] {
        m_openCloseStack->setCurrentIndex(1);
        m_tree->setEnabled(false);
    });
    connect(this, &CameraDiscoveryWidget::CameraClosed, this, [this] {
        m_openCloseStack->setCurrentIndex(0);
        m_tree->setEnabled(true);
    });
    connect(m_tree->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &CameraDiscoveryWidget::_updateOpenButton);
    // A camera's access may change while its row is current.
    connect(m_model, &QAbstractItemModel::dataChanged, this,
            &CameraDiscoveryWidget::_updateOpenButton);
    connect(m_model, &QAbstractItemModel::rowsInserted, m_tree, &QTreeView::expandAll);
    connect(m_model, &QAbstractItemModel::rowsRemoved, m_tree, &QTreeView::expandAll);
    // A rebuilt tree starts collapsed; show every camera at once.
    connect(m_model, &QAbstractItemModel::modelReset, m_tree, &QTreeView::expandAll);
    connect(this, &CameraDiscoveryWidget::HvSystemReady, this,
            &CameraDiscoveryWidget::InitApiController);

    startSdk();
}

CameraDiscoveryWidget::~CameraDiscoveryWidget()
{
    stopSdk();
    // Wait cursors pushed for tasks whose results will never arrive.
    while (m_waitCursors > 0)
        restoreCursor();
}

void CameraDiscoveryWidget::stopSdk()
{
    m_startup.waitForFinished();
    for (QFuture<QVector<CameraInfoMap>>& refresh : m_refreshes)
        refresh.waitForFinished();
    passHandOver(m_refreshHandOver);
    // The SDK keeps registered observers alive beyond this widget; let go of them.
    if (m_controller)
        m_controller->enableAutomaticDiscovery(false);
    Hvx::HvSystem::GetInstance().Shutdown();
}

void CameraDiscoveryWidget::RestartSdk()
{
    stopSdk();
    if (m_controller) {
        m_controller->disconnect(this);
        m_controller->disconnect(m_model);
        m_controller.reset();
    }
    // Lists still on their way come from the SDK that just stopped.
    ++m_latestRefresh;
    m_model->Init({});
    Update_lblRefreshInfo();
    startSdk();
}

void CameraDiscoveryWidget::setWaitCursor()
{
    QApplication::setOverrideCursor(Qt::WaitCursor);
    ++m_waitCursors;
}

void CameraDiscoveryWidget::restoreCursor()
{
    if (m_waitCursors == 0)
        return;
    QApplication::restoreOverrideCursor();
    --m_waitCursors;
}

void CameraDiscoveryWidget::buildControls()
{
    m_tree = new QTreeView(this);
    m_tree->setObjectName(QStringLiteral("treeCameras"));
    m_tree->setHeaderHidden(true);
    m_model = new CameraTreeModel(this);
    m_tree->setModel(m_model);

    m_openCloseStack = new QStackedWidget(this);
    m_openCloseStack->setObjectName(QStringLiteral("stackOpenClose"));
    // A button's height, not half the dock: the tree takes the spare room.
    m_openCloseStack->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    m_btnOpen = new QPushButton(tr("Open Selected Camera"), m_openCloseStack);
    m_btnOpen->setObjectName(QStringLiteral("btnOpenCamera"));
    m_btnOpen->setEnabled(false);
    m_btnClose = new QPushButton(tr("Close Camera"), m_openCloseStack);
    m_btnClose->setObjectName(QStringLiteral("btnCloseCamera"));
    m_openCloseStack->addWidget(m_btnOpen);
    m_openCloseStack->addWidget(m_btnClose);

    m_chkAutoRefresh = new QCheckBox(tr("Auto refresh"), this);
    m_chkAutoRefresh->setObjectName(QStringLiteral("chkAutoRefresh"));
    m_chkAutoRefresh->setToolTip(
        tr("Enable or disable the automatic refresh of the list of cameras"));
    m_chkAutoRefresh->setChecked(true);
    m_chkCompatibleOnly = new QCheckBox(tr("Compatible only"), this);
    m_chkCompatibleOnly->setObjectName(QStringLiteral("chkCompatibleOnly"));
    m_chkCompatibleOnly->setToolTip(tr("Show compatible cameras only"));
    m_chkCompatibleOnly->setChecked(true);

    m_lblRefreshInfo = new QLabel(refreshInProgressText(), this);
    m_lblRefreshInfo->setObjectName(QStringLiteral("lblRefreshInfo"));
    m_btnRefresh = new QPushButton(tr("Refresh"), this);
    m_btnRefresh->setObjectName(QStringLiteral("btnRefresh"));

    auto* buttonRow = new QHBoxLayout;
    buttonRow->setContentsMargins(0, 0, 0, 0);
    buttonRow->addWidget(m_openCloseStack);
    buttonRow->addWidget(m_chkAutoRefresh);
    buttonRow->addWidget(m_chkCompatibleOnly);
    buttonRow->addStretch();
    buttonRow->addWidget(m_btnRefresh);

    auto* labelRow = new QHBoxLayout;
    labelRow->setContentsMargins(0, 0, 0, 0);
    labelRow->addWidget(m_lblRefreshInfo);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_tree);
    layout->addLayout(labelRow);
    layout->addLayout(buttonRow);
}

void CameraDiscoveryWidget::startSdk()
{
    // The cursor belongs to the GUI thread; it is set here rather than in the
    // task and restored once the controller exists.
    setWaitCursor();
    auto* watcher = new QFutureWatcher<void>(this);
    connect(watcher, &QFutureWatcher<void>::finished, this, [this] { emit HvSystemReady(); });
    // The result is not examined: a failed start-up shows in the controller's later calls.
    m_startup = QtConcurrent::run([] { Hvx::HvSystem::GetInstance().Startup(); });
    watcher->setFuture(m_startup);
}

std::shared_ptr<ApiController> CameraDiscoveryWidget::GetApiController() const
{
    return m_controller;
}

void CameraDiscoveryWidget::InitApiController()
{
    m_controller = std::make_shared<ApiController>(nullptr);
    ApiController* controller = m_controller.get();
    connect(controller, &ApiController::ApiError, this, &CameraDiscoveryWidget::ApiError);
    connect(controller, &ApiController::CameraOpenStateChanged, m_model,
            &CameraTreeModel::OnCameraAccessChanged);
    connect(controller, &ApiController::CameraRemoved, m_model, &CameraTreeModel::OnCameraRemoved);
    connect(controller, &ApiController::CameraAdded, this, &CameraDiscoveryWidget::_onCameraAdded);
    connect(controller, &ApiController::CameraRemoved, this,
            &CameraDiscoveryWidget::_onCameraRemoved);

    m_controller->enableAutomaticDiscovery(m_chkAutoRefresh->isChecked());
    emit ApiControllerAvailable(m_controller);

    restoreCursor();
    RefreshCameraList();
}

void CameraDiscoveryWidget::_onAutoRefreshToggled(int state)
{
    const bool enable = state == Qt::Checked;
    if (m_controller && m_controller->enableAutomaticDiscovery(enable) == HvErrorSuccess)
        return;
    emit ApiError(tr("Failed to %1 the automatic refresh of cameras")
                      .arg(enable ? tr("enable") : tr("disable")));
}

void CameraDiscoveryWidget::_onCameraAdded(const CameraInfoMap& cameraInfo)
{
    if (m_chkCompatibleOnly->isChecked() && !isCompatible(cameraInfo))
        return;
    m_model->OnCameraAdded(cameraInfo);
    Update_lblRefreshInfo();
}

void CameraDiscoveryWidget::_onCameraRemoved(const CameraInfoMap& cameraInfo)
{
    emit CameraRemoved(cameraInfo.value(QStringLiteral("Extended ID")).toString(),
                       cameraInfo.value(QStringLiteral("Camera Name")).toString());
    // The tree was disabled while a camera was open; that camera may be the one gone.
    m_tree->setEnabled(true);
    Update_lblRefreshInfo();
}

void CameraDiscoveryWidget::RefreshCameraList()
{
    // Until the SDK has started there is nothing to ask; the first refresh
    // after start-up reads the filter as it is then.
    if (!m_controller)
        return;

    setWaitCursor();
    m_lblRefreshInfo->setText(refreshInProgressText());
    m_showsRefusal = false;
    m_btnOpen->setEnabled(false);
    m_btnRefresh->setEnabled(false);
    ++m_runningRefreshes;

    const quint64 refreshId = ++m_latestRefresh;
    auto* watcher = new QFutureWatcher<QVector<CameraInfoMap>>(this);
    connect(watcher, &QFutureWatcher<QVector<CameraInfoMap>>::finished, this,
            [this, watcher, refreshId] {
                const QFuture<QVector<CameraInfoMap>> done = watcher->future();
                passHandOver(m_refreshHandOver);
                watcher->deleteLater();
                m_refreshes.removeOne(done);
                if (--m_runningRefreshes == 0)
                    m_btnRefresh->setEnabled(true);
                if (refreshId == m_latestRefresh)
                    OnCameraListReady(done.result());
                else
                    restoreCursor();
            });
    std::unique_lock<std::mutex> queued(m_refreshHandOver);
    const QFuture<QVector<CameraInfoMap>> task = QtConcurrent::run(
        collectCameras, m_controller.get(), m_chkCompatibleOnly->isChecked(), &m_refreshHandOver);
    queued.unlock();
    m_refreshes.push_back(task);
    watcher->setFuture(task);
}

void CameraDiscoveryWidget::OnCameraListReady(QVector<CameraInfoMap> list)
{
    m_model->Init(list);
    Update_lblRefreshInfo();
    restoreCursor();
}

void CameraDiscoveryWidget::Update_lblRefreshInfo()
{
    m_showsRefusal = false;
    const bool empty = m_model->rowCount() == 0;
    m_lblRefreshInfo->setVisible(empty);
    if (empty) {
        m_lblRefreshInfo->setText(
            tr("No %1cameras found")
                .arg(m_chkCompatibleOnly->isChecked() ? tr("compatible ") : QString()));
    }
}

bool CameraDiscoveryWidget::canOpen(const QModelIndex& index) const
{
    return index.isValid() && !m_model->hasChildren(index) &&
           m_model->GetCameraOpenRefusal(index).isEmpty();
}

void CameraDiscoveryWidget::_updateOpenButton()
{
    const QModelIndex current = m_tree->currentIndex();
    m_btnOpen->setEnabled(canOpen(current));
    // A refusal shown for another row gives way to the usual text.
    if (!showOpenRefusal(current) && m_showsRefusal)
        Update_lblRefreshInfo();
}

bool CameraDiscoveryWidget::showOpenRefusal(const QModelIndex& index)
{
    const QString refusal = m_model->GetCameraOpenRefusal(index);
    if (refusal.isEmpty())
        return false;
    m_lblRefreshInfo->setText(
        tr("%1 cannot be opened: %2").arg(m_model->data(index).toString(), refusal));
    m_lblRefreshInfo->setVisible(true);
    m_showsRefusal = true;
    return true;
}

bool CameraDiscoveryWidget::eventFilter(QObject* watched, QEvent* event)
{
    const QEvent::Type type = event->type();
    if (watched == m_tree->viewport() &&
        (type == QEvent::MouseButtonPress || type == QEvent::MouseButtonDblClick)) {
        const QModelIndex row = m_tree->indexAt(static_cast<QMouseEvent*>(event)->pos());
        if (showOpenRefusal(row))
            return type == QEvent::MouseButtonDblClick;
        if (m_showsRefusal)
            Update_lblRefreshInfo();
    }
    return QWidget::eventFilter(watched, event);
}

void CameraDiscoveryWidget::OnCameraStatusChanged(bool status)
{
    auto* model = qobject_cast<CameraTreeModel*>(m_tree->model());
    const QModelIndex current = m_tree->currentIndex();
    if (!model || !current.isValid() || model->hasChildren(current))
        return;
    const QString extId = model->GetCameraExtId(current);
    if (status) {
        // Cameras held elsewhere or of models the assistant does not serve stay closed.
        if (canOpen(current))
            emit CameraOpened(extId);
    } else {
        emit CameraClosed(extId, model->GetCameraName(current));
    }
}
