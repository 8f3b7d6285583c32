#include "Hvx/Feature.h"

#include "FeatureSource.h"
#include "Text.h"

#include <algorithm>

namespace Hvx {

namespace {

enum class Needs
{
    Nothing,
    Read,
    Write
};

constexpr HvFeatureDataType kAnyType = HvFeatureDataUnknown;

// The checks every typed call shares, made on the feature's current state
// in the same locked call that does the work.
HvErrorType Call(Internal::FeatureSource& source, const std::string& name,
                 HvFeatureDataType expected, Needs needs,
                 const std::function<HvErrorType(Tl::IFeatureMap&)>& work)
{
    return source.Use([&](Tl::IFeatureMap& map, bool writeAllowed) -> HvErrorType {
        Tl::FeatureInfo info;
        const HvErrorType result = map.GetFeatureInfo(name, info);
        if (result != HvErrorSuccess)
            return result;
        if (expected != kAnyType && info.type != expected)
            return HvErrorWrongType;
        if (needs == Needs::Read && (info.flags & HvFeatureFlagsRead) == 0)
            return HvErrorInvalidAccess;
        if (needs == Needs::Write && ((info.flags & HvFeatureFlagsWrite) == 0 || !writeAllowed))
            return HvErrorInvalidAccess;
        return work(map);
    });
}

const Tl::EnumEntryInfo* FindEntry(const std::vector<Tl::EnumEntryInfo>& entries,
                                   const std::string& name)
{
    const auto it = std::find_if(entries.begin(), entries.end(),
                                 [&](const Tl::EnumEntryInfo& e) { return e.name == name; });
    return it == entries.end() ? nullptr : &*it;
}

const Tl::EnumEntryInfo* FindEntry(const std::vector<Tl::EnumEntryInfo>& entries, int64_t value)
{
    const auto it = std::find_if(entries.begin(), entries.end(),
                                 [&](const Tl::EnumEntryInfo& e) { return e.value == value; });
    return it == entries.end() ? nullptr : &*it;
}

} // namespace

Feature::Feature(std::shared_ptr<Internal::FeatureSource> source, const char* name)
    : m_source(std::move(source)), m_name(name != nullptr ? name : "")
{
}

Feature::~Feature() = default;

HvErrorType Feature::GetName(char* name, unsigned int& length) const
{
    return Internal::CopyText(m_name, name, length);
}

HvErrorType Feature::GetDataType(HvFeatureDataType& dataType) const
{
    return m_source->Use([&](Tl::IFeatureMap& map, bool) {
        Tl::FeatureInfo info;
        const HvErrorType result = map.GetFeatureInfo(m_name, info);
        if (result == HvErrorSuccess)
            dataType = info.type;
        return result;
    });
}

HvErrorType Feature::GetFlags(HvFeatureFlags& flags) const
{
    return m_source->Use([&](Tl::IFeatureMap& map, bool writeAllowed) {
        Tl::FeatureInfo info;
        const HvErrorType result = map.GetFeatureInfo(m_name, info);
        if (result == HvErrorSuccess) {
            flags = info.flags;
            // A camera opened read-only offers nothing writable.
            if (!writeAllowed)
                flags &= ~static_cast<HvFeatureFlags>(HvFeatureFlagsWrite);
        }
        return result;
    });
}

HvErrorType Feature::IsReadable(bool& readable) const
{
    HvFeatureFlags flags = 0;
    const HvErrorType result = GetFlags(flags);
    if (result == HvErrorSuccess)
        readable = (flags & HvFeatureFlagsRead) != 0;
    return result;
}

HvErrorType Feature::IsWritable(bool& writable) const
{
    HvFeatureFlags flags = 0;
    const HvErrorType result = GetFlags(flags);
    if (result == HvErrorSuccess)
        writable = (flags & HvFeatureFlagsWrite) != 0;
    return result;
}

HvErrorType Feature::GetIntValue(int64_t& value) const
{
    return Call(*m_source, m_name, HvFeatureDataInt, Needs::Read,
                [&](Tl::IFeatureMap& map) { return map.GetInt(m_name, value); });
}

HvErrorType Feature::SetIntValue(int64_t value)
{
    return Call(*m_source, m_name, HvFeatureDataInt, Needs::Write,
                [&](Tl::IFeatureMap& map) { return map.SetInt(m_name, value); });
}

HvErrorType Feature::GetIntRange(int64_t& minimum, int64_t& maximum) const
{
    return Call(*m_source, m_name, HvFeatureDataInt, Needs::Nothing,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    int64_t increment = 0;
                    return map.GetIntRange(m_name, minimum, maximum, increment);
                });
}

HvErrorType Feature::GetIntIncrement(int64_t& increment) const
{
    return Call(*m_source, m_name, HvFeatureDataInt, Needs::Nothing,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    int64_t minimum = 0;
                    int64_t maximum = 0;
                    return map.GetIntRange(m_name, minimum, maximum, increment);
                });
}

HvErrorType Feature::GetFloatValue(double& value) const
{
    return Call(*m_source, m_name, HvFeatureDataFloat, Needs::Read,
                [&](Tl::IFeatureMap& map) { return map.GetFloat(m_name, value); });
}

HvErrorType Feature::SetFloatValue(double value)
{
    return Call(*m_source, m_name, HvFeatureDataFloat, Needs::Write,
                [&](Tl::IFeatureMap& map) { return map.SetFloat(m_name, value); });
}

HvErrorType Feature::GetFloatRange(double& minimum, double& maximum) const
{
    return Call(*m_source, m_name, HvFeatureDataFloat, Needs::Nothing,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    double increment = 0;
                    return map.GetFloatRange(m_name, minimum, maximum, increment);
                });
}

HvErrorType Feature::GetFloatIncrement(double& increment) const
{
    return Call(*m_source, m_name, HvFeatureDataFloat, Needs::Nothing,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    double minimum = 0;
                    double maximum = 0;
                    return map.GetFloatRange(m_name, minimum, maximum, increment);
                });
}

HvErrorType Feature::GetEnumValue(char* entry, unsigned int& length) const
{
    std::string text;
    const HvErrorType result =
        Call(*m_source, m_name, HvFeatureDataEnum, Needs::Read,
             [&](Tl::IFeatureMap& map) { return map.GetEnum(m_name, text); });
    if (result != HvErrorSuccess)
        return result;
    return Internal::CopyText(text, entry, length);
}

HvErrorType Feature::GetEnumIntValue(int64_t& value) const
{
    return Call(*m_source, m_name, HvFeatureDataEnum, Needs::Read,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    std::string text;
                    HvErrorType result = map.GetEnum(m_name, text);
                    if (result != HvErrorSuccess)
                        return result;
                    std::vector<Tl::EnumEntryInfo> entries;
                    result = map.GetEnumEntries(m_name, entries);
                    if (result != HvErrorSuccess)
                        return result;
                    const Tl::EnumEntryInfo* current = FindEntry(entries, text);
                    if (current == nullptr)
                        return HvErrorInternalFault; // the module's value is not one of its entries
                    value = current->value;
                    return HvErrorSuccess;
                });
}

HvErrorType Feature::SetEnumValue(const char* entry)
{
    if (entry == nullptr)
        return HvErrorBadParameter;
    return Call(*m_source, m_name, HvFeatureDataEnum, Needs::Write,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    std::vector<Tl::EnumEntryInfo> entries;
                    const HvErrorType result = map.GetEnumEntries(m_name, entries);
                    if (result != HvErrorSuccess)
                        return result;
                    const Tl::EnumEntryInfo* found = FindEntry(entries, std::string(entry));
                    if (found == nullptr || !found->available)
                        return HvErrorInvalidValue;
                    return map.SetEnum(m_name, found->name);
                });
}

HvErrorType Feature::SetEnumIntValue(int64_t value)
{
    return Call(*m_source, m_name, HvFeatureDataEnum, Needs::Write,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    std::vector<Tl::EnumEntryInfo> entries;
                    const HvErrorType result = map.GetEnumEntries(m_name, entries);
                    if (result != HvErrorSuccess)
                        return result;
                    const Tl::EnumEntryInfo* found = FindEntry(entries, value);
                    if (found == nullptr || !found->available)
                        return HvErrorInvalidValue;
                    return map.SetEnum(m_name, found->name);
                });
}

HvErrorType Feature::GetEntries(EnumEntry* entries, unsigned int& count) const
{
    std::vector<Tl::EnumEntryInfo> infos;
    const HvErrorType result =
        Call(*m_source, m_name, HvFeatureDataEnum, Needs::Nothing,
             [&](Tl::IFeatureMap& map) { return map.GetEnumEntries(m_name, infos); });
    if (result != HvErrorSuccess)
        return result;
    std::vector<EnumEntry> list;
    for (const auto& info : infos)
        list.emplace_back(info.name.c_str(), info.value);
    return Internal::CopyArray(list, entries, count);
}

HvErrorType Feature::IsValueAvailable(const char* entry, bool& available) const
{
    if (entry == nullptr)
        return HvErrorBadParameter;
    return Call(*m_source, m_name, HvFeatureDataEnum, Needs::Nothing,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    std::vector<Tl::EnumEntryInfo> entries;
                    const HvErrorType result = map.GetEnumEntries(m_name, entries);
                    if (result != HvErrorSuccess)
                        return result;
                    const Tl::EnumEntryInfo* found = FindEntry(entries, std::string(entry));
                    if (found == nullptr)
                        return HvErrorNotFound;
                    available = found->available;
                    return HvErrorSuccess;
                });
}

HvErrorType Feature::IsValueAvailable(int64_t value, bool& available) const
{
    return Call(*m_source, m_name, HvFeatureDataEnum, Needs::Nothing,
                [&](Tl::IFeatureMap& map) -> HvErrorType {
                    std::vector<Tl::EnumEntryInfo> entries;
                    const HvErrorType result = map.GetEnumEntries(m_name, entries);
                    if (result != HvErrorSuccess)
                        return result;
                    const Tl::EnumEntryInfo* found = FindEntry(entries, value);
                    if (found == nullptr)
                        return HvErrorNotFound;
                    available = found->available;
                    return HvErrorSuccess;
                });
}

HvErrorType Feature::GetStringValue(char* value, unsigned int& length) const
{
    std::string text;
    const HvErrorType result =
        Call(*m_source, m_name, HvFeatureDataString, Needs::Read,
             [&](Tl::IFeatureMap& map) { return map.GetString(m_name, text); });
    if (result != HvErrorSuccess)
        return result;
    return Internal::CopyText(text, value, length);
}

HvErrorType Feature::SetStringValue(const char* value)
{
    if (value == nullptr)
        return HvErrorBadParameter;
    return Call(*m_source, m_name, HvFeatureDataString, Needs::Write,
                [&](Tl::IFeatureMap& map) { return map.SetString(m_name, value); });
}

HvErrorType Feature::GetBoolValue(bool& value) const
{
    return Call(*m_source, m_name, HvFeatureDataBool, Needs::Read,
                [&](Tl::IFeatureMap& map) { return map.GetBool(m_name, value); });
}

HvErrorType Feature::SetBoolValue(bool value)
{
    return Call(*m_source, m_name, HvFeatureDataBool, Needs::Write,
                [&](Tl::IFeatureMap& map) { return map.SetBool(m_name, value); });
}

HvErrorType Feature::RunCommand()
{
    return Call(*m_source, m_name, HvFeatureDataCommand, Needs::Write,
                [&](Tl::IFeatureMap& map) { return map.RunCommand(m_name); });
}

HvErrorType Feature::IsCommandDone(bool& done) const
{
    return Call(*m_source, m_name, HvFeatureDataCommand, Needs::Nothing,
                [&](Tl::IFeatureMap& map) { return map.IsCommandDone(m_name, done); });
}

HvErrorType Feature::GetRegisterLength(int64_t& length) const
{
    return Call(*m_source, m_name, HvFeatureDataRaw, Needs::Nothing,
                [&](Tl::IFeatureMap& map) { return map.GetRegisterLength(m_name, length); });
}

HvErrorType Feature::GetRegister(unsigned char* buffer, unsigned int size) const
{
    if (buffer == nullptr || size == 0)
        return HvErrorBadParameter;
    return Call(*m_source, m_name, HvFeatureDataRaw, Needs::Read,
                [&](Tl::IFeatureMap& map) { return map.GetRegister(m_name, buffer, size); });
}

HvErrorType Feature::SetRegister(const unsigned char* buffer, unsigned int size)
{
    if (buffer == nullptr || size == 0)
        return HvErrorBadParameter;
    return Call(*m_source, m_name, HvFeatureDataRaw, Needs::Write,
                [&](Tl::IFeatureMap& map) { return map.SetRegister(m_name, buffer, size); });
}

} // namespace Hvx
