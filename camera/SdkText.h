#pragma once

#include <HvTypes.h>

#include <QString>

#include <vector>

// Reads an SDK text by its two-call protocol: first the length (characters
// without the NUL), then the characters into a buffer one byte longer. The
// SDK's texts are UTF-8. `read` is called as read(char* buffer, unsigned int&
// length) and returns the SDK result.
template <typename Read> HvErrorType ReadSdkText(Read read, QString& text)
{
    unsigned int length = 0;
    HvErrorType result = read(nullptr, length);
    if (result != HvErrorSuccess)
        return result;
    std::vector<char> buffer(size_t(length) + 1, '\0');
    result = read(buffer.data(), length);
    if (result != HvErrorSuccess)
        return result;
    text = QString::fromUtf8(buffer.data(), int(length));
    return HvErrorSuccess;
}
