// The program of the tests, its processes, and where they meet.
#pragma once

#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Places.h"

#include <csignal>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace openhost::testing {

inline const std::filesystem::path Program = BuildDir() + "/bin/test_geometry_program";

/// A descriptor of any process.
inline int OpenProcess(pid_t process)
{
    return static_cast<int>(syscall(SYS_pidfd_open, process, 0));
}

/// Waits for the end of any process, also of one that has another father. One that does not end by itself is killed.
inline bool Ends(int processDescriptor)
{
    pollfd entry{processDescriptor, POLLIN, 0};
    const bool ended = poll(&entry, 1, 20'000) == 1;
    if (!ended)
        syscall(SYS_pidfd_send_signal, processDescriptor, SIGKILL, nullptr, 0);
    return ended;
}

/// Where a job and a test wait for each other.
class MeetingPlace {
public:
    MeetingPlace()
    {
        for (const std::filesystem::path& place : {There(), Back()})
            if (mkfifo(place.c_str(), 0600) != 0)
                throw std::runtime_error("no FIFO");
    }
    std::string Bytes() const { return There().string() + "\n" + Back().string(); }
    /// Waits for the job. Gives its process.
    pid_t Await() const
    {
        pid_t process = 0;
        std::ifstream(There()) >> process;
        return process;
    }
    /// Lets the job go on.
    void Release() const { std::ofstream(Back()) << 'y'; }

private:
    std::filesystem::path There() const { return folder_.Path() / "there"; }
    std::filesystem::path Back() const { return folder_.Path() / "back"; }
    TemporaryFolder folder_;
};

} // namespace openhost::testing
