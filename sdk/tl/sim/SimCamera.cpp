#include "SimCamera.h"

#include "MapFileFormat.h"
#include "ShadingCorrection.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstring>
#include <cstdlib>
#include <random>

namespace hvsim {

namespace {

SimFeature stringFeature(const std::string& name, const std::string& value,
                         Access access = Access::ReadOnly)
{
    SimFeature f;
    f.name = name;
    f.type = FeatureType::String;
    f.access = access;
    f.stringValue = value;
    return f;
}

SimFeature intFeature(const std::string& name, int64_t value, int64_t min, int64_t max,
                      Access access = Access::ReadWrite, int64_t inc = 1)
{
    SimFeature f;
    f.name = name;
    f.type = FeatureType::Integer;
    f.access = access;
    f.intValue = value;
    f.intMin = min;
    f.intMax = max;
    f.intInc = inc;
    return f;
}

SimFeature floatFeature(const std::string& name, double value, double min, double max)
{
    SimFeature f;
    f.name = name;
    f.type = FeatureType::Float;
    f.floatValue = value;
    f.floatMin = min;
    f.floatMax = max;
    return f;
}

SimFeature enumFeature(const std::string& name, std::vector<EnumEntry> entries, int64_t value = 0)
{
    SimFeature f;
    f.name = name;
    f.type = FeatureType::Enumeration;
    f.entries = std::move(entries);
    f.intValue = value;
    return f;
}

SimFeature commandFeature(const std::string& name, std::function<Status(SimFeature&)> run)
{
    SimFeature f;
    f.name = name;
    f.type = FeatureType::Command;
    f.access = Access::WriteOnly;
    f.onExecute = std::move(run);
    return f;
}

uint64_t fnv1a(const std::string& s)
{
    uint64_t h = 1469598103934665603ull;
    for (unsigned char c : s) {
        h ^= c;
        h *= 1099511628211ull;
    }
    return h;
}

// Where the settings a powered camera keeps live in the camera's folder.
const char* const kSettingsKey = "FeatureValues.json";

// A value the host set that the camera keeps: not the File Access state of a
// transfer, and not the parameter lock of a stream, which ends with the host
// that started it.
bool isSetting(const SimFeature& f)
{
    const bool valueType = f.type == FeatureType::Integer || f.type == FeatureType::Float ||
                           f.type == FeatureType::Enumeration || f.type == FeatureType::String ||
                           f.type == FeatureType::Boolean;
    return valueType && f.access == Access::ReadWrite && !f.dynamicAccess &&
           f.name.compare(0, 4, "File") != 0 && f.name != "TLParamsLocked";
}

// Settings a User Set keeps.
const char* const kUserSetFeatures[] = {"ExposureTime", "Gain", "Shading_Control",
                                        "Shading_MapSelect"};

// What "TLParamsLocked" holds still while it is set: everything that shapes
// the images or their packets.
const char* const kTLParameters[] = {
    "Width",         "Height",  "PixelFormat",       "AcquisitionMode",
    "OffsetX",       "OffsetY", "BinningHorizontal", "BinningVertical",
    "GVSPPacketSize"};

// Different in every run, so no two runs of a program see the same noise,
// unless HVX_SIM_NOISE_SEED fixes it (tests that compare frames byte for byte).
uint64_t noiseSeed()
{
    if (const char* fixed = std::getenv("HVX_SIM_NOISE_SEED"))
        return std::strtoull(fixed, nullptr, 0);
    return uint64_t(std::random_device{}()) << 32 | std::random_device{}();
}

} // namespace

SimCamera::SimCamera(CameraConfig config, const std::string& stateRoot,
                     std::function<void(const std::string&)> onDisconnect)
    : m_config(std::move(config)), m_onDisconnect(std::move(onDisconnect)),
      m_lock(std::make_shared<std::recursive_mutex>()), m_trace(std::make_shared<SimTrace>()),
      m_store(stateRoot + "/" + DeviceFileStore::safeName(m_config.serial)),
      m_noiseSeed(noiseSeed())
{
    m_features = std::make_unique<SimFeatureSet>(m_lock, m_trace, "camera");
    m_features->setInterceptor(
        [this](const std::string& f, const std::string& op) { return intercept(f, op); });
    buildDeviceFeatures();
    if (!m_config.files.empty()) {
        FileAccessEngine::Hooks hooks;
        hooks.fault = [this](const std::string& op, int n) { return operationFault(op, n); };
        hooks.acquiring = [this]() { return m_acquiring; };
        hooks.beforeChunk = [this]() { return beforeChunk(); };
        hooks.selectedUserMap = [this]() { return int(m_nucSelection) - 5; };
        m_fileAccess = std::make_unique<FileAccessEngine>(*m_features, m_store, m_config, hooks);
    }
    buildStreams();
    // Last, so that a configured feature replaces a built-in one.
    for (const auto& extra : m_config.extraFeatures)
        m_features->add(extra);
    lockTLParameters(*m_features);
    for (auto& stream : m_streams)
        lockTLParameters(*stream);
    applyLatencies();
    loadSettings();
    m_features->setWriteListener([this](const SimFeature& f) {
        if (isSetting(f))
            saveSettings();
    });
}

void SimCamera::lockTLParameters(SimFeatureSet& set)
{
    const SimFeature* locked = m_features->find("TLParamsLocked");
    for (const char* name : kTLParameters) {
        SimFeature* f = set.find(name);
        if (!f || !isWritable(f->access))
            continue;
        const Access unlocked = f->access;
        const Access whileLocked = isReadable(unlocked) ? Access::ReadOnly : Access::None;
        f->dynamicAccess = [locked, unlocked, whileLocked] {
            return locked->intValue != 0 ? whileLocked : unlocked;
        };
    }
}

SimCamera::~SimCamera() = default;

void SimCamera::buildDeviceFeatures()
{
    SimFeatureSet& fs = *m_features;
    fs.add(stringFeature("DeviceVendorName", m_config.vendor));
    fs.add(stringFeature("DeviceModelName", m_config.model));
    fs.add(stringFeature("DeviceSerialNumber", m_config.serial));
    fs.add(stringFeature("DeviceUserID", m_config.name, Access::ReadWrite));
    fs.add(stringFeature("DeviceManufacturerInfo", m_config.manufacturerInfo));
    fs.add(stringFeature("DeviceFirmwareVersion", m_config.firmwareVersion));

    fs.add(intFeature("SensorWidth", m_config.width, m_config.width, m_config.width,
                      Access::ReadOnly));
    fs.add(intFeature("SensorHeight", m_config.height, m_config.height, m_config.height,
                      Access::ReadOnly));
    fs.add(intFeature("Width", m_config.width, m_config.width, m_config.width, Access::ReadOnly));
    fs.add(
        intFeature("Height", m_config.height, m_config.height, m_config.height, Access::ReadOnly));
    // Entry values are the pixel format codes cameras use on the wire.
    const int64_t format = m_config.pixelFormat == "Mono16"   ? 0x01100007
                           : m_config.pixelFormat == "Mono12" ? 0x01100005
                                                              : 0x01080001;
    fs.add(enumFeature("PixelFormat", {EnumEntry{m_config.pixelFormat, format, {}}}, format));
    // About half of full scale with the default scene.
    fs.add(floatFeature("ExposureTime", 10000.0, 10.0, 1000000.0));
    fs.add(floatFeature("Gain", 0.0, 0.0, 24.0));
    SimFeature reverse;
    reverse.name = "ReverseX";
    reverse.type = FeatureType::Boolean;
    fs.add(reverse);
    for (const auto& name : m_config.untypedFeatures) {
        SimFeature untyped;
        untyped.name = name;
        untyped.type = FeatureType::Unknown;
        fs.add(untyped);
    }
    // Not a camera feature: the light on the simulated scene (0 = lens cap).
    fs.add(floatFeature("SimulatedIllumination", 1.0, 0.0, 4.0));

    fs.add(intFeature("TLParamsLocked", m_config.tlParamsLocked ? 1 : 0, 0, 1));
    fs.add(enumFeature("AcquisitionMode",
                       {EnumEntry{"Continuous", 0, {}}, EnumEntry{"SingleFrame", 1, {}}}));
    fs.add(commandFeature("AcquisitionStart", [this](SimFeature&) {
        // A device file being written or read holds the camera still.
        if (m_fileAccess && m_fileAccess->hasOpenFile())
            return InvalidAccess;
        m_acquiring = true;
        m_features->find("TLParamsLocked")->intValue = 1;
        return Ok;
    }));
    fs.add(commandFeature("AcquisitionStop", [this](SimFeature&) {
        stopAcquisition();
        return Ok;
    }));

    // User Sets: "Default" is the factory set and cannot be saved into.
    std::vector<EnumEntry> sets{EnumEntry{"Default", 0, {}}};
    for (int k = 1; k <= m_config.userSets; ++k)
        sets.push_back(EnumEntry{"UserSet" + std::to_string(k), k, {}});
    fs.add(enumFeature("UserSetSelector", sets));
    fs.add(commandFeature("UserSetSave", [this](SimFeature&) -> Status {
        int64_t k = m_features->find("UserSetSelector")->intValue;
        if (k == 0)
            return InvalidAccess;
        nlohmann::json j;
        for (const char* name : kUserSetFeatures) {
            SimFeature* f = m_features->find(name);
            if (f)
                j[name] = f->type == FeatureType::Float ? nlohmann::json(f->floatValue)
                                                        : nlohmann::json(f->intValue);
        }
        std::string text = j.dump();
        return m_store.commit("UserSet" + std::to_string(k) + ".json",
                              std::vector<uint8_t>(text.begin(), text.end()))
                   ? Ok
                   : TransportError;
    }));
    fs.add(commandFeature("UserSetLoad", [this](SimFeature&) -> Status {
        int64_t k = m_features->find("UserSetSelector")->intValue;
        if (k == 0)
            return Ok; // factory values are the built-in ones
        std::vector<uint8_t> bytes;
        if (!m_store.load("UserSet" + std::to_string(k) + ".json", bytes))
            return NotAvailable;
        nlohmann::json j = nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, false);
        if (j.is_discarded())
            return InvalidValue;
        for (const char* name : kUserSetFeatures) {
            SimFeature* f = m_features->find(name);
            if (f && j.contains(name)) {
                if (f->type == FeatureType::Float)
                    f->floatValue = j[name].get<double>();
                else
                    f->intValue = j[name].get<int64_t>();
            }
        }
        saveSettings();
        return Ok;
    }));

    if (m_config.shadingControl) {
        int64_t maps = 0;
        for (const auto& e : m_config.files)
            maps += e.kind == FileKind::ShadingMap;
        fs.add(intFeature("Shading_Control", 0, 0, 1));
        fs.add(intFeature("Shading_MapSelect", 0, 0, maps > 0 ? maps - 1 : 0));
    }

    if (m_config.nucUserMaps > 0) {
        // "NucControl" names the correction the camera applies; "nucControl"
        // is the same setting as a number (user map k is 5 + k).
        std::vector<EnumEntry> entries{EnumEntry{"Off", 0, {}}, EnumEntry{"FactoryMap", 1, {}}};
        for (int k = 0; k < m_config.nucUserMaps; ++k)
            entries.push_back(EnumEntry{"NucUserMap" + std::to_string(k), 5 + k, {}});
        SimFeature byName = enumFeature("NucControl", entries);
        byName.onRead = [this](SimFeature& f) { f.intValue = m_nucSelection; };
        byName.onWrite = [this](SimFeature&, const FeatureValue& v) {
            m_nucSelection = v.i;
            return Ok;
        };
        fs.add(byName);
        SimFeature byNumber = intFeature("nucControl", 0, 0, 4 + m_config.nucUserMaps);
        byNumber.onRead = [this](SimFeature& f) { f.intValue = m_nucSelection; };
        byNumber.onWrite = [this](SimFeature&, const FeatureValue& v) -> Status {
            if (!m_features->find("NucControl")->entryByValue(v.i))
                return InvalidValue;
            m_nucSelection = v.i;
            return Ok;
        };
        fs.add(byNumber);
    }
}

void SimCamera::buildStreams()
{
    for (size_t i = 0; i < m_config.streams.size(); ++i) {
        const StreamConfig& sc = m_config.streams[i];
        auto s = std::make_unique<SimFeatureSet>(m_lock, m_trace, "stream" + std::to_string(i));
        s->setInterceptor(
            [this](const std::string& f, const std::string& op) { return intercept(f, op); });
        s->add(stringFeature("StreamID", m_config.id + "-" + std::to_string(i)));
        if (!m_config.isUsb3()) {
            if (!sc.protocol.empty()) {
                SimFeature protocol =
                    enumFeature("GVSPProtocol", {EnumEntry{"UDP", 0, {}}, EnumEntry{"TCP", 1, {}}},
                                sc.protocol == "TCP" ? 1 : 0);
                protocol.access = Access::ReadOnly;
                s->add(protocol);
            }
            s->add(intFeature("GVSPPacketSize", sc.packetSize, 576, 16000));
            SimFeatureSet* raw = s.get();
            int64_t adjusted = sc.adjustedPacketSize;
            const SimFeature* locked = m_features->find("TLParamsLocked");
            s->add(commandFeature("GVSPAdjustPacketSize", [raw, adjusted, locked](SimFeature&) {
                if (locked->intValue != 0)
                    return InvalidAccess;
                raw->find("GVSPPacketSize")->intValue = adjusted;
                return Ok;
            }));
        }
        m_streams.push_back(std::move(s));
    }
}

void SimCamera::applyLatencies()
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    auto apply = [this](SimFeatureSet& set) {
        for (const auto& name : set.names()) {
            SimFeature* f = set.find(name);
            if (f->type != FeatureType::Command)
                continue;
            auto it = m_config.faults.commandLatencyMs.find(name);
            f->latencyMs = it == m_config.faults.commandLatencyMs.end() ? 0 : it->second;
        }
    };
    apply(*m_features);
    for (auto& s : m_streams)
        apply(*s);
}

Status SimCamera::intercept(const std::string& feature, const std::string& op) const
{
    if (!m_connected)
        return TransportError;
    if (!m_open)
        return NotOpen;
    for (const auto& f : m_config.faults.failFeatures)
        if (f.feature == feature && (f.op == op || f.op == "any"))
            return Status(f.code);
    return Ok;
}

std::optional<FailOperation> SimCamera::operationFault(const std::string& operation,
                                                       int occurrence) const
{
    for (const auto& f : m_config.faults.failOperations)
        if (f.operation == operation && (f.occurrence == 0 || f.occurrence == occurrence))
            return f;
    return std::nullopt;
}

Status SimCamera::beforeChunk()
{
    const int limit = m_config.faults.disconnectAfterChunks;
    if (limit >= 0 && m_chunks >= limit) {
        disconnect();
        return TransportError;
    }
    ++m_chunks;
    return Ok;
}

Status SimCamera::interfaceType(int& code) const
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (!m_connected)
        return TransportError;
    if (m_config.faults.failGetInterfaceType)
        return TransportError;
    code = m_config.isUsb3() ? 7 : 1;
    return Ok;
}

Status SimCamera::open(bool fullAccess)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (!m_connected)
        return TransportError;
    if (m_open)
        return InvalidCall;
    if (fullAccess && !fullAccessPermitted())
        return InvalidAccess;
    m_open = true;
    m_chunks = 0;
    loadMapArea();
    return Ok;
}

Status SimCamera::close()
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (!m_open)
        return NotOpen;
    m_open = false;
    // A file left open by the host is dropped, never half-committed.
    if (m_fileAccess)
        m_fileAccess->abandonAll();
    stopAcquisition();
    return Ok;
}

void SimCamera::stopAcquisition()
{
    if (!m_acquiring)
        return;
    m_acquiring = false;
    m_features->find("TLParamsLocked")->intValue = 0;
}

void SimCamera::disconnect(bool notify)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (!m_connected)
        return;
    m_connected = false;
    m_open = false;
    if (m_fileAccess)
        m_fileAccess->abandonAll();
    if (notify && m_onDisconnect)
        m_onDisconnect(m_config.id);
}

void SimCamera::loadMapArea()
{
    m_mapArea.assign(size_t(m_config.width) * m_config.height * 2, 0);
    if (!m_fileAccess || !m_config.shadingControl)
        return;
    int64_t select = m_features->find("Shading_MapSelect")->intValue;
    for (const auto& e : m_config.files) {
        if (e.kind != FileKind::ShadingMap || select-- != 0)
            continue;
        std::vector<uint8_t> file;
        if (m_fileAccess->storedContent(e.selector, "", file)) {
            std::vector<uint8_t> words = MapFileFormat::mapBytes(file);
            std::copy_n(words.begin(), std::min(words.size(), m_mapArea.size()), m_mapArea.begin());
        }
        break;
    }
}

uint32_t SimCamera::registerValue(uint64_t address)
{
    const char* name = address == kShadingControlRegister ? "Shading_Control" : "Shading_MapSelect";
    return uint32_t(m_features->find(name)->intValue);
}

Status SimCamera::setRegisterValue(uint64_t address, uint32_t value)
{
    SimFeature* f = m_features->find(address == kShadingControlRegister ? "Shading_Control"
                                                                        : "Shading_MapSelect");
    if (int64_t(value) < f->intMin || int64_t(value) > f->intMax)
        return InvalidValue;
    f->intValue = value;
    saveSettings();
    return Ok;
}

const std::vector<uint16_t>* SimCamera::activeMap()
{
    if (!m_fileAccess)
        return nullptr;
    std::string selector, fileName;
    if (m_config.shadingControl) {
        const SimFeature* on = m_features->find("Shading_Control");
        const SimFeature* select = m_features->find("Shading_MapSelect");
        if (!on || !select || on->intValue != 1)
            return nullptr;
        int64_t index = select->intValue;
        for (const auto& e : m_config.files)
            if (e.kind == FileKind::ShadingMap && index-- == 0)
                selector = e.selector;
    } else if (m_config.nucUserMaps > 0 && m_nucSelection >= 5) {
        // "Off" and the neutral "FactoryMap" correct nothing.
        for (const auto& e : m_config.files)
            if (e.kind == FileKind::UserMap && selector.empty())
                selector = e.selector;
        fileName = "nuc_usermap" + std::to_string(m_nucSelection - 5) + ".ge3";
    }
    if (selector.empty())
        return nullptr;
    ActiveMap& a = m_activeMap;
    if (!a.loaded || a.selector != selector || a.fileName != fileName ||
        a.revision != m_store.revision()) {
        std::vector<uint8_t> file;
        m_fileAccess->storedContent(selector, fileName, file);
        const std::vector<uint8_t> bytes = MapFileFormat::mapBytes(file);
        a.words.resize(bytes.size() / 2);
        a.neutral = true;
        for (size_t i = 0; i < a.words.size(); ++i) {
            a.words[i] = uint16_t(bytes[2 * i] | bytes[2 * i + 1] << 8);
            a.neutral = a.neutral && a.words[i] == 0;
        }
        a.selector = selector;
        a.fileName = fileName;
        a.revision = m_store.revision();
        a.loaded = true;
    }
    return a.neutral ? nullptr : &a.words;
}

void SimCamera::loadSettings()
{
    std::vector<uint8_t> bytes;
    if (!m_store.load(kSettingsKey, bytes))
        return;
    const nlohmann::json j = nlohmann::json::parse(bytes.begin(), bytes.end(), nullptr, false);
    if (!j.is_object())
        return;
    for (const auto& [name, value] : j.items()) {
        SimFeature* f = m_features->find(name);
        if (!f || !isSetting(*f))
            continue;
        // A value the configuration no longer allows is dropped.
        FeatureValue v;
        bool valid = false;
        if (f->type == FeatureType::Float && value.is_number()) {
            v.f = value.get<double>();
            valid = v.f >= f->floatMin && v.f <= f->floatMax;
        } else if (f->type == FeatureType::Boolean && value.is_boolean()) {
            v.b = value.get<bool>();
            valid = true;
        } else if (f->type == FeatureType::String && value.is_string()) {
            v.s = value.get<std::string>();
            valid = true;
        } else if ((f->type == FeatureType::Integer || f->type == FeatureType::Enumeration) &&
                   value.is_number_integer()) {
            v.i = value.get<int64_t>();
            valid = f->type == FeatureType::Enumeration ? f->entryByValue(v.i) != nullptr
                                                        : v.i >= f->intMin && v.i <= f->intMax;
        }
        if (!valid || (f->onWrite && f->onWrite(*f, v) != Ok))
            continue;
        switch (f->type) {
        case FeatureType::Float:
            f->floatValue = v.f;
            break;
        case FeatureType::Boolean:
            f->boolValue = v.b;
            break;
        case FeatureType::String:
            f->stringValue = v.s;
            break;
        default:
            f->intValue = v.i;
            break;
        }
    }
    m_savedSettings = j.dump();
}

void SimCamera::saveSettings()
{
    nlohmann::json j = nlohmann::json::object();
    for (const auto& name : m_features->names()) {
        SimFeature* f = m_features->find(name);
        if (!isSetting(*f))
            continue;
        if (f->onRead)
            f->onRead(*f);
        switch (f->type) {
        case FeatureType::Float:
            j[name] = f->floatValue;
            break;
        case FeatureType::Boolean:
            j[name] = f->boolValue;
            break;
        case FeatureType::String:
            j[name] = f->stringValue;
            break;
        default:
            j[name] = f->intValue;
            break;
        }
    }
    const std::string text = j.dump();
    if (text != m_savedSettings &&
        m_store.commit(kSettingsKey, std::vector<uint8_t>(text.begin(), text.end())))
        m_savedSettings = text;
}

Status SimCamera::readMemory(uint64_t address, uint8_t* buffer, uint32_t size, uint32_t* completed)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (completed)
        *completed = 0;
    if (!m_connected)
        return TransportError;
    if (!m_open)
        return NotOpen;
    if (!buffer || size == 0)
        return BadParameter;
    if (address >= kMapArea && address + size <= kMapArea + m_mapArea.size()) {
        std::memcpy(buffer, m_mapArea.data() + (address - kMapArea), size);
    } else if (m_config.shadingControl && size == 4 &&
               (address == kShadingControlRegister || address == kShadingMapSelectRegister)) {
        uint32_t v = registerValue(address);
        // GigE Vision registers are big-endian, USB3 Vision ones little-endian.
        for (int i = 0; i < 4; ++i)
            buffer[i] = uint8_t(m_config.isUsb3() ? v >> (8 * i) : v >> (8 * (3 - i)));
    } else {
        return InvalidAccess;
    }
    if (completed)
        *completed = size;
    return Ok;
}

Status SimCamera::writeMemory(uint64_t address, const uint8_t* data, uint32_t size,
                              uint32_t* completed)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (completed)
        *completed = 0;
    if (!m_connected)
        return TransportError;
    if (!m_open)
        return NotOpen;
    if (!data || size == 0)
        return BadParameter;
    if (address >= kMapArea && address + size <= kMapArea + m_mapArea.size()) {
        std::memcpy(m_mapArea.data() + (address - kMapArea), data, size);
    } else if (m_config.shadingControl && size == 4 &&
               (address == kShadingControlRegister || address == kShadingMapSelectRegister)) {
        uint32_t v = 0;
        for (int i = 0; i < 4; ++i)
            v |= uint32_t(data[i]) << (m_config.isUsb3() ? 8 * i : 8 * (3 - i));
        Status s = setRegisterValue(address, v);
        if (s != Ok)
            return s;
    } else {
        return InvalidAccess;
    }
    if (completed)
        *completed = size;
    return Ok;
}

Status SimCamera::acquireSingleImage(SimFrame& frame)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (!m_connected)
        return TransportError;
    if (!m_open)
        return NotOpen;
    Status f = intercept("AcquireSingleImage", "execute");
    if (f != Ok)
        return f;
    frame.width = m_config.width;
    frame.height = m_config.height;
    frame.pixelFormat = m_config.pixelFormat;
    frame.frameId = ++m_frameCounter;
    frame.timestampNs = uint64_t(std::chrono::duration_cast<std::chrono::nanoseconds>(
                                     std::chrono::steady_clock::now().time_since_epoch())
                                     .count());
    // Made on first use: its per-pixel tables cost time that a camera only
    // listed or used for file transfers should not pay.
    if (!m_sensor)
        m_sensor = std::make_unique<SensorModel>(m_config.width, m_config.height,
                                                 m_config.pixelFormat, fnv1a(m_config.serial));
    frame.pixels = m_sensor->capture(
        m_features->find("ExposureTime")->floatValue, m_features->find("Gain")->floatValue,
        m_features->find("SimulatedIllumination")->floatValue, m_noiseSeed + frame.frameId);
    if (const std::vector<uint16_t>* map = activeMap())
        applyShadingMap(frame.pixels, m_sensor->bytesPerPixel(), m_sensor->maxValue(), *map);
    return Ok;
}

void SimCamera::setCommandLatency(const std::string& command, int64_t ms)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    m_config.faults.commandLatencyMs[command] = ms;
    applyLatencies();
}

void SimCamera::setFaults(const FaultConfig& faults)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    m_config.faults = faults;
    applyLatencies();
}

FaultConfig SimCamera::faults() const
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    return m_config.faults;
}

bool SimCamera::storedFile(const std::string& selector, const std::string& fileName,
                           std::vector<uint8_t>& bytes) const
{
    return m_fileAccess && m_fileAccess->storedContent(selector, fileName, bytes);
}

} // namespace hvsim
