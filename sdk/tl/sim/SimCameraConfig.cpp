#include "SimCameraConfig.h"

#include <nlohmann/json.hpp>

#include <fstream>
#include <set>
#include <sstream>

namespace hvsim {

using nlohmann::json;

namespace {

FileEntryConfig shadingEntry(const std::string& selector, int64_t chunkId, bool writable = true)
{
    FileEntryConfig e;
    e.selector = selector;
    e.kind = FileKind::ShadingMap;
    e.chunkId = chunkId;
    e.writable = writable;
    return e;
}

FileEntryConfig fileEntry(const json& j)
{
    FileEntryConfig e;
    e.selector = j.at("selector").get<std::string>();
    std::string kind = j.value("kind", std::string("plain"));
    if (kind == "shadingMap")
        e.kind = FileKind::ShadingMap;
    else if (kind == "userMap")
        e.kind = FileKind::UserMap;
    else if (kind == "plain")
        e.kind = FileKind::Plain;
    else
        throw std::runtime_error("unknown file kind \"" + kind + "\" of " + e.selector);
    e.chunkId = j.value("chunkId", int64_t(0));
    e.readable = j.value("read", true);
    e.writable = j.value("write", true);
    e.content = j.value("content", std::string());
    if (e.selector.empty())
        throw std::runtime_error("file entry without selector");
    return e;
}

WireFault wireFault(const json& j)
{
    WireFault w;
    w.kind = j.at("fault").get<std::string>();
    if (w.kind != "dropAck" && w.kind != "busy" && w.kind != "silent")
        throw std::runtime_error("wire fault \"" + w.kind + "\" must be dropAck, busy or silent");
    w.command = j.value("command", std::string("any"));
    static const std::set<std::string> commands{"READREG", "WRITEREG", "READMEM", "WRITEMEM",
                                                "any"};
    if (!commands.count(w.command))
        throw std::runtime_error("wire fault command \"" + w.command + "\" unknown");
    w.feature = j.value("feature", std::string());
    w.occurrence = j.value("nth", 1);
    w.count = j.value("count", 1);
    if (w.occurrence < 1 || w.count < 0)
        throw std::runtime_error("wire fault nth must be 1 or more, count 0 or more");
    return w;
}

FaultConfig faults(const json& j)
{
    FaultConfig f;
    if (j.contains("commandLatencyMs"))
        for (auto& [name, ms] : j.at("commandLatencyMs").items())
            f.commandLatencyMs[name] = ms.get<int64_t>();
    if (j.contains("failOperations"))
        for (const auto& o : j.at("failOperations")) {
            FailOperation op;
            op.operation = o.at("operation").get<std::string>();
            op.occurrence = o.value("chunk", 0);
            op.code = o.value("code", -13);
            op.hang = o.value("hang", false);
            op.statusOnly = o.value("statusOnly", false);
            op.bytes = o.value("bytes", int64_t(-1));
            f.failOperations.push_back(op);
        }
    if (j.contains("failFeatures"))
        for (const auto& o : j.at("failFeatures")) {
            FailFeature ff;
            ff.feature = o.at("feature").get<std::string>();
            ff.op = o.value("op", std::string("set"));
            ff.code = o.value("code", -13);
            f.failFeatures.push_back(ff);
        }
    f.disconnectAfterChunks = j.value("disconnectAfterChunks", -1);
    f.failGetInterfaceType = j.value("failGetInterfaceType", false);
    if (j.contains("wire"))
        for (const auto& o : j.at("wire"))
            f.wire.push_back(wireFault(o));
    return f;
}

Access accessOf(const std::string& text, const std::string& name)
{
    if (text == "RW")
        return Access::ReadWrite;
    if (text == "RO")
        return Access::ReadOnly;
    if (text == "WO")
        return Access::WriteOnly;
    if (text == "NA")
        return Access::None;
    throw std::runtime_error("access of " + name + " must be RW, RO, WO or NA");
}

SimFeature extraFeature(const json& j, FaultConfig& faults)
{
    SimFeature f;
    f.name = j.at("name").get<std::string>();
    const std::string type = j.at("type").get<std::string>();
    f.access = accessOf(j.value("access", std::string("RW")), f.name);
    if (type == "Integer") {
        f.type = FeatureType::Integer;
        f.intMin = j.value("min", f.intMin);
        f.intMax = j.value("max", f.intMax);
        f.intInc = j.value("increment", int64_t(1));
        f.intValue = j.value("value", f.intMin > 0 ? f.intMin : int64_t(0));
    } else if (type == "Float") {
        f.type = FeatureType::Float;
        f.floatMin = j.value("min", f.floatMin);
        f.floatMax = j.value("max", f.floatMax);
        f.floatInc = j.value("increment", 0.0);
        f.floatValue = j.value("value", 0.0);
    } else if (type == "Enumeration") {
        f.type = FeatureType::Enumeration;
        for (const auto& e : j.at("entries")) {
            EnumEntry entry{e.at("name").get<std::string>(), e.at("value").get<int64_t>(), {}};
            if (!e.value("available", true))
                entry.available = [] { return false; };
            f.entries.push_back(entry);
        }
        if (f.entries.empty())
            throw std::runtime_error("enumeration " + f.name + " without entries");
        f.intValue = j.value("value", f.entries.front().value);
    } else if (type == "String") {
        f.type = FeatureType::String;
        f.stringValue = j.value("value", std::string());
    } else if (type == "Boolean") {
        f.type = FeatureType::Boolean;
        f.boolValue = j.value("value", false);
    } else if (type == "Command") {
        f.type = FeatureType::Command;
        f.access = accessOf(j.value("access", std::string("WO")), f.name);
        if (j.contains("latencyMs") && !faults.commandLatencyMs.count(f.name))
            faults.commandLatencyMs[f.name] = j.at("latencyMs").get<int64_t>();
    } else if (type == "Register") {
        f.type = FeatureType::Register;
        f.bytes.assign(j.value("length", size_t(4)), 0);
    } else if (type == "Unknown") {
        f.type = FeatureType::Unknown;
    } else {
        throw std::runtime_error("unknown type \"" + type + "\" of feature " + f.name);
    }
    return f;
}

CameraConfig camera(const json& j)
{
    CameraConfig c;
    c.id = j.at("id").get<std::string>();
    c.transport = j.value("transport", c.transport);
    if (c.transport != "GigE" && c.transport != "USB3")
        throw std::runtime_error("transport of " + c.id + " must be \"GigE\" or \"USB3\"");
    c.interfaceId = j.value("interface", std::string(c.isUsb3() ? "sim-usb3-0" : "sim-gige-0"));
    c.model = j.value("model", std::string("SimCam"));
    c.name = j.value("name", c.model);
    c.serial = j.value("serial", c.id);
    c.vendor = j.value("vendor", c.vendor);
    c.manufacturerInfo = j.value("manufacturerInfo", std::string());
    c.firmwareVersion = j.value("firmwareVersion", c.firmwareVersion);
    c.width = j.value("width", c.width);
    c.height = j.value("height", c.height);
    if (c.width == 0 || c.height == 0 || c.width > 16384 || c.height > 16384)
        throw std::runtime_error("sensor size of " + c.id + " out of range");
    c.pixelFormat = j.value("pixelFormat", c.pixelFormat);
    if (c.pixelFormat != "Mono8" && c.pixelFormat != "Mono12" && c.pixelFormat != "Mono16")
        throw std::runtime_error("pixel format of " + c.id + " not supported");
    c.heldByOtherApplication = j.value("heldByOtherApplication", false);
    c.hasFilename = j.value("hasFilename", true);
    c.fileAccessMaxLength = j.value("fileAccessMaxLength", c.fileAccessMaxLength);
    if (c.fileAccessMaxLength < 1 || c.fileAccessMaxLength > 65536)
        throw std::runtime_error("fileAccessMaxLength of " + c.id + " must be 1 to 65536");
    c.fileAccessLengthWritable = j.value("fileAccessLengthWritable", true);
    c.fileAccessPadding = j.value("fileAccessPadding", false);
    c.hasFileOperationStatus = j.value("fileOperationStatus", true);
    c.fileAccessWhileAcquiring = j.value("fileAccessWhileAcquiring", false);
    if (j.contains("files"))
        for (const auto& f : j.at("files"))
            c.files.push_back(fileEntry(f));
    c.nucUserMaps = j.value("nucUserMaps", 0);
    c.shadingControl = j.value("shadingControl", false);
    if (j.contains("streams")) {
        for (const auto& s : j.at("streams")) {
            StreamConfig sc;
            sc.protocol = s.value("protocol", std::string());
            sc.packetSize = s.value("packetSize", sc.packetSize);
            sc.adjustedPacketSize = s.value("adjustedPacketSize", sc.adjustedPacketSize);
            c.streams.push_back(sc);
        }
    } else {
        StreamConfig sc;
        sc.protocol = c.isUsb3() ? "" : "UDP";
        c.streams.push_back(sc);
    }
    c.userSets = j.value("userSets", 3);
    c.tlParamsLocked = j.value("tlParamsLocked", false);
    c.untypedFeatures = j.value("untypedFeatures", std::vector<std::string>());
    if (j.contains("faults"))
        c.faults = faults(j.at("faults"));
    if (j.contains("extraFeatures"))
        for (const auto& f : j.at("extraFeatures"))
            c.extraFeatures.push_back(extraFeature(f, c.faults));
    json withoutFaults = j;
    withoutFaults.erase("faults");
    c.signature = withoutFaults.dump();
    return c;
}

} // namespace

SimConfig SimConfig::defaults()
{
    SimConfig config;

    // (a) GigE Vision, compatible model, four shading map entries; the panel
    // rejects ShadingMap2 by its chunk id, and ShadingMap3 refuses writes.
    CameraConfig gige;
    gige.id = "SIM-GIGE-1001";
    gige.transport = "GigE";
    gige.interfaceId = "sim-gige-0";
    gige.model = "kva640MXGE";
    gige.name = "Orvex kva640 Lab A";
    gige.serial = "OX64G1001";
    gige.manufacturerInfo = "3.2.7 (2026-03-14)";
    gige.firmwareVersion = "3.2.7";
    gige.width = 640;
    gige.height = 512;
    gige.pixelFormat = "Mono8";
    gige.files = {shadingEntry("ShadingMap0", 8193), shadingEntry("ShadingMap1", 8196),
                  shadingEntry("ShadingMap2", 8194), shadingEntry("ShadingMap3", 2432, false)};
    gige.shadingControl = true;
    gige.streams = {StreamConfig{"UDP", 1500, 8164}};
    config.cameras.push_back(gige);

    // (b) USB3 Vision, compatible model, user maps behind "NucControl".
    CameraConfig usb;
    usb.id = "SIM-U3V-2001";
    usb.transport = "USB3";
    usb.interfaceId = "sim-usb3-0";
    usb.model = "zt1280MLV";
    usb.name = "Orvex zt1280 Line 2";
    usb.serial = "OX128U2001";
    usb.manufacturerInfo = "1.9.4 (2026-01-22)";
    usb.firmwareVersion = "1.9.4";
    usb.width = 1280;
    usb.height = 1024;
    usb.pixelFormat = "Mono12";
    FileEntryConfig userfile;
    userfile.selector = "Userfile";
    userfile.kind = FileKind::UserMap;
    usb.files = {userfile};
    usb.nucUserMaps = 4;
    usb.streams = {StreamConfig{"", 0, 0}};
    config.cameras.push_back(usb);

    // (c) A model the assistant does not serve.
    CameraConfig other;
    other.id = "SIM-GIGE-3001";
    other.transport = "GigE";
    other.interfaceId = "sim-gige-0";
    other.model = "gx1280C-PoE";
    other.name = "Yard camera";
    other.serial = "GX12803001";
    other.vendor = "Generic Vision";
    other.manufacturerInfo = "0.8.2";
    other.width = 1280;
    other.height = 1024;
    FileEntryConfig log;
    log.selector = "DeviceLog";
    log.writable = false;
    log.content = "boot ok\n";
    other.files = {log};
    other.streams = {StreamConfig{"UDP", 1500, 8164}};
    config.cameras.push_back(other);

    // (d) A compatible camera that another application holds.
    CameraConfig held = gige;
    held.id = "SIM-GIGE-4001";
    held.name = "Orvex kva640 Lab B";
    held.serial = "OX64G4001";
    held.heldByOtherApplication = true;
    config.cameras.push_back(held);

    return config;
}

bool SimConfig::parseCamera(const std::string& text, CameraConfig& out, std::string* error)
{
    try {
        out = camera(json::parse(text));
        return true;
    } catch (const std::exception& e) {
        if (error)
            *error = e.what();
        return false;
    }
}

bool SimConfig::parseFaults(const std::string& text, FaultConfig& out, std::string* error)
{
    try {
        out = faults(json::parse(text));
        return true;
    } catch (const std::exception& e) {
        if (error)
            *error = e.what();
        return false;
    }
}

bool SimConfig::parse(const std::string& text, SimConfig& config, std::string* error)
{
    try {
        json j = json::parse(text);
        SimConfig parsed;
        std::set<std::string> ids;
        for (const auto& c : j.at("cameras")) {
            parsed.cameras.push_back(camera(c));
            if (!ids.insert(parsed.cameras.back().id).second)
                throw std::runtime_error("camera id " + parsed.cameras.back().id + " twice");
        }
        config = std::move(parsed);
        return true;
    } catch (const std::exception& e) {
        if (error)
            *error = e.what();
        return false;
    }
}

bool SimConfig::load(const std::string& path, SimConfig& config, std::string* error)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (error)
            *error = "cannot read " + path;
        return false;
    }
    std::ostringstream text;
    text << in.rdbuf();
    return parse(text.str(), config, error);
}

} // namespace hvsim
