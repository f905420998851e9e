#include "LetterCase.h"

#include <clocale>
#include <cwctype>

namespace openhost {

namespace {

/// The character tables of Unicode. Null on a system without them; then only ASCII letters fold.
locale_t UnicodeLocale()
{
    static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
    return locale;
}

} // namespace

char16_t FoldCase(char16_t unit)
{
    if (unit < 0x80)
        return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit - u'A' + u'a') : unit;

    // The i with a dot and the i without one are letters of their own outside Turkish, which simple folding is.
    if (unit == u'\u0130' || unit == u'\u0131')
        return unit;

    const locale_t locale = UnicodeLocale();
    if (!locale)
        return unit;

    // By way of the upper case, so that forms such as the final sigma meet the ordinary letter.
    const std::wint_t folded = towlower_l(towupper_l(unit, locale), locale);
    return folded <= 0xFFFF ? static_cast<char16_t>(folded) : unit;
}

char16_t ToSmallLetter(char16_t unit)
{
    if (unit < 0x80)
        return FoldCase(unit);

    const locale_t locale = UnicodeLocale();
    if (!locale)
        return unit;

    const std::wint_t small = towlower_l(unit, locale);
    return small <= 0xFFFF ? static_cast<char16_t>(small) : unit;
}

} // namespace openhost
