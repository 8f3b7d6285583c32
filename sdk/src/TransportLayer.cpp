#include "Hvx/TransportLayer.h"

#include "Text.h"
#include "TransportLayerState.h"

namespace Hvx {

TransportLayer::TransportLayer(std::shared_ptr<Internal::TransportLayerState> state)
    : m_state(std::move(state))
{
}

TransportLayer::~TransportLayer() = default;

HvErrorType TransportLayer::GetID(char* id, unsigned int& length) const
{
    return Internal::CopyText(m_state->id, id, length);
}

HvErrorType TransportLayer::GetName(char* name, unsigned int& length) const
{
    return Internal::CopyText(m_state->name, name, length);
}

HvErrorType TransportLayer::GetVersion(char* version, unsigned int& length) const
{
    return Internal::CopyText(m_state->version, version, length);
}

HvErrorType TransportLayer::GetPath(char* path, unsigned int& length) const
{
    return Internal::CopyText(m_state->path, path, length);
}

HvErrorType TransportLayer::GetType(HvTransportLayerType& type) const
{
    type = m_state->type;
    return HvErrorSuccess;
}

} // namespace Hvx
