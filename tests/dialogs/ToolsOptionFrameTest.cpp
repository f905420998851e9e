// The page of the settings in the host's options, and the addin through which the host has it.

#include "tests/dialogs/DialogProbe.h"
#include "tests/dialogs/DialogTestFixture.h"
#include "tests/support/Objects.h"

#include "dialogs/ZALVelmartMeridiaAccessSettingsUIAddin.h"
#include "openhost/objects/ClassDictionary.h"

#include <gmock/gmock.h>

#include <memory>
#include <ostream>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* Options = "Options";
constexpr const char* Page = "VelmartTOFrame";
constexpr const char* LocationFrame = "VLDownloadLocationFrm";
constexpr const char* AddinClass = "ZALVelmartMeridiaAccessSettingsUIAddin";
constexpr const char* AddinInterface = "ZALIMeridiaAccessSettingsUIAddin";

using Addin = Owned<ZALIMeridiaAccessSettingsUIAddin>;

/// A window of the host in which the page stands.
class ToolsOptionFrame : public SettingsDialogFixture {
protected:
    ToolsOptionFrame() : Parent(new ZALDlgDialog(nullptr, Options, ZALDlgOKCancelWindow))
    {
        Parent->SetVisibility(ZALDlgShow);
    }

    static Addin MakeAddin()
    {
        ZALBaseUnknown* object = ClassDictionary::Instance().Create(AddinClass);
        ZALBaseUnknown* found = nullptr;
        if (object) {
            object->QueryInterface(AddinInterface, &found);
            object->Release();
        }
        return Addin(static_cast<ZALIMeridiaAccessSettingsUIAddin*>(found));
    }
    /// An addin whose page stands in the window and shows the settings.
    Addin OpenPage()
    {
        Addin addin = MakeAddin();
        addin->CreateFrame(Parent);
        addin->Refresh();
        return addin;
    }

    PushResult Push(const std::string& control) { return Surface().Push(Options, control); }
    PushResult Enter(const std::filesystem::path& path) { return Surface().EnterText(Options, Editor, Text(path)); }
    PushResult Check(int state) { return Surface().SetState(Options, CheckButton, state); }

    ZALDlgDialog* const Parent;
};

// ---------------------------------------------------------------------------------------------
// The page

TEST_F(ToolsOptionFrame, HoldsItsControlsInTheirOrder)
{
    const Addin addin = MakeAddin();
    ZALDlgToolsOptionsFrame* page = addin->CreateFrame(Parent);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->GetFather(), Parent);
    EXPECT_EQ(page->GetName(), Page);
    ASSERT_TRUE(page->GetContentParent());
    EXPECT_THAT(NamesOf(Node(page->GetContentParent()).children),
                ElementsAre(LocationFrame, "DirLocationLock", CheckButton, "DoNotRemindLock"));
    EXPECT_THAT(ChildrenOf(LocationFrame), ElementsAre("VLDownloadLocationLabel", Editor, Button));

    EXPECT_EQ(0x80001U, NodeOf(LocationFrame).style);
    const std::vector<std::pair<const char*, Kind>> kinds = {
        {LocationFrame, Kind::Frame},   {"VLDownloadLocationLabel", Kind::Label}, {Editor, Kind::Editor},
        {Button, Kind::PushButton},     {"DirLocationLock", Kind::Lock},          {CheckButton, Kind::CheckButton},
        {"DoNotRemindLock", Kind::Lock}};
    for (const auto& [name, kind] : kinds) {
        EXPECT_EQ(NodeOf(name).kind, kind) << name;
        EXPECT_EQ(NodeOf(name).style, name == std::string(LocationFrame) ? 0x80001U : 0U) << name;
    }
    EXPECT_EQ(23, NodeOf(Editor).visibleTextWidth);
}

TEST_F(ToolsOptionFrame, PutsItsControlsIntoTheGrid)
{
    MakeAddin()->CreateFrame(Parent);
    const std::vector<std::tuple<const char*, int, int, int>> places = {
        {LocationFrame, 0, 1, 14},     {"VLDownloadLocationLabel", 0, 0, 122}, {Editor, 0, 1, 122},
        {Button, 0, 2, 122},           {"DirLocationLock", 0, 0, 122},         {CheckButton, 1, 1, 14},
        {"DoNotRemindLock", 1, 0, 122}};
    for (const auto& [name, row, column, justification] : places) {
        const auto& place = NodeOf(name).place;
        ASSERT_TRUE(place) << name;
        EXPECT_EQ(place->row, row) << name;
        EXPECT_EQ(place->column, column) << name;
        EXPECT_EQ(1, place->rowSpan) << name;
        EXPECT_EQ(1, place->columnSpan) << name;
        EXPECT_EQ(place->justification, justification) << name;
    }
}

TEST_F(ToolsOptionFrame, HoldsNoValuesBeforeTheHostRefreshesIt)
{
    const Addin addin = MakeAddin();
    addin->CreateFrame(Parent);
    EXPECT_EQ("", TextOf(Editor));
    EXPECT_EQ(0x80000, NodeOf(CheckButton).state);
    EXPECT_EQ(S_OK, addin->Refresh());
    EXPECT_EQ(TextOf(Editor), Parts().string());
    EXPECT_EQ(0x40000, NodeOf(CheckButton).state);
    SetSettings(Other(), false);
    EXPECT_EQ(TextOf(Editor), Parts().string());
    EXPECT_EQ(S_OK, addin->Refresh());
    EXPECT_EQ(TextOf(Editor), Other().string());
    EXPECT_EQ(0x80000, NodeOf(CheckButton).state);
}

TEST_F(ToolsOptionFrame, JudgesNothingThatARefreshBrings)
{
    const Addin addin = OpenPage();
    SetSettings(Folder() / "missing", false);
    addin->Refresh();
    EXPECT_EQ(TextOf(Editor), (Folder() / "missing").string());
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(ToolsOptionFrame, TakesItsTextsFromItsOwnFileFirst)
{
    const ZALDlgToolsOptionsFrame* page = MakeAddin()->CreateFrame(Parent);
    EXPECT_EQ("ZALVelmartToolsOptionFrame", page->GetResourceFilename(-1));
    EXPECT_EQ("ZALVelmartToolsOptionFrame", page->GetResourceFilename(0));
    EXPECT_EQ(page->GetResourceFilename(1), page->ZALDlgToolsOptionsFrame::GetResourceFilename(0));
    EXPECT_EQ("ZALVelmartToolsOptionFrame", Surface().Find(Editor)->GetResourceFilename(0));
}

class LockedToolsOptionFrame : public ToolsOptionFrame, public ::testing::WithParamInterface<char> {};

TEST_P(LockedToolsOptionFrame, ShowsTheLockOfEachSetting)
{
    const bool locked = GetParam() == 'R' || GetParam() == 'r';
    Store().SetLock("DownloadLocation", GetParam());
    const Addin first = OpenPage();
    EXPECT_EQ(NodeOf("DirLocationLock").locked, locked);
    EXPECT_FALSE(NodeOf("DoNotRemindLock").locked);
    EXPECT_EQ(NodeOf(LocationFrame).sensitive, !locked) << "the frame as a whole";
    EXPECT_TRUE(NodeOf(Editor).sensitive);
    EXPECT_EQ(TakesInput(Editor), !locked);
    EXPECT_EQ(TakesInput(Button), !locked);
    EXPECT_TRUE(TakesInput(CheckButton));

    Store().SetLock("DownloadLocation", '-');
    Store().SetLock("DoNotRemindDownloadLocation", GetParam());
    const Addin second = OpenPage();
    EXPECT_FALSE(NodeOf("DirLocationLock").locked);
    EXPECT_EQ(NodeOf("DoNotRemindLock").locked, locked);
    EXPECT_TRUE(TakesInput(Editor));
    EXPECT_EQ(TakesInput(CheckButton), !locked);
}

INSTANTIATE_TEST_SUITE_P(LockCharacters, LockedToolsOptionFrame, ::testing::Values('R', 'r', '-', 'L'),
                         [](const auto& test) { return "Character" + std::to_string(static_cast<int>(test.param)); });

TEST_F(ToolsOptionFrame, StaysEmptyWithoutSettings)
{
    auto* page = new ZALVelmartToolsOptionFrame(Parent, nullptr);
    page->Build();
    page->Refresh();
    EXPECT_THAT(Node(page->GetContentParent()).children, IsEmpty());
}

TEST_F(ToolsOptionFrame, StaysEmptyWithoutAContentParent)
{
    const Addin addin = MakeAddin();
    const ZALDlgToolsOptionsFrame* page = addin->CreateFrame(nullptr);
    ASSERT_TRUE(page);
    EXPECT_EQ(nullptr, page->GetContentParent());
    EXPECT_THAT(Node(page).children, IsEmpty());
    EXPECT_EQ(S_OK, addin->Refresh());
}

TEST_F(ToolsOptionFrame, HoldsTheSettingsForItsLife)
{
    ZALIVelmartIntegrationSettingAtt* settings = nullptr;
    ASSERT_EQ(S_OK, CreateZALIVelmartIntegrationSettingAtt(&settings));
    auto* page = new ZALVelmartToolsOptionFrame(Parent, settings);
    page->Build();
    EXPECT_EQ(2U, ReferencesOf(settings));
    Surface().Push(Options, Button);
    ZALBaseUnknown_WR chooser(Surface().Find(Chooser));
    page->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(1U, ReferencesOf(settings));
    EXPECT_EQ(nullptr, chooser.GetComponent());
    settings->Release();
}

// ---------------------------------------------------------------------------------------------
// The user's changes

TEST_F(ToolsOptionFrame, StoresAFolderAtOnceAndSavesNothing)
{
    const Addin addin = OpenPage();
    EXPECT_EQ(PushResult::Done, Enter(Other()));
    EXPECT_EQ(StoredLocation(), Other().string());
    EXPECT_EQ(0, Saves());
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(ToolsOptionFrame, TellsEachWrongTextAnewAndStoresNone)
{
    const Addin addin = OpenPage();
    std::size_t told = 0;
    for (const std::filesystem::path& wrong : {Folder() / "missing", File(), std::filesystem::path()}) {
        Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
        EXPECT_EQ(PushResult::Done, Enter(wrong));
        ASSERT_EQ(Surface().Questions().size(), ++told) << wrong;
        const ScriptedSurface::Question& question = Surface().Questions().back();
        EXPECT_EQ("NotADirectoryNotify", question.name);
        EXPECT_EQ(0x10000200U, question.style);
        EXPECT_EQ(question.parent, Page);
        EXPECT_EQ("Invalid folder", question.title);
        EXPECT_EQ("Chosen folder is not a valid folder.\nPlease select a valid folder", question.text);
        EXPECT_EQ(StoredLocation(), Parts().string());
        EXPECT_EQ(TextOf(Editor), wrong.string());
    }
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find("NotADirectoryNotify"));
}

TEST_F(ToolsOptionFrame, TellsAWrongTextInTheWordsOfTheLocationDialog)
{
    InstallCatalog("NotADirectoryNotifyTitle = \"Wrong\";\nNotADirectoryNotifyMessage = \"No folder\";\n");
    const Addin addin = OpenPage();
    Enter(File());
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("Wrong", Surface().Questions()[0].title);
    EXPECT_EQ("No folder", Surface().Questions()[0].text);
}

TEST_F(ToolsOptionFrame, DoesNothingWithoutControlsOrSettings)
{
    auto* page = new ZALVelmartToolsOptionFrame(Parent, nullptr);
    DialogProbe::EditorModify(*page);
    DialogProbe::CheckModify(*page);
    DialogProbe::ChooserOK(*page);
    DialogProbe::ChooserCancel(*page);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    DialogProbe::Browse(*page);
    EXPECT_TRUE(IsChooserShown());
    ChooseFolder(Other());
    EXPECT_FALSE(IsChooserShown());
    EXPECT_EQ(StoredLocation(), Parts().string());
}

TEST_F(ToolsOptionFrame, StoresTheFlagAtOnce)
{
    const Addin addin = OpenPage();
    EXPECT_EQ(PushResult::Done, Check(0x80000));
    EXPECT_FALSE(StoredFlag());
    EXPECT_EQ(PushResult::Done, Check(0x40000));
    EXPECT_TRUE(StoredFlag());
    EXPECT_EQ(0, Saves());
}

TEST_F(ToolsOptionFrame, OpensAFolderChooserWithoutATitle)
{
    const Addin addin = OpenPage();
    Surface().Find(Page)->SetTitle("Velmart");
    EXPECT_EQ(PushResult::Done, Push(Button));
    ASSERT_TRUE(IsChooserShown());
    const ZALDialogNode& chooser = NodeOf(Chooser);
    EXPECT_EQ(0x12000200U, chooser.style);
    EXPECT_EQ(chooser.parent, Surface().Find(Page));
    EXPECT_TRUE(chooser.titleIsSet);
    EXPECT_EQ("", ToUtf8(chooser.owner->GetTitle()));
    EXPECT_EQ(ToUtf8(chooser.startFolder), Parts().string());
}

TEST_F(ToolsOptionFrame, StoresTheChosenFolderAsWell)
{
    const Addin addin = OpenPage();
    Push(Button);
    EXPECT_EQ(PushResult::Done, ChooseFolder(Other()));
    EXPECT_FALSE(IsChooserShown());
    EXPECT_EQ(TextOf(Editor), Other().string());
    EXPECT_EQ(StoredLocation(), Other().string());
    EXPECT_EQ(0, Saves());
}

TEST_F(ToolsOptionFrame, HidesTheChooserBeforeItTakesTheFolder)
{
    WatchTheChooser();
    const Addin addin = OpenPage();
    Push(Button);
    ChooseFolder(Other());
    EXPECT_THAT(TextsAtHiding(), ElementsAre(Parts().string()));
}

TEST_F(ToolsOptionFrame, TakesTheFolderThatWasChosenBeforeTheHiding)
{
    ForgetTheChoiceAtHiding();
    const Addin addin = OpenPage();
    Push(Button);
    ChooseFolder(Other());
    EXPECT_EQ(TextOf(Editor), Other().string());
    EXPECT_EQ(StoredLocation(), Other().string());
}

TEST_F(ToolsOptionFrame, UsesOneChooserThatACancelOnlyHides)
{
    const Addin addin = OpenPage();
    Push(Button);
    const ZALDialog* chooser = Surface().Find(Chooser);
    Surface().EnterText(Chooser, "FOLDER", Text(Other()));
    EXPECT_EQ(PushResult::Done, Surface().Push(Chooser, "CANCEL"));
    EXPECT_FALSE(IsChooserShown());
    EXPECT_EQ(StoredLocation(), Parts().string());
    EXPECT_EQ(TextOf(Editor), Parts().string());
    Push(Button);
    EXPECT_EQ(Surface().Find(Chooser), chooser);
    EXPECT_TRUE(IsChooserShown());
}

TEST_F(ToolsOptionFrame, IgnoresAWrongTextWhenItBrowses)
{
    SetSettings(File(), true);
    const Addin addin = OpenPage();
    EXPECT_EQ(PushResult::Done, Push(Button));
    EXPECT_TRUE(IsChooserShown());
    EXPECT_EQ("", ToUtf8(NodeOf(Chooser).startFolder));
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(ToolsOptionFrame, GoesOnWithoutAChooser)
{
    const Addin addin = OpenPage();
    Surface().OfferFileBoxes(false);
    EXPECT_EQ(PushResult::Done, Push(Button));
    EXPECT_EQ(nullptr, Surface().Find(Chooser));
}

TEST_F(ToolsOptionFrame, SurvivesItsEndWhileItsMessageIsShown)
{
    const Addin addin = OpenPage();
    Parent->RequestDelayedDestruction();
    EXPECT_EQ(PushResult::Done, Enter(File()));
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(Page));
    EXPECT_EQ(StoredLocation(), Parts().string());
}

// ---------------------------------------------------------------------------------------------
// The addin

using SettingsAddin = ToolsOptionFrame;

TEST_F(SettingsAddin, IsMadeByItsNameAndOffersItsInterface)
{
    ZALBaseUnknown* object = ClassDictionary::Instance().Create(AddinClass);
    ASSERT_TRUE(object);
    EXPECT_STREQ(object->IsA(), AddinClass);
    EXPECT_STREQ(object->GetMetaObject()->GetBase()->GetName(), AddinInterface);
    EXPECT_STREQ("ZALVelmartIntegration", object->GetMetaObject()->GetModule());
    EXPECT_EQ(1, object->GetMetaObject()->GetKind());
    ZALBaseUnknown* found = nullptr;
    EXPECT_EQ(S_OK, object->QueryInterface(AddinInterface, &found));
    EXPECT_EQ(found, object) << "the object is its own adapter";
    EXPECT_EQ(1U, object->Release());
    found->Release();
}

TEST_F(SettingsAddin, IsItsOwnAdapter)
{
    constexpr auto adapt = CreateBOAZALIMeridiaAccessSettingsUIAddinZALVelmartMeridiaAccessSettingsUIAddin;
    EXPECT_EQ(
        ClassDictionary::Instance().FindAdapter(ZALVelmartMeridiaAccessSettingsUIAddin::MetaObject(), AddinInterface),
        adapt);
    ZALBaseUnknown* made = adapt(nullptr);
    ASSERT_TRUE(made);
    EXPECT_EQ(1U, ReferencesOf(made));
    EXPECT_EQ(adapt(made), made);
    EXPECT_EQ(2U, ReferencesOf(made));
    made->Release();
    made->Release();
    EXPECT_EQ(nullptr, adapt(Parent));
    EXPECT_EQ(nullptr, ZALVelmartMeridiaAccessSettingsUIAddin::CreateItself());
}

TEST_F(SettingsAddin, ResetsToTheAdministratorsValues)
{
    Store().SetAdministratorValues({false, Text(Other())});
    const Addin addin = OpenPage();
    EXPECT_EQ(S_OK, addin->Reset());
    EXPECT_EQ(StoredLocation(), Other().string());
    EXPECT_FALSE(StoredFlag());
    EXPECT_EQ(TextOf(Editor), Parts().string()) << "the page waits for its refresh";
    EXPECT_EQ(0, Saves());
}

TEST_F(SettingsAddin, RestoresTheValuesThatWereKept)
{
    Store().Keep();
    const Addin addin = OpenPage();
    Enter(Other());
    Check(0x80000);
    EXPECT_EQ(S_OK, addin->Restore());
    EXPECT_EQ(StoredLocation(), Parts().string());
    EXPECT_TRUE(StoredFlag());
    EXPECT_EQ(0, Saves());
}

TEST_F(SettingsAddin, KeepsWhatARestoreHasBrought)
{
    Store().Keep();
    const Addin addin = MakeAddin();
    SetSettings(Other(), true);
    Store().SetLock("DownloadLocation", 'R');
    addin->Restore(); // the locked folder stays, and is kept from now on
    Store().SetLock("DownloadLocation", '-');
    SetSettings(File(), true);
    addin->Restore();
    EXPECT_EQ(StoredLocation(), Other().string());
}

TEST_F(SettingsAddin, SavesAndTellsWhenThatFails)
{
    const std::filesystem::path file = Folder() / "settings.json";
    Store().Load(file);
    SetSettings(Other(), true);
    const Addin addin = MakeAddin();
    EXPECT_EQ(S_OK, addin->Save());
    EXPECT_EQ(1, Saves());
    EXPECT_TRUE(std::filesystem::exists(file));
    std::ofstream(file) << "damaged";
    EXPECT_EQ(E_FAIL, addin->Save());
    EXPECT_EQ(1, Saves());
}

TEST_F(SettingsAddin, DoesNothingWithoutSettings)
{
    Store().SetAvailable(false);
    const Addin addin = MakeAddin();
    ASSERT_TRUE(addin);
    Store().SetAvailable(true);
    Store().SetAdministratorValues({false, Text(Other())});
    EXPECT_EQ(S_OK, addin->Reset());
    EXPECT_EQ(S_OK, addin->Restore());
    EXPECT_EQ(S_OK, addin->Save());
    ZALDlgToolsOptionsFrame* page = addin->CreateFrame(Parent);
    ASSERT_TRUE(page);
    EXPECT_THAT(Node(page->GetContentParent()).children, IsEmpty());
    EXPECT_EQ(S_OK, addin->Refresh());
    EXPECT_EQ(StoredLocation(), Parts().string());
    EXPECT_EQ(0, Saves());
}

TEST_F(SettingsAddin, RefreshesNothingWithoutAPage)
{
    const Addin addin = MakeAddin();
    EXPECT_EQ(S_OK, addin->Refresh());
    ZALBaseUnknown_WR page(addin->CreateFrame(Parent));
    addin->Refresh();
    Parent->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, page.GetComponent()) << "the addin does not hold it";
    EXPECT_EQ(S_OK, addin->Refresh());
}

TEST_F(SettingsAddin, RefreshesThePageThatItMadeLast)
{
    const Addin addin = MakeAddin();
    const ZALDlgToolsOptionsFrame* first = addin->CreateFrame(Parent);
    const ZALDlgToolsOptionsFrame* second = addin->CreateFrame(Parent);
    ASSERT_NE(first, second);
    addin->Refresh();
    const auto textIn = [](const ZALDialog* page) {
        const ZALDialog* location =
            Node(static_cast<const ZALDlgToolsOptionsFrame*>(page)->GetContentParent()).children[0];
        return ToUtf8(Node(Node(location).children[1]).text);
    };
    EXPECT_EQ("", textIn(first));
    EXPECT_EQ(textIn(second), Parts().string());
}

TEST_F(SettingsAddin, MayEndBeforeItsPage)
{
    OpenPage().reset();
    EXPECT_EQ(PushResult::Done, Enter(Other()));
    EXPECT_EQ(StoredLocation(), Other().string());
}

} // namespace

} // namespace openhost::testing
