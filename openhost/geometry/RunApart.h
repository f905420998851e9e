// Work on bytes that nobody vouches for, in a process of its own: the solid kernel may crash on a damaged boundary
// representation, or never come to an end.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace openhost {

/// What a process of RunApart may take.
struct ApartLimits {
    unsigned int seconds = 60;                     ///< of the processor
    std::size_t memory = std::size_t{4} << 30;     ///< bytes beyond those of this process
    std::size_t resultSize = std::size_t{1} << 30; ///< bytes
};

/// What `work` returns, which runs in a copy of this process: nothing else that it does is seen here. Throws
/// std::runtime_error with the text of what `work` throws, or when the copy crashes, passes a limit or cannot be made.
std::string RunApart(const std::function<std::string()>& work, const ApartLimits& limits = {});

} // namespace openhost
