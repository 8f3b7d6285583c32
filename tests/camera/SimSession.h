#pragma once

#include <Hvx/SharedPointers.h>
#include <HvxSimControl.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>
#include <vector>

class OxCamera;

// One run of the camera SDK over the simulated transport layer with the
// cameras a test describes: its own configuration file and state folder,
// started on construction and shut down on destruction.
class SimSession
{
public:
    explicit SimSession(const QJsonArray& cameras);
    ~SimSession();
    SimSession(const SimSession&) = delete;
    SimSession& operator=(const SimSession&) = delete;

    bool ok() const { return m_started && m_control != nullptr; }
    HvxSim::IControl& control() { return *m_control; }

    // The SDK's camera object for a plain simulator ID, unopened.
    Hvx::CameraPtr camera(const char* plainId);
    Hvx::CameraPtr openCamera(const char* plainId);

    // Feature operations the camera saw, as "feature op value" lines
    // ("FileSelector set Plain"); scope other than "camera" is prefixed.
    QStringList trace(const char* plainId);
    void clearTrace(const char* plainId);
    QByteArray storedFile(const char* plainId, const char* selector, const char* fileName = "");

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // A camera description with the defaults most tests want.
    static QJsonObject cameraJson(const char* plainId, const char* transport = "USB3");

private:
    QTemporaryDir m_dir;
    HvxSim::IControl* m_control = nullptr;
    bool m_started = false;
};

// Lines of a trace that start with prefix, with the prefix cut off.
QStringList selectLines(const QStringList& trace, const QString& prefix);

// A simulated camera, opened and wrapped. The trace is cleared just before
// the wrapper is built and again after, so constructionTrace shows what
// construction did and trace() what the test did since.
struct OpenedSimCamera
{
    OpenedSimCamera(const char* plainId, const QJsonObject& camera);
    ~OpenedSimCamera();
    bool ok() const { return wrapper != nullptr; }
    QStringList trace() { return sim.trace(id); }
    QByteArray storedFile(const char* selector) { return sim.storedFile(id, selector); }

    const char* id;
    SimSession sim;
    Hvx::CameraPtr handle;
    std::unique_ptr<OxCamera> wrapper;
    QStringList constructionTrace;
};
