#include "catalogue/service/ItemRequest.h"

#include "catalogue/service/Body.h"

#include <fstream>
#include <optional>
#include <string_view>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

std::string ReadText(const std::filesystem::path& file)
{
    const std::shared_ptr<Body> body = Body::FromFile(file);
    if (!body)
        throw ItemError("cannot read " + file.string());
    return body->ReadAll();
}

/// Whether `id` is the name of a file, and no way to another folder.
bool IsName(const std::string& id)
{
    return !id.empty() && id.front() != '.' && id.find_first_of(std::string("/\0", 2)) == std::string::npos;
}

void ReplaceAll(std::string& text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}

} // namespace

std::string ReadDownloadMessage(const std::filesystem::path& root, const std::string& id, const std::string& base)
{
    const std::filesystem::path file = root / "items" / (id + ".json");
    if (!IsName(id) || !std::filesystem::exists(file))
        throw ItemError("the catalogue has no item " + id);
    std::string text = ReadText(file);
    ReplaceAll(text, "${BASE}", base);
    const Json content = Json::parse(text, nullptr, false);
    if (!content.is_object())
        throw ItemError(file.string() + ": the item must be a map");
    return Json{{"event", "velmart_download"}, {"content", content}}.dump();
}

std::string ReadLastQuery(const std::filesystem::path& journal)
{
    constexpr std::string_view call = "{query: '";
    std::ifstream file(journal);
    if (!file)
        throw ItemError("cannot read " + journal.string());
    std::optional<std::string> query;
    for (std::string line; std::getline(file, line);) {
        const Json event = Json::parse(line, nullptr, false);
        if (!event.is_object() || event.value("event", "") != "script")
            continue;
        const std::string script = event.value("text", "");
        const std::size_t begin = script.find(call);
        const std::size_t end = script.find('\'', begin + call.size());
        if (begin != std::string::npos && end != std::string::npos)
            query = script.substr(begin + call.size(), end - begin - call.size());
    }
    if (!query)
        throw ItemError(journal.string() + ": the module has handed no query to its page");
    return *query;
}

} // namespace catalogue
