#include "openhost/geometry_process/AnswerJobs.h"

#include "openhost/geometry_process/JobMessage.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <new>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace openhost {

namespace {

constexpr int Socket = STDIN_FILENO;

/// Bounds the memory. A crash is told by the host, and leaves no core.
void LimitProcess(std::size_t memory)
{
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlim_t size = pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + memory;
    const rlimit space{size, size};
    setrlimit(RLIMIT_AS, &space);
    const rlimit core{0, 0};
    setrlimit(RLIMIT_CORE, &core);
}

/// A host that ends after the first line signals; one that was gone before has closed its end of the socket.
void EndWithHost()
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    pollfd entry{Socket, 0, 0};
    if (poll(&entry, 1, 0) != 0)
        std::exit(EXIT_SUCCESS);
}

} // namespace

void AnswerJobs(const JobWork& work, std::size_t memory)
{
    EndWithHost();
    LimitProcess(memory);
    try {
        for (;;) {
            JobMessage job = ReceiveJobMessage(Socket, std::numeric_limits<std::size_t>::max());
            JobMessage answer;
            try {
                answer = {JobReturned, work(job.kind, std::move(job.bytes))};
            } catch (const std::bad_alloc&) {
                answer = {JobRefused, "it takes too much memory"};
            } catch (const std::exception& error) {
                answer = {JobRefused, error.what()};
            }
            SendJobMessage(Socket, answer.kind, answer.bytes);
        }
    } catch (const JobPartnerGone&) {
        return;
    }
}

void TellProgress(const std::string& progress)
{
    SendJobMessage(Socket, JobProgress, progress);
}

} // namespace openhost
