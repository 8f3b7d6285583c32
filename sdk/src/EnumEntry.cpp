#include "Hvx/EnumEntry.h"

#include "Text.h"

namespace Hvx {

EnumEntry::EnumEntry() : m_value(0) {}

EnumEntry::EnumEntry(const char* name, int64_t value)
    : m_name(name != nullptr ? name : ""), m_value(value)
{
}

HvErrorType EnumEntry::GetName(char* name, unsigned int& length) const
{
    return Internal::CopyText(m_name, name, length);
}

HvErrorType EnumEntry::GetValue(int64_t& value) const
{
    value = m_value;
    return HvErrorSuccess;
}

} // namespace Hvx
