#include "NucLargeBuffer.h"

#include <atomic>
#include <cstdint>

#if defined(__linux__)
#include <sys/mman.h>
#include <unistd.h>
#endif
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace NucLargeBuffer {

namespace {
std::atomic<bool> hugePagesWanted{true};
}

void setHugePagesWanted(bool wanted)
{
    hugePagesWanted = wanted;
}

void adviseHugePages(void* data, std::size_t bytes)
{
#if defined(__linux__) && defined(MADV_HUGEPAGE)
    // Below a few huge pages the hint buys nothing.
    constexpr std::size_t hugePage = std::size_t(2) << 20;
    if (!data || bytes < 4 * hugePage || !hugePagesWanted)
        return;
    const std::uintptr_t page = std::uintptr_t(sysconf(_SC_PAGESIZE));
    const std::uintptr_t begin = (std::uintptr_t(data) + page - 1) & ~(page - 1);
    const std::uintptr_t end = (std::uintptr_t(data) + bytes) & ~(page - 1);
    if (end > begin)
        madvise(reinterpret_cast<void*>(begin), end - begin, MADV_HUGEPAGE);
#else
    (void)data;
    (void)bytes;
#endif
}

std::size_t capacityOf(const void* data)
{
#if defined(__GLIBC__)
    // new[] of a trivially destructible type hands out the block operator new
    // got from malloc, without a cookie in front of it.
    return data ? malloc_usable_size(const_cast<void*>(data)) : 0;
#else
    (void)data;
    return 0;
#endif
}

} // namespace NucLargeBuffer
