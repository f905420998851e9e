// From a click on the page in the real browser to the changed product.

#include "catalogue/service/CatalogueService.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/wait.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

using nlohmann::json;
using ::testing::HasSubstr;

namespace {

class PanelJourney : public ::testing::Test {
protected:
    PanelJourney() : service_(VELMART_ITEMS_DIR)
    {
        service_.Start();
        std::filesystem::create_directory(Parts());
        openhost::CadDocument product;
        product.kind = openhost::DocumentKind::Product;
        product.partNumber = "FRAME";
        openhost::WriteDocument(product, Parts() / "FRAME.ZALProduct");
    }

    std::filesystem::path Parts() const { return folder_.Path() / "parts"; }
    std::filesystem::path Picture() const { return folder_.Path() / "panel.png"; }

    /// Plays `steps` with the real page, offscreen, and the empty product FRAME as the active document.
    std::vector<json> Play(const json& steps)
    {
        const json session = {{"environment", {{"ZAL_MERIDIADIALOG_VLURL_CHECK", "${BASE}/categories"}}},
                              {"settings", {{"DownloadLocation", "${PARTS}"}, {"DoNotRemindDownloadLocation", true}}},
                              {"documents", {"${PARTS}/FRAME.ZALProduct"}},
                              {"steps", steps}};
        std::ofstream(folder_.Path() / "session.json") << session.dump();
        const std::filesystem::path journal = folder_.Path() / "journal";
        const std::string command = "QT_QPA_PLATFORM=offscreen '" VELMART_BINARY_DIR "/bin/openhost' play --panel '" +
                                    (folder_.Path() / "session.json").string() + "' --journal '" + journal.string() +
                                    "' --set BASE=" + service_.GetAddress() + " --set PARTS='" + Parts().string() + "'";
        EXPECT_NE(-1, std::system(command.c_str()));
        std::vector<json> events;
        std::ifstream lines(journal);
        for (std::string line; std::getline(lines, line);)
            events.push_back(json::parse(line));
        return events;
    }

    static std::vector<json> Named(const std::vector<json>& journal, const std::string& name)
    {
        std::vector<json> events;
        std::ranges::copy_if(journal, std::back_inserter(events),
                             [&](const json& event) { return event["event"] == name; });
        return events;
    }

    openhost::TemporaryFolder folder_;
    catalogue::CatalogueService service_;
};

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
    const openhost::CadDocument product = openhost::ReadDocument(Parts() / "FRAME.ZALProduct");
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
