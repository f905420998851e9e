#include "openhost/loop/Interruption.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <system_error>

#include <sys/eventfd.h>
#include <unistd.h>

namespace openhost {

namespace {

std::atomic<int> arrived = 0;
std::atomic<int> descriptor = -1;
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler uses it");

void Arrive(int signal)
{
    const int error = errno;
    arrived = signal;
    const std::uint64_t one = 1;
    // It wakes the loop; one that does not wait sees the signal itself.
    [[maybe_unused]] const ssize_t written = write(descriptor, &one, sizeof(one));
    errno = error;
}

} // namespace

void Interruption::Catch()
{
    if (descriptor < 0)
        descriptor = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    struct sigaction action {};
    action.sa_handler = Arrive;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
    sigemptyset(&action.sa_mask);
    if (descriptor < 0)
        throw std::system_error(errno, std::generic_category(), "signals cannot be caught");
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        // What was started to outlive its terminal goes on.
        struct sigaction before {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN)
            continue;
        if (sigaction(signal, &action, nullptr) != 0)
            throw std::system_error(errno, std::generic_category(), "signals cannot be caught");
    }
    // A reader that has gone, of a pipe or at the other end of a connection, is an error of the write.
    std::signal(SIGPIPE, SIG_IGN);
}

int Interruption::Signal()
{
    return arrived;
}

int Interruption::Take()
{
    return arrived.exchange(0);
}

int Interruption::Descriptor()
{
    return descriptor;
}

void Interruption::Drain()
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = read(descriptor, &count, sizeof(count));
}

} // namespace openhost
