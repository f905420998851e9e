// The process in which geometry is worked on. Nobody vouches for the bytes of a downloaded document, and the solid
// kernel may crash on a damaged boundary representation or never come to an end: so it is no part of the host, which
// hands it bytes and takes bytes back.
#pragma once

#include "openhost/files/Descriptor.h"
#include "openhost/geometry_process/GeometryJob.h"

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <mutex>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/types.h>

namespace openhost {

/// Why a job has no result.
class GeometryJobError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// The program has ended inside it.
class GeometryJobCrash : public GeometryJobError {
public:
    using GeometryJobError::GeometryJobError;
};

/// It has taken too long.
class GeometryJobTimeOut : public GeometryJobError {
public:
    using GeometryJobError::GeometryJobError;
};

/// What a job may take. The program limits its memory itself.
struct GeometryJobLimits {
    std::chrono::milliseconds time{60'000};        ///< of the clock on the wall, as the user waits
    std::size_t resultSize = std::size_t{1} << 30; ///< bytes
};

/// The program `name`, which lies beside that of this process.
std::filesystem::path FindProgramBeside(const char* name);

/// A process of a program of the solid kernel, started for the first job. It serves all jobs, one after the other,
/// until one is refused or ends it; the next job has a fresh one. Used on one thread, with which the process ends at
/// the latest; others may interrupt it.
class GeometryProcess {
public:
    /// `program` calls AnswerJobs.
    explicit GeometryProcess(std::filesystem::path program = FindProgramBeside("openhost-geometry"),
                             const GeometryJobLimits& limits = {});
    GeometryProcess(const GeometryProcess&) = delete;
    GeometryProcess& operator=(const GeometryProcess&) = delete;
    ~GeometryProcess();

    /// Takes what a job tells of how far it is.
    using Progress = std::function<void(const std::string& progress)>;

    /// The result of `job` on `bytes`. Throws GeometryJobError when the job is refused, crashes, passes a limit, or the
    /// program cannot be started.
    std::string Run(GeometryJob job, std::string_view bytes, const Progress& tell = {});
    /// Ends the job that runs, and refuses all that follow until Resume. Both for any thread.
    void Interrupt();
    void Resume();

private:
    void Start();
    void End();
    std::string Exchange(GeometryJob job, std::string_view bytes, const Progress& tell);

    std::filesystem::path program_;
    GeometryJobLimits limits_;
    Descriptor socket_; ///< none while there is no process
    pid_t process_ = 0;
    std::mutex mutex_; ///< of what is below, and of changes of the socket
    bool isInterrupted_ = false;
};

} // namespace openhost
