#include "AravisModule.h"

#include "AravisDevice.h"
#include "AravisError.h"
#include "GvcpProbe.h"
#include "UsbVisionProbe.h"

#include <arv.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <sstream>

namespace hvaravis {

namespace {

// A device missed this many rounds in a row leaves the list.
constexpr int kMissesToLeave = 2;
// A list the SDK asks for is at most this old.
constexpr auto kFreshList = std::chrono::milliseconds(1000);

const char* const kGigE = "GigEVision";
const char* const kUsb3 = "USB3Vision";

std::string EnvironmentText(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    return value != nullptr && *value != '\0' ? value : fallback;
}

std::set<std::string> WantedInterfaces()
{
    std::set<std::string> wanted;
    std::stringstream list(EnvironmentText("HVX_ARAVIS_INTERFACES", "GigEVision,USB3Vision"));
    std::string item;
    while (std::getline(list, item, ','))
        if (!item.empty())
            wanted.insert(item);
    return wanted;
}

std::string Copy(const char* text)
{
    return text != nullptr ? text : "";
}

Hvx::Tl::InterfaceInfo InterfaceOf(const Hvx::Tl::DeviceInfo& device)
{
    Hvx::Tl::InterfaceInfo info;
    info.id = device.interfaceId;
    info.type = device.type;
    if (device.type == HvTransportLayerTypeGEV)
        info.name = "GigE Vision on " + device.interfaceId.substr(device.interfaceId.find('/') + 1);
    else if (device.type == HvTransportLayerTypeU3V)
        info.name = "USB3 Vision";
    else
        info.name = device.interfaceId;
    return info;
}

constexpr HvAccessModeType kFullAccess = HvAccessModeFull | HvAccessModeRead;

} // namespace

AravisModule::~AravisModule()
{
    Stop();
}

std::string AravisModule::Version()
{
    return std::string("1.0.0 (Aravis ") + ARAVIS_VERSION + ")";
}

HvErrorType AravisModule::Start(Hvx::Tl::IModuleHost& host)
{
    if (m_host != nullptr)
        return HvErrorInvalidCall;
    m_host = &host;
    m_directory = std::make_unique<DeviceDirectory>(kMissesToLeave);
    const long interval = std::atol(EnvironmentText("HVX_ARAVIS_POLL_MS", "2000").c_str());
    m_pollInterval = std::chrono::milliseconds(std::max(100L, interval));
    {
        const std::set<std::string> wanted = WantedInterfaces();
        std::lock_guard<std::mutex> lock(m_aravisMutex);
        for (unsigned int i = 0; i < arv_get_n_interfaces(); ++i) {
            const std::string id = Copy(arv_get_interface_id(i));
            if (wanted.count(id) != 0)
                arv_enable_interface(id.c_str());
            else
                arv_disable_interface(id.c_str());
        }
        m_usbEnabled = wanted.count(kUsb3) != 0;
    }
    Round();
    m_stopping = false;
    m_poller = std::thread([this] { PollLoop(); });
    return HvErrorSuccess;
}

void AravisModule::Stop()
{
    if (m_host == nullptr)
        return;
    {
        std::lock_guard<std::mutex> lock(m_pollMutex);
        m_stopping = true;
    }
    m_pollWake.notify_one();
    if (m_poller.joinable())
        m_poller.join();
    {
        std::lock_guard<std::mutex> lock(m_aravisMutex);
        arv_shutdown();
    }
    std::lock_guard<std::mutex> lock(m_stateMutex);
    m_unicast.clear();
    m_interfaces.clear();
    m_host = nullptr;
}

void AravisModule::PollLoop()
{
    std::unique_lock<std::mutex> lock(m_pollMutex);
    while (!m_pollWake.wait_for(lock, m_pollInterval, [this] { return m_stopping; })) {
        lock.unlock();
        Round();
        lock.lock();
    }
}

bool AravisModule::IsOpen(const std::string& id)
{
    std::lock_guard<std::mutex> lock(m_stateMutex);
    return m_open.count(id) != 0;
}

bool AravisModule::ProbeGigE(uint32_t address, const Sighting* fallback, Sighting& sighting)
{
    GigEIdentity identity;
    if (!GvcpProbe::Discover(address, identity)) {
        if (fallback == nullptr)
            return false;
        identity.vendor = fallback->info.vendor;
        identity.model = fallback->info.model;
        identity.serialNumber = fallback->info.serialNumber;
    }
    uint32_t local = 0;
    std::string interfaceName;
    if (!LocalRouteTo(address, local, interfaceName) || interfaceName.empty())
        interfaceName = Ipv4Text(local);

    Hvx::Tl::DeviceInfo& info = sighting.info;
    info.id = DeviceId(identity.vendor, identity.model,
                       identity.serialNumber.empty() ? identity.mac : identity.serialNumber);
    info.interfaceId = std::string(kGigE) + "/" + interfaceName;
    info.model = identity.model;
    info.name = identity.userName;
    info.serialNumber = identity.serialNumber;
    info.vendor = identity.vendor;
    info.firmwareVersion = identity.firmwareVersion;
    info.type = HvTransportLayerTypeGEV;
    // This program's own control is no reason to list its camera as taken.
    switch (IsOpen(info.id) ? GigEControl::Free : GvcpProbe::Control(address)) {
    case GigEControl::HeldElsewhere:
        info.permittedAccess = HvAccessModeRead;
        break;
    case GigEControl::Exclusive:
        info.permittedAccess = HvAccessModeNone;
        break;
    default: // free, or no answer: opening will tell
        info.permittedAccess = kFullAccess;
        break;
    }
    sighting.location.kind = DeviceLocation::Kind::GigE;
    sighting.location.address = address;
    return true;
}

void AravisModule::Round()
{
    std::lock_guard<std::mutex> round(m_roundMutex);
    std::vector<Sighting> sightings;
    std::map<uint32_t, Sighting> gige; // by address: what Aravis found, then unicast ones
    {
        std::lock_guard<std::mutex> lock(m_aravisMutex);
        arv_update_device_list();
        for (unsigned int i = 0; i < arv_get_n_devices(); ++i) {
            Sighting found;
            const std::string protocol = Copy(arv_get_device_protocol(i));
            found.info.vendor = Copy(arv_get_device_vendor(i));
            found.info.model = Copy(arv_get_device_model(i));
            found.info.serialNumber = Copy(arv_get_device_serial_nbr(i));
            uint32_t address = 0;
            if (protocol == kGigE) {
                if (ParseIpv4(Copy(arv_get_device_address(i)), address))
                    gige[address] = found;
                continue;
            }
            found.info.id = Copy(arv_get_device_id(i));
            found.info.interfaceId = protocol;
            found.info.type =
                protocol == kUsb3 ? HvTransportLayerTypeU3V : HvTransportLayerTypeCustom;
            found.info.permittedAccess = kFullAccess;
            found.location.kind = DeviceLocation::Kind::Aravis;
            found.location.aravisId = found.info.id;
            sightings.push_back(found);
        }
    }
    std::set<uint32_t> unicast;
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        unicast = m_unicast;
    }
    for (const uint32_t address : unicast) {
        Sighting sighting;
        if (gige.count(address) == 0 && ProbeGigE(address, nullptr, sighting))
            sightings.push_back(sighting);
    }
    for (const auto& [address, found] : gige) {
        Sighting sighting;
        if (ProbeGigE(address, &found, sighting))
            sightings.push_back(sighting);
    }
    if (m_usbEnabled) {
        for (const UsbDeniedDevice& denied : FindDeniedUsbVisionDevices())
            sightings.push_back(SightingOf(denied));
    }
    Announce(m_directory->Merge(sightings));
    m_lastRound = std::chrono::steady_clock::now();
}

void AravisModule::Announce(const DeviceDirectory::Changes& changes)
{
    // Interfaces follow the devices: one arrives with its first device and
    // leaves with its last.
    std::set<std::string> current;
    std::vector<Hvx::Tl::InterfaceInfo> arrived;
    for (const auto& device : m_directory->Devices())
        if (current.insert(device.interfaceId).second)
            arrived.push_back(InterfaceOf(device));
    std::vector<std::string> left;
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        arrived.erase(std::remove_if(arrived.begin(), arrived.end(),
                                     [&](const Hvx::Tl::InterfaceInfo& i) {
                                         return m_interfaces.count(i.id) != 0;
                                     }),
                      arrived.end());
        for (const auto& id : m_interfaces)
            if (current.count(id) == 0)
                left.push_back(id);
        m_interfaces = current;
    }
    for (const auto& info : arrived)
        m_host->InterfaceArrived(info);
    for (const auto& device : changes.arrived)
        m_host->DeviceArrived(device);
    for (const auto& device : changes.changed)
        m_host->DeviceChanged(device);
    for (const auto& id : changes.left)
        m_host->DeviceLeft(id);
    for (const auto& id : left)
        m_host->InterfaceLeft(id);
}

HvErrorType AravisModule::ListInterfaces(std::vector<Hvx::Tl::InterfaceInfo>& interfaces)
{
    if (m_host == nullptr)
        return HvErrorApiNotStarted;
    interfaces.clear();
    std::set<std::string> seen;
    for (const auto& device : m_directory->Devices())
        if (seen.insert(device.interfaceId).second)
            interfaces.push_back(InterfaceOf(device));
    return HvErrorSuccess;
}

HvErrorType AravisModule::ListDevices(std::vector<Hvx::Tl::DeviceInfo>& devices)
{
    if (m_host == nullptr)
        return HvErrorApiNotStarted;
    bool stale;
    {
        std::lock_guard<std::mutex> round(m_roundMutex);
        stale = std::chrono::steady_clock::now() - m_lastRound > kFreshList;
    }
    if (stale)
        Round();
    devices = m_directory->Devices();
    return HvErrorSuccess;
}

HvErrorType AravisModule::GetDeviceInterfaceType(const std::string& deviceId,
                                                 HvTransportLayerType& type)
{
    if (m_host == nullptr)
        return HvErrorApiNotStarted;
    Sighting sighting;
    if (!m_directory->Find(deviceId, sighting))
        return HvErrorNotFound;
    type = sighting.info.type;
    return HvErrorSuccess;
}

HvErrorType AravisModule::OpenDevice(const std::string& deviceId, HvAccessModeType accessMode,
                                     std::unique_ptr<Hvx::Tl::IDevice>& device)
{
    if (m_host == nullptr)
        return HvErrorApiNotStarted;
    Sighting sighting;
    if (!m_directory->Find(deviceId, sighting))
        return HvErrorNotFound;
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_open.insert(deviceId);
    }
    auto closed = [this, deviceId] {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_open.erase(deviceId);
    };
    const HvErrorType result =
        AravisDevice::Open(sighting.location, accessMode, m_aravisMutex, closed, device);
    if (result != HvErrorSuccess)
        closed();
    return result;
}

HvErrorType AravisModule::AddDeviceByAddress(const std::string& address,
                                             Hvx::Tl::DeviceInfo& device)
{
    if (m_host == nullptr)
        return HvErrorApiNotStarted;
    uint32_t ip = 0;
    if (!ParseIpv4(address, ip))
        return HvErrorBadParameter;
    Sighting sighting;
    if (!ProbeGigE(ip, nullptr, sighting)) {
        Log("no GigE Vision camera answered at " + address);
        return HvErrorNotFound;
    }
    {
        std::lock_guard<std::mutex> lock(m_stateMutex);
        m_unicast.insert(ip);
    }
    m_directory->Add(sighting);
    device = sighting.info;
    return HvErrorSuccess;
}

} // namespace hvaravis

HVX_TL_DEFINE_MODULE(hvaravis::AravisModule)
