#include "SimFeatureSet.h"

#include <cmath>
#include <sstream>

namespace hvsim {

namespace {

std::string floatText(double v)
{
    std::ostringstream s;
    s.precision(17);
    s << v;
    return s.str();
}

} // namespace

SimFeatureSet::SimFeatureSet(std::shared_ptr<std::recursive_mutex> lock,
                             std::shared_ptr<SimTrace> trace, std::string scope)
    : m_lock(std::move(lock)), m_trace(std::move(trace)), m_scope(std::move(scope))
{
}

SimFeature& SimFeatureSet::add(SimFeature feature)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    std::string name = feature.name;
    auto it = m_features.find(name);
    if (it == m_features.end()) {
        m_order.push_back(name);
        it = m_features.emplace(name, std::move(feature)).first;
    } else {
        it->second = std::move(feature);
    }
    return it->second;
}

SimFeature* SimFeatureSet::find(const std::string& name)
{
    auto it = m_features.find(name);
    return it == m_features.end() ? nullptr : &it->second;
}

std::vector<std::string> SimFeatureSet::names() const
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    return m_order;
}

bool SimFeatureSet::has(const std::string& name) const
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    return m_features.count(name) != 0;
}

Status SimFeatureSet::info(const std::string& name, FeatureType& type, Access& access)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = find(name);
    if (!f)
        return NotFound;
    type = f->type;
    access = f->currentAccess();
    return Ok;
}

Status SimFeatureSet::record(const std::string& name, const std::string& op,
                             const std::string& value, Status status)
{
    if (m_trace)
        m_trace->add(TraceEntry{m_scope, name, op, value, status});
    return status;
}

Status SimFeatureSet::prepare(const std::string& name, const std::string& op, FeatureType type,
                              bool write, SimFeature*& f)
{
    if (m_interceptor) {
        Status s = m_interceptor(name, op);
        if (s != Ok)
            return s;
    }
    f = find(name);
    if (!f)
        return NotFound;
    if (f->type != type)
        return WrongType;
    Access a = f->currentAccess();
    if (write ? !isWritable(a) : !isReadable(a))
        return InvalidAccess;
    if (!write && f->onRead)
        f->onRead(*f);
    return Ok;
}

Status SimFeatureSet::writeValue(SimFeature& f, const FeatureValue& v)
{
    if (f.onWrite) {
        Status s = f.onWrite(f, v);
        if (s != Ok)
            return s;
    }
    switch (f.type) {
    case FeatureType::Integer:
    case FeatureType::Enumeration:
        f.intValue = v.i;
        break;
    case FeatureType::Float:
        f.floatValue = v.f;
        break;
    case FeatureType::Boolean:
        f.boolValue = v.b;
        break;
    case FeatureType::String:
        f.stringValue = v.s;
        break;
    case FeatureType::Register:
        f.bytes = v.bytes;
        break;
    case FeatureType::Command:
    case FeatureType::Unknown:
        break;
    }
    if (m_writeListener)
        m_writeListener(f);
    return Ok;
}

Status SimFeatureSet::getInt(const std::string& name, int64_t& value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::Integer, false, f);
    if (s == Ok)
        value = f->intValue;
    return record(name, "get", s == Ok ? std::to_string(value) : std::string(), s);
}

Status SimFeatureSet::setInt(const std::string& name, int64_t value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "set", FeatureType::Integer, true, f);
    if (s == Ok) {
        if (value < f->intMin || value > f->intMax)
            s = InvalidValue;
        else if (f->intInc > 1 && (value - f->intMin) % f->intInc != 0)
            s = InvalidValue;
        else {
            FeatureValue v;
            v.i = value;
            s = writeValue(*f, v);
        }
    }
    return record(name, "set", std::to_string(value), s);
}

Status SimFeatureSet::intRange(const std::string& name, int64_t& min, int64_t& max, int64_t& inc)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = find(name);
    if (!f)
        return NotFound;
    if (f->type != FeatureType::Integer)
        return WrongType;
    min = f->intMin;
    max = f->intMax;
    inc = f->intInc;
    return Ok;
}

Status SimFeatureSet::getFloat(const std::string& name, double& value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::Float, false, f);
    if (s == Ok)
        value = f->floatValue;
    return record(name, "get", s == Ok ? floatText(value) : std::string(), s);
}

Status SimFeatureSet::setFloat(const std::string& name, double value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "set", FeatureType::Float, true, f);
    if (s == Ok) {
        if (!std::isfinite(value) || value < f->floatMin || value > f->floatMax) {
            s = InvalidValue;
        } else if (f->floatInc > 0.0) {
            double steps = (value - f->floatMin) / f->floatInc;
            if (std::fabs(steps - std::round(steps)) > 1e-9)
                s = InvalidValue;
        }
        if (s == Ok) {
            FeatureValue v;
            v.f = value;
            s = writeValue(*f, v);
        }
    }
    return record(name, "set", floatText(value), s);
}

Status SimFeatureSet::floatRange(const std::string& name, double& min, double& max, double& inc)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = find(name);
    if (!f)
        return NotFound;
    if (f->type != FeatureType::Float)
        return WrongType;
    min = f->floatMin;
    max = f->floatMax;
    inc = f->floatInc;
    return Ok;
}

Status SimFeatureSet::getEnum(const std::string& name, std::string& entry)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::Enumeration, false, f);
    if (s == Ok) {
        const EnumEntry* e = f->entryByValue(f->intValue);
        if (e)
            entry = e->name;
        else
            s = InternalFault;
    }
    return record(name, "get", s == Ok ? entry : std::string(), s);
}

Status SimFeatureSet::getEnumInt(const std::string& name, int64_t& value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::Enumeration, false, f);
    if (s == Ok)
        value = f->intValue;
    return record(name, "get", s == Ok ? std::to_string(value) : std::string(), s);
}

Status SimFeatureSet::setEnum(const std::string& name, const std::string& entry)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "set", FeatureType::Enumeration, true, f);
    if (s == Ok) {
        const EnumEntry* e = f->entryByName(entry);
        if (!e)
            s = InvalidValue;
        else if (!e->isAvailable())
            s = NotAvailable;
        else {
            FeatureValue v;
            v.i = e->value;
            v.s = e->name;
            s = writeValue(*f, v);
        }
    }
    return record(name, "set", entry, s);
}

Status SimFeatureSet::setEnumInt(const std::string& name, int64_t value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "set", FeatureType::Enumeration, true, f);
    std::string text = std::to_string(value);
    if (s == Ok) {
        const EnumEntry* e = f->entryByValue(value);
        if (!e)
            s = InvalidValue;
        else if (!e->isAvailable())
            s = NotAvailable;
        else {
            text = e->name;
            FeatureValue v;
            v.i = e->value;
            v.s = e->name;
            s = writeValue(*f, v);
        }
    }
    return record(name, "set", text, s);
}

Status SimFeatureSet::enumEntries(const std::string& name, std::vector<EnumEntryInfo>& entries)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    if (m_interceptor) {
        Status s = m_interceptor(name, "entries");
        if (s != Ok)
            return s;
    }
    SimFeature* f = find(name);
    if (!f)
        return NotFound;
    if (f->type != FeatureType::Enumeration)
        return WrongType;
    entries.clear();
    for (const auto& e : f->entries)
        entries.push_back(EnumEntryInfo{e.name, e.value, e.isAvailable()});
    return Ok;
}

Status SimFeatureSet::getString(const std::string& name, std::string& value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::String, false, f);
    if (s == Ok)
        value = f->stringValue;
    return record(name, "get", s == Ok ? value : std::string(), s);
}

Status SimFeatureSet::setString(const std::string& name, const std::string& value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "set", FeatureType::String, true, f);
    if (s == Ok) {
        if (value.size() > f->stringMaxLength) {
            s = InvalidValue;
        } else {
            FeatureValue v;
            v.s = value;
            s = writeValue(*f, v);
        }
    }
    return record(name, "set", value, s);
}

Status SimFeatureSet::getBool(const std::string& name, bool& value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::Boolean, false, f);
    if (s == Ok)
        value = f->boolValue;
    return record(name, "get", s == Ok ? (value ? "1" : "0") : "", s);
}

Status SimFeatureSet::setBool(const std::string& name, bool value)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "set", FeatureType::Boolean, true, f);
    if (s == Ok) {
        FeatureValue v;
        v.b = value;
        s = writeValue(*f, v);
    }
    return record(name, "set", value ? "1" : "0", s);
}

Status SimFeatureSet::runCommand(const std::string& name)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "execute", FeatureType::Command, true, f);
    if (s == Ok) {
        s = f->onExecute ? f->onExecute(*f) : Ok;
        const bool hung = s == Pending;
        if (hung)
            s = Ok;
        f->neverDone = s == Ok && (hung || f->latencyMs < 0);
        f->doneAt = std::chrono::steady_clock::now() +
                    std::chrono::milliseconds(s == Ok && f->latencyMs > 0 ? f->latencyMs : 0);
    }
    return record(name, "execute", "", s);
}

Status SimFeatureSet::isCommandDone(const std::string& name, bool& done)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    if (m_interceptor) {
        Status s = m_interceptor(name, "isdone");
        if (s != Ok)
            return record(name, "isdone", "", s);
    }
    f = find(name);
    Status s = !f ? NotFound : f->type != FeatureType::Command ? WrongType : Ok;
    if (s == Ok)
        done = !f->neverDone && std::chrono::steady_clock::now() >= f->doneAt;
    return record(name, "isdone", s == Ok ? (done ? "1" : "0") : "", s);
}

Status SimFeatureSet::registerLength(const std::string& name, size_t& length)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = find(name);
    if (!f)
        return NotFound;
    if (f->type != FeatureType::Register)
        return WrongType;
    length = f->bytes.size();
    return Ok;
}

Status SimFeatureSet::getRegister(const std::string& name, std::vector<uint8_t>& bytes)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::Register, false, f);
    if (s == Ok)
        bytes = f->bytes;
    return record(name, "get", s == Ok ? std::to_string(bytes.size()) : std::string(), s);
}

Status SimFeatureSet::setRegister(const std::string& name, const uint8_t* data, size_t length)
{
    return setRegisterRange(name, 0, data, length);
}

Status SimFeatureSet::setRegisterRange(const std::string& name, size_t offset, const uint8_t* data,
                                       size_t length)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "set", FeatureType::Register, true, f);
    if (s == Ok) {
        if (!data && length > 0) {
            s = BadParameter;
        } else if (offset > f->bytes.size() || length > f->bytes.size() - offset) {
            s = BadParameter;
        } else {
            // A shorter write replaces the bytes it covers, as on a device
            // register; the rest keeps its content. The hook sees how far the
            // host has filled the register (not the bytes). The bytes are
            // written in place: a GigE Vision host sends a 64 KiB register in
            // 512-byte writes, and copying all of it for each would move 256
            // times the bytes sent.
            FeatureValue v;
            v.i = int64_t(offset + length);
            if (f->onWrite)
                s = f->onWrite(*f, v);
            if (s == Ok)
                std::copy(data, data + length, f->bytes.begin() + ptrdiff_t(offset));
        }
    }
    return record(name, "set", std::to_string(length), s);
}

Status SimFeatureSet::getRegisterRange(const std::string& name, size_t offset, uint8_t* out,
                                       size_t length)
{
    std::lock_guard<std::recursive_mutex> lock(*m_lock);
    SimFeature* f = nullptr;
    Status s = prepare(name, "get", FeatureType::Register, false, f);
    if (s == Ok && (offset > f->bytes.size() || length > f->bytes.size() - offset))
        s = BadParameter;
    if (s == Ok)
        std::copy_n(f->bytes.begin() + ptrdiff_t(offset), length, out);
    return record(name, "get", s == Ok ? std::to_string(length) : std::string(), s);
}

} // namespace hvsim
