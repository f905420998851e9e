// From a click on the page in the real browser to the changed product.

#include "openhost/documents/CadDocument.h"
#include "tests/journeys/PanelFixture.h"

#include <gmock/gmock.h>

#include <fstream>

using nlohmann::json;
using ::testing::HasSubstr;

namespace openhost::testing {

namespace {

using PanelJourney = PanelFixture;

TEST_F(PanelJourney, AClickOnInsertPutsTheItemIntoTheProductThatTheUserPicks)
{
    const std::vector<json> journal =
        Play({{{"page", "${BASE}/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true"}},
              {{"wait", "message"}},
              {{"page", {{"enter", {{"selector", "#query"}, {"text", "slot nut"}}}}}},
              {{"wait", {{"page", ".items li:only-child"}}}},
              {{"page", {{"click", ".items a"}}}},
              {{"wait", {{"page", "#insert:enabled"}}}},
              {{"page", {{"click", "#insert"}}}},
              {{"wait", "message"}},
              {{"select", "FRAME"}},
              {{"wait", "transfer"}},
              {{"wait", "idle"}},
              {{"screenshot", Picture().string()}},
              {{"save", "${PARTS}/FRAME.ZALProduct"}}});
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(json({{"event", "end"}, {"status", 0}}), journal.back());
    const CadDocument product = ReadDocument(Parts() / "FRAME.ZALProduct");
    ASSERT_EQ(1U, product.children.size());
    EXPECT_EQ("SLOTNUT_8_M6.ZALPart", product.links.at(product.children[0].link));
    std::ifstream picture(Picture(), std::ios::binary);
    std::string start(8, '\0');
    picture.read(start.data(), 8);
    EXPECT_EQ("\x89PNG\r\n\x1A\n", start);
}

TEST_F(PanelJourney, APageThatIsNotTheCataloguesIsToldToTheModuleAndSendsNothing)
{
    // The address of the service without the path that marks the catalogue's page.
    const std::vector<json> journal = Play({{{"page", "${BASE}/#/items/slot-nut-m6"}},
                                            {{"wait", "url"}},
                                            {{"wait", {{"page", "#unconnected"}}}},
                                            {{"wait", "idle"}}});
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(0, journal.back()["status"]);
    EXPECT_EQ(1U, Named(journal, "url").size());
    EXPECT_TRUE(Named(journal, "message").empty());
}

TEST_F(PanelJourney, WhatThePageDoesNotShowFailsTheStep)
{
    const std::vector<json> journal =
        Play({{{"page", "${BASE}/categories?connect"}}, {{"wait", "url"}}, {{"page", {{"click", "#none"}}}}});
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(1, journal.back()["status"]);
    EXPECT_EQ(3, journal.back()["step"]);
    EXPECT_THAT(journal.back()["reason"], HasSubstr("\"#none\" finds nothing"));
}

TEST_F(PanelJourney, AnAddressThatThePanelDoesNotShowFailsTheStep)
{
    const std::vector<json> journal = Play({{{"page", "file:///etc/passwd"}}});
    ASSERT_FALSE(journal.empty());
    EXPECT_EQ(1, journal.back()["status"]);
    EXPECT_EQ("the panel does not show file:///etc/passwd", journal.back()["reason"]);
}

} // namespace

} // namespace openhost::testing
