#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

using openhost::DecodeUtf8;
using openhost::DecodeUtf8Lossy;
using openhost::EncodeUtf8;
using openhost::IsUtf8;
using namespace std::string_view_literals;

namespace {

TEST(Utf, TakesTheFirstAndLastCharacterOfEachLength)
{
    const std::u16string expected = u"\x01\x7F\x80\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF";
    const std::string_view bytes = "\x01\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF"
                                   "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"sv;
    EXPECT_EQ(expected, DecodeUtf8(bytes));
    EXPECT_EQ(EncodeUtf8(expected), bytes);
    EXPECT_TRUE(IsUtf8(bytes));
}

TEST(Utf, KeepsZeroCharacters)
{
    EXPECT_EQ(u"a\0b"sv, DecodeUtf8("a\0b"sv));
    EXPECT_EQ("a\0b"sv, EncodeUtf8(u"a\0b"sv));
}

constexpr std::string_view IllFormed[] = {
    "\x80",             // a trailing byte alone
    "\xC3",             // cut after the lead
    "\xE2\x82",         // cut before the last byte
    "\xC0\xAF",         // overlong slash
    "\xE0\x80\xAF",     // overlong in three
    "\xF0\x80\x80\xAF", // overlong in four
    "\xED\xA0\x80",     // surrogate
    "\xED\xBF\xBF",     // surrogate
    "\xF4\x90\x80\x80", // above the last character
    "\xF8\x88\x80\x80", // no lead at all
    "\xFF",
};

TEST(Utf, RefusesIllFormedBytesOrReadsThemAsOneCharacterEach)
{
    for (const std::string_view bytes : IllFormed) {
        SCOPED_TRACE(testing::PrintToString(bytes));
        const std::string text = "a" + std::string(bytes) + "b";
        EXPECT_FALSE(IsUtf8(bytes));
        EXPECT_FALSE(IsUtf8(text));
        EXPECT_FALSE(DecodeUtf8(bytes).has_value());
        EXPECT_FALSE(DecodeUtf8(text).has_value());
        std::u16string expected = u"a";
        for (const char byte : bytes)
            expected += static_cast<unsigned char>(byte);
        EXPECT_EQ(expected + u"b", DecodeUtf8Lossy(text));
    }
    EXPECT_EQ(u"\u00E4\u00E4\u00F6", DecodeUtf8Lossy("\xC3\xA4\xE4\xC3\xB6"));
}

TEST(Utf, WritesALoneSurrogateAsTheReplacementCharacter)
{
    EXPECT_EQ("a\xEF\xBF\xBD!", EncodeUtf8(std::u16string{u'a', 0xD83D, u'!'}));
    EXPECT_EQ("a\xEF\xBF\xBD!", EncodeUtf8(std::u16string{u'a', 0xDE00, u'!'}));
    EXPECT_EQ("a\xEF\xBF\xBD", EncodeUtf8(std::u16string{u'a', 0xD83D}));
    EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBD", EncodeUtf8(std::u16string{0xDE00, 0xD83D}));
}

} // namespace
