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
    EXPECT_EQ("", Expand("", Shout));
    EXPECT_EQ("plain $ text } {", Expand("plain $ text } {", Shout));
    EXPECT_EQ("<A>", Expand("${A}", Shout));
    EXPECT_EQ("x<A>y<B c><>", Expand("x${A}y${B c}${}", Shout));
}

TEST(Expand, ADoubledDollarSignKeepsWhatFollows)
{
    EXPECT_EQ("${A}", Expand("$${A}", Shout));
    EXPECT_EQ("a${A}<B>", Expand("a$${A}${B}", Shout));
    EXPECT_EQ("$$", Expand("$$", Shout));
}

TEST(Expand, WhatComesInIsNotLookedAtAgain)
{
    EXPECT_EQ("${A}", Expand("${A}", [](const std::string&) { return std::string("${A}"); }));
}

TEST(Expand, APlaceholderWithoutAnEndIsAnError)
{
    EXPECT_THROW(Expand("a ${b", Shout), std::invalid_argument);
}

TEST(Expand, AllTextsOfAValueAreReplacedAndNoNames)
{
    const auto value = nlohmann::ordered_json::parse(R"({"${K}": ["${A}", 1, {"b": "${B}"}], "n": null})");
    EXPECT_EQ(R"({"${K}":["<A>",1,{"b":"<B>"}],"n":null})", ExpandAll(value, Shout).dump());
}

} // namespace openhost
