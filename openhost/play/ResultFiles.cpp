#include "openhost/play/ResultFiles.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/play/EventTexts.h"

#include <algorithm>
#include <set>

namespace openhost {

namespace {

/// `path` without links, so that a file that is named in two ways counts once.
std::filesystem::path Resolved(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    return error ? path : resolved;
}

bool IsDocument(const std::filesystem::path& file)
{
    return IsProduct(file) || file.extension() == ".ZALPart";
}

} // namespace

void ResultFiles::Receive(const nlohmann::ordered_json& event)
{
    const std::string name = TextOf(event, "event");
    if (name == "extracted" || (name == "document" && TextOf(event, "action") == "saved")) {
        Keep(TextOf(event, "path"));
    } else if (name == "moved") {
        std::erase(files_, Resolved(TextOf(event, "from")));
        Keep(TextOf(event, "to"));
    }
}

std::vector<std::filesystem::path> ResultFiles::Existing() const
{
    std::vector<std::filesystem::path> existing;
    std::ranges::copy_if(files_, std::back_inserter(existing), [](const std::filesystem::path& file) {
        std::error_code error;
        return std::filesystem::is_regular_file(file, error);
    });
    return existing;
}

void ResultFiles::Keep(const std::filesystem::path& path)
{
    const std::filesystem::path file = Resolved(path);
    if (std::ranges::find(files_, file) == files_.end())
        files_.push_back(file);
}

bool IsProduct(const std::filesystem::path& file)
{
    return file.extension() == ".ZALProduct";
}

std::vector<std::filesystem::path> RootDocuments(const std::vector<std::filesystem::path>& files)
{
    std::set<std::string> children;
    for (const std::filesystem::path& file : files)
        if (IsProduct(file))
            try {
                for (const std::string& link : ReadDocument(file).links)
                    children.insert(link);
            } catch (const CompoundFileError&) { // whoever shows it tells why
                continue;
            }
    std::vector<std::filesystem::path> roots;
    std::ranges::copy_if(files, std::back_inserter(roots), [&children](const std::filesystem::path& file) {
        return IsDocument(file) && !children.contains(file.filename().string());
    });
    return roots;
}

} // namespace openhost
