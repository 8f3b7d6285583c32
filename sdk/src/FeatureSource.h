#ifndef HVX_INTERNAL_FEATURESOURCE_H
#define HVX_INTERNAL_FEATURESOURCE_H

#include "HvTypes.h"
#include "Hvx/TransportLayerModule.h"

#include <functional>

namespace Hvx {
namespace Internal {

// Where a container's features live right now. Use() checks that the SDK
// session and the owner (open camera, loaded module) are still there, takes
// the owner's lock so that calls on one device are serialised, and runs the
// body on the feature map. writeAllowed is false for a camera opened
// read-only.
class FeatureSource
{
public:
    using Body = std::function<HvErrorType(Tl::IFeatureMap& map, bool writeAllowed)>;

    virtual ~FeatureSource() = default;
    virtual HvErrorType Use(const Body& body) = 0;
};

} // namespace Internal
} // namespace Hvx

#endif
