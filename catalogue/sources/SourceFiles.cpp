#include "catalogue/sources/SourceFiles.h"

#include <algorithm>
#include <cerrno>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>

namespace catalogue {

namespace {

std::string EndingOf(const std::filesystem::path& file)
{
    std::string ending = file.extension().string();
    std::ranges::transform(ending, ending.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return ending;
}

bool IsSource(const std::filesystem::path& file)
{
    const std::string ending = EndingOf(file);
    return IsStepFile(file) || ending == ".zalpart" || ending == ".zalproduct";
}

class Finder {
public:
    Finder(const std::filesystem::path& folder, const std::filesystem::path& except, std::vector<SourceRemark>& remarks)
        : folder_(folder), except_(except), remarks_(remarks)
    {
    }

    SourceFiles Find()
    {
        std::error_code error;
        Look(folder_, error);
        if (error)
            throw std::runtime_error(folder_.string() + ": " + error.message());
        return std::move(found_);
    }

private:
    void Look(const std::filesystem::path& folder, std::error_code& error)
    {
        std::vector<std::filesystem::path> folders;
        for (std::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
             entry.increment(error)) {
            const std::filesystem::path& path = entry->path();
            struct stat status {};
            if (path.filename().native().front() == '.' || lstat(path.c_str(), &status) != 0)
                continue;
            if (S_ISDIR(status.st_mode))
                folders.push_back(path);
            else if (S_ISREG(status.st_mode) && IsSource(path))
                found_[NameOf(path)] = {path, static_cast<std::uintmax_t>(status.st_size),
                                        std::to_string(status.st_size) + ' ' + std::to_string(status.st_mtim.tv_sec) +
                                            '.' + std::to_string(status.st_mtim.tv_nsec)};
        }
        if (error)
            return;
        for (const std::filesystem::path& below : folders) {
            std::error_code other;
            if (std::filesystem::equivalent(below, except_, other))
                continue;
            other.clear();
            Look(below, other);
            if (other)
                remarks_.push_back({NameOf(below), other.message()});
        }
    }

    std::string NameOf(const std::filesystem::path& path) const
    {
        return path.lexically_relative(folder_).generic_string();
    }

    const std::filesystem::path& folder_;
    const std::filesystem::path& except_;
    std::vector<SourceRemark>& remarks_;
    SourceFiles found_;
};

} // namespace

bool IsStepFile(const std::filesystem::path& file)
{
    const std::string ending = EndingOf(file);
    return ending == ".step" || ending == ".stp";
}

SourceFiles FindSourceFiles(const std::filesystem::path& folder, const std::filesystem::path& except,
                            std::vector<SourceRemark>& remarks)
{
    return Finder(folder, except, remarks).Find();
}

} // namespace catalogue
