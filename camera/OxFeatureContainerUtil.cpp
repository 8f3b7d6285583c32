#include "OxFeatureContainerUtil.h"

#include "SdkText.h"

#include <HvcApi.h>
#include <Hvx/Feature.h>
#include <Hvx/FeatureContainer.h>

#include <cerrno>
#include <chrono>
#include <ctime>
#include <functional>

namespace {

using FeaturePtr = Hvx::FeaturePtr;

HvErrorType FindFeature(const OxFeatureContainerUtil::Container& container, const char* name,
                        FeaturePtr& feature)
{
    if (!container || name == nullptr)
        return HvErrorBadParameter;
    const HvErrorType result = container->GetFeatureByName(name, feature);
    if (result == HvErrorSuccess && !feature)
        return HvErrorNotFound;
    return result;
}

HvErrorType FindTypedFeature(const OxFeatureContainerUtil::Container& container, const char* name,
                             FeaturePtr& feature, HvFeatureDataType& type)
{
    HvErrorType result = FindFeature(container, name, feature);
    if (result != HvErrorSuccess)
        return result;
    return feature->GetDataType(type);
}

// The feature, if it is an enumeration.
HvErrorType FindEnumFeature(const OxFeatureContainerUtil::Container& container, const char* name,
                            FeaturePtr& feature)
{
    HvFeatureDataType type = HvFeatureDataUnknown;
    const HvErrorType result = FindTypedFeature(container, name, feature, type);
    if (result != HvErrorSuccess)
        return result;
    return type == HvFeatureDataEnum ? HvErrorSuccess : HvErrorWrongType;
}

// Sleeps one poll interval in full, also when a signal interrupts the sleep.
void SleepOnePollInterval()
{
    const int ms = OxFeatureContainerUtil::kCommandPollMs;
    timespec request{ms / 1000, long(ms % 1000) * 1000000L};
    timespec remaining{};
    while (nanosleep(&request, &remaining) == -1 && errno == EINTR)
        request = remaining;
}

// Asks whether a started command is done until it is or the timeout has
// passed. The coarse 2-second interval keeps the camera's control channel
// quiet during long operations such as the close of a large device file.
HvErrorType WaitForCommand(uint64_t timeoutMs, const std::function<HvErrorType(bool&)>& isDone)
{
    const auto start = std::chrono::steady_clock::now();
    for (;;) {
        bool done = false;
        const HvErrorType result = isDone(done);
        if (result != HvErrorSuccess)
            return result;
        if (done)
            return HvErrorSuccess;
        const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
                                 std::chrono::steady_clock::now() - start)
                                 .count();
        if (uint64_t(elapsed) >= timeoutMs)
            return HvErrorTimeout;
        SleepOnePollInterval();
    }
}

bool IsIntVariant(const QVariant& value)
{
    return value.userType() == QMetaType::Int;
}

bool IsTextVariant(const QVariant& value)
{
    return value.userType() == QMetaType::QString;
}

// One feature's typed values, through the object API.
struct ObjectAccess
{
    FeaturePtr feature;

    HvErrorType getInt(int64_t& v) const { return feature->GetIntValue(v); }
    HvErrorType getFloat(double& v) const { return feature->GetFloatValue(v); }
    HvErrorType getBool(bool& v) const { return feature->GetBoolValue(v); }
    HvErrorType getEnum(char* text, unsigned int& length) const
    {
        return feature->GetEnumValue(text, length);
    }
    HvErrorType getString(char* text, unsigned int& length) const
    {
        return feature->GetStringValue(text, length);
    }
    HvErrorType setInt(int64_t v) const { return feature->SetIntValue(v); }
    HvErrorType setFloat(double v) const { return feature->SetFloatValue(v); }
    HvErrorType setBool(bool v) const { return feature->SetBoolValue(v); }
    HvErrorType setEnumInt(int64_t v) const { return feature->SetEnumIntValue(v); }
    HvErrorType setEnum(const char* entry) const { return feature->SetEnumValue(entry); }
    HvErrorType setString(const char* text) const { return feature->SetStringValue(text); }
};

// The same through the flat API on a raw handle.
struct HandleAccess
{
    HvHandle handle;
    const char* name;

    HvErrorType getInt(int64_t& v) const { return HvFeatureIntGet(handle, name, &v); }
    HvErrorType getFloat(double& v) const { return HvFeatureFloatGet(handle, name, &v); }
    HvErrorType getBool(bool& v) const { return HvFeatureBoolGet(handle, name, &v); }
    HvErrorType getEnum(char* text, unsigned int& length) const
    {
        return HvFeatureEnumGet(handle, name, text, &length);
    }
    HvErrorType getString(char* text, unsigned int& length) const
    {
        return HvFeatureStringGet(handle, name, text, &length);
    }
    HvErrorType setInt(int64_t v) const { return HvFeatureIntSet(handle, name, v); }
    HvErrorType setFloat(double v) const { return HvFeatureFloatSet(handle, name, v); }
    HvErrorType setBool(bool v) const { return HvFeatureBoolSet(handle, name, v); }
    HvErrorType setEnumInt(int64_t v) const { return HvFeatureEnumIntSet(handle, name, v); }
    HvErrorType setEnum(const char* entry) const { return HvFeatureEnumSet(handle, name, entry); }
    HvErrorType setString(const char* text) const { return HvFeatureStringSet(handle, name, text); }
};

// The type mapping, written once for both families.
template <typename Access>
HvErrorType ReadVariant(HvFeatureDataType type, const Access& access, QVariant& value)
{
    HvErrorType result = HvErrorSuccess;
    switch (type) {
    case HvFeatureDataUnknown:
        return HvErrorWrongType;
    case HvFeatureDataInt: {
        int64_t v = 0;
        result = access.getInt(v);
        if (result == HvErrorSuccess)
            value = QVariant(static_cast<long long>(v));
        return result;
    }
    case HvFeatureDataFloat: {
        double v = 0.0;
        result = access.getFloat(v);
        if (result == HvErrorSuccess)
            value = QVariant(v);
        return result;
    }
    case HvFeatureDataBool: {
        bool v = false;
        result = access.getBool(v);
        if (result == HvErrorSuccess)
            value = QVariant(v);
        return result;
    }
    case HvFeatureDataEnum:
    default: {
        QString text;
        result = ReadSdkText(
            [&](char* buffer, unsigned int& length) {
                return type == HvFeatureDataEnum ? access.getEnum(buffer, length)
                                                 : access.getString(buffer, length);
            },
            text);
        if (result == HvErrorSuccess)
            value = QVariant(text);
        return result;
    }
    }
}

template <typename Access>
HvErrorType WriteVariant(HvFeatureDataType type, const Access& access, const QVariant& value)
{
    switch (type) {
    case HvFeatureDataUnknown:
        return HvErrorWrongType;
    case HvFeatureDataInt:
        return access.setInt(value.toLongLong());
    case HvFeatureDataFloat:
        return access.setFloat(value.toDouble());
    case HvFeatureDataEnum:
        if (IsIntVariant(value))
            return access.setEnumInt(value.toInt());
        if (IsTextVariant(value))
            return access.setEnum(value.toString().toUtf8().constData());
        return HvErrorWrongType;
    case HvFeatureDataBool:
        return access.setBool(value.toBool());
    default:
        return access.setString(value.toString().toUtf8().constData());
    }
}

// The current entry of an enumeration, its name read as Latin-1.
template <typename Access> HvErrorType ReadEnumLatin1(const Access& access, QVariant& value)
{
    unsigned int length = 0;
    HvErrorType result = access.getEnum(nullptr, length);
    if (result != HvErrorSuccess)
        return result;
    std::vector<char> buffer(size_t(length) + 1, '\0');
    result = access.getEnum(buffer.data(), length);
    if (result == HvErrorSuccess)
        value = QVariant(QString::fromLatin1(buffer.data(), int(length)));
    return result;
}

} // namespace

// ---- object family --------------------------------------------------------

HvErrorType OxFeatureContainerUtil::GetFeatureValue(const Container& container, const char* name,
                                                    QVariant& value)
{
    FeaturePtr feature;
    HvFeatureDataType type = HvFeatureDataUnknown;
    const HvErrorType result = FindTypedFeature(container, name, feature, type);
    return result != HvErrorSuccess ? result : ReadVariant(type, ObjectAccess{feature}, value);
}

HvErrorType OxFeatureContainerUtil::SetFeatureValue(const Container& container, const char* name,
                                                    const QVariant& value)
{
    FeaturePtr feature;
    HvFeatureDataType type = HvFeatureDataUnknown;
    const HvErrorType result = FindTypedFeature(container, name, feature, type);
    return result != HvErrorSuccess ? result : WriteVariant(type, ObjectAccess{feature}, value);
}

HvErrorType OxFeatureContainerUtil::GetFeatureValueEnum(const Container& container,
                                                        const char* name, QVariant& value)
{
    FeaturePtr feature;
    const HvErrorType result = FindEnumFeature(container, name, feature);
    return result != HvErrorSuccess ? result : ReadEnumLatin1(ObjectAccess{feature}, value);
}

HvErrorType OxFeatureContainerUtil::SetFeatureValueEnum(const Container& container,
                                                        const char* name, QVariant& value)
{
    FeaturePtr feature;
    const HvErrorType result = FindEnumFeature(container, name, feature);
    if (result != HvErrorSuccess)
        return result;
    return feature->SetEnumValue(value.toString().toUtf8().constData());
}

HvErrorType OxFeatureContainerUtil::GetFeatureRange(const Container& container, const char* name,
                                                    QVariant& min, QVariant& max,
                                                    QVariant& increment)
{
    FeaturePtr feature;
    HvFeatureDataType type = HvFeatureDataUnknown;
    HvErrorType result = FindTypedFeature(container, name, feature, type);
    if (result != HvErrorSuccess)
        return result;
    if (type == HvFeatureDataInt) {
        int64_t lo = 0, hi = 0, step = 0;
        result = feature->GetIntRange(lo, hi);
        if (result == HvErrorSuccess)
            result = feature->GetIntIncrement(step);
        if (result == HvErrorSuccess) {
            min = QVariant(static_cast<long long>(lo));
            max = QVariant(static_cast<long long>(hi));
            increment = QVariant(static_cast<long long>(step));
        }
        return result;
    }
    if (type == HvFeatureDataFloat) {
        double lo = 0.0, hi = 0.0, step = 0.0;
        result = feature->GetFloatRange(lo, hi);
        if (result == HvErrorSuccess)
            result = feature->GetFloatIncrement(step);
        if (result == HvErrorSuccess) {
            min = QVariant(lo);
            max = QVariant(hi);
            increment = QVariant(step);
        }
        return result;
    }
    return HvErrorWrongType;
}

HvErrorType OxFeatureContainerUtil::GetSubFeatures(const Container& container, const char* name,
                                                   std::vector<Hvx::EnumEntry>* entries)
{
    if (entries == nullptr)
        return HvErrorBadParameter;
    FeaturePtr feature;
    HvErrorType result = FindFeature(container, name, feature);
    if (result != HvErrorSuccess)
        return result;
    unsigned int count = 0;
    result = feature->GetEntries(nullptr, count);
    if (result != HvErrorSuccess)
        return result;
    std::vector<Hvx::EnumEntry> all(count);
    if (count > 0) {
        result = feature->GetEntries(all.data(), count);
        if (result != HvErrorSuccess)
            return result;
        all.resize(count);
    }
    entries->clear();
    for (const Hvx::EnumEntry& entry : all) {
        QString entryName;
        if (ReadSdkText(
                [&](char* text, unsigned int& length) { return entry.GetName(text, length); },
                entryName) != HvErrorSuccess)
            continue;
        bool available = false;
        if (feature->IsValueAvailable(entryName.toUtf8().constData(), available) ==
                HvErrorSuccess &&
            available)
            entries->push_back(entry);
    }
    return HvErrorSuccess;
}

HvErrorType OxFeatureContainerUtil::GetFeatureRegister(const Container& container, const char* name,
                                                       std::vector<uint8_t>& bytes, int size)
{
    if (size < 0)
        return HvErrorBadParameter;
    FeaturePtr feature;
    HvErrorType result = FindFeature(container, name, feature);
    if (result != HvErrorSuccess)
        return result;
    bytes.resize(size_t(size));
    return feature->GetRegister(bytes.data(), unsigned(size));
}

HvErrorType OxFeatureContainerUtil::SetFeatureRegister(const Container& container, const char* name,
                                                       const std::vector<uint8_t>& bytes, int size)
{
    if (size < 0 || size_t(size) > bytes.size())
        return HvErrorBadParameter;
    FeaturePtr feature;
    HvErrorType result = FindFeature(container, name, feature);
    if (result != HvErrorSuccess)
        return result;
    return feature->SetRegister(bytes.data(), unsigned(size));
}

HvErrorType OxFeatureContainerUtil::SetFeatureCommand(const Container& container, const char* name,
                                                      uint64_t timeoutMs)
{
    FeaturePtr feature;
    HvErrorType result = FindFeature(container, name, feature);
    if (result != HvErrorSuccess)
        return result;
    result = feature->RunCommand();
    if (result != HvErrorSuccess || timeoutMs == 0)
        return result;
    return WaitForCommand(timeoutMs, [&](bool& done) { return feature->IsCommandDone(done); });
}

HvErrorType OxFeatureContainerUtil::HasFeature(const Container& container, const char* name,
                                               bool& result)
{
    if (!container || name == nullptr)
        return HvErrorBadParameter;
    FeaturePtr feature;
    const HvErrorType code = container->GetFeatureByName(name, feature);
    if (code == HvErrorNotFound) {
        result = false;
        return HvErrorSuccess;
    }
    if (code == HvErrorSuccess)
        result = feature != nullptr;
    return code;
}

HvErrorType OxFeatureContainerUtil::IsReadable(const Container& container, const char* name,
                                               bool& result)
{
    FeaturePtr feature;
    const HvErrorType code = FindFeature(container, name, feature);
    return code != HvErrorSuccess ? code : feature->IsReadable(result);
}

HvErrorType OxFeatureContainerUtil::IsWritable(const Container& container, const char* name,
                                               bool& result)
{
    FeaturePtr feature;
    const HvErrorType code = FindFeature(container, name, feature);
    return code != HvErrorSuccess ? code : feature->IsWritable(result);
}

// ---- handle family --------------------------------------------------------

namespace {

HvErrorType HandleFeatureType(HvHandle handle, const char* name, HvFeatureDataType& type)
{
    if (handle == nullptr || name == nullptr)
        return HvErrorBadParameter;
    HvFeatureInfo info{};
    const HvErrorType result = HvFeatureInfoQuery(handle, name, &info, sizeof(info));
    if (result == HvErrorSuccess)
        type = info.featureDataType;
    return result;
}

} // namespace

HvErrorType OxFeatureContainerUtil::GetFeatureValue(HvHandle handle, const char* name,
                                                    QVariant& value)
{
    HvFeatureDataType type = HvFeatureDataUnknown;
    const HvErrorType result = HandleFeatureType(handle, name, type);
    return result != HvErrorSuccess ? result : ReadVariant(type, HandleAccess{handle, name}, value);
}

HvErrorType OxFeatureContainerUtil::SetFeatureValue(HvHandle handle, const char* name,
                                                    const QVariant& value)
{
    HvFeatureDataType type = HvFeatureDataUnknown;
    const HvErrorType result = HandleFeatureType(handle, name, type);
    return result != HvErrorSuccess ? result
                                    : WriteVariant(type, HandleAccess{handle, name}, value);
}

HvErrorType OxFeatureContainerUtil::GetFeatureValueEnum(HvHandle handle, const char* name,
                                                        QVariant& value)
{
    HvFeatureDataType type = HvFeatureDataUnknown;
    const HvErrorType result = HandleFeatureType(handle, name, type);
    if (result != HvErrorSuccess)
        return result;
    if (type != HvFeatureDataEnum)
        return HvErrorWrongType;
    return ReadEnumLatin1(HandleAccess{handle, name}, value);
}

HvErrorType OxFeatureContainerUtil::SetFeatureValueEnum(HvHandle handle, const char* name,
                                                        QVariant& value)
{
    HvFeatureDataType type = HvFeatureDataUnknown;
    const HvErrorType result = HandleFeatureType(handle, name, type);
    if (result != HvErrorSuccess)
        return result;
    if (type != HvFeatureDataEnum)
        return HvErrorWrongType;
    return HvFeatureEnumSet(handle, name, value.toString().toUtf8().constData());
}

HvErrorType OxFeatureContainerUtil::SetFeatureCommand(HvHandle handle, const char* name,
                                                      uint64_t timeoutMs)
{
    if (handle == nullptr || name == nullptr)
        return HvErrorBadParameter;
    HvErrorType result = HvFeatureCommandRun(handle, name);
    if (result != HvErrorSuccess || timeoutMs == 0)
        return result;
    return WaitForCommand(timeoutMs,
                          [&](bool& done) { return HvFeatureCommandIsDone(handle, name, &done); });
}
