#include "openhost/text/Utf.h"

#include "host/json.h"

#include <gtest/gtest.h>

#include <functional>

namespace {

std::string Written(const std::function<void(ZALOmxJsonWriter&)>& write)
{
    ZALOmxTextStream stream;
    ZALOmxJsonWriter writer(stream);
    write(writer);
    return std::string(openhost::View(stream.ToUTF8String()));
}

ZALOmxAny Parsed(const std::string& text)
{
    ZALOmxAny value;
    EXPECT_EQ(S_OK, ZALOmxJson().parse(ZALOmxUTF8String(text.data(), text.size()), value)) << text;
    return value;
}

TEST(ZALOmxJsonWriter, WritesNestedObjectsAndListsWithoutWhiteSpace)
{
    EXPECT_EQ(R"({"method":"call","id":1,"params":{"paths":[{},"a","b",[],"",[]],"last":-9}})",
              Written([](ZALOmxJsonWriter& writer) {
                  writer.Object();
                  writer.Attribute("method", ZALOmxUTF8String("call"));
                  writer.Attribute("id", std::int64_t{1});
                  writer.Attribute("params");
                  writer.Object();
                  writer.Attribute("paths");
                  writer.List();
                  writer.Object();
                  writer.End();
                  writer.Item("a");
                  writer.Item("b");
                  writer.List();
                  writer.End();
                  writer.Item("");
                  writer.List();
                  writer.End();
                  writer.End();
                  writer.Attribute("last", std::int64_t{-9});
                  writer.End();
                  writer.End();
              }));
}

TEST(ZALOmxJsonWriter, EscapesKeysAndValues)
{
    EXPECT_EQ("{\"\\\"\\\\\":\"/\\b\\f\\n\\r\\t\\u0001\\u0000\\u001f\xC3\xA4\"}", Written([](ZALOmxJsonWriter& writer) {
                  writer.Object();
                  writer.Attribute("\"\\", ZALOmxUTF8String("/\b\f\n\r\t\x01\0\x1F\xC3\xA4", 11));
                  writer.End();
              }));
}

TEST(ZALOmxJsonWriter, ReplacesBytesThatAreNoUtf8)
{
    EXPECT_EQ("[\"a\xEF\xBF\xBD!\",\"\xEF\xBF\xBD\"]", Written([](ZALOmxJsonWriter& writer) {
                  writer.List();
                  writer.Item("a\xFF!");
                  writer.Item("\xC3");
                  writer.End();
              }));
}

TEST(ZALOmxJsonWriter, WritesValuesAsTheyWereRead)
{
    const std::string text = R"({"z":[1,1.0,-0.5,null,true,{"b":"\"","a":18446744073709551615}],"a":{}})";
    EXPECT_EQ("{\"item\":" + text + ",\"nothing\":null}", Written([&](ZALOmxJsonWriter& writer) {
                  writer.Object();
                  writer.Attribute("item", Parsed(text));
                  writer.Attribute("nothing", ZALOmxAny());
                  writer.End();
              }));
}

TEST(ZALOmxJsonWriter, WritesWhatTheParserReadsBack)
{
    const char bytes[] = "any\0 \"text\" \\ \x01 \xE2\x82\xAC";
    const ZALOmxUTF8String content(bytes, sizeof bytes - 1);
    const std::string text = Written([&](ZALOmxJsonWriter& writer) {
        writer.Object();
        writer.Attribute(content, content);
        writer.Attribute("least", std::int64_t{INT64_MIN});
        writer.End();
    });

    const ZALOmxAny map = Parsed(text);
    ZALOmxAny value;
    ZALOmxUTF8String read;
    ASSERT_EQ(S_OK, map.MapGetValue(content, value));
    EXPECT_EQ(S_OK, value.GetString(read));
    EXPECT_EQ(content, read);

    std::int64_t number = 0;
    ASSERT_EQ(S_OK, map.MapGetValue("least", value));
    EXPECT_EQ(S_OK, value.GetInteger(number));
    EXPECT_EQ(INT64_MIN, number);
}

TEST(ZALOmxJsonWriter, IgnoresAnEndThatEndsNothing)
{
    EXPECT_EQ("[]", Written([](ZALOmxJsonWriter& writer) {
                  writer.End();
                  writer.List();
                  writer.End();
                  writer.End();
              }));
}

} // namespace
