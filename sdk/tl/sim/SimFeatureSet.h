#pragma once

#include "SimFeature.h"
#include "SimTrace.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace hvsim {

struct EnumEntryInfo
{
    std::string name;
    int64_t value = 0;
    bool available = true;
};

// The features of one container (a camera or a stream) with GenICam rules:
// case-sensitive names, typed access, ranges and increments, enumeration
// entries with availability, access modes, commands with a done state,
// registers. Every operation takes the camera's lock, so hooks may use
// find() on this or a sibling set without locking again.
class SimFeatureSet
{
public:
    // Called before every operation; a result other than Ok fails it. Used
    // for injected faults and for a camera that has gone away.
    using Interceptor = std::function<Status(const std::string& feature, const std::string& op)>;

    SimFeatureSet(std::shared_ptr<std::recursive_mutex> lock, std::shared_ptr<SimTrace> trace,
                  std::string scope);

    SimFeature& add(SimFeature feature);
    SimFeature* find(const std::string& name);
    std::vector<std::string> names() const;
    void setInterceptor(Interceptor interceptor) { m_interceptor = std::move(interceptor); }
    // Told of every value a host wrote successfully, under the camera's lock.
    void setWriteListener(std::function<void(const SimFeature&)> listener)
    {
        m_writeListener = std::move(listener);
    }
    std::recursive_mutex& mutex() { return *m_lock; }

    bool has(const std::string& name) const;
    Status info(const std::string& name, FeatureType& type, Access& access);

    Status getInt(const std::string& name, int64_t& value);
    Status setInt(const std::string& name, int64_t value);
    Status intRange(const std::string& name, int64_t& min, int64_t& max, int64_t& inc);

    Status getFloat(const std::string& name, double& value);
    Status setFloat(const std::string& name, double value);
    Status floatRange(const std::string& name, double& min, double& max, double& inc);

    Status getEnum(const std::string& name, std::string& entry);
    Status getEnumInt(const std::string& name, int64_t& value);
    Status setEnum(const std::string& name, const std::string& entry);
    Status setEnumInt(const std::string& name, int64_t value);
    Status enumEntries(const std::string& name, std::vector<EnumEntryInfo>& entries);

    Status getString(const std::string& name, std::string& value);
    Status setString(const std::string& name, const std::string& value);

    Status getBool(const std::string& name, bool& value);
    Status setBool(const std::string& name, bool value);

    Status runCommand(const std::string& name);
    Status isCommandDone(const std::string& name, bool& done);

    Status registerLength(const std::string& name, size_t& length);
    Status getRegister(const std::string& name, std::vector<uint8_t>& bytes);
    Status setRegister(const std::string& name, const uint8_t* data, size_t length);
    // Writes `length` bytes at `offset` inside the register (a memory write
    // into part of it, as a GigE Vision host sends a large register).
    Status setRegisterRange(const std::string& name, size_t offset, const uint8_t* data,
                            size_t length);
    // Reads `length` bytes at `offset` inside the register.
    Status getRegisterRange(const std::string& name, size_t offset, uint8_t* out, size_t length);

private:
    Status prepare(const std::string& name, const std::string& op, FeatureType type, bool write,
                   SimFeature*& f);
    Status writeValue(SimFeature& f, const FeatureValue& v);
    Status record(const std::string& name, const std::string& op, const std::string& value,
                  Status status);

    std::shared_ptr<std::recursive_mutex> m_lock;
    std::shared_ptr<SimTrace> m_trace;
    std::string m_scope;
    std::map<std::string, SimFeature> m_features;
    std::vector<std::string> m_order;
    Interceptor m_interceptor;
    std::function<void(const SimFeature&)> m_writeListener;
};

} // namespace hvsim
