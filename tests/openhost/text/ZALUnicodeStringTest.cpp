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
    EXPECT_EQ(0, ZALUnicodeString().GetLengthInChar());
    EXPECT_EQ(ZALUnicodeString(static_cast<const char*>(nullptr)), ZALUnicodeString());
    EXPECT_EQ(ZALUnicodeString(static_cast<const char16_t*>(nullptr)), ZALUnicodeString());
    EXPECT_EQ(ZALUnicodeString(static_cast<const char16_t*>(nullptr), 0), ZALUnicodeString());
    EXPECT_EQ(u'\0', ZALUnicodeString().CastToUTF16Ptr()[0]);
}

TEST(ZALUnicodeString, ReadsANarrowTextAsUtf8AndOtherBytesAsLatin1)
{
    EXPECT_EQ(ZALUnicodeString(u"\u00E4\u20AC"), ZALUnicodeString("\xC3\xA4\xE2\x82\xAC"));
    EXPECT_EQ(ZALUnicodeString(u"\u00E4"), ZALUnicodeString(ZALString("\xC3\xA4")));
    EXPECT_EQ(ZALUnicodeString(u"Gr\u00F6\u00DF!"), ZALUnicodeString("Gr\xF6\xDF!"));
}

TEST(ZALUnicodeString, CountsCodeUnitsAndTakesALengthInPlaceOfAZero)
{
    EXPECT_EQ(3, ZALUnicodeString(u"a\U0001F600").GetLengthInChar());
    const ZALUnicodeString text(u"a\0\U0001F600", 4);
    EXPECT_EQ(4, text.GetLengthInChar());
    EXPECT_EQ(u'a', text[0]);
    EXPECT_EQ(0xD83D, text[2]);
    EXPECT_EQ(0xDE00, text[3]);
    EXPECT_EQ(std::u16string_view(u"\u00E4\0b", 3), View(ZALUnicodeString(ZALOmxUTF8String("\xC3\xA4\0b", 4))));
}

TEST(ZALUnicodeString, TurnsIntoSmallLetters)
{
    const auto small = [](const char16_t* units) {
        ZALUnicodeString text(units);
        text.ToLower();
        return text;
    };
    EXPECT_EQ(ZALUnicodeString(), small(u""));
    EXPECT_EQ(ZALUnicodeString(u"@amz[`az{09"), small(u"@AMZ[`az{09"));
    EXPECT_EQ(ZALUnicodeString(u"\u00E4\u00DF\u0436\u03C3\u03C2"), small(u"\u00C4\u00DF\u0416\u03A3\u03C2"));
    EXPECT_EQ(ZALUnicodeString(u"\U00010400"), small(u"\U00010400")) << "one unit at a time";
}

TEST(ZALUnicodeString, BuildsFromUtf8AndIsEmptyAfterOtherBytes)
{
    ZALUnicodeString text("before");
    EXPECT_EQ(0, text.BuildFromUTF8("\xC3\xA4\0b", 4));
    EXPECT_EQ(std::u16string_view(u"\u00E4\0b", 3), View(text));
    EXPECT_EQ(-1, text.BuildFromUTF8("abc\xE4", 4));
    EXPECT_EQ(ZALUnicodeString(), text);
    text = "before";
    EXPECT_EQ(0, text.BuildFromUTF8("", 0));
    EXPECT_EQ(ZALUnicodeString(), text);
}

TEST(ZALUnicodeString, BuildsFromNumbersInEachForm)
{
    struct Row {
        std::uint64_t number;
        const char* form;
        const char* text;
    };
    for (const auto& [number, form, expected] :
         {Row{0, "%u", "0"}, Row{4294967295U, "%u", "4294967295"},
          Row{18446744073709551615U, "%I64u", "18446744073709551615"}, Row{0, "%02d", "00"}, Row{7, "%02d", "07"},
          Row{10, "%02d", "10"}, Row{120, "%02d", "120"}, Row{2147483647, "%02d", "2147483647"}}) {
        ZALUnicodeString text("before");
        text.BuildFromNum(number, form);
        EXPECT_EQ(expected, ToUtf8(text)) << form;
    }
}

// ---------------------------------------------------------------------------------------------
// Comparing

TEST(ZALUnicodeString, GivesAndTakesItsCodeUnits)
{
    const ZALUnicodeString text(u"a\0\U0001F529", 4);
    char16_t units[4] = {};
    int count = 0;
    EXPECT_EQ(S_OK, text.ConvertToUCChar(units, count));
    EXPECT_EQ(4, count);
    ZALUnicodeString built = "before";
    EXPECT_EQ(S_OK, built.BuildFromUCChar(units, count));
    EXPECT_EQ(built, text);
    EXPECT_EQ(S_OK, built.BuildFromUCChar(nullptr, 0));
    EXPECT_EQ(0, built.GetLengthInChar());
    EXPECT_EQ(S_OK, ZALUnicodeString().ConvertToUCChar(units, count));
    EXPECT_EQ(0, count);
}

TEST(ZALUnicodeString, GivesAndTakesNoCodeUnitsWithoutAPlaceForThem)
{
    int count = 7;
    EXPECT_EQ(E_INVALIDARG, ZALUnicodeString("a").ConvertToUCChar(nullptr, count));
    ZALUnicodeString text = "before";
    EXPECT_EQ(E_INVALIDARG, text.BuildFromUCChar(nullptr, 1));
    EXPECT_EQ(E_INVALIDARG, text.BuildFromUCChar(u"a", -1));
    EXPECT_EQ("before", ToUtf8(text));
}

TEST(ZALUnicodeString, ComparesIdenticalMatchingAndDifferentTexts)
{
    ASSERT_STREQ("C", std::setlocale(LC_ALL, nullptr)) << "letters of other scripts match in any locale";
    struct Row {
        const char* what;
        ZALUnicodeString one, other;
        int result;
    };
    const Row rows[] = {
        {"the same", "ZALPart", "ZALPart", ZALTextsIdentical},
        {"letter case", "ZALPart", "zalpart", ZALTextsMatch},
        {"shorter", "ZALPart", "ZALPar", ZALTextsDiffer},
        {"longer", "ZALPart", "ZALPartX", ZALTextsDiffer},
        {"another letter", "a", "b", ZALTextsDiffer},
        {"nothing", {}, {}, ZALTextsIdentical},
        {"something", {}, "a", ZALTextsDiffer},
        {"punctuation a bit away from letters", "@[`{", "`{@[", ZALTextsDiffer},
        {"Latin letters", u"\u00C4\u0141", u"\u00E4\u0142", ZALTextsMatch},
        {"Greek letters", u"\u03A3\u0391", u"\u03C3\u03B1", ZALTextsMatch},
        {"Cyrillic letters", u"\u0416\u0401", u"\u0436\u0451", ZALTextsMatch},
        {"other accents", u"\u00C4", u"\u00D6", ZALTextsDiffer},
        {"the final sigma", u"\u03C2", u"\u03C3", ZALTextsMatch},
        {"Turkish letter without a dot", u"\u0131", "I", ZALTextsDiffer},
        {"Turkish letter with a dot", u"\u0130", "i", ZALTextsDiffer},
        {"one letter and two", u"stra\u00DFe", "strasse", ZALTextsDiffer},
        {"letters of two units each", u"\U00010400", u"\U00010428", ZALTextsDiffer},
    };
    for (const auto& [what, one, other, result] : rows)
        EXPECT_EQ(result, one.Compare(other)) << what;
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

TEST(ZALUnicodeString, SearchesFromAPositionOnInEitherDirection)
{
    const ZALUnicodeString text("abcabc");
    EXPECT_EQ(1, text.SearchSubString("bc"));
    EXPECT_EQ(1, text.SearchSubString("bc", 1));
    EXPECT_EQ(4, text.SearchSubString("bc", 2));
    EXPECT_EQ(-1, text.SearchSubString("bc", 5));
    EXPECT_EQ(-1, text.SearchSubString("bc", 99));
    EXPECT_EQ(1, text.SearchSubString("bc", -5));
    EXPECT_EQ(3, text.SearchSubString("abc", 99, ZALSearchBackward));
    EXPECT_EQ(3, text.SearchSubString("abc", 3, ZALSearchBackward));
    EXPECT_EQ(0, text.SearchSubString("abc", 2, ZALSearchBackward));
    EXPECT_EQ(-1, text.SearchSubString("bc", 0, ZALSearchBackward));
    EXPECT_EQ(-1, text.SearchSubString("abc", -1, ZALSearchBackward));
    EXPECT_EQ(-1, text.SearchSubString("B")) << "letter case counts";
    EXPECT_EQ(-1, ZALUnicodeString("abc").SearchSubString("abcd"));
    EXPECT_EQ(-1, ZALUnicodeString().SearchSubString("a", 5, ZALSearchBackward));
}

TEST(ZALUnicodeString, CutsASubStringOffAtItsEnd)
{
    const ZALUnicodeString text("abcdef");
    EXPECT_EQ(ZALUnicodeString("cde"), text.GetSubString(2, 3));
    EXPECT_EQ(ZALUnicodeString("ef"), text.GetSubString(4, 99));
    for (const auto& [start, length] : {std::pair{6, 1}, {7, 1}, {99, 1}, {0, 0}, {-1, 2}, {1, -1}})
        EXPECT_EQ(ZALUnicodeString(), text.GetSubString(start, length)) << start << " " << length;
}

// ---------------------------------------------------------------------------------------------
// Changing

TEST(ZALUnicodeString, ReplacesEachUnit)
{
    ZALUnicodeString text("/a//b/");
    text.ReplaceAll(u'/', u'\\');
    EXPECT_EQ(ZALUnicodeString("\\a\\\\b\\"), text);
}

TEST(ZALUnicodeString, StripsTheNamedEndsOnly)
{
    const auto strip = [](const char* content, int where) {
        ZALUnicodeString text(content);
        text.Strip(where, u'"');
        return ToUtf8(text);
    };
    EXPECT_EQ("a\"b\"\"", strip("\"\"a\"b\"\"", ZALStripLeading));
    EXPECT_EQ("\"\"a\"b", strip("\"\"a\"b\"\"", ZALStripTrailing));
    EXPECT_EQ("a\"b", strip("\"\"a\"b\"\"", ZALStripBoth));
    EXPECT_EQ("ab", strip("ab", ZALStripBoth));
    EXPECT_EQ("", strip("", ZALStripBoth));
    for (const int where : {ZALStripLeading, ZALStripTrailing, ZALStripBoth})
        EXPECT_EQ("", strip("\"\"", where)) << where;
}

TEST(ZALUnicodeString, AppendsAlsoItself)
{
    ZALUnicodeString text("ab");
    text.Append("c");
    text += "d";
    text += text;
    EXPECT_EQ(ZALUnicodeString("abcdabcd!"), text + "!");
}

// ---------------------------------------------------------------------------------------------
// Going out

TEST(ZALUnicodeString, ConvertsToUtf8WithItsZeroCharacters)
{
    EXPECT_EQ(ZALOmxUTF8String("\xE2\x82\xAC\0\xF0\x9F\x98\x80", 8),
              ZALUnicodeString(u"\u20AC\0\U0001F600", 4).ConvertToUTF8());
    const char16_t lone = 0xD800;
    EXPECT_EQ(ZALOmxUTF8String("\xEF\xBF\xBD"), ZALUnicodeString(&lone, 1).ConvertToUTF8());
    EXPECT_EQ(ZALString("\xC3\xA4!"), ZALUnicodeString(u"\u00E4!").ConvertToChar());
}

TEST(ZALString, IsEmptyWithoutAText)
{
    EXPECT_EQ(ZALString(nullptr), ZALString());
    EXPECT_STREQ("", ZALString().CastToCharPtr());
    EXPECT_EQ(3, ZALString("abc").GetLengthInChar());
    EXPECT_FALSE(ZALString("abc") == ZALString("ABC"));
}

TEST(ZALOmxUTF8String, HoldsZeroBytesAndIsTestedForExactlyOneText)
{
    const ZALOmxUTF8String zero("a\0b", 3);
    EXPECT_EQ(std::string_view("a\0b", 3), View(zero));
    EXPECT_FALSE(zero == ZALOmxUTF8String("a"));
    EXPECT_EQ(ZALOmxUTF8String(), ZALOmxUTF8String(nullptr));
    EXPECT_EQ(ZALOmxUTF8String(), ZALOmxUTF8String(nullptr, 0));
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
    EXPECT_EQ(0, list.Size());
    list.Append("a");
    list.Append("b");
    list.Append("c");
    list[2] += "!";
    list.Swap(1, 3);

    const ZALListValZALUnicodeString copy = list;
    list.RemoveAll();

    EXPECT_EQ(0, list.Size());
    ASSERT_EQ(3, copy.Size());
    EXPECT_EQ(ZALUnicodeString("c"), copy[1]);
    EXPECT_EQ(ZALUnicodeString("b!"), copy[2]);
    EXPECT_EQ(ZALUnicodeString("a"), copy[3]);
}

// ---------------------------------------------------------------------------------------------
// Parts of texts, characters, code pages

TEST(ZALUnicodeString, ReplacesEachPartFromLeftToRight)
{
    const auto replaced = [](ZALUnicodeString text, const ZALUnicodeString& old, const ZALUnicodeString& by) {
        const int count = text.ReplaceSubString(old, by);
        return std::to_string(count) + " " + ToUtf8(text);
    };
    EXPECT_EQ("0 ", replaced("", "a", "b"));
    EXPECT_EQ("0 abc", replaced("abc", "", "x"));
    EXPECT_EQ("0 abc", replaced("abc", "x", "y"));
    EXPECT_EQ("2 aa", replaced("abcabc", "bc", ""));
    EXPECT_EQ("2 aa", replaced("aaaa", "aa", "a"));
    EXPECT_EQ("2 aaaa", replaced("aa", "a", "aa"));
    EXPECT_EQ("1 bA", replaced("aA", "a", "b"));
    ZALUnicodeString itself = "ab";
    itself.ReplaceSubString(itself, itself);
    EXPECT_EQ("ab", ToUtf8(itself));
}

TEST(ZALUnicodeString, WritesItsUtf8IntoABuffer)
{
    for (const ZALUnicodeString& text : {ZALUnicodeString(), ZALUnicodeString(u"a\u00E4\u20AC\U0001F600"),
                                         ZALUnicodeString(u"\xD800", 1), ZALUnicodeString(u"a\0b", 3)}) {
        std::string buffer(4 * static_cast<std::size_t>(text.GetLengthInChar()) + 1, 'x');
        std::size_t length = 99;
        text.ConvertToUTF8(buffer.data(), length);
        EXPECT_EQ(buffer.substr(0, length), ToUtf8(text));
        EXPECT_EQ('\0', buffer[length]);
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
    EXPECT_EQ('a', static_cast<char>(ZALUnicodeChar(u'a')));
    EXPECT_EQ('\xAC', static_cast<char>(ZALUnicodeChar(u'\u20AC')));
    EXPECT_EQ(ZALUnicodeChar(u'a'), ZALUnicodeChar(u'a'));
    EXPECT_FALSE(ZALUnicodeChar(u'a') == ZALUnicodeChar(u'A'));
    ZALUnicodeString text = "x";
    text.Append(ZALUnicodeChar(u'\u20AC'));
    EXPECT_EQ("x\u20AC", ToUtf8(text));
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
    ASSERT_EQ(4, list.Size());
    for (int index = 1; index <= 4; ++index)
        EXPECT_EQ(std::string(1, static_cast<char>('a' + index - 1)), ToUtf8(list[index]));
}

TEST(ZALListValZALUnicodeString, LocatesIdenticalItemsOnly)
{
    ZALListValZALUnicodeString list;
    EXPECT_EQ(0, list.Locate("a"));
    for (const char* item : {"A", "a", "b", "a"})
        list.Append(item);
    EXPECT_EQ(2, list.Locate("a"));
    EXPECT_EQ(2, list.Locate("a", 2));
    EXPECT_EQ(4, list.Locate("a", 3));
    EXPECT_EQ(0, list.Locate("a", 5));
    EXPECT_EQ(0, list.Locate("c"));
}

} // namespace
