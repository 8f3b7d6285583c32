#ifndef HVX_INTERNAL_HANDLEREGISTRY_H
#define HVX_INTERNAL_HANDLEREGISTRY_H

#include "HvTypes.h"
#include "Hvx/SharedPointers.h"

namespace Hvx {
namespace Internal {

// Raw handles of the flat API. A handle is a number, never an address, so
// a stale handle can be recognised instead of being dereferenced, and no
// handle is ever given to two objects.
HvHandle NewHandle();
void RegisterHandle(HvHandle handle, const FeatureContainerPtr& container);
void ForgetHandle(HvHandle handle);
FeatureContainerPtr LookUpHandle(HvHandle handle);

} // namespace Internal
} // namespace Hvx

#endif
