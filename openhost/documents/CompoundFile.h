// OLE2 compound files: a small tree of storages and streams inside one file.
//
// Reading takes any file: one that is no compound file, is damaged, or holds more entries than a document
// can need gives CompoundFileError and never more memory than the file is long.
#pragma once

#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace openhost {

/// Names the file and the reason.
class CompoundFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// A storage of a compound file that is open for reading; holds the file open. Copies share it.
class CompoundStorage {
public:
    /// Most storages and streams that a file may hold, unused directory entries included.
    static constexpr std::uint32_t MaximumEntries = 1024;

    /// The root storage of the file `path`.
    static CompoundStorage OpenFile(const std::filesystem::path& path);
    /// The root storage of the compound file `bytes`, which are copied; errors call it `name`.
    static CompoundStorage OpenBytes(std::string_view bytes, std::string name);

    /// The storage `name` inside this one; nothing when there is none or it is a stream.
    std::optional<CompoundStorage> FindStorage(const std::string& name) const;
    /// The whole stream `name` inside this one; nothing when there is none or it is a storage. Throws for a
    /// stream that is longer than `maximumSize` or not wholly there.
    std::optional<std::string> ReadStream(const std::string& name, std::uint64_t maximumSize) const;
    /// What errors call the file.
    const std::string& GetFileName() const;

private:
    struct Opened;
    explicit CompoundStorage(std::shared_ptr<Opened> opened);
    static CompoundStorage Open(void* input, std::string name);
    std::shared_ptr<Opened> opened_;
};

/// What a storage of a file to be written holds.
struct CompoundContents {
    std::string name;                                         ///< of the storage; the root has none
    std::vector<std::pair<std::string, std::string>> streams; ///< name and bytes
    std::vector<CompoundContents> storages;
};

/// The compound file with the root storage `root`. Equal contents give equal bytes.
std::string BuildCompoundFile(const CompoundContents& root);

} // namespace openhost
