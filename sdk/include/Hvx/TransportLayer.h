#ifndef HVX_TRANSPORTLAYER_H
#define HVX_TRANSPORTLAYER_H

#include "HvExport.h"
#include "HvTypes.h"
#include "Hvx/SharedPointers.h"

namespace Hvx {

// One loaded transport-layer module. Texts are read in two calls as
// described for Camera; they stay readable after shutdown.
class HVX_API TransportLayer
{
public:
    explicit TransportLayer(std::shared_ptr<Internal::TransportLayerState> state);
    ~TransportLayer();
    TransportLayer(const TransportLayer&) = delete;
    TransportLayer& operator=(const TransportLayer&) = delete;

    // Short ID, the prefix of the extended camera IDs.
    HvErrorType GetID(char* id, unsigned int& length) const;
    HvErrorType GetName(char* name, unsigned int& length) const;
    HvErrorType GetVersion(char* version, unsigned int& length) const;
    // Real (symbolic links resolved) file path of the module.
    HvErrorType GetPath(char* path, unsigned int& length) const;
    HvErrorType GetType(HvTransportLayerType& type) const;

private:
    std::shared_ptr<Internal::TransportLayerState> m_state;
};

} // namespace Hvx

#endif
