#include "openhost/play/Expand.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace openhost {

std::string Shout(const std::string& name)
{
    return "<" + name + ">";
}

TEST(Expand, ReplacesEachPlaceholder)
{
    EXPECT_EQ(Expand("", Shout), "");
    EXPECT_EQ(Expand("plain $ text } {", Shout), "plain $ text } {");
    EXPECT_EQ(Expand("${A}", Shout), "<A>");
    EXPECT_EQ(Expand("x${A}y${B c}${}", Shout), "x<A>y<B c><>");
}

TEST(Expand, ADoubledDollarSignKeepsWhatFollows)
{
    EXPECT_EQ(Expand("$${A}", Shout), "${A}");
    EXPECT_EQ(Expand("a$${A}${B}", Shout), "a${A}<B>");
    EXPECT_EQ(Expand("$$", Shout), "$$");
}

TEST(Expand, WhatComesInIsNotLookedAtAgain)
{
    EXPECT_EQ(Expand("${A}", [](const std::string&) { return std::string("${A}"); }), "${A}");
}

TEST(Expand, APlaceholderWithoutAnEndIsAnError)
{
    EXPECT_THROW(Expand("a ${b", Shout), std::invalid_argument);
}

TEST(Expand, AllTextsOfAValueAreReplacedAndNoNames)
{
    const auto value = nlohmann::ordered_json::parse(R"({"${K}": ["${A}", 1, {"b": "${B}"}], "n": null})");
    EXPECT_EQ(ExpandAll(value, Shout).dump(), R"({"${K}":["<A>",1,{"b":"<B>"}],"n":null})");
}

} // namespace openhost
