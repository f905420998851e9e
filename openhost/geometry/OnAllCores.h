// Work that is done on all cores.
#pragma once

#include <cstddef>
#include <functional>

namespace openhost {

/// Calls `work` once for each number below `count`, on as many threads as there are cores, this one among them. Calls
/// may run at the same time, and may call this again: all such calls together have a bounded number of threads. All
/// have ended when it returns; of what they have thrown, it throws that of the lowest number.
void OnAllCores(std::size_t count, const std::function<void(std::size_t number)>& work);

} // namespace openhost
