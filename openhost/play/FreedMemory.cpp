#include "openhost/play/FreedMemory.h"

#include <malloc.h>

namespace openhost {

namespace {
constexpr int Mebibyte = 1 << 20;
/// A larger block comes from the system, and goes back there at once.
constexpr int MaximumKept = 16 * Mebibyte;
constexpr int KeptInAll = 32 * Mebibyte;
} // namespace

bool KeepFreedMemory()
{
    return mallopt(M_MMAP_THRESHOLD, MaximumKept) == 1 && mallopt(M_TRIM_THRESHOLD, KeptInAll) == 1;
}

} // namespace openhost
