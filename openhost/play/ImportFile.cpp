#include "openhost/play/ImportFile.h"

#include "openhost/files/Descriptor.h"
#include "openhost/loop/Interruption.h"

#include <cerrno>
#include <cstdint>
#include <iostream>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace openhost {

namespace {

/// Calls a function, on a thread of its own, once a signal has come that is to end the program.
class InterruptionWatch {
public:
    explicit InterruptionWatch(std::function<void()> interrupt) : end_(eventfd(0, EFD_CLOEXEC))
    {
        if (!end_)
            throw std::system_error(errno, std::generic_category(), "signals cannot be waited for");
        Interruption::Catch();
        thread_ = std::thread([this, interrupt = std::move(interrupt)] { Wait(interrupt); });
    }
    InterruptionWatch(const InterruptionWatch&) = delete;
    InterruptionWatch& operator=(const InterruptionWatch&) = delete;
    ~InterruptionWatch()
    {
        const std::uint64_t one = 1;
        [[maybe_unused]] const ssize_t written = write(end_.Number(), &one, sizeof(one));
        thread_.join();
    }

private:
    void Wait(const std::function<void()>& interrupt) const
    {
        pollfd entries[] = {{Interruption::Descriptor(), POLLIN, 0}, {end_.Number(), POLLIN, 0}};
        while (poll(entries, 2, -1) < 0 && errno == EINTR) {
        }
        if (entries[0].revents != 0)
            interrupt();
    }

    Descriptor end_; ///< readable when there is nothing more to wait for
    std::thread thread_;
};

/// How far it is, in one line of a terminal.
class ProgressLine {
public:
    ~ProgressLine() { Clear(); }

    void Tell(int percent)
    {
        if (isatty(STDERR_FILENO) != 1)
            return;
        std::cerr << '\r' << percent << " %" << std::flush;
        isShown_ = true;
    }
    void Clear()
    {
        if (std::exchange(isShown_, false))
            std::cerr << "\r\033[K" << std::flush;
    }

private:
    bool isShown_ = false;
};

} // namespace

int ImportFile(const ImportArguments& arguments, const GeometryJobLimits& limits,
               const std::function<void(const std::string& line)>& warn)
{
    DocumentConverter converter(limits);
    const InterruptionWatch watch([&] { converter.Interrupt(); });
    ProgressLine progress;
    std::filesystem::path root;
    try {
        root = converter.ImportStep(
            arguments.file, arguments.folder, arguments.replace ? ReplaceFiles::Yes : ReplaceFiles::No,
            [&](const std::string& line) {
                progress.Clear();
                warn(line);
            },
            [&](int percent) { progress.Tell(percent); });
    } catch (const GeometryJobError&) {
        if (Interruption::Signal() == 0)
            throw;
        progress.Clear();
        std::cerr << "openhost: " << arguments.file << ": the import was interrupted; nothing is written\n";
        return 128 + Interruption::Signal();
    }
    progress.Clear();
    std::cout << root.string() << "\n";
    return 0;
}

} // namespace openhost
