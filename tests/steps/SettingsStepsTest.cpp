// How the location dialog, the options page and the addin use the settings object, call by call.

#include "tests/steps/Services.h"

#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"
#include "dialogs/ZALVelmartToolsOptionFrame.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/text/Utf.h"
#include "tests/support/Listener.h"

#include <gmock/gmock.h>

#include <memory>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* Editor = "VLDownloadLocationEditor";
constexpr const char* CheckButton = "VLDoNotRemindDownloadLocationCheckButton";

class SettingsSteps : public StepsFixture {
protected:
    ~SettingsSteps() override { EndAllDialogs(); }

    /// Nobody but the test holds the settings object.
    static void ExpectReleased() { EXPECT_EQ(ReferencesOf(&Settings()), 1U); }
};

// ---------------------------------------------------------------------------------------------
// The location dialog

class LocationDialogSteps : public SettingsSteps {
protected:
    static constexpr const char* Dialog = "ZALVelmartDownloadLocationDlg";

    /// An open dialog, whose reading of the settings is forgotten.
    static void Open()
    {
        ZALVelmartDownloadLocationDlg::Create();
        Calls();
    }
    void Enter(const char* text) { Surface().EnterText(Dialog, Editor, text); }
    void Check(int state) { Surface().SetState(Dialog, CheckButton, state); }
    void PushOK() { Surface().Push(Dialog, "OK"); }
};

TEST_F(LocationDialogSteps, ReadTheFlagAndThenTheFolder)
{
    ZALVelmartDownloadLocationDlg::Create();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "info of flag", "get folder", "info of folder"));
    ExpectReleased();
}

TEST_F(LocationDialogSteps, WriteAndSaveNothingThatHasNotChanged)
{
    Open();
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "get folder"));
    ExpectReleased();
}

TEST_F(LocationDialogSteps, WriteTheFlagThenTheFolderAndSaveOnce)
{
    Open();
    Enter("/new");
    Check(0x80000);
    PushOK();
    EXPECT_THAT(Calls(),
                ElementsAre("settings", "get flag", "set flag false", "get folder", "set folder /new", "save 0"));
    ExpectReleased();
}

TEST_F(LocationDialogSteps, CompareWithWhatTheSettingsHoldAtOK)
{
    Open();
    Settings().folder = "/other";
    Settings().flag = false;
    PushOK();
    EXPECT_THAT(Calls(),
                ElementsAre("settings", "get flag", "set flag true", "get folder", "set folder /stored", "save 0"));
}

TEST_F(LocationDialogSteps, TellFoldersApartByTheirLetterCase)
{
    Open();
    Enter("/STORED");
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "get folder", "set folder /STORED", "save 0"));
}

TEST_F(LocationDialogSteps, SaveNothingWhenNothingCouldBeWritten)
{
    Open();
    Settings().setResult = E_FAIL;
    Enter("/new");
    Check(0x80000);
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "set flag false", "get folder", "set folder /new"));
    ExpectReleased();
}

TEST_F(LocationDialogSteps, TouchNoSettingsForAWrongFolderOrACancel)
{
    Open();
    Asked().statResult = E_FAIL;
    Enter("/new");
    Check(0x80000);
    PushOK();
    Surface().Push(Dialog, "CANCEL");
    EXPECT_THAT(Calls(), IsEmpty());
}

/// Type bits of a file, and whether they make it a directory.
class FileType : public SettingsSteps, public ::testing::WithParamInterface<std::pair<std::uint32_t, bool>> {};

TEST_P(FileType, IsJudgedByAllOfItsBits)
{
    Asked().mode = GetParam().first;
    ZALVelmartDownloadLocationDlg* dialog = ZALVelmartDownloadLocationDlg::Create();
    EXPECT_EQ(ZALVelmartDownloadLocationDlg::IsValidDirectory(dialog, "/any"), GetParam().second);
}

INSTANTIATE_TEST_SUITE_P(Modes, FileType,
                         ::testing::Values(std::pair{0x4000U, true}, std::pair{0x41EDU, true},
                                           std::pair{0x14000U, true}, std::pair{0x6000U, false},
                                           std::pair{0xC000U, false}, std::pair{0xF000U, false},
                                           std::pair{0x8000U, false}, std::pair{0x0FFFU, false}, std::pair{0U, false}));

TEST_F(LocationDialogSteps, LookForNoFileWithoutAName)
{
    EXPECT_FALSE(ZALVelmartDownloadLocationDlg::IsValidDirectory(nullptr, "")); // though all that is asked for is there
}

// ---------------------------------------------------------------------------------------------
// The options page and its addin

class OptionsSteps : public SettingsSteps {
protected:
    static constexpr const char* Options = "Options";

    OptionsSteps() : parent_(new ZALDlgDialog(nullptr, Options, ZALDlgOKCancelWindow))
    {
        parent_->SetVisibility(ZALDlgShow);
    }
    void OpenPage() { addin->CreateFrame(parent_); }

    Owned<ZALVelmartMeridiaAccessSettingsUIAddin> addin{new ZALVelmartMeridiaAccessSettingsUIAddin};

private:
    ZALDlgDialog* parent_;
};

TEST_F(OptionsSteps, MakeOneSettingsObjectForTheAddinAndLetItGo)
{
    EXPECT_THAT(Calls(), ElementsAre("settings"));
    EXPECT_EQ(ReferencesOf(&Settings()), 2U);
    addin.reset();
    ExpectReleased();
}

TEST_F(OptionsSteps, ForwardResetRestoreAndSave)
{
    Calls();
    EXPECT_EQ(addin->Reset(), S_OK);
    EXPECT_THAT(Calls(), ElementsAre("step two 0 0"));
    EXPECT_EQ(addin->Restore(), S_OK);
    EXPECT_THAT(Calls(), ElementsAre("step three", "step one 0"));
    EXPECT_EQ(addin->Save(), S_OK);
    EXPECT_THAT(Calls(), ElementsAre("save 0"));
}

TEST_F(OptionsSteps, TellHowTheSettingsTookIt)
{
    Settings().stepTwoResult = Settings().saveResult = E_INVALIDARG;
    EXPECT_EQ(addin->Reset(), E_INVALIDARG);
    EXPECT_EQ(addin->Save(), E_INVALIDARG);
    Settings().stepOneResult = E_INVALIDARG;
    EXPECT_EQ(addin->Restore(), E_INVALIDARG);
    Settings().stepThreeResult = E_FAIL;
    Calls();
    EXPECT_EQ(addin->Restore(), E_FAIL);
    EXPECT_THAT(Calls(), ElementsAre("step three", "step one 0")) << "the second step comes all the same";
}

TEST_F(OptionsSteps, ReadOnlyTheLocksWhenThePageIsMade)
{
    Calls();
    OpenPage();
    EXPECT_THAT(Calls(), ElementsAre("info of folder", "info of flag"));
}

TEST_F(OptionsSteps, ReadTheFlagAndThenTheFolderAtARefresh)
{
    OpenPage();
    Calls();
    addin->Refresh();
    EXPECT_THAT(Calls(), ElementsAre("get flag", "get folder"));
}

TEST_F(OptionsSteps, StoreEachChangeAndNothingElse)
{
    OpenPage();
    Calls();
    Surface().EnterText(Options, Editor, "/new");
    EXPECT_THAT(Calls(), ElementsAre("set folder /new"));
    Surface().SetState(Options, CheckButton, 0x40000);
    EXPECT_THAT(Calls(), ElementsAre("set flag true"));
    Surface().SetState(Options, CheckButton, 0x80000);
    EXPECT_THAT(Calls(), ElementsAre("set flag false"));
    Asked().statResult = E_FAIL;
    Surface().EnterText(Options, Editor, "/wrong");
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(OptionsSteps, StoreTheChosenFolderOnceAndUnjudged)
{
    OpenPage();
    Surface().Push(Options, "VLDownloadLocationButton");
    Surface().EnterText("ZALVelmartDownloadDirectoryChooserDlg", "FOLDER", "/chosen");
    Asked().statResult = E_FAIL;
    Calls();
    EXPECT_EQ(Surface().Push("ZALVelmartDownloadDirectoryChooserDlg", "OK"), PushResult::Done);
    EXPECT_THAT(Calls(), ElementsAre("set folder /chosen"));
    EXPECT_TRUE(Surface().Questions().empty());
}

} // namespace

} // namespace openhost::testing
