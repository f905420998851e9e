#include "DialogFixture.h"

#include <gmock/gmock.h>

namespace openhost {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Questions = DialogFixture;
using Pushes = DialogFixture;

ZALDlgNotify* Question(const char* name, ZALDialog* parent = nullptr)
{
    return new ZALDlgNotify(parent, name, ZALDlgNotifyYesNo);
}

int AskAndEnd(const char* name)
{
    ZALDlgNotify* question = Question(name);
    const int answer = question->DisplayBlocked("text", "title");
    question->RequestDelayedDestruction();
    return answer;
}

// ---------------------------------------------------------------------------------------------
// Questions

TEST_F(Questions, TakeTheAnswersOfTheirNameInOrder)
{
    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);
    Surface().Answer("Other", ZALDlgAnswerOK);
    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    EXPECT_EQ(ZALDlgAnswerNo, AskAndEnd("OverwriteNotify"));
    EXPECT_EQ(ZALDlgAnswerYes, AskAndEnd("OverwriteNotify"));
    EXPECT_EQ(ZALDlgAnswerClosed, AskAndEnd("OverwriteNotify"));
    EXPECT_EQ(1U, Surface().UnusedAnswers());
}

TEST_F(Questions, AreRecordedWithAllThatTheUserSees)
{
    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);
    auto* parent = new ZALDlgDialog(nullptr, "Document", 0);
    Question("OverwriteNotify", parent)->DisplayBlocked(u"Größe\n2", "Overwrite");
    Question("Orphan")->DisplayBlocked("", "");

    ASSERT_EQ(2U, Surface().Questions().size());
    const ScriptedSurface::Question& first = Surface().Questions()[0];
    EXPECT_EQ("OverwriteNotify", first.name);
    EXPECT_EQ(0x2800200U, first.style);
    EXPECT_EQ("Größe\n2", first.text);
    EXPECT_EQ("Overwrite", first.title);
    EXPECT_EQ("Document", first.parent);
    EXPECT_EQ(ZALDlgAnswerNo, first.answer);
    EXPECT_EQ("", Surface().Questions()[1].parent);
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

TEST_F(Questions, StandInTheJournalOnceAnswered)
{
    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    Question("OverwriteNotify")->DisplayBlocked("Text", "Title");
    EXPECT_THAT(Events("dialog"), ElementsAre(R"({"event":"dialog","name":"OverwriteNotify","style":41943552,)"
                                              R"("title":"Title","text":"Text","answer":3})"));
}

TEST_F(Questions, AreAnsweredAfterWhatIsPendingAndBeforeWhatComesUpLater)
{
    bool pending = false;
    bool later = false;
    Loop().Post([&] {
        pending = true;
        Loop().Post([&] { Loop().Post([&] { later = true; }); });
    });
    Loop().Post([&] { Surface().Answer("Question", ZALDlgAnswerNo); });
    EXPECT_EQ(ZALDlgAnswerNo, AskAndEnd("Question"));
    EXPECT_TRUE(pending);
    EXPECT_FALSE(later);
    Loop().RunUntilIdle();
    EXPECT_TRUE(later);
}

TEST_F(Questions, NestAndEachGetsItsOwnAnswerInTheOrderOfAsking)
{
    Surface().Answer("Outer", ZALDlgAnswerYes);
    Surface().Answer("Inner", ZALDlgAnswerNo);
    Surface().Answer("Inner", ZALDlgAnswerCancel);
    int inner = -1;
    int innermost = -1;
    Loop().Post([&] {
        Loop().Post([&] { innermost = AskAndEnd("Inner"); });
        inner = AskAndEnd("Inner");
    });
    EXPECT_EQ(ZALDlgAnswerYes, AskAndEnd("Outer"));
    EXPECT_EQ(ZALDlgAnswerNo, inner);
    EXPECT_EQ(ZALDlgAnswerCancel, innermost);
}

/// A question whose parent ends while it is asked, and an answer.
class QuestionsThatEnd : public DialogFixture {
protected:
    QuestionsThatEnd()
    {
        Surface().Answer("Question", ZALDlgAnswerYes);
        parent->RequestDelayedDestruction();
        EXPECT_EQ(ZALDlgAnswerClosed, question->DisplayBlocked("text", "title"));
    }
    bool Lives() const { return static_cast<bool>(ZALBaseUnknown_var::Take(reference.GetComponent())); }

    ZALDlgDialog* const parent = Window("Document");
    ZALDlgNotify* const question = Question("Question", parent);
    const ZALBaseUnknown_WR reference{question};
};

TEST_F(QuestionsThatEnd, UseNoAnswerAndLiveUntilTheirOwnEnd)
{
    Loop().RunUntilIdle();
    EXPECT_TRUE(Lives());
    EXPECT_EQ(nullptr, question->GetFather());
    End(question);
    EXPECT_FALSE(Lives());
    EXPECT_EQ(1U, Surface().UnusedAnswers());
}

TEST_F(QuestionsThatEnd, EndWithTheRunUnlessSomebodyEndsThem)
{
    EndAllDialogs();
    EXPECT_FALSE(Lives());
}

TEST_F(Questions, ThatHaveEndedAreNotAsked)
{
    ZALDlgNotify* question = Question("Question");
    question->AddRef();
    End(question);
    EXPECT_EQ(ZALDlgAnswerClosed, question->DisplayBlocked("text", "title"));
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_THAT(Events("dialog"), IsEmpty());
    question->Release();
}

TEST_F(Questions, MayBeAskedAgain)
{
    ZALDlgNotify* question = Question("Question");
    Surface().Answer("Question", ZALDlgAnswerNo);
    Surface().Answer("Question", ZALDlgAnswerYes);
    EXPECT_EQ(ZALDlgAnswerNo, question->DisplayBlocked("text", "title"));
    EXPECT_EQ(ZALDlgAnswerYes, question->DisplayBlocked("text", "title"));
}

// ---------------------------------------------------------------------------------------------
// Pushes

TEST_F(Pushes, OfTheCloseBoxAreToldUnlessTheWindowIsInsensitiveAndItStays)
{
    int closes = 0;
    ZALDlgDialog* window = Shown(Window());
    React(window, ZALDlgWindCloseNotification::ClassName(), [&] { ++closes; });
    EXPECT_EQ(PushResult::Done, Surface().Push("Window", "CLOSE"));
    EXPECT_EQ(PushResult::Done, Surface().Push("Window", "CLOSE"));
    EXPECT_EQ(2, closes);
    window->SetSensitivity(ZALDlgInsensitive);
    EXPECT_EQ(PushResult::Insensitive, Surface().Push("Window", "CLOSE"));
    EXPECT_EQ(2, closes);
    EXPECT_EQ(window, Surface().Find("Window"));
}

TEST_F(Pushes, NeedAVisibleWindowAndAControlThatCanBePushed)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    new ZALDlgLabel(window, "Label", 0);
    EXPECT_EQ(PushResult::NoDialog, Surface().Push("Window", "CLOSE"));
    window->SetVisibility(ZALDlgShow);
    EXPECT_EQ(PushResult::NoControl, Surface().Push("Window", "Label"));
    EXPECT_EQ(PushResult::NoControl, Surface().Push("Window", ""));
    EXPECT_EQ(PushResult::NoDialog, Surface().Push("Label", "CLOSE"));
    window->SetVisibility(ZALDlgHide);
    EXPECT_EQ(PushResult::NoDialog, Surface().Push("Window", "CLOSE"));
    EXPECT_STREQ("no such dialog is shown", ToText(PushResult::NoDialog));
}

TEST_F(Pushes, ReachTheNewestWindowOfAName)
{
    std::string closed;
    for (const char* which : {"first", "second"})
        React(Shown(Window()), ZALDlgWindCloseNotification::ClassName(), [&closed, which] { closed += which; });
    Surface().Push("Window", "CLOSE");
    EXPECT_EQ("second", closed);
}

TEST_F(Pushes, SurviveAWindowThatEndsWhileItsCallbackRunsTheLoop)
{
    ZALDlgDialog* window = Shown(Window());
    std::string name;
    React(window, ZALDlgWindCloseNotification::ClassName(), [&] {
        window->RequestDelayedDestruction();
        AskAndEnd("Sure");
        name = window->GetName().CastToCharPtr();
    });
    EXPECT_EQ(PushResult::Done, Surface().Push("Window", "CLOSE"));
    EXPECT_EQ("Window", name);
    EXPECT_EQ(nullptr, Surface().Find("Window"));
}

// ---------------------------------------------------------------------------------------------
// Look-up

TEST_F(Pushes, FindControlsByNameAndTheNewestFirst)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    auto* bar = new ZALDlgProgress(new ZALDlgFrame(window, "Frame", 0), "Bar", 0);
    auto* other = new ZALDlgDialog(window, "Other", 0);
    auto* otherBar = new ZALDlgProgress(other, "Bar", 0);
    EXPECT_EQ(otherBar, Surface().Find("Bar"));
    EXPECT_EQ(bar, Surface().Find("Window", "Bar"));
    EXPECT_EQ(otherBar, Surface().Find("Other", "Bar"));
    EXPECT_EQ(nullptr, Surface().Find("Other", "Frame"));
    EXPECT_EQ(nullptr, Surface().Find("Absent", "Bar"));
    EXPECT_EQ(nullptr, Surface().Find("Absent"));
}

TEST_F(Pushes, FindWhatHasHappenedToEachWindow)
{
    ZALDlgDialog* window = Shown(Window("Window", nullptr, ZALDlgProgressWindow));
    new ZALDlgLabel(window, "Label", 0);
    window->SetVisibility(ZALDlgHide);
    End(window);
    const auto& told = Surface().WindowEvents();
    using Action = ScriptedSurface::WindowEvent::Action;
    ASSERT_EQ(3U, told.size());
    EXPECT_EQ("Window", told[0].name);
    EXPECT_EQ(0x44200U, told[0].style);
    EXPECT_EQ((std::vector{Action::Shown, Action::Hidden, Action::Ended}),
              (std::vector{told[0].action, told[1].action, told[2].action}));
}

// ---------------------------------------------------------------------------------------------
// With a display

class WithDisplay : public DialogFixture {
protected:
    WithDisplay() { Surface().ShowOn(std::make_unique<RecordingSurface>(Told)); }
    // The display writes as long as there are dialogs.
    ~WithDisplay() override { EndAllDialogs(); }
};

TEST_F(WithDisplay, AllThatHappensToWindowsIsShown)
{
    ZALDlgDialog* window = Shown(Window());
    window->SetTitle("Title");
    window->SetVisibility(ZALDlgHide);
    ZALDialogNode::Of(*window).EndAndRelease();
    EXPECT_THAT(Told, ElementsAre("Window shown", "Window changed", "Window hidden", "Window ended"));
    EXPECT_EQ(3U, Surface().WindowEvents().size());
}

TEST_F(WithDisplay, QuestionsWithoutAnAnswerAreClosedAsLongAsTheScriptRuns)
{
    EXPECT_EQ(ZALDlgAnswerClosed, AskAndEnd("OverwriteNotify"));
    Loop().RunUntilIdle();
    EXPECT_THAT(Told, ElementsAre("OverwriteNotify ended"));
}

TEST_F(WithDisplay, TheUserAnswersAfterTheScriptOnceThatLetsHim)
{
    Surface().LetUserAnswer();
    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    EXPECT_EQ(ZALDlgAnswerYes, AskAndEnd("OverwriteNotify"));
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_EQ(ZALDlgAnswerNo, AskAndEnd("OverwriteNotify"));
    EXPECT_THAT(Told, ElementsAre("OverwriteNotify asked title: text"));
    ASSERT_EQ(2U, Surface().Questions().size());
    EXPECT_EQ(ZALDlgAnswerNo, Surface().Questions()[1].answer);
}

TEST_F(Questions, WithoutADisplayAreClosedAlsoWhenTheUserMayAnswer)
{
    Surface().LetUserAnswer();
    EXPECT_EQ(ZALDlgAnswerClosed, AskAndEnd("OverwriteNotify"));
}

} // namespace
} // namespace openhost
