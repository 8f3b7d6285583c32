#ifndef HVX_IINTERFACELISTOBSERVER_H
#define HVX_IINTERFACELISTOBSERVER_H

#include "HvExport.h"
#include "Hvx/SharedPointers.h"
#include "Hvx/UpdateTriggerType.h"

namespace Hvx {

// Told about interfaces arriving (reason 0) and leaving (1), on the same
// notification thread and with the same guarantees as ICameraListObserver.
class HVX_API IInterfaceListObserver
{
public:
    virtual ~IInterfaceListObserver();
    virtual void InterfaceListChanged(InterfacePtr interface, UpdateTriggerType reason) = 0;
};

} // namespace Hvx

#endif
