#ifndef HVX_INTERNAL_TEXT_H
#define HVX_INTERNAL_TEXT_H

#include "HvTypes.h"

#include <string>
#include <vector>

namespace Hvx {
namespace Internal {

// The two-call text pattern shared by every text getter of both APIs: a null
// buffer asks for the length (characters, NUL excluded); a buffer must come
// with that length and hold one byte more for the NUL.
HvErrorType CopyText(const std::string& text, char* buffer, unsigned int& length);

// The count-then-array pattern: a null array asks for the count; a short
// array is filled as far as it goes and reported with HvErrorMoreData.
template <typename T>
HvErrorType CopyArray(const std::vector<T>& items, T* array, unsigned int& count)
{
    if (array == nullptr) {
        count = static_cast<unsigned int>(items.size());
        return HvErrorSuccess;
    }
    const bool tooSmall = count < items.size();
    const size_t n = tooSmall ? count : items.size();
    for (size_t i = 0; i < n; ++i)
        array[i] = items[i];
    if (tooSmall)
        return HvErrorMoreData;
    count = static_cast<unsigned int>(n);
    return HvErrorSuccess;
}

} // namespace Internal
} // namespace Hvx

#endif
