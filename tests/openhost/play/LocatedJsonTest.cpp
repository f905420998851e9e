#include "openhost/play/LocatedJson.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace openhost {

/// The error of `text` as "LINE: REASON".
std::string ErrorOf(std::string_view text)
{
    try {
        LocatedJson::Parse(text);
    } catch (const LocatedError& error) {
        return std::to_string(error.Line()) + ": " + error.what();
    }
    return "no error";
}

TEST(LocatedJson, ValuesKnowTheirLines)
{
    const LocatedJson root =
        LocatedJson::Parse("\n{ \"a\": 1\n,\"b\": [\n1\n,\n2,3\n, \"x\",\ntrue\n],\n\"c\":\n{}}\n");
    EXPECT_EQ(2, root.line);
    EXPECT_EQ(2, root.Find("a")->line);
    const LocatedJson& list = *root.Find("b");
    EXPECT_EQ(3, list.line);
    ASSERT_EQ(5U, list.items.size());
    EXPECT_EQ(4, list.items[0].line);
    EXPECT_EQ(6, list.items[1].line);
    EXPECT_EQ(6, list.items[2].line);
    EXPECT_EQ(7, list.items[3].line);
    EXPECT_EQ(8, list.items[4].line);
    EXPECT_EQ(10, root.Find("c")->line);
    EXPECT_EQ(nullptr, root.Find("d"));
}

TEST(LocatedJson, ALineBreakInsideATextIsNoLineBreak)
{
    EXPECT_EQ(2, LocatedJson::Parse("[\"a\\n\\nb\",\n1]").items[1].line);
}

TEST(LocatedJson, ATextEndsAsItWas)
{
    const char* text = R"({"z":1,"a":[1.5,-3,18446744073709551615,true,null,"\u00e4",{}],"m":{"k":[]}})";
    EXPECT_EQ(LocatedJson::Parse(text).ToJson(), nlohmann::ordered_json::parse(text));
    EXPECT_EQ(LocatedJson::Parse(text).ToJson().dump(), nlohmann::ordered_json::parse(text).dump());
}

TEST(LocatedJson, AnErrorNamesTheLineWhereItIs)
{
    EXPECT_THAT(ErrorOf(""), ::testing::StartsWith("1: "));
    EXPECT_THAT(ErrorOf("{\n\"a\": 1,\n}"), ::testing::StartsWith("3: "));
    EXPECT_THAT(ErrorOf("{\n\n\"a\" 1}"), ::testing::StartsWith("3: "));
    EXPECT_THAT(ErrorOf("[1]\n[2]"), ::testing::StartsWith("2: "));
    EXPECT_THAT(ErrorOf("{\"a\":\n{"), ::testing::StartsWith("2: "));
    EXPECT_THAT(ErrorOf("[1,\n1e999]"), ::testing::StartsWith("2: number overflow"));
}

TEST(LocatedJson, AKeyThatStandsTwiceIsAnError)
{
    EXPECT_EQ("2: the key \"a\" stands here twice", ErrorOf("{\"a\": 1,\n\"a\": 2}"));
    EXPECT_EQ("no error", ErrorOf("{\"a\": {\"a\": 1}, \"b\": {\"a\": 2}}"));
}

TEST(LocatedJson, BytesThatAreNoUtf8AreAnError)
{
    EXPECT_THAT(ErrorOf("[\n\"\xff\"]"), ::testing::StartsWith("2: "));
    EXPECT_THAT(ErrorOf("[\"\xed\xa0\x80\"]"), ::testing::StartsWith("1: "));
}

TEST(LocatedJson, NestingIsLimited)
{
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ("no error", ErrorOf(nested(LocatedJson::MaximumDepth)));
    EXPECT_EQ("1: lists and maps are nested too deeply", ErrorOf(nested(LocatedJson::MaximumDepth + 1)));
    EXPECT_EQ("1: lists and maps are nested too deeply", ErrorOf(std::string(1'000'000, '[')));
}

} // namespace openhost
