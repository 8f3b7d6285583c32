#include "SimFeature.h"

namespace hvsim {

const EnumEntry* SimFeature::entryByName(const std::string& n) const
{
    for (const auto& e : entries)
        if (e.name == n)
            return &e;
    return nullptr;
}

const EnumEntry* SimFeature::entryByValue(int64_t v) const
{
    for (const auto& e : entries)
        if (e.value == v)
            return &e;
    return nullptr;
}

} // namespace hvsim
