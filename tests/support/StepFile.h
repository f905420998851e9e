// A STEP file as another system reads it.
#pragma once

#include <array>
#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace openhost::testing {

/// An instance of a product in another one, once for each way that leads to it from the root.
struct StepInstance {
    std::string path;                   ///< names of the instances from below the root, with "/" between them
    std::string product;                ///< name of the product
    std::size_t productNumber = 0;      ///< the same for instances of the same product, however it is called
    std::array<double, 12> placement{}; ///< in the root: three rows of four numbers, millimetres
    double volume = 0;                  ///< of everything in the instance, cubic millimetres
};

/// Throws std::runtime_error for a file that cannot be read as STEP.
struct StepFile {
    explicit StepFile(const std::filesystem::path& path);

    std::size_t solids = 0; ///< with each solid counted once for each of its instances
    double volume = 0;      ///< of these solids, cubic millimetres
    std::string root;       ///< name of the product that stands in no other one
    std::size_t products = 0;
    std::vector<StepInstance> instances; ///< fathers before children

    /// The instance with the path `path`. Throws std::out_of_range when there is none.
    const StepInstance& Find(const std::string& path) const;
};

} // namespace openhost::testing
