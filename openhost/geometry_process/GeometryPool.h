// Jobs of geometry beside each other, on all cores.
#pragma once

#include "openhost/geometry_process/GeometryProcess.h"

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <mutex>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace openhost {

/// A process of the solid kernel for the thread of the host, and other threads with one each, made when there is work
/// for them. Used on one thread.
class GeometryPool {
public:
    explicit GeometryPool(std::filesystem::path program = FindProgramBeside("openhost-geometry"),
                          const GeometryJobLimits& limits = {});
    GeometryPool(const GeometryPool&) = delete;
    GeometryPool& operator=(const GeometryPool&) = delete;
    /// Drops everything.
    ~GeometryPool();

    /// The process of the host's thread.
    GeometryProcess& Own() { return own_; }
    /// Most of the other threads.
    static std::size_t MostWorkers();

    /// Has `work` done on one of the other threads, with its process; what was started first is begun first. `owner`
    /// may drop it. The future throws what `work` throws. Does it at once when there can be no thread at all.
    template <class Work>
    auto Start(const void* owner, Work work)
    {
        using Result = std::invoke_result_t<Work, GeometryProcess&>;
        const auto task = std::make_shared<std::packaged_task<Result(GeometryProcess&)>>(std::move(work));
        Add({owner, [task](GeometryProcess& process) { (*task)(process); }});
        return task->get_future();
    }
    /// Forgets what `owner` has started, and ends its jobs. Nobody may wait for it any more.
    void Drop(const void* owner);

private:
    struct Task {
        const void* owner = nullptr;
        std::function<void(GeometryProcess&)> work; ///< throws nothing
    };
    struct Worker {
        Worker(const std::filesystem::path& program, const GeometryJobLimits& limits) : process(program, limits) {}

        GeometryProcess process;
        const void* owner = nullptr; ///< of the task that it is at; null while it waits
        std::thread thread;
    };

    void Add(Task task);
    void AddWorker();
    void Work(Worker& worker) noexcept;

    std::filesystem::path program_;
    GeometryJobLimits limits_;
    GeometryProcess own_;
    std::mutex mutex_; ///< of all below, and of the owners of tasks
    std::condition_variable changed_;
    std::deque<Task> waiting_;
    std::vector<std::unique_ptr<Worker>> workers_;
    bool isEnding_ = false;
};

} // namespace openhost
