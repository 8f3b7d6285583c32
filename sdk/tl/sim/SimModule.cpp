#include "SimModule.h"

#include "SimDevice.h"

namespace hvsim {

namespace {

std::mutex g_worldMutex;
std::shared_ptr<SimWorld> g_world;

} // namespace

SimModule::~SimModule()
{
    Stop();
}

std::shared_ptr<SimWorld> SimModule::currentWorld()
{
    std::lock_guard<std::mutex> lock(g_worldMutex);
    return g_world;
}

Hvx::Tl::DeviceInfo SimModule::deviceInfo(const SimCamera& camera)
{
    const CameraConfig& c = camera.config();
    Hvx::Tl::DeviceInfo info;
    info.id = c.id;
    info.interfaceId = c.interfaceId;
    info.model = c.model;
    info.name = c.name;
    info.serialNumber = c.serial;
    info.permittedAccess = camera.fullAccessPermitted()
                               ? HvAccessModeType(HvAccessModeFull | HvAccessModeRead)
                               : HvAccessModeType(HvAccessModeRead);
    info.type = c.isUsb3() ? HvTransportLayerTypeU3V : HvTransportLayerTypeGEV;
    return info;
}

Hvx::Tl::InterfaceInfo SimModule::interfaceInfo(const CameraConfig& c)
{
    Hvx::Tl::InterfaceInfo info;
    info.id = c.interfaceId;
    info.name = c.isUsb3() ? "Simulated USB3 Vision host controller"
                           : "Simulated GigE Vision network adapter";
    info.type = c.isUsb3() ? HvTransportLayerTypeU3V : HvTransportLayerTypeGEV;
    return info;
}

HvErrorType SimModule::Start(Hvx::Tl::IModuleHost& host)
{
    if (m_world)
        return HvErrorInvalidCall;
    m_host = &host;
    m_world = std::make_shared<SimWorld>(SimWorld::optionsFromEnvironment());
    m_world->setListener(
        [this](const std::string& id, SimWorld::Reason reason) { onListChange(id, reason); });
    m_world->start();
    {
        std::lock_guard<std::mutex> lock(m_interfaceMutex);
        for (const auto& cam : m_world->cameras())
            m_interfaces.insert(cam->config().interfaceId);
    }
    std::lock_guard<std::mutex> lock(g_worldMutex);
    g_world = m_world;
    return HvErrorSuccess;
}

void SimModule::Stop()
{
    if (!m_world)
        return;
    {
        std::lock_guard<std::mutex> lock(g_worldMutex);
        if (g_world == m_world)
            g_world.reset();
    }
    m_world->setListener({});
    m_world->stop();
    m_world.reset();
    m_host = nullptr;
    std::lock_guard<std::mutex> lock(m_interfaceMutex);
    m_interfaces.clear();
}

void SimModule::onListChange(const std::string& id, SimWorld::Reason reason)
{
    if (!m_host)
        return;
    if (reason == SimWorld::Left) {
        m_host->DeviceLeft(id);
        return;
    }
    std::shared_ptr<SimCamera> cam = m_world->camera(id);
    if (!cam)
        return; // gone again before the news went out
    bool newInterface;
    {
        std::lock_guard<std::mutex> lock(m_interfaceMutex);
        newInterface = m_interfaces.insert(cam->config().interfaceId).second;
    }
    if (newInterface)
        m_host->InterfaceArrived(interfaceInfo(cam->config()));
    m_host->DeviceArrived(deviceInfo(*cam));
}

HvErrorType SimModule::ListInterfaces(std::vector<Hvx::Tl::InterfaceInfo>& interfaces)
{
    if (!m_world)
        return HvErrorApiNotStarted;
    interfaces.clear();
    std::set<std::string> seen;
    for (const auto& cam : m_world->cameras())
        if (seen.insert(cam->config().interfaceId).second)
            interfaces.push_back(interfaceInfo(cam->config()));
    return HvErrorSuccess;
}

HvErrorType SimModule::ListDevices(std::vector<Hvx::Tl::DeviceInfo>& devices)
{
    if (!m_world)
        return HvErrorApiNotStarted;
    devices.clear();
    for (const auto& cam : m_world->cameras())
        devices.push_back(deviceInfo(*cam));
    return HvErrorSuccess;
}

HvErrorType SimModule::GetDeviceInterfaceType(const std::string& deviceId,
                                              HvTransportLayerType& type)
{
    if (!m_world)
        return HvErrorApiNotStarted;
    std::shared_ptr<SimCamera> cam = m_world->camera(deviceId);
    if (!cam)
        return HvErrorNotFound;
    int code = 0;
    Status s = cam->interfaceType(code);
    if (s == Ok)
        type = HvTransportLayerType(code);
    return s;
}

HvErrorType SimModule::OpenDevice(const std::string& deviceId, HvAccessModeType accessMode,
                                  std::unique_ptr<Hvx::Tl::IDevice>& device)
{
    if (!m_world)
        return HvErrorApiNotStarted;
    std::shared_ptr<SimCamera> cam = m_world->camera(deviceId);
    if (!cam)
        return HvErrorNotFound;
    const bool full = accessMode & (HvAccessModeFull | HvAccessModeExclusive);
    if (!full && !(accessMode & HvAccessModeRead))
        return HvErrorBadParameter;
    Status s = cam->open(full);
    if (s != Ok)
        return s;
    device = std::make_unique<SimDevice>(cam);
    return HvErrorSuccess;
}

} // namespace hvsim

HVX_TL_DEFINE_MODULE(hvsim::SimModule)
