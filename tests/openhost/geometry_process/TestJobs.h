// What the program of tests/openhost/geometry_process/program does: all that may happen in a program of the solid
// kernel.
#pragma once

#include "openhost/geometry_process/GeometryJob.h"

#include <cstddef>

namespace openhost::testing {

/// Most memory of the program's jobs.
inline constexpr std::size_t TestJobMemory = std::size_t{256} << 20;

namespace jobs {

inline constexpr GeometryJob Echo{'e'};                  ///< gives its bytes
inline constexpr GeometryJob Process{'p'};               ///< gives the number of its process
inline constexpr GeometryJob Refuse{'r'};                ///< is refused with its bytes as the reason
inline constexpr GeometryJob RefuseOddly{'o'};           ///< throws what is no exception of the library
inline constexpr GeometryJob Signal{'s'};                ///< raises the signal whose number its bytes are
inline constexpr GeometryJob CrashWhenUsed{'u'};         ///< crashes unless it is the first job of its process
inline constexpr GeometryJob Leave{'l'};                 ///< ends its process as if all were well
inline constexpr GeometryJob Spin = GeometryJob::Export; ///< never ends, and keeps the processor busy
inline constexpr GeometryJob Sleep{'i'};                 ///< never ends, and does nothing
inline constexpr GeometryJob TakeMemory{'m'};            ///< takes more than TestJobMemory
inline constexpr GeometryJob ListDescriptors{'d'};       ///< gives the numbers of its open files, one a line
inline constexpr GeometryJob Tell{'g'};                  ///< tells its bytes twice
inline constexpr GeometryJob Talk{'t'};                  ///< writes on standard output and standard error
/// Takes two FIFOs, one a line: writes the number of its process into one and waits for a byte from the other.
inline constexpr GeometryJob Meet{'w'};

} // namespace jobs

} // namespace openhost::testing
