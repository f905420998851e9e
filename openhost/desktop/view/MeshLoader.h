// Gets the triangles of parts for the 3D view, without anybody waiting for them.
#pragma once

#include "openhost/desktop/view/ViewScene.h"
#include "openhost/geometry_process/GeometryProcess.h"

#include <QObject>

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <unordered_map>
#include <vector>

namespace openhost {

/// Gives a boundary representation. Called on any thread; throws what derives from std::exception, with the reason,
/// when there is none.
using BoundarySource = std::function<std::string()>;

/// The boundary representation of the part in the file `path`, which is read when it is needed.
BoundarySource BoundaryOf(std::filesystem::path path);
/// One that is there already, of a part that is not saved.
BoundarySource BoundaryOf(std::shared_ptr<const std::string> bytes);

/// Most bytes of a light representation that the view takes: five million triangles have less.
inline constexpr std::size_t MaximumMeshSize = std::size_t{128} << 20;

/// Used on the thread of its application, on which it reports. Threads do the work, each with a geometry process of its
/// own; what a part ends there is the failure of that part alone. What is asked for last comes first.
class MeshLoader final : public QObject {
    Q_OBJECT

public:
    explicit MeshLoader(std::filesystem::path program = FindProgramBeside("openhost-geometry"),
                        const GeometryJobLimits& limits = {.resultSize = MaximumMeshSize});
    /// Ends the jobs that run.
    ~MeshLoader() override;

    /// Asks for the mesh of `source`, which is reported once by Loaded or Failed under `key`. A key that is asked for
    /// already stays so; one that still waits comes next.
    void Load(const MeshKey& key, BoundarySource source);
    /// Nothing is reported for `key` any more, until it is asked for again.
    void Drop(const MeshKey& key);
    void DropAll();
    /// Number of keys that will be reported.
    std::size_t Pending() const { return wanted_.size(); }

Q_SIGNALS:
    void Loaded(const openhost::MeshKey& key, std::shared_ptr<const openhost::ShownMesh> mesh);
    void Failed(const openhost::MeshKey& key, const QString& reason);

private:
    struct Job {
        std::size_t number = 0; ///< no two jobs have the same
        MeshKey key;
        BoundarySource source;
    };
    struct Worker {
        std::thread thread;
        std::size_t job = 0; ///< 0 while it has none
        std::unique_ptr<GeometryProcess> process;
        bool isInterrupted = false; ///< its process is
    };

    void Work(Worker& worker);
    void Report(const Job& job, std::shared_ptr<const ShownMesh> mesh, const std::string& reason);

    const std::filesystem::path program_;
    const GeometryJobLimits limits_;
    std::unordered_map<MeshKey, std::size_t> wanted_; ///< numbers of jobs; of the application's thread
    std::size_t lastJob_ = 0;

    std::mutex mutex_; ///< of all below
    std::condition_variable changed_;
    std::deque<Job> waiting_; ///< the next first
    std::vector<std::unique_ptr<Worker>> workers_;
    bool isEnding_ = false;
};

} // namespace openhost
