#include "catalogue/sources/SourceJob.h"

#include <stdexcept>

namespace catalogue {

namespace {

using Json = nlohmann::ordered_json;

/// Paths need not be UTF-8: each byte goes as a character.
std::string ToText(const std::filesystem::path& path)
{
    std::string text;
    for (const char byte : path.native()) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80)
            text += byte;
        else
            text += {static_cast<char>(0xC0 | code >> 6), static_cast<char>(0x80 | (code & 0x3F))};
    }
    return text;
}

std::filesystem::path ToPath(const std::string& text)
{
    std::string path;
    for (std::size_t at = 0; at < text.size(); ++at) {
        const auto code = static_cast<unsigned char>(text[at]);
        if (code < 0x80 || at + 1 == text.size())
            path += text[at];
        else
            path += static_cast<char>((code & 3) << 6 | (static_cast<unsigned char>(text[++at]) & 0x3F));
    }
    return path;
}

/// Hands the parsed `bytes` to `take`.
template <class Take>
auto Read(std::string_view bytes, const Take& take)
{
    try {
        return take(Json::parse(bytes));
    } catch (const Json::exception&) {
        throw std::invalid_argument("the message to or from the program that makes items is damaged");
    }
}

} // namespace

std::string SourceJob::Encode() const
{
    return Json{{"file", ToText(file)}, {"output", ToText(output)}, {"id", id},
                {"name", name},         {"category", category},     {"catalogue", catalogue}}
        .dump(-1, ' ', false, Json::error_handler_t::replace);
}

SourceJob SourceJob::Decode(std::string_view bytes)
{
    return Read(bytes, [](const Json& job) {
        return SourceJob{ToPath(job.at("file").get<std::string>()), ToPath(job.at("output").get<std::string>()),
                         job.at("id").get<std::string>(),           job.at("name").get<std::string>(),
                         job.at("category").get<std::string>(),     job.at("catalogue").get<std::string>()};
    });
}

std::string SourceAnswer::Encode() const
{
    Json read = Json::array();
    for (const std::filesystem::path& file : files)
        read.push_back(ToText(file));
    return Json{{"entry", entry}, {"files", read}, {"warnings", warnings}}.dump(-1, ' ', false,
                                                                                Json::error_handler_t::replace);
}

SourceAnswer SourceAnswer::Decode(std::string_view bytes)
{
    return Read(bytes, [](const Json& answer) {
        SourceAnswer read{answer.at("entry"), {}, answer.at("warnings").get<std::vector<std::string>>()};
        for (const Json& file : answer.at("files"))
            read.files.push_back(ToPath(file.get<std::string>()));
        return read;
    });
}

} // namespace catalogue
