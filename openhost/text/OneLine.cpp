#include "openhost/text/OneLine.h"

#include "openhost/text/Utf8.h"

#include <algorithm>

namespace openhost {

namespace {

constexpr const char* ReplacementCharacter = "\xEF\xBF\xBD";

/// Also those from U+0080 to U+009F, which some terminals obey.
bool IsControl(char32_t character)
{
    return character < 0x20 || (character >= 0x7F && character < 0xA0);
}

} // namespace

std::string Printable(std::string_view text)
{
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Utf8Sequence sequence = ReadUtf8Sequence(text);
        if (sequence.length == 0)
            result += ReplacementCharacter;
        else if (IsControl(sequence.character) && sequence.character != '\n')
            result += ' ';
        else
            result += text.substr(0, sequence.length);
        text.remove_prefix(std::max<std::size_t>(sequence.length, 1));
    }
    return result;
}

std::string InOneLine(std::string_view text)
{
    std::string line = Printable(text);
    std::ranges::replace(line, '\n', ' ');
    return line;
}

} // namespace openhost
