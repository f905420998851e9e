#include "openhost/geometry/RunApart.h"

#include "openhost/files/Descriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace openhost {

namespace {

// First byte of an answer.
constexpr char Returned = 'r';
constexpr char Thrown = 't';

void Limit(const ApartLimits& limits)
{
    const auto set = [](auto resource, rlim_t value) {
        const rlimit limit{value, value};
        setrlimit(resource, &limit);
    };
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    set(RLIMIT_AS, pages * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) + limits.memory);
    // The signal of the soft limit tells why; the hard one kills.
    const rlimit time{limits.seconds, limits.seconds + 5};
    setrlimit(RLIMIT_CPU, &time);
    set(RLIMIT_CORE, 0);
}

void Send(int descriptor, std::string_view bytes)
{
    while (!bytes.empty()) {
        const ssize_t done = write(descriptor, bytes.data(), bytes.size());
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0)
            return;
        bytes.remove_prefix(static_cast<std::size_t>(done));
    }
}

/// The copy: answers and ends without any of the endings of this process.
[[noreturn]] void Answer(int descriptor, const std::function<std::string()>& work, const ApartLimits& limits)
{
    // A crash is not for handlers of this process.
    for (const int crash : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGXCPU})
        std::signal(crash, SIG_DFL);
    Limit(limits);
    std::string answer;
    try {
        answer = Returned + work();
    } catch (const std::exception& error) {
        answer = Thrown + std::string(error.what());
    } catch (...) {
        _exit(1);
    }
    Send(descriptor, answer);
    _exit(0);
}

/// Everything up to the end, or a byte more than `limit`.
std::string Receive(int descriptor, std::size_t limit)
{
    std::string bytes;
    std::array<char, 1 << 16> piece{};
    while (bytes.size() <= limit) {
        const ssize_t count = read(descriptor, piece.data(), piece.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            break;
        bytes.append(piece.data(), static_cast<std::size_t>(count));
    }
    return bytes;
}

} // namespace

std::string RunApart(const std::function<std::string()>& work, const ApartLimits& limits)
{
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::system_error(errno, std::generic_category(), "no pipe to a process");
    const Descriptor reader(ends[0]);
    Descriptor writer(ends[1]);
    const pid_t process = fork();
    if (process < 0)
        throw std::system_error(errno, std::generic_category(), "no process");
    if (process == 0)
        Answer(writer.Number(), work, limits);

    writer = Descriptor();
    std::string answer = Receive(reader.Number(), limits.resultSize + 1);
    const bool isTooLong = answer.size() > limits.resultSize + 1;
    if (isTooLong)
        kill(process, SIGKILL);
    int status = 0;
    while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
    }
    if (isTooLong)
        throw std::runtime_error("the result is too large");
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU)
        throw std::runtime_error("it takes too long");
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0 || answer.empty())
        throw std::runtime_error("the solid kernel has crashed");
    const char kind = answer.front();
    answer.erase(0, 1);
    if (kind == Thrown)
        throw std::runtime_error(answer);
    return answer;
}

} // namespace openhost
