// The dialog that asks for the folder of downloads.

#include "tests/dialogs/DialogProbe.h"
#include "tests/dialogs/DialogTestFixture.h"
#include "tests/support/Objects.h"

#include "host/frame.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>
#include <ostream>
#include <utility>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* Dialog = "ZALVelmartDownloadLocationDlg";
constexpr const char* OKNotif = "ZALVelmartDownloadLocationDlg::OKNotif";
constexpr const char* CancelNotif = "ZALVelmartDownloadLocationDlg::CANCELNotif";
constexpr const char* LocationFrame = "VLDownloadLocationFrm";
constexpr const char* Recording = "ADL_ODT_TMP";

class DownloadLocationDialog : public SettingsDialogFixture {
protected:
    ~DownloadLocationDialog() override { unsetenv(Recording); }

    static ZALVelmartDownloadLocationDlg* Open() { return ZALVelmartDownloadLocationDlg::Create(); }
    PushResult Push(const std::string& control) { return Surface().Push(Dialog, control); }
    PushResult Enter(const std::filesystem::path& path) { return Surface().EnterText(Dialog, Editor, Text(path)); }
    PushResult Check(int state) { return Surface().SetState(Dialog, CheckButton, state); }
    bool IsOpen() { return Surface().Find(Dialog) && NodeOf(Dialog).visible; }
};

// ---------------------------------------------------------------------------------------------
// Creation

TEST_F(DownloadLocationDialog, IsShownOnTheApplicationDocument)
{
    const auto* dialog = Open();
    ASSERT_TRUE(dialog);
    EXPECT_STREQ(dialog->GetName().CastToCharPtr(), Dialog);
    EXPECT_EQ(0x2000200U, dialog->GetStyle());
    EXPECT_EQ(dialog->GetFather(), ZALApplicationFrame::GetFrame()->GetApplicationDocument());
    EXPECT_TRUE(IsOpen());
}

TEST_F(DownloadLocationDialog, IsNotMadeWithoutAFrameOrItsDocument)
{
    ConfigureFrame({.applicationDocument = false});
    EXPECT_EQ(nullptr, Open());
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
    ResetFrame();
    EXPECT_EQ(nullptr, Open());
    EXPECT_THAT(LiveDialogs(), IsEmpty());
}

TEST_F(DownloadLocationDialog, HoldsItsControlsInTheirOrder)
{
    Open();
    EXPECT_THAT(ChildrenOf(Dialog), ElementsAre("VLDownloadLocationMainFrm"));
    EXPECT_EQ(NodeOf(Dialog).attached, NodeOf(Dialog).children);
    EXPECT_THAT(ChildrenOf("VLDownloadLocationMainFrm"), ElementsAre(LocationFrame, CheckButton));
    EXPECT_THAT(ChildrenOf(LocationFrame), ElementsAre("VLDownloadLocationLabel", Editor, Button));

    const std::vector<std::tuple<const char*, Kind, unsigned int>> controls = {
        {"VLDownloadLocationMainFrm", Kind::Frame, 0x80000U},
        {LocationFrame, Kind::Frame, 0x80000U},
        {"VLDownloadLocationLabel", Kind::Label, 0U},
        {Editor, Kind::Editor, 0U},
        {Button, Kind::PushButton, 0U},
        {CheckButton, Kind::CheckButton, 0U}};
    for (const auto& [name, kind, style] : controls) {
        EXPECT_EQ(NodeOf(name).kind, kind) << name;
        EXPECT_EQ(NodeOf(name).style, style) << name;
        EXPECT_TRUE(NodeOf(name).visible) << name;
    }
    EXPECT_EQ(23, NodeOf(Editor).visibleTextWidth);
}

TEST_F(DownloadLocationDialog, PutsItsControlsInOneRowWithTheCheckButtonBelow)
{
    Open();
    struct Line {
        bool vertical;
        int line, type;
        std::vector<std::string> controls;
        bool operator==(const Line&) const = default;
    };
    const auto linesOf = [this](const std::string& name) {
        std::vector<Line> lines;
        for (const ZALDialogNode::AttachmentLine& line : NodeOf(name).lines)
            lines.push_back({line.vertical, line.line, line.type, NamesOf(line.controls)});
        return lines;
    };
    EXPECT_EQ(linesOf(LocationFrame), (std::vector<Line>{{true, 1, 1, {"VLDownloadLocationLabel"}},
                                                         {true, 2, 1, {Editor}},
                                                         {true, 3, 4, {Editor}},
                                                         {true, 4, 1, {Button}},
                                                         {false, 1, 5, {"VLDownloadLocationLabel", Editor, Button}}}));
    EXPECT_EQ(linesOf("VLDownloadLocationMainFrm"), (std::vector<Line>{{true, 1, 1, {LocationFrame, CheckButton}},
                                                                       {true, 2, 4, {LocationFrame}},
                                                                       {false, 1, 5, {LocationFrame}},
                                                                       {false, 2, 5, {CheckButton}}}));
}

TEST_F(DownloadLocationDialog, ListensToItselfBeforeItsControlsAreThere)
{
    int changes = 0;
    Surface().ShowOn(std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.changed = [&](ZALDialog& control) {
        ZALDialog* window = &control;
        while (std::string(window->GetName().CastToCharPtr()) != Dialog && window->GetFather())
            window = window->GetFather();
        for (const char* event : {"ZALDlgWindCloseNotification", "ZALDlgCancelNotification", "ZALDlgOKNotification"})
            EXPECT_THAT(SubscribersOf(window, event), ElementsAre(window)) << event;
        ++changes;
    }}));
    Open();
    EXPECT_GT(changes, 0);
}

TEST_F(DownloadLocationDialog, IsCompleteWhenItIsShown)
{
    Texts shown;
    Surface().ShowOn(std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.shown = [&](ZALDialog& dialog) {
        shown.push_back(Node(&dialog).Name());
        EXPECT_EQ(Parts().string(), TextOf(Editor));
    }}));
    Open();
    EXPECT_THAT(shown, ElementsAre(Dialog));
}

TEST_F(DownloadLocationDialog, TakesItsTextsFromItsOwnFileFirst)
{
    const auto* dialog = Open();
    EXPECT_EQ(dialog->GetResourceFilename(-1), Dialog);
    EXPECT_EQ(dialog->GetResourceFilename(0), Dialog);
    EXPECT_EQ(dialog->GetResourceFilename(1), dialog->ZALDlgDialog::GetResourceFilename(0));
    EXPECT_EQ("", dialog->GetResourceFilename(2));
}

// ---------------------------------------------------------------------------------------------
// Values

TEST_F(DownloadLocationDialog, ShowsTheSettings)
{
    Open();
    EXPECT_EQ(TextOf(Editor), Parts().string());
    EXPECT_EQ(0x40000, NodeOf(CheckButton).state);
    for (const char* name : {LocationFrame, Editor, Button, CheckButton})
        EXPECT_TRUE(TakesInput(name)) << name;
}

TEST_F(DownloadLocationDialog, ShowsAFlagThatIsNotSetAndAFolderThatIsGone)
{
    for (const std::filesystem::path& folder : {std::filesystem::path(), Folder() / "gone"}) {
        SetSettings(folder, false);
        Open();
        EXPECT_EQ(folder.string(), TextOf(Editor));
        EXPECT_EQ(0x80000, NodeOf(CheckButton).state);
        Push("CANCEL");
        Loop().RunUntilIdle();
    }
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(DownloadLocationDialog, IsShownEmptyWithoutSettings)
{
    Store().SetAvailable(false);
    ConfigureCommands({.recorder = true, .capture = true});
    setenv(Recording, "/recorded", 1);
    ASSERT_TRUE(Open());
    EXPECT_TRUE(IsOpen());
    EXPECT_EQ("", TextOf(Editor));
    EXPECT_EQ(0x80000, NodeOf(CheckButton).state);
    EXPECT_TRUE(TakesInput(Editor));
    EXPECT_TRUE(TakesInput(CheckButton));
}

class LockedDownloadLocationDialog : public DownloadLocationDialog, public ::testing::WithParamInterface<char> {};

TEST_P(LockedDownloadLocationDialog, GreysTheFlagAlone)
{
    Store().SetLock("DoNotRemindDownloadLocation", GetParam());
    Open();
    const bool locked = GetParam() == 'R' || GetParam() == 'r';
    EXPECT_EQ(TakesInput(CheckButton), !locked);
    EXPECT_TRUE(TakesInput(Editor));
    EXPECT_TRUE(TakesInput(Button));
    EXPECT_EQ(Check(0x80000), locked ? PushResult::Insensitive : PushResult::Done);
}

TEST_P(LockedDownloadLocationDialog, GreysTheWholeFrameOfTheFolder)
{
    Store().SetLock("DownloadLocation", GetParam());
    Open();
    const bool locked = GetParam() == 'R' || GetParam() == 'r';
    for (const char* name : {LocationFrame, "VLDownloadLocationLabel", Editor, Button})
        EXPECT_EQ(TakesInput(name), !locked) << name;
    EXPECT_EQ(NodeOf(LocationFrame).sensitive, !locked) << "the frame as a whole";
    for (const char* name : {"VLDownloadLocationLabel", Editor, Button})
        EXPECT_TRUE(NodeOf(name).sensitive) << name;
    EXPECT_TRUE(TakesInput("VLDownloadLocationMainFrm"));
    EXPECT_TRUE(TakesInput(CheckButton));
    EXPECT_EQ(Enter(Other()), locked ? PushResult::Insensitive : PushResult::Done);
    EXPECT_EQ(Push(Button), locked ? PushResult::Insensitive : PushResult::Done);
    EXPECT_EQ(TextOf(Editor), locked ? Parts().string() : Other().string());
}

INSTANTIATE_TEST_SUITE_P(LockCharacters, LockedDownloadLocationDialog, ::testing::Values('R', 'r', '-', 'L', 'W', ' '),
                         [](const auto& test) { return "Character" + std::to_string(static_cast<int>(test.param)); });

// ---------------------------------------------------------------------------------------------
// Recorded sessions

struct RecordedCase {
    const char* name;
    CommandOptions commands;
    bool folderIsSet;
    const char* variable; ///< null: not defined
    const char* shown;    ///< null: the user's folder

    friend std::ostream& operator<<(std::ostream& output, const RecordedCase& recorded)
    {
        return output << recorded.name;
    }
};

class RecordedDownloadLocationDialog : public DownloadLocationDialog,
                                       public ::testing::WithParamInterface<RecordedCase> {};

TEST_P(RecordedDownloadLocationDialog, ProposesTheFolderOfTheRecording)
{
    const RecordedCase& recorded = GetParam();
    ConfigureCommands(recorded.commands);
    SetSettings(recorded.folderIsSet ? Parts() : "", false);
    if (recorded.variable)
        setenv(Recording, recorded.variable, 1);
    Open();
    EXPECT_EQ(TextOf(Editor), recorded.shown ? recorded.shown : Parts().string());
    EXPECT_EQ(0, Saves());
}

INSTANTIATE_TEST_SUITE_P(
    Cases, RecordedDownloadLocationDialog,
    ::testing::Values(RecordedCase{"Capture", {.recorder = true, .capture = true}, false, "/recorded", "/recorded"},
                      RecordedCase{"Replay", {.recorder = true, .replay = true}, false, "/recorded", "/recorded"},
                      RecordedCase{"IdleRecorder", {.recorder = true}, false, "/recorded", ""},
                      RecordedCase{"NoRecorder", {}, false, "/recorded", ""},
                      RecordedCase{"FolderSet", {.recorder = true, .capture = true}, true, "/recorded", nullptr},
                      RecordedCase{"VariableNotDefined", {.recorder = true, .capture = true}, false, nullptr, ""}),
    [](const auto& test) { return test.param.name; });

TEST_F(DownloadLocationDialog, KeepsALockedEmptyFolderThoughARecordingProposesOne)
{
    ConfigureCommands({.recorder = true, .capture = true});
    setenv(Recording, Parts().c_str(), 1);
    SetSettings({}, true);
    Store().SetLock("DownloadLocation", 'R');
    Open();
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_EQ("", StoredLocation());
    EXPECT_EQ(1, Saves()) << "for what was written and not taken";
    EXPECT_EQ(1, CountOf(OKNotif));
}

// ---------------------------------------------------------------------------------------------
// Browsing

TEST_F(DownloadLocationDialog, OpensAFolderChooserOfItsOwn)
{
    auto* dialog = Open();
    dialog->SetTitle("Folder of downloads");
    EXPECT_EQ(nullptr, Surface().Find(Chooser)) << "made on first use";
    EXPECT_EQ(PushResult::Done, Push(Button));
    ASSERT_TRUE(IsChooserShown());
    const ZALDialogNode& chooser = NodeOf(Chooser);
    EXPECT_EQ(0x12000200U, chooser.style);
    EXPECT_EQ(chooser.kind, Kind::FileBox);
    EXPECT_EQ(chooser.parent, dialog);
    EXPECT_EQ("Folder of downloads", ToUtf8(chooser.owner->GetTitle()));
    EXPECT_EQ(ToUtf8(chooser.startFolder), Parts().string());
    EXPECT_TRUE(IsOpen());
}

TEST_F(DownloadLocationDialog, StartsTheChooserInWhatTheEditorHoldsNow)
{
    Open();
    Enter(Other());
    Push(Button);
    EXPECT_EQ(ToUtf8(NodeOf(Chooser).startFolder), Other().string());
}

TEST_F(DownloadLocationDialog, IgnoresAWrongTextWhenItBrowses)
{
    SetSettings({}, true);
    Open();
    for (const std::filesystem::path& wrong : {std::filesystem::path(), Folder() / "missing", File()}) {
        Enter(wrong);
        EXPECT_EQ(PushResult::Done, Push(Button));
        EXPECT_TRUE(IsChooserShown());
        EXPECT_EQ("", ToUtf8(NodeOf(Chooser).startFolder)) << wrong;
        EXPECT_EQ(PushResult::Insensitive, Surface().Push(Chooser, "OK")) << "without a choice";
        Surface().Push(Chooser, "CANCEL");
    }
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(DownloadLocationDialog, TakesTheChosenFolderAndStoresNothingYet)
{
    Open();
    Push(Button);
    EXPECT_EQ(PushResult::Done, ChooseFolder(Other()));
    EXPECT_FALSE(IsChooserShown());
    EXPECT_EQ(TextOf(Editor), Other().string());
    EXPECT_EQ(StoredLocation(), Parts().string());
    EXPECT_EQ(0, Saves());
    EXPECT_EQ(0, CountOf(OKNotif));
    EXPECT_TRUE(IsOpen());
}

TEST_F(DownloadLocationDialog, HidesTheChooserBeforeItTakesTheFolder)
{
    WatchTheChooser();
    Open();
    Push(Button);
    ChooseFolder(Other());
    EXPECT_THAT(TextsAtHiding(), ElementsAre(Parts().string()));
}

TEST_F(DownloadLocationDialog, TakesTheFolderThatWasChosenBeforeTheHiding)
{
    ForgetTheChoiceAtHiding();
    Open();
    Push(Button);
    ChooseFolder(Other());
    EXPECT_EQ(TextOf(Editor), Other().string());
}

TEST_F(DownloadLocationDialog, KeepsItsTextWhenTheChooserIsCancelled)
{
    Open();
    for (const char* way : {"CANCEL", "CLOSE"}) {
        Push(Button);
        Surface().EnterText(Chooser, "FOLDER", Text(Other()));
        EXPECT_EQ(PushResult::Done, Surface().Push(Chooser, way));
        EXPECT_FALSE(IsChooserShown()) << way;
        EXPECT_EQ(TextOf(Editor), Parts().string()) << way;
    }
    EXPECT_EQ(0, CountOf(CancelNotif));
    EXPECT_TRUE(IsOpen());
}

TEST_F(DownloadLocationDialog, UsesOneChooserAgainAndAgain)
{
    Open();
    Push(Button);
    const ZALDialog* chooser = Surface().Find(Chooser);
    ChooseFolder(Other());
    Push(Button);
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().Find(Chooser), chooser);
    EXPECT_TRUE(IsChooserShown());
    EXPECT_EQ(ToUtf8(NodeOf(Chooser).startFolder), Other().string());
    EXPECT_EQ(1U, SubscribersOf(Surface().Find(Chooser), "ZALDlgOKNotification").size());
    EXPECT_EQ(1U, SubscribersOf(Surface().Find(Chooser), "ZALDlgCancelNotification").size());
}

TEST_F(DownloadLocationDialog, GoesOnWithoutAChooserAndTriesAnewNextTime)
{
    Open();
    Surface().OfferFileBoxes(false);
    EXPECT_EQ(PushResult::Done, Push(Button));
    EXPECT_EQ(nullptr, Surface().Find(Chooser));
    EXPECT_EQ(TextOf(Editor), Parts().string());
    Surface().OfferFileBoxes(true);
    EXPECT_EQ(PushResult::Done, Push(Button));
    EXPECT_TRUE(IsChooserShown());
}

TEST_F(DownloadLocationDialog, TakesItsChooserAlongWhenItEnds)
{
    auto* dialog = Open();
    Push(Button);
    ZALBaseUnknown_WR chooser(Surface().Find(Chooser));
    dialog->AddRef(); // the end of the window alone does not end the chooser then
    dialog->RequestDelayedDestruction();
    EXPECT_TRUE(IsChooserShown()) << "ends between events";
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, chooser.GetComponent());
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
    dialog->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    dialog->Release();
}

TEST_F(DownloadLocationDialog, LeavesNothingWhenTheHostEndsItWithItsChooser)
{
    ZALBaseUnknown_WR dialog(Open());
    Push(Button);
    ZALBaseUnknown_WR chooser(Surface().Find(Chooser));
    ResetFrame();
    EXPECT_EQ(nullptr, dialog.GetComponent());
    EXPECT_EQ(nullptr, chooser.GetComponent());
    EXPECT_EQ(0, CountOf(CancelNotif));
}

// ---------------------------------------------------------------------------------------------
// OK

TEST_F(DownloadLocationDialog, ReactsToTypingInNoWay)
{
    Open();
    EXPECT_EQ(PushResult::Done, Enter(Folder() / "missing"));
    EXPECT_EQ(PushResult::Done, Check(0x80000));
    EXPECT_EQ(StoredLocation(), Parts().string());
    EXPECT_TRUE(StoredFlag());
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_EQ(1U, SubscribersOf(Surface().Find(Editor), "ZALDlgEditorModifyNotification").size());
    EXPECT_EQ(1U, SubscribersOf(Surface().Find(CheckButton), "ZALDlgCheckModifyNotification").size());
}

struct ChangeCase {
    const char* name;
    bool folder;
    bool flag;
    int saves;

    friend std::ostream& operator<<(std::ostream& output, const ChangeCase& change) { return output << change.name; }
};

class ChangedDownloadLocationDialog : public DownloadLocationDialog,
                                      public ::testing::WithParamInterface<ChangeCase> {};

TEST_P(ChangedDownloadLocationDialog, IsStoredAndSavedOnceByOK)
{
    const ChangeCase& change = GetParam();
    Open();
    if (change.folder)
        Enter(Other());
    if (change.flag)
        Check(0x80000);
    EXPECT_EQ(0, Saves());
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_EQ(Saves(), change.saves);
    EXPECT_EQ(StoredLocation(), (change.folder ? Other() : Parts()).string());
    EXPECT_EQ(StoredFlag(), !change.flag);
    EXPECT_EQ(1, CountOf(OKNotif));
    EXPECT_EQ(0, CountOf(CancelNotif));
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
}

INSTANTIATE_TEST_SUITE_P(Changes, ChangedDownloadLocationDialog,
                         ::testing::Values(ChangeCase{"Nothing", false, false, 0},
                                           ChangeCase{"TheFolder", true, false, 1},
                                           ChangeCase{"TheFlag", false, true, 1}, ChangeCase{"Both", true, true, 1}),
                         [](const auto& test) { return test.param.name; });

TEST_F(DownloadLocationDialog, StoresAFlagThatTheUserSets)
{
    SetSettings(Parts(), false);
    Open();
    Check(0x40000);
    Push("OK");
    EXPECT_TRUE(StoredFlag());
    EXPECT_EQ(1, Saves());
}

TEST_F(DownloadLocationDialog, HasStoredTheSettingsWhenItReportsAndEndsAfterwards)
{
    auto* dialog = Open();
    Enter(Other());
    Check(0x80000);
    Listener listener([&](ZALBaseUnknown* publisher, ZALNotification* notification, void*) {
        EXPECT_EQ(publisher, dialog);
        EXPECT_STREQ(notification->IsA(), OKNotif);
        EXPECT_EQ(0, notification->GetAutomaticDelete());
        EXPECT_EQ(StoredLocation(), Other().string());
        EXPECT_FALSE(StoredFlag());
        EXPECT_EQ(1, Saves());
        Loop().RunUntilIdle();
        EXPECT_TRUE(IsOpen()) << "the end is asked for after the report";
    });
    listener.Subscribe(dialog, OKNotif);
    Push("OK");
    EXPECT_EQ(1, listener.Calls());
    EXPECT_TRUE(IsOpen()) << "ends between events";
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
}

TEST_F(DownloadLocationDialog, SurvivesASubscriberThatEndsIt)
{
    auto* dialog = Open();
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) {
        dialog->RequestDelayedDestruction();
        Loop().RunUntilIdle();
    });
    listener.Subscribe(dialog, OKNotif);
    EXPECT_EQ(PushResult::Done, Push("OK"));
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
}

TEST_F(DownloadLocationDialog, ReportsThoughTheSettingsAreGone)
{
    Open();
    Enter(Other());
    Store().SetAvailable(false);
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_EQ(1, CountOf(OKNotif));
    EXPECT_EQ(0, Saves());
    EXPECT_EQ(StoredLocation(), Parts().string());
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
}

TEST_F(DownloadLocationDialog, ReportsThoughTheSettingsCannotBeSaved)
{
    const std::filesystem::path file = Folder() / "settings.json";
    Store().Load(file);
    Open();
    Enter(Other());
    std::ofstream(file) << "damaged";
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_EQ(0, Saves());
    EXPECT_EQ(StoredLocation(), Other().string());
    EXPECT_EQ(1, CountOf(OKNotif));
}

struct InvalidCase {
    const char* name;
    const char* text; ///< below the folder of the test; null: empty

    friend std::ostream& operator<<(std::ostream& output, const InvalidCase& invalid) { return output << invalid.name; }
};

class InvalidDownloadLocation : public DownloadLocationDialog, public ::testing::WithParamInterface<InvalidCase> {
protected:
    std::filesystem::path Wrong() const { return GetParam().text ? Folder() / GetParam().text : ""; }
};

TEST_P(InvalidDownloadLocation, KeepsTheDialogOpenAndChangesNothing)
{
    Open();
    Enter(Wrong());
    Check(0x80000);
    Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
    EXPECT_EQ(PushResult::Done, Push("OK"));
    Loop().RunUntilIdle();
    EXPECT_TRUE(IsOpen());
    EXPECT_EQ(TextOf(Editor), Wrong().string());
    EXPECT_EQ(StoredLocation(), Parts().string());
    EXPECT_TRUE(StoredFlag());
    EXPECT_EQ(0, Saves());
    EXPECT_EQ(0, CountOf(OKNotif));
    EXPECT_EQ(0, CountOf(CancelNotif));
    EXPECT_FALSE(std::filesystem::is_directory(Folder() / "missing")) << "no folder is made";

    ASSERT_EQ(1U, Surface().Questions().size());
    const ScriptedSurface::Question& question = Surface().Questions()[0];
    EXPECT_EQ("NotADirectoryNotify", question.name);
    EXPECT_EQ(0x10000200U, question.style);
    EXPECT_EQ(question.parent, Dialog);
    EXPECT_EQ("Invalid folder", question.title);
    EXPECT_EQ("Chosen folder is not a valid folder.\nPlease select a valid folder", question.text);

    Enter(Other());
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_EQ(StoredLocation(), Other().string());
    EXPECT_EQ(1, CountOf(OKNotif));
    EXPECT_EQ(1U, Surface().Questions().size());
}

INSTANTIATE_TEST_SUITE_P(Texts, InvalidDownloadLocation,
                         ::testing::Values(InvalidCase{"Empty", nullptr}, InvalidCase{"Missing", "missing"},
                                           InvalidCase{"AFile", "file"}, InvalidCase{"BelowAFile", "file/below"}),
                         [](const auto& test) { return test.param.name; });

TEST_F(DownloadLocationDialog, EndsTheMessageThatIsAnsweredWithOKAlone)
{
    auto* dialog = Open();
    Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
    EXPECT_FALSE(ZALVelmartDownloadLocationDlg::IsValidDirectory(dialog, ""));
    EXPECT_TRUE(Surface().Find("NotADirectoryNotify")) << "ends between events";
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find("NotADirectoryNotify"));

    EXPECT_FALSE(ZALVelmartDownloadLocationDlg::IsValidDirectory(dialog, ""));
    Loop().RunUntilIdle();
    ASSERT_TRUE(Surface().Find("NotADirectoryNotify"));
    EXPECT_FALSE(NodeOf("NotADirectoryNotify").visible);
}

TEST_F(DownloadLocationDialog, TellsAWrongFolderInTheWordsOfItsCatalog)
{
    InstallCatalog("NotADirectoryNotifyTitle = \"Wrong\";\nNotADirectoryNotifyMessage = \"No folder /P1\";\n");
    EXPECT_FALSE(ZALVelmartDownloadLocationDlg::IsValidDirectory(Open(), Text(File())));
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("Wrong", Surface().Questions()[0].title);
    EXPECT_EQ("No folder /P1", Surface().Questions()[0].text) << "there are no parameters";
}

TEST_F(DownloadLocationDialog, DoesNothingBeforeItHasControls)
{
    auto* dialog = DialogProbe::MakeBare(ZALApplicationFrame::GetFrame()->GetApplicationDocument());
    DialogProbe::ChooserOK(*dialog);
    DialogProbe::ChooserCancel(*dialog);
    DialogProbe::OK(*dialog);
    EXPECT_EQ(1U, Surface().Questions().size()) << "an absent text names no folder";
    EXPECT_EQ(0, CountOf(OKNotif));
    EXPECT_EQ(0, Saves());
}

TEST_F(DownloadLocationDialog, AcceptsADirectoryWithoutAWord)
{
    auto* dialog = Open();
    std::filesystem::create_directory_symlink(Other(), Folder() / "link");
    for (const std::filesystem::path& folder : {Parts(), Other() / "", Folder() / "link"})
        EXPECT_TRUE(ZALVelmartDownloadLocationDlg::IsValidDirectory(dialog, Text(folder))) << folder;
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(DownloadLocationDialog, SurvivesItsEndWhileTheMessageIsShown)
{
    auto* dialog = Open();
    Enter(File());
    dialog->RequestDelayedDestruction();
    EXPECT_EQ(PushResult::Done, Push("OK"));
    Loop().RunUntilIdle();
    EXPECT_EQ(0, CountOf(OKNotif));
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
}

// ---------------------------------------------------------------------------------------------
// Cancel

class CancelledDownloadLocationDialog : public DownloadLocationDialog,
                                        public ::testing::WithParamInterface<const char*> {};

TEST_P(CancelledDownloadLocationDialog, ReportsAndEndsWithoutAChange)
{
    auto* dialog = Open();
    Enter(Other());
    Check(0x80000);
    Listener listener([&](ZALBaseUnknown* publisher, ZALNotification* notification, void*) {
        EXPECT_EQ(publisher, dialog);
        EXPECT_STREQ(notification->IsA(), CancelNotif);
        Loop().RunUntilIdle();
        EXPECT_TRUE(IsOpen()) << "the end is asked for after the report";
    });
    listener.Subscribe(dialog, CancelNotif);
    EXPECT_EQ(PushResult::Done, Push(GetParam()));
    EXPECT_EQ(1, listener.Calls());
    EXPECT_TRUE(IsOpen()) << "ends between events";
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
    EXPECT_EQ(0, CountOf(OKNotif));
    EXPECT_EQ(0, Saves());
    EXPECT_EQ(StoredLocation(), Parts().string());
    EXPECT_TRUE(StoredFlag());
}

TEST_P(CancelledDownloadLocationDialog, TakesAWrongTextWithoutAWord)
{
    Open();
    Enter(File());
    Push(GetParam());
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_EQ(1, CountOf(CancelNotif));
}

INSTANTIATE_TEST_SUITE_P(Ways, CancelledDownloadLocationDialog, ::testing::Values("CANCEL", "CLOSE"),
                         [](const auto& test) { return test.param; });

} // namespace

} // namespace openhost::testing
