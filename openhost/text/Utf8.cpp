#include "openhost/text/Utf8.h"

namespace openhost {

namespace {

constexpr Utf8Sequence IllFormed{0, 0};

void AppendCharacter(std::u16string& text, char32_t character)
{
    if (character < 0x10000) {
        text += static_cast<char16_t>(character);
        return;
    }
    const char32_t offset = character - 0x10000;
    text += static_cast<char16_t>(0xD800 + (offset >> 10));
    text += static_cast<char16_t>(0xDC00 + (offset & 0x3FF));
}

void AppendBytes(std::string& bytes, char32_t character)
{
    const auto add = [&](char32_t byte) { bytes += static_cast<char>(byte); };
    const auto addTrailing = [&](unsigned shift) { add(0x80 | ((character >> shift) & 0x3F)); };
    if (character < 0x80) {
        add(character);
    } else if (character < 0x800) {
        add(0xC0 | (character >> 6));
        addTrailing(0);
    } else if (character < 0x10000) {
        add(0xE0 | (character >> 12));
        addTrailing(6);
        addTrailing(0);
    } else {
        add(0xF0 | (character >> 18));
        addTrailing(12);
        addTrailing(6);
        addTrailing(0);
    }
}

bool IsLeadSurrogate(char16_t unit)
{
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsTrailSurrogate(char16_t unit)
{
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

} // namespace

Utf8Sequence ReadUtf8Sequence(std::string_view bytes)
{
    const auto unit = [&](std::size_t position) { return static_cast<unsigned char>(bytes[position]); };
    const unsigned char lead = unit(0);
    if (lead < 0x80)
        return {1, lead};

    const std::size_t length = lead < 0xC2 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF5 ? 4 : 0;
    if (length == 0 || bytes.size() < length)
        return IllFormed;

    char32_t character = lead & (0xFFU >> (length + 1));
    for (std::size_t position = 1; position < length; ++position) {
        if ((unit(position) & 0xC0) != 0x80)
            return IllFormed;
        character = (character << 6) | (unit(position) & 0x3FU);
    }
    const bool isOverlong = (length == 3 && character < 0x800) || (length == 4 && character < 0x10000);
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    if (isOverlong || isSurrogate || character > 0x10FFFF)
        return IllFormed;
    return {length, character};
}

bool IsUtf8(std::string_view bytes)
{
    while (!bytes.empty()) {
        const Utf8Sequence sequence = ReadUtf8Sequence(bytes);
        if (sequence.length == 0)
            return false;
        bytes.remove_prefix(sequence.length);
    }
    return true;
}

std::optional<std::u16string> DecodeUtf8(std::string_view bytes)
{
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const Utf8Sequence sequence = ReadUtf8Sequence(bytes);
        if (sequence.length == 0)
            return std::nullopt;
        AppendCharacter(text, sequence.character);
        bytes.remove_prefix(sequence.length);
    }
    return text;
}

std::u16string DecodeUtf8Lossy(std::string_view bytes)
{
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        Utf8Sequence sequence = ReadUtf8Sequence(bytes);
        if (sequence.length == 0)
            sequence = {1, static_cast<unsigned char>(bytes[0])};
        AppendCharacter(text, sequence.character);
        bytes.remove_prefix(sequence.length);
    }
    return text;
}

std::string EncodeUtf8(std::u16string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t position = 0; position < text.size(); ++position) {
        const char16_t unit = text[position];
        char32_t character = unit;
        if (IsLeadSurrogate(unit) && position + 1 < text.size() && IsTrailSurrogate(text[position + 1])) {
            ++position;
            character = 0x10000 + ((char32_t{unit} - 0xD800) << 10) + (char32_t{text[position]} - 0xDC00);
        } else if (IsLeadSurrogate(unit) || IsTrailSurrogate(unit)) {
            character = 0xFFFD;
        }
        AppendBytes(bytes, character);
    }
    return bytes;
}

} // namespace openhost
