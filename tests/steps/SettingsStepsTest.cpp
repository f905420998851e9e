// How the location dialog, the options page and the addin use the settings object, call by call.

#include "tests/steps/Services.h"

#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "dialogs/ZALVelmartDownloadProgressDlg.h"
#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"
#include "dialogs/ZALVelmartToolsOptionFrame.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/text/Utf.h"
#include "tests/support/Listener.h"

#include <gmock/gmock.h>

#include <memory>
#include <tuple>

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

TEST_F(LocationDialogSteps, TakeAFlagThatCannotBeReadForOff)
{
    Settings().gives = false;
    Open();
    EXPECT_EQ(static_cast<const ZALDlgCheckButton*>(Surface().Find(Dialog, CheckButton))->GetState(), 0x80000);
    Enter("/stored");
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "get folder", "set folder /stored", "save 0"));
}

TEST_F(LocationDialogSteps, TellFoldersApartByTheirLetterCase)
{
    Open();
    Enter("/STORED");
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "get folder", "set folder /STORED", "save 0"));
}

TEST_F(LocationDialogSteps, SaveWhatTheSettingsHaveNotTaken)
{
    Open();
    Settings().setResult = E_FAIL;
    Enter("/new");
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "get folder", "set folder /new", "save 0"));
    ExpectReleased();
}

TEST_F(LocationDialogSteps, SaveAFlagThatTheSettingsHaveNotTaken)
{
    Open();
    Settings().setResult = E_FAIL;
    Check(0x80000);
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "set flag false", "get folder", "save 0"));
}

TEST_F(LocationDialogSteps, UseNoSettingsThatComeWithAFailure)
{
    Asked().settingsResult = E_FAIL;
    Open();
    Enter("/new");
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings"));
    EXPECT_EQ(CountOf("ZALVelmartDownloadLocationDlg::OKNotif"), 1);
    ExpectReleased();
}

TEST_F(LocationDialogSteps, HaveLetTheSettingsGoWhenTheyReport)
{
    ZALVelmartDownloadLocationDlg* dialog = ZALVelmartDownloadLocationDlg::Create();
    Listener listener([](ZALBaseUnknown*, ZALNotification*, void*) { ExpectReleased(); });
    listener.Subscribe(dialog, "ZALVelmartDownloadLocationDlg::OKNotif");
    PushOK();
    EXPECT_EQ(listener.Calls(), 1);
}

/// A call of OK that finds no memory, and what has been asked up to the end.
class ScarceCall : public LocationDialogSteps, public ::testing::WithParamInterface<std::pair<const char*, Texts>> {};

TEST_P(ScarceCall, KeepsTheDialogOpenAndSavesWhatWasWritten)
{
    Open();
    Enter("/new");
    Check(0x80000);
    Calls();
    Asked().scarceCall = GetParam().first;
    PushOK();
    EXPECT_EQ(Calls(), GetParam().second);
    EXPECT_EQ(CountOf("ZALVelmartDownloadLocationDlg::OKNotif"), 0);
    ExpectReleased();
    Asked().scarceCall.clear();
    Loop().RunUntilIdle();
    PushOK();
    EXPECT_EQ(CountOf("ZALVelmartDownloadLocationDlg::OKNotif"), 1);
    EXPECT_EQ(Settings().folder, "/new");
}

INSTANTIATE_TEST_SUITE_P(Calls, ScarceCall,
                         ::testing::Values(std::pair{"settings", Texts{"settings"}},
                                           std::pair{"get flag", Texts{"settings", "get flag"}},
                                           std::pair{"get folder", Texts{"settings", "get flag", "set flag false",
                                                                         "get folder", "save 0"}}));

TEST_F(LocationDialogSteps, ReportThoughThereIsNoMemoryToSave)
{
    Open();
    Enter("/new");
    Asked().scarceCall = "save 0";
    PushOK();
    EXPECT_EQ(CountOf("ZALVelmartDownloadLocationDlg::OKNotif"), 1);
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
    EXPECT_EQ(Asked().statOptions, 0);
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
// The progress bar

TEST_F(SettingsSteps, GiveTheBarItsRangeItsPositionAndItsPlace)
{
    ZALVelmartDownloadProgressDlg::Create();
    EXPECT_THAT(Calls(), ElementsAre("range 0 100", "position 0", "place 0 0 15 200"));
}

TEST_F(SettingsSteps, MoveTheBarBeforeTheRepaint)
{
    auto* dialog = ZALVelmartDownloadProgressDlg::Create();
    Calls();
    dialog->UpdateProgress(42);
    EXPECT_THAT(Calls(), ElementsAre("position 42", "repaint"));
}

TEST_F(SettingsSteps, OutliveABarThatFindsNoMemory)
{
    auto* dialog = ZALVelmartDownloadProgressDlg::Create();
    for (const char* scarce : {"position 42", "repaint"}) {
        Asked().scarceCall = scarce;
        EXPECT_NO_THROW(dialog->UpdateProgress(42)) << scarce;
    }
    Asked().scarceCall = "range 0 100";
    EXPECT_EQ(ZALVelmartDownloadProgressDlg::Create(), nullptr);
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
    ZALDialog* Parent() const { return parent_; }

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

TEST_F(OptionsSteps, TakeTheSettingsWhateverTheResult)
{
    Asked().settingsResult = E_FAIL;
    const Owned<ZALVelmartMeridiaAccessSettingsUIAddin> another(new ZALVelmartMeridiaAccessSettingsUIAddin);
    Calls();
    EXPECT_EQ(another->Save(), S_OK);
    EXPECT_THAT(Calls(), ElementsAre("save 0"));
}

TEST_F(OptionsSteps, HaveNoSettingsWithoutMemory)
{
    Asked().scarceCall = "settings";
    const Owned<ZALVelmartMeridiaAccessSettingsUIAddin> another(new ZALVelmartMeridiaAccessSettingsUIAddin);
    Calls();
    EXPECT_EQ(another->Reset(), S_OK);
    EXPECT_EQ(another->Restore(), S_OK);
    EXPECT_EQ(another->Save(), S_OK);
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(OptionsSteps, FailWithoutMemory)
{
    using Addin = ZALVelmartMeridiaAccessSettingsUIAddin;
    const std::tuple<const char*, HRESULT (Addin::*)(), Texts> rows[] = {
        {"step two 0 0", &Addin::Reset, {"step two 0 0"}},
        {"step three", &Addin::Restore, {"step three"}}, // what has not come back is not kept
        {"step one 0", &Addin::Restore, {"step three", "step one 0"}},
        {"save 0", &Addin::Save, {"save 0"}}};
    for (const auto& [scarce, operation, calls] : rows) {
        Calls();
        Asked().scarceCall = scarce;
        EXPECT_EQ((addin.get()->*operation)(), E_FAIL) << scarce;
        EXPECT_EQ(Calls(), calls);
    }
}

TEST_F(OptionsSteps, MakeNoHalfPage)
{
    for (const char* scarce : {"info of folder", "info of flag"}) {
        Asked().scarceCall = scarce;
        const std::size_t before = LiveDialogs().size();
        EXPECT_EQ(addin->CreateFrame(Parent()), nullptr);
        Loop().RunUntilIdle();
        EXPECT_EQ(LiveDialogs().size(), before);
        EXPECT_EQ(ReferencesOf(&Settings()), 2U);
    }
}

TEST_F(OptionsSteps, TellThePageItsNameNoIconAndItsLayout)
{
    Calls();
    OpenPage();
    EXPECT_THAT(Calls({"page"}), ElementsAre("page VelmartTOFrame '' 1"));
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
    EXPECT_THAT(Calls({"settings", "get", "info", "set", "save"}), ElementsAre("info of folder", "info of flag"));
}

TEST_F(OptionsSteps, ReadTheFlagAndThenTheFolderAtARefresh)
{
    OpenPage();
    Calls();
    addin->Refresh();
    EXPECT_THAT(Calls(), ElementsAre("get flag", "get folder"));
}

TEST_F(OptionsSteps, ShowAFlagThatCannotBeReadAsOff)
{
    OpenPage();
    Settings().gives = false;
    addin->Refresh();
    EXPECT_EQ(static_cast<const ZALDlgCheckButton*>(Surface().Find(Options, CheckButton))->GetState(), 0x80000);
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
