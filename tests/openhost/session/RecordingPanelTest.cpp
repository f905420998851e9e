#include "openhost/session/RecordingPanel.h"

#include "openhost/journal/Journal.h"

#include <gtest/gtest.h>

namespace openhost {

/// A panel, with the journal kept.
class RecordingPanelTest : public ::testing::Test {
protected:
    RecordingPanelTest()
    {
        journal::Redirect([this](const nlohmann::ordered_json& event) { lines_.push_back(event.dump()); });
    }
    ~RecordingPanelTest() override
    {
        panel_->Release();
        journal::Redirect({});
    }

    RecordingPanel* panel_ = new RecordingPanel;
    std::vector<std::string> lines_;
};

TEST_F(RecordingPanelTest, ScriptsAndAddressesStandInTheJournal)
{
    EXPECT_EQ(panel_->ExecuteScript("alert('ä')"), S_OK);
    EXPECT_EQ(panel_->LoadUrl("https://velmart.example/"), S_OK);
    EXPECT_EQ(lines_, (std::vector<std::string>{"{\"event\":\"script\",\"text\":\"alert('ä')\"}",
                                                "{\"event\":\"load\",\"url\":\"https://velmart.example/\"}"}));
}

TEST_F(RecordingPanelTest, TheAddinIsFoundByTheNameOfItsClass)
{
    auto* addin = new ZALNotification;
    ZALBaseUnknown* found = addin;
    EXPECT_EQ(panel_->GetAddin("ZALNotification", &found), E_FAIL);
    EXPECT_EQ(found, nullptr);

    panel_->SetAddin(addin);
    EXPECT_EQ(panel_->GetAddin("ZALBaseUnknown", &found), E_FAIL);
    EXPECT_EQ(panel_->GetAddin("ZALNotification", &found), S_OK);
    EXPECT_EQ(found, addin);
    EXPECT_EQ(found->Release(), 1U);
    addin->Release();
}

} // namespace openhost
