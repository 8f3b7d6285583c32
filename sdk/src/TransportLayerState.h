#ifndef HVX_INTERNAL_TRANSPORTLAYERSTATE_H
#define HVX_INTERNAL_TRANSPORTLAYERSTATE_H

#include "HvTypes.h"

#include <string>

namespace Hvx {
namespace Internal {

// What a TransportLayer object tells; copied at load so that it stays
// readable after the module is unloaded.
struct TransportLayerState
{
    std::string id;
    std::string name;
    std::string version;
    std::string path;
    HvTransportLayerType type = HvTransportLayerTypeUnknown;
};

} // namespace Internal
} // namespace Hvx

#endif
