#include "openhost/text/Utf.h"

#include "host/json.h"

#include <gtest/gtest.h>

#include <chrono>
#include <clocale>

using namespace std::string_view_literals;

namespace {

HRESULT Parse(std::string_view text, ZALOmxAny& value)
{
    ZALOmxJson parser;
    parser.ActivateConsistentDoubleUnstream();
    return parser.parse(ZALOmxUTF8String(text.data(), text.size()), value);
}

ZALOmxAny Parsed(std::string_view text)
{
    ZALOmxAny value;
    EXPECT_EQ(Parse(text, value), S_OK) << text;
    return value;
}

int KindOf(std::string_view text)
{
    return Parsed(text).GetKind() & ZALOmxKindMask;
}

std::string TextOf(const ZALOmxAny& value)
{
    ZALOmxUTF8String text("no string");
    value.GetString(text);
    return std::string(openhost::View(text));
}

/// The members of a map as "key=kind".
std::vector<std::string> Members(const ZALOmxAny& map)
{
    std::vector<std::string> members;
    for (int index = 0; index < map.MapSize(); ++index) {
        ZALOmxKeyString key;
        ZALOmxAny value;
        EXPECT_EQ(map.MapGetAt(index, key, value), S_OK);
        members.push_back(std::string(openhost::View(key)) + "=" + std::to_string(value.GetKind()));
    }
    return members;
}

std::string Nested(int depth, std::string_view open, std::string_view close)
{
    std::string text;
    for (int level = 0; level < depth; ++level)
        text += open;
    text += "0";
    for (int level = 0; level < depth; ++level)
        text += close;
    return text;
}

// ---------------------------------------------------------------------------------------------
// Refused texts

void ExpectRefused(std::initializer_list<std::string_view> texts)
{
    for (const std::string_view text : texts) {
        SCOPED_TRACE(testing::PrintToString(text));
        ZALOmxAny value = Parsed("\"before\"");
        EXPECT_EQ(Parse(text, value), E_FAIL);
        EXPECT_EQ(TextOf(value), "before");
    }
}

TEST(ZALOmxJson, RefusesWhatIsNoJsonAndLeavesTheValueAlone)
{
    ExpectRefused({"", " \n", "{", "{\"a\":1", "[1,]", "{\"a\":1,}", "{a:1}", "'a'", "{\"a\" 1}", "]", "[1}", "\"a"});
    ExpectRefused({"\"a\nb\"", "\"\\x41\"", "nul", "True", "NaN", "-", "+1", "01", ".5", "1.", "1e", "0x10"});
    ExpectRefused({"// note\n1", "/* note */1", "\xEF\xBB"});
}

TEST(ZALOmxJson, RefusesWhatStandsBehindTheValue)
{
    ExpectRefused({"{} {}", "1 2", "{}x", "{},"});
}

TEST(ZALOmxJson, RefusesAZeroByteAnywhere)
{
    ExpectRefused({"\0"sv, "{}\0"sv, "{}\0{}"sv, "\"a\0b\""sv});
}

TEST(ZALOmxJson, RefusesANumberBeyondTheRangeOfADouble)
{
    ExpectRefused({"1e400", "-1e400"});
}

TEST(ZALOmxJson, RefusesBytesThatAreNoUtf8)
{
    ExpectRefused({"\"\xE4\"", "\"\xC0\xAF\"", "\"\xED\xA0\x80\"", "\"\xF4\x90\x80\x80\"", "{\"\xFF\":1}", "\"\xC3\"",
                   "\xFF\xFE\"\0a\0\"\0"sv});
}

TEST(ZALOmxJson, RefusesASurrogateWithoutItsPartner)
{
    ExpectRefused({"\"\\ud800\"", "\"\\udc00\"", "\"\\ud800\\ud800\"", "\"\\ud800a\""});
}

TEST(ZALOmxJson, TakesTheGreatestDepthAndNoMore)
{
    ZALOmxAny value;
    EXPECT_EQ(Parse(Nested(ZALOmxMaximumDepth, "[", "]"), value), S_OK);
    EXPECT_EQ(Parse(Nested(ZALOmxMaximumDepth, "{\"a\":", "}"), value), S_OK);
    EXPECT_EQ(Parse(Nested(ZALOmxMaximumDepth + 1, "[", "]"), value), E_FAIL);
    EXPECT_EQ(Parse(Nested(ZALOmxMaximumDepth + 1, "{\"a\":", "}"), value), E_FAIL);
    EXPECT_EQ(Parse(Nested(ZALOmxMaximumDepth / 2 + 1, "[{\"a\":", "}]"), value), E_FAIL);
}

TEST(ZALOmxJson, RefusesAHostileDepthWithoutRunningOutOfStack)
{
    ZALOmxAny value;
    EXPECT_EQ(Parse(std::string(10'000'000, '['), value), E_FAIL);
    EXPECT_EQ(Parse(Nested(1'000'000, "{\"a\":", "}"), value), E_FAIL);
}

TEST(ZALOmxJson, CountsOpenLevelsOnly)
{
    std::string text = "[0";
    for (int item = 0; item < 2 * ZALOmxMaximumDepth; ++item)
        text += ",[]";
    EXPECT_EQ(Parsed(text + "]").ListSize(), 2 * ZALOmxMaximumDepth + 1);
}

// ---------------------------------------------------------------------------------------------
// Taken texts

TEST(ZALOmxJson, TellsTheKinds)
{
    EXPECT_EQ(KindOf("null"), ZALOmxKindNull);
    EXPECT_EQ(KindOf("true"), ZALOmxKindBoolean);
    EXPECT_EQ(KindOf("false"), ZALOmxKindBoolean);
    EXPECT_EQ(KindOf("\"\""), ZALOmxKindString);
    EXPECT_EQ(KindOf("[]"), ZALOmxKindList);
    EXPECT_EQ(KindOf("{}"), ZALOmxKindMap);
    EXPECT_EQ(KindOf(" \t\r\n{} \t\r\n"), ZALOmxKindMap);
    EXPECT_EQ(ZALOmxAny().GetKind() & ZALOmxKindMask, ZALOmxKindNull);
}

TEST(ZALOmxJson, KeepsIntegersAndFloatingNumbersApart)
{
    EXPECT_EQ(KindOf("1"), ZALOmxKindInteger);
    EXPECT_EQ(KindOf("-1"), ZALOmxKindInteger);
    EXPECT_EQ(KindOf("1.0"), ZALOmxKindDouble);
    EXPECT_EQ(KindOf("1e0"), ZALOmxKindDouble);
    EXPECT_EQ(KindOf("-0.0"), ZALOmxKindDouble);
}

TEST(ZALOmxJson, CountsWhatExceeds64BitsAsFloating)
{
    EXPECT_EQ(KindOf("9223372036854775807"), ZALOmxKindInteger);
    EXPECT_EQ(KindOf("-9223372036854775808"), ZALOmxKindInteger);
    EXPECT_EQ(KindOf("9223372036854775808"), ZALOmxKindDouble);
    EXPECT_EQ(KindOf("18446744073709551615"), ZALOmxKindDouble);
    EXPECT_EQ(KindOf("18446744073709551616"), ZALOmxKindDouble);
    EXPECT_EQ(KindOf("-9223372036854775809"), ZALOmxKindDouble);
}

TEST(ZALOmxJson, SkipsAByteOrderMark)
{
    EXPECT_EQ(KindOf("\xEF\xBB\xBF{}"), ZALOmxKindMap);
}

TEST(ZALOmxJson, ReadsEscapes)
{
    EXPECT_EQ(TextOf(Parsed(R"("\"\\\/\b\f\n\r\t\u00e4\ud83d\ude00\u0000!")")),
              "\"\\/\b\f\n\r\t\xC3\xA4\xF0\x9F\x98\x80\0!"sv);
}

TEST(ZALOmxJson, KeepsTheOrderOfMembers)
{
    EXPECT_EQ(Members(Parsed(R"({"z":1,"a":"","m":null,"":[]})")),
              (std::vector<std::string>{"z=2", "a=4", "m=0", "=5"}));
}

TEST(ZALOmxJson, TakesTheLastOfMembersWithOneKeyInThePlaceOfTheFirst)
{
    const ZALOmxAny map = Parsed(R"({"a":1,"b":2,"a":"x","c":3,"a":[7]})");
    EXPECT_EQ(Members(map), (std::vector<std::string>{"a=5", "b=2", "c=2"}));

    ZALOmxAny value;
    EXPECT_EQ(map.MapGetValue("a", value), S_OK);
    EXPECT_EQ(value.ListSize(), 1);
}

TEST(ZALOmxJson, TakesAHundredThousandMembersInReasonableTime)
{
    std::string text = "{";
    for (int member = 0; member < 100'000; ++member)
        text += "\"key" + std::to_string(member) + "\":{\"a\":1},";
    text += "\"key0\":0}";

    const auto start = std::chrono::steady_clock::now();
    const ZALOmxAny map = Parsed(text);
    const auto elapsed = std::chrono::steady_clock::now() - start;

    EXPECT_EQ(map.MapSize(), 100'000);
    // A parser that compares each key with all before it takes minutes.
    EXPECT_LT(elapsed, std::chrono::seconds(20));
}

// ---------------------------------------------------------------------------------------------
// Values

TEST(ZALOmxAny, ReadsStringsInBothForms)
{
    const ZALOmxAny value = Parsed("\"a\\u0000\xE2\x82\xAC\"");
    ZALOmxUTF8String bytes;
    ZALUnicodeString text;
    EXPECT_EQ(value.GetString(bytes), S_OK);
    EXPECT_EQ(value.GetString(text), S_OK);
    EXPECT_EQ(bytes, ZALOmxUTF8String("a\0\xE2\x82\xAC", 5));
    EXPECT_EQ(text, ZALUnicodeString(u"a\0\u20AC", 3));
}

TEST(ZALOmxAny, ReadsIntegers)
{
    std::int64_t number = 0;
    EXPECT_EQ(Parsed("-9223372036854775808").GetInteger(number), S_OK);
    EXPECT_EQ(number, INT64_MIN);
    EXPECT_EQ(Parsed("9223372036854775807").GetInteger(number), S_OK);
    EXPECT_EQ(number, INT64_MAX);
}

TEST(ZALOmxAny, FailsToReadAnotherTypeAndLeavesTheOutputAlone)
{
    for (const char* content :
         {"null", "true", "1", "1.0", "9223372036854775808", "1e300", "\"1\"", "[1]", "{\"b\":1}"}) {
        SCOPED_TRACE(content);
        const ZALOmxAny value = Parsed(content);
        const int kind = value.GetKind() & ZALOmxKindMask;

        if (kind != ZALOmxKindString) {
            ZALOmxUTF8String bytes("before");
            ZALUnicodeString text("before");
            EXPECT_EQ(value.GetString(bytes), E_FAIL);
            EXPECT_EQ(value.GetString(text), E_FAIL);
            EXPECT_EQ(bytes, ZALOmxUTF8String("before"));
            EXPECT_EQ(text, ZALUnicodeString("before"));
        }

        if (kind != ZALOmxKindInteger) {
            std::int64_t number = 42;
            EXPECT_EQ(value.GetInteger(number), E_FAIL);
            EXPECT_EQ(number, 42);
        }

        ZALOmxAny member = Parsed("\"before\"");
        EXPECT_EQ(value.MapGetValue("a", member), E_FAIL);
        if (kind != ZALOmxKindMap) {
            ZALOmxKeyString key("before");
            EXPECT_EQ(value.MapSize(), 0);
            EXPECT_EQ(value.MapGetAt(0, key, member), E_FAIL);
            EXPECT_EQ(key, ZALOmxKeyString("before"));
        }
        if (kind != ZALOmxKindList) {
            EXPECT_EQ(value.ListSize(), 0);
            EXPECT_EQ(value.ListGetAt(1, member), E_FAIL);
        }
        EXPECT_EQ(TextOf(member), "before");
    }
}

TEST(ZALOmxAny, ComparesKeysByAllTheirBytes)
{
    const ZALOmxAny map = Parsed("{\"a\":1,\"A\\u0000\":\"found\"}");
    ZALOmxAny value;
    EXPECT_EQ(map.MapGetValue("A", value), E_FAIL);
    EXPECT_EQ(map.MapGetValue(ZALOmxKeyString("A\0", 2), value), S_OK);
    EXPECT_EQ(TextOf(value), "found");
}

TEST(ZALOmxAny, CountsMembersFromZeroAndItemsFromOne)
{
    const ZALOmxAny list = Parsed("[\"first\",\"last\"]");
    ZALOmxAny value;
    EXPECT_EQ(list.ListGetAt(0, value), E_FAIL);
    EXPECT_EQ(list.ListGetAt(3, value), E_FAIL);
    EXPECT_EQ(list.ListGetAt(-1, value), E_FAIL);
    EXPECT_EQ(list.ListGetAt(2, value), S_OK);
    EXPECT_EQ(TextOf(value), "last");

    const ZALOmxAny map = Parsed("{\"a\":\"first\",\"b\":\"last\"}");
    ZALOmxKeyString key;
    EXPECT_EQ(map.MapGetAt(-1, key, value), E_FAIL);
    EXPECT_EQ(map.MapGetAt(2, key, value), E_FAIL);
    EXPECT_EQ(map.MapGetAt(0, key, value), S_OK);
    EXPECT_EQ(key, ZALOmxKeyString("a"));
    EXPECT_EQ(TextOf(value), "first");
}

TEST(ZALOmxAny, KeepsAMemberAliveWithoutItsMap)
{
    ZALOmxAny value;
    {
        const ZALOmxAny map = Parsed(R"({"outer":{"inner":["kept"]}})");
        ASSERT_EQ(map.MapGetValue("outer", value), S_OK);
    }
    // Each output is the value that is read from.
    ASSERT_EQ(value.MapGetValue("inner", value), S_OK);
    ASSERT_EQ(value.ListGetAt(1, value), S_OK);
    EXPECT_EQ(TextOf(value), "kept");
}

TEST(ZALOmxAny, ReadsAMemberIntoTheMapItself)
{
    ZALOmxAny value = Parsed(R"({"a rather long key of the only member":"found"})");
    ZALOmxKeyString key;
    ASSERT_EQ(value.MapGetAt(0, key, value), S_OK);
    EXPECT_EQ(key, ZALOmxKeyString("a rather long key of the only member"));
    EXPECT_EQ(TextOf(value), "found");
}

TEST(ZALOmxAny, SharesTheContentOfCopies)
{
    const std::string text = "[\"" + std::string(10'000'000, 'x') + "\"]";
    std::vector<ZALOmxAny> copies(10'000, Parsed(text));
    ZALOmxAny item;
    ASSERT_EQ(copies.back().ListGetAt(1, item), S_OK);
    EXPECT_EQ(TextOf(item).size(), 10'000'000U);
}

TEST(ZALOmxAny, BecomesATextWhateverItIs)
{
    for (const auto& [json, text] : std::vector<std::pair<std::string, std::string>>{{"\"a\\u20ac\"", "a\u20AC"},
                                                                                     {"\"\"", ""},
                                                                                     {"12", "12"},
                                                                                     {"-1.5", "-1.5"},
                                                                                     {"true", "true"},
                                                                                     {"null", "null"},
                                                                                     {"[1, \"a\"]", "[1,\"a\"]"},
                                                                                     {"{\"k\": {}}", "{\"k\":{}}"}})
        EXPECT_EQ(openhost::ToUtf8(Parsed(json).ConvertToUnicodeString()), text);
    EXPECT_EQ(openhost::ToUtf8(ZALOmxAny().ConvertToUnicodeString()), "null");
}

} // namespace
