#include "openhost/geometry_process/GeometryProcess.h"

#include "openhost/geometry_process/JobMessage.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace openhost {

namespace {

/// Starts `program` with `input` as its standard input, nothing for what it writes, and no other file of this process.
/// Gives an error of the system, or 0.
int Spawn(const std::filesystem::path& program, int input, pid_t& process)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    // The kernel tells on both what it thinks of a shape: where a journal may go, and to a user whom it tells nothing.
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);

    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK);

    std::string name = program.string();
    char* arguments[] = {name.data(), nullptr};
    const int error = posix_spawn(&process, name.c_str(), &actions, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

} // namespace

std::filesystem::path FindProgramBeside(const char* name)
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path() / name;
}

GeometryProcess::GeometryProcess(std::filesystem::path program, const GeometryJobLimits& limits)
    : program_(std::move(program)), limits_(limits)
{
}

GeometryProcess::~GeometryProcess()
{
    End();
}

std::string GeometryProcess::Run(GeometryJob job, std::string_view bytes, const Progress& tell)
{
    const bool isFresh = !socket_;
    if (isFresh)
        Start();
    try {
        return Exchange(job, bytes, tell);
    } catch (const JobPartnerGone&) {
        End();
        if (isFresh)
            throw GeometryJobCrash("the solid kernel has crashed");
    } catch (const JobTimeOut& error) {
        End();
        throw GeometryJobTimeOut(error.what());
    } catch (const std::exception& error) {
        // Whatever the job has left behind goes with the process.
        End();
        throw GeometryJobError(error.what());
    }
    // It may have been ended from outside, or by what an earlier job has left behind: a fresh one will show.
    return Run(job, bytes, tell);
}

void GeometryProcess::Interrupt()
{
    const std::lock_guard lock(mutex_);
    isInterrupted_ = true;
    if (socket_)
        shutdown(socket_.Number(), SHUT_RDWR);
}

void GeometryProcess::Resume()
{
    const std::lock_guard lock(mutex_);
    isInterrupted_ = false;
}

std::string GeometryProcess::Exchange(GeometryJob job, std::string_view bytes, const Progress& tell)
{
    const JobClock::time_point deadline = JobClock::now() + limits_.time;
    SendJobMessage(socket_.Number(), static_cast<char>(job), bytes, deadline);
    JobMessage answer = ReceiveJobMessage(socket_.Number(), limits_.resultSize, deadline);
    for (; answer.kind == JobProgress; answer = ReceiveJobMessage(socket_.Number(), limits_.resultSize, deadline))
        if (tell)
            tell(answer.bytes);
    if (answer.kind != JobReturned)
        throw GeometryJobError(answer.bytes);
    return std::move(answer.bytes);
}

void GeometryProcess::Start()
{
    const std::lock_guard lock(mutex_);
    if (isInterrupted_)
        throw GeometryJobError("it is no longer wanted");
    std::array<int, 2> ends{};
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw GeometryJobError("no socket to a process: " + std::generic_category().message(errno));
    Descriptor ours(ends[0]);
    const Descriptor theirs(ends[1]);
    if (const int error = Spawn(program_, theirs.Number(), process_); error != 0)
        throw GeometryJobError(program_.string() + ": " + std::generic_category().message(error));
    socket_ = std::move(ours);
}

void GeometryProcess::End()
{
    if (!socket_)
        return;
    {
        const std::lock_guard lock(mutex_);
        socket_ = Descriptor();
    }
    kill(process_, SIGKILL);
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

} // namespace openhost
