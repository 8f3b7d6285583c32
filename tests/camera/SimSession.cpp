#include "SimSession.h"
#include "OxCamera.h"

#include <Hvx/Camera.h>
#include <Hvx/HvSystem.h>

#include <QDir>
#include <QFile>
#include <QJsonDocument>

namespace {

QString tempTemplate()
{
    const QByteArray base = qgetenv("ORVEX_TEST_TMP");
    return (base.isEmpty() ? QDir::tempPath() : QString::fromLocal8Bit(base)) +
           QStringLiteral("/camera-sim-XXXXXX");
}

} // namespace

SimSession::SimSession(const QJsonArray& cameras) : m_dir(tempTemplate())
{
    if (!m_dir.isValid())
        return;
    QFile config(m_dir.filePath("sim.json"));
    QJsonObject root;
    root.insert("cameras", cameras);
    if (!config.open(QIODevice::WriteOnly) || config.write(QJsonDocument(root).toJson()) < 0)
        return;
    config.close();
    QDir(m_dir.path()).mkdir("state");
    qputenv("HVX_SIM_CONFIG", QFile::encodeName(config.fileName()));
    qputenv("HVX_SIM_STATE", QFile::encodeName(m_dir.filePath("state")));
    m_started = Hvx::HvSystem::GetInstance().Startup() == HvErrorSuccess;
    m_control = HvxSim::Control();
    if (m_control && !m_control->IsRunning())
        m_control = nullptr;
}

SimSession::~SimSession()
{
    if (m_started)
        Hvx::HvSystem::GetInstance().Shutdown();
}

Hvx::CameraPtr SimSession::camera(const char* plainId)
{
    Hvx::CameraPtr cam;
    Hvx::HvSystem::GetInstance().GetCameraByID(plainId, cam);
    return cam;
}

Hvx::CameraPtr SimSession::openCamera(const char* plainId)
{
    Hvx::CameraPtr cam = camera(plainId);
    if (cam && cam->Open(HvAccessModeFull) != HvErrorSuccess)
        cam.reset();
    return cam;
}

QStringList SimSession::trace(const char* plainId)
{
    std::vector<HvxSim::TraceEntry> entries;
    m_control->GetTrace(plainId, entries);
    QStringList lines;
    for (const auto& e : entries) {
        QString line = QString::fromStdString(e.feature + " " + e.op);
        if (!e.value.empty())
            line += " " + QString::fromStdString(e.value);
        if (e.status != 0)
            line += QStringLiteral(" -> %1").arg(e.status);
        if (e.scope != "camera")
            line.prepend(QString::fromStdString(e.scope) + ": ");
        lines << line;
    }
    return lines;
}

void SimSession::clearTrace(const char* plainId)
{
    m_control->ClearTrace(plainId);
}

QByteArray SimSession::storedFile(const char* plainId, const char* selector, const char* fileName)
{
    std::vector<uint8_t> bytes;
    if (m_control->ReadStoredFile(plainId, selector, fileName, bytes) != 0)
        return QByteArray("<no stored file>");
    return QByteArray(reinterpret_cast<const char*>(bytes.data()), int(bytes.size()));
}

QJsonObject SimSession::cameraJson(const char* plainId, const char* transport)
{
    QJsonObject cam;
    cam.insert("id", plainId);
    cam.insert("transport", transport);
    cam.insert("model", "kva640MXGE");
    cam.insert("name", QStringLiteral("Camera %1").arg(plainId));
    cam.insert("serial", QStringLiteral("SN-%1").arg(plainId));
    cam.insert("manufacturerInfo", "4.1.0 (2026-05-01)");
    return cam;
}

QStringList selectLines(const QStringList& trace, const QString& prefix)
{
    QStringList lines;
    for (const QString& line : trace)
        if (line.startsWith(prefix))
            lines << line.mid(prefix.size());
    return lines;
}

OpenedSimCamera::OpenedSimCamera(const char* plainId, const QJsonObject& camera)
    : id(plainId), sim(QJsonArray{camera})
{
    if (!sim.ok() || !(handle = sim.openCamera(id)))
        return;
    sim.clearTrace(id);
    wrapper = std::make_unique<OxCamera>(handle, nullptr);
    constructionTrace = sim.trace(id);
    sim.clearTrace(id);
}

OpenedSimCamera::~OpenedSimCamera() = default;
