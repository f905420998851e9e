// The end of the program that works for a host.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

namespace openhost {

/// The result of the job `kind` on `bytes`. Exceptions are refusals with their text as the reason.
using JobWork = std::function<std::string(char kind, std::string bytes)>;

/// Most bytes of memory that jobs take, beyond those of the program at its start.
inline constexpr std::size_t MaximumJobMemory = std::size_t{4} << 30;

/// Answers the jobs that come on standard input, a socket, until the host closes it. The process ends with the thread
/// of the host that has started it, even inside a job.
void AnswerJobs(const JobWork& work, std::size_t memory = MaximumJobMemory);

/// Tells the host how far the job that runs is, before its result.
void TellProgress(const std::string& progress);

} // namespace openhost
