// The percent encoding of one value.

#include "host/text.h"
#include "openhost/text/Utf.h"
#include "tests/support/WholeOrLost.h"
#include "web/ZALVliHttpUtils.h"

#include <gtest/gtest.h>

#include <cwctype>
#include <string>

namespace openhost::testing {

namespace {

std::string Encode(const ZALUnicodeString& value)
{
    return ToUtf8(ZALVliHttpUtils::EncodeURLParam(value));
}

TEST(EncodeURLParam, KeepsLettersDigitsAndTheFourMarksAndEncodesTheRest)
{
    const std::pair<ZALUnicodeString, const char*> rows[] = {
        {"", ""},
        {"a b", "a%20b"}, // and not a plus sign
        {"+", "%2B"},
        {"a-b_c.d~e", "a-b_c.d~e"},
        {"AZaz09", "AZaz09"},
        {"/?&%#=", "%2F%3F%26%25%23%3D"},
        {"%2f", "%252f"},
        {ZALUnicodeString(u"a\0b", 3), "a%00b"},
        {u"\u00E4\u03B2\u4E2D\u0663", "\u00E4\u03B2\u4E2D\u0663"},
        {u"\u20AC", "%AC"}, // U+20AC, the euro sign: its lower 8 bits alone
        {u"\u2603", "%03"},
        {u"\U0001F600", "%3D%00"}}; // the units D83D and DE00
    for (const auto& [value, encoded] : rows)
        EXPECT_EQ(encoded, Encode(value));
}

TEST(EncodeURLParam, LeavesTheValueAlone)
{
    const ZALUnicodeString value = "a b";
    ZALVliHttpUtils::EncodeURLParam(value);
    EXPECT_EQ("a b", ToUtf8(value));
}

TEST(EncodeURLParam, GivesTheWholeValueOrNothingWithoutMemory)
{
    const ZALUnicodeString value = "a value of some length & with blanks";
    const ZALUnicodeString encoded = "a%20value%20of%20some%20length%20%26%20with%20blanks";
    EXPECT_GT(ExpectWholeOrLost<ZALUnicodeString>(encoded, "", [&] { return ZALVliHttpUtils::EncodeURLParam(value); }),
              0);
}

/// Every code unit by itself. What counts as a letter beyond ASCII is taken from the C library by its wide functions.
TEST(EncodeURLParam, TreatsEachOfTheCodeUnitsByItself)
{
    ASSERT_TRUE(std::setlocale(LC_CTYPE, "C.UTF-8"));
    int kept = 0;
    for (unsigned int number = 0; number <= 0xFFFF; ++number) {
        const auto unit = static_cast<char16_t>(number);
        const bool isPlain = (number >= '0' && number <= '9') || (number >= 'A' && number <= 'Z') ||
                             (number >= 'a' && number <= 'z') || number == '-' || number == '_' || number == '.' ||
                             number == '~';
        const bool isForeignLetter = number >= 0x80 && std::iswalnum(static_cast<std::wint_t>(number));
        std::u16string expected(1, unit);
        if (!isPlain && !isForeignLetter) {
            char triplet[4];
            std::snprintf(triplet, sizeof triplet, "%%%02X", number % 256);
            expected.assign(triplet, triplet + 3);
        } else {
            ++kept;
        }
        const ZALUnicodeString encoded = ZALVliHttpUtils::EncodeURLParam(ZALUnicodeString(&unit, 1));
        ASSERT_EQ(expected, std::u16string(View(encoded))) << number;
    }
    std::setlocale(LC_CTYPE, "C");
    EXPECT_GT(kept, 40'000); // most of the plane are ideographs and syllables
}

} // namespace

} // namespace openhost::testing
