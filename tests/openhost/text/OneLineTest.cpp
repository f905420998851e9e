#include "openhost/text/OneLine.h"

#include <gtest/gtest.h>

namespace openhost {

TEST(OneLine, ControlCharactersBecomeBlanks)
{
    EXPECT_EQ("a [2J b c  d", InOneLine("a\x1B[2J\tb\nc\r\nd"));
    EXPECT_EQ("a b", InOneLine("a\x7F"
                               "b"));
    EXPECT_EQ("a 31m", InOneLine("a\xC2\x9B"
                                 "31m"))
        << "U+009B begins a sequence too";
    EXPECT_EQ(std::string("a b"), InOneLine(std::string_view("a\0b", 3)));
}

TEST(OneLine, OtherCharactersStay)
{
    EXPECT_EQ("Größe → \xC2\xA0½ 齿轮 🔩", InOneLine("Größe → \xC2\xA0½ 齿轮 🔩"));
}

TEST(OneLine, BytesThatAreNotUtf8AreReplaced)
{
    EXPECT_EQ("a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD",
              InOneLine("a\x9B"
                        "b\xC3"));
}

TEST(OneLine, APrintableTextKeepsItsLines)
{
    EXPECT_EQ("a\nb c", Printable("a\nb\tc"));
}

} // namespace openhost
