#pragma once

#include <cstddef>
#include <new>

// Allocation of the multi-megabyte per-pixel buffers. A fresh buffer is
// paid for page by page on first touch; on Linux these buffers ask for huge
// pages, which turns some ten thousand page faults per map into a handful.
namespace NucLargeBuffer {

// Marks the whole pages inside [data, data + bytes) for huge pages where the
// system supports it; nothing otherwise. Only a hint: contents are unchanged.
void adviseHugePages(void* data, std::size_t bytes);

// new T[count] (uninitialised) or, with zeroed, new T[count](); null when the
// allocation fails. Release with delete[] as usual.
template <typename T> T* allocate(std::size_t count, bool zeroed)
{
    T* data = new (std::nothrow) T[count];
    if (!data)
        return nullptr;
    adviseHugePages(data, count * sizeof(T));
    if (zeroed)
        for (std::size_t i = 0; i < count; ++i)
            data[i] = T();
    return data;
}

} // namespace NucLargeBuffer
