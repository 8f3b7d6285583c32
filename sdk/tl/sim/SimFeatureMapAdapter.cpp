#include "SimFeatureMapAdapter.h"

#include <cstring>

namespace hvsim {

HvErrorType SimFeatureMapAdapter::GetFeatureInfo(const std::string& name,
                                                 Hvx::Tl::FeatureInfo& info)
{
    FeatureType type;
    Access access;
    Status s = m_set.info(name, type, access);
    if (s != Ok)
        return s;
    info.type = HvFeatureDataType(type); // same numbering
    info.flags = (isReadable(access) ? HvFeatureFlagsRead : 0) |
                 (isWritable(access) ? HvFeatureFlagsWrite : 0);
    return HvErrorSuccess;
}

HvErrorType SimFeatureMapAdapter::GetInt(const std::string& name, int64_t& value)
{
    return m_set.getInt(name, value);
}

HvErrorType SimFeatureMapAdapter::SetInt(const std::string& name, int64_t value)
{
    return m_set.setInt(name, value);
}

HvErrorType SimFeatureMapAdapter::GetIntRange(const std::string& name, int64_t& minimum,
                                              int64_t& maximum, int64_t& increment)
{
    return m_set.intRange(name, minimum, maximum, increment);
}

HvErrorType SimFeatureMapAdapter::GetFloat(const std::string& name, double& value)
{
    return m_set.getFloat(name, value);
}

HvErrorType SimFeatureMapAdapter::SetFloat(const std::string& name, double value)
{
    return m_set.setFloat(name, value);
}

HvErrorType SimFeatureMapAdapter::GetFloatRange(const std::string& name, double& minimum,
                                                double& maximum, double& increment)
{
    return m_set.floatRange(name, minimum, maximum, increment);
}

HvErrorType SimFeatureMapAdapter::GetEnum(const std::string& name, std::string& entry)
{
    return m_set.getEnum(name, entry);
}

HvErrorType SimFeatureMapAdapter::SetEnum(const std::string& name, const std::string& entry)
{
    Status s = m_set.setEnum(name, entry);
    // The interface has one code for unknown and unavailable entries.
    return s == NotAvailable ? HvErrorType(HvErrorInvalidValue) : HvErrorType(s);
}

HvErrorType SimFeatureMapAdapter::GetEnumEntries(const std::string& name,
                                                 std::vector<Hvx::Tl::EnumEntryInfo>& entries)
{
    std::vector<EnumEntryInfo> list;
    Status s = m_set.enumEntries(name, list);
    if (s != Ok)
        return s;
    entries.clear();
    for (const auto& e : list)
        entries.push_back(Hvx::Tl::EnumEntryInfo{e.name, e.value, e.available});
    return HvErrorSuccess;
}

HvErrorType SimFeatureMapAdapter::GetString(const std::string& name, std::string& value)
{
    return m_set.getString(name, value);
}

HvErrorType SimFeatureMapAdapter::SetString(const std::string& name, const std::string& value)
{
    return m_set.setString(name, value);
}

HvErrorType SimFeatureMapAdapter::GetBool(const std::string& name, bool& value)
{
    return m_set.getBool(name, value);
}

HvErrorType SimFeatureMapAdapter::SetBool(const std::string& name, bool value)
{
    return m_set.setBool(name, value);
}

HvErrorType SimFeatureMapAdapter::RunCommand(const std::string& name)
{
    return m_set.runCommand(name);
}

HvErrorType SimFeatureMapAdapter::IsCommandDone(const std::string& name, bool& done)
{
    return m_set.isCommandDone(name, done);
}

HvErrorType SimFeatureMapAdapter::GetRegisterLength(const std::string& name, int64_t& length)
{
    size_t n = 0;
    Status s = m_set.registerLength(name, n);
    if (s == Ok)
        length = int64_t(n);
    return s;
}

HvErrorType SimFeatureMapAdapter::GetRegister(const std::string& name, uint8_t* buffer, size_t size)
{
    if (!buffer && size > 0)
        return HvErrorBadParameter;
    std::vector<uint8_t> bytes;
    Status s = m_set.getRegister(name, bytes);
    if (s != Ok)
        return s;
    if (size > bytes.size())
        return HvErrorBadParameter;
    if (size > 0)
        std::memcpy(buffer, bytes.data(), size);
    return HvErrorSuccess;
}

HvErrorType SimFeatureMapAdapter::SetRegister(const std::string& name, const uint8_t* buffer,
                                              size_t size)
{
    return m_set.setRegister(name, buffer, size);
}

} // namespace hvsim
