// How the location dialog, the options page and the addin use a settings object of the test's own.

#include "tests/support/HostFixture.h"
#include "tests/support/Installed.h"
#include "tests/support/ScriptedFiles.h"
#include "tests/support/ScriptedSettings.h"
#include "tests/support/WatchingDisplay.h"

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

/// Everything in the file system is a folder, unless a test says otherwise.
class SettingsUse : public HostFixture {
protected:
    ~SettingsUse() override { EndAllDialogs(); }

    ScriptedSettingsObject& Settings() { return settings_->Object(); }
    Texts Calls() { return log_.Take(); }
    /// Nobody but the test holds the settings object.
    void ExpectReleased() { EXPECT_EQ(1U, ReferencesOf(&Settings())); }

    CallLog log_;
    Installed<ScriptedFiles> files_{log_};
    Installed<ScriptedSettings> settings_{log_};
};

// ---------------------------------------------------------------------------------------------
// The location dialog

class LocationDialogSettings : public SettingsUse {
protected:
    static constexpr const char* Dialog = "ZALVelmartDownloadLocationDlg";

    /// An open dialog, whose reading of the settings is forgotten.
    void Open()
    {
        ZALVelmartDownloadLocationDlg::Create();
        Calls();
    }
    void Enter(const char* text) { Surface().EnterText(Dialog, Editor, text); }
    void Check(int state) { Surface().SetState(Dialog, CheckButton, state); }
    void PushOK() { Surface().Push(Dialog, "OK"); }
};

TEST_F(LocationDialogSettings, ReadTheFlagAndThenTheFolder)
{
    ZALVelmartDownloadLocationDlg::Create();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "info of flag", "get folder", "info of folder"));
    ExpectReleased();
}

TEST_F(LocationDialogSettings, WriteTheFlagThenTheFolderThatHaveChangedAndSaveOnce)
{
    const struct {
        const char* name;
        const char* entered; ///< null: the folder stays
        bool isChecked;
        HRESULT setResult;
        Texts calls; ///< after the settings were made
    } rows[] = {
        {"nothing", nullptr, true, S_OK, {"get flag", "get folder"}},
        {"both", "/new", false, S_OK, {"get flag", "set flag false", "get folder", "set folder /new", "save 0"}},
        {"letter case", "/STORED", true, S_OK, {"get flag", "get folder", "set folder /STORED", "save 0"}},
        {"folder not taken", "/new", true, E_FAIL, {"get flag", "get folder", "set folder /new", "save 0"}},
        {"flag not taken", nullptr, false, E_FAIL, {"get flag", "set flag false", "get folder", "save 0"}}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        Settings().folder = "/stored";
        Settings().flag = true;
        Open();
        Settings().setResult = row.setResult;
        if (row.entered)
            Enter(row.entered);
        Check(row.isChecked ? 0x40000 : 0x80000);
        PushOK();
        Texts calls = Calls();
        EXPECT_EQ("settings", calls.at(0));
        calls.erase(calls.begin());
        EXPECT_EQ(row.calls, calls);
        ExpectReleased();
        Loop().RunUntilIdle();
    }
}

TEST_F(LocationDialogSettings, CompareWithWhatTheSettingsHoldAtOK)
{
    Open();
    Settings().folder = "/other";
    Settings().flag = false;
    PushOK();
    EXPECT_THAT(Calls(),
                ElementsAre("settings", "get flag", "set flag true", "get folder", "set folder /stored", "save 0"));
}

TEST_F(LocationDialogSettings, TakeAFlagThatCannotBeReadForOff)
{
    Settings().gives = false;
    Open();
    EXPECT_EQ(0x80000, static_cast<const ZALDlgCheckButton*>(Surface().Find(Dialog, CheckButton))->GetState());
    Enter("/stored");
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings", "get flag", "get folder", "set folder /stored", "save 0"));
}

TEST_F(LocationDialogSettings, UseNoSettingsThatComeWithAFailure)
{
    settings_->result = E_FAIL;
    Open();
    Enter("/new");
    PushOK();
    EXPECT_THAT(Calls(), ElementsAre("settings"));
    EXPECT_EQ(1, CountOf("ZALVelmartDownloadLocationDlg::OKNotif"));
    ExpectReleased();
}

TEST_F(LocationDialogSettings, HaveLetTheSettingsGoWhenTheyReport)
{
    ZALVelmartDownloadLocationDlg* dialog = ZALVelmartDownloadLocationDlg::Create();
    Listener listener([this](ZALBaseUnknown*, ZALNotification*, void*) { ExpectReleased(); });
    listener.Subscribe(dialog, "ZALVelmartDownloadLocationDlg::OKNotif");
    PushOK();
    EXPECT_EQ(1, listener.Calls());
}

/// A call of OK that finds no memory, and what has been asked up to the end.
class ScarceCall : public LocationDialogSettings,
                   public ::testing::WithParamInterface<std::pair<const char*, Texts>> {};

TEST_P(ScarceCall, KeepsTheDialogOpenAndSavesWhatWasWritten)
{
    Open();
    Enter("/new");
    Check(0x80000);
    Calls();
    log_.scarceCall = GetParam().first;
    PushOK();
    EXPECT_EQ(GetParam().second, Calls());
    EXPECT_EQ(0, CountOf("ZALVelmartDownloadLocationDlg::OKNotif"));
    ExpectReleased();
    log_.scarceCall.clear();
    Loop().RunUntilIdle();
    PushOK();
    EXPECT_EQ(1, CountOf("ZALVelmartDownloadLocationDlg::OKNotif"));
    EXPECT_EQ("/new", Settings().folder);
}

INSTANTIATE_TEST_SUITE_P(Calls, ScarceCall,
                         ::testing::Values(std::pair{"settings", Texts{"settings"}},
                                           std::pair{"get flag", Texts{"settings", "get flag"}},
                                           std::pair{"get folder", Texts{"settings", "get flag", "set flag false",
                                                                         "get folder", "save 0"}}));

TEST_F(LocationDialogSettings, ReportThoughThereIsNoMemoryToSave)
{
    Open();
    Enter("/new");
    log_.scarceCall = "save 0";
    PushOK();
    EXPECT_EQ(1, CountOf("ZALVelmartDownloadLocationDlg::OKNotif"));
}

TEST_F(LocationDialogSettings, TouchNoSettingsForAWrongFolderOrACancel)
{
    Open();
    files_->statResult = E_FAIL;
    Enter("/new");
    Check(0x80000);
    PushOK();
    Surface().Push(Dialog, "CANCEL");
    EXPECT_THAT(Calls(), IsEmpty());
}

/// Type bits of a file, and whether they make it a directory.
class FileType : public SettingsUse, public ::testing::WithParamInterface<std::pair<std::uint32_t, bool>> {};

TEST_P(FileType, IsJudgedByAllOfItsBits)
{
    files_->mode = GetParam().first;
    ZALVelmartDownloadLocationDlg* dialog = ZALVelmartDownloadLocationDlg::Create();
    EXPECT_EQ(GetParam().second, ZALVelmartDownloadLocationDlg::IsValidDirectory(dialog, "/any"));
    EXPECT_EQ(0, files_->statOptions);
}

INSTANTIATE_TEST_SUITE_P(Modes, FileType,
                         ::testing::Values(std::pair{0x4000U, true}, std::pair{0x41EDU, true},
                                           std::pair{0x14000U, true}, std::pair{0x6000U, false},
                                           std::pair{0xC000U, false}, std::pair{0xF000U, false},
                                           std::pair{0x8000U, false}, std::pair{0x0FFFU, false}, std::pair{0U, false}));

TEST_F(LocationDialogSettings, LookForNoFileWithoutAName)
{
    EXPECT_FALSE(ZALVelmartDownloadLocationDlg::IsValidDirectory(nullptr, "")); // though all that is asked for is there
}

// ---------------------------------------------------------------------------------------------
// The options page and its addin

class OptionsSettings : public SettingsUse {
protected:
    static constexpr const char* Options = "Options";

    OptionsSettings() : parent_(new ZALDlgDialog(nullptr, Options, ZALDlgOKCancelWindow))
    {
        parent_->SetVisibility(ZALDlgShow);
    }
    void OpenPage() { addin->CreateFrame(parent_); }
    ZALDialog* Parent() const { return parent_; }

    Owned<ZALVelmartMeridiaAccessSettingsUIAddin> addin{new ZALVelmartMeridiaAccessSettingsUIAddin};

private:
    ZALDlgDialog* parent_;
};

TEST_F(OptionsSettings, MakeOneSettingsObjectForTheAddinAndLetItGo)
{
    EXPECT_THAT(Calls(), ElementsAre("settings"));
    EXPECT_EQ(2U, ReferencesOf(&Settings()));
    addin.reset();
    ExpectReleased();
}

TEST_F(OptionsSettings, TakeTheSettingsWhateverTheResult)
{
    settings_->result = E_FAIL;
    const Owned<ZALVelmartMeridiaAccessSettingsUIAddin> another(new ZALVelmartMeridiaAccessSettingsUIAddin);
    Calls();
    EXPECT_EQ(S_OK, another->Save());
    EXPECT_THAT(Calls(), ElementsAre("save 0"));
}

TEST_F(OptionsSettings, HaveNoSettingsWithoutMemory)
{
    log_.scarceCall = "settings";
    const Owned<ZALVelmartMeridiaAccessSettingsUIAddin> another(new ZALVelmartMeridiaAccessSettingsUIAddin);
    Calls();
    EXPECT_EQ(S_OK, another->Reset());
    EXPECT_EQ(S_OK, another->Restore());
    EXPECT_EQ(S_OK, another->Save());
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(OptionsSettings, FailWithoutMemory)
{
    using Addin = ZALVelmartMeridiaAccessSettingsUIAddin;
    const std::tuple<const char*, HRESULT (Addin::*)(), Texts> rows[] = {
        {"step two 0 0", &Addin::Reset, {"step two 0 0"}},
        {"step three", &Addin::Restore, {"step three"}}, // what has not come back is not kept
        {"step one 0", &Addin::Restore, {"step three", "step one 0"}},
        {"save 0", &Addin::Save, {"save 0"}}};
    for (const auto& [scarce, operation, calls] : rows) {
        Calls();
        log_.scarceCall = scarce;
        EXPECT_EQ(E_FAIL, (addin.get()->*operation)()) << scarce;
        EXPECT_EQ(calls, Calls());
    }
}

TEST_F(OptionsSettings, MakeNoHalfPage)
{
    for (const char* scarce : {"info of folder", "info of flag"}) {
        log_.scarceCall = scarce;
        const std::size_t before = LiveDialogs().size();
        EXPECT_EQ(nullptr, addin->CreateFrame(Parent()));
        Loop().RunUntilIdle();
        EXPECT_EQ(before, LiveDialogs().size());
        EXPECT_EQ(2U, ReferencesOf(&Settings()));
    }
}

TEST_F(OptionsSettings, TellThePageItsNameNoIconAndItsLayout)
{
    OpenPage();
    ASSERT_TRUE(Surface().Find("VelmartTOFrame"));
    const ZALDialogNode& page = ZALDialogNode::Of(*Surface().Find("VelmartTOFrame"));
    EXPECT_STREQ("", page.icon.CastToCharPtr());
    EXPECT_EQ(1, page.layout);
}

TEST_F(OptionsSettings, ForwardResetRestoreAndSave)
{
    Calls();
    EXPECT_EQ(S_OK, addin->Reset());
    EXPECT_THAT(Calls(), ElementsAre("step two 0 0"));
    EXPECT_EQ(S_OK, addin->Restore());
    EXPECT_THAT(Calls(), ElementsAre("step three", "step one 0"));
    EXPECT_EQ(S_OK, addin->Save());
    EXPECT_THAT(Calls(), ElementsAre("save 0"));
}

TEST_F(OptionsSettings, TellHowTheSettingsTookIt)
{
    Settings().stepTwoResult = Settings().saveResult = E_INVALIDARG;
    EXPECT_EQ(E_INVALIDARG, addin->Reset());
    EXPECT_EQ(E_INVALIDARG, addin->Save());
    Settings().stepOneResult = E_INVALIDARG;
    EXPECT_EQ(E_INVALIDARG, addin->Restore());
    Settings().stepThreeResult = E_FAIL;
    Calls();
    EXPECT_EQ(E_FAIL, addin->Restore());
    EXPECT_THAT(Calls(), ElementsAre("step three", "step one 0")) << "the second step comes all the same";
}

TEST_F(OptionsSettings, ReadOnlyTheLocksWhenThePageIsMade)
{
    Calls();
    OpenPage();
    EXPECT_THAT(Calls(), ElementsAre("info of folder", "info of flag"));
}

TEST_F(OptionsSettings, ReadTheFlagAndThenTheFolderAtARefresh)
{
    OpenPage();
    Calls();
    addin->Refresh();
    EXPECT_THAT(Calls(), ElementsAre("get flag", "get folder"));
}

TEST_F(OptionsSettings, ShowAFlagThatCannotBeReadAsOff)
{
    OpenPage();
    Settings().gives = false;
    addin->Refresh();
    EXPECT_EQ(0x80000, static_cast<const ZALDlgCheckButton*>(Surface().Find(Options, CheckButton))->GetState());
}

TEST_F(OptionsSettings, StoreEachChangeAndNothingElse)
{
    OpenPage();
    Calls();
    Surface().EnterText(Options, Editor, "/new");
    EXPECT_THAT(Calls(), ElementsAre("set folder /new"));
    Surface().SetState(Options, CheckButton, 0x40000);
    EXPECT_THAT(Calls(), ElementsAre("set flag true"));
    Surface().SetState(Options, CheckButton, 0x80000);
    EXPECT_THAT(Calls(), ElementsAre("set flag false"));
    files_->statResult = E_FAIL;
    Surface().EnterText(Options, Editor, "/wrong");
    EXPECT_THAT(Calls(), IsEmpty());
}

TEST_F(OptionsSettings, StoreTheChosenFolderOnceAndUnjudged)
{
    OpenPage();
    Surface().Push(Options, "VLDownloadLocationButton");
    Surface().EnterText("ZALVelmartDownloadDirectoryChooserDlg", "FOLDER", "/chosen");
    files_->statResult = E_FAIL;
    Calls();
    EXPECT_EQ(PushResult::Done, Surface().Push("ZALVelmartDownloadDirectoryChooserDlg", "OK"));
    EXPECT_THAT(Calls(), ElementsAre("set folder /chosen"));
    EXPECT_TRUE(Surface().Questions().empty());
}

} // namespace

} // namespace openhost::testing
