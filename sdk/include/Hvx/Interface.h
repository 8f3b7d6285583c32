#ifndef HVX_INTERFACE_H
#define HVX_INTERFACE_H

#include "HvExport.h"
#include "HvTypes.h"
#include "Hvx/FeatureContainer.h"
#include "Hvx/SharedPointers.h"

namespace Hvx {

// A host interface of a transport layer (a network card, a USB controller).
// Texts are read in two calls as described for Camera.
class HVX_API Interface : public FeatureContainer
{
public:
    explicit Interface(std::shared_ptr<Internal::InterfaceState> state);
    ~Interface() override;

    HvErrorType GetID(char* id, unsigned int& length) const;
    HvErrorType GetName(char* name, unsigned int& length) const;
    HvErrorType GetType(HvTransportLayerType& type) const;
    HvErrorType GetTransportLayer(TransportLayerPtr& transportLayer) const;

private:
    std::shared_ptr<Internal::InterfaceState> m_state;
};

} // namespace Hvx

#endif
