#pragma once

#include <Hvx/TransportLayerModule.h>

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace hvaravis {

// How a listed device is reached when it is opened.
struct DeviceLocation
{
    enum class Kind
    {
        GigE,   // by unicast to its address
        Aravis, // by Aravis's own device ID (USB3 Vision, Aravis's in-process fake camera)
        Denied  // a USB3 Vision device this user may not open
    };
    Kind kind = Kind::Aravis;
    uint32_t address = 0; // GigE: IPv4, host byte order
    std::string aravisId;
};

struct Sighting
{
    Hvx::Tl::DeviceInfo info;
    DeviceLocation location;
};

// The devices the module lists, kept across discovery rounds: a device joins
// when first seen and leaves only after it was missed several rounds in a
// row, so that one lost discovery packet on a busy network does not make a
// camera flicker out of the list. Thread-safe.
class DeviceDirectory
{
public:
    struct Changes
    {
        std::vector<Hvx::Tl::DeviceInfo> arrived;
        std::vector<Hvx::Tl::DeviceInfo> changed;
        std::vector<std::string> left;
        bool empty() const { return arrived.empty() && changed.empty() && left.empty(); }
    };

    explicit DeviceDirectory(int missesToLeave) : m_missesToLeave(missesToLeave) {}

    // What one complete discovery round saw.
    Changes Merge(const std::vector<Sighting>& round);
    // One device seen outside a round (found by its address).
    Changes Add(const Sighting& sighting);

    std::vector<Hvx::Tl::DeviceInfo> Devices() const;
    bool Find(const std::string& id, Sighting& sighting) const;

private:
    struct Entry
    {
        Sighting sighting;
        int misses = 0;
    };
    void Upsert(const Sighting& sighting, Changes& changes);

    const int m_missesToLeave;
    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries; // in order of arrival
};

// The ID a device is listed under: "<vendor>-<model>-<serial>" as Aravis names
// devices, with the MAC address standing in for a missing serial number, and
// characters that IDs must not hold ("::" separates module and device IDs)
// replaced.
std::string DeviceId(const std::string& vendor, const std::string& model,
                     const std::string& serial);

} // namespace hvaravis
