#include "DialogFixture.h"

#include <gmock/gmock.h>

namespace openhost {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Dialog = DialogFixture;

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

class RecordingSurface : public DialogSurface {
public:
    void Shown(ZALDialog& dialog) override { Note("shown", dialog); }
    void Hidden(ZALDialog& dialog) override { Note("hidden", dialog); }
    void Changed(ZALDialog& dialog) override { Note("changed", dialog); }
    void Ended(ZALDialog& dialog) override { Note("ended", dialog); }
    int Ask(ZALDlgNotify& question, const ZALUnicodeString&, const ZALUnicodeString&) override
    {
        Note("ask", question);
        return ZALDlgAnswerOK;
    }

    std::vector<std::string> calls;

private:
    void Note(const std::string& what, const ZALDialog& dialog)
    {
        calls.push_back(what + " " + ZALDialogNode::Of(dialog).Name());
    }
};

// ---------------------------------------------------------------------------------------------
// End

TEST_F(Dialog, EndsBetweenTwoEventsAndNotInsideTheCall)
{
    int ends = 0;
    auto* dialog = new CountedDialog(nullptr, "Window", ends);
    dialog->RequestDelayedDestruction();
    EXPECT_EQ(ends, 0);
    Loop().RunUntilIdle();
    EXPECT_EQ(ends, 1);
}

TEST_F(Dialog, ASecondRequestOfItsEndDoesNothing)
{
    int ends = 0;
    auto* dialog = new CountedDialog(nullptr, "Window", ends);
    dialog->RequestDelayedDestruction();
    dialog->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(ends, 1);
}

TEST_F(Dialog, IsGoneForTheUserButUsableWhileSomebodyHoldsIt)
{
    int ends = 0;
    auto* dialog = new CountedDialog(nullptr, "Window", ends);
    auto* bar = new ZALDlgProgress(dialog, "Bar", 0);
    dialog->SetVisibility(ZALDlgShow);
    dialog->AddRef();
    dialog->RequestDelayedDestruction();
    Loop().RunUntilIdle();

    EXPECT_EQ(ends, 0);
    EXPECT_EQ(Surface().Find("Window"), nullptr);
    EXPECT_EQ(Surface().Find("Bar"), nullptr);
    bar->SetPos(40);
    EXPECT_EQ(bar->GetPos(), 40);
    dialog->SetVisibility(ZALDlgShow);
    dialog->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().Push("Window", "CLOSE"), PushResult::NoDialog);

    dialog->Release();
    EXPECT_EQ(ends, 1);
}

TEST_F(Dialog, EndsItsChildrenWindowsIncluded)
{
    int ends = 0;
    auto* parent = new ZALDlgDialog(nullptr, "Parent", 0);
    new CountedDialog(parent, "Child", ends);
    new CountedDialog(new ZALDlgFrame(parent, "Frame", ZALDlgFrameWithoutTitle), "Grandchild", ends);
    parent->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(ends, 2);
    EXPECT_THAT(LiveDialogs(), IsEmpty());
}

TEST_F(Dialog, ThatItsParentHasEndedNeedsNoOwnEndAnyMore)
{
    int ends = 0;
    auto* parent = new ZALDlgDialog(nullptr, "Parent", 0);
    auto* child = new CountedDialog(parent, "Child", ends);
    parent->RequestDelayedDestruction();
    child->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(ends, 1);
}

TEST_F(Dialog, OutlivesItsParentWithoutItWhileSomebodyHoldsIt)
{
    int ends = 0;
    auto* parent = new ZALDlgDialog(nullptr, "Parent", 0);
    auto* child = new CountedDialog(parent, "Child", ends);
    child->AddRef();
    parent->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(child->GetFather(), nullptr);
    child->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(ends, 0);
    child->Release();
    EXPECT_EQ(ends, 1);
}

TEST_F(Dialog, LeavesItsParentWhenItEnds)
{
    auto* parent = new ZALDlgDialog(nullptr, "Parent", 0);
    auto* frame = new ZALDlgFrame(parent, "Frame", 0);
    parent->Attach4Sides(frame);
    frame->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_THAT(ZALDialogNode::Of(*parent).children, IsEmpty());
    EXPECT_THAT(ZALDialogNode::Of(*parent).attached, IsEmpty());
}

TEST_F(Dialog, MadeInAnEndedParentNeverReachesTheSurface)
{
    auto* parent = new ZALDlgDialog(nullptr, "Parent", 0);
    parent->AddRef();
    parent->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    auto* late = new ZALDlgDialog(parent, "Late", 0);
    late->SetVisibility(ZALDlgShow);
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_EQ(Surface().Find("Late"), nullptr);
    parent->Release();
}

TEST_F(Dialog, ThatIsReleasedByItsMakerIsGoneAtOnce)
{
    int ends = 0;
    auto* parent = new ZALDlgDialog(nullptr, "Parent", 0);
    auto* dialog = new CountedDialog(parent, "Window", ends);
    dialog->RequestDelayedDestruction();
    dialog->Release();
    EXPECT_EQ(ends, 1);
    Loop().RunUntilIdle();
    EXPECT_THAT(ZALDialogNode::Of(*parent).children, IsEmpty());
}

TEST_F(Dialog, AllEndTogetherWithTheSession)
{
    int ends = 0;
    new CountedDialog(new CountedDialog(nullptr, "Parent", ends), "Child", ends);
    new CountedDialog(nullptr, "Other", ends);
    EndAllDialogs();
    EXPECT_EQ(ends, 3);
    EXPECT_THAT(LiveDialogs(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// State

TEST_F(Dialog, KnowsNameStyleAndFather)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", ZALDlgProgressWindow);
    auto* frame = new ZALDlgFrame(window, "Frame", ZALDlgFrameWithoutTitle);
    EXPECT_STREQ(window->GetName().CastToCharPtr(), "Window");
    EXPECT_EQ(window->GetStyle(), 0x44200U);
    EXPECT_EQ(window->GetFather(), nullptr);
    EXPECT_STREQ(frame->GetName().CastToCharPtr(), "Frame");
    EXPECT_EQ(frame->GetStyle(), 0x80000U);
    EXPECT_EQ(frame->GetFather(), window);
}

TEST_F(Dialog, TellsTheSurfaceOnceOfEachChange)
{
    auto recording = std::make_unique<RecordingSurface>();
    auto& calls = recording->calls;
    const auto before = DialogSurface::Install(std::move(recording));

    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    auto* bar = new ZALDlgProgress(window, "Bar", 0);
    EXPECT_THAT(calls, IsEmpty());
    window->SetVisibility(ZALDlgHide);
    window->SetVisibility(ZALDlgShow);
    window->SetVisibility(ZALDlgShow);
    window->SetVisibility(77);
    bar->SetPos(5);
    window->SetVisibility(ZALDlgHide);
    window->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_THAT(calls, ElementsAre("shown Window", "changed Bar", "hidden Window", "ended Bar", "ended Window"));

    auto* question = new ZALDlgNotify(nullptr, "Question", ZALDlgNotifyError);
    calls.clear();
    EXPECT_EQ(question->DisplayBlocked("text", "title"), ZALDlgAnswerOK);
    EXPECT_THAT(calls, ElementsAre("ask Question"));
    EndAllDialogs();
    const auto recorded = DialogSurface::Install(std::make_unique<ScriptedSurface>());
}

TEST_F(Dialog, TakesInputUnlessItOrWhatHoldsItIsInsensitive)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    auto* frame = new ZALDlgFrame(window, "Frame", 0);
    auto* label = new ZALDlgLabel(frame, "Label", 0);
    const ZALDialogNode& node = ZALDialogNode::Of(*label);
    EXPECT_TRUE(node.TakesInput());
    frame->SetSensitivity(ZALDlgInsensitive);
    EXPECT_FALSE(node.TakesInput());
    frame->SetSensitivity(77);
    EXPECT_FALSE(node.TakesInput());
    frame->SetSensitivity(ZALDlgSensitive);
    EXPECT_TRUE(node.TakesInput());
    window->SetSensitivity(ZALDlgInsensitive);
    EXPECT_FALSE(node.TakesInput());
}

TEST_F(Dialog, OfAnInsensitiveWindowTakesInputByItself)
{
    auto* parent = new ZALDlgDialog(nullptr, "Parent", 0);
    auto* child = new ZALDlgDialog(parent, "Child", 0);
    parent->SetSensitivity(ZALDlgInsensitive);
    EXPECT_TRUE(ZALDialogNode::Of(*child).TakesInput());
}

TEST_F(Dialog, KeepsTheTitleThatWasSetEvenAnEmptyOne)
{
    auto* window = new ZALDlgDialog(nullptr, "ZALVelmartDownloadProgressDlg", 0);
    window->SetTitle("Own title");
    EXPECT_TRUE(window->GetTitle() == ZALUnicodeString("Own title"));
    window->SetTitle("");
    EXPECT_EQ(window->GetTitle().GetLengthInChar(), 0);
}

TEST_F(Dialog, KeepsItsRectangleWithoutNegativeSizes)
{
    auto* bar = new ZALDlgProgress(new ZALDlgDialog(nullptr, "Window", 0), "Bar", 0);
    const ZALDialogNode& node = ZALDialogNode::Of(*bar);
    EXPECT_FALSE(node.hasRectangle);
    bar->SetRectDimensions(1, 2, 15, 200);
    EXPECT_TRUE(node.hasRectangle);
    EXPECT_EQ(std::vector({node.x, node.y, node.height, node.width}), std::vector({1, 2, 15, 200}));
    bar->SetRectDimensions(0, 0, -1, -1);
    EXPECT_EQ(std::vector({node.height, node.width}), std::vector({0, 0}));
}

TEST_F(Dialog, AttachesOnlyItsOwnChildrenAndEachOnce)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    auto* frame = new ZALDlgFrame(window, "Frame", 0);
    auto* label = new ZALDlgLabel(frame, "Label", 0);
    window->Attach4Sides(nullptr);
    window->Attach4Sides(label);
    window->Attach4Sides(window);
    window->Attach4Sides(frame);
    window->Attach4Sides(frame);
    EXPECT_THAT(ZALDialogNode::Of(*window).attached, ElementsAre(frame));
}

TEST_F(Dialog, ProgressIsCutOffAtItsRange)
{
    auto* bar = new ZALDlgProgress(new ZALDlgDialog(nullptr, "Window", 0), "Bar", 0);
    bar->SetRange(10, 90);
    bar->SetPos(5);
    EXPECT_EQ(bar->GetPos(), 10);
    bar->SetPos(1'000'000);
    EXPECT_EQ(bar->GetPos(), 90);
    bar->SetRange(0, 50);
    EXPECT_EQ(bar->GetPos(), 50);
    bar->SetRange(60, 20);
    EXPECT_EQ(bar->GetPos(), 60);
    bar->SetPos(30);
    EXPECT_EQ(bar->GetPos(), 60);
}

// ---------------------------------------------------------------------------------------------
// Classes

TEST_F(Dialog, AnswersForItsClasses)
{
    auto* question = new ZALDlgNotify(nullptr, "Question", 0);
    EXPECT_STREQ(question->IsA(), "ZALDlgDialog");
    EXPECT_EQ(question->IsAKindOf("ZALDialog"), 1);
    EXPECT_EQ(question->IsAKindOf("ZALEventSubscriber"), 1);
    EXPECT_EQ(question->IsAKindOf("ZALCommand"), 0);
    auto* frame = new ZALDlgFrame(question, "Frame", 0);
    EXPECT_STREQ(frame->IsA(), "ZALDialog");
    EXPECT_EQ(ZALSysDynamicCast<ZALDlgDialog>(frame), nullptr);
    EXPECT_STREQ(ZALDlgWindCloseNotification::ClassName(), "ZALDlgWindCloseNotification");
    EXPECT_EQ(ZALDlgWindCloseNotification::MetaObject()->GetBase(), ZALNotification::MetaObject());
    EXPECT_EQ(ZALDlgWindCloseNotification().GetAutomaticDelete(), 0);
}

// ---------------------------------------------------------------------------------------------
// Journal

TEST_F(Dialog, WritesWindowsToTheJournal)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", ZALDlgProgressWindow);
    new ZALDlgDialog(window, "NeverShown", 0);
    window->SetVisibility(ZALDlgShow);
    window->SetVisibility(ZALDlgHide);
    window->RequestDelayedDestruction();
    Loop().RunUntilIdle();
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
