#include "AtomicFile.h"

#include "Descriptor.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

namespace {

/// What becomes `target` once it is complete, and is gone again otherwise.
class Replacement {
public:
    explicit Replacement(const std::filesystem::path& target) : target_(target), name_(target.string() + ".XXXXXX")
    {
        descriptor_ = mkostemp(name_.data(), O_CLOEXEC);
        if (descriptor_ < 0)
            Fail();
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

        if (!WriteAll(descriptor_, content) || fsync(descriptor_) != 0)
            Fail();
    }

    void TakePlace()
    {
        if (rename(name_.c_str(), target_.c_str()) != 0)
            Fail();
        name_.clear();
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

} // namespace

void WriteFileAtomically(const std::filesystem::path& file, std::string_view content)
{
    std::error_code isMissing;
    std::filesystem::path target = std::filesystem::canonical(file, isMissing);
    if (isMissing)
        target = file;

    Replacement replacement(target);
    replacement.Write(content);
    replacement.TakePlace();
    SynchronizeFolder(target.parent_path());
}

} // namespace openhost
