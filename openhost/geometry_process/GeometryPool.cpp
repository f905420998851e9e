#include "openhost/geometry_process/GeometryPool.h"

#include <algorithm>
#include <exception>

namespace openhost {

namespace {

constexpr unsigned int MaximumWorkers = 4;

} // namespace

GeometryPool::GeometryPool(std::filesystem::path program, const GeometryJobLimits& limits)
    : program_(std::move(program)), limits_(limits), own_(program_, limits)
{
}

GeometryPool::~GeometryPool()
{
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        for (const auto& worker : workers_)
            worker->process.Interrupt();
    }
    changed_.notify_all();
    for (const auto& worker : workers_)
        worker->thread.join();
}

std::size_t GeometryPool::MostWorkers()
{
    // Asking the system reads a file.
    static const std::size_t workers = std::clamp(std::thread::hardware_concurrency(), 1U, MaximumWorkers);
    return workers;
}

void GeometryPool::Drop(const void* owner)
{
    const std::lock_guard lock(mutex_);
    std::erase_if(waiting_, [owner](const Task& task) { return task.owner == owner; });
    for (const auto& worker : workers_)
        if (worker->owner == owner)
            worker->process.Interrupt();
}

void GeometryPool::Add(Task task)
{
    std::unique_lock lock(mutex_);
    const auto idle = std::ranges::count(workers_, nullptr, [](const auto& worker) { return worker->owner; });
    if (static_cast<std::size_t>(idle) <= waiting_.size() && workers_.size() < MostWorkers()) {
        try {
            AddWorker();
        } catch (const std::exception&) {
            // Those that are there do it; or this one, when there are none.
        }
    }
    if (workers_.empty()) {
        lock.unlock();
        task.work(own_);
        return;
    }
    waiting_.push_back(std::move(task));
    changed_.notify_one();
}

void GeometryPool::AddWorker()
{
    workers_.push_back(std::make_unique<Worker>(program_, limits_));
    try {
        Worker& worker = *workers_.back();
        worker.thread = std::thread([this, &worker] { Work(worker); });
    } catch (...) {
        workers_.pop_back();
        throw;
    }
}

void GeometryPool::Work(Worker& worker) noexcept
{
    std::unique_lock lock(mutex_);
    for (;;) {
        changed_.wait(lock, [this] { return isEnding_ || !waiting_.empty(); });
        if (isEnding_)
            return;
        {
            const Task task = std::move(waiting_.front());
            waiting_.pop_front();
            worker.owner = task.owner;
            worker.process.Resume();
            lock.unlock();
            task.work(worker.process);
        }
        lock.lock();
        worker.owner = nullptr;
    }
}

} // namespace openhost
