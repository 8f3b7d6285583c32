#pragma once

#include "CameraInfoMap.h"
#include "HvxMetaTypes.h"

#include <HvTypes.h>
#include <Hvx/HvSystem.h>

#include <QObject>
#include <QString>

#include <memory>
#include <mutex>
#include <string>
#include <vector>

class CameraObserver;
class InterfaceObserver;

// The program's single gateway to the camera SDK's system object: camera
// lookup, open and close, the camera list and its change events, camera
// information maps, and the readable text of every SDK result code. The SDK
// must have been started by the owner before the controller is used; the
// controller never starts or shuts it down.
class ApiController : public QObject
{
    Q_OBJECT

public:
    explicit ApiController(QObject* parent = nullptr);
    ~ApiController() override;

    QString ErrorCodeToMessage(HvErrorType code) const;
    void emitApiError(HvErrorType code, const QString& text);

    // Registers (true) or unregisters (false) both list observers; the
    // result is that of the interface observer call.
    HvErrorType enableAutomaticDiscovery(bool enable);

    Hvx::CameraPtr GetCameraPtr(const QString& extendedId);
    Hvx::CameraPtr OpenCamera(const QString& extendedId);
    HvErrorType CloseCamera(const QString& extendedId);
    // A camera the started transport layers find by unicast at a network
    // address; it joins the camera list. Null after an ApiError.
    Hvx::CameraPtr AddCameraByAddress(const QString& address);

    std::vector<Hvx::CameraPtr> UpdateCamerasList();
    std::vector<Hvx::CameraPtr> GetCameraModel();

    std::string GetVersion() const;
    CameraInfoMap GetCameraInfo(Hvx::CameraPtr camera);

signals:
    void CameraAdded(CameraInfoMap cameraInfo);
    void CameraRemoved(CameraInfoMap cameraInfo);
    void CameraOpenStateChanged(CameraInfoMap cameraInfo);
    void ApiError(QString error);

public slots:
    void OnCameraListChanged(Hvx::CameraPtr pCamera, Hvx::UpdateTriggerType reason);

private:
    HvErrorType LookUpCamera(const QString& extendedId, Hvx::CameraPtr& camera);

    Hvx::HvSystem& m_system;
    std::shared_ptr<CameraObserver> m_cameraObserver;
    std::shared_ptr<InterfaceObserver> m_interfaceObserver;
    std::vector<Hvx::CameraPtr> m_cameras;
    // Refreshes on pool threads may overlap. A standard mutex rather than a
    // QMutex: ThreadSanitizer sees it, not the futexes inside libQt5Core.
    std::mutex m_mutex;
};
