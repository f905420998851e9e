// The percent encoding of one value.

#include "host/text.h"
#include "openhost/text/Utf.h"
#include "tests/support/FailingMemory.h"
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

TEST(EncodeURLParam, EmptyStaysEmpty)
{
    EXPECT_EQ("", Encode(""));
}

TEST(EncodeURLParam, WritesABlankAsATripletAndNotAsAPlusSign)
{
    EXPECT_EQ("a%20b", Encode("a b"));
    EXPECT_EQ("%2B", Encode("+"));
}

TEST(EncodeURLParam, KeepsLettersDigitsAndTheFourMarks)
{
    EXPECT_EQ("a-b_c.d~e", Encode("a-b_c.d~e"));
    EXPECT_EQ("AZaz09", Encode("AZaz09"));
}

TEST(EncodeURLParam, EncodesWhatMeansSomethingInAnAddress)
{
    EXPECT_EQ("%2F%3F%26%25%23%3D", Encode("/?&%#="));
}

TEST(EncodeURLParam, EncodesAnEncodedTextOnceMore)
{
    EXPECT_EQ("%252f", Encode("%2f"));
}

TEST(EncodeURLParam, PassesLettersOfOtherScriptsAndOneByteOfOtherCharacters)
{
    EXPECT_EQ("\u00E4\u03B2\u4E2D\u0663", Encode(u"\u00E4\u03B2\u4E2D\u0663"));
    EXPECT_EQ("%AC", Encode(u"\u20AC")); // U+20AC, the euro sign: its lower 8 bits alone
    EXPECT_EQ("%03", Encode(u"\u2603"));
    EXPECT_EQ("%3D%00", Encode(u"\U0001F600")); // the units D83D and DE00
}

TEST(EncodeURLParam, LeavesTheValueAlone)
{
    const ZALUnicodeString value = "a b";
    ZALVliHttpUtils::EncodeURLParam(value);
    EXPECT_EQ("a b", ToUtf8(value));
}

TEST(EncodeURLParam, EncodesAZeroCharacter)
{
    EXPECT_EQ("a%00b", Encode(ZALUnicodeString(u"a\0b", 3)));
}

TEST(EncodeURLParam, GivesTheWholeValueOrNothingWithoutMemory)
{
    const ZALUnicodeString value = "a value of some length & with blanks";
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALUnicodeString encoded = "before";
        memory.During([&] { encoded = ZALVliHttpUtils::EncodeURLParam(value); });
        EXPECT_EQ(ToUtf8(encoded), memory.HasRunOut() ? "" : "a%20value%20of%20some%20length%20%26%20with%20blanks");
    });
    EXPECT_GT(failures, 0);
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
