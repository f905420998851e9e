#include "catalogue/service/ReplyOptions.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace catalogue {

namespace {

constexpr std::uint64_t MaximumBytes = std::uint64_t{1} << 40;
constexpr std::uint64_t MaximumPause = 600'000;
constexpr std::uint64_t MaximumRedirects = 100;
constexpr std::uint64_t PiecesPerSecond = 20;

template <class Value>
Value ParseChoice(const std::string& name, const std::string& value, const std::map<std::string, Value>& choices)
{
    const auto found = choices.find(value);
    if (found != choices.end())
        return found->second;
    std::string list;
    for (const auto& [word, unused] : choices)
        list += (list.empty() ? "" : ", ") + word;
    throw ParameterError("'" + name + "' must be one of: " + list);
}

/// A value that becomes a header line must not be able to end it.
std::string ParseHeaderText(const std::string& name, const std::string& value)
{
    const auto isControl = [](char character) {
        return (static_cast<unsigned char>(character) < 0x20 && character != '\t') || character == 0x7F;
    };
    if (std::any_of(value.begin(), value.end(), isControl))
        throw ParameterError("'" + name + "' must not hold control characters");
    return value;
}

void ParseRedirect(const std::string& value, ReplyOptions& options)
{
    const bool number = !value.empty() && std::all_of(value.begin(), value.end(), [](char character) {
        return character >= '0' && character <= '9';
    });
    if (number)
        options.redirects = static_cast<unsigned int>(ParseNumber("redirect", value, 0, MaximumRedirects));
    else if (value.empty())
        throw ParameterError("'redirect' must be a number of hops or an address");
    else
        options.redirectTarget = ParseHeaderText("redirect", value);
}

/// A switch: "1" chooses `value` for `option`, "0" leaves it.
template <class Value>
void ParseSwitch(const std::string& name, const std::string& text, Value value, Value& option)
{
    if (ParseNumber(name, text, 0, 1) == 1)
        option = value;
}

void ParseRate(const std::string& value, ReplyOptions& options)
{
    const std::uint64_t rate = ParseNumber("slow", value, 1, MaximumBytes);
    options.pieceSize = std::max<std::uint64_t>(1, rate / PiecesPerSecond);
    options.pause = std::chrono::milliseconds(1000 * options.pieceSize / rate);
}

const std::map<std::string, Disposition> Dispositions = {
    {"attachment", Disposition::Attachment}, {"inline", Disposition::Inline}, {"none", Disposition::None},
    {"unquoted", Disposition::Unquoted},     {"late", Disposition::Late},     {"extended", Disposition::Extended},
    {"custom", Disposition::Custom}};
const std::map<std::string, Content> Contents = {
    {"file", Content::File}, {"json", Content::Json}, {"text", Content::Text}};

/// What each parameter sets.
const std::map<std::string, void (*)(const std::string& value, ReplyOptions& options)> Readers = {
    {"disposition",
     [](const std::string& value, ReplyOptions& options) {
         options.disposition = ParseChoice("disposition", value, Dispositions);
     }},
    {"filename",
     [](const std::string& value, ReplyOptions& options) { options.fileName = ParseHeaderText("filename", value); }},
    {"type",
     [](const std::string& value, ReplyOptions& options) { options.contentType = ParseHeaderText("type", value); }},
    {"code", [](const std::string& value,
                ReplyOptions& options) { options.code = static_cast<int>(ParseNumber("code", value, 200, 599)); }},
    {"body",
     [](const std::string& value, ReplyOptions& options) { options.content = ParseChoice("body", value, Contents); }},
    {"empty", [](const std::string& value,
                 ReplyOptions& options) { ParseSwitch("empty", value, Content::Empty, options.content); }},
    {"length",
     [](const std::string& value, ReplyOptions& options) {
         options.framing = ParseChoice<Framing>("length", value, {{"none", Framing::UntilClose}});
     }},
    {"chunked", [](const std::string& value,
                   ReplyOptions& options) { ParseSwitch("chunked", value, Framing::Chunked, options.framing); }},
    {"cut",
     [](const std::string& value, ReplyOptions& options) { options.cut = ParseNumber("cut", value, 0, MaximumBytes); }},
    {"piece", [](const std::string& value,
                 ReplyOptions& options) { options.pieceSize = ParseNumber("piece", value, 1, MaximumBytes); }},
    {"pause",
     [](const std::string& value, ReplyOptions& options) {
         options.pause = std::chrono::milliseconds(ParseNumber("pause", value, 0, MaximumPause));
     }},
    {"slow", ParseRate},
    {"redirect", ParseRedirect},
};

void CheckTogether(const std::map<std::string, std::string>& given, const ReplyOptions& options)
{
    const auto has = [&given](const char* name) { return given.contains(name); };
    if (has("length") && has("chunked"))
        throw ParameterError("'length' and 'chunked' exclude each other");
    if (has("slow") && (has("piece") || has("pause")))
        throw ParameterError("'slow' and 'piece' exclude each other");
    if (has("piece") != has("pause"))
        throw ParameterError("'piece' and 'pause' belong together");
    if (has("empty") && has("body"))
        throw ParameterError("'empty' and 'body' exclude each other");
    if (options.disposition == Disposition::Custom && !has("filename"))
        throw ParameterError("'disposition=custom' needs 'filename'");

    const bool redirectCode = options.code >= 300 && options.code < 400;
    if (has("code") && redirectCode != has("redirect"))
        throw ParameterError("'redirect' takes a code from 300 to 399, and only it does");
    if (options.code > 200 && options.code < 300)
        throw ParameterError("'code' must be 200 or from 300 to 599");
}

} // namespace

std::uint64_t ParseNumber(const std::string& name, const std::string& value, std::uint64_t least, std::uint64_t most)
{
    std::uint64_t number = 0;
    const char* end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, number);
    if (error != std::errc() || stop != end || number < least || number > most)
        throw ParameterError("'" + name + "' must be a whole number from " + std::to_string(least) + " to " +
                             std::to_string(most));
    return number;
}

std::map<std::string, std::string> TakeOnce(const QueryParameters& parameters)
{
    std::map<std::string, std::string> given;
    for (const auto& [name, value] : parameters)
        if (!given.emplace(name, value).second)
            throw ParameterError("'" + name + "' is given twice");
    return given;
}

ReplyOptions ReplyOptions::Parse(const QueryParameters& parameters)
{
    ReplyOptions options;
    const std::map<std::string, std::string> given = TakeOnce(parameters);
    for (const auto& [name, value] : given) {
        const auto reader = Readers.find(name);
        if (reader == Readers.end())
            throw ParameterError("unknown parameter '" + name + "'");
        reader->second(value, options);
    }
    CheckTogether(given, options);

    if (options.code >= 400 && !given.contains("body") && options.content == Content::File)
        options.content = Content::Text;
    if (options.code >= 300 && options.code < 400)
        options.redirectCode = std::exchange(options.code, 200);
    return options;
}

} // namespace catalogue
