#pragma once

#include <cstddef>
#include <memory>
#include <new>

// Allocation of the multi-megabyte per-pixel buffers. A fresh buffer is
// paid for page by page on first touch; on Linux these buffers ask for huge
// pages, which turns some ten thousand page faults per map into a handful.
namespace NucLargeBuffer {

// Marks the whole pages inside [data, data + bytes) for huge pages where the
// system supports it and they are wanted; nothing otherwise. Only a hint:
// contents are unchanged.
void adviseHugePages(void* data, std::size_t bytes);

// Whether adviseHugePages asks for them (it does unless told otherwise). Huge
// pages pay off in a process that reuses its memory, like the assistant. A
// short run whose buffers are all fresh may get them from memory the
// hypervisor has reclaimed, where each costs more than the small pages it
// replaces: on the 2-core virtual machine the benchmarks ran on, orvex-nuc
// generate spent 0.2 to 0.4 s in the kernel with them and about 0.1 s without.
void setHugePagesWanted(bool wanted);

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

// Bytes the allocation behind data really holds (at least what was asked
// for), or 0 where the C library cannot tell.
std::size_t capacityOf(const void* data);

// Leaves buffer as it is when its allocation already holds count elements
// (their contents are then stale), otherwise releases it and allocates
// count uninitialised ones. A map made again and again reuses its memory
// instead of paying for fresh pages each time. False when allocating fails
// (buffer is then null).
template <typename T> bool reuseOrAllocate(std::unique_ptr<T[]>& buffer, std::size_t count)
{
    if (buffer && capacityOf(buffer.get()) >= count * sizeof(T))
        return true;
    buffer.reset();
    buffer.reset(allocate<T>(count, false));
    return bool(buffer);
}

} // namespace NucLargeBuffer
