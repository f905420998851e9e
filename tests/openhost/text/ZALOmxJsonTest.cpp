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
    EXPECT_EQ(S_OK, Parse(text, value)) << text;
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
        EXPECT_EQ(S_OK, map.MapGetAt(index, key, value));
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
        EXPECT_EQ(E_FAIL, Parse(text, value));
        EXPECT_EQ("before", TextOf(value));
    }
}

TEST(ZALOmxJson, RefusesWhatIsNoJsonAndLeavesTheValueAlone)
{
    ExpectRefused({"", " \n", "{", "{\"a\":1", "[1,]", "{\"a\":1,}", "{a:1}", "'a'", "{\"a\" 1}", "]", "[1}", "\"a"});
    ExpectRefused({"\"a\nb\"", "\"\\x41\"", "nul", "True", "NaN", "-", "+1", "01", ".5", "1.", "1e", "0x10"});
    ExpectRefused({"// note\n1", "/* note */1", "\xEF\xBB"});
    ExpectRefused({"{} {}", "1 2", "{}x", "{},"});               // more than one value
    ExpectRefused({"\0"sv, "{}\0"sv, "{}\0{}"sv, "\"a\0b\""sv}); // a zero byte
    ExpectRefused({"1e400", "-1e400"});                          // beyond the range of a double
    ExpectRefused({"\"\\ud800\"", "\"\\udc00\"", "\"\\ud800\\ud800\"", "\"\\ud800a\""});
}

TEST(ZALOmxJson, RefusesBytesThatAreNoUtf8)
{
    ExpectRefused({"\"\xE4\"", "\"\xC0\xAF\"", "\"\xED\xA0\x80\"", "\"\xF4\x90\x80\x80\"", "{\"\xFF\":1}", "\"\xC3\"",
                   "\xFF\xFE\"\0a\0\"\0"sv});
}

TEST(ZALOmxJson, TakesTheGreatestDepthAndNoMore)
{
    ZALOmxAny value;
    EXPECT_EQ(S_OK, Parse(Nested(ZALOmxMaximumDepth, "[", "]"), value));
    EXPECT_EQ(S_OK, Parse(Nested(ZALOmxMaximumDepth, "{\"a\":", "}"), value));
    EXPECT_EQ(E_FAIL, Parse(Nested(ZALOmxMaximumDepth + 1, "[", "]"), value));
    EXPECT_EQ(E_FAIL, Parse(Nested(ZALOmxMaximumDepth + 1, "{\"a\":", "}"), value));
    EXPECT_EQ(E_FAIL, Parse(Nested(ZALOmxMaximumDepth / 2 + 1, "[{\"a\":", "}]"), value));
    EXPECT_EQ(E_FAIL, Parse(std::string(10'000'000, '['), value));
    EXPECT_EQ(E_FAIL, Parse(Nested(1'000'000, "{\"a\":", "}"), value));
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
    EXPECT_EQ(ZALOmxKindNull, KindOf("null"));
    EXPECT_EQ(ZALOmxKindNull, ZALOmxAny().GetKind() & ZALOmxKindMask);
    EXPECT_EQ(ZALOmxKindBoolean, KindOf("true"));
    EXPECT_EQ(ZALOmxKindBoolean, KindOf("false"));
    EXPECT_EQ(ZALOmxKindString, KindOf("\"\""));
    EXPECT_EQ(ZALOmxKindList, KindOf("[]"));
    for (const char* map : {"{}", " \t\r\n{} \t\r\n", "\xEF\xBB\xBF{}"})
        EXPECT_EQ(ZALOmxKindMap, KindOf(map)) << map;
}

TEST(ZALOmxJson, KeepsIntegersOf64BitsApartFromFloatingNumbers)
{
    for (const char* text : {"1", "-1", "9223372036854775807", "-9223372036854775808"})
        EXPECT_EQ(ZALOmxKindInteger, KindOf(text)) << text;
    for (const char* text : {"1.0", "1e0", "-0.0", "9223372036854775808", "18446744073709551615",
                             "18446744073709551616", "-9223372036854775809"})
        EXPECT_EQ(ZALOmxKindDouble, KindOf(text)) << text;
}

TEST(ZALOmxJson, ReadsEscapes)
{
    EXPECT_EQ("\"\\/\b\f\n\r\t\xC3\xA4\xF0\x9F\x98\x80\0!"sv,
              TextOf(Parsed(R"("\"\\\/\b\f\n\r\t\u00e4\ud83d\ude00\u0000!")")));
}

TEST(ZALOmxJson, KeepsTheOrderOfMembers)
{
    EXPECT_EQ((std::vector<std::string>{"z=2", "a=4", "m=0", "=5"}),
              Members(Parsed(R"({"z":1,"a":"","m":null,"":[]})")));
}

TEST(ZALOmxJson, TakesTheLastOfMembersWithOneKeyInThePlaceOfTheFirst)
{
    const ZALOmxAny map = Parsed(R"({"a":1,"b":2,"a":"x","c":3,"a":[7]})");
    EXPECT_EQ((std::vector<std::string>{"a=5", "b=2", "c=2"}), Members(map));

    ZALOmxAny value;
    EXPECT_EQ(S_OK, map.MapGetValue("a", value));
    EXPECT_EQ(1, value.ListSize());
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

    EXPECT_EQ(100'000, map.MapSize());
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
    EXPECT_EQ(S_OK, value.GetString(bytes));
    EXPECT_EQ(S_OK, value.GetString(text));
    EXPECT_EQ(ZALOmxUTF8String("a\0\xE2\x82\xAC", 5), bytes);
    EXPECT_EQ(ZALUnicodeString(u"a\0\u20AC", 3), text);
}

TEST(ZALOmxAny, ReadsIntegers)
{
    std::int64_t number = 0;
    EXPECT_EQ(S_OK, Parsed("-9223372036854775808").GetInteger(number));
    EXPECT_EQ(INT64_MIN, number);
    EXPECT_EQ(S_OK, Parsed("9223372036854775807").GetInteger(number));
    EXPECT_EQ(INT64_MAX, number);
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
            EXPECT_EQ(E_FAIL, value.GetString(bytes));
            EXPECT_EQ(E_FAIL, value.GetString(text));
            EXPECT_EQ(ZALOmxUTF8String("before"), bytes);
            EXPECT_EQ(ZALUnicodeString("before"), text);
        }

        if (kind != ZALOmxKindInteger) {
            std::int64_t number = 42;
            EXPECT_EQ(E_FAIL, value.GetInteger(number));
            EXPECT_EQ(42, number);
        }

        ZALOmxAny member = Parsed("\"before\"");
        EXPECT_EQ(E_FAIL, value.MapGetValue("a", member));
        if (kind != ZALOmxKindMap) {
            ZALOmxKeyString key("before");
            EXPECT_EQ(0, value.MapSize());
            EXPECT_EQ(E_FAIL, value.MapGetAt(0, key, member));
            EXPECT_EQ(ZALOmxKeyString("before"), key);
        }
        if (kind != ZALOmxKindList) {
            EXPECT_EQ(0, value.ListSize());
            EXPECT_EQ(E_FAIL, value.ListGetAt(1, member));
        }
        EXPECT_EQ("before", TextOf(member));
    }
}

TEST(ZALOmxAny, ComparesKeysByAllTheirBytes)
{
    const ZALOmxAny map = Parsed("{\"a\":1,\"A\\u0000\":\"found\"}");
    ZALOmxAny value;
    EXPECT_EQ(E_FAIL, map.MapGetValue("A", value));
    EXPECT_EQ(S_OK, map.MapGetValue(ZALOmxKeyString("A\0", 2), value));
    EXPECT_EQ("found", TextOf(value));
}

TEST(ZALOmxAny, CountsMembersFromZeroAndItemsFromOne)
{
    const ZALOmxAny list = Parsed("[\"first\",\"last\"]");
    ZALOmxAny value;
    EXPECT_EQ(E_FAIL, list.ListGetAt(0, value));
    EXPECT_EQ(E_FAIL, list.ListGetAt(3, value));
    EXPECT_EQ(E_FAIL, list.ListGetAt(-1, value));
    EXPECT_EQ(S_OK, list.ListGetAt(2, value));
    EXPECT_EQ("last", TextOf(value));

    const ZALOmxAny map = Parsed("{\"a\":\"first\",\"b\":\"last\"}");
    ZALOmxKeyString key;
    EXPECT_EQ(E_FAIL, map.MapGetAt(-1, key, value));
    EXPECT_EQ(E_FAIL, map.MapGetAt(2, key, value));
    EXPECT_EQ(S_OK, map.MapGetAt(0, key, value));
    EXPECT_EQ(ZALOmxKeyString("a"), key);
    EXPECT_EQ("first", TextOf(value));
}

TEST(ZALOmxAny, KeepsAMemberAliveWithoutItsMap)
{
    ZALOmxAny value;
    {
        const ZALOmxAny map = Parsed(R"({"outer":{"inner":[{"a rather long key of the only member":"kept"}]}})");
        ASSERT_EQ(S_OK, map.MapGetValue("outer", value));
    }
    // Each output is the value that is read from.
    ASSERT_EQ(S_OK, value.MapGetValue("inner", value));
    ASSERT_EQ(S_OK, value.ListGetAt(1, value));
    ZALOmxKeyString key;
    ASSERT_EQ(S_OK, value.MapGetAt(0, key, value));
    EXPECT_EQ(ZALOmxKeyString("a rather long key of the only member"), key);
    EXPECT_EQ("kept", TextOf(value));
}

TEST(ZALOmxAny, SharesTheContentOfCopies)
{
    const std::string text = "[\"" + std::string(10'000'000, 'x') + "\"]";
    std::vector<ZALOmxAny> copies(10'000, Parsed(text));
    ZALOmxAny item;
    ASSERT_EQ(S_OK, copies.back().ListGetAt(1, item));
    EXPECT_EQ(10'000'000U, TextOf(item).size());
}

TEST(ZALOmxAny, BecomesATextWhateverItIs)
{
    const std::pair<const char*, const char*> rows[] = {{"\"a\\u20ac\"", "a\u20AC"},
                                                        {"\"\"", ""},
                                                        {"12", "12"},
                                                        {"-1.5", "-1.5"},
                                                        {"true", "true"},
                                                        {"null", "null"},
                                                        {"[1, \"a\"]", "[1,\"a\"]"},
                                                        {"{\"k\": {}}", "{\"k\":{}}"}};
    for (const auto& [json, text] : rows)
        EXPECT_EQ(text, openhost::ToUtf8(Parsed(json).ConvertToUnicodeString()));
    EXPECT_EQ("null", openhost::ToUtf8(ZALOmxAny().ConvertToUnicodeString()));
}

} // namespace
