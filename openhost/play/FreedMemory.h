// What becomes of memory that is given back.
#pragma once

namespace openhost {

/// Keeps up to 32 MiB of freed memory for the next use, and takes the first 30 MiB from the system in large pages where
/// it has some. To get a page from the system costs more than to fill it: the body of an upload may be 10 MiB long and
/// stands in memory twice, in the module and in its request. False when the allocator of the process cannot be told so.
/// To be called at the beginning of a process.
bool KeepFreedMemory();

} // namespace openhost
