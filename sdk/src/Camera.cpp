#include "Hvx/Camera.h"

#include "CameraState.h"
#include "Hvx/Frame.h"
#include "Hvx/Stream.h"
#include "SystemImpl.h"
#include "Text.h"

namespace Hvx {

using Internal::SessionLock;

namespace {

bool IsOpenMode(HvAccessModeType mode)
{
    return mode == HvAccessModeFull || mode == HvAccessModeExclusive || mode == HvAccessModeRead;
}

bool Permits(HvAccessModeType permitted, HvAccessModeType mode)
{
    const HvAccessModeType writing = HvAccessModeFull | HvAccessModeExclusive;
    if (mode == HvAccessModeRead)
        return (permitted & (writing | HvAccessModeRead)) != 0;
    return (permitted & writing) != 0;
}

} // namespace

Camera::Camera(std::shared_ptr<Internal::CameraState> state)
    : FeatureContainer(std::make_shared<Internal::CameraFeatureSource>(state)),
      m_state(std::move(state))
{
}

Camera::~Camera() = default;

HvErrorType Camera::GetID(char* id, unsigned int& length, bool extended) const
{
    return Internal::CopyText(extended ? m_state->extendedId : m_state->Info().id, id, length);
}

HvErrorType Camera::GetModel(char* model, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().model, model, length);
}

HvErrorType Camera::GetName(char* name, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().name, name, length);
}

HvErrorType Camera::GetSerialNumber(char* serial, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().serialNumber, serial, length);
}

HvErrorType Camera::GetVendor(char* vendor, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().vendor, vendor, length);
}

HvErrorType Camera::GetFirmwareVersion(char* version, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().firmwareVersion, version, length);
}

HvErrorType Camera::GetInterfaceID(char* id, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().interfaceId, id, length);
}

HvErrorType Camera::GetInterface(InterfacePtr& interface) const
{
    SessionLock session(m_state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    const Tl::DeviceInfo info = m_state->Info();
    if (info.interfaceId.empty())
        return HvErrorNotFound;
    interface =
        HvSystem::Impl::Instance().InterfaceFor(m_state->module, info.interfaceId, info.type);
    return HvErrorSuccess;
}

HvErrorType Camera::GetTransportLayer(TransportLayerPtr& transportLayer) const
{
    transportLayer = m_state->module->object;
    return HvErrorSuccess;
}

HvErrorType Camera::GetPermittedAccess(HvAccessModeType& access) const
{
    access = m_state->Info().permittedAccess;
    return HvErrorSuccess;
}

HvErrorType Camera::GetInterfaceType(HvTransportLayerType& type) const
{
    SessionLock session(m_state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    return m_state->module->loaded.module->GetDeviceInterfaceType(m_state->Info().id, type);
}

HvErrorType Camera::Open(HvAccessModeType accessMode)
{
    if (!IsOpenMode(accessMode))
        return HvErrorBadParameter;
    {
        SessionLock session(m_state->session);
        if (session.Status() != HvErrorSuccess)
            return session.Status();
        std::lock_guard<std::mutex> lock(m_state->deviceMutex);
        if (m_state->device)
            return HvErrorInvalidCall;
        if (!m_state->Present())
            return HvErrorNotFound;
        const Tl::DeviceInfo info = m_state->Info();
        if (!Permits(info.permittedAccess, accessMode))
            return HvErrorInvalidAccess;
        std::unique_ptr<Tl::IDevice> device;
        const HvErrorType result =
            m_state->module->loaded.module->OpenDevice(info.id, accessMode, device);
        if (result != HvErrorSuccess)
            return result;
        if (!device)
            return HvErrorInternalFault;
        m_state->device = std::move(device);
        m_state->openAccess = accessMode;
        ++m_state->openCount;
        m_state->streams.clear();
    }
    HvSystem::Impl::Instance().Notifications().Post(
        std::static_pointer_cast<Camera>(shared_from_this()), UpdateTriggerOpenStateChanged);
    return HvErrorSuccess;
}

HvErrorType Camera::Close()
{
    {
        SessionLock session(m_state->session);
        if (session.Status() != HvErrorSuccess)
            return session.Status();
        std::lock_guard<std::mutex> lock(m_state->deviceMutex);
        if (!m_state->device)
            return HvErrorDeviceNotOpen;
        m_state->streams.clear();
        m_state->device.reset();
        m_state->openAccess = HvAccessModeNone;
    }
    HvSystem::Impl::Instance().Notifications().Post(
        std::static_pointer_cast<Camera>(shared_from_this()), UpdateTriggerOpenStateChanged);
    return HvErrorSuccess;
}

HvErrorType Camera::GetOpenAccess(HvAccessModeType& accessMode) const
{
    std::lock_guard<std::mutex> lock(m_state->deviceMutex);
    accessMode = m_state->device ? m_state->openAccess : HvAccessModeType(HvAccessModeNone);
    return HvErrorSuccess;
}

HvErrorType Camera::ReadMemory(uint64_t address, unsigned char* buffer, unsigned int size,
                               unsigned int* completed) const
{
    if (completed != nullptr)
        *completed = 0;
    if (buffer == nullptr || size == 0)
        return HvErrorBadParameter;
    SessionLock session(m_state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    std::lock_guard<std::mutex> lock(m_state->deviceMutex);
    if (!m_state->device)
        return HvErrorDeviceNotOpen;
    uint32_t done = 0;
    const HvErrorType result = m_state->device->ReadMemory(address, buffer, size, done);
    if (completed != nullptr)
        *completed = done;
    return result;
}

HvErrorType Camera::WriteMemory(uint64_t address, const unsigned char* buffer, unsigned int size,
                                unsigned int* completed)
{
    if (completed != nullptr)
        *completed = 0;
    if (buffer == nullptr || size == 0)
        return HvErrorBadParameter;
    SessionLock session(m_state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    std::lock_guard<std::mutex> lock(m_state->deviceMutex);
    if (!m_state->device)
        return HvErrorDeviceNotOpen;
    if (!m_state->WriteAllowed())
        return HvErrorInvalidAccess;
    uint32_t done = 0;
    const HvErrorType result = m_state->device->WriteMemory(address, buffer, size, done);
    if (completed != nullptr)
        *completed = done;
    return result;
}

HvErrorType Camera::GetStreams(StreamPtr* streams, unsigned int& count)
{
    SessionLock session(m_state->session);
    if (session.Status() != HvErrorSuccess)
        return session.Status();
    std::lock_guard<std::mutex> lock(m_state->deviceMutex);
    if (!m_state->device)
        return HvErrorDeviceNotOpen;
    // One set of stream objects per opening, so repeated calls give equal
    // pointers and streams of an earlier opening are recognised as closed.
    if (m_state->streams.empty()) {
        const uint32_t n = m_state->device->StreamCount();
        for (uint32_t index = 0; index < n; ++index) {
            auto source =
                std::make_shared<Internal::StreamFeatureSource>(m_state, index, m_state->openCount);
            const std::string id = m_state->extendedId + "/Stream" + std::to_string(index);
            m_state->streams.push_back(std::make_shared<Stream>(source, index, id.c_str()));
        }
    }
    return Internal::CopyArray(m_state->streams, streams, count);
}

HvErrorType Camera::AcquireSingleImage(FramePtr& frame, unsigned int timeout,
                                       FrameAllocationMode allocationMode)
{
    Tl::FrameData data;
    {
        SessionLock session(m_state->session);
        if (session.Status() != HvErrorSuccess)
            return session.Status();
        std::lock_guard<std::mutex> lock(m_state->deviceMutex);
        if (!m_state->device)
            return HvErrorDeviceNotOpen;
        const HvErrorType result = m_state->device->AcquireFrame(timeout, data);
        if (result != HvErrorSuccess)
            return result;
    }
    FramePtr target;
    uint32_t capacity = 0;
    if (allocationMode == FrameAllocation_AnnounceFrame && frame &&
        frame->GetBufferSize(capacity) == HvErrorSuccess && capacity >= data.image.size())
        target = frame;
    else
        target = std::make_shared<Frame>(data.image.size());
    target->Assign(data.status, data.width, data.height, data.pixelFormat, data.frameId,
                   data.timestamp, data.image);
    frame = target;
    return HvErrorSuccess;
}

} // namespace Hvx
