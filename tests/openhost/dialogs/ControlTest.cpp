// Controls that the user changes, and what a user can do to them.

#include "DialogFixture.h"

#include "host/settings.h"
#include "openhost/text/Utf.h"

#include <gmock/gmock.h>

namespace openhost {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Controls : public DialogFixture {
protected:
    Controls()
        : Window(new ZALDlgDialog(nullptr, "Window", ZALDlgOKCancelWindow)),
          Frame(new ZALDlgFrame(Window, "Frame", ZALDlgFrameWithoutTitle)),
          Editor(new ZALDlgEditor(Frame, "Editor", 0)), Button(new ZALDlgPushButton(Frame, "Button", 0)),
          CheckButton(new ZALDlgCheckButton(Frame, "Check", 0))
    {
        Window->SetVisibility(ZALDlgShow);
        Note(Window, ZALDlgOKNotification::ClassName());
        Note(Window, ZALDlgCancelNotification::ClassName());
        Note(Window, ZALDlgWindCloseNotification::ClassName());
        Note(Editor, ZALDlgEditorModifyNotification::ClassName());
        Note(Button, ZALDlgPushActivateNotification::ClassName());
        Note(CheckButton, ZALDlgCheckModifyNotification::ClassName());
    }

    ZALDlgDialog* const Window;
    ZALDlgFrame* const Frame;
    ZALDlgEditor* const Editor;
    ZALDlgPushButton* const Button;
    ZALDlgCheckButton* const CheckButton;
};

// ---------------------------------------------------------------------------------------------
// Values set by a program

TEST_F(Controls, KeepWhatAProgramSetsAndTellNobody)
{
    EXPECT_EQ("", Editor->GetText());
    EXPECT_EQ(0x80000, CheckButton->GetState());
    Editor->SetText(u"Größe");
    CheckButton->SetState(0x40000);
    EXPECT_EQ(u"Größe", Editor->GetText());
    EXPECT_EQ(0x40000, CheckButton->GetState());
    CheckButton->SetState(1);
    EXPECT_EQ(0x40000, CheckButton->GetState());
    Editor->SetVisibleTextWidth(23);
    EXPECT_EQ(23, ZALDialogNode::Of(*Editor).visibleTextWidth);
    EXPECT_THAT(Told, IsEmpty());
}

TEST_F(Controls, StayUsableBehindTheirEnd)
{
    Editor->AddRef();
    CheckButton->AddRef();
    EndAllDialogs();
    Editor->SetText("late");
    CheckButton->SetState(ZALDlgChecked);
    EXPECT_EQ("late", Editor->GetText());
    EXPECT_EQ(ZALDlgChecked, CheckButton->GetState());
    Editor->Release();
    CheckButton->Release();
}

// ---------------------------------------------------------------------------------------------
// Actions of the user

TEST_F(Controls, TellWhatTheUserDoes)
{
    EXPECT_EQ(PushResult::Done, Surface().EnterText("Window", "Editor", "/parts"));
    EXPECT_EQ("/parts", Editor->GetText());
    EXPECT_EQ(PushResult::Done, Surface().SetState("Window", "Check", ZALDlgChecked));
    EXPECT_EQ(ZALDlgChecked, CheckButton->GetState());
    for (const char* control : {"Button", "OK", "CANCEL", "CLOSE"})
        EXPECT_EQ(PushResult::Done, Surface().Push("Window", control)) << control;
    EXPECT_THAT(Told, ElementsAre("ZALDlgEditorModifyNotification", "ZALDlgCheckModifyNotification",
                                  "ZALDlgPushActivateNotification", "ZALDlgOKNotification", "ZALDlgCancelNotification",
                                  "ZALDlgWindCloseNotification"));
    EXPECT_TRUE(ZALDialogNode::Of(*Window).visible) << "what becomes of the window is its owner's decision";
}

TEST_F(Controls, TellNothingThatIsNoChange)
{
    Editor->SetText("same");
    EXPECT_EQ(PushResult::Done, Surface().EnterText("Window", "Editor", "same"));
    EXPECT_EQ(PushResult::Done, Surface().SetState("Window", "Check", ZALDlgUnchecked));
    EXPECT_THAT(Told, IsEmpty());
}

TEST_F(Controls, ThatAreCheckButtonsChangeWithEachPush)
{
    EXPECT_EQ(PushResult::Done, Surface().Push("Window", "Check"));
    EXPECT_EQ(ZALDlgChecked, CheckButton->GetState());
    EXPECT_EQ(PushResult::Done, Surface().Push("Window", "Check"));
    EXPECT_EQ(ZALDlgUnchecked, CheckButton->GetState());
    EXPECT_EQ(2U, Told.size());
}

TEST_F(Controls, HoldTheNewValueWhenTheyTell)
{
    ZALUnicodeString text;
    int state = 0;
    React(Editor, ZALDlgEditorModifyNotification::ClassName(), [&] { text = Editor->GetText(); });
    React(CheckButton, ZALDlgCheckModifyNotification::ClassName(), [&] { state = CheckButton->GetState(); });
    Surface().EnterText("Window", "Editor", "new");
    Surface().SetState("Window", "Check", ZALDlgChecked);
    EXPECT_EQ("new", text);
    EXPECT_EQ(ZALDlgChecked, state);
}

TEST_F(Controls, RefuseWhatIsNotTheirs)
{
    for (const char* control : {"Editor", "Frame"})
        EXPECT_EQ(PushResult::NoControl, Surface().Push("Window", control)) << control;
    for (const char* control : {"Button", "Check"})
        EXPECT_EQ(PushResult::NoText, Surface().EnterText("Window", control, "x")) << control;
    for (const char* control : {"FOLDER", "None"})
        EXPECT_EQ(PushResult::NoControl, Surface().EnterText("Window", control, "x")) << control;
    EXPECT_EQ(PushResult::NoDialog, Surface().EnterText("None", "Editor", "x"));
    EXPECT_EQ(PushResult::NoState, Surface().SetState("Window", "Editor", ZALDlgChecked));
    EXPECT_EQ(PushResult::NoState, Surface().SetState("Window", "Check", 1));
    EXPECT_EQ(PushResult::NoControl, Surface().SetState("Window", "None", ZALDlgChecked));
    EXPECT_EQ(PushResult::NoDialog, Surface().SetState("None", "Check", ZALDlgChecked));
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_STREQ("the control takes no text", ToText(PushResult::NoText));
    EXPECT_STREQ("the control has no state", ToText(PushResult::NoState));
}

TEST_F(Controls, TakeNoInputWhenTheyOrWhatHoldsThemIsInsensitive)
{
    for (ZALDialog* holder : std::initializer_list<ZALDialog*>{Editor, Frame, Window}) {
        holder->SetSensitivity(ZALDlgInsensitive);
        EXPECT_EQ(PushResult::Insensitive, Surface().EnterText("Window", "Editor", "x"));
        holder->SetSensitivity(ZALDlgSensitive);
    }
    Frame->SetSensitivity(ZALDlgInsensitive);
    EXPECT_EQ(PushResult::Insensitive, Surface().Push("Window", "Button"));
    EXPECT_EQ(PushResult::Insensitive, Surface().Push("Window", "Check"));
    EXPECT_EQ(PushResult::Insensitive, Surface().SetState("Window", "Check", ZALDlgChecked));
    EXPECT_EQ(PushResult::Done, Surface().Push("Window", "OK")) << "the buttons belong to the window";
    Window->SetSensitivity(ZALDlgInsensitive);
    for (const char* control : {"OK", "CANCEL", "CLOSE"})
        EXPECT_EQ(PushResult::Insensitive, Surface().Push("Window", control)) << control;
    EXPECT_EQ("", Editor->GetText());
    EXPECT_EQ(ZALDlgUnchecked, CheckButton->GetState());
    EXPECT_THAT(Told, ElementsAre("ZALDlgOKNotification"));
}

TEST_F(Controls, BelongToAWindowWithButtonsByItsStyle)
{
    for (const unsigned int style : {ZALDlgNoStyle, ZALDlgProgressWindow}) {
        Shown(DialogFixture::Window("Plain", nullptr, style));
        EXPECT_EQ(PushResult::NoControl, Surface().Push("Plain", "OK"));
        EXPECT_EQ(PushResult::NoControl, Surface().Push("Plain", "CANCEL"));
        EXPECT_EQ(PushResult::Done, Surface().Push("Plain", "CLOSE"));
    }
}

TEST_F(Controls, OutliveCallbacksThatEndTheirWindow)
{
    const ZALBaseUnknown_WR window(Window);
    std::string name;
    React(Button, ZALDlgPushActivateNotification::ClassName(), [&] {
        Window->RequestDelayedDestruction();
        Loop().RunUntilIdle();
        name = Button->GetName().CastToCharPtr() + std::string(Frame->GetName().CastToCharPtr());
    });
    EXPECT_EQ(PushResult::Done, Surface().Push("Window", "Button"));
    EXPECT_EQ("ButtonFrame", name);
    EXPECT_EQ(nullptr, window.GetComponent());
}

// ---------------------------------------------------------------------------------------------
// Layout

TEST_F(Controls, StandOnTheLinesOfWhatHoldsThem)
{
    Frame->SetVerticalAttachment(1, ZALDlgAttachStart, {Editor, Window, nullptr});
    const auto& lines = ZALDialogNode::Of(*Frame).lines;
    EXPECT_THAT(lines.at(0).controls, ElementsAre(Editor)) << "foreign ones are left out";
    Frame->SetVerticalAttachment(1, ZALDlgAttachStart, {Editor, Button});
    Frame->SetHorizontalAttachment(1, ZALDlgAttachCenter, {Editor});
    Frame->SetVerticalAttachment(1, ZALDlgAttachEnd, {Button, CheckButton});
    ASSERT_EQ(2U, lines.size());
    EXPECT_FALSE(lines[0].vertical);
    EXPECT_EQ(5, lines[0].type);
    EXPECT_TRUE(lines[1].vertical);
    EXPECT_EQ(4, lines[1].type);
    EXPECT_THAT(lines[1].controls, ElementsAre(Button, CheckButton));
    End(Button);
    EXPECT_THAT(lines[1].controls, ElementsAre(CheckButton));
}

TEST_F(Controls, StandInTheGridWhereTheyWerePutLast)
{
    EXPECT_FALSE(ZALDialogNode::Of(*Editor).place);
    Editor->SetGridConstraints(0, 0, 1, 1, ZALDlgGridFill);
    Editor->SetGridConstraints(1, 2, 3, 4, ZALDlgGridCenter);
    const auto& place = ZALDialogNode::Of(*Editor).place;
    ASSERT_TRUE(place);
    EXPECT_EQ(std::vector({1, 2, 3, 4, 122}),
              std::vector({place->row, place->column, place->rowSpan, place->columnSpan, place->justification}));
}

// ---------------------------------------------------------------------------------------------
// Locks and pages

TEST_F(Controls, AreGreyedByTheLockOfTheirSettingAlone)
{
    for (const char character : {'-', 'L', 'R', 'r'}) {
        ZALSettingInfo info;
        info.SetLock(character);
        auto* lock = new ZALDlgLock(Frame, "Lock", info);
        Editor->SetSensitivity(ZALDlgSensitive);
        lock->AddAssociatedDialog(Editor);
        lock->AddAssociatedDialog(nullptr);
        const bool locked = character == 'R' || character == 'r';
        EXPECT_EQ(ZALDialogNode::Of(*lock).locked, locked) << character;
        EXPECT_EQ(ZALDialogNode::Of(*Editor).TakesInput(), !locked) << character;
    }
    EXPECT_TRUE(ZALDialogNode::Of(*Button).TakesInput());
}

class OptionsPageOfATest : public ZALDlgToolsOptionsFrame {
public:
    explicit OptionsPageOfATest(ZALDialog* parent) : ZALDlgToolsOptionsFrame(parent, "Page", "", ZALDlgToolsOptionsGrid)
    {
    }
    void Refresh() override {}
};

TEST_F(Controls, OfAPageStandInItsContent)
{
    auto* page = new OptionsPageOfATest(Window);
    ASSERT_TRUE(page->GetContentParent());
    EXPECT_EQ(page, page->GetContentParent()->GetFather());
    EXPECT_THAT(ZALDialogNode::Of(*page).attached, ElementsAre(page->GetContentParent()));
    EXPECT_EQ(1, page->IsAKindOf("ZALDlgToolsOptionsFrame"));
    EXPECT_EQ(nullptr, (new OptionsPageOfATest(nullptr))->GetContentParent());
}

// ---------------------------------------------------------------------------------------------
// File boxes

class FileBoxes : public Controls {
protected:
    FileBoxes()
    {
        EXPECT_EQ(S_OK, Make(ZALDlgFolderChooser));
        Note(box, ZALDlgOKNotification::ClassName());
        Note(box, ZALDlgCancelNotification::ClassName());
        Note(box, ZALDlgWindCloseNotification::ClassName());
    }
    ~FileBoxes() override
    {
        if (box)
            box->Release();
    }
    HRESULT Make(unsigned int style)
    {
        return ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(Window, "Chooser", style, box, nullptr);
    }

    ZALDlgFileBox* box = nullptr;
};

TEST_F(FileBoxes, BeginHiddenAndAreHeldTwice)
{
    EXPECT_EQ(PushResult::NoDialog, Surface().Push("Chooser", "CANCEL"));
    EXPECT_EQ(Window, box->GetFather());
    EXPECT_EQ(0x12000200U, box->GetStyle());
    End(box);
    EXPECT_EQ(nullptr, Surface().Find("Chooser"));
    EXPECT_EQ(0U, std::exchange(box, nullptr)->Release());
}

TEST_F(FileBoxes, GiveTheUsersChoice)
{
    box->SetVisibility(ZALDlgShow);
    EXPECT_EQ(PushResult::Done, Surface().EnterText("Chooser", "FOLDER", u"/Größe"));
    EXPECT_EQ(PushResult::Done, Surface().Push("Chooser", "OK"));
    EXPECT_EQ(u"/Größe", box->GetChosenFolder());
    EXPECT_THAT(Told, ElementsAre("ZALDlgOKNotification"));
    EXPECT_THAT(Events("window"),
                ElementsAre(R"({"event":"window","name":"Window","style":33554944,"action":"shown"})",
                            R"({"event":"window","name":"Chooser","style":301990400,"action":"shown"})"));
}

TEST_F(FileBoxes, BeginInTheirStartFolderWhichIsTheChoiceAtFirst)
{
    box->SetStartFolder("/start");
    box->SetVisibility(ZALDlgShow);
    EXPECT_EQ("/start", ToUtf8(ZALDialogNode::Of(*box).startFolder));
    EXPECT_EQ(PushResult::Done, Surface().Push("Chooser", "OK"));
    EXPECT_EQ("/start", box->GetChosenFolder());
    Surface().EnterText("Chooser", "FOLDER", "/chosen");
    EXPECT_EQ("/chosen", box->GetChosenFolder());
    EXPECT_EQ("/start", ToUtf8(ZALDialogNode::Of(*box).startFolder));
}

TEST_F(FileBoxes, OfferOKOnlyWithAChoiceAndTakeTheirCloseBoxForCancel)
{
    box->SetVisibility(ZALDlgShow);
    EXPECT_EQ(PushResult::Insensitive, Surface().Push("Chooser", "OK"));
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_EQ(PushResult::Done, Surface().Push("Chooser", "CANCEL"));
    EXPECT_EQ(PushResult::Done, Surface().Push("Chooser", "CLOSE"));
    EXPECT_THAT(Told, ElementsAre("ZALDlgCancelNotification", "ZALDlgCancelNotification"));
}

TEST_F(FileBoxes, AreRefusedForAnotherStyleAndWhereThereAreNone)
{
    End(box);
    std::exchange(box, nullptr)->Release();
    EXPECT_EQ(E_INVALIDARG, Make(ZALDlgNoStyle));
    Surface().OfferFileBoxes(false);
    EXPECT_EQ(E_FAIL, Make(ZALDlgFolderChooser));
    EXPECT_EQ(nullptr, box);
    EXPECT_EQ(nullptr, Surface().Find("Chooser"));
}

} // namespace
} // namespace openhost
