#include "openhost/desktop/questions/ShownText.h"

namespace openhost {

QString ToShownText(const ZALUnicodeString& text, int longest)
{
    const int length = text.GetLengthInChar();
    if (length <= longest)
        return QString::fromUtf16(text.CastToUTF16Ptr(), length);
    return QString::fromUtf16(text.CastToUTF16Ptr(), longest) + QChar(0x2026);
}

QString ToButtonText(const ZALUnicodeString& text)
{
    return ToShownText(text, MaximumTitleLength).replace("&", "&&");
}

QString ToWindowTitle(const ZALUnicodeString& text)
{
    return ToShownText(text, MaximumTitleLength).replace("[*]", "[*][*]");
}

} // namespace openhost
