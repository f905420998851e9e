#include "ZipOutput.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace openhost {

namespace {

// O_PATH, because a folder may be entered without the right to list it.
constexpr int FolderFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
constexpr int NewFileFlags = O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;

// Longest path that the operations by path, such as a stat, can name afterwards.
constexpr std::size_t MaximumPathLength = 4095;

[[noreturn]] void Fail(const std::string& what)
{
    throw std::system_error(errno, std::generic_category(), what);
}

bool IsDriveLetter(std::string_view component)
{
    const char letter = static_cast<char>(component[0] | 0x20);
    return component.size() >= 2 && component[1] == ':' && letter >= 'a' && letter <= 'z';
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

ZipOutput::ZipOutput(const std::string& folder, std::vector<std::string> components)
    : components_(std::move(components)), folder_(open(folder.c_str(), FolderFlags))
{
    if (!folder_)
        Fail("cannot open " + folder);
    std::size_t length = folder.size();
    for (const std::string& component : components_)
        length += 1 + component.size();
    if (length > MaximumPathLength)
        throw std::runtime_error("a path too long");
}

ZipOutput::~ZipOutput()
{
    if (!temporaryName_.empty())
        unlinkat(Here(), temporaryName_.c_str(), 0);
    for (; !made_.empty(); made_.pop_back())
        unlinkat(folder_.Number(), made_.back().c_str(), AT_REMOVEDIR);
}

void ZipOutput::MakeFolder()
{
    while (depth_ < components_.size())
        Enter();
    made_.clear();
}

bool ZipOutput::Create(std::string_view content)
{
    EnterParent();
    const char* const name = components_.back().c_str();
    const Descriptor file(openat(Here(), name, NewFileFlags, 0666));
    if (!file && errno == EEXIST)
        return false;
    if (!file)
        Fail("cannot create");

    try {
        if (!WriteAll(file.Number(), content))
            Fail("cannot write");
    } catch (...) {
        unlinkat(Here(), name, 0);
        throw;
    }
    made_.clear();
    return true;
}

void ZipOutput::Write(std::string_view content)
{
    if (!temporary_)
        OpenTemporary();
    if (!WriteAll(temporary_.Number(), content))
        Fail("cannot write");
}

void ZipOutput::Replace()
{
    if (renameat(Here(), temporaryName_.c_str(), Here(), components_.back().c_str()) != 0)
        Fail("cannot replace");
    temporaryName_.clear();
    made_.clear();
}

// ---------------------------------------------------------------------------------------------

/// Enters the next component, and makes it a folder when nothing is there.
void ZipOutput::Enter()
{
    const char* const name = components_[depth_].c_str();
    Descriptor next(openat(Here(), name, FolderFlags | O_NOFOLLOW));
    if (!next && errno == ENOENT && mkdirat(Here(), name, 0777) == 0) {
        std::string path;
        for (std::size_t position = 0; position < depth_; ++position)
            path += components_[position] + '/';
        made_.push_back(path + name);
        next = Descriptor(openat(Here(), name, FolderFlags | O_NOFOLLOW));
    }
    if (!next)
        Fail(std::string("cannot enter ") + name);
    here_ = std::move(next);
    ++depth_;
}

void ZipOutput::EnterParent()
{
    if (components_.empty())
        throw std::runtime_error("no name of a file");
    while (depth_ + 1 < components_.size())
        Enter();
}

void ZipOutput::OpenTemporary()
{
    EnterParent();
    struct stat existing;
    const char* const target = components_.back().c_str();
    if (fstatat(Here(), target, &existing, AT_SYMLINK_NOFOLLOW) == 0 && !S_ISREG(existing.st_mode))
        throw std::runtime_error("no file to replace");

    static unsigned int number = 0;
    std::string name;
    do {
        name = ".extracting-" + std::to_string(getpid()) + '-' + std::to_string(++number);
        temporary_ = Descriptor(openat(Here(), name.c_str(), NewFileFlags, 0666));
    } while (!temporary_ && errno == EEXIST);
    if (!temporary_)
        Fail("cannot create");
    temporaryName_ = std::move(name);
}

} // namespace openhost
