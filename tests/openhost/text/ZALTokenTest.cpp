#include "openhost/text/Utf.h"

#include <gtest/gtest.h>

namespace {

std::vector<std::string> Split(const char* text, const char* separators)
{
    ZALToken token{ZALUnicodeString(text)};
    std::vector<std::string> parts;
    for (std::string part = openhost::ToUtf8(token.GetNextToken(separators)); !part.empty();
         part = openhost::ToUtf8(token.GetNextToken(separators)))
        parts.push_back(part);
    return parts;
}

using Parts = std::vector<std::string>;

TEST(ZALToken, SplitsAtEachOfTheSeparators)
{
    EXPECT_EQ(Split("attachment; filename=a.zip", ";="), (Parts{"attachment", " filename", "a.zip"}));
}

TEST(ZALToken, CountsARunOfSeparatorsAsOne)
{
    EXPECT_EQ(Split("a;;;b", ";"), (Parts{"a", "b"}));
    EXPECT_EQ(Split("a; ; b", "; "), (Parts{"a", "b"}));
}

TEST(ZALToken, PassesOverSeparatorsAtBothEnds)
{
    EXPECT_EQ(Split(";;a;", ";"), Parts{"a"});
}

TEST(ZALToken, GivesTheWholeTextWithoutASeparator)
{
    EXPECT_EQ(Split("abc", ";"), Parts{"abc"});
    EXPECT_EQ(Split("abc", ""), Parts{"abc"});
}

TEST(ZALToken, StaysEmptyAtTheEnd)
{
    ZALToken token{ZALUnicodeString("a;")};
    token.GetNextToken(";");
    EXPECT_EQ(token.GetNextToken(";"), ZALUnicodeString());
    EXPECT_EQ(token.GetNextToken(";"), ZALUnicodeString());
    EXPECT_EQ(Split("", ";"), Parts{});
    EXPECT_EQ(Split(";;", ";"), Parts{});
}

TEST(ZALToken, TakesOtherSeparatorsAtEachStep)
{
    ZALToken token{ZALUnicodeString("key=a;b")};
    EXPECT_EQ(token.GetNextToken("="), ZALUnicodeString("key"));
    EXPECT_EQ(token.GetNextToken("|"), ZALUnicodeString("=a;b"));
}

} // namespace
