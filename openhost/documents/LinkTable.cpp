#include "openhost/documents/LinkTable.h"

#include "openhost/documents/DocumentStream.h"

#include <algorithm>
#include <system_error>
#include <unordered_set>

namespace openhost {

namespace {

constexpr std::string_view Mark = "ZLNK";
constexpr std::uint32_t Version = 1;
constexpr std::uint64_t MaximumSize = 16 << 20;

void CheckLinks(const LinkTable& links)
{
    std::unordered_set<std::string_view> names;
    for (const std::string& link : links) {
        if (link.empty())
            throw DocumentStreamError("a link has no file name");
        if (!names.insert(link).second)
            throw DocumentStreamError("two links have the same file name");
    }
}

} // namespace

LinkTable ReadLinkTable(const CompoundStorage& document)
{
    const auto stream = document.ReadStream(LinkTableStreamName, MaximumSize);
    if (!stream)
        throw CompoundFileError(document.GetFileName() + ": no link table");
    try {
        return DecodeLinkTable(*stream);
    } catch (const DocumentStreamError& error) {
        throw CompoundFileError(document.GetFileName() + ": link table: " + error.what());
    }
}

std::filesystem::path ResolveLink(const std::filesystem::path& folder, const std::string& link)
{
    std::string stored = link;
    std::ranges::replace(stored, '\\', '/');
    const std::filesystem::path beside = folder / std::filesystem::path(stored).filename();
    std::error_code error;
    return std::filesystem::exists(beside, error) ? beside : folder / stored;
}

std::string EncodeLinkTable(const LinkTable& links)
{
    CheckLinks(links);
    StreamWriter writer;
    writer.PutNumber(static_cast<std::uint32_t>(links.size()));
    for (const std::string& link : links)
        writer.PutText(link);
    std::string stream = writer.Finish(Mark, Version);
    if (stream.size() > MaximumSize)
        throw DocumentStreamError("the link table is too long");
    return stream;
}

LinkTable DecodeLinkTable(std::string_view stream)
{
    StreamReader reader(stream, Mark, Version);
    LinkTable links;
    links.resize(reader.TakeCount(sizeof(std::uint32_t) + 1));
    for (std::string& link : links)
        link = reader.TakeText();
    reader.ExpectEnd();
    CheckLinks(links);
    return links;
}

} // namespace openhost
