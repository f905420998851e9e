#include "AtomicFile.h"

#include "Descriptor.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

namespace {

/// What becomes `target` once it is complete, and is gone again otherwise.
class Replacement {
public:
    explicit Replacement(const std::filesystem::path& target) : target_(target)
    {
        static std::atomic<unsigned int> number = 0;
        std::string name;
        do {
            name = target_.string() + '.' + std::to_string(getpid()) + '-' + std::to_string(++number);
            descriptor_ = open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
        } while (descriptor_ < 0 && errno == EEXIST);
        if (descriptor_ < 0)
            Fail();
        name_ = std::move(name);
    }
    Replacement(const Replacement&) = delete;
    Replacement& operator=(const Replacement&) = delete;
    ~Replacement()
    {
        close(descriptor_);
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
        if (exists && fchmod(descriptor_, existing.st_mode & 07777) != 0)
            Fail();

        if (!WriteAll(descriptor_, content))
            Fail();
    }

    void Synchronize()
    {
        if (fsync(descriptor_) != 0)
            Fail();
    }

    void TakePlace()
    {
        if (rename(name_.c_str(), target_.c_str()) != 0)
            Fail();
        name_.clear();
    }

    /// Fails when something stands there.
    void TakeFreePlace()
    {
        if (renameat2(AT_FDCWD, name_.c_str(), AT_FDCWD, target_.c_str(), RENAME_NOREPLACE) == 0) {
            name_.clear();
            return;
        }
        // File systems that cannot rename so have links. The name beside the target goes with this object.
        if ((errno != EINVAL && errno != ENOSYS) || link(name_.c_str(), target_.c_str()) != 0)
            Fail();
    }

private:
    [[noreturn]] void Fail() const
    {
        throw std::system_error(errno, std::generic_category(), "cannot write " + target_.string());
    }

    std::filesystem::path target_;
    std::string name_;
    int descriptor_;
};

/// Brings the entries of `folder` to the disk. Some file systems cannot; the rename has happened all the same.
void SynchronizeFolder(const std::filesystem::path& folder)
{
    const int descriptor = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return;
    fsync(descriptor);
    close(descriptor);
}

/// What `file` leads to, when it is there.
std::filesystem::path TargetOf(const std::filesystem::path& file)
{
    std::error_code isMissing;
    std::filesystem::path target = std::filesystem::canonical(file, isMissing);
    return isMissing ? file : target;
}

} // namespace

void ReplaceFile(const std::filesystem::path& file, std::string_view content)
{
    Replacement replacement(TargetOf(file));
    replacement.Write(content);
    replacement.TakePlace();
}

void WriteFileAtomically(const std::filesystem::path& file, std::string_view content)
{
    const std::filesystem::path target = TargetOf(file);
    Replacement replacement(target);
    replacement.Write(content);
    replacement.Synchronize();
    replacement.TakePlace();
    SynchronizeFolder(target.parent_path());
}

void CreateFileAtomically(const std::filesystem::path& file, std::string_view content)
{
    Replacement replacement(file);
    replacement.Write(content);
    replacement.Synchronize();
    replacement.TakeFreePlace();
    SynchronizeFolder(file.parent_path());
}

} // namespace openhost
