#include "openhost/play/FreedMemory.h"

#include <malloc.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <memory>

namespace openhost {

namespace {

constexpr int Mebibyte = 1 << 20;
/// A larger block comes from the system, and goes back there at once.
constexpr int MaximumKept = 16 * Mebibyte;
constexpr int KeptInAll = 32 * Mebibyte;
/// What the heap grows by first. Given back it is still less than is kept in all.
constexpr std::size_t FirstGrowth = std::size_t{30} * Mebibyte;

/// Lets what the heap grows by first come in large pages. None of it is touched here, so none is taken until it is
/// used.
void PreferLargePages()
{
    void* const block = std::malloc(FirstGrowth);
    if (!block)
        return;
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    void* begin = block;
    std::size_t room = FirstGrowth;
    if (std::align(page, FirstGrowth - page, begin, room))
        madvise(begin, FirstGrowth - page, MADV_HUGEPAGE); // a system without them refuses
    std::free(block);
}

} // namespace

bool KeepFreedMemory()
{
    // The first of these thresholds lets the block below come from the heap.
    if (mallopt(M_TRIM_THRESHOLD, KeptInAll) != 1 || mallopt(M_MMAP_THRESHOLD, KeptInAll) != 1)
        return false;
    PreferLargePages();
    return mallopt(M_MMAP_THRESHOLD, MaximumKept) == 1;
}

} // namespace openhost
