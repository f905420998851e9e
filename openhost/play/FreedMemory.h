// What becomes of memory that is given back.
#pragma once

namespace openhost {

/// Keeps up to 32 MiB of freed memory for the next use. To get a page from the system costs more than to fill it: the
/// body of an upload may be 10 MiB long and stands in memory twice, in the module and in its request. False when the
/// allocator of the process cannot be told so.
bool KeepFreedMemory();

} // namespace openhost
