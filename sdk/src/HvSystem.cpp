#include "Hvx/HvSystem.h"

#include "SystemImpl.h"
#include "Text.h"

#include "Hvx/Camera.h"
#include "Hvx/TransportLayer.h"

namespace Hvx {

HvSystem& HvSystem::GetInstance()
{
    static HvSystem instance;
    return instance;
}

HvSystem::HvSystem() : m_impl(new Impl) {}

HvSystem::~HvSystem() = default;

HvErrorType HvSystem::SelectModules(HvModuleSelectionType selection)
{
    return m_impl->SelectModules(selection);
}

HvModuleSelectionType HvSystem::SelectedModules() const
{
    return m_impl->SelectedModules();
}

HvErrorType HvSystem::Startup()
{
    return m_impl->Startup();
}

HvErrorType HvSystem::Shutdown()
{
    return m_impl->Shutdown();
}

HvErrorType HvSystem::QueryVersion(HvVersionInfo& version) const
{
    version.major = HVX_VERSION_MAJOR;
    version.minor = HVX_VERSION_MINOR;
    version.patch = HVX_VERSION_PATCH;
    return HvErrorSuccess;
}

HvErrorType HvSystem::GetCameras(CameraPtr* cameras, unsigned int& count)
{
    std::vector<CameraPtr> list;
    const HvErrorType result = m_impl->GetCameras(list);
    if (result != HvErrorSuccess)
        return result;
    return Internal::CopyArray(list, cameras, count);
}

HvErrorType HvSystem::GetCameraByID(const char* id, CameraPtr& camera)
{
    if (id == nullptr)
        return HvErrorBadParameter;
    return m_impl->GetCameraByID(id, camera);
}

HvErrorType HvSystem::OpenCameraByID(const char* id, HvAccessModeType accessMode, CameraPtr& camera)
{
    CameraPtr found;
    HvErrorType result = GetCameraByID(id, found);
    if (result != HvErrorSuccess)
        return result;
    result = found->Open(accessMode);
    if (result == HvErrorSuccess)
        camera = found;
    return result;
}

HvErrorType HvSystem::AddCameraByAddress(const char* address, CameraPtr& camera)
{
    if (address == nullptr || *address == '\0')
        return HvErrorBadParameter;
    return m_impl->AddCameraByAddress(address, camera);
}

HvErrorType HvSystem::GetInterfaces(InterfacePtr* interfaces, unsigned int& count)
{
    std::vector<InterfacePtr> list;
    const HvErrorType result = m_impl->GetInterfaces(list);
    if (result != HvErrorSuccess)
        return result;
    return Internal::CopyArray(list, interfaces, count);
}

HvErrorType HvSystem::GetInterfaceByID(const char* id, InterfacePtr& interface)
{
    if (id == nullptr)
        return HvErrorBadParameter;
    return m_impl->GetInterfaceByID(id, interface);
}

HvErrorType HvSystem::GetTransportLayers(TransportLayerPtr* transportLayers, unsigned int& count)
{
    std::vector<TransportLayerPtr> list;
    const HvErrorType result = m_impl->GetTransportLayers(list);
    if (result != HvErrorSuccess)
        return result;
    return Internal::CopyArray(list, transportLayers, count);
}

HvErrorType HvSystem::GetTransportLayerByID(const char* id, TransportLayerPtr& transportLayer)
{
    if (id == nullptr)
        return HvErrorBadParameter;
    std::vector<TransportLayerPtr> list;
    const HvErrorType result = m_impl->GetTransportLayers(list);
    if (result != HvErrorSuccess)
        return result;
    for (const auto& candidate : list) {
        unsigned int length = 0;
        candidate->GetID(nullptr, length);
        std::string text(length + 1, '\0');
        candidate->GetID(&text[0], length);
        text.resize(length);
        if (text == id) {
            transportLayer = candidate;
            return HvErrorSuccess;
        }
    }
    return HvErrorNotFound;
}

HvErrorType HvSystem::RegisterCameraListObserver(const ICameraListObserverPtr& observer)
{
    return m_impl->Notifications().AddObserver(observer);
}

HvErrorType HvSystem::UnregisterCameraListObserver(const ICameraListObserverPtr& observer)
{
    return m_impl->Notifications().RemoveObserver(observer);
}

HvErrorType HvSystem::RegisterInterfaceListObserver(const IInterfaceListObserverPtr& observer)
{
    return m_impl->Notifications().AddObserver(observer);
}

HvErrorType HvSystem::UnregisterInterfaceListObserver(const IInterfaceListObserverPtr& observer)
{
    return m_impl->Notifications().RemoveObserver(observer);
}

} // namespace Hvx
