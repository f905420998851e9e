// Messages between a host and its program of the solid kernel: over a socket, in turns.
#pragma once

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace openhost {

struct JobMessage {
    char kind = 0; ///< of a request a GeometryJob; of an answer one of those below
    std::string bytes;
};

inline constexpr char JobReturned = 'r'; ///< `bytes` are the result
inline constexpr char JobRefused = 'e';  ///< `bytes` are the reason
inline constexpr char JobProgress = 'p'; ///< an answer follows; `bytes` tell how far it is

/// There is nobody at the other end any more.
class JobPartnerGone : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The deadline has passed.
class JobTimeOut : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

using JobClock = std::chrono::steady_clock;
inline constexpr JobClock::time_point NoDeadline = JobClock::time_point::max();

/// Both throw JobPartnerGone or JobTimeOut.
void SendJobMessage(int socket, char kind, std::string_view bytes, JobClock::time_point deadline = NoDeadline);
/// Throws std::runtime_error for a message of more than `limit` bytes.
JobMessage ReceiveJobMessage(int socket, std::size_t limit, JobClock::time_point deadline = NoDeadline);

} // namespace openhost
