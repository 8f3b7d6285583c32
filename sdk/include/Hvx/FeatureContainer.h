#ifndef HVX_FEATURECONTAINER_H
#define HVX_FEATURECONTAINER_H

#include "HvExport.h"
#include "HvTypes.h"
#include "Hvx/SharedPointers.h"

#include <memory>

namespace Hvx {

// Something that has features: a Camera (features usable while it is open),
// a Stream, or an Interface. Names are case-sensitive.
class HVX_API FeatureContainer : public std::enable_shared_from_this<FeatureContainer>
{
public:
    virtual ~FeatureContainer();
    FeatureContainer(const FeatureContainer&) = delete;
    FeatureContainer& operator=(const FeatureContainer&) = delete;

    // HvErrorNotFound for an unknown name; HvErrorDeviceNotOpen on a closed camera.
    HvErrorType GetFeatureByName(const char* name, FeaturePtr& feature);
    // All features, count-then-array as HvSystem::GetCameras.
    HvErrorType GetFeatures(FeaturePtr* features, unsigned int& count);

    // Raw handle of this container for the flat API (HvcApi.h). It stays the
    // same for the object's life and is never reused for another object.
    HvHandle GetHandle();
    // The object behind a handle, or HvErrorBadHandle.
    static HvErrorType FromHandle(HvHandle handle, FeatureContainerPtr& container);

protected:
    explicit FeatureContainer(std::shared_ptr<Internal::FeatureSource> source);

private:
    std::shared_ptr<Internal::FeatureSource> m_source;
    HvHandle m_handle;
};

} // namespace Hvx

#endif
