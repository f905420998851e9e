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

    /// Keeps the name of each notification of a class.
    void Note(ZALDialog* publisher, const char* notification)
    {
        subscribers_.push_back(std::make_unique<Subscriber>([this, notification] { Told.push_back(notification); }));
        subscribers_.back()->AddCallback(publisher, notification, &Subscriber::OnNotification, nullptr);
    }

    /// Calls `reaction` for a notification.
    void React(ZALDialog* publisher, const char* notification, std::function<void()> reaction)
    {
        subscribers_.push_back(std::make_unique<Subscriber>(std::move(reaction)));
        subscribers_.back()->AddCallback(publisher, notification, &Subscriber::OnNotification, nullptr);
    }

    std::vector<std::string> Told;
    ZALDlgDialog* const Window;
    ZALDlgFrame* const Frame;
    ZALDlgEditor* const Editor;
    ZALDlgPushButton* const Button;
    ZALDlgCheckButton* const CheckButton;

private:
    std::vector<std::unique_ptr<Subscriber>> subscribers_;
};

// ---------------------------------------------------------------------------------------------
// Values set by a program

TEST_F(Controls, KeepWhatAProgramSetsAndTellNobody)
{
    EXPECT_EQ(Editor->GetText(), "");
    EXPECT_EQ(CheckButton->GetState(), 0x80000);
    Editor->SetText(u"Größe");
    CheckButton->SetState(0x40000);
    EXPECT_EQ(Editor->GetText(), u"Größe");
    EXPECT_EQ(CheckButton->GetState(), 0x40000);
    CheckButton->SetState(1);
    EXPECT_EQ(CheckButton->GetState(), 0x40000);
    Editor->SetVisibleTextWidth(23);
    EXPECT_EQ(ZALDialogNode::Of(*Editor).visibleTextWidth, 23);
    EXPECT_THAT(Told, IsEmpty());
}

TEST_F(Controls, StayUsableBehindTheirEnd)
{
    Editor->AddRef();
    CheckButton->AddRef();
    EndAllDialogs();
    Editor->SetText("late");
    CheckButton->SetState(ZALDlgChecked);
    EXPECT_EQ(Editor->GetText(), "late");
    EXPECT_EQ(CheckButton->GetState(), ZALDlgChecked);
    Editor->Release();
    CheckButton->Release();
}

// ---------------------------------------------------------------------------------------------
// Actions of the user

TEST_F(Controls, TellWhatTheUserDoes)
{
    EXPECT_EQ(Surface().EnterText("Window", "Editor", "/parts"), PushResult::Done);
    EXPECT_EQ(Editor->GetText(), "/parts");
    EXPECT_EQ(Surface().SetState("Window", "Check", ZALDlgChecked), PushResult::Done);
    EXPECT_EQ(CheckButton->GetState(), ZALDlgChecked);
    for (const char* control : {"Button", "OK", "CANCEL", "CLOSE"})
        EXPECT_EQ(Surface().Push("Window", control), PushResult::Done) << control;
    EXPECT_THAT(Told, ElementsAre("ZALDlgEditorModifyNotification", "ZALDlgCheckModifyNotification",
                                  "ZALDlgPushActivateNotification", "ZALDlgOKNotification", "ZALDlgCancelNotification",
                                  "ZALDlgWindCloseNotification"));
    EXPECT_TRUE(ZALDialogNode::Of(*Window).visible) << "what becomes of the window is its owner's decision";
}

TEST_F(Controls, TellNothingThatIsNoChange)
{
    Editor->SetText("same");
    EXPECT_EQ(Surface().EnterText("Window", "Editor", "same"), PushResult::Done);
    EXPECT_EQ(Surface().SetState("Window", "Check", ZALDlgUnchecked), PushResult::Done);
    EXPECT_THAT(Told, IsEmpty());
}

TEST_F(Controls, ThatAreCheckButtonsChangeWithEachPush)
{
    EXPECT_EQ(Surface().Push("Window", "Check"), PushResult::Done);
    EXPECT_EQ(CheckButton->GetState(), ZALDlgChecked);
    EXPECT_EQ(Surface().Push("Window", "Check"), PushResult::Done);
    EXPECT_EQ(CheckButton->GetState(), ZALDlgUnchecked);
    EXPECT_EQ(Told.size(), 2U);
}

TEST_F(Controls, HoldTheNewValueWhenTheyTell)
{
    ZALUnicodeString text;
    int state = 0;
    React(Editor, ZALDlgEditorModifyNotification::ClassName(), [&] { text = Editor->GetText(); });
    React(CheckButton, ZALDlgCheckModifyNotification::ClassName(), [&] { state = CheckButton->GetState(); });
    Surface().EnterText("Window", "Editor", "new");
    Surface().SetState("Window", "Check", ZALDlgChecked);
    EXPECT_EQ(text, "new");
    EXPECT_EQ(state, ZALDlgChecked);
}

TEST_F(Controls, RefuseWhatIsNotTheirs)
{
    EXPECT_EQ(Surface().Push("Window", "Editor"), PushResult::NoControl);
    EXPECT_EQ(Surface().Push("Window", "Frame"), PushResult::NoControl);
    EXPECT_EQ(Surface().EnterText("Window", "Button", "x"), PushResult::NoText);
    EXPECT_EQ(Surface().EnterText("Window", "Check", "x"), PushResult::NoText);
    EXPECT_EQ(Surface().EnterText("Window", "FOLDER", "x"), PushResult::NoControl);
    EXPECT_EQ(Surface().EnterText("Window", "None", "x"), PushResult::NoControl);
    EXPECT_EQ(Surface().EnterText("None", "Editor", "x"), PushResult::NoDialog);
    EXPECT_EQ(Surface().SetState("Window", "Editor", ZALDlgChecked), PushResult::NoState);
    EXPECT_EQ(Surface().SetState("Window", "Check", 1), PushResult::NoState);
    EXPECT_EQ(Surface().SetState("Window", "None", ZALDlgChecked), PushResult::NoControl);
    EXPECT_EQ(Surface().SetState("None", "Check", ZALDlgChecked), PushResult::NoDialog);
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_STREQ(ToText(PushResult::NoText), "the control takes no text");
    EXPECT_STREQ(ToText(PushResult::NoState), "the control has no state");
}

TEST_F(Controls, TakeNoInputWhenTheyOrWhatHoldsThemIsInsensitive)
{
    for (ZALDialog* holder : std::initializer_list<ZALDialog*>{Editor, Frame, Window}) {
        holder->SetSensitivity(ZALDlgInsensitive);
        EXPECT_EQ(Surface().EnterText("Window", "Editor", "x"), PushResult::Insensitive);
        holder->SetSensitivity(ZALDlgSensitive);
    }
    Frame->SetSensitivity(ZALDlgInsensitive);
    EXPECT_EQ(Surface().Push("Window", "Button"), PushResult::Insensitive);
    EXPECT_EQ(Surface().Push("Window", "Check"), PushResult::Insensitive);
    EXPECT_EQ(Surface().SetState("Window", "Check", ZALDlgChecked), PushResult::Insensitive);
    EXPECT_EQ(Surface().Push("Window", "OK"), PushResult::Done) << "the buttons belong to the window";
    Window->SetSensitivity(ZALDlgInsensitive);
    for (const char* control : {"OK", "CANCEL", "CLOSE"})
        EXPECT_EQ(Surface().Push("Window", control), PushResult::Insensitive) << control;
    EXPECT_EQ(Editor->GetText(), "");
    EXPECT_EQ(CheckButton->GetState(), ZALDlgUnchecked);
    EXPECT_THAT(Told, ElementsAre("ZALDlgOKNotification"));
}

TEST_F(Controls, BelongToAWindowWithButtonsByItsStyle)
{
    for (const unsigned int style : {ZALDlgNoStyle, ZALDlgProgressWindow}) {
        auto* plain = new ZALDlgDialog(nullptr, "Plain", style);
        plain->SetVisibility(ZALDlgShow);
        EXPECT_EQ(Surface().Push("Plain", "OK"), PushResult::NoControl);
        EXPECT_EQ(Surface().Push("Plain", "CANCEL"), PushResult::NoControl);
        EXPECT_EQ(Surface().Push("Plain", "CLOSE"), PushResult::Done);
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
    EXPECT_EQ(Surface().Push("Window", "Button"), PushResult::Done);
    EXPECT_EQ(name, "ButtonFrame");
    EXPECT_EQ(window.GetComponent(), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Layout

TEST_F(Controls, StandOnTheLinesOfWhatHoldsThem)
{
    Frame->SetVerticalAttachment(1, ZALDlgAttachStart, {Editor, Window, nullptr, Button});
    Frame->SetHorizontalAttachment(1, ZALDlgAttachCenter, {Editor});
    Frame->SetVerticalAttachment(1, ZALDlgAttachEnd, {Button, CheckButton});
    const auto& lines = ZALDialogNode::Of(*Frame).lines;
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_FALSE(lines[0].vertical);
    EXPECT_EQ(lines[0].type, 5);
    EXPECT_TRUE(lines[1].vertical);
    EXPECT_EQ(lines[1].type, 4);
    EXPECT_THAT(lines[1].controls, ElementsAre(Button, CheckButton));
    Button->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_THAT(lines[1].controls, ElementsAre(CheckButton));
}

TEST_F(Controls, LeaveOutForeignOnesOnALine)
{
    Frame->SetVerticalAttachment(1, ZALDlgAttachStart, {Editor, Window, nullptr});
    EXPECT_THAT(ZALDialogNode::Of(*Frame).lines.at(0).controls, ElementsAre(Editor));
}

TEST_F(Controls, StandInTheGridWhereTheyWerePutLast)
{
    EXPECT_FALSE(ZALDialogNode::Of(*Editor).place);
    Editor->SetGridConstraints(0, 0, 1, 1, ZALDlgGridFill);
    Editor->SetGridConstraints(1, 2, 3, 4, ZALDlgGridCenter);
    const auto& place = ZALDialogNode::Of(*Editor).place;
    ASSERT_TRUE(place);
    EXPECT_EQ(place->row, 1);
    EXPECT_EQ(place->column, 2);
    EXPECT_EQ(place->rowSpan, 3);
    EXPECT_EQ(place->columnSpan, 4);
    EXPECT_EQ(place->justification, 122);
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
    EXPECT_EQ(page->GetContentParent()->GetFather(), page);
    EXPECT_THAT(ZALDialogNode::Of(*page).attached, ElementsAre(page->GetContentParent()));
    EXPECT_EQ(page->IsAKindOf("ZALDlgToolsOptionsFrame"), 1);
    EXPECT_EQ((new OptionsPageOfATest(nullptr))->GetContentParent(), nullptr);
}

// ---------------------------------------------------------------------------------------------
// File boxes

class FileBoxes : public Controls {
protected:
    ZALDlgFileBox* Make()
    {
        ZALDlgFileBox* box = nullptr;
        EXPECT_EQ(
            ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(Window, "Chooser", ZALDlgFolderChooser, box, nullptr),
            S_OK);
        Note(box, ZALDlgOKNotification::ClassName());
        Note(box, ZALDlgCancelNotification::ClassName());
        Note(box, ZALDlgWindCloseNotification::ClassName());
        return box;
    }
};

TEST_F(FileBoxes, BeginHiddenAndAreHeldTwice)
{
    ZALDlgFileBox* box = Make();
    EXPECT_EQ(Surface().Push("Chooser", "CANCEL"), PushResult::NoDialog);
    EXPECT_EQ(box->GetFather(), Window);
    EXPECT_EQ(box->GetStyle(), 0x12000200U);
    box->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().Find("Chooser"), nullptr);
    EXPECT_EQ(box->Release(), 0U);
}

TEST_F(FileBoxes, GiveTheUsersChoice)
{
    ZALDlgFileBox* box = Make();
    box->SetVisibility(ZALDlgShow);
    EXPECT_EQ(Surface().EnterText("Chooser", "FOLDER", u"/Größe"), PushResult::Done);
    EXPECT_EQ(Surface().Push("Chooser", "OK"), PushResult::Done);
    EXPECT_EQ(box->GetChosenFolder(), u"/Größe");
    EXPECT_THAT(Told, ElementsAre("ZALDlgOKNotification"));
    EXPECT_THAT(Events("window"),
                ElementsAre(R"({"event":"window","name":"Window","style":33554944,"action":"shown"})",
                            R"({"event":"window","name":"Chooser","style":301990400,"action":"shown"})"));
    box->Release();
}

TEST_F(FileBoxes, BeginInTheirStartFolderWhichIsTheChoiceAtFirst)
{
    ZALDlgFileBox* box = Make();
    box->SetStartFolder("/start");
    box->SetVisibility(ZALDlgShow);
    EXPECT_EQ(ToUtf8(ZALDialogNode::Of(*box).startFolder), "/start");
    EXPECT_EQ(Surface().Push("Chooser", "OK"), PushResult::Done);
    EXPECT_EQ(box->GetChosenFolder(), "/start");
    Surface().EnterText("Chooser", "FOLDER", "/chosen");
    EXPECT_EQ(box->GetChosenFolder(), "/chosen");
    EXPECT_EQ(ToUtf8(ZALDialogNode::Of(*box).startFolder), "/start");
    box->Release();
}

TEST_F(FileBoxes, OfferOKOnlyWithAChoice)
{
    ZALDlgFileBox* box = Make();
    box->SetVisibility(ZALDlgShow);
    EXPECT_EQ(Surface().Push("Chooser", "OK"), PushResult::Insensitive);
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_EQ(Surface().Push("Chooser", "CANCEL"), PushResult::Done);
    box->Release();
}

TEST_F(FileBoxes, TakeTheirCloseBoxForCancel)
{
    ZALDlgFileBox* box = Make();
    box->SetVisibility(ZALDlgShow);
    EXPECT_EQ(Surface().Push("Chooser", "CLOSE"), PushResult::Done);
    EXPECT_THAT(Told, ElementsAre("ZALDlgCancelNotification"));
    box->Release();
}

TEST_F(FileBoxes, AreRefusedForAnotherStyleAndWhereThereAreNone)
{
    ZALDlgFileBox* box = nullptr;
    EXPECT_EQ(ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(Window, "Chooser", ZALDlgNoStyle, box, nullptr),
              E_INVALIDARG);
    Surface().OfferFileBoxes(false);
    EXPECT_EQ(ZALFileMenuMethods::CreateCurrentDocEnvDialogBox(Window, "Chooser", ZALDlgFolderChooser, box, nullptr),
              E_FAIL);
    EXPECT_EQ(box, nullptr);
    EXPECT_EQ(Surface().Find("Chooser"), nullptr);
}

} // namespace
} // namespace openhost
