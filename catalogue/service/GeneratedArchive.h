// Archives of generated documents, for tests and measurements of any size.
#pragma once

#include "catalogue/service/Body.h"
#include "catalogue/service/ReplyOptions.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string>

namespace catalogue {

/// What an archive is made of. Equal descriptions give equal archives.
struct ArchiveDescription {
    std::uint64_t entries = 0;  ///< `entries`: documents in all, from 0 to 1,000,000
    std::uint64_t products = 0; ///< `products`: how many of them are product documents
    std::uint64_t size = 256;   ///< `size`: bytes of each other document
    bool deflated = true;       ///< `method=stored|deflated`

    /// Takes its parameters out of `parameters`. Throws ParameterError.
    static ArchiveDescription Take(QueryParameters& parameters);
    /// A file name of its own for each description.
    std::string GetFileName() const;
};

/// Writes the archive to `path`. Parts come first, then the products from the leaves up: product K points to
/// the products 2K and 2K+1, those without children to a part, so that product 1, the last entry, is the root.
/// Throws std::runtime_error, and leaves no file.
void GenerateArchive(const ArchiveDescription& description, const std::filesystem::path& path);

/// The archives made so far, each one made once, in a folder of the cache's own. When it holds
/// MaximumArchives, it begins anew. Any thread.
class ArchiveCache {
public:
    static constexpr std::size_t MaximumArchives = 16;

    ArchiveCache();
    ArchiveCache(const ArchiveCache&) = delete;
    ArchiveCache& operator=(const ArchiveCache&) = delete;
    /// Removes the folder.
    ~ArchiveCache();

    /// The bytes of the archive, which stay whole as long as they are held. Throws std::runtime_error when
    /// it cannot be made.
    std::shared_ptr<Body> Open(const ArchiveDescription& description);

private:
    std::filesystem::path folder_;
    std::mutex mutex_;
    std::set<std::filesystem::path> made_;
};

} // namespace catalogue
