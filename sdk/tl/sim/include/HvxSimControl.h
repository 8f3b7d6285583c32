#ifndef HVXSIMCONTROL_H
#define HVXSIMCONTROL_H

// Test and demonstration controls of the simulated transport layer.
//
// The controls act on the simulator that the SDK has loaded and started:
// HvxSim::Control() opens the same module file (the dynamic loader hands
// back the instance already in the process) and asks it for its control
// object. Every call returns an SDK result code (0 = success, -2 when the
// SDK has not started the simulator, -3 for an unknown camera ID).
//
// Camera IDs are the plain IDs ("SIM-GIGE-1001"), not the extended ones.
// JSON texts use the configuration file's format (see the README beside
// this header): a camera object for AddCamera, a "faults" object for
// SetFaults.

#include <cstdint>
#include <string>
#include <vector>

namespace HvxSim {

struct TraceEntry
{
    std::string scope;   // "camera", "stream0", ...
    std::string feature; // feature name
    std::string op;      // "get", "set", "execute", "isdone"
    std::string value;   // value as text; byte count for registers
    int status = 0;      // result the operation returned
};

class IControl
{
public:
    virtual ~IControl() = default;

    virtual bool IsRunning() = 0;
    virtual std::vector<std::string> CameraIds() = 0;

    // Hot plug: observers see reason 0 (arrived) or 1 (left).
    virtual int AddCamera(const std::string& cameraJson) = 0;
    virtual int RemoveCamera(const std::string& cameraId) = 0;
    // Re-reads the HVX_SIM_CONFIG file now instead of at the next poll.
    virtual int ReloadConfig() = 0;

    // Faults replace the camera's whole fault set; ClearFaults empties it.
    virtual int SetFaults(const std::string& cameraId, const std::string& faultsJson) = 0;
    virtual int ClearFaults(const std::string& cameraId) = 0;
    // Completion latency of one command ("FileOperationExecute",
    // "GVSPAdjustPacketSize", "UserSetSave", ...); < 0: never completes.
    virtual int SetCommandLatency(const std::string& cameraId, const std::string& command,
                                  int64_t milliseconds) = 0;
    // The camera drops off the bus now (observers see reason 1).
    virtual int Disconnect(const std::string& cameraId) = 0;

    // Feature operations on the camera and its streams since it was
    // created or the trace was last cleared, oldest first.
    virtual int GetTrace(const std::string& cameraId, std::vector<TraceEntry>& entries) = 0;
    virtual int ClearTrace(const std::string& cameraId) = 0;

    // The committed content of a device file, as a download would read it
    // (the factory map when nothing was stored). `fileName` picks a user
    // map ("nuc_usermap1.ge3"); empty for other entries.
    virtual int ReadStoredFile(const std::string& cameraId, const std::string& selector,
                               const std::string& fileName, std::vector<uint8_t>& bytes) = 0;
};

// The control object of the loaded simulator, or null when the module file
// cannot be loaded. `modulePath` empty: $HVX_SIM_MODULE, else the module
// built in this tree.
IControl* Control(const std::string& modulePath = std::string());

} // namespace HvxSim

extern "C" {
typedef HvxSim::IControl* (*HvxSimControlFunction)(void);
}
#define HVX_SIM_CONTROL_SYMBOL "HvxSimControlInstance"

#endif
