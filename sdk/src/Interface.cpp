#include "Hvx/Interface.h"

#include "InterfaceState.h"
#include "SystemImpl.h"
#include "Text.h"

namespace Hvx {

Interface::Interface(std::shared_ptr<Internal::InterfaceState> state)
    : FeatureContainer(std::make_shared<Internal::InterfaceFeatureSource>(state)),
      m_state(std::move(state))
{
}

Interface::~Interface() = default;

HvErrorType Interface::GetID(char* id, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().id, id, length);
}

HvErrorType Interface::GetName(char* name, unsigned int& length) const
{
    return Internal::CopyText(m_state->Info().name, name, length);
}

HvErrorType Interface::GetType(HvTransportLayerType& type) const
{
    type = m_state->Info().type;
    return HvErrorSuccess;
}

HvErrorType Interface::GetTransportLayer(TransportLayerPtr& transportLayer) const
{
    transportLayer = m_state->module->object;
    return HvErrorSuccess;
}

} // namespace Hvx
