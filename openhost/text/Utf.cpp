#include "Utf.h"

namespace openhost {

std::string ToUtf8(const ZALUnicodeString& text)
{
    return EncodeUtf8(View(text));
}

ZALUnicodeString FromUtf8(std::string_view bytes)
{
    const std::u16string text = DecodeUtf8Lossy(bytes);
    return ZALUnicodeString(text.data(), text.size());
}

std::u16string_view View(const ZALUnicodeString& text)
{
    return {text.CastToUTF16Ptr(), static_cast<std::size_t>(text.GetLengthInChar())};
}

std::string_view View(const ZALOmxUTF8String& text)
{
    return {text.GetData(), text.GetByteLength()};
}

} // namespace openhost
