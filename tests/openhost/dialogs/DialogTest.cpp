#include "DialogFixture.h"

#include <gmock/gmock.h>

namespace openhost {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class Dialog : public DialogFixture {
protected:
    /// How many counted dialogs have ended.
    int ends = 0;
};

// Counts its own end.
class CountedDialog : public ZALDlgDialog {
public:
    CountedDialog(ZALDialog* parent, const char* name, int& ends)
        : ZALDlgDialog(parent, name, ZALDlgProgressWindow), ends_(ends)
    {
    }
    ~CountedDialog() override { ++ends_; }

private:
    int& ends_;
};

// ---------------------------------------------------------------------------------------------
// End

TEST_F(Dialog, EndsOnceBetweenTwoEventsAndNotInsideTheCall)
{
    auto* dialog = new CountedDialog(nullptr, "Window", ends);
    dialog->RequestDelayedDestruction();
    dialog->RequestDelayedDestruction();
    EXPECT_EQ(0, ends);
    Loop().RunUntilIdle();
    EXPECT_EQ(1, ends);
}

TEST_F(Dialog, IsGoneForTheUserButUsableWhileSomebodyHoldsIt)
{
    auto* dialog = new CountedDialog(nullptr, "Window", ends);
    auto* bar = new ZALDlgProgress(dialog, "Bar", 0);
    dialog->AddRef();
    End(Shown(dialog));

    EXPECT_EQ(0, ends);
    EXPECT_EQ(nullptr, Surface().Find("Window"));
    EXPECT_EQ(nullptr, Surface().Find("Bar"));
    bar->SetPos(40);
    EXPECT_EQ(40, bar->GetPos());
    End(Shown(dialog));
    EXPECT_EQ(PushResult::NoDialog, Surface().Push("Window", "CLOSE"));

    dialog->Release();
    EXPECT_EQ(1, ends);
}

TEST_F(Dialog, EndsItsChildrenWindowsIncluded)
{
    ZALDlgDialog* parent = Window("Parent");
    new CountedDialog(parent, "Child", ends);
    new CountedDialog(new ZALDlgFrame(parent, "Frame", ZALDlgFrameWithoutTitle), "Grandchild", ends);
    End(parent);
    EXPECT_EQ(2, ends);
    EXPECT_THAT(LiveDialogs(), IsEmpty());
}

TEST_F(Dialog, ThatItsParentHasEndedNeedsNoOwnEndAnyMore)
{
    ZALDlgDialog* parent = Window("Parent");
    auto* child = new CountedDialog(parent, "Child", ends);
    parent->RequestDelayedDestruction();
    End(child);
    EXPECT_EQ(1, ends);
}

TEST_F(Dialog, OutlivesItsParentWithoutItWhileSomebodyHoldsIt)
{
    ZALDlgDialog* parent = Window("Parent");
    auto* child = new CountedDialog(parent, "Child", ends);
    child->AddRef();
    End(parent);
    EXPECT_EQ(nullptr, child->GetFather());
    End(child);
    EXPECT_EQ(0, ends);
    child->Release();
    EXPECT_EQ(1, ends);
}

TEST_F(Dialog, LeavesItsParentWhenItEnds)
{
    ZALDlgDialog* parent = Window("Parent");
    auto* frame = new ZALDlgFrame(parent, "Frame", 0);
    parent->Attach4Sides(frame);
    End(frame);
    EXPECT_THAT(ZALDialogNode::Of(*parent).children, IsEmpty());
    EXPECT_THAT(ZALDialogNode::Of(*parent).attached, IsEmpty());
}

TEST_F(Dialog, MadeInAnEndedParentNeverReachesTheSurface)
{
    ZALDlgDialog* parent = Window("Parent");
    parent->AddRef();
    End(parent);
    Shown(Window("Late", parent));
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_EQ(nullptr, Surface().Find("Late"));
    parent->Release();
}

TEST_F(Dialog, ThatIsReleasedByItsMakerIsGoneAtOnce)
{
    ZALDlgDialog* parent = Window("Parent");
    auto* dialog = new CountedDialog(parent, "Window", ends);
    dialog->RequestDelayedDestruction();
    dialog->Release();
    EXPECT_EQ(1, ends);
    Loop().RunUntilIdle();
    EXPECT_THAT(ZALDialogNode::Of(*parent).children, IsEmpty());
}

TEST_F(Dialog, AllEndTogetherWithTheRun)
{
    new CountedDialog(new CountedDialog(nullptr, "Parent", ends), "Child", ends);
    new CountedDialog(nullptr, "Other", ends);
    EndAllDialogs();
    EXPECT_EQ(3, ends);
    EXPECT_THAT(LiveDialogs(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// State

TEST_F(Dialog, KnowsNameStyleAndFather)
{
    ZALDlgDialog* window = Window("Window", nullptr, ZALDlgProgressWindow);
    auto* frame = new ZALDlgFrame(window, "Frame", ZALDlgFrameWithoutTitle);
    EXPECT_STREQ("Window", window->GetName().CastToCharPtr());
    EXPECT_EQ(0x44200U, window->GetStyle());
    EXPECT_EQ(nullptr, window->GetFather());
    EXPECT_STREQ("Frame", frame->GetName().CastToCharPtr());
    EXPECT_EQ(0x80000U, frame->GetStyle());
    EXPECT_EQ(window, frame->GetFather());
}

TEST_F(Dialog, TellsTheSurfaceOnceOfEachChange)
{
    std::vector<std::string> told;
    const auto before = DialogSurface::Install(std::make_unique<RecordingSurface>(told));

    ZALDlgDialog* window = Window();
    auto* bar = new ZALDlgProgress(window, "Bar", 0);
    EXPECT_THAT(told, IsEmpty());
    for (const int visibility : {ZALDlgHide, ZALDlgShow, ZALDlgShow, 77})
        window->SetVisibility(visibility);
    bar->SetPos(5);
    window->SetVisibility(ZALDlgHide);
    End(window);
    EXPECT_THAT(told, ElementsAre("Window shown", "Bar changed", "Window hidden", "Bar ended", "Window ended"));

    told.clear();
    EXPECT_EQ(ZALDlgAnswerNo,
              (new ZALDlgNotify(nullptr, "Question", ZALDlgNotifyError))->DisplayBlocked("text", "title"));
    EXPECT_THAT(told, ElementsAre("Question asked title: text"));
    EndAllDialogs();
    const auto recorded = DialogSurface::Install(std::make_unique<ScriptedSurface>());
}

TEST_F(Dialog, TakesInputUnlessItOrWhatHoldsItIsInsensitive)
{
    ZALDlgDialog* window = Window();
    auto* frame = new ZALDlgFrame(window, "Frame", 0);
    const ZALDialogNode& node = ZALDialogNode::Of(*new ZALDlgLabel(frame, "Label", 0));
    const ZALDialogNode& inner = ZALDialogNode::Of(*Window("Inner", window));
    EXPECT_TRUE(node.TakesInput());
    frame->SetSensitivity(ZALDlgInsensitive);
    EXPECT_FALSE(node.TakesInput());
    frame->SetSensitivity(77);
    EXPECT_FALSE(node.TakesInput());
    frame->SetSensitivity(ZALDlgSensitive);
    EXPECT_TRUE(node.TakesInput());
    window->SetSensitivity(ZALDlgInsensitive);
    EXPECT_FALSE(node.TakesInput());
    EXPECT_TRUE(inner.TakesInput()) << "a window takes input by itself";
}

TEST_F(Dialog, KeepsTheTitleThatWasSetEvenAnEmptyOne)
{
    auto* window = new ZALDlgDialog(nullptr, "ZALVelmartDownloadProgressDlg", 0);
    window->SetTitle("Own title");
    EXPECT_TRUE(window->GetTitle() == ZALUnicodeString("Own title"));
    window->SetTitle("");
    EXPECT_EQ(0, window->GetTitle().GetLengthInChar());
}

TEST_F(Dialog, KeepsItsRectangleWithoutNegativeSizes)
{
    auto* bar = new ZALDlgProgress(new ZALDlgDialog(nullptr, "Window", 0), "Bar", 0);
    const ZALDialogNode& node = ZALDialogNode::Of(*bar);
    EXPECT_FALSE(node.hasRectangle);
    bar->SetRectDimensions(1, 2, 15, 200);
    EXPECT_TRUE(node.hasRectangle);
    EXPECT_EQ(std::vector({1, 2, 15, 200}), std::vector({node.x, node.y, node.height, node.width}));
    bar->SetRectDimensions(0, 0, -1, -1);
    EXPECT_EQ(std::vector({0, 0}), std::vector({node.height, node.width}));
}

TEST_F(Dialog, AttachesOnlyItsOwnChildrenAndEachOnce)
{
    ZALDlgDialog* window = Window();
    auto* frame = new ZALDlgFrame(window, "Frame", 0);
    for (ZALDialog* each :
         std::initializer_list<ZALDialog*>{nullptr, new ZALDlgLabel(frame, "Label", 0), window, frame, frame})
        window->Attach4Sides(each);
    EXPECT_THAT(ZALDialogNode::Of(*window).attached, ElementsAre(frame));
}

TEST_F(Dialog, ProgressIsCutOffAtItsRange)
{
    auto* bar = new ZALDlgProgress(new ZALDlgDialog(nullptr, "Window", 0), "Bar", 0);
    bar->SetRange(10, 90);
    bar->SetPos(5);
    EXPECT_EQ(10, bar->GetPos());
    bar->SetPos(1'000'000);
    EXPECT_EQ(90, bar->GetPos());
    bar->SetRange(0, 50);
    EXPECT_EQ(50, bar->GetPos());
    bar->SetRange(60, 20);
    EXPECT_EQ(60, bar->GetPos());
    bar->SetPos(30);
    EXPECT_EQ(60, bar->GetPos());
}

// ---------------------------------------------------------------------------------------------
// Classes

TEST_F(Dialog, AnswersForItsClasses)
{
    auto* question = new ZALDlgNotify(nullptr, "Question", 0);
    EXPECT_STREQ("ZALDlgDialog", question->IsA());
    EXPECT_EQ(1, question->IsAKindOf("ZALDialog"));
    EXPECT_EQ(1, question->IsAKindOf("ZALEventSubscriber"));
    EXPECT_EQ(0, question->IsAKindOf("ZALCommand"));
    auto* frame = new ZALDlgFrame(question, "Frame", 0);
    EXPECT_STREQ("ZALDialog", frame->IsA());
    EXPECT_EQ(nullptr, ZALSysDynamicCast<ZALDlgDialog>(frame));
    EXPECT_STREQ("ZALDlgWindCloseNotification", ZALDlgWindCloseNotification::ClassName());
    EXPECT_EQ(ZALDlgWindCloseNotification::MetaObject()->GetBase(), ZALNotification::MetaObject());
    EXPECT_EQ(0, ZALDlgWindCloseNotification().GetAutomaticDelete());
}

// ---------------------------------------------------------------------------------------------
// Journal

TEST_F(Dialog, WritesWindowsToTheJournal)
{
    ZALDlgDialog* window = Shown(Window("Window", nullptr, ZALDlgProgressWindow));
    Window("NeverShown", window);
    window->SetVisibility(ZALDlgHide);
    End(window);
    EXPECT_THAT(Events("window"), ElementsAre(R"({"event":"window","name":"Window","style":279040,"action":"shown"})",
                                              R"({"event":"window","name":"Window","style":279040,"action":"hidden"})",
                                              R"({"event":"window","name":"Window","style":279040,"action":"ended"})"));
}

TEST_F(Dialog, WritesProgressToTheJournalUnderItsWindow)
{
    auto* window = new ZALDlgDialog(new ZALDlgDialog(nullptr, "Document", 0), "Window", 0);
    auto* bar = new ZALDlgProgress(new ZALDlgFrame(window, "Frame", 0), "Bar", 0);
    bar->SetPos(25);
    bar->SetPos(250);
    EXPECT_THAT(Events("progress"),
                ElementsAre(R"({"event":"progress","dialog":"Window","control":"Bar","position":25})",
                            R"({"event":"progress","dialog":"Window","control":"Bar","position":100})"));
}

} // namespace
} // namespace openhost
