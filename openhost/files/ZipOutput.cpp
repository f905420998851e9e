#include "ZipOutput.h"

#include "Leftovers.h"
#include "Origin.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <exception>
#include <limits>
#include <stdexcept>
#include <system_error>

namespace openhost {

namespace {

// O_PATH, because a folder may be entered without the right to list it.
constexpr int FolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int NewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

// Longest path that the operations by path, such as a stat, can name afterwards.
constexpr std::size_t MaximumPathLength = 4095;

// Of the copies of new folders, below the temporary folder; no number.
constexpr const char* AsideName = "new";

// After how many bytes of a large file the disk begins with them, so that the end waits for the rest alone.
constexpr std::uint64_t WriteBehindSize = std::uint64_t{8} << 20;

[[noreturn]] void Fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

bool IsDriveLetter(std::string_view component)
{
    const char letter = static_cast<char>(component[0] | 0x20);
    return component.size() >= 2 && component[1] == ':' && letter >= 'a' && letter <= 'z';
}

/// The first `depth` of `components` as a path.
std::string Joined(const std::vector<std::string>& components, std::size_t depth)
{
    std::string path;
    for (std::size_t position = 0; position < depth; ++position)
        path += (position > 0 ? "/" : "") + components[position];
    return path;
}

std::string Joined(const std::vector<std::string>& components)
{
    return Joined(components, components.size());
}

} // namespace

std::vector<std::string> ComponentsBelow(std::string_view path)
{
    std::vector<std::string> components;
    if (path.empty() || path[0] == '/' || path[0] == '\\')
        throw std::runtime_error("no relative path");
    if (path.size() > MaximumPathLength || path.find('\0') != std::string_view::npos)
        throw std::runtime_error("no path of the system");
    if (IsDriveLetter(path))
        throw std::runtime_error("a path with a drive letter");

    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of("/\\"), path.size());
        const std::string_view component = path.substr(0, end);
        if (component == "..")
            throw std::runtime_error("a path out of its folder");
        if (!component.empty() && component != ".")
            components.emplace_back(component);
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return components;
}

// ---------------------------------------------------------------------------------------------

ZipOutput::ZipOutput(const std::string& folder) : path_(folder), folder_(open(folder.c_str(), FolderFlags))
{
    if (!folder_)
        Fail("cannot open " + folder);
}

ZipOutput::~ZipOutput()
{
    if (!temporary_)
        return;
    if (unlinkat(folder_.Number(), temporaryName_.c_str(), AT_REMOVEDIR) != 0) {
        for (const File& file : files_)
            unlinkat(temporary_.Number(), file.path.c_str(), 0);
        RemoveFolders(asideRoot_, madeAside_, 0);
        unlinkat(temporary_.Number(), AsideName, AT_REMOVEDIR);
        unlinkat(folder_.Number(), temporaryName_.c_str(), AT_REMOVEDIR);
    }
    RemoveFolders(folder_, made_, 0);
}

std::uint64_t ZipOutput::Room() const
{
    struct statvfs disk;
    if (fstatvfs(folder_.Number(), &disk) != 0 || disk.f_blocks == 0)
        return std::numeric_limits<std::uint64_t>::max();
    return std::uint64_t{disk.f_bavail} * disk.f_frsize;
}

void ZipOutput::MakeFolder(const std::vector<std::string>& components)
{
    std::vector<std::string> made;
    try {
        Enter(folder_, components, made);
    } catch (...) {
        RemoveFolders(folder_, made, 0);
        throw;
    }
}

void ZipOutput::AddFile(std::vector<std::string> components, const std::function<void()>& write)
{
    if (components.empty())
        throw std::runtime_error("no name of a file");
    std::string place = Joined(components);
    if (path_.size() + 1 + place.size() > MaximumPathLength)
        throw std::runtime_error("a path too long");
    const std::size_t madeBefore = made_.size();
    const std::size_t madeAsideBefore = madeAside_.size();
    std::string path;
    try {
        if (!temporary_)
            MakeTemporaryFolder();
        path = IsInNewFolder(components) ? CreateAside(components) : Create(components);
        MarkFromOutside(file_.Number());
        written_ = 0;
        write();
        places_.insert(std::move(place));
        files_.push_back({std::move(components), std::move(path)});
        file_ = Descriptor();
    } catch (...) {
        if (file_)
            unlinkat(temporary_.Number(), path.c_str(), 0);
        file_ = Descriptor();
        RemoveFolders(folder_, made_, madeBefore);
        if (madeAside_.size() > madeAsideBefore)
            aside_ = {};
        RemoveFolders(asideRoot_, madeAside_, madeAsideBefore);
        throw;
    }
    if (files_.size() % FilesBetweenSyncs == 0)
        BeginSync();
}

void ZipOutput::Write(std::string_view content)
{
    if (!WriteAll(file_.Number(), content))
        Fail("cannot write");
    const std::uint64_t begun = written_ / WriteBehindSize;
    written_ += content.size();
    if (const std::uint64_t end = written_ / WriteBehindSize; end > begun)
        sync_file_range(file_.Number(), static_cast<off_t>(begun * WriteBehindSize),
                        static_cast<off_t>((end - begun) * WriteBehindSize), SYNC_FILE_RANGE_WRITE);
}

std::vector<std::string> ZipOutput::Place()
{
    std::vector<std::string> failures(files_.size());
    if (files_.empty())
        return failures;
    if (!Synchronize())
        Fail("cannot be brought to the disk");

    const std::unordered_set<std::string> placed = PlaceNewFolders();
    Entered here;
    bool isComplete = true;
    for (std::size_t number = 0; number < files_.size(); ++number) {
        const File& file = files_[number];
        if (file.IsAside() && placed.contains(file.components.front()))
            continue;
        try {
            Components parent(file.components.begin(), file.components.end() - 1);
            if (parent != here.components)
                here = Enter(folder_, std::move(parent), made_);
            CheckPlace(here, file.components.back());
            if (renameat(temporary_.Number(), file.path.c_str(), In(here), file.components.back().c_str()) != 0)
                Fail("cannot replace");
        } catch (const std::exception& failure) {
            unlinkat(temporary_.Number(), file.path.c_str(), 0);
            here = {};
            failures[number] = failure.what();
            isComplete = false;
        }
    }
    SynchronizeFolders();
    files_.clear();
    places_.clear();
    if (isComplete)
        made_.clear();
    return failures;
}

// ---------------------------------------------------------------------------------------------

/// Whether the first folder on the way to `components` is not there.
bool ZipOutput::IsInNewFolder(const Components& components) const
{
    if (components.size() == 1)
        return false;
    struct stat existing;
    return fstatat(folder_.Number(), components.front().c_str(), &existing, AT_SYMLINK_NOFOLLOW) != 0 &&
           errno == ENOENT && !places_.contains(components.front());
}

/// Creates the file that is to stand at `components`. Gives its path below the temporary folder.
std::string ZipOutput::Create(const Components& components)
{
    CheckPlace(Enter(folder_, {components.begin(), components.end() - 1}, made_), components.back());
    if (components.size() == 1 && asideRoot_ &&
        faccessat(asideRoot_.Number(), components.front().c_str(), F_OK, 0) == 0)
        throw std::runtime_error("no file to replace");
    return CreateNumbered();
}

std::string ZipOutput::CreateNumbered()
{
    std::string name = std::to_string(++lastName_);
    file_ = Descriptor(openat(temporary_.Number(), name.c_str(), NewFileFlags, 0666));
    if (!file_)
        Fail("cannot create");
    return name;
}

/// The same in a copy of its new folder.
std::string ZipOutput::CreateAside(const Components& components)
{
    if (!asideRoot_)
        MakeAsideRoot();
    newFolders_.insert(components.front());
    Components parent(components.begin(), components.end() - 1);
    if (parent != aside_.components)
        aside_ = Enter(asideRoot_, std::move(parent), madeAside_);
    file_ = Descriptor(openat(aside_.folder.Number(), components.back().c_str(), NewFileFlags, 0666));
    if (file_)
        return std::string(AsideName).append("/").append(Joined(components));
    if (errno != EEXIST)
        Fail("cannot create");
    CheckPlace(aside_, components.back());
    return CreateNumbered(); // another entry of the same name
}

/// Puts the new folders in their places, each as a whole. Gives those that are there; where something stands in the
/// place of one, its files are left to be placed one by one.
std::unordered_set<std::string> ZipOutput::PlaceNewFolders()
{
    std::unordered_set<std::string> placed;
    for (const std::string& name : newFolders_)
        if (renameat2(asideRoot_.Number(), name.c_str(), folder_.Number(), name.c_str(), RENAME_NOREPLACE) == 0)
            placed.insert(name);
    newFolders_.clear();
    aside_ = {};
    return placed;
}

/// Enters the folder that `components` name below `root`, and makes folders where nothing is.
ZipOutput::Entered ZipOutput::Enter(const Descriptor& root, Components components, std::vector<std::string>& made)
{
    std::size_t length = path_.size();
    for (const std::string& component : components)
        length += 1 + component.size();
    if (length > MaximumPathLength)
        throw std::runtime_error("a path too long");

    Entered here;
    for (std::size_t depth = 0; depth < components.size(); ++depth) {
        const char* const name = components[depth].c_str();
        const int above = here.folder ? here.folder.Number() : root.Number();
        Descriptor next(openat(above, name, FolderFlags | O_NOFOLLOW));
        if (!next && errno == ENOENT) {
            std::string path = Joined(components, depth + 1);
            if (places_.contains(path))
                throw std::runtime_error("a file of the archive stands in the way");
            if (mkdirat(above, name, 0777) == 0)
                made.push_back(std::move(path));
            next = Descriptor(openat(above, name, FolderFlags | O_NOFOLLOW));
        }
        if (!next)
            Fail(std::string("cannot enter ") + name);
        here.folder = std::move(next);
    }
    here.components = std::move(components);
    return here;
}

/// Throws where something else than a file stands.
void ZipOutput::CheckPlace(const Entered& here, const std::string& name) const
{
    struct stat existing;
    if (fstatat(In(here), name.c_str(), &existing, AT_SYMLINK_NOFOLLOW) != 0) {
        if (errno != ENOENT)
            Fail("cannot create");
        return;
    }
    if (!S_ISREG(existing.st_mode))
        throw std::runtime_error("no file to replace");
}

/// Removes those of `made` from `first` on that are empty, the last ones first. They are paths below `root`.
void ZipOutput::RemoveFolders(const Descriptor& root, std::vector<std::string>& made, std::size_t first)
{
    for (; made.size() > first; made.pop_back())
        unlinkat(root.Number(), made.back().c_str(), AT_REMOVEDIR);
}

void ZipOutput::MakeAsideRoot()
{
    if (mkdirat(temporary_.Number(), AsideName, 0700) == 0)
        asideRoot_ = Descriptor(openat(temporary_.Number(), AsideName, FolderFlags | O_NOFOLLOW));
    if (!asideRoot_)
        Fail("cannot create");
}

void ZipOutput::MakeTemporaryFolder()
{
    ClearLeftovers(path_);
    std::string name;
    do
        name = MakeTemporaryName();
    while (mkdirat(folder_.Number(), name.c_str(), 0700) != 0 && errno == EEXIST);
    temporary_ = Descriptor(openat(folder_.Number(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!temporary_)
        Fail("cannot create");
    MarkInUse(temporary_.Number());
    temporaryName_ = std::move(name);
}

/// Lets the disk begin with the files so far while others are added, so that the end waits for the rest alone.
void ZipOutput::BeginSync() noexcept
try {
    if (sync_.valid() && sync_.wait_for(std::chrono::seconds(0)) != std::future_status::ready)
        return;
    // Opened anew: of a failure each descriptor tells once, and that of the end is to tell of it.
    Descriptor opened(openat(temporary_.Number(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened)
        sync_ = std::async(std::launch::async, [opened = std::move(opened)] { syncfs(opened.Number()); });
} catch (const std::exception&) {
    // Without a thread or memory for one all is left to the end.
}

/// Brings the content of the files to the disk.
bool ZipOutput::Synchronize() const
{
    if (!IsFew())
        return syncfs(temporary_.Number()) == 0;
    return std::ranges::all_of(files_, [this](const File& file) {
        const Descriptor written(openat(temporary_.Number(), file.path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
        return written && fsync(written.Number()) == 0;
    });
}

/// Brings the places of the files to the disk. Some file systems cannot; the files have them all the same.
void ZipOutput::SynchronizeFolders() const
{
    if (!IsFew()) {
        syncfs(temporary_.Number());
        return;
    }
    std::string last;
    for (const File& file : files_) {
        std::string folder = "./" + Joined(file.components, file.components.size() - 1);
        if (folder == last)
            continue;
        const Descriptor opened(openat(folder_.Number(), folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (opened)
            fsync(opened.Number());
        last = std::move(folder);
    }
}

} // namespace openhost
