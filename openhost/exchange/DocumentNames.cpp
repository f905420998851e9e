#include "openhost/exchange/DocumentNames.h"

#include "openhost/documents/DocumentStream.h"
#include "openhost/text/LetterCase.h"
#include "openhost/text/OneLine.h"
#include "openhost/text/Utf8.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace openhost {

namespace {

/// What stays free of the bytes that a text of a document may have, for a number.
constexpr std::size_t RoomForNumber = 32;

/// Names that one of the systems keeps for devices, whatever their ending.
constexpr std::array<std::string_view, 4> Devices{"CON", "PRN", "AUX", "NUL"};
constexpr std::array<std::string_view, 2> NumberedDevices{"COM", "LPT"};

std::string Trimmed(std::string text, std::string_view first, std::string_view last)
{
    text.erase(text.find_last_not_of(last) + 1);
    text.erase(0, std::min(text.find_first_not_of(first), text.size()));
    return text;
}

/// `text` without what is beyond `size` bytes, and no half character.
std::string CutOff(std::string text, std::size_t size)
{
    if (text.size() <= size)
        return text;
    text.resize(size);
    while (!IsUtf8(text))
        text.pop_back();
    return text;
}

bool IsDevice(const std::string& name)
{
    std::string stem = name.substr(0, name.find('.'));
    std::ranges::transform(stem, stem.begin(), [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    const bool isNumbered = stem.size() == 4 && std::isdigit(static_cast<unsigned char>(stem[3])) &&
                            std::ranges::find(NumberedDevices, stem.substr(0, 3)) != NumberedDevices.end();
    return isNumbered || std::ranges::find(Devices, stem) != Devices.end();
}

/// What no two names have in common.
std::u16string Key(const std::string& name)
{
    std::u16string key = DecodeUtf8Lossy(name);
    std::ranges::transform(key, key.begin(), FoldCase);
    return key;
}

} // namespace

std::string ReadableText(std::string_view text)
{
    const std::string whole = Trimmed(InOneLine(EncodeUtf8(DecodeUtf8Lossy(text))), " ", " ");
    return CutOff(whole, StreamReader::MaximumTextSize - RoomForNumber);
}

std::string ReadableFileName(std::string_view text)
{
    constexpr std::string_view reserved = "/\\:*?\"<>|";
    std::string name = ReadableText(text);
    std::ranges::replace_if(
        name, [&](char c) { return reserved.find(c) != std::string_view::npos; }, '_');
    name = Trimmed(name, " .", " .");
    name = Trimmed(CutOff(std::move(name), MaximumDocumentName), " .", " .");
    return IsDevice(name) ? "_" + name : name;
}

std::string DocumentNames::Take(const std::string& wanted)
{
    std::string name = wanted;
    std::size_t& number = next_.try_emplace(wanted, 2).first->second;
    while (!taken_.insert(Key(name)).second)
        name = wanted + "-" + std::to_string(number++);
    return name;
}

std::string InstanceNames::Take(const std::string& wanted, const std::string& product)
{
    const std::string& stem = wanted.empty() ? product : wanted;
    std::string name = wanted;
    std::size_t& number = next_.try_emplace(stem, 1).first->second;
    while (name.empty() || !taken_.insert(name).second)
        name = stem + "." + std::to_string(number++);
    return name;
}

} // namespace openhost
