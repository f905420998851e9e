#include "openhost/conversion/ImportedFiles.h"

#include "openhost/files/Leftovers.h"

#include <cerrno>
#include <cstdio>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace openhost {

namespace {

[[noreturn]] void Fail(const std::string& what)
{
    throw std::runtime_error(what + ": " + std::generic_category().message(errno));
}

/// The folders that have to be made for `folder` to be there, the outermost first.
std::vector<std::filesystem::path> MissingFolders(const std::filesystem::path& folder)
{
    std::vector<std::filesystem::path> missing;
    std::error_code error;
    for (std::filesystem::path path = folder; !path.empty() && !std::filesystem::exists(path, error);
         path = path.parent_path())
        if (path.has_filename())
            missing.insert(missing.begin(), path);
    return missing;
}

} // namespace

ImportedFiles::ImportedFiles(const std::filesystem::path& target) : target_(target.empty() ? "." : target)
{
    try {
        for (const std::filesystem::path& folder : MissingFolders(target_)) {
            if (mkdir(folder.c_str(), 0777) != 0)
                Fail("cannot make the folder " + folder.string());
            made_.push_back(folder);
        }
        if (!std::filesystem::is_directory(target_))
            throw std::runtime_error(target_.string() + " is not a folder");
        ClearLeftovers(target_);
        std::filesystem::path folder;
        do
            folder = target_ / MakeTemporaryName();
        while (mkdir(folder.c_str(), 0700) != 0 && errno == EEXIST);
        opened_ = Descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
        if (!opened_)
            Fail("cannot write into " + target_.string());
        folder_ = std::filesystem::absolute(folder);
        MarkInUse(opened_.Number());
    } catch (...) {
        for (; !made_.empty(); made_.pop_back())
            rmdir(made_.back().c_str());
        throw;
    }
}

ImportedFiles::~ImportedFiles()
{
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
    // A folder that holds something stays.
    for (; !made_.empty(); made_.pop_back())
        rmdir(made_.back().c_str());
}

void ImportedFiles::Place(ReplaceFiles replace)
{
    const std::vector<std::string> names = FindFiles();
    if (replace == ReplaceFiles::No)
        for (const std::string& name : names)
            if (std::filesystem::exists(std::filesystem::symlink_status(target_ / name)))
                throw std::runtime_error((target_ / name).string() + ": there is a file of this name already");
    Synchronize(names);
    std::vector<Placed> placed;
    placed.reserve(names.size());
    try {
        for (const std::string& name : names)
            placed.push_back(PlaceOne(name, replace));
    } catch (...) {
        for (; !placed.empty(); placed.pop_back())
            TakeBack(placed.back());
        throw;
    }
    made_.clear();
    if (const Descriptor target(open(target_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)); target)
        fsync(target.Number());
}

std::vector<std::string> ImportedFiles::FindFiles() const
{
    std::vector<std::string> names;
    for (const std::filesystem::directory_entry& entry : std::filesystem::directory_iterator(folder_))
        if (entry.is_regular_file() && !entry.is_symlink())
            names.push_back(entry.path().filename().string());
    return names;
}

void ImportedFiles::Synchronize(const std::vector<std::string>& names) const
{
    bool isDone = true;
    if (names.size() > MaximumSingleSyncs)
        isDone = syncfs(opened_.Number()) == 0;
    else
        for (const std::string& name : names) {
            const Descriptor file(openat(opened_.Number(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
            isDone = isDone && file && fsync(file.Number()) == 0;
        }
    if (!isDone)
        Fail("the files cannot be brought to the disk");
}

ImportedFiles::Placed ImportedFiles::PlaceOne(const std::string& name, ReplaceFiles replace) const
{
    const std::filesystem::path target = target_ / name;
    const auto rename = [&](unsigned int how) {
        return renameat2(opened_.Number(), name.c_str(), AT_FDCWD, target.c_str(), how) == 0;
    };
    if (rename(RENAME_NOREPLACE))
        return {name, false};
    if (errno == EINVAL && linkat(opened_.Number(), name.c_str(), AT_FDCWD, target.c_str(), 0) == 0)
        return {name, false}; // a file system that cannot rename so; the other name goes with the folder
    if (errno != EEXIST || replace == ReplaceFiles::No)
        Fail("cannot write " + target.string());
    if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(target)))
        throw std::runtime_error("cannot write " + target.string() + ": something else than a file stands there");
    // What stood there goes with the folder.
    if (!rename(RENAME_EXCHANGE))
        Fail("cannot replace " + target.string());
    return {name, true};
}

void ImportedFiles::TakeBack(const Placed& file) const noexcept
{
    const std::filesystem::path target = target_ / file.name;
    if (file.isExchanged)
        renameat2(opened_.Number(), file.name.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE);
    else
        unlink(target.c_str());
}

} // namespace openhost
