#include "AtomicFile.h"

#include "Descriptor.h"
#include "Leftovers.h"

#include <cerrno>
#include <cstdio>
#include <set>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

namespace {

/// What `file` leads to, when it is there.
std::filesystem::path TargetOf(const std::filesystem::path& file)
{
    std::error_code isMissing;
    std::filesystem::path target = std::filesystem::canonical(file, isMissing);
    return isMissing ? file : target;
}

/// Brings the entries of `folder` to the disk. Some file systems cannot; the rename has happened all the same.
void SynchronizeFolder(const std::filesystem::path& folder)
{
    const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

} // namespace

/// What becomes `target` once it is complete, and is gone again otherwise. It has no name until then where the file
/// system can do that; elsewhere a temporary one, which a killed process leaves behind.
class AtomicFiles::Replacement {
public:
    explicit Replacement(const std::filesystem::path& target) : target_(target)
    {
        const std::filesystem::path folder = target_.parent_path();
        ClearLeftovers(folder);
        file_ = Descriptor(open(folder.empty() ? "." : folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
        if (file_)
            return;
        do {
            name_ = folder / MakeTemporaryName();
            file_ = Descriptor(open(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666));
        } while (!file_ && errno == EEXIST);
        if (!file_) {
            name_.clear();
            Fail();
        }
        MarkInUse(file_.Number());
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement()
    {
        if (!name_.empty())
            unlink(name_.c_str());
    }

    void Write(std::string_view content)
    {
        struct stat existing;
        const bool exists = stat(target_.c_str(), &existing) == 0;
        if (exists && (existing.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0) {
            errno = EACCES; // a rename would replace what its owner has made read-only
            Fail();
        }
        if (exists && fchmod(file_.Number(), existing.st_mode & 07777) != 0)
            Fail();

        if (!WriteAll(file_.Number(), content))
            Fail();
    }

    std::filesystem::path Folder() const { return target_.parent_path(); }

    void Synchronize() const
    {
        if (fsync(file_.Number()) != 0)
            Fail();
    }

    /// The file system that the file is in.
    dev_t FileSystem() const
    {
        struct stat status;
        if (fstat(file_.Number(), &status) != 0)
            Fail();
        return status.st_dev;
    }
    void SynchronizeFileSystem() const
    {
        if (syncfs(file_.Number()) != 0)
            Fail();
    }

    void TakePlace()
    {
        if (name_.empty() && Link(target_))
            return;
        // Nothing can be linked in the place of a file.
        while (name_.empty()) {
            const std::filesystem::path name = target_.parent_path() / MakeTemporaryName();
            if (Link(name))
                name_ = name;
            else if (errno != EEXIST)
                Fail();
        }
        if (rename(name_.c_str(), target_.c_str()) != 0)
            Fail();
        name_.clear();
    }

    /// Fails when something stands there.
    void TakeFreePlace()
    {
        if (!name_.empty() && renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0) {
            name_.clear();
            return;
        }
        // File systems that cannot rename so have links. A temporary name goes with this object.
        if ((!name_.empty() && errno != EINVAL && errno != ENOSYS) || !Link(target_))
            Fail();
    }

private:
    [[noreturn]] void Fail() const
    {
        throw std::system_error(errno, std::generic_category(), "cannot write " + target_.string());
    }

    /// Gives the file the name `name`, at which nothing may stand.
    bool Link(const std::filesystem::path& name) const
    {
        const std::string file = name_.empty() ? "/proc/self/fd/" + std::to_string(file_.Number()) : name_.string();
        return linkat(AT_FDCWD, file.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0;
    }

    std::filesystem::path target_;
    std::filesystem::path name_; ///< empty while the file has none
    Descriptor file_;
};

// ---------------------------------------------------------------------------------------------

AtomicFiles::AtomicFiles() = default;
AtomicFiles::~AtomicFiles() = default;

void AtomicFiles::Add(const std::filesystem::path& file, std::string_view content)
{
    auto replacement = std::make_unique<Replacement>(TargetOf(file));
    replacement->Write(content);
    files_.push_back(std::move(replacement));
}

void AtomicFiles::Place()
{
    Synchronize();
    try {
        for (; placed_ < files_.size(); ++placed_)
            files_[placed_]->TakePlace();
    } catch (...) {
        SynchronizeFolders();
        throw;
    }
    SynchronizeFolders();
}

void AtomicFiles::Synchronize() const
{
    std::set<dev_t> done;
    for (const auto& file : files_)
        if (files_.size() <= MaximumSingleSyncs)
            file->Synchronize();
        else if (done.insert(file->FileSystem()).second)
            file->SynchronizeFileSystem();
}

/// Of the files that stand in their places.
void AtomicFiles::SynchronizeFolders() const
{
    std::set<std::filesystem::path> folders;
    for (std::size_t file = 0; file < placed_; ++file)
        folders.insert(files_[file]->Folder());
    for (const std::filesystem::path& folder : folders)
        SynchronizeFolder(folder);
}

void ReplaceFile(const std::filesystem::path& file, std::string_view content)
{
    AtomicFiles::Replacement replacement(TargetOf(file));
    replacement.Write(content);
    replacement.TakePlace();
}

void WriteFileAtomically(const std::filesystem::path& file, std::string_view content)
{
    AtomicFiles files;
    files.Add(file, content);
    files.Place();
}

void CreateFileAtomically(const std::filesystem::path& file, std::string_view content)
{
    AtomicFiles::Replacement replacement(file);
    replacement.Write(content);
    replacement.Synchronize();
    replacement.TakeFreePlace();
    SynchronizeFolder(file.parent_path());
}

} // namespace openhost
