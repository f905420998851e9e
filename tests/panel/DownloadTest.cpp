// Downloads that the panel starts, and what the user sees of their end.

#include "tests/panel/PanelFixture.h"

#include "openhost/dialogs/DialogNode.h"
#include "tests/support/ScriptedCad.h"

#include <algorithm>
#include <new>

namespace openhost::testing {
namespace {

constexpr const char* DefaultText = "Transaction has failed";

class PanelDownload : public PanelFixture {
protected:
    /// Starts a download that stays under way.
    void Begin(const std::string& event)
    {
        ASSERT_EQ(S_OK, Send(Message(event, RemoteFile)));
        ASSERT_EQ(1U, Waiting());
    }
    bool ErrorDialogIsLive()
    {
        const std::vector<ZALDialog*> live = LiveDialogs();
        return std::ranges::any_of(live, [](const ZALDialog* dialog) {
            return ZALDialogNode::Of(*dialog).Name() == "FileDownloadErrorNotify";
        });
    }
};

// ---------------------------------------------------------------------------------------------
// The start

TEST_F(PanelDownload, AnEndInsideTheStartIsMetAndTheStartStillAnswersWell)
{
    for (const auto& [event, openings] : {std::pair("velmart_download", 0), std::pair("velmart_open", 1)}) {
        SCOPED_TRACE(event);
        const int ends = CountOf(CompleteClass);
        EXPECT_EQ(S_OK, Send(Message(event, LocalFile("/parts/bolt.ZALPart"))));
        EXPECT_EQ(ends + 1, CountOf(CompleteClass));
        EXPECT_EQ(0U, Waiting());
        EXPECT_EQ(openings, BusyCursorCount());
        EXPECT_TRUE(Surface().Questions().empty());
    }
}

TEST_F(PanelDownload, TheContentIsTheRequest)
{
    Begin("velmart_download");
    ASSERT_EQ(1U, Transport().Requests().size());
    EXPECT_EQ("http://127.0.0.1/item.zip", Transport().Requests()[0].url);
}

TEST_F(PanelDownload, ARefusedStartTellsTheUserAndUnsubscribes)
{
    for (const char* event : {"velmart_open", "velmart_download"}) {
        EXPECT_EQ(E_FAIL, Send(Message(event)));
        EXPECT_EQ(0U, Waiting());
    }
    EXPECT_EQ((Texts{DefaultText, DefaultText}), QuestionTexts());
    EXPECT_EQ((Texts{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_open\n",
                     "ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed\n",
                     "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_download\n",
                     "ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed\n"}),
              Traces());
}

TEST_F(PanelDownload, ARefusedStartIsTracedAndUnsubscribedBeforeTheUserIsTold)
{
    bool traced = false;
    std::size_t waiting = 99;
    Loop().Post([&] {
        traced = Traced("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed");
        waiting = Waiting();
    });
    Send(Message("velmart_open"));
    EXPECT_TRUE(traced);
    EXPECT_EQ(0U, waiting);
}

TEST_F(PanelDownload, ASecondStartThatIsRefusedTakesTheFirstOnesEndAway)
{
    Begin("velmart_open");
    EXPECT_EQ(E_FAIL, Send(Message("velmart_open", RemoteFile)));
    EXPECT_EQ(0U, Waiting());
    EXPECT_EQ(1U, Surface().Questions().size());
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_EQ(1U, Surface().Questions().size());
}

TEST_F(PanelDownload, TheEndOfALaterStartCountsForBoth)
{
    Begin("velmart_open");
    EXPECT_EQ(S_OK, Send(Message("velmart_download", LocalFile("/parts/bolt.ZALPart"))));
    EXPECT_EQ(0U, Waiting());
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_TRUE(Surface().Questions().empty());
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(PanelDownload, TheSubscriptionLastsForOneEnd)
{
    Begin("velmart_open");
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_EQ(0U, Waiting());
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_EQ(1U, Surface().Questions().size());
}

TEST_F(PanelDownload, AnEndOfAnotherClassUnderTheNameUnsubscribesAndNothingElse)
{
    class Stranger : public ZALNotification {
    public:
        const char* IsA() const override { return CompleteClass; }
    };
    Begin("velmart_open");
    Stranger stranger;
    DispatchCallbacks(&Downloader(), &stranger);
    EXPECT_EQ(0U, Waiting());
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(0, BusyCursorCount());
}

TEST_F(PanelDownload, TheUserIsToldHowADownloadEndsAndAGoodOneIsOpened)
{
    InstallCatalog("DownloadCanceled = \"Given up\";\nDownloadFailed = \"Gone wrong\";\n");
    struct End {
        const char* name;
        Complete end;
        const char* asked; ///< null when nothing is
        const char* event = "velmart_open";
        int openings = 0;
    };
    const auto unknown = static_cast<Complete::Status>(7);
    for (const End& end :
         {End{"cancelled", Complete(Complete::DownloadCanceled), "Given up"},
          End{"cancelled download", Complete(Complete::DownloadCanceled), "Given up", "velmart_download"},
          End{"cancelled with files", Downloaded({"remark"}, Complete::DownloadCanceled), "Given up"},
          End{"success without files", Complete(Complete::DownloadSucceeded), "Gone wrong"},
          End{"success with an error", Complete(Complete::DownloadSucceeded, "empty"), "empty", "velmart_download"},
          End{"failure with files", Downloaded({}, Complete::DownloadFailed), "Gone wrong"},
          End{"failure with an error", Complete(Complete::DownloadFailed, "x"), "x"},
          End{"unknown without files", Complete(unknown), "Gone wrong"},
          End{"unknown with files", Downloaded({}, unknown), nullptr, "velmart_open", 1},
          End{"success", Downloaded(), nullptr, "velmart_open", 1},
          End{"success with warnings", Downloaded({"one", "two", "three"}), "one\ntwo\nthree", "velmart_open", 1},
          End{"download with warnings", Downloaded({"one", "two"}), nullptr, "velmart_download"}}) {
        SCOPED_TRACE(end.name);
        const std::size_t asked = Surface().Questions().size();
        const int openings = BusyCursorCount();
        const std::size_t traced = Traces().size();
        Begin(end.event);
        EndDownload(end.end);
        EXPECT_EQ(openings + end.openings, BusyCursorCount());
        ASSERT_EQ(asked + (end.asked ? 1 : 0), Surface().Questions().size());
        if (end.asked) {
            EXPECT_EQ(end.asked, Surface().Questions().back().text);
        }
        const std::string text = end.asked ? end.asked : "";
        for (const auto& [key, ofCatalog] :
             {std::pair("DownloadCanceled", "Given up"), std::pair("DownloadFailed", "Gone wrong")})
            EXPECT_EQ(text == ofCatalog ? 1 : 0,
                      std::count(Traces().begin() + static_cast<std::ptrdiff_t>(traced), Traces().end(),
                                 std::string("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : ") + key + "\n"));
        EndTransfer();
    }
}

TEST_F(PanelDownload, WarningsComeBeforeTheOpening)
{
    Begin("velmart_open");
    int opened = -1;
    Loop().Post([&] { opened = BusyCursorCount(); });
    EndDownload(Downloaded({"remark"}));
    EXPECT_EQ(0, opened);
    EXPECT_EQ(1, BusyCursorCount());
}

TEST_F(PanelDownload, TheOpeningIsToldInTheEnvironmentOfTheDownload)
{
    ScriptedCad cad;
    for (const char* environment : {"File", "UT5"}) {
        Begin("velmart_open");
        EndDownload(Complete(List({"/parts/a.ZALPart"}), environment, Complete::DownloadSucceeded));
        EndTransfer();
    }
    EXPECT_EQ((Texts{"Open /parts/a.ZALPart", "Open /parts/a.ZALPart"}), cad.calls);
    EXPECT_EQ(1, CountOf("ZALDlgHtmlViewJavaScriptNotification")); // the other component knows its own alone
}

// ---------------------------------------------------------------------------------------------
// What was asked for last decides

TEST_F(PanelDownload, ARefusedInsertSilencesTheGoodEndOfAnOpenAlone)
{
    for (const char* event : {"velmart_insert", "velmart_replace"})
        for (const bool isGood : {true, false}) {
            Begin("velmart_open");
            EXPECT_EQ(E_FAIL, Send(Message(event, RemoteFile)));
            EXPECT_EQ(1U, Waiting());
            const std::size_t asked = Surface().Questions().size();
            EndDownload(isGood ? Downloaded({"remark"}) : Complete(Complete::DownloadFailed, "gone"));
            EXPECT_EQ(asked + (isGood ? 0 : 1), Surface().Questions().size());
            EXPECT_EQ(isGood ? DefaultText : "gone", Surface().Questions().back().text);
            EXPECT_EQ(0, BusyCursorCount());
            EndTransfer();
        }
}

TEST_F(PanelDownload, AnOpenWithoutContentLeavesADownloadADownload)
{
    Begin("velmart_download");
    EXPECT_EQ(E_FAIL, Send(R"({"event":"velmart_open"})"));
    EndDownload(Downloaded());
    EXPECT_EQ(0, BusyCursorCount());
}

TEST_F(PanelDownload, InsertAndReplaceInTheWrongPlaceAreRefused)
{
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        EXPECT_EQ(E_FAIL, Send(Message(event, RemoteFile)));
        EXPECT_EQ("FileOpenInsertReplaceErrorNotify", Surface().Questions().back().name);
        EXPECT_EQ(0U, Waiting());
        EXPECT_TRUE(Transport().Requests().empty());
        EXPECT_TRUE(DialogEngine::Current().Commands().empty());
    }
    EXPECT_EQ(2U, Surface().Questions().size());
}

TEST_F(PanelDownload, InsertAndReplaceInTheRightPlaceStartACommandAlone)
{
    ConfigureFrame({.editor = true});
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        EXPECT_EQ(S_OK, Send(Message(event, RemoteFile)));
        const std::vector<RunningCommand> commands = DialogEngine::Current().Commands();
        ASSERT_EQ(1U, commands.size());
        EXPECT_EQ("ZALVelmartMeridiaAccessAddinActionCmd", commands[0].name);
        EXPECT_EQ("", commands[0].state); // it begins from the loop
        Loop().RunUntilIdle();
        EXPECT_EQ("InitialState", DialogEngine::Current().Commands().at(0).state);
        EXPECT_TRUE(Surface().Questions().empty());
        EXPECT_TRUE(Transport().Requests().empty());
        EXPECT_EQ(0U, Waiting());
        DialogEngine::Current().EndAll();
        Loop().RunUntilIdle();
    }
}

TEST_F(PanelDownload, InsertAndReplaceHandTheirActionAndTheContentOver)
{
    ScriptedCad cad;
    ScriptedObject& root = cad.MakeProduct("Root");
    ScriptedObject& child = cad.MakeProduct("Child");
    root.reference = child.reference = &root;
    child.father = &root;
    ConfigureFrame({.editor = true});
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        SCOPED_TRACE(event);
        EXPECT_EQ(S_OK, Send(Message(event, RemoteFile)));
        Loop().RunUntilIdle();
        // A root is a target of an insert alone.
        const Owned<ZALPathElement> rootPath(PathTo(root));
        const bool isInsert = std::string(event) == "velmart_insert";
        EXPECT_EQ(isInsert, DialogEngine::Current().Offer(rootPath.get()).accepted);
        const Owned<ZALPathElement> childPath(PathTo(child));
        if (!isInsert) {
            EXPECT_TRUE(DialogEngine::Current().Offer(childPath.get()).accepted);
        }
        ASSERT_EQ(isInsert ? 1U : 2U, Transport().Requests().size());
        EXPECT_EQ("http://127.0.0.1/item.zip", Transport().Requests().back().url);
        DialogEngine::Current().EndAll();
        Loop().RunUntilIdle();
        EndTransfer();
    }
}

TEST_F(PanelDownload, ACommandOutlivesTheAddin)
{
    ConfigureFrame({.editor = true});
    EXPECT_EQ(S_OK, Send(Message("velmart_insert", RemoteFile)));
    ReleaseAddin();
    Loop().RunUntilIdle();
    EXPECT_EQ("InitialState", DialogEngine::Current().Commands().at(0).state);
}

// ---------------------------------------------------------------------------------------------
// The dialog

TEST_F(PanelDownload, TheErrorDialogIsAsRequired)
{
    Send(Message("velmart_open"));
    ASSERT_EQ(1U, Surface().Questions().size());
    const ScriptedSurface::Question& question = Surface().Questions()[0];
    EXPECT_EQ("FileDownloadErrorNotify", question.name);
    EXPECT_EQ(16384U, question.style);
    EXPECT_EQ("MainWindow", question.parent);
    EXPECT_EQ("", question.title);
    EXPECT_EQ(DefaultText, question.text);
}

TEST_F(PanelDownload, WithoutAMainWindowTheErrorDialogHasNoParent)
{
    ConfigureFrame({.mainWindow = false});
    Send(Message("velmart_open"));
    ResetFrame();
    Send(Message("velmart_open"));
    ASSERT_EQ(2U, Surface().Questions().size());
    for (const ScriptedSurface::Question& question : Surface().Questions())
        EXPECT_EQ("", question.parent);
}

TEST_F(PanelDownload, TheErrorDialogEndsBetweenEventsHoweverItWasShown)
{
    const std::pair<const char*, std::function<void()>> rows[] = {
        {"shown", [] {}}, {"without memory", [] { throw std::bad_alloc(); }}, {"frame ends", [] { ResetFrame(); }}};
    for (const auto& [name, whileItIsUp] : rows) {
        Loop().Post(whileItIsUp);
        EXPECT_EQ(E_FAIL, Send(Message("velmart_open"))) << name;
        EXPECT_EQ(ZALApplicationFrame::GetFrame() != nullptr, ErrorDialogIsLive()) << name;
        Loop().RunUntilIdle();
        EXPECT_FALSE(ErrorDialogIsLive()) << name;
    }
}

TEST_F(PanelDownload, ACatalogWithoutTheKeyGivesTheDefault)
{
    InstallCatalog("DownloadCanceled = \"Given up\";\n");
    Send(Message("velmart_open"));
    EXPECT_EQ(Texts{DefaultText}, QuestionTexts());
}

TEST_F(PanelDownload, AnEmptyTextOfTheCatalogShowsNothing)
{
    InstallCatalog("DownloadFailed = \"\";\n");
    EXPECT_EQ(E_FAIL, Send(Message("velmart_open")));
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed"));
}

TEST_F(PanelDownload, MessagesArriveWhileTheErrorDialogIsUp)
{
    HRESULT inner = E_FAIL;
    Loop().Post([&] { inner = Send(Message("velmart_ready")); });
    EXPECT_EQ(E_FAIL, Send(Message("velmart_open")));
    EXPECT_EQ(S_OK, inner);
    EXPECT_EQ(OpApiReady, Addin().GetOpApiStatus());
}

TEST_F(PanelDownload, ADownloadMayBeginWhileTheWarningsOfAnotherAreUp)
{
    Begin("velmart_open");
    Loop().Post([&] { EXPECT_EQ(S_OK, Send(Message("velmart_download", LocalFile("/parts/b.ZALPart")))); });
    EndDownload(Downloaded({"remark"}));
    EXPECT_EQ(2, CountOf(CompleteClass));
    EXPECT_EQ(1, BusyCursorCount()); // the first one opens all the same
}

TEST_F(PanelDownload, TheAddinMayEndWhileTheWarningsAreUp)
{
    Begin("velmart_open");
    Loop().Post([&] { ReleaseAddin(); });
    EndDownload(Downloaded({"remark"}));
    EXPECT_EQ(Texts{"remark"}, QuestionTexts());
}

TEST_F(PanelDownload, TheOpeningComesThoughTheWarningsCouldNotBeShown)
{
    Begin("velmart_open");
    Loop().Post([] { throw std::bad_alloc(); });
    EndDownload(Downloaded({"remark"}));
    EXPECT_EQ(1, BusyCursorCount());
}

} // namespace
} // namespace openhost::testing
