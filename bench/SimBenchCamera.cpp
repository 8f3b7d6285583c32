#include "SimBenchCamera.h"

#include "OxCamera.h"

#include <Hvx/HvSystem.h>

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

SimBenchCamera::SimBenchCamera(const QJsonObject& camera)
{
    QFile configuration(m_dir.filePath("sim.json"));
    if (!m_dir.isValid() || !QDir(m_dir.path()).mkpath("state") ||
        !configuration.open(QIODevice::WriteOnly) ||
        configuration.write(QJsonDocument(QJsonObject{{"cameras", QJsonArray{camera}}}).toJson()) <=
            0)
        return;
    configuration.close();
    qputenv("HVX_SIM_CONFIG", QFile::encodeName(configuration.fileName()));
    qputenv("HVX_SIM_STATE", QFile::encodeName(m_dir.filePath("state")));
    Hvx::HvSystem& system = Hvx::HvSystem::GetInstance();
    m_started = system.Startup() == HvErrorSuccess;
    const std::string id = camera.value("id").toString().toStdString();
    if (m_started && system.GetCameraByID(id.c_str(), m_handle) == HvErrorSuccess && m_handle &&
        m_handle->Open(HvAccessModeFull) == HvErrorSuccess)
        m_camera = std::make_unique<OxCamera>(m_handle, nullptr);
}

SimBenchCamera::~SimBenchCamera()
{
    m_camera.reset();
    if (m_handle)
        m_handle->Close();
    m_handle.reset();
    if (m_started)
        Hvx::HvSystem::GetInstance().Shutdown();
}
