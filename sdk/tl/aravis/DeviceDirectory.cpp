#include "DeviceDirectory.h"

#include <algorithm>

namespace hvaravis {

namespace {

bool SameInfo(const Hvx::Tl::DeviceInfo& a, const Hvx::Tl::DeviceInfo& b)
{
    return a.interfaceId == b.interfaceId && a.model == b.model && a.name == b.name &&
           a.serialNumber == b.serialNumber && a.vendor == b.vendor &&
           a.firmwareVersion == b.firmwareVersion && a.permittedAccess == b.permittedAccess &&
           a.type == b.type;
}

} // namespace

void DeviceDirectory::Upsert(const Sighting& sighting, Changes& changes)
{
    const auto found = std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) {
        return e.sighting.info.id == sighting.info.id;
    });
    if (found == m_entries.end()) {
        m_entries.push_back(Entry{sighting, 0});
        changes.arrived.push_back(sighting.info);
        return;
    }
    found->misses = 0;
    if (!SameInfo(found->sighting.info, sighting.info))
        changes.changed.push_back(sighting.info);
    found->sighting = sighting;
}

DeviceDirectory::Changes DeviceDirectory::Merge(const std::vector<Sighting>& round)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Changes changes;
    for (auto& entry : m_entries)
        ++entry.misses;
    for (const Sighting& sighting : round)
        Upsert(sighting, changes);
    for (auto it = m_entries.begin(); it != m_entries.end();) {
        if (it->misses >= m_missesToLeave) {
            changes.left.push_back(it->sighting.info.id);
            it = m_entries.erase(it);
        } else {
            ++it;
        }
    }
    return changes;
}

DeviceDirectory::Changes DeviceDirectory::Add(const Sighting& sighting)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    Changes changes;
    Upsert(sighting, changes);
    return changes;
}

std::vector<Hvx::Tl::DeviceInfo> DeviceDirectory::Devices() const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<Hvx::Tl::DeviceInfo> devices;
    for (const auto& entry : m_entries)
        devices.push_back(entry.sighting.info);
    return devices;
}

bool DeviceDirectory::Find(const std::string& id, Sighting& sighting) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& entry : m_entries)
        if (entry.sighting.info.id == id) {
            sighting = entry.sighting;
            return true;
        }
    return false;
}

std::string DeviceId(const std::string& vendor, const std::string& model, const std::string& serial)
{
    std::string id = vendor + "-" + model + "-" + serial;
    // Aravis replaces the same characters in its device names.
    for (char& c : id)
        if (c == ':' || c == '/' || c == '\\' || c == ' ' || c == '*' || c == '?')
            c = '_';
    return id;
}

} // namespace hvaravis
