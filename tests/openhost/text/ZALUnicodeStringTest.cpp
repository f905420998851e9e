#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

#include <clocale>

using openhost::ToUtf8;
using openhost::View;

namespace {

// ---------------------------------------------------------------------------------------------
// Making

TEST(ZALUnicodeString, IsEmptyWithoutAText)
{
    EXPECT_EQ(ZALUnicodeString().GetLengthInChar(), 0);
    EXPECT_EQ(ZALUnicodeString(static_cast<const char*>(nullptr)), ZALUnicodeString());
    EXPECT_EQ(ZALUnicodeString(static_cast<const char16_t*>(nullptr)), ZALUnicodeString());
    EXPECT_EQ(ZALUnicodeString(static_cast<const char16_t*>(nullptr), 0), ZALUnicodeString());
    EXPECT_EQ(ZALUnicodeString().CastToUTF16Ptr()[0], u'\0');
}

TEST(ZALUnicodeString, ReadsANarrowTextAsUtf8)
{
    EXPECT_EQ(ZALUnicodeString("\xC3\xA4\xE2\x82\xAC"), ZALUnicodeString(u"\u00E4\u20AC"));
    EXPECT_EQ(ZALUnicodeString(ZALString("\xC3\xA4")), ZALUnicodeString(u"\u00E4"));
}

TEST(ZALUnicodeString, ReadsOtherBytesOfANarrowTextAsLatin1)
{
    EXPECT_EQ(ZALUnicodeString("Gr\xF6\xDF"
                               "e"),
              ZALUnicodeString(u"Gr\u00F6\u00DFe"));
}

TEST(ZALUnicodeString, CountsCodeUnits)
{
    const ZALUnicodeString text(u"a\U0001F600");
    EXPECT_EQ(text.GetLengthInChar(), 3);
    EXPECT_EQ(text[0], u'a');
    EXPECT_EQ(text[1], 0xD83D);
    EXPECT_EQ(text[2], 0xDE00);
}

TEST(ZALUnicodeString, TakesALengthInsteadOfAZeroAtTheEnd)
{
    const ZALUnicodeString text(u"a\0bc", 3);
    EXPECT_EQ(text.GetLengthInChar(), 3);
    EXPECT_EQ(text[2], u'b');
}

TEST(ZALUnicodeString, TakesAUtf8TextWithItsZeroBytes)
{
    EXPECT_EQ(View(ZALUnicodeString(ZALOmxUTF8String("\xC3\xA4\0b", 4))), std::u16string_view(u"\u00E4\0b", 3));
}

TEST(ZALUnicodeString, TurnsIntoSmallLetters)
{
    const auto small = [](const char16_t* units) {
        ZALUnicodeString text(units);
        text.ToLower();
        return text;
    };
    EXPECT_EQ(small(u""), ZALUnicodeString());
    EXPECT_EQ(small(u"@AMZ[`az{09"), ZALUnicodeString(u"@amz[`az{09"));
    EXPECT_EQ(small(u"\u00C4\u00DF\u0416\u03A3\u03C2"), ZALUnicodeString(u"\u00E4\u00DF\u0436\u03C3\u03C2"));
    EXPECT_EQ(small(u"\U00010400"), ZALUnicodeString(u"\U00010400")) << "one unit at a time";
}

TEST(ZALUnicodeString, BuildsFromUtf8)
{
    ZALUnicodeString text("before");
    EXPECT_EQ(text.BuildFromUTF8("\xC3\xA4\0b", 4), 0);
    EXPECT_EQ(View(text), std::u16string_view(u"\u00E4\0b", 3));
    EXPECT_EQ(text.BuildFromUTF8("", 0), 0);
    EXPECT_EQ(text, ZALUnicodeString());
}

TEST(ZALUnicodeString, IsEmptyAfterBuildingFromBytesThatAreNoUtf8)
{
    ZALUnicodeString text("before");
    EXPECT_EQ(text.BuildFromUTF8("abc\xE4", 4), -1);
    EXPECT_EQ(text, ZALUnicodeString());
}

TEST(ZALUnicodeString, BuildsFromNumbersInBothForms)
{
    ZALUnicodeString text("before");
    text.BuildFromNum(0, "%u");
    EXPECT_EQ(text, ZALUnicodeString("0"));
    text.BuildFromNum(4294967295U, "%u");
    EXPECT_EQ(text, ZALUnicodeString("4294967295"));
    text.BuildFromNum(18446744073709551615U, "%I64u");
    EXPECT_EQ(text, ZALUnicodeString("18446744073709551615"));
}

// ---------------------------------------------------------------------------------------------
// Comparing

TEST(ZALUnicodeString, BuildsFromNumbersOfTwoDigitsAtLeast)
{
    ZALUnicodeString text;
    for (const auto& [number, expected] :
         {std::pair{0, "00"}, {7, "07"}, {10, "10"}, {120, "120"}, {2147483647, "2147483647"}}) {
        text.BuildFromNum(static_cast<std::uint64_t>(number), "%02d");
        EXPECT_EQ(ToUtf8(text), expected);
    }
}

TEST(ZALUnicodeString, GivesAndTakesItsCodeUnits)
{
    const ZALUnicodeString text(u"a\0\U0001F529", 4);
    char16_t units[4] = {};
    int count = 0;
    EXPECT_EQ(text.ConvertToUCChar(units, count), S_OK);
    EXPECT_EQ(count, 4);
    ZALUnicodeString built = "before";
    EXPECT_EQ(built.BuildFromUCChar(units, count), S_OK);
    EXPECT_EQ(built, text);
    EXPECT_EQ(built.BuildFromUCChar(nullptr, 0), S_OK);
    EXPECT_EQ(built.GetLengthInChar(), 0);
    EXPECT_EQ(ZALUnicodeString().ConvertToUCChar(units, count), S_OK);
    EXPECT_EQ(count, 0);
}

TEST(ZALUnicodeString, GivesAndTakesNoCodeUnitsWithoutAPlaceForThem)
{
    int count = 7;
    EXPECT_EQ(ZALUnicodeString("a").ConvertToUCChar(nullptr, count), E_INVALIDARG);
    ZALUnicodeString text = "before";
    EXPECT_EQ(text.BuildFromUCChar(nullptr, 1), E_INVALIDARG);
    EXPECT_EQ(text.BuildFromUCChar(u"a", -1), E_INVALIDARG);
    EXPECT_EQ(ToUtf8(text), "before");
}

TEST(ZALUnicodeString, ComparesIdenticalMatchingAndDifferentTexts)
{
    EXPECT_EQ(ZALUnicodeString("ZALPart").Compare("ZALPart"), ZALTextsIdentical);
    EXPECT_EQ(ZALUnicodeString("ZALPart").Compare("zalpart"), ZALTextsMatch);
    EXPECT_EQ(ZALUnicodeString("ZALPart").Compare("ZALPar"), ZALTextsDiffer);
    EXPECT_EQ(ZALUnicodeString("ZALPart").Compare("ZALPartX"), ZALTextsDiffer);
    EXPECT_EQ(ZALUnicodeString("a").Compare("b"), ZALTextsDiffer);
    EXPECT_EQ(ZALUnicodeString().Compare(ZALUnicodeString()), ZALTextsIdentical);
    EXPECT_EQ(ZALUnicodeString().Compare("a"), ZALTextsDiffer);
}

TEST(ZALUnicodeString, ComparesNoPunctuationThatIsABitAwayFromLetters)
{
    EXPECT_EQ(ZALUnicodeString("@[`{").Compare("`{@["), ZALTextsDiffer);
}

TEST(ZALUnicodeString, MatchesLetterCaseOfOtherScriptsInAnyLocale)
{
    ASSERT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
    EXPECT_EQ(ZALUnicodeString(u"\u00C4\u0141").Compare(u"\u00E4\u0142"), ZALTextsMatch);
    EXPECT_EQ(ZALUnicodeString(u"\u03A3\u0391").Compare(u"\u03C3\u03B1"), ZALTextsMatch);
    EXPECT_EQ(ZALUnicodeString(u"\u0416\u0401").Compare(u"\u0436\u0451"), ZALTextsMatch);
    EXPECT_EQ(ZALUnicodeString(u"\u00C4").Compare(u"\u00D6"), ZALTextsDiffer);
}

TEST(ZALUnicodeString, MatchesTheFinalSigmaAndTheOrdinaryOne)
{
    EXPECT_EQ(ZALUnicodeString(u"\u03C2").Compare(u"\u03C3"), ZALTextsMatch);
}

TEST(ZALUnicodeString, KeepsTheTurkishLettersApartFromTheLatinOnes)
{
    EXPECT_EQ(ZALUnicodeString(u"\u0131").Compare("I"), ZALTextsDiffer);
    EXPECT_EQ(ZALUnicodeString(u"\u0130").Compare("i"), ZALTextsDiffer);
}

TEST(ZALUnicodeString, FoldsNoLetterIntoSeveralUnits)
{
    EXPECT_EQ(ZALUnicodeString(u"stra\u00DFe").Compare("strasse"), ZALTextsDiffer);
    // Capital and small letter of a script outside the first plane: two units each, which do not fold.
    EXPECT_EQ(ZALUnicodeString(u"\U00010400").Compare(u"\U00010428"), ZALTextsDiffer);
}

TEST(ZALUnicodeString, IsOrderedByCodeUnits)
{
    EXPECT_TRUE(ZALUnicodeString("Z") < ZALUnicodeString("a"));
    EXPECT_TRUE(ZALUnicodeString("a") < ZALUnicodeString("ab"));
    EXPECT_TRUE(ZALUnicodeString(u"\U00010000") < ZALUnicodeString(u"\uE000"));
    EXPECT_FALSE(ZALUnicodeString("a") < ZALUnicodeString("a"));
}

// ---------------------------------------------------------------------------------------------
// Searching and cutting

TEST(ZALUnicodeString, SearchesForwardFromThePositionOn)
{
    const ZALUnicodeString text("abcabc");
    EXPECT_EQ(text.SearchSubString("bc"), 1);
    EXPECT_EQ(text.SearchSubString("bc", 1), 1);
    EXPECT_EQ(text.SearchSubString("bc", 2), 4);
    EXPECT_EQ(text.SearchSubString("bc", 5), -1);
    EXPECT_EQ(text.SearchSubString("bc", 99), -1);
    EXPECT_EQ(text.SearchSubString("bc", -5), 1);
}

TEST(ZALUnicodeString, SearchesBackwardFromThePositionOn)
{
    const ZALUnicodeString text("abcabc");
    EXPECT_EQ(text.SearchSubString("abc", 99, ZALSearchBackward), 3);
    EXPECT_EQ(text.SearchSubString("abc", 3, ZALSearchBackward), 3);
    EXPECT_EQ(text.SearchSubString("abc", 2, ZALSearchBackward), 0);
    EXPECT_EQ(text.SearchSubString("bc", 0, ZALSearchBackward), -1);
    EXPECT_EQ(text.SearchSubString("abc", -1, ZALSearchBackward), -1);
}

TEST(ZALUnicodeString, SearchesWithLetterCase)
{
    EXPECT_EQ(ZALUnicodeString("abc").SearchSubString("B"), -1);
}

TEST(ZALUnicodeString, FindsNothingLongerThanItself)
{
    EXPECT_EQ(ZALUnicodeString("abc").SearchSubString("abcd"), -1);
    EXPECT_EQ(ZALUnicodeString().SearchSubString("a", 5, ZALSearchBackward), -1);
}

TEST(ZALUnicodeString, CutsASubStringOffAtItsEnd)
{
    const ZALUnicodeString text("abcdef");
    EXPECT_EQ(text.GetSubString(2, 3), ZALUnicodeString("cde"));
    EXPECT_EQ(text.GetSubString(4, 99), ZALUnicodeString("ef"));
    EXPECT_EQ(text.GetSubString(6, 1), ZALUnicodeString());
    EXPECT_EQ(text.GetSubString(7, 1), ZALUnicodeString());
    EXPECT_EQ(text.GetSubString(99, 1), ZALUnicodeString());
    EXPECT_EQ(text.GetSubString(0, 0), ZALUnicodeString());
}

TEST(ZALUnicodeString, HasNoSubStringAtANegativePlaceOrOfANegativeLength)
{
    EXPECT_EQ(ZALUnicodeString("abc").GetSubString(-1, 2), ZALUnicodeString());
    EXPECT_EQ(ZALUnicodeString("abc").GetSubString(1, -1), ZALUnicodeString());
}

// ---------------------------------------------------------------------------------------------
// Changing

TEST(ZALUnicodeString, ReplacesEachUnit)
{
    ZALUnicodeString text("/a//b/");
    text.ReplaceAll(u'/', u'\\');
    EXPECT_EQ(text, ZALUnicodeString("\\a\\\\b\\"));
}

TEST(ZALUnicodeString, StripsTheNamedEndsOnly)
{
    const auto strip = [](const char* content, int where) {
        ZALUnicodeString text(content);
        text.Strip(where, u'"');
        return ToUtf8(text);
    };
    EXPECT_EQ(strip("\"\"a\"b\"\"", ZALStripLeading), "a\"b\"\"");
    EXPECT_EQ(strip("\"\"a\"b\"\"", ZALStripTrailing), "\"\"a\"b");
    EXPECT_EQ(strip("\"\"a\"b\"\"", ZALStripBoth), "a\"b");
    EXPECT_EQ(strip("ab", ZALStripBoth), "ab");
    EXPECT_EQ(strip("\"\"", ZALStripLeading), "");
    EXPECT_EQ(strip("\"\"", ZALStripTrailing), "");
    EXPECT_EQ(strip("\"\"", ZALStripBoth), "");
    EXPECT_EQ(strip("", ZALStripBoth), "");
}

TEST(ZALUnicodeString, AppendsAlsoItself)
{
    ZALUnicodeString text("ab");
    text.Append("c");
    text += "d";
    text += text;
    EXPECT_EQ(text + "!", ZALUnicodeString("abcdabcd!"));
}

// ---------------------------------------------------------------------------------------------
// Going out

TEST(ZALUnicodeString, ConvertsToUtf8WithItsZeroCharacters)
{
    EXPECT_EQ(ZALUnicodeString(u"\u20AC\0\U0001F600", 4).ConvertToUTF8(),
              ZALOmxUTF8String("\xE2\x82\xAC\0\xF0\x9F\x98\x80", 8));
}

TEST(ZALUnicodeString, ConvertsALoneSurrogateToTheReplacementCharacter)
{
    const char16_t lone = 0xD800;
    EXPECT_EQ(ZALUnicodeString(&lone, 1).ConvertToUTF8(), ZALOmxUTF8String("\xEF\xBF\xBD"));
}

TEST(ZALUnicodeString, ConvertsToTheNarrowEncoding)
{
    EXPECT_EQ(ZALUnicodeString(u"\u00E4b").ConvertToChar(), ZALString("\xC3\xA4"
                                                                      "b"));
}

TEST(ZALString, IsEmptyWithoutAText)
{
    EXPECT_EQ(ZALString(nullptr), ZALString());
    EXPECT_STREQ(ZALString().CastToCharPtr(), "");
    EXPECT_EQ(ZALString("abc").GetLengthInChar(), 3);
    EXPECT_FALSE(ZALString("abc") == ZALString("ABC"));
}

TEST(ZALOmxUTF8String, HoldsZeroBytes)
{
    const ZALOmxUTF8String text("a\0b", 3);
    EXPECT_EQ(View(text), std::string_view("a\0b", 3));
    EXPECT_FALSE(text == ZALOmxUTF8String("a"));
    EXPECT_EQ(ZALOmxUTF8String(nullptr), ZALOmxUTF8String());
    EXPECT_EQ(ZALOmxUTF8String(nullptr, 0), ZALOmxUTF8String());
}

TEST(ZALOmxUTF8String, IsTestedForExactlyOneText)
{
    const ZALOmxUTF8String text("Part");
    EXPECT_TRUE(text.Test("Part"));
    for (const char* other : {"", "part", "Par", "Parts"})
        EXPECT_FALSE(text.Test(other)) << other;
    EXPECT_FALSE(ZALOmxUTF8String("Part\0", 5).Test("Part"));
}

// ---------------------------------------------------------------------------------------------
// Lists

TEST(ZALListValZALUnicodeString, CountsFromOne)
{
    ZALListValZALUnicodeString list;
    EXPECT_EQ(list.Size(), 0);
    list.Append("a");
    list.Append("b");
    list.Append("c");
    list[2] += "!";
    list.Swap(1, 3);

    const ZALListValZALUnicodeString copy = list;
    list.RemoveAll();

    EXPECT_EQ(list.Size(), 0);
    ASSERT_EQ(copy.Size(), 3);
    EXPECT_EQ(copy[1], ZALUnicodeString("c"));
    EXPECT_EQ(copy[2], ZALUnicodeString("b!"));
    EXPECT_EQ(copy[3], ZALUnicodeString("a"));
}

// ---------------------------------------------------------------------------------------------
// Parts of texts, characters, code pages

TEST(ZALUnicodeString, ReplacesEachPartFromLeftToRight)
{
    const auto replaced = [](ZALUnicodeString text, const ZALUnicodeString& old, const ZALUnicodeString& by) {
        const int count = text.ReplaceSubString(old, by);
        return std::to_string(count) + " " + ToUtf8(text);
    };
    EXPECT_EQ(replaced("", "a", "b"), "0 ");
    EXPECT_EQ(replaced("abc", "", "x"), "0 abc");
    EXPECT_EQ(replaced("abc", "x", "y"), "0 abc");
    EXPECT_EQ(replaced("abcabc", "bc", ""), "2 aa");
    EXPECT_EQ(replaced("aaaa", "aa", "a"), "2 aa");
    EXPECT_EQ(replaced("aa", "a", "aa"), "2 aaaa");
    EXPECT_EQ(replaced("aA", "a", "b"), "1 bA");
    ZALUnicodeString itself = "ab";
    itself.ReplaceSubString(itself, itself);
    EXPECT_EQ(ToUtf8(itself), "ab");
}

TEST(ZALUnicodeString, WritesItsUtf8IntoABuffer)
{
    for (const ZALUnicodeString& text : {ZALUnicodeString(), ZALUnicodeString(u"a\u00E4\u20AC\U0001F600"),
                                         ZALUnicodeString(u"\xD800", 1), ZALUnicodeString(u"a\0b", 3)}) {
        std::string buffer(4 * static_cast<std::size_t>(text.GetLengthInChar()) + 1, 'x');
        std::size_t length = 99;
        text.ConvertToUTF8(buffer.data(), length);
        EXPECT_EQ(buffer.substr(0, length), ToUtf8(text));
        EXPECT_EQ(buffer[length], '\0');
    }
}

TEST(ZALUnicodeChar, IsALetterOrADigitOfAnyScript)
{
    for (const char16_t unit : {u'0', u'9', u'A', u'z', u'\u00E4', u'\u0416', u'\u05D0', u'\u4E2D', u'\uAC00'})
        EXPECT_TRUE(ZALUnicodeChar(unit).IsAlnum()) << static_cast<int>(unit);
    for (const char16_t unit :
         {u'\0', u' ', u'_', u'-', u'@', u'[', u'`', u'{', u'\x7F', u'\u00A0', u'\u00D7', u'\u20AC', u'\u2028'})
        EXPECT_FALSE(ZALUnicodeChar(unit).IsAlnum()) << static_cast<int>(unit);
    for (int unit = 0xD800; unit <= 0xDFFF; ++unit)
        EXPECT_FALSE(ZALUnicodeChar(static_cast<char16_t>(unit)).IsAlnum()) << unit;
}

TEST(ZALUnicodeChar, HasTheLowerEightBitsAsItsNarrowValue)
{
    EXPECT_EQ(static_cast<char>(ZALUnicodeChar(u'a')), 'a');
    EXPECT_EQ(static_cast<char>(ZALUnicodeChar(u'\u20AC')), '\xAC');
    EXPECT_EQ(ZALUnicodeChar(u'a'), ZALUnicodeChar(u'a'));
    EXPECT_FALSE(ZALUnicodeChar(u'a') == ZALUnicodeChar(u'A'));
    ZALUnicodeString text = "x";
    text.Append(ZALUnicodeChar(u'\u20AC'));
    EXPECT_EQ(ToUtf8(text), "x\u20AC");
}

TEST(ZALCodePage, KnowsUtf8)
{
    EXPECT_TRUE(ZALCodePage::IsUTF8(nullptr, 0));
    EXPECT_TRUE(ZALCodePage::IsUTF8("abc", 3));
    EXPECT_TRUE(ZALCodePage::IsUTF8("\xE2\x82\xAC", 3));
    EXPECT_FALSE(ZALCodePage::IsUTF8("\xE2\x82\xAC", 2));
    EXPECT_FALSE(ZALCodePage::IsUTF8("\xE4", 1));
    EXPECT_FALSE(ZALCodePage::IsUTF8(nullptr, 1));
}

TEST(ZALListValZALUnicodeString, TakesItemsAtAnyPosition)
{
    ZALListValZALUnicodeString list;
    for (const auto& [index, item] : {std::pair{1, "b"}, {1, "a"}, {3, "d"}, {3, "c"}})
        list.InsertAt(index, item);
    ASSERT_EQ(list.Size(), 4);
    for (int index = 1; index <= 4; ++index)
        EXPECT_EQ(ToUtf8(list[index]), std::string(1, static_cast<char>('a' + index - 1)));
}

TEST(ZALListValZALUnicodeString, LocatesIdenticalItemsOnly)
{
    ZALListValZALUnicodeString list;
    EXPECT_EQ(list.Locate("a"), 0);
    for (const char* item : {"A", "a", "b", "a"})
        list.Append(item);
    EXPECT_EQ(list.Locate("a"), 2);
    EXPECT_EQ(list.Locate("a", 2), 2);
    EXPECT_EQ(list.Locate("a", 3), 4);
    EXPECT_EQ(list.Locate("a", 5), 0);
    EXPECT_EQ(list.Locate("c"), 0);
}

} // namespace
