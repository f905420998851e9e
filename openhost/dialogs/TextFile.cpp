#include "openhost/dialogs/TextFile.h"

#include "openhost/files/BoundedFile.h"
#include "openhost/files/Paths.h"
#include "openhost/text/Utf.h"

#include "host/system.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

namespace openhost {

namespace {

constexpr const char* DefaultLanguage = "English";

bool IsKeyCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '-' || character == '.';
}

// Catalogs, resource files and languages become file names: nothing in them may lead to another folder.
bool IsPlainName(std::string_view name)
{
    return !name.empty() && name.size() <= 200 && name.front() != '.' &&
           std::all_of(name.begin(), name.end(), IsKeyCharacter);
}

std::string& ChosenLanguage()
{
    static std::string language;
    return language;
}

// ---------------------------------------------------------------------------------------------
// One line

struct Line {
    std::string key;
    ZALUnicodeString text;
};

void SkipBlanks(std::string_view& rest)
{
    while (!rest.empty() && (rest.front() == ' ' || rest.front() == '\t' || rest.front() == '\r'))
        rest.remove_prefix(1);
}

bool Take(std::string_view& rest, char expected)
{
    SkipBlanks(rest);
    if (rest.empty() || rest.front() != expected)
        return false;
    rest.remove_prefix(1);
    return true;
}

// What stands up to the closing quote.
std::optional<std::string> TakeQuoted(std::string_view& rest)
{
    if (!Take(rest, '"'))
        return std::nullopt;
    std::string text;
    while (!rest.empty()) {
        char character = rest.front();
        rest.remove_prefix(1);
        if (character == '"')
            return text;
        if (character == '\\') {
            if (rest.empty())
                return std::nullopt;
            switch (rest.front()) {
            case 'n':
                character = '\n';
                break;
            case 't':
                character = '\t';
                break;
            case '"':
                character = '"';
                break;
            case '\\':
                character = '\\';
                break;
            default:
                return std::nullopt;
            }
            rest.remove_prefix(1);
        }
        text += character;
    }
    return std::nullopt;
}

// Nothing for a comment, an empty line and a malformed one.
std::optional<Line> ParseLine(std::string_view rest)
{
    SkipBlanks(rest);
    const auto keyEnd = std::find_if_not(rest.begin(), rest.end(), IsKeyCharacter);
    std::string key(rest.begin(), keyEnd);
    if (key.empty())
        return std::nullopt;
    rest.remove_prefix(key.size());
    if (!Take(rest, '='))
        return std::nullopt;

    const std::optional<std::string> bytes = TakeQuoted(rest);
    if (!bytes || !Take(rest, ';'))
        return std::nullopt;
    SkipBlanks(rest);
    if (!rest.empty() && !rest.starts_with("//"))
        return std::nullopt;

    ZALUnicodeString text;
    if (text.BuildFromUTF8(bytes->data(), bytes->size()) != 0)
        return std::nullopt;
    return Line{std::move(key), text};
}

} // namespace

void SetLanguage(const std::string& language)
{
    ChosenLanguage() = language;
}

std::string Language()
{
    if (!ChosenLanguage().empty())
        return ChosenLanguage();
    ZALUnicodeString language;
    if (SUCCEEDED(ZALGetEnv("ZALLanguage", language)) && language.GetLengthInChar() > 0)
        return ToUtf8(language);
    return DefaultLanguage;
}

std::map<std::string, ZALUnicodeString> ParseTexts(std::string_view bytes)
{
    if (bytes.starts_with("\xEF\xBB\xBF"))
        bytes.remove_prefix(3);
    std::map<std::string, ZALUnicodeString> texts;
    while (!bytes.empty()) {
        const std::size_t end = std::min(bytes.find('\n'), bytes.size());
        if (std::optional<Line> line = ParseLine(bytes.substr(0, end)))
            texts.emplace(std::move(line->key), line->text);
        bytes.remove_prefix(std::min(end + 1, bytes.size()));
    }
    return texts;
}

std::optional<ZALUnicodeString> FindText(TextKind kind, const std::string& name, const std::string& key)
{
    if (!IsPlainName(name))
        return std::nullopt;
    const std::string root = SystemPath(ZALGetOfficialVariable("ZALInstallPath"));
    if (root.empty())
        return std::nullopt;
    const bool isCatalog = kind == TextKind::MessageCatalog;
    const std::filesystem::path folder =
        std::filesystem::path(root) / "resources" / (isCatalog ? "msgcatalog" : "dialogs");
    const std::string file = name + (isCatalog ? ".ZALNls" : ".ZALRsc");

    const auto findIn = [&](const std::filesystem::path& path) -> std::optional<ZALUnicodeString> {
        try {
            const auto texts = ParseTexts(ReadBounded(path, MaximumTextFileSize));
            const auto text = texts.find(key);
            return text != texts.end() ? std::optional(text->second) : std::nullopt;
        } catch (const std::runtime_error&) {
            return std::nullopt;
        }
    };
    const std::string language = Language();
    if (language != DefaultLanguage && IsPlainName(language))
        if (auto text = findIn(folder / language / file))
            return text;
    return findIn(folder / file);
}

} // namespace openhost
