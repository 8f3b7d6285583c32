#include "Hvx/FeatureContainer.h"

#include "FeatureSource.h"
#include "HandleRegistry.h"
#include "Hvx/Feature.h"
#include "Text.h"

namespace Hvx {

FeatureContainer::FeatureContainer(std::shared_ptr<Internal::FeatureSource> source)
    : m_source(std::move(source)), m_handle(Internal::NewHandle())
{
}

FeatureContainer::~FeatureContainer()
{
    Internal::ForgetHandle(m_handle);
}

HvErrorType FeatureContainer::GetFeatureByName(const char* name, FeaturePtr& feature)
{
    if (name == nullptr)
        return HvErrorBadParameter;
    const HvErrorType result = m_source->Use([name](Tl::IFeatureMap& map, bool) -> HvErrorType {
        Tl::FeatureInfo info;
        return map.GetFeatureInfo(name, info);
    });
    if (result == HvErrorSuccess)
        feature = std::make_shared<Feature>(m_source, name);
    return result;
}

HvErrorType FeatureContainer::GetFeatures(FeaturePtr* features, unsigned int& count)
{
    std::vector<std::string> names;
    const HvErrorType result = m_source->Use([&names](Tl::IFeatureMap& map, bool) {
        names = map.FeatureNames();
        return HvErrorSuccess;
    });
    if (result != HvErrorSuccess)
        return result;
    std::vector<FeaturePtr> list;
    for (const auto& name : names)
        list.push_back(std::make_shared<Feature>(m_source, name.c_str()));
    return Internal::CopyArray(list, features, count);
}

HvHandle FeatureContainer::GetHandle()
{
    // Registered on demand: only a container owned by a shared pointer (as
    // every container the SDK hands out is) can be found again.
    const auto self = weak_from_this().lock();
    if (self)
        Internal::RegisterHandle(m_handle, self);
    return m_handle;
}

HvErrorType FeatureContainer::FromHandle(HvHandle handle, FeatureContainerPtr& container)
{
    auto found = Internal::LookUpHandle(handle);
    if (!found)
        return HvErrorBadHandle;
    container = std::move(found);
    return HvErrorSuccess;
}

} // namespace Hvx
