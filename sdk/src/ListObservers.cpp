#include "Hvx/ICameraListObserver.h"
#include "Hvx/IInterfaceListObserver.h"

namespace Hvx {

// Out of line so that the type information of the observer interfaces has
// one home, in the library, for programs deriving from them.
ICameraListObserver::~ICameraListObserver() = default;
IInterfaceListObserver::~IInterfaceListObserver() = default;

} // namespace Hvx
