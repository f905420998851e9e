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

TEST(ZALToken, SplitsAtEachRunOfSeparators)
{
    EXPECT_EQ((Parts{"attachment", " filename", "a.zip"}), Split("attachment; filename=a.zip", ";="));
    EXPECT_EQ((Parts{"a", "b"}), Split("a;;;b", ";"));
    EXPECT_EQ((Parts{"a", "b"}), Split("a; ; b", "; "));
    EXPECT_EQ(Parts{"a"}, Split(";;a;", ";"));
    EXPECT_EQ(Parts{"abc"}, Split("abc", ";"));
    EXPECT_EQ(Parts{"abc"}, Split("abc", ""));
}

TEST(ZALToken, StaysEmptyAtTheEnd)
{
    ZALToken token{ZALUnicodeString("a;")};
    token.GetNextToken(";");
    EXPECT_EQ(ZALUnicodeString(), token.GetNextToken(";"));
    EXPECT_EQ(ZALUnicodeString(), token.GetNextToken(";"));
    EXPECT_EQ(Parts{}, Split("", ";"));
    EXPECT_EQ(Parts{}, Split(";;", ";"));
}

TEST(ZALToken, TakesOtherSeparatorsAtEachStep)
{
    ZALToken token{ZALUnicodeString("key=a;b")};
    EXPECT_EQ(ZALUnicodeString("key"), token.GetNextToken("="));
    EXPECT_EQ(ZALUnicodeString("=a;b"), token.GetNextToken("|"));
}

} // namespace
