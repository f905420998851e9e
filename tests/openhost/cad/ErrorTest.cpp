// Errors that services of the host throw.

#include "host/part_features.h"
#include "openhost/journal/Journal.h"

#include <gtest/gtest.h>

#include <vector>

namespace openhost::testing {

namespace {

TEST(Error, IsCaughtByItsTypeAndToldWhenItIsDealtWith)
{
    std::vector<std::string> events;
    journal::Redirect([&](const nlohmann::ordered_json& event) { events.push_back(event.dump()); });
    try {
        throw ZALError("a loop of formulas");
    } catch (ZALError& error) {
        EXPECT_EQ(error.GetText(), ZALString("a loop of formulas"));
        EXPECT_TRUE(events.empty());
        error.Flush();
    }
    journal::Redirect({});
    ASSERT_EQ(1U, events.size());
    EXPECT_NE(events[0].find(R"("text":"a loop of formulas")"), std::string::npos);
    EXPECT_NE(events[0].find(R"("error")"), std::string::npos);
}

TEST(Error, MayHaveNoText)
{
    EXPECT_EQ(0, ZALError(nullptr).GetText().GetLengthInChar());
}

TEST(Format, HasItsNameAndIsFoundByQuery)
{
    const auto format = ZALFormat_var::Take(new ZALFormat(ZALFormatResultWithOutLink));
    EXPECT_STREQ(format->GetName().CastToCharPtr(), "ZALPrtResultWithOutLink");
    EXPECT_TRUE(ZALFormat_var(ZALBaseUnknown_var(format)) == format);
}

} // namespace

} // namespace openhost::testing
