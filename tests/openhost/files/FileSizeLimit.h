// A limit on the size of the files that the process writes, which stands for a full disk.
#pragma once

#include <csignal>
#include <stdexcept>

#include <sys/resource.h>

namespace openhost::testing {

/// Writing beyond `size` bytes fails as long as the object lives.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t size)
    {
        struct sigaction ignore = {};
        ignore.sa_handler = SIG_IGN;
        if (sigaction(SIGXFSZ, &ignore, &action_) != 0 || getrlimit(RLIMIT_FSIZE, &limit_) != 0)
            throw std::runtime_error("the system has no limit on the size of files");
        const rlimit small{size, limit_.rlim_max};
        setrlimit(RLIMIT_FSIZE, &small);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;
    ~FileSizeLimit()
    {
        setrlimit(RLIMIT_FSIZE, &limit_);
        sigaction(SIGXFSZ, &action_, nullptr);
    }

private:
    struct sigaction action_ = {};
    rlimit limit_{};
};

} // namespace openhost::testing
