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
    EXPECT_EQ(root.line, 2);
    EXPECT_EQ(root.Find("a")->line, 2);
    const LocatedJson& list = *root.Find("b");
    EXPECT_EQ(list.line, 3);
    ASSERT_EQ(list.items.size(), 5U);
    EXPECT_EQ(list.items[0].line, 4);
    EXPECT_EQ(list.items[1].line, 6);
    EXPECT_EQ(list.items[2].line, 6);
    EXPECT_EQ(list.items[3].line, 7);
    EXPECT_EQ(list.items[4].line, 8);
    EXPECT_EQ(root.Find("c")->line, 10);
    EXPECT_EQ(root.Find("d"), nullptr);
}

TEST(LocatedJson, ALineBreakInsideATextIsNoLineBreak)
{
    EXPECT_EQ(LocatedJson::Parse("[\"a\\n\\nb\",\n1]").items[1].line, 2);
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
    EXPECT_EQ(ErrorOf("{\"a\": 1,\n\"a\": 2}"), "2: the key \"a\" stands here twice");
    EXPECT_EQ(ErrorOf("{\"a\": {\"a\": 1}, \"b\": {\"a\": 2}}"), "no error");
}

TEST(LocatedJson, BytesThatAreNoUtf8AreAnError)
{
    EXPECT_THAT(ErrorOf("[\n\"\xff\"]"), ::testing::StartsWith("2: "));
    EXPECT_THAT(ErrorOf("[\"\xed\xa0\x80\"]"), ::testing::StartsWith("1: "));
}

TEST(LocatedJson, NestingIsLimited)
{
    const auto nested = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
    EXPECT_EQ(ErrorOf(nested(LocatedJson::MaximumDepth)), "no error");
    EXPECT_EQ(ErrorOf(nested(LocatedJson::MaximumDepth + 1)), "1: lists and maps are nested too deeply");
    EXPECT_EQ(ErrorOf(std::string(1'000'000, '[')), "1: lists and maps are nested too deeply");
}

} // namespace openhost
