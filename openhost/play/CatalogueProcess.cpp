#include "openhost/play/CatalogueProcess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace openhost {

namespace {

constexpr std::string_view Greeting = "listening on ";
constexpr std::size_t MaximumLine = 1000;
/// It reads its items first.
constexpr std::chrono::seconds StartLimit(30);

/// The first line that comes from `descriptor`; what has come of it when it ends or takes too long.
std::string ReadLine(int descriptor)
{
    std::string line;
    const auto end = std::chrono::steady_clock::now() + StartLimit;
    while (line.size() < MaximumLine) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()).count();
        pollfd waiting{.fd = descriptor, .events = POLLIN, .revents = 0};
        const int ready = left > 0 ? poll(&waiting, 1, static_cast<int>(left)) : 0;
        if (ready < 0 && errno == EINTR)
            continue;
        char unit = 0;
        if (ready <= 0 || read(descriptor, &unit, 1) != 1 || unit == '\n')
            break;
        line += unit;
    }
    return line;
}

} // namespace

CatalogueProcess::CatalogueProcess(const std::filesystem::path& program)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe to a catalogue: " + std::generic_category().message(errno));
    output_ = Descriptor(ends[0]);
    Descriptor theirs(ends[1]);
    const std::string name = program.string();
    const pid_t parent = getpid();
    process_ = fork();
    if (process_ < 0)
        throw std::runtime_error("no process for a catalogue: " + std::generic_category().message(errno));
    if (process_ == 0) {
        // It ends with the window, however that ends.
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        if (getppid() == parent && dup2(theirs.Number(), STDOUT_FILENO) >= 0)
            execl(name.c_str(), name.c_str(), "serve", "--port", "0", nullptr);
        _exit(127);
    }
    // Its end is seen only when nobody else holds the pipe open.
    theirs = Descriptor();
    const std::string greeting = ReadLine(output_.Number());
    if (!greeting.starts_with(Greeting)) {
        End();
        throw std::runtime_error(name + ": the catalogue does not start");
    }
    address_ = greeting.substr(Greeting.size());
}

CatalogueProcess::~CatalogueProcess()
{
    End();
}

void CatalogueProcess::End() const
{
    kill(process_, SIGTERM);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace openhost
