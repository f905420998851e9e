// The folder into which the entries of an archive go.
#pragma once

#include "Descriptor.h"

#include <cstdint>
#include <functional>
#include <future>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace openhost {

/// Components of `path`, which `\` and `/` both separate, empty ones and "." left out. Throws
/// std::runtime_error for a path that is absolute, names a drive or holds "..".
std::vector<std::string> ComponentsBelow(std::string_view path);

/// Files that come into a folder: each is written below a temporary name first; Place brings all of them to the disk
/// and puts them where they belong, so that no place ever has half a file. A folder of the output that is not there is
/// made aside with all that comes into it, and put in its place as a whole; others on the way are made at once, and
/// taken back with a file that fails. No link is followed below the folder; an operation throws std::runtime_error when
/// one stands in the way.
class ZipOutput {
public:
    /// The files of one Place that are brought to the disk one by one; with more of them, the whole file system is,
    /// which takes no longer for ten thousand small files than for some dozens.
    static constexpr std::size_t MaximumSingleSyncs = 16;
    /// After as many files the disk begins with them, by a thread of its own. An extraction of 10,000 small files takes
    /// a ninth less with it, and no less with 2,500.
    static constexpr std::size_t FilesBetweenSyncs = 1000;

    /// Goes to `folder`, which must exist.
    explicit ZipOutput(const std::string& folder);
    ZipOutput(const ZipOutput&) = delete;
    ZipOutput& operator=(const ZipOutput&) = delete;
    /// Takes back what was not placed.
    ~ZipOutput();

    const std::string& Folder() const { return path_; }
    /// Bytes that fit on the disk; the most that there can be where the system does not tell.
    std::uint64_t Room() const;

    /// Makes what `components` name a folder, unless it is one.
    void MakeFolder(const std::vector<std::string>& components);
    /// Adds the file that `components` name, in place of a file or of nothing, with what `write` writes.
    void AddFile(std::vector<std::string> components, const std::function<void()>& write);
    /// Appends to the content of the file that is added.
    void Write(std::string_view content);
    /// Puts the files that were added in their places. Gives for each in turn why it is not there, nothing for one
    /// that is. Throws when none can be brought to the disk.
    std::vector<std::string> Place();

private:
    using Components = std::vector<std::string>;
    struct File {
        Components components;
        std::string path; ///< below the temporary folder
        bool IsAside() const { return path.find('/') != std::string::npos; }
    };
    /// A folder that was entered.
    struct Entered {
        Components components;
        Descriptor folder; ///< none for that of the output itself
    };

    bool IsInNewFolder(const Components& components) const;
    std::string Create(const Components& components);
    std::string CreateAside(const Components& components);
    std::string CreateNumbered();
    std::unordered_set<std::string> PlaceNewFolders();
    Entered Enter(const Descriptor& root, Components components, std::vector<std::string>& made);
    int In(const Entered& here) const { return here.folder ? here.folder.Number() : folder_.Number(); }
    void CheckPlace(const Entered& here, const std::string& name) const;
    static void RemoveFolders(const Descriptor& root, std::vector<std::string>& made, std::size_t first);
    void MakeTemporaryFolder();
    void MakeAsideRoot();
    void BeginSync() noexcept;
    bool Synchronize() const;
    void SynchronizeFolders() const;
    bool IsFew() const { return files_.size() <= MaximumSingleSyncs && made_.empty() && madeAside_.empty(); }

    std::string path_;
    Descriptor folder_;
    Descriptor temporary_;      ///< the temporary folder; none while there is none
    std::string temporaryName_; ///< of it
    unsigned int lastName_ = 0; ///< given in it
    Descriptor file_;           ///< the one that is added
    std::uint64_t written_ = 0; ///< bytes of it
    std::vector<File> files_;
    std::unordered_set<std::string> places_; ///< of the files
    std::vector<std::string> made_;          ///< folders made for the files, as paths below `folder_`
    Descriptor asideRoot_; ///< folder below the temporary one, for new folders; none while there is none
    std::unordered_set<std::string> newFolders_; ///< names of the new folders
    std::vector<std::string> madeAside_;         ///< they and those in them, as paths below `asideRoot_`
    Entered aside_;                              ///< the one of these that was used last
    std::future<void> sync_;                     ///< of the files so far; its end is waited for
};

} // namespace openhost
