#pragma once

#include "SimFeature.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace hvsim {

enum class FileKind
{
    ShadingMap, // accepts only a shading map file of the sensor's size
    UserMap,    // accepts only a user map file of the sensor's size
    Plain,      // accepts anything
};

struct FileEntryConfig
{
    std::string selector;
    FileKind kind = FileKind::Plain;
    int64_t chunkId = 0; // "FileChunkId" of the entry
    bool readable = true;
    bool writable = true;
    std::string content; // initial content of a plain file
};

struct StreamConfig
{
    std::string protocol; // "UDP", "TCP", or empty for no "GVSPProtocol" feature
    int64_t packetSize = 1500;
    int64_t adjustedPacketSize = 8164; // what "GVSPAdjustPacketSize" settles on
};

struct FailOperation
{
    std::string operation; // "Open", "Close", "Read", "Write", "Delete"
    int occurrence = 0;    // 1-based chunk (Read/Write since the file was opened) or call; 0: every
    int code = -13;
    bool hang = false; // taken on but never completed and never carried out, instead of failing
    // The execute succeeds and the failure shows only in "FileOperationStatus".
    bool statusOnly = false;
    // >= 0: a Read or Write that moves only this many bytes and reports
    // success with that count, instead of failing.
    int64_t bytes = -1;
};

struct FailFeature
{
    std::string feature;
    std::string op = "set"; // "get", "set", "execute", "isdone", "any"
    int code = -13;
};

// A fault of the camera served as a GigE Vision device (orvex-sim-gev), on
// the wire: it applies to the `occurrence`-th command (1-based, counted since
// the device started) that matches `command` and `feature`, and to the
// `count` - 1 matching ones after it (0: every one from then on).
struct WireFault
{
    std::string kind;    // "dropAck", "busy" or "silent"
    std::string command; // "READREG", "WRITEREG", "READMEM", "WRITEMEM" or "any"
    std::string feature; // the feature whose register the command addresses; empty: any
    int occurrence = 1;
    int count = 1;
};

struct FaultConfig
{
    std::map<std::string, int64_t> commandLatencyMs; // command name -> ms; < 0 never completes
    std::vector<FailOperation> failOperations;
    std::vector<FailFeature> failFeatures;
    int disconnectAfterChunks = -1; // Read/Write chunks before the camera goes away
    bool failGetInterfaceType = false;
    std::vector<WireFault> wire;
};

struct CameraConfig
{
    std::string id;
    std::string transport = "GigE"; // "GigE" or "USB3"
    std::string interfaceId;
    std::string model;
    std::string name;
    std::string serial;
    std::string vendor = "Orvex";
    std::string manufacturerInfo;
    std::string firmwareVersion = "1.0.0";
    uint32_t width = 640;
    uint32_t height = 512;
    std::string pixelFormat = "Mono8"; // "Mono8", "Mono12", "Mono16"
    bool heldByOtherApplication = false;
    bool hasFilename = true;
    // "FileAccessLength" runs from 1 to this; "FileAccessBuffer" holds as many bytes.
    int64_t fileAccessMaxLength = 65536;
    // Read-only: the length stays at its maximum.
    bool fileAccessLengthWritable = true;
    // With a read-only length: every Write takes the whole length, zeros
    // after what the host put into the buffer (a map entry keeps the size
    // its header gives). Without: as many bytes as the host put in.
    bool fileAccessPadding = false;
    bool hasFileOperationStatus = true;
    // Else every File Access operation is refused while the camera acquires.
    bool fileAccessWhileAcquiring = false;
    std::vector<FileEntryConfig> files;
    int nucUserMaps = 0;         // "NucControl" user map entries and "nucControl"
    bool shadingControl = false; // "Shading_Control", "Shading_MapSelect" and their registers
    std::vector<StreamConfig> streams;
    int userSets = 3;
    bool tlParamsLocked = false;
    // Features whose data type the camera leaves unknown (for tests of
    // programs that must refuse them).
    std::vector<std::string> untypedFeatures;
    // Further features of any type, described in the configuration.
    std::vector<SimFeature> extraFeatures;
    FaultConfig faults;
    // The camera's configuration text without its faults: a camera whose
    // signature changes in the file is unplugged and plugged in anew.
    std::string signature;

    bool isUsb3() const { return transport == "USB3"; }
};

struct SimConfig
{
    std::vector<CameraConfig> cameras;

    // The cameras a fresh installation shows: one of each kind the assistant
    // must handle.
    static SimConfig defaults();
    // Reads the JSON form; false with `error` set on any mistake.
    static bool parse(const std::string& text, SimConfig& config, std::string* error);
    static bool load(const std::string& path, SimConfig& config, std::string* error);
    // One camera from its JSON text (used by the test control interface).
    static bool parseCamera(const std::string& text, CameraConfig& camera, std::string* error);
    // A "faults" object alone.
    static bool parseFaults(const std::string& text, FaultConfig& faults, std::string* error);
};

} // namespace hvsim
