#include "FeatureRegisters.h"

#include "GevProtocol.h"

#include <algorithm>
#include <cstring>

namespace hvsim::gev {

namespace {

uint32_t roundUp(uint64_t n, uint32_t to)
{
    return uint32_t((n + to - 1) / to * to);
}

void putDouble(uint8_t* p, double v)
{
    uint64_t bits;
    std::memcpy(&bits, &v, sizeof bits);
    putU64(p, bits);
}

double getDouble(const uint8_t* p)
{
    uint64_t bits = getU64(p);
    double v;
    std::memcpy(&v, &bits, sizeof v);
    return v;
}

} // namespace

FeatureRegisters::FeatureRegisters(SimFeatureSet& features) : m_features(features)
{
    std::lock_guard<std::recursive_mutex> lock(m_features.mutex());
    for (const auto& name : m_features.names()) {
        const SimFeature* f = m_features.find(name);
        FeatureLayout l;
        l.name = name;
        l.type = f->type;
        l.access = f->access;
        l.dynamicAccess = bool(f->dynamicAccess);
        switch (f->type) {
        case FeatureType::Integer:
        case FeatureType::Float:
        case FeatureType::Enumeration:
            l.length = 8;
            break;
        case FeatureType::Boolean:
        case FeatureType::Command:
            l.length = 4;
            break;
        case FeatureType::String:
            l.length = roundUp(f->stringMaxLength + 1, 4);
            break;
        case FeatureType::Register:
            l.length = uint32_t(f->bytes.size());
            break;
        case FeatureType::Unknown:
            break;
        }
        // A feature without a type, or a register without bytes, has no
        // register a description could point at.
        if (l.length == 0)
            continue;
        l.value = place(name, f->type, Part::Value, l.length);
        if (f->type == FeatureType::Integer || f->type == FeatureType::Float) {
            l.min = place(name, f->type, Part::Min, 8);
            l.max = place(name, f->type, Part::Max, 8);
            if (f->type == FeatureType::Integer)
                l.inc = place(name, f->type, Part::Inc, 8);
        }
        // A feature that is not available, or not always, publishes its
        // availability and lock state.
        if (l.dynamicAccess || l.access == Access::None) {
            l.available = place(name, f->type, Part::Available, 4);
            l.locked = place(name, f->type, Part::Locked, 4);
        }
        for (size_t i = 0; i < f->entries.size(); ++i) {
            const EnumEntry& e = f->entries[i];
            uint32_t available =
                e.available ? place(name, f->type, Part::EntryAvailable, 4, int(i)) : 0;
            l.entries.push_back(FeatureLayout::Entry{e.name, e.value, available});
        }
        m_layout.push_back(std::move(l));
    }
}

uint32_t FeatureRegisters::place(const std::string& feature, FeatureType type, Part part,
                                 uint32_t length, int entry)
{
    const uint32_t address = m_next;
    m_cells.emplace(address, Cell{feature, type, part, address, length, entry});
    m_next = roundUp(uint64_t(address) + length, 8);
    return address;
}

const FeatureRegisters::Cell* FeatureRegisters::cellAt(uint32_t address) const
{
    auto it = m_cells.upper_bound(address);
    if (it == m_cells.begin())
        return nullptr;
    --it;
    const Cell& c = it->second;
    return address < c.address + c.length ? &c : nullptr;
}

std::string FeatureRegisters::featureAt(uint32_t address) const
{
    const Cell* c = cellAt(address);
    return c ? c->feature : std::string();
}

Status FeatureRegisters::readCell(const Cell& c, std::vector<uint8_t>& bytes)
{
    bytes.assign(c.length, 0);
    uint8_t* p = bytes.data();
    Status s = Ok;
    FeatureType type;
    Access access;
    switch (c.part) {
    case Part::Value:
        switch (c.type) {
        case FeatureType::Integer: {
            int64_t v = 0;
            s = m_features.getInt(c.feature, v);
            putU64(p, uint64_t(v));
            break;
        }
        case FeatureType::Enumeration: {
            int64_t v = 0;
            s = m_features.getEnumInt(c.feature, v);
            putU64(p, uint64_t(v));
            break;
        }
        case FeatureType::Float: {
            double v = 0;
            s = m_features.getFloat(c.feature, v);
            putDouble(p, v);
            break;
        }
        case FeatureType::Boolean: {
            bool v = false;
            s = m_features.getBool(c.feature, v);
            putU32(p, v ? 1 : 0);
            break;
        }
        case FeatureType::Command: {
            bool done = true;
            s = m_features.isCommandDone(c.feature, done);
            putU32(p, done ? 0 : 1);
            break;
        }
        case FeatureType::String: {
            std::string v;
            s = m_features.getString(c.feature, v);
            std::memcpy(p, v.data(), std::min<size_t>(v.size(), c.length - 1));
            break;
        }
        case FeatureType::Register: {
            std::vector<uint8_t> v;
            s = m_features.getRegister(c.feature, v);
            std::memcpy(p, v.data(), std::min<size_t>(v.size(), c.length));
            break;
        }
        case FeatureType::Unknown:
            s = WrongType;
            break;
        }
        break;
    case Part::Min:
    case Part::Max:
    case Part::Inc:
        if (c.type == FeatureType::Integer) {
            int64_t range[3] = {0, 0, 1};
            s = m_features.intRange(c.feature, range[0], range[1], range[2]);
            putU64(p, uint64_t(range[int(c.part) - int(Part::Min)]));
        } else {
            double range[3] = {0, 0, 0};
            s = m_features.floatRange(c.feature, range[0], range[1], range[2]);
            putDouble(p, range[int(c.part) - int(Part::Min)]);
        }
        break;
    case Part::Available:
    case Part::Locked:
        s = m_features.info(c.feature, type, access);
        putU32(p, c.part == Part::Available ? access != Access::None
                                            : access == Access::ReadOnly);
        break;
    case Part::EntryAvailable: {
        std::vector<EnumEntryInfo> entries;
        s = m_features.enumEntries(c.feature, entries);
        putU32(p, size_t(c.entry) < entries.size() && entries[size_t(c.entry)].available);
        break;
    }
    }
    return s;
}

Status FeatureRegisters::read(uint32_t address, uint8_t* out, uint32_t length)
{
    if (!inArea(address) || uint64_t(address) + length > kEnd)
        return NotFound;
    std::memset(out, 0, length);
    // Each register the range touches is read once, whole, so a feature's
    // getter runs as it would for a host reading that register alone.
    auto it = m_cells.upper_bound(address);
    if (it != m_cells.begin())
        --it;
    std::vector<uint8_t> bytes;
    for (; it != m_cells.end() && it->first < address + length; ++it) {
        const Cell& c = it->second;
        if (c.address + c.length <= address)
            continue;
        Status s = readCell(c, bytes);
        if (s != Ok)
            return s;
        const uint32_t from = std::max(address, c.address);
        const uint32_t to = std::min(address + length, c.address + c.length);
        std::memcpy(out + (from - address), bytes.data() + (from - c.address), to - from);
    }
    return Ok;
}

Status FeatureRegisters::write(uint32_t address, const uint8_t* data, uint32_t length,
                               std::string* executed)
{
    const Cell* c = cellAt(address);
    if (!c || uint64_t(address) + length > uint64_t(c->address) + c->length)
        return NotFound;
    if (c->part != Part::Value)
        return InvalidAccess;
    return writeValue(*c, address - c->address, data, length, executed);
}

Status FeatureRegisters::writeValue(const Cell& c, uint32_t offset, const uint8_t* data,
                                    uint32_t length, std::string* executed)
{
    // A register takes writes into any part of it; every other value is
    // written whole, a string from its start up to its terminating zero.
    if (c.type == FeatureType::Register)
        return m_features.setRegisterRange(c.feature, offset, data, length);
    if (offset != 0)
        return BadParameter;
    if (c.type == FeatureType::String)
        return m_features.setString(
            c.feature, std::string(reinterpret_cast<const char*>(data),
                                   std::find(data, data + length, 0) - data));
    if (length != c.length)
        return BadParameter;
    switch (c.type) {
    case FeatureType::Integer:
        return m_features.setInt(c.feature, int64_t(getU64(data)));
    case FeatureType::Enumeration:
        return m_features.setEnumInt(c.feature, int64_t(getU64(data)));
    case FeatureType::Float:
        return m_features.setFloat(c.feature, getDouble(data));
    case FeatureType::Boolean:
        return m_features.setBool(c.feature, getU32(data) != 0);
    case FeatureType::Command: {
        // Writing the command value runs it; writing 0 is no request.
        if (getU32(data) == 0)
            return Ok;
        Status s = m_features.runCommand(c.feature);
        if (s == Ok && executed)
            *executed = c.feature;
        return s;
    }
    default:
        return WrongType;
    }
}

} // namespace hvsim::gev
