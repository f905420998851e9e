// Files that are either the old ones or the new ones, whatever happens meanwhile.
#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <string_view>
#include <vector>

namespace openhost {

/// Replaces or creates `file` with `content`. Written beside it first, brought to the disk, then renamed; the
/// permissions of an existing file stay, a new one is for this user only. A link is followed. Refuses a file that
/// nobody may write.
/// Throws std::system_error naming the file, which is then as it was.
void WriteFileAtomically(const std::filesystem::path& file, std::string_view content);

/// Several files, each of them written as by WriteFileAtomically, that wait for the disk together.
class AtomicFiles {
public:
    /// Files of one Place that are brought to the disk one by one; with more of them whole file systems are, which
    /// takes no longer for hundreds of files than for some.
    static constexpr std::size_t MaximumSingleSyncs = 16;

    AtomicFiles();
    AtomicFiles(const AtomicFiles&) = delete;
    AtomicFiles& operator=(const AtomicFiles&) = delete;
    /// Takes back what was not placed.
    ~AtomicFiles();

    /// Writes `content` beside the place of `file`, and keeps it open until Place. Throws std::system_error naming the
    /// file.
    void Add(const std::filesystem::path& file, std::string_view content);
    /// Brings all files to the disk, then puts one after the other in its place. Throws std::system_error naming the
    /// first that cannot be; those before it stand in their places, and those after it are as they were.
    void Place();
    /// Files that stand in their places.
    std::size_t Placed() const { return placed_; }

    class Replacement; ///< one of them

private:
    void Synchronize() const;
    void SynchronizeFolders() const;

    std::vector<std::unique_ptr<Replacement>> files_;
    std::size_t placed_ = 0;
};

/// The same for a file that must not exist yet; nothing is replaced, even when another process makes it meanwhile.
void CreateFileAtomically(const std::filesystem::path& file, std::string_view content);

/// As WriteFileAtomically for a file that can be made again: other processes see the old one or the new one, but a
/// failure of power may leave neither, since nothing waits for the disk.
void ReplaceFile(const std::filesystem::path& file, std::string_view content);

} // namespace openhost
