// From a click on the page in the real browser to the changed product.

#include "openhost/documents/CadDocument.h"
#include "tests/journeys/PanelFixture.h"
#include "tests/support/Places.h"

#include <gmock/gmock.h>

#include <fstream>

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace openhost::testing {
namespace {

constexpr const char* TemplateSupport = "ZAL_VELMART_UNICITY_AND_TEMPLATE_SUPPORT";

/// Finds the one item that `words` name, shows it and clicks `button`, until the module has the message.
json ClickOnItem(const std::string& words, const std::string& button)
{
    return {{{"page", "${BASE}/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true"}},
            {{"wait", "message"}},
            {{"page", {{"enter", {{"selector", "#query"}, {"text", words}}}}}},
            {{"wait", {{"page", ".items li:only-child"}}}},
            {{"page", {{"click", ".items a"}}}},
            {{"wait", {{"page", button + ":enabled"}}}},
            {{"page", {{"click", button}}}},
            {{"wait", "message"}}};
}

json Join(json steps, const json& more)
{
    steps.insert(steps.end(), more.begin(), more.end());
    return steps;
}

class PanelJourney : public PanelFixture {
protected:
    /// The last event of steps that fail.
    json EndOf(const json& steps) const
    {
        const std::vector<json> journal = Play(steps);
        return journal.empty() ? json() : journal.back();
    }
};

TEST_F(PanelJourney, AClickOnInsertPutsTheItemIntoTheProductThatTheUserPicks)
{
    const std::vector<json> journal =
        PlayToTheEnd(Join(ClickOnItem("slot nut", "#insert"), {{{"select", "FRAME"}},
                                                               {{"wait", "transfer"}},
                                                               {{"wait", "idle"}},
                                                               {{"screenshot", Picture().string()}},
                                                               {{"save", "${PARTS}/FRAME.ZALProduct"}}}));
    const CadDocument product = ReadDocument(Parts() / "FRAME.ZALProduct");
    ASSERT_EQ(1U, product.children.size());
    EXPECT_EQ("SLOTNUT_8_M6.ZALPart", product.links.at(product.children[0].link));
    EXPECT_EQ(1U, Events(journal, "request").size()) << "the templates of the page are nothing without the support";
    std::ifstream picture(Picture(), std::ios::binary);
    std::string start(8, '\0');
    picture.read(start.data(), 8);
    EXPECT_EQ("\x89PNG\r\n\x1A\n", start);
}

TEST_F(PanelJourney, WithTemplateSupportAClickOnOpenOpensTheItemRebuilt)
{
    environment_[TemplateSupport] = "1";
    const std::vector<json> journal = PlayToTheEnd(
        Join(ClickOnItem("grip", "#open"), {{{"wait", "idle"}}, {{"tree", "${PARTS}/BOLTED_JOINT_M8.ZALProduct"}}}));
    EXPECT_TRUE(Events(journal, "dialog").empty());

    const CadDocument product = ReadDocument(Parts() / "BOLTED_JOINT_M8.ZALProduct");
    EXPECT_EQ("velmart-product-template", product.identity);
    EXPECT_EQ((UserParameter{"Title", "Velmart assembly"}), product.parameters.at(0));
    EXPECT_THAT(product.links,
                ElementsAre("BOLTED_JOINT_M8_01.ZALPart", "BOLTED_JOINT_M8_02.ZALPart", "BOLTED_JOINT_M8_03.ZALPart"));
    EXPECT_EQ(4U, product.children.size());
    const CadDocument washer = ReadDocument(Parts() / "BOLTED_JOINT_M8_02.ZALPart");
    EXPECT_EQ("velmart-part-template", washer.identity);
    EXPECT_EQ("ISO7089_M8", washer.partNumber);
    EXPECT_TRUE(washer.geometry);
    const std::vector<json> trees = Events(journal, "tree");
    ASSERT_EQ(1U, trees.size());
    EXPECT_EQ(4U, trees[0]["root"]["children"].size());
}

TEST_F(PanelJourney, WithTemplateSupportAClickOnInsertInsertsTheItemRebuilt)
{
    environment_[TemplateSupport] = "1";
    PlayToTheEnd(Join(ClickOnItem("slot nut", "#insert"),
                      {{{"select", "FRAME"}}, {{"wait", "idle"}}, {{"save", "${PARTS}/FRAME.ZALProduct"}}}));
    EXPECT_THAT(ReadDocument(Parts() / "FRAME.ZALProduct").links, ElementsAre("SLOTNUT_8_M6.ZALPart"));
    EXPECT_EQ("velmart-part-template", ReadDocument(Parts() / "SLOTNUT_8_M6.ZALPart").identity);
}

/// The step that waits until the page says of its request that it is `state`.
json WaitForState(const std::string& state)
{
    return {{"wait", {{"page", "#status[data-state=" + state + "]"}}}};
}

TEST_F(PanelJourney, ThePageTellsHowItsRequestsGoOneAfterTheOther)
{
    PlayToTheEnd(Join(ClickOnItem("slot nut", "#insert"), {WaitForState("waiting"),
                                                           {{"wait", {{"page", "#insert:disabled"}}}},
                                                           {{"select", "FRAME"}},
                                                           WaitForState("done"),
                                                           {{"wait", {{"page", "#folder:not(:empty)"}}}},
                                                           {{"answer", {{"dialog", "OverwriteNotify"}, {"button", 3}}}},
                                                           {{"page", {{"click", "#close"}}}},
                                                           {{"page", {{"click", "#download"}}}},
                                                           WaitForState("done"),
                                                           {{"wait", {{"page", "#files:not(:empty)"}}}},
                                                           {{"wait", {{"page", "#insert:enabled"}}}}}));
}

TEST_F(PanelJourney, ThePageTellsThatTheUserHasCancelledItsRequest)
{
    PutNutIntoFrame();
    PlayToTheEnd({{{"answer", {{"dialog", "OverwriteNotify"}, {"button", 4}}}}, // its file stands there: another folder
                  {{"page", "${BASE}/categories?connect&lockedapp=true#/items/slot-nut-m6"}},
                  {{"wait", "message"}},
                  {{"wait", {{"page", "#download:enabled"}}}},
                  {{"page", {{"click", "#download"}}}},
                  WaitForState("waiting"),
                  {{"push", {{"dialog", "ZALVelmartDownloadLocationDlg"}, {"control", "CLOSE"}}}},
                  WaitForState("cancelled"),
                  // The same way again.
                  {{"answer", {{"dialog", "OverwriteNotify"}, {"button", 4}}}},
                  {{"page", {{"click", "#retry"}}}},
                  WaitForState("waiting"),
                  {{"push", {{"dialog", "ZALVelmartDownloadLocationDlg"}, {"control", "CANCEL"}}}},
                  WaitForState("cancelled")});
}

TEST_F(PanelJourney, ThePageTellsWhyItsRequestHasFailed)
{
    const std::filesystem::path items = Folder() / "items";
    std::filesystem::copy(ItemsDir(), items, std::filesystem::copy_options::recursive);
    std::filesystem::remove(items / "files" / "slot-nut-m6.zip");
    catalogue::CatalogueService service(items);
    service.Start();
    PlayToTheEnd(Join(ClickOnItem("slot nut", "#open"), {WaitForState("failed"),
                                                         {{"wait", {{"page", "#retry:enabled"}}}},
                                                         {{"wait", {{"page", "#insert:enabled"}}}}}),
                 service.GetAddress());
}

TEST_F(PanelJourney, APageThatIsNotTheCataloguesIsToldToTheModuleAndSendsNothing)
{
    // The address of the service without the path that marks the catalogue's page.
    const std::vector<json> journal = PlayToTheEnd({{{"page", "${BASE}/#/items/slot-nut-m6"}},
                                                    {{"wait", "url"}},
                                                    {{"wait", {{"page", "#unconnected"}}}},
                                                    {{"wait", "idle"}}});
    EXPECT_EQ(1U, Events(journal, "url").size());
    EXPECT_TRUE(Events(journal, "message").empty());
}

TEST_F(PanelJourney, WhatThePageDoesNotShowFailsTheStep)
{
    const json end =
        EndOf({{{"page", "${BASE}/categories?connect"}}, {{"wait", "url"}}, {{"page", {{"click", "#none"}}}}});
    EXPECT_EQ(1, end["status"]);
    EXPECT_EQ(3, end["step"]);
    EXPECT_THAT(end["reason"], HasSubstr("\"#none\" finds nothing"));
}

TEST_F(PanelJourney, AnAddressThatThePanelDoesNotShowFailsTheStep)
{
    const json end = EndOf({{{"page", "file:///etc/passwd"}}});
    EXPECT_EQ(1, end["status"]);
    EXPECT_EQ("the panel does not show file:///etc/passwd", end["reason"]);
}

} // namespace
} // namespace openhost::testing
