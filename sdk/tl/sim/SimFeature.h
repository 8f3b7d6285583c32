#pragma once

#include "SimStatus.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace hvsim {

// Numbering of the first five follows the SDK's feature data types.
enum class FeatureType
{
    Unknown = 0, // a feature whose type the camera does not describe
    Integer = 1,
    Float = 2,
    Enumeration = 3,
    String = 4,
    Boolean = 5,
    Command = 6,
    Register = 7,
};

enum class Access
{
    None,
    ReadOnly,
    WriteOnly,
    ReadWrite,
};

inline bool isReadable(Access a)
{
    return a == Access::ReadOnly || a == Access::ReadWrite;
}
inline bool isWritable(Access a)
{
    return a == Access::WriteOnly || a == Access::ReadWrite;
}

struct EnumEntry
{
    std::string name;
    int64_t value = 0;
    // Empty means always available; otherwise asked each time the entry is
    // listed or chosen, so availability can follow other features.
    std::function<bool()> available;

    bool isAvailable() const { return !available || available(); }
};

// A value on its way into a feature; only the member of the feature's type
// is meaningful.
struct FeatureValue
{
    int64_t i = 0;
    double f = 0.0;
    bool b = false;
    std::string s;
    std::vector<uint8_t> bytes;
};

// One GenICam-like feature. Plain data plus hooks: the set enforces type,
// access, range, increment and entry availability; hooks add behaviour that
// depends on the rest of the camera.
struct SimFeature
{
    std::string name;
    FeatureType type = FeatureType::Integer;
    Access access = Access::ReadWrite;
    // Overrides `access` when set (e.g. a length that is writable only while
    // a file is open).
    std::function<Access()> dynamicAccess;

    int64_t intValue = 0;
    int64_t intMin = INT64_MIN;
    int64_t intMax = INT64_MAX;
    int64_t intInc = 1;
    double floatValue = 0.0;
    double floatMin = -1e300;
    double floatMax = 1e300;
    double floatInc = 0.0; // 0: no increment
    bool boolValue = false;
    std::string stringValue;
    size_t stringMaxLength = 255;
    std::vector<uint8_t> bytes; // register content; its size is the register length
    std::vector<EnumEntry> entries;

    // Refreshes the stored value before every read.
    std::function<void(SimFeature&)> onRead;
    // Called with an already validated value before it is stored; a result
    // other than Ok refuses the write and leaves the value unchanged.
    std::function<Status(SimFeature&, const FeatureValue&)> onWrite;
    // Runs a command; its effect is immediate, its done state follows the
    // latency below. Pending: taken on, never done.
    std::function<Status(SimFeature&)> onExecute;

    // Command state.
    int64_t latencyMs = 0; // < 0: never completes
    std::chrono::steady_clock::time_point doneAt{};
    bool neverDone = false;

    Access currentAccess() const { return dynamicAccess ? dynamicAccess() : access; }
    const EnumEntry* entryByName(const std::string& n) const;
    const EnumEntry* entryByValue(int64_t v) const;
};

} // namespace hvsim
