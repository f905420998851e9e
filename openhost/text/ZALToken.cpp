#include "Utf.h"

ZALUnicodeString ZALToken::GetNextToken(const ZALUnicodeString& separators)
{
    const std::u16string_view text = openhost::View(text_);
    const std::u16string_view stops = openhost::View(separators);

    const std::size_t begin = text.find_first_not_of(stops, static_cast<std::size_t>(position_));
    if (begin == std::u16string_view::npos) {
        position_ = text_.GetLengthInChar();
        return {};
    }

    const std::size_t end = std::min(text.find_first_of(stops, begin), text.size());
    position_ = static_cast<int>(end);
    return ZALUnicodeString(text.data() + begin, end - begin);
}
