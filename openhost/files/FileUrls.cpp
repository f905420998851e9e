#include "Paths.h"

#include "host/system.h"
#include "openhost/text/Utf.h"

#include <algorithm>

namespace {

constexpr std::string_view Separators = "/\\";

char LowerCase(char character)
{
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool IsLetter(char character)
{
    return LowerCase(character) >= 'a' && LowerCase(character) <= 'z';
}

/// Whether `text` starts with `word`, which is in small letters; letter case does not count.
bool StartsWith(std::string_view text, std::string_view word)
{
    return text.size() >= word.size() && std::equal(word.begin(), word.end(), text.begin(),
                                                    [](char left, char right) { return left == LowerCase(right); });
}

bool IsSeparator(char character)
{
    return Separators.find(character) != std::string_view::npos;
}

/// The value of a hexadecimal digit, or -1.
int DigitValue(char character)
{
    const char digit = LowerCase(character);
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : -1;
}

/// Replaces percent sequences by their bytes. A percent sign before anything else stands for itself.
std::string DecodePercent(std::string_view text)
{
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t position = 0; position < text.size(); ++position) {
        if (text[position] == '%' && position + 2 < text.size()) {
            const int high = DigitValue(text[position + 1]);
            const int low = DigitValue(text[position + 2]);
            if (high >= 0 && low >= 0) {
                bytes += static_cast<char>(high * 16 + low);
                position += 2;
                continue;
            }
        }
        bytes += text[position];
    }
    return bytes;
}

/// The local path of `url`, empty when it has none.
std::u16string ToPath(std::string_view url)
{
    constexpr std::string_view scheme = "file:";
    if (!StartsWith(url, scheme))
        return {};
    url.remove_prefix(scheme.size());
    url = url.substr(0, url.find_first_of("?#"));

    // Only two separators announce a machine, and the only one that is not another is this one.
    if (url.size() >= 2 && IsSeparator(url[0]) && IsSeparator(url[1])) {
        url.remove_prefix(2);
        const std::size_t end = std::min(url.find_first_of(Separators), url.size());
        if (end != 0 && !(end == 9 && StartsWith(url, "localhost")))
            return {};
        url.remove_prefix(end);
    }

    std::string path = DecodePercent(url);
    if (path.find('\0') != std::string::npos)
        return {};
    // What begins with two separators names another machine on the systems that know such paths.
    if (path.size() >= 2 && IsSeparator(path[0]) && IsSeparator(path[1]))
        return {};
    // A drive has no separator in front of its letter.
    if (path.size() >= 3 && IsSeparator(path[0]) && IsLetter(path[1]) && path[2] == ':')
        path.erase(0, 1);
    return openhost::DecodeUtf8(path).value_or(std::u16string());
}

} // namespace

HRESULT PathCreateFromUrlW(const char16_t* url, char16_t* path, std::uint32_t* size, std::uint32_t)
{
    if (!path || !size || *size == 0)
        return E_INVALIDARG;

    const std::uint32_t room = *size;
    path[0] = u'\0';
    *size = 0;
    if (!url)
        return E_INVALIDARG;

    const std::u16string result = ToPath(openhost::EncodeUtf8(url));
    if (result.empty() || result.size() >= room)
        return E_INVALIDARG;

    std::copy_n(result.c_str(), result.size() + 1, path);
    *size = static_cast<std::uint32_t>(result.size());
    return S_OK;
}
