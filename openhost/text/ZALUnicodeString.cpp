#include "LetterCase.h"
#include "Utf.h"

#include <algorithm>

bool ZALUnicodeChar::IsAlnum() const
{
    return openhost::IsLetterOrDigit(unit_);
}

bool ZALCodePage::IsUTF8(const char* bytes, std::size_t length)
{
    return length == 0 || (bytes && openhost::IsUtf8({bytes, length}));
}

ZALUnicodeString::ZALUnicodeString(const char* text)
{
    if (text)
        text_ = openhost::DecodeUtf8Lossy(text);
}

ZALUnicodeString::ZALUnicodeString(const ZALString& text) : text_(openhost::DecodeUtf8Lossy(text.text_)) {}

ZALUnicodeString::ZALUnicodeString(const char16_t* text)
{
    if (text)
        text_ = text;
}

ZALUnicodeString::ZALUnicodeString(const char16_t* text, std::size_t length)
{
    if (text)
        text_.assign(text, length);
}

ZALUnicodeString::ZALUnicodeString(const ZALOmxUTF8String& text)
    : text_(openhost::DecodeUtf8Lossy(openhost::View(text)))
{
}

int ZALUnicodeString::Compare(const ZALUnicodeString& other) const
{
    if (text_ == other.text_)
        return ZALTextsIdentical;

    // Folding keeps the number of units, so texts of different lengths cannot match.
    const auto sameLetter = [](char16_t left, char16_t right) {
        return left == right || openhost::FoldCase(left) == openhost::FoldCase(right);
    };
    return std::equal(text_.begin(), text_.end(), other.text_.begin(), other.text_.end(), sameLetter) ? ZALTextsMatch
                                                                                                      : ZALTextsDiffer;
}

int ZALUnicodeString::SearchSubString(const ZALUnicodeString& fragment, int start, int mode) const
{
    if (mode == ZALSearchBackward && start < 0)
        return -1;

    const auto from = static_cast<std::size_t>(std::max(start, 0));
    const std::size_t found =
        mode == ZALSearchBackward ? text_.rfind(fragment.text_, from) : text_.find(fragment.text_, from);
    return found == std::u16string::npos ? -1 : static_cast<int>(found);
}

ZALUnicodeString ZALUnicodeString::GetSubString(int start, int length) const
{
    if (start < 0 || length <= 0 || start >= GetLengthInChar())
        return {};

    ZALUnicodeString part;
    part.text_ = text_.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(length));
    return part;
}

void ZALUnicodeString::ReplaceAll(char16_t old, char16_t replacement)
{
    std::replace(text_.begin(), text_.end(), old, replacement);
}

int ZALUnicodeString::ReplaceSubString(const ZALUnicodeString& old, const ZALUnicodeString& replacement)
{
    if (old.text_.empty())
        return 0;
    std::u16string replaced;
    int count = 0;
    std::size_t start = 0;
    for (std::size_t found; (found = text_.find(old.text_, start)) != std::u16string::npos; ++count) {
        replaced.append(text_, start, found - start).append(replacement.text_);
        start = found + old.text_.size();
    }
    replaced.append(text_, start);
    text_ = std::move(replaced);
    return count;
}

void ZALUnicodeString::Strip(int where, char16_t unit)
{
    if (where & ZALStripTrailing)
        text_.erase(text_.find_last_not_of(unit) + 1);
    if (where & ZALStripLeading)
        text_.erase(0, std::min(text_.find_first_not_of(unit), text_.size()));
}

void ZALUnicodeString::ToLower()
{
    std::transform(text_.begin(), text_.end(), text_.begin(), openhost::ToSmallLetter);
}

int ZALUnicodeString::BuildFromUTF8(const char* bytes, std::size_t length)
{
    text_.clear();
    if (!bytes)
        return length == 0 ? 0 : -1;

    std::optional<std::u16string> text = openhost::DecodeUtf8({bytes, length});
    if (!text)
        return -1;

    text_ = std::move(*text);
    return 0;
}

void ZALUnicodeString::BuildFromNum(std::uint64_t number, const char* format)
{
    // "%u" reads 32 bits, as in every formatted output.
    const std::string_view form = format ? format : "";
    std::string digits;
    if (form == "%u")
        digits = std::to_string(static_cast<std::uint32_t>(number));
    else if (form == "%I64u")
        digits = std::to_string(number);
    else if (form == "%02d") {
        digits = std::to_string(static_cast<std::int32_t>(number));
        if (digits.size() < 2)
            digits.insert(0, 1, '0');
    }
    text_.assign(digits.begin(), digits.end());
}

HRESULT ZALUnicodeString::BuildFromUCChar(const char16_t* units, int count)
{
    if (count < 0 || (!units && count > 0))
        return E_INVALIDARG;
    if (count == 0)
        text_.clear();
    else
        text_.assign(units, static_cast<std::size_t>(count));
    return S_OK;
}

HRESULT ZALUnicodeString::ConvertToUCChar(char16_t* units, int& count) const
{
    if (!units)
        return E_INVALIDARG;
    text_.copy(units, text_.size());
    count = GetLengthInChar();
    return S_OK;
}

ZALOmxUTF8String ZALUnicodeString::ConvertToUTF8() const
{
    const std::string bytes = openhost::EncodeUtf8(text_);
    return ZALOmxUTF8String(bytes.data(), bytes.size());
}

void ZALUnicodeString::ConvertToUTF8(char* buffer, std::size_t& length) const
{
    const std::string bytes = openhost::EncodeUtf8(text_);
    std::copy_n(bytes.c_str(), bytes.size() + 1, buffer);
    length = bytes.size();
}

ZALString ZALUnicodeString::ConvertToChar() const
{
    ZALString narrow;
    narrow.text_ = openhost::EncodeUtf8(text_);
    return narrow;
}

// ---------------------------------------------------------------------------------------------
// Lists

int ZALListValZALUnicodeString::Locate(const ZALUnicodeString& item, int start) const
{
    for (int index = start; index <= Size(); ++index)
        if ((*this)[index] == item)
            return index;
    return 0;
}
