#ifndef HVX_ENUMENTRY_H
#define HVX_ENUMENTRY_H

#include "HvExport.h"
#include "HvTypes.h"

#include <cstdint>
#include <string>

namespace Hvx {

// One entry of an enumeration feature, as a value: it stays readable after
// the camera is closed.
class HVX_API EnumEntry
{
public:
    EnumEntry();
    EnumEntry(const char* name, int64_t value);

    // Two-call text: see Feature::GetName.
    HvErrorType GetName(char* name, unsigned int& length) const;
    HvErrorType GetValue(int64_t& value) const;

private:
    std::string m_name;
    int64_t m_value;
};

} // namespace Hvx

#endif
