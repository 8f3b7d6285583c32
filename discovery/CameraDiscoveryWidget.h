#pragma once

#include "CameraInfoMap.h"

#include <QFuture>
#include <QMetaType>
#include <QVector>
#include <QWidget>
#include <memory>
#include <mutex>

class ApiController;
class CameraTreeModel;
class QCheckBox;
class QLabel;
class QModelIndex;
class QPushButton;
class QStackedWidget;
class QTreeView;

Q_DECLARE_METATYPE(std::shared_ptr<ApiController>)

// The panel of the camera dock: starts the camera SDK without blocking the
// user interface, creates the one ApiController, lists the detected cameras
// (optionally only the compatible models), refreshes the list on demand or on
// hot-plug events, and turns open and close actions into signals carrying the
// camera's extended ID.
class CameraDiscoveryWidget : public QWidget
{
    Q_OBJECT
public:
    explicit CameraDiscoveryWidget(QWidget* parent = nullptr);
    // Shuts the SDK down once the start-up and all refresh tasks have finished.
    ~CameraDiscoveryWidget() override;

    std::shared_ptr<ApiController> GetApiController() const;
    // Shuts the camera SDK down and starts it again, e.g. with other transport
    // layers selected; a new controller follows. No camera may be open.
    void RestartSdk();
    void Update_lblRefreshInfo();

signals:
    void CameraOpened(QString cameraExtId);
    void CameraClosed(QString cameraExtId, QString cameraName);
    void CameraRemoved(QString cameraExtId, QString cameraName);
    void ApiError(QString errorMessage);
    void HvSystemReady();
    void ApiControllerAvailable(std::shared_ptr<ApiController> newController);

public slots:
    // true: open the selected camera; false: close it.
    void OnCameraStatusChanged(bool status);
    void RefreshCameraList();
    void OnCameraListReady(QVector<CameraInfoMap> list);
    void InitApiController();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private slots:
    void _onAutoRefreshToggled(int state);
    void _onCameraAdded(const CameraInfoMap& cameraInfo);
    void _onCameraRemoved(const CameraInfoMap& cameraInfo);
    void _updateOpenButton();

private:
    void buildControls();
    bool canOpen(const QModelIndex& index) const;
    // Puts why the camera row cannot be opened into the information label;
    // false (label untouched) when it can be opened or is no camera row.
    bool showOpenRefusal(const QModelIndex& index);
    void startSdk();
    // Waits for start-up and refreshes, then shuts the SDK down.
    void stopSdk();
    // The wait cursor marks start-up and running refreshes; counted so that
    // the widget never restores a cursor it did not set.
    void setWaitCursor();
    void restoreCursor();

    QTreeView* m_tree = nullptr;
    CameraTreeModel* m_model = nullptr;
    QStackedWidget* m_openCloseStack = nullptr;
    QPushButton* m_btnOpen = nullptr;
    QPushButton* m_btnClose = nullptr;
    QCheckBox* m_chkAutoRefresh = nullptr;
    QCheckBox* m_chkCompatibleOnly = nullptr;
    QLabel* m_lblRefreshInfo = nullptr;
    QPushButton* m_btnRefresh = nullptr;
    std::shared_ptr<ApiController> m_controller;

    QFuture<void> m_startup;
    // Tasks still running on the pool; the SDK must outlive them.
    QVector<QFuture<QVector<CameraInfoMap>>> m_refreshes;
    // QThreadPool and QFuture order a refresh's start and end through futexes
    // that ThreadSanitizer cannot see; the refreshes also pass this mutex at
    // both ends, so that it sees the same order.
    std::mutex m_refreshHandOver;
    // Only the newest refresh may fill the tree; an older one that finishes
    // later would show a list made with an outdated filter.
    quint64 m_latestRefresh = 0;
    int m_runningRefreshes = 0;
    int m_waitCursors = 0;
    // The information label tells why a camera row cannot be opened.
    bool m_showsRefusal = false;
};
