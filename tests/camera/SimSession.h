#pragma once

#include <Hvx/SharedPointers.h>
#include <HvxSimControl.h>

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <vector>

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
    QString extendedId(const char* plainId);

    // Feature operations the camera saw, as "feature op value" lines
    // ("FileSelector set Plain"); scope other than "camera" is prefixed.
    QStringList trace(const char* plainId, bool withIsDone = true);
    void clearTrace(const char* plainId);
    int count(const char* plainId, const QString& line);
    QByteArray storedFile(const char* plainId, const char* selector, const char* fileName = "");

    QString path(const QString& name) const { return m_dir.filePath(name); }

    // A camera description with the defaults most tests want.
    static QJsonObject cameraJson(const char* plainId, const char* transport = "USB3");

private:
    QTemporaryDir m_dir;
    HvxSim::IControl* m_control = nullptr;
    bool m_started = false;
};
