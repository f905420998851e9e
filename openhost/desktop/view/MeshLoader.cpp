#include "openhost/desktop/view/MeshLoader.h"

#include "openhost/documents/CadDocument.h"

#include <QMetaObject>
#include <QString>

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <sys/resource.h>
#include <unistd.h>

namespace openhost {

namespace {

constexpr unsigned int MostWorkers = 4;
/// How far the work stands back behind that of the window, whose frames come first.
constexpr int Niceness = 10;

} // namespace

BoundarySource BoundaryOf(std::filesystem::path path)
{
    return [path = std::move(path)] {
        std::optional<DocumentGeometry> geometry = ReadToolGeometry(path, 0);
        if (!geometry)
            throw std::runtime_error("the part has no geometry");
        return ColoredBoundary(geometry->colors, geometry->boundary);
    };
}

BoundarySource BoundaryOf(std::shared_ptr<const std::string> bytes)
{
    return [bytes = std::move(bytes)] { return *bytes; };
}

MeshLoader::MeshLoader(std::filesystem::path program, const GeometryJobLimits& limits)
    : program_(std::move(program)), limits_(limits)
{
}

MeshLoader::~MeshLoader()
{
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        for (const std::unique_ptr<Worker>& worker : workers_)
            if (worker->process)
                worker->process->Interrupt();
    }
    changed_.notify_all();
    for (const std::unique_ptr<Worker>& worker : workers_)
        worker->thread.join();
}

void MeshLoader::Load(const MeshKey& key, BoundarySource source)
{
    const auto [wish, isNew] = wanted_.try_emplace(key, lastJob_ + 1);
    const std::lock_guard lock(mutex_);
    if (!isNew) {
        const auto waiting = std::ranges::find(waiting_, wish->second, &Job::number);
        if (waiting != waiting_.end())
            std::rotate(waiting_.begin(), waiting, waiting + 1);
        return;
    }
    waiting_.push_front({++lastJob_, key, std::move(source)});

    const bool isIdle = std::ranges::any_of(workers_, [](const auto& worker) { return worker->job == 0; });
    const unsigned int most = std::clamp(std::thread::hardware_concurrency(), 1U, MostWorkers);
    if (workers_.size() < most && (!isIdle || waiting_.size() > 1)) {
        Worker& worker = *workers_.emplace_back(std::make_unique<Worker>());
        try {
            worker.thread = std::thread([this, &worker] { Work(worker); });
        } catch (const std::system_error& error) {
            workers_.pop_back();
            if (workers_.empty())
                Report(waiting_.front(), nullptr, error.what());
        }
    }
    changed_.notify_one();
}

void MeshLoader::Drop(const MeshKey& key)
{
    const auto wish = wanted_.find(key);
    if (wish == wanted_.end())
        return;
    const std::size_t job = wish->second;
    wanted_.erase(wish);
    const std::lock_guard lock(mutex_);
    std::erase_if(waiting_, [job](const Job& waiting) { return waiting.number == job; });
    for (const std::unique_ptr<Worker>& worker : workers_)
        if (worker->job == job) {
            worker->isInterrupted = true;
            worker->process->Interrupt();
        }
}

void MeshLoader::DropAll()
{
    while (!wanted_.empty())
        Drop(MeshKey(wanted_.begin()->first));
}

void MeshLoader::Work(Worker& worker)
{
    // Of this thread alone, and of the process that it starts.
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), Niceness);
    std::unique_lock lock(mutex_);
    for (;;) {
        worker.job = 0;
        changed_.wait(lock, [this] { return isEnding_ || !waiting_.empty(); });
        if (isEnding_)
            break;
        if (!worker.process || std::exchange(worker.isInterrupted, false))
            worker.process = std::make_unique<GeometryProcess>(program_, limits_);
        const Job job = std::move(waiting_.front());
        waiting_.pop_front();
        worker.job = job.number;
        lock.unlock();

        std::shared_ptr<const ShownMesh> mesh;
        std::string reason;
        try {
            const std::string bytes = worker.process->Run(GeometryJob::View, job.source());
            mesh = std::make_shared<const ShownMesh>(PrepareMesh(ReadLvrBytes(bytes)));
        } catch (const std::exception& error) {
            reason = error.what();
        }
        if (!mesh && reason.empty()) // the kernel often gives none
            reason = "the geometry cannot be read";
        Report(job, std::move(mesh), reason);
        lock.lock();
    }
    worker.process.reset(); // a process ends with the thread that has started it
}

void MeshLoader::Report(const Job& job, std::shared_ptr<const ShownMesh> mesh, const std::string& reason)
{
    QMetaObject::invokeMethod(
        this,
        [this, number = job.number, key = job.key, mesh = std::move(mesh), reason] {
            const auto wish = wanted_.find(key);
            if (wish == wanted_.end() || wish->second != number)
                return;
            wanted_.erase(wish);
            if (mesh)
                Q_EMIT Loaded(key, mesh);
            else
                Q_EMIT Failed(key, QString::fromStdString(reason));
        },
        Qt::QueuedConnection);
}

} // namespace openhost
