#include "Hvx/Stream.h"

#include "FeatureSource.h"
#include "Text.h"

namespace Hvx {

Stream::Stream(std::shared_ptr<Internal::FeatureSource> source, unsigned int index, const char* id)
    : FeatureContainer(std::move(source)), m_index(index), m_id(id != nullptr ? id : "")
{
}

Stream::~Stream() = default;

HvErrorType Stream::GetID(char* id, unsigned int& length) const
{
    return Internal::CopyText(m_id, id, length);
}

HvErrorType Stream::GetIndex(unsigned int& index) const
{
    index = m_index;
    return HvErrorSuccess;
}

} // namespace Hvx
