#include "HvcApi.h"

#include "Hvx/Hvx.h"

#include <cstring>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <vector>

// The flat API is a thin layer over the object API: a handle is looked up
// with FeatureContainer::FromHandle and the call goes through the same
// Feature functions, so both APIs give the same values and the same codes.

static_assert(sizeof(HvCameraInfo) == 80, "HvCameraInfo is an 80-byte record");

namespace {

using TextGetter = std::function<HvErrorType(char*, unsigned int&)>;

// Texts of HvCameraInfo records must outlive the call. Each distinct text is
// kept once for the life of the process (a set never moves its elements);
// the number of distinct camera texts is small.
const char* Keep(const std::string& text)
{
    static std::mutex mutex;
    static std::set<std::string> texts;
    std::lock_guard<std::mutex> lock(mutex);
    return texts.insert(text).first->c_str();
}

HvErrorType ReadText(const TextGetter& get, std::string& text)
{
    unsigned int length = 0;
    HvErrorType result = get(nullptr, length);
    if (result != HvErrorSuccess)
        return result;
    std::vector<char> buffer(length + 1, '\0');
    result = get(buffer.data(), length);
    if (result != HvErrorSuccess)
        return result;
    text.assign(buffer.data(), length);
    return HvErrorSuccess;
}

HvErrorType FeatureOf(HvHandle handle, const char* name, Hvx::FeaturePtr& feature)
{
    if (name == nullptr)
        return HvErrorBadParameter;
    Hvx::FeatureContainerPtr container;
    const HvErrorType result = Hvx::FeatureContainer::FromHandle(handle, container);
    if (result != HvErrorSuccess)
        return result;
    return container->GetFeatureByName(name, feature);
}

// Runs `call` on the feature, after checking the output pointer.
template <typename Out, typename Call>
HvErrorType WithFeature(HvHandle handle, const char* name, Out* out, Call call)
{
    if (out == nullptr)
        return HvErrorBadParameter;
    Hvx::FeaturePtr feature;
    const HvErrorType result = FeatureOf(handle, name, feature);
    if (result != HvErrorSuccess)
        return result;
    return call(*feature);
}

template <typename Call> HvErrorType WithFeature(HvHandle handle, const char* name, Call call)
{
    Hvx::FeaturePtr feature;
    const HvErrorType result = FeatureOf(handle, name, feature);
    if (result != HvErrorSuccess)
        return result;
    return call(*feature);
}

} // namespace

extern "C" {

HvErrorType HvCameraInfoQuery(const char* idString, HvCameraInfo* info, uint32_t sizeofInfo)
{
    if (idString == nullptr || info == nullptr)
        return HvErrorBadParameter;
    if (sizeofInfo < sizeof(HvCameraInfo))
        return HvErrorStructSize;
    Hvx::CameraPtr camera;
    HvErrorType result = Hvx::HvSystem::GetInstance().GetCameraByID(idString, camera);
    if (result != HvErrorSuccess)
        return result;

    std::string plainId, extendedId, name, model, serial, interfaceId, transportLayerName;
    const std::pair<std::string*, TextGetter> texts[] = {
        {&plainId, [&](char* b, unsigned int& l) { return camera->GetID(b, l, false); }},
        {&extendedId, [&](char* b, unsigned int& l) { return camera->GetID(b, l, true); }},
        {&name, [&](char* b, unsigned int& l) { return camera->GetName(b, l); }},
        {&model, [&](char* b, unsigned int& l) { return camera->GetModel(b, l); }},
        {&serial, [&](char* b, unsigned int& l) { return camera->GetSerialNumber(b, l); }},
        {&interfaceId, [&](char* b, unsigned int& l) { return camera->GetInterfaceID(b, l); }},
    };
    for (const auto& text : texts) {
        result = ReadText(text.second, *text.first);
        if (result != HvErrorSuccess)
            return result;
    }
    Hvx::TransportLayerPtr transportLayer;
    result = camera->GetTransportLayer(transportLayer);
    if (result != HvErrorSuccess)
        return result;
    result = ReadText([&](char* b, unsigned int& l) { return transportLayer->GetName(b, l); },
                      transportLayerName);
    if (result != HvErrorSuccess)
        return result;
    HvAccessModeType access = HvAccessModeNone;
    result = camera->GetPermittedAccess(access);
    if (result != HvErrorSuccess)
        return result;
    // The interface type is what the camera reports; a camera that cannot
    // tell is still described, with an unknown type.
    HvTransportLayerType type = HvTransportLayerTypeUnknown;
    if (camera->GetInterfaceType(type) != HvErrorSuccess)
        type = HvTransportLayerTypeUnknown;

    std::memset(info, 0, sizeof(HvCameraInfo));
    info->cameraIdString = Keep(plainId);
    info->cameraIdExtended = Keep(extendedId);
    info->cameraName = Keep(name);
    info->modelName = Keep(model);
    info->serialString = Keep(serial);
    info->interfaceIdString = Keep(interfaceId);
    info->transportLayerName = Keep(transportLayerName);
    info->permittedAccess = access;
    info->interfaceType = type;
    info->cameraHandle = camera->GetHandle();
    return HvErrorSuccess;
}

HvErrorType HvFeatureInfoQuery(HvHandle handle, const char* name, HvFeatureInfo* info,
                               uint32_t sizeofInfo)
{
    if (info != nullptr && sizeofInfo < sizeof(HvFeatureInfo))
        return HvErrorStructSize;
    return WithFeature(handle, name, info, [&](Hvx::Feature& feature) {
        HvFeatureInfo result;
        std::memset(&result, 0, sizeof result);
        HvErrorType code = feature.GetDataType(result.featureDataType);
        if (code == HvErrorSuccess)
            code = feature.GetFlags(result.featureFlags);
        if (code == HvErrorSuccess)
            *info = result;
        return code;
    });
}

HvErrorType HvFeatureIntGet(HvHandle handle, const char* name, int64_t* value)
{
    return WithFeature(handle, name, value,
                       [&](Hvx::Feature& feature) { return feature.GetIntValue(*value); });
}

HvErrorType HvFeatureIntSet(HvHandle handle, const char* name, int64_t value)
{
    return WithFeature(handle, name,
                       [&](Hvx::Feature& feature) { return feature.SetIntValue(value); });
}

HvErrorType HvFeatureIntRangeQuery(HvHandle handle, const char* name, int64_t* min, int64_t* max)
{
    if (min == nullptr)
        return HvErrorBadParameter;
    return WithFeature(handle, name, max,
                       [&](Hvx::Feature& feature) { return feature.GetIntRange(*min, *max); });
}

HvErrorType HvFeatureIntIncrementQuery(HvHandle handle, const char* name, int64_t* increment)
{
    return WithFeature(handle, name, increment,
                       [&](Hvx::Feature& feature) { return feature.GetIntIncrement(*increment); });
}

HvErrorType HvFeatureFloatGet(HvHandle handle, const char* name, double* value)
{
    return WithFeature(handle, name, value,
                       [&](Hvx::Feature& feature) { return feature.GetFloatValue(*value); });
}

HvErrorType HvFeatureFloatSet(HvHandle handle, const char* name, double value)
{
    return WithFeature(handle, name,
                       [&](Hvx::Feature& feature) { return feature.SetFloatValue(value); });
}

HvErrorType HvFeatureFloatRangeQuery(HvHandle handle, const char* name, double* min, double* max)
{
    if (min == nullptr)
        return HvErrorBadParameter;
    return WithFeature(handle, name, max,
                       [&](Hvx::Feature& feature) { return feature.GetFloatRange(*min, *max); });
}

HvErrorType HvFeatureFloatIncrementQuery(HvHandle handle, const char* name, double* increment)
{
    return WithFeature(handle, name, increment, [&](Hvx::Feature& feature) {
        return feature.GetFloatIncrement(*increment);
    });
}

HvErrorType HvFeatureEnumGet(HvHandle handle, const char* name, char* buffer, uint32_t* length)
{
    return WithFeature(handle, name, length, [&](Hvx::Feature& feature) {
        unsigned int n = *length;
        const HvErrorType result = feature.GetEnumValue(buffer, n);
        *length = n;
        return result;
    });
}

HvErrorType HvFeatureEnumSet(HvHandle handle, const char* name, const char* value)
{
    return WithFeature(handle, name, value,
                       [&](Hvx::Feature& feature) { return feature.SetEnumValue(value); });
}

HvErrorType HvFeatureEnumIntGet(HvHandle handle, const char* name, int64_t* value)
{
    return WithFeature(handle, name, value,
                       [&](Hvx::Feature& feature) { return feature.GetEnumIntValue(*value); });
}

HvErrorType HvFeatureEnumIntSet(HvHandle handle, const char* name, int64_t value)
{
    return WithFeature(handle, name,
                       [&](Hvx::Feature& feature) { return feature.SetEnumIntValue(value); });
}

HvErrorType HvFeatureEnumIsAvailable(HvHandle handle, const char* name, const char* entry,
                                     bool* available)
{
    if (entry == nullptr)
        return HvErrorBadParameter;
    return WithFeature(handle, name, available, [&](Hvx::Feature& feature) {
        return feature.IsValueAvailable(entry, *available);
    });
}

HvErrorType HvFeatureBoolGet(HvHandle handle, const char* name, bool* value)
{
    return WithFeature(handle, name, value,
                       [&](Hvx::Feature& feature) { return feature.GetBoolValue(*value); });
}

HvErrorType HvFeatureBoolSet(HvHandle handle, const char* name, bool value)
{
    return WithFeature(handle, name,
                       [&](Hvx::Feature& feature) { return feature.SetBoolValue(value); });
}

HvErrorType HvFeatureStringGet(HvHandle handle, const char* name, char* buffer, uint32_t* length)
{
    return WithFeature(handle, name, length, [&](Hvx::Feature& feature) {
        unsigned int n = *length;
        const HvErrorType result = feature.GetStringValue(buffer, n);
        *length = n;
        return result;
    });
}

HvErrorType HvFeatureStringSet(HvHandle handle, const char* name, const char* value)
{
    return WithFeature(handle, name, value,
                       [&](Hvx::Feature& feature) { return feature.SetStringValue(value); });
}

HvErrorType HvFeatureCommandRun(HvHandle handle, const char* name)
{
    return WithFeature(handle, name, [&](Hvx::Feature& feature) { return feature.RunCommand(); });
}

HvErrorType HvFeatureCommandIsDone(HvHandle handle, const char* name, bool* isDone)
{
    return WithFeature(handle, name, isDone,
                       [&](Hvx::Feature& feature) { return feature.IsCommandDone(*isDone); });
}

HvErrorType HvFeatureRawLengthQuery(HvHandle handle, const char* name, int64_t* length)
{
    return WithFeature(handle, name, length,
                       [&](Hvx::Feature& feature) { return feature.GetRegisterLength(*length); });
}

HvErrorType HvFeatureRawGet(HvHandle handle, const char* name, unsigned char* buffer, uint32_t size)
{
    return WithFeature(handle, name, buffer,
                       [&](Hvx::Feature& feature) { return feature.GetRegister(buffer, size); });
}

HvErrorType HvFeatureRawSet(HvHandle handle, const char* name, const unsigned char* buffer,
                            uint32_t size)
{
    return WithFeature(handle, name, buffer,
                       [&](Hvx::Feature& feature) { return feature.SetRegister(buffer, size); });
}

} // extern "C"
