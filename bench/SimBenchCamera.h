#pragma once

#include <Hvx/Camera.h>

#include <QJsonObject>
#include <QString>
#include <QTemporaryDir>

#include <memory>

class OxCamera;

// One simulated camera for a benchmark run: the simulator's configuration
// (just `camera`, an entry of its "cameras" list) and its state in a
// temporary folder of the run, the SDK started on them and the camera opened
// with full access through the camera layer. Everything is closed again,
// and the SDK shut down, when this goes.
class SimBenchCamera
{
public:
    explicit SimBenchCamera(const QJsonObject& camera);
    ~SimBenchCamera();

    // Null when the simulator could not be set up or the camera not opened.
    OxCamera* camera() const { return m_camera.get(); }
    // A file in the run's temporary folder.
    QString filePath(const QString& name) const { return m_dir.filePath(name); }

private:
    QTemporaryDir m_dir;
    bool m_started = false;
    Hvx::CameraPtr m_handle;
    std::unique_ptr<OxCamera> m_camera;
};
