// Downloads that the panel starts, and what the user sees of their end.

#include "tests/panel/PanelFixture.h"

#include "openhost/dialogs/DialogNode.h"
#include "tests/support/Objects.h"
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
        ASSERT_EQ(Send(Message(event, RemoteFile)), S_OK);
        ASSERT_EQ(Waiting(), 1U);
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
    EXPECT_EQ(Send(Message("velmart_open", LocalFile("/parts/bolt.ZALPart"))), S_OK);
    EXPECT_EQ(CountOf(CompleteClass), 1);
    EXPECT_EQ(Waiting(), 0U);
    EXPECT_EQ(BusyCursorCount(), 1); // opening has begun
    EXPECT_TRUE(Surface().Questions().empty());
}

TEST_F(PanelDownload, APlainDownloadOfALocalFileOpensNothing)
{
    EXPECT_EQ(Send(Message("velmart_download", LocalFile("/parts/bolt.ZALPart"))), S_OK);
    EXPECT_EQ(CountOf(CompleteClass), 1);
    EXPECT_EQ(Waiting(), 0U);
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(PanelDownload, TheContentIsTheRequest)
{
    Begin("velmart_download");
    ASSERT_EQ(Transport().Requests().size(), 1U);
    EXPECT_EQ(Transport().Requests()[0].url, "http://127.0.0.1/item.zip");
}

TEST_F(PanelDownload, ARefusedStartTellsTheUserAndUnsubscribes)
{
    for (const char* event : {"velmart_open", "velmart_download"}) {
        EXPECT_EQ(Send(Message(event)), E_FAIL);
        EXPECT_EQ(Waiting(), 0U);
    }
    EXPECT_EQ(QuestionTexts(), (Texts{DefaultText, DefaultText}));
    EXPECT_EQ(Traces(), (Texts{"ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_open\n",
                               "ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed\n",
                               "ZALVelmartMeridiaAccessAddin::OnJSMessage Event: velmart_download\n",
                               "ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed\n"}));
}

TEST_F(PanelDownload, TheErrorIsTracedBeforeTheUserIsTold)
{
    bool traced = false;
    Loop().Post([&] { traced = Traced("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed"); });
    Send(Message("velmart_open"));
    EXPECT_TRUE(traced);
}

TEST_F(PanelDownload, TheSubscriptionIsGoneBeforeTheUserIsTold)
{
    std::size_t waiting = 99;
    Loop().Post([&] { waiting = Waiting(); });
    Send(Message("velmart_open"));
    EXPECT_EQ(waiting, 0U);
}

TEST_F(PanelDownload, ASecondStartThatIsRefusedTakesTheFirstOnesEndAway)
{
    Begin("velmart_open");
    EXPECT_EQ(Send(Message("velmart_open", RemoteFile)), E_FAIL);
    EXPECT_EQ(Waiting(), 0U);
    EXPECT_EQ(Surface().Questions().size(), 1U);

    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_EQ(Surface().Questions().size(), 1U);
}

TEST_F(PanelDownload, TheEndOfALaterStartCountsForBoth)
{
    Begin("velmart_open");
    EXPECT_EQ(Send(Message("velmart_download", LocalFile("/parts/bolt.ZALPart"))), S_OK);
    EXPECT_EQ(Waiting(), 0U);
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_TRUE(Surface().Questions().empty());
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(PanelDownload, TheSubscriptionLastsForOneEnd)
{
    Begin("velmart_open");
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_EQ(Waiting(), 0U);
    EndDownload(Complete(Complete::DownloadFailed));
    EXPECT_EQ(Surface().Questions().size(), 1U);
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
    EXPECT_EQ(Waiting(), 0U);
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(PanelDownload, ACancelledDownloadSaysSo)
{
    InstallCatalog("DownloadCanceled = \"Given up\";\nDownloadFailed = \"Gone wrong\";\n");
    for (const char* event : {"velmart_open", "velmart_download"}) {
        Begin(event);
        EndDownload(Complete(Complete::DownloadCanceled));
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }
    EXPECT_EQ(QuestionTexts(), (Texts{"Given up", "Given up"}));
    EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadCanceled"));
}

TEST_F(PanelDownload, ACancelledDownloadIsCancelledWhateverElseItHolds)
{
    InstallCatalog("DownloadCanceled = \"Given up\";\n");
    Begin("velmart_open");
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadCanceled, List({"remark"})));
    EXPECT_EQ(QuestionTexts(), Texts{"Given up"});
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(PanelDownload, SuccessWithoutAFileIsAFailure)
{
    InstallCatalog("DownloadFailed = \"Gone wrong\";\n");
    Begin("velmart_open");
    EndDownload(Complete(Complete::DownloadSucceeded));
    EXPECT_EQ(QuestionTexts(), Texts{"Gone wrong"});
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(PanelDownload, SuccessWithoutAFileShowsItsErrorText)
{
    Begin("velmart_download");
    EndDownload(Complete(Complete::DownloadSucceeded, "the shelf is empty"));
    EXPECT_EQ(QuestionTexts(), Texts{"the shelf is empty"});
}

TEST_F(PanelDownload, AFailureIsAFailureThoughThereAreFiles)
{
    Begin("velmart_open");
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadFailed));
    EXPECT_EQ(QuestionTexts(), Texts{DefaultText});
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(PanelDownload, AFailureWithAnErrorTextShowsItInPlaceOfTheCatalogs)
{
    Begin("velmart_open");
    EndDownload(Complete(Complete::DownloadFailed, "x"));
    EXPECT_EQ(QuestionTexts(), Texts{"x"});
    EXPECT_FALSE(Traced("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed"));
}

TEST_F(PanelDownload, AnUnheardOfStatusWithFilesCountsAsSuccess)
{
    Begin("velmart_open");
    EndDownload(Complete(List({"/parts/a.ZALPart"}), static_cast<Complete::Status>(7)));
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(BusyCursorCount(), 1);
}

TEST_F(PanelDownload, AnUnheardOfStatusWithoutFilesCountsAsFailure)
{
    Begin("velmart_open");
    EndDownload(Complete(static_cast<Complete::Status>(7)));
    EXPECT_EQ(QuestionTexts(), Texts{DefaultText});
}

TEST_F(PanelDownload, WarningsOfAPlainDownloadAreNotShown)
{
    Begin("velmart_download");
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded, List({"one", "two"})));
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(PanelDownload, WarningsComeBeforeTheOpening)
{
    Begin("velmart_open");
    int opened = -1;
    Loop().Post([&] { opened = BusyCursorCount(); });
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded, List({"one", "two", "three"})));
    EXPECT_EQ(QuestionTexts(), Texts{"one\ntwo\nthree"});
    EXPECT_EQ(opened, 0);
    EXPECT_EQ(BusyCursorCount(), 1);
}

TEST_F(PanelDownload, TheOpeningIsToldInTheEnvironmentOfTheDownload)
{
    ScriptedCad cad;
    for (const char* environment : {"File", "UT5"}) {
        Begin("velmart_open");
        EndDownload(Complete(List({"/parts/a.ZALPart"}), environment, Complete::DownloadSucceeded));
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }
    EXPECT_EQ(cad.calls, (Texts{"Open /parts/a.ZALPart", "Open /parts/a.ZALPart"}));
    EXPECT_EQ(CountOf("ZALDlgHtmlViewJavaScriptNotification"), 1); // the other component knows its own alone
}

TEST_F(PanelDownload, TheOpeningComesWithoutWarningsToo)
{
    Begin("velmart_open");
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded));
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(BusyCursorCount(), 1);
}

// ---------------------------------------------------------------------------------------------
// What was asked for last decides

TEST_F(PanelDownload, ARefusedInsertTurnsTheEndOfAnOpenIntoSilence)
{
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        Begin("velmart_open");
        EXPECT_EQ(Send(Message(event, RemoteFile)), E_FAIL);
        EXPECT_EQ(Waiting(), 1U);
        const std::size_t asked = Surface().Questions().size();

        EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded, List({"remark"})));
        EXPECT_EQ(Surface().Questions().size(), asked);
        EXPECT_EQ(BusyCursorCount(), 0);
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }
}

TEST_F(PanelDownload, AFailureIsToldThoughARefusedInsertCameBetween)
{
    Begin("velmart_open");
    Send(Message("velmart_insert", RemoteFile));
    EndDownload(Complete(Complete::DownloadFailed, "gone"));
    EXPECT_EQ(QuestionTexts(), (Texts{DefaultText, "gone"}));
}

TEST_F(PanelDownload, AnOpenWithoutContentLeavesADownloadADownload)
{
    Begin("velmart_download");
    EXPECT_EQ(Send(R"({"event":"velmart_open"})"), E_FAIL);
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded));
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(PanelDownload, InsertAndReplaceInTheWrongPlaceAreRefusedByTheCommandsMessage)
{
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        EXPECT_EQ(Send(Message(event, RemoteFile)), E_FAIL);
        EXPECT_EQ(Surface().Questions().back().name, "FileOpenInsertReplaceErrorNotify");
        EXPECT_EQ(Waiting(), 0U);
        EXPECT_TRUE(Transport().Requests().empty());
    }
    EXPECT_EQ(Surface().Questions().size(), 2U);
}

TEST_F(PanelDownload, InsertAndReplaceInTheRightPlaceStartACommandAndDoNotSubscribeTheAddin)
{
    ConfigureFrame({.editor = true});
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        EXPECT_EQ(Send(Message(event, RemoteFile)), S_OK);
        const std::vector<RunningCommand> commands = DialogEngine::Current().Commands();
        ASSERT_EQ(commands.size(), 1U);
        EXPECT_EQ(commands[0].name, "ZALVelmartMeridiaAccessAddinActionCmd");
        EXPECT_EQ(commands[0].state, ""); // it begins from the loop
        Loop().RunUntilIdle();
        EXPECT_EQ(DialogEngine::Current().Commands().at(0).state, "InitialState");
        EXPECT_TRUE(Surface().Questions().empty());
        EXPECT_TRUE(Transport().Requests().empty());
        EXPECT_EQ(Waiting(), 0U);
        DialogEngine::Current().EndAll();
        Loop().RunUntilIdle();
    }
}

TEST_F(PanelDownload, InsertAndReplaceHandTheirActionAndTheContentOver)
{
    ScriptedCad cad;
    const Owned<ScriptedProduct> root(new ScriptedProduct(cad, "Root"));
    const Owned<ScriptedProduct> child(new ScriptedProduct(cad, "Child"));
    root->reference = child->reference = root.get();
    child->father = root.get();
    ConfigureFrame({.editor = true});
    for (const char* event : {"velmart_insert", "velmart_replace"}) {
        SCOPED_TRACE(event);
        EXPECT_EQ(Send(Message(event, RemoteFile)), S_OK);
        Loop().RunUntilIdle();
        // A root is a target of an insert alone.
        const Owned<ZALPathElement> rootPath(PathTo(*root));
        const bool isInsert = std::string(event) == "velmart_insert";
        EXPECT_EQ(DialogEngine::Current().Offer(rootPath.get()).accepted, isInsert);
        const Owned<ZALPathElement> childPath(PathTo(*child));
        if (!isInsert) {
            EXPECT_TRUE(DialogEngine::Current().Offer(childPath.get()).accepted);
        }
        ASSERT_EQ(Transport().Requests().size(), isInsert ? 1U : 2U);
        EXPECT_EQ(Transport().Requests().back().url, "http://127.0.0.1/item.zip");
        DialogEngine::Current().EndAll();
        Loop().RunUntilIdle();
        Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }
}

TEST_F(PanelDownload, InsertAndReplaceInTheWrongPlaceStartNoCommand)
{
    for (const char* event : {"velmart_insert", "velmart_replace"})
        Send(Message(event, RemoteFile));
    EXPECT_TRUE(DialogEngine::Current().Commands().empty());
}

TEST_F(PanelDownload, ACommandOutlivesTheAddin)
{
    ConfigureFrame({.editor = true});
    EXPECT_EQ(Send(Message("velmart_insert", RemoteFile)), S_OK);
    ReleaseAddin();
    Loop().RunUntilIdle();
    EXPECT_EQ(DialogEngine::Current().Commands().at(0).state, "InitialState");
}

// ---------------------------------------------------------------------------------------------
// The dialog

TEST_F(PanelDownload, TheErrorDialogIsAsRequired)
{
    Send(Message("velmart_open"));
    ASSERT_EQ(Surface().Questions().size(), 1U);
    const ScriptedSurface::Question& question = Surface().Questions()[0];
    EXPECT_EQ(question.name, "FileDownloadErrorNotify");
    EXPECT_EQ(question.style, 16384U);
    EXPECT_EQ(question.parent, "MainWindow");
    EXPECT_EQ(question.title, "");
    EXPECT_EQ(question.text, DefaultText);
}

TEST_F(PanelDownload, WithoutAFrameTheErrorDialogHasNoParent)
{
    ResetFrame();
    Send(Message("velmart_open"));
    ASSERT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(Surface().Questions()[0].parent, "");
}

TEST_F(PanelDownload, WithoutAMainWindowTheErrorDialogHasNoParent)
{
    ConfigureFrame({.mainWindow = false});
    Send(Message("velmart_open"));
    ASSERT_EQ(Surface().Questions().size(), 1U);
    EXPECT_EQ(Surface().Questions()[0].parent, "");
}

TEST_F(PanelDownload, TheErrorDialogEndsBetweenEvents)
{
    Send(Message("velmart_open"));
    EXPECT_TRUE(ErrorDialogIsLive());
    Loop().RunUntilIdle();
    EXPECT_FALSE(ErrorDialogIsLive());
}

TEST_F(PanelDownload, ATextOfTheCatalogTakesThePlaceOfTheDefault)
{
    InstallCatalog("DownloadFailed = \"Gone wrong\";\n");
    Send(Message("velmart_open"));
    EXPECT_EQ(QuestionTexts(), Texts{"Gone wrong"});
}

TEST_F(PanelDownload, ACatalogWithoutTheKeyGivesTheDefault)
{
    InstallCatalog("DownloadCanceled = \"Given up\";\n");
    Send(Message("velmart_open"));
    EXPECT_EQ(QuestionTexts(), Texts{DefaultText});
}

TEST_F(PanelDownload, AnEmptyTextOfTheCatalogShowsNothing)
{
    InstallCatalog("DownloadFailed = \"\";\n");
    EXPECT_EQ(Send(Message("velmart_open")), E_FAIL);
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(Traced("ZALVelmartMeridiaAccessAddin::NotifyErrorMessage : DownloadFailed"));
}

TEST_F(PanelDownload, MessagesArriveWhileTheErrorDialogIsUp)
{
    HRESULT inner = E_FAIL;
    Loop().Post([&] { inner = Send(Message("velmart_ready")); });
    EXPECT_EQ(Send(Message("velmart_open")), E_FAIL);
    EXPECT_EQ(inner, S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
}

TEST_F(PanelDownload, ADownloadMayBeginWhileTheWarningsOfAnotherAreUp)
{
    Begin("velmart_open");
    Loop().Post([&] { EXPECT_EQ(Send(Message("velmart_download", LocalFile("/parts/b.ZALPart"))), S_OK); });
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded, List({"remark"})));
    EXPECT_EQ(CountOf(CompleteClass), 2);
    EXPECT_EQ(BusyCursorCount(), 1); // the first one opens all the same
}

TEST_F(PanelDownload, TheAddinMayEndWhileTheWarningsAreUp)
{
    Begin("velmart_open");
    Loop().Post([&] { ReleaseAddin(); });
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded, List({"remark"})));
    EXPECT_EQ(QuestionTexts(), Texts{"remark"});
}

TEST_F(PanelDownload, TheErrorDialogEndsThoughItCouldNotBeShown)
{
    Loop().Post([] { throw std::bad_alloc(); });
    EXPECT_EQ(Send(Message("velmart_open")), E_FAIL);
    EXPECT_TRUE(ErrorDialogIsLive());
    Loop().RunUntilIdle();
    EXPECT_FALSE(ErrorDialogIsLive());
}

TEST_F(PanelDownload, TheOpeningComesThoughTheWarningsCouldNotBeShown)
{
    Begin("velmart_open");
    Loop().Post([] { throw std::bad_alloc(); });
    EndDownload(Complete(List({"/parts/a.ZALPart"}), Complete::DownloadSucceeded, List({"remark"})));
    EXPECT_EQ(BusyCursorCount(), 1);
}

TEST_F(PanelDownload, TheFrameMayEndWhileTheErrorDialogIsUp)
{
    Loop().Post([] { ResetFrame(); });
    EXPECT_EQ(Send(Message("velmart_open")), E_FAIL);
    Loop().RunUntilIdle();
    EXPECT_FALSE(ErrorDialogIsLive());
}

} // namespace

} // namespace openhost::testing
