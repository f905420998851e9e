#include "DialogFixture.h"

#include "openhost/text/Utf.h"

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

TEST_F(Questions, WithoutAnAnswerAreClosed)
{
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerClosed);
}

TEST_F(Questions, TakeTheAnswersOfTheirNameInOrder)
{
    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);
    Surface().Answer("Other", ZALDlgAnswerOK);
    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerNo);
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerYes);
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerClosed);
    EXPECT_EQ(Surface().UnusedAnswers(), 1U);
}

TEST_F(Questions, AreRecordedWithAllThatTheUserSees)
{
    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);
    auto* parent = new ZALDlgDialog(nullptr, "Document", 0);
    Question("OverwriteNotify", parent)->DisplayBlocked(u"Größe\n2", "Overwrite");
    Question("Orphan")->DisplayBlocked("", "");

    ASSERT_EQ(Surface().Questions().size(), 2U);
    const ScriptedSurface::Question& first = Surface().Questions()[0];
    EXPECT_EQ(first.name, "OverwriteNotify");
    EXPECT_EQ(first.style, 0x2800200U);
    EXPECT_EQ(first.text, "Größe\n2");
    EXPECT_EQ(first.title, "Overwrite");
    EXPECT_EQ(first.parent, "Document");
    EXPECT_EQ(first.answer, ZALDlgAnswerNo);
    EXPECT_EQ(Surface().Questions()[1].parent, "");
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

TEST_F(Questions, StandInTheJournalOnceAnswered)
{
    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    Question("OverwriteNotify")->DisplayBlocked("Text", "Title");
    EXPECT_THAT(Events("dialog"), ElementsAre(R"({"event":"dialog","name":"OverwriteNotify","style":41943552,)"
                                              R"("title":"Title","text":"Text","answer":3})"));
}

TEST_F(Questions, AreAnsweredBehindWhatIsPending)
{
    std::vector<std::string> order;
    Loop().Post([&] { order.push_back("pending"); });
    Loop().Post([&] { Surface().Answer("Question", ZALDlgAnswerNo); });
    EXPECT_EQ(AskAndEnd("Question"), ZALDlgAnswerNo);
    EXPECT_THAT(order, ElementsAre("pending"));
}

TEST_F(Questions, LeaveAloneWhatComesUpBehindTheirAnswer)
{
    bool ran = false;
    Loop().Post([&] { Loop().Post([&] { Loop().Post([&] { ran = true; }); }); });
    AskAndEnd("Question");
    EXPECT_FALSE(ran);
    Loop().RunUntilIdle();
    EXPECT_TRUE(ran);
}

TEST_F(Questions, NestAndEachGetsItsOwnAnswer)
{
    Surface().Answer("Outer", ZALDlgAnswerYes);
    Surface().Answer("Inner", ZALDlgAnswerNo);
    Surface().Answer("Innermost", ZALDlgAnswerCancel);
    int inner = -1;
    int innermost = -1;
    Loop().Post([&] {
        Loop().Post([&] { innermost = AskAndEnd("Innermost"); });
        inner = AskAndEnd("Inner");
    });
    EXPECT_EQ(AskAndEnd("Outer"), ZALDlgAnswerYes);
    EXPECT_EQ(inner, ZALDlgAnswerNo);
    EXPECT_EQ(innermost, ZALDlgAnswerCancel);
}

TEST_F(Questions, OfOneNameAreAnsweredInTheOrderOfAsking)
{
    Surface().Answer("Same", ZALDlgAnswerYes);
    Surface().Answer("Same", ZALDlgAnswerNo);
    int inner = -1;
    Loop().Post([&] { inner = AskAndEnd("Same"); });
    EXPECT_EQ(AskAndEnd("Same"), ZALDlgAnswerYes);
    EXPECT_EQ(inner, ZALDlgAnswerNo);
}

TEST_F(Questions, ThatEndWhileTheyAreAskedAreClosedAndUseNoAnswer)
{
    auto* parent = new ZALDlgDialog(nullptr, "Document", 0);
    ZALDlgNotify* question = Question("Question", parent);
    Surface().Answer("Question", ZALDlgAnswerYes);
    parent->RequestDelayedDestruction();
    EXPECT_EQ(question->DisplayBlocked("text", "title"), ZALDlgAnswerClosed);
    question->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().UnusedAnswers(), 1U);
}

TEST_F(Questions, ThatEndWithTheirParentLiveUntilTheirOwnEnd)
{
    auto* parent = new ZALDlgDialog(nullptr, "Document", 0);
    ZALDlgNotify* question = Question("Question", parent);
    const ZALBaseUnknown_WR reference(question);
    parent->RequestDelayedDestruction();
    question->DisplayBlocked("text", "title");
    Loop().RunUntilIdle();
    EXPECT_TRUE(ZALBaseUnknown_var::Take(reference.GetComponent()));
    EXPECT_EQ(question->GetFather(), nullptr);
    question->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_FALSE(ZALBaseUnknown_var::Take(reference.GetComponent()));
}

TEST_F(Questions, ThatNobodyEndsAfterTheirParentEndWithTheSession)
{
    auto* parent = new ZALDlgDialog(nullptr, "Document", 0);
    ZALDlgNotify* question = Question("Question", parent);
    const ZALBaseUnknown_WR reference(question);
    parent->RequestDelayedDestruction();
    question->DisplayBlocked("text", "title");
    EndAllDialogs();
    EXPECT_FALSE(ZALBaseUnknown_var::Take(reference.GetComponent()));
}

TEST_F(Questions, ThatHaveEndedAreNotAsked)
{
    ZALDlgNotify* question = Question("Question");
    question->AddRef();
    question->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    EXPECT_EQ(question->DisplayBlocked("text", "title"), ZALDlgAnswerClosed);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_THAT(Events("dialog"), IsEmpty());
    question->Release();
}

TEST_F(Questions, MayBeAskedAgain)
{
    ZALDlgNotify* question = Question("Question");
    Surface().Answer("Question", ZALDlgAnswerNo);
    Surface().Answer("Question", ZALDlgAnswerYes);
    EXPECT_EQ(question->DisplayBlocked("text", "title"), ZALDlgAnswerNo);
    EXPECT_EQ(question->DisplayBlocked("text", "title"), ZALDlgAnswerYes);
}

// ---------------------------------------------------------------------------------------------
// Pushes

TEST_F(Pushes, OfTheCloseBoxAreDispatchedEachTimeAndTheWindowStays)
{
    int closes = 0;
    Subscriber subscriber([&] { ++closes; });
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    subscriber.AddCallback(window, ZALDlgWindCloseNotification::ClassName(), &Subscriber::OnNotification, nullptr);
    window->SetVisibility(ZALDlgShow);
    EXPECT_EQ(Surface().Push("Window", "CLOSE"), PushResult::Done);
    EXPECT_EQ(Surface().Push("Window", "CLOSE"), PushResult::Done);
    EXPECT_EQ(closes, 2);
    EXPECT_EQ(Surface().Find("Window"), window);
}

TEST_F(Pushes, OnAnInsensitiveWindowDoNothing)
{
    int closes = 0;
    Subscriber subscriber([&] { ++closes; });
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    subscriber.AddCallback(window, ZALDlgWindCloseNotification::ClassName(), &Subscriber::OnNotification, nullptr);
    window->SetVisibility(ZALDlgShow);
    window->SetSensitivity(ZALDlgInsensitive);
    EXPECT_EQ(Surface().Push("Window", "CLOSE"), PushResult::Insensitive);
    EXPECT_EQ(closes, 0);
}

TEST_F(Pushes, NeedAVisibleWindowAndAControlThatCanBePushed)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    new ZALDlgLabel(window, "Label", 0);
    EXPECT_EQ(Surface().Push("Window", "CLOSE"), PushResult::NoDialog);
    window->SetVisibility(ZALDlgShow);
    EXPECT_EQ(Surface().Push("Window", "Label"), PushResult::NoControl);
    EXPECT_EQ(Surface().Push("Window", ""), PushResult::NoControl);
    EXPECT_EQ(Surface().Push("Label", "CLOSE"), PushResult::NoDialog);
    window->SetVisibility(ZALDlgHide);
    EXPECT_EQ(Surface().Push("Window", "CLOSE"), PushResult::NoDialog);
    EXPECT_STREQ(ToText(PushResult::NoDialog), "no such dialog is shown");
}

TEST_F(Pushes, ReachTheNewestWindowOfAName)
{
    std::string closed;
    Subscriber first([&] { closed += "first"; });
    Subscriber second([&] { closed += "second"; });
    for (Subscriber* subscriber : {&first, &second}) {
        auto* window = new ZALDlgDialog(nullptr, "Window", 0);
        subscriber->AddCallback(window, ZALDlgWindCloseNotification::ClassName(), &Subscriber::OnNotification, nullptr);
        window->SetVisibility(ZALDlgShow);
    }
    Surface().Push("Window", "CLOSE");
    EXPECT_EQ(closed, "second");
}

TEST_F(Pushes, SurviveAWindowThatEndsWhileItsCallbackRunsTheLoop)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    std::vector<std::string> order;
    Subscriber subscriber([&] {
        window->RequestDelayedDestruction();
        AskAndEnd("Sure");
        order.push_back(window->GetName().CastToCharPtr());
    });
    subscriber.AddCallback(window, ZALDlgWindCloseNotification::ClassName(), &Subscriber::OnNotification, nullptr);
    window->SetVisibility(ZALDlgShow);
    EXPECT_EQ(Surface().Push("Window", "CLOSE"), PushResult::Done);
    EXPECT_THAT(order, ElementsAre("Window"));
    EXPECT_EQ(Surface().Find("Window"), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Look-up

TEST_F(Pushes, FindControlsByNameAndTheNewestFirst)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    auto* bar = new ZALDlgProgress(new ZALDlgFrame(window, "Frame", 0), "Bar", 0);
    auto* other = new ZALDlgDialog(window, "Other", 0);
    auto* otherBar = new ZALDlgProgress(other, "Bar", 0);
    EXPECT_EQ(Surface().Find("Bar"), otherBar);
    EXPECT_EQ(Surface().Find("Window", "Bar"), bar);
    EXPECT_EQ(Surface().Find("Other", "Bar"), otherBar);
    EXPECT_EQ(Surface().Find("Other", "Frame"), nullptr);
    EXPECT_EQ(Surface().Find("Absent", "Bar"), nullptr);
    EXPECT_EQ(Surface().Find("Absent"), nullptr);
}

TEST_F(Pushes, FindWhatHasHappenedToEachWindow)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", ZALDlgProgressWindow);
    new ZALDlgLabel(window, "Label", 0);
    window->SetVisibility(ZALDlgShow);
    window->SetVisibility(ZALDlgHide);
    window->RequestDelayedDestruction();
    Loop().RunUntilIdle();
    using Action = ScriptedSurface::WindowEvent::Action;
    ASSERT_EQ(Surface().WindowEvents().size(), 3U);
    EXPECT_EQ(Surface().WindowEvents()[0].name, "Window");
    EXPECT_EQ(Surface().WindowEvents()[0].style, 0x44200U);
    EXPECT_EQ(Surface().WindowEvents()[0].action, Action::Shown);
    EXPECT_EQ(Surface().WindowEvents()[1].action, Action::Hidden);
    EXPECT_EQ(Surface().WindowEvents()[2].action, Action::Ended);
}

// ---------------------------------------------------------------------------------------------
// With a display

/// A display that writes down what it is told. Its user answers No.
class RecordingDisplay : public DialogSurface {
public:
    explicit RecordingDisplay(std::vector<std::string>& told) : told_(told) {}
    void Shown(ZALDialog& dialog) override { Tell("shown", dialog); }
    void Hidden(ZALDialog& dialog) override { Tell("hidden", dialog); }
    void Changed(ZALDialog& dialog) override { Tell("changed", dialog); }
    void Ended(ZALDialog& dialog) override { Tell("ended", dialog); }
    int Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title) override
    {
        Tell("asked " + ToUtf8(title) + ": " + ToUtf8(text), question);
        return ZALDlgAnswerNo;
    }

private:
    void Tell(const std::string& what, const ZALDialog& dialog)
    {
        told_.push_back(ZALDialogNode::Of(dialog).Name() + " " + what);
    }

    std::vector<std::string>& told_;
};

class WithDisplay : public DialogFixture {
protected:
    WithDisplay() { Surface().ShowOn(std::make_unique<RecordingDisplay>(Told)); }
    // The display writes as long as there are dialogs.
    ~WithDisplay() override { EndAllDialogs(); }

    std::vector<std::string> Told;
};

TEST_F(WithDisplay, AllThatHappensToWindowsIsShown)
{
    auto* window = new ZALDlgDialog(nullptr, "Window", 0);
    window->SetVisibility(ZALDlgShow);
    window->SetTitle("Title");
    window->SetVisibility(ZALDlgHide);
    ZALDialogNode::Of(*window).EndAndRelease();
    EXPECT_THAT(Told, ElementsAre("Window shown", "Window changed", "Window hidden", "Window ended"));
    EXPECT_EQ(Surface().WindowEvents().size(), 3U);
}

TEST_F(WithDisplay, QuestionsWithoutAnAnswerAreClosedAsLongAsTheScriptRuns)
{
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerClosed);
    Loop().RunUntilIdle();
    EXPECT_THAT(Told, ElementsAre("OverwriteNotify ended"));
}

TEST_F(WithDisplay, TheUserAnswersOnceTheScriptLetsHim)
{
    Surface().LetUserAnswer();
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerNo);
    EXPECT_THAT(Told, ElementsAre("OverwriteNotify asked title: text"));
    ASSERT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(Surface().Questions()[0].answer, ZALDlgAnswerNo);
}

TEST_F(WithDisplay, AnAnswerOfTheScriptGoesBeforeTheUsers)
{
    Surface().LetUserAnswer();
    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerYes);
    EXPECT_THAT(Told, IsEmpty());
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerNo);
}

TEST_F(Questions, WithoutADisplayAreClosedAlsoWhenTheUserMayAnswer)
{
    Surface().LetUserAnswer();
    EXPECT_EQ(AskAndEnd("OverwriteNotify"), ZALDlgAnswerClosed);
}

} // namespace
} // namespace openhost
