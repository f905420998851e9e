// A catalogue of the parts in a user's folder.
#pragma once

#include "catalogue/sources/BuildRecord.h"
#include "catalogue/sources/SourceFiles.h"
#include "openhost/geometry_process/GeometryProcess.h"

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace catalogue {

struct BuildOptions {
    std::filesystem::path folder; ///< with the files, which are only read
    std::filesystem::path root;   ///< of the catalogue; made when it is missing
    std::filesystem::path base;   ///< of a catalogue whose page and templates this one gets
    std::size_t workers = 1;      ///< files that are read at the same time, from 1
    bool retry = false;           ///< whether files are read again that were left out before
    openhost::GeometryJobLimits limits{};
    std::filesystem::path program = openhost::FindProgramBeside("velmart-item-maker");
};

/// How far it is.
struct BuildProgress {
    std::size_t files = 0;   ///< to be read
    std::size_t done = 0;    ///< of them
    std::size_t leftOut = 0; ///< of those
    std::uintmax_t size = 0; ///< bytes of the files to be read
    std::uintmax_t doneSize = 0;
};

struct BuildResult {
    std::size_t items = 0; ///< that the catalogue has
    std::size_t made = 0;  ///< of them, now
    std::size_t removed = 0;
    bool isComplete = true;            ///< whether it came to its end
    std::vector<SourceRemark> leftOut; ///< files, with the reasons, by name
    std::vector<SourceRemark> remarks; ///< what was left out of files, by name
};

/// Makes items of files, several at a time, and keeps each as soon as it is made: a build that ends before its time, in
/// whatever way, goes on with the next one.
class CatalogueBuild {
public:
    /// `tell` is called on any thread, on one at a time.
    CatalogueBuild(BuildOptions options, std::function<void(const BuildProgress&)> tell);
    CatalogueBuild(const CatalogueBuild&) = delete;
    CatalogueBuild& operator=(const CatalogueBuild&) = delete;
    ~CatalogueBuild();

    /// Makes what is new or changed, and removes what is gone. Called once. Throws std::runtime_error when a folder
    /// cannot be used, holds something else, or another process is building there; what is made by then stays.
    BuildResult Run();
    /// Ends Run soon. For any thread.
    void Interrupt();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace catalogue
