#include "Text.h"

#include <cstring>

namespace Hvx {
namespace Internal {

HvErrorType CopyText(const std::string& text, char* buffer, unsigned int& length)
{
    const auto needed = static_cast<unsigned int>(text.size());
    if (buffer == nullptr) {
        length = needed;
        return HvErrorSuccess;
    }
    if (length < needed) {
        length = needed;
        return HvErrorMoreData;
    }
    std::memcpy(buffer, text.data(), text.size());
    buffer[text.size()] = '\0';
    length = needed;
    return HvErrorSuccess;
}

} // namespace Internal
} // namespace Hvx
