#include "openhost/dialogs/UserActions.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/Installed.h"
#include "tests/support/Listener.h"
#include "tests/support/ScriptedFiles.h"

#include <gmock/gmock.h>

namespace openhost::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;

class DownloadTransfer : public DownloadFixture {
protected:
    static std::string Body() { return ZipBytes().Add("a.ZALPart", "part").Bytes(); }
    /// Closes the dialog of the running transfer and lets that end.
    void Cancel()
    {
        EXPECT_EQ(PushResult::Done, Surface().Push(ProgressWindow, "CLOSE"));
        Loop().RunUntilIdle();
    }
    void ExpectIdle()
    {
        EXPECT_EQ(nullptr, Probe.HttpRequest());
        EXPECT_EQ(nullptr, Probe.DataHandler());
        EXPECT_EQ(nullptr, Probe.ProgressDlg());
    }
};

// ---------------------------------------------------------------------------------------------
// Start

TEST_F(DownloadTransfer, SendsOneGetWithOneHeaderAndNoBody)
{
    EXPECT_EQ(S_OK, Probe.StartDefaultDownloadURL("https://velmart.example/a?b=c&d=%20"));
    ASSERT_THAT(Requested(), ElementsAre("https://velmart.example/a?b=c&d=%20"));
    const HttpRequestData& request = Transport().Requests().front();
    EXPECT_EQ("GET", request.method);
    EXPECT_EQ((HttpHeaders{{"Accept", "*/*"}}), request.headers);
    EXPECT_EQ("", request.body);
    EXPECT_THAT(Traces(), ElementsAre("ZALVelmartFileDownloader::DownloadURL: https://velmart.example/a?b=c&d=%20\n"));
}

TEST_F(DownloadTransfer, SecondStartFailsWithoutTraceAndRequest)
{
    StartTransfer();
    const ZALCefHttpRequest* running = Probe.HttpRequest();
    EXPECT_EQ(E_FAIL, Probe.StartDefaultDownloadURL("https://velmart.example/second"));
    EXPECT_EQ(1U, Traces().size());
    EXPECT_EQ(1U, Transport().Requests().size());
    EXPECT_EQ(running, Probe.HttpRequest());
    EXPECT_TRUE(Transport().Last().IsRunning());
}

TEST_F(DownloadTransfer, RefusedSendFailsAndLeavesNothingInTheWayOfTheNext)
{
    Transport().RefuseNext();
    EXPECT_EQ(E_FAIL, Probe.StartDefaultDownloadURL(Url));
    ExpectIdle();
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre("ZALVelmartFileDownloader::DownloadURL: https://velmart.example/item.zip\n"));
    EXPECT_EQ(S_OK, Probe.StartDefaultDownloadURL(Url));
}

TEST_F(DownloadTransfer, ShowsTheProgressDialog)
{
    StartTransfer();
    EXPECT_THAT(Surface().WindowEvents(), ElementsAre(AllOf(Field(&ScriptedSurface::WindowEvent::name, ProgressWindow),
                                                            Field(&ScriptedSurface::WindowEvent::style, 0x44200U),
                                                            Field(&ScriptedSurface::WindowEvent::action,
                                                                  ScriptedSurface::WindowEvent::Action::Shown))));
    EXPECT_EQ(Surface().Find(ProgressWindow), Probe.ProgressDlg());
}

TEST_F(DownloadTransfer, RunsWithoutDialogWithoutAFrameOrADocumentWindow)
{
    for (const FrameOptions& frame : {FrameOptions{.exists = false}, FrameOptions{.applicationDocument = false}}) {
        Receiver.Received.clear();
        ConfigureFrame(frame);
        auto& script = StartTransfer();
        const int updates = DisplayUpdateCount();
        script.Progress(50, 100);
        EXPECT_EQ(updates, DisplayUpdateCount());
        script.Bytes(Body());
        script.End();
        EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
        EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
        std::filesystem::remove(Parts() / "a.ZALPart");
    }
}

// ---------------------------------------------------------------------------------------------
// The pause of the recorder

TEST_F(DownloadTransfer, PausesWhileTheRecorderCapturesOrReplaysAndASendIsTaken)
{
    struct Case {
        const char* name;
        CommandOptions options;
        bool isRefused;
        bool pauses;
    };
    for (const Case& recorder : {Case{"capture", {.recorder = true, .capture = true}, false, true},
                                 Case{"replay", {.recorder = true, .replay = true}, false, true},
                                 Case{"idle", {.recorder = true}, false, false},
                                 Case{"refused", {.recorder = true, .capture = true}, true, false}}) {
        ConfigureCommands(recorder.options);
        Transport().RefuseNext(recorder.isRefused ? 1 : 0);
        CallLog calls;
        calls.onCall = [&](const std::string&) { EXPECT_NE(nullptr, Surface().Find(ProgressWindow)); };
        const Installed<ScriptedSystem> system(calls);
        EXPECT_EQ(recorder.isRefused ? E_FAIL : S_OK, Probe.StartDefaultDownloadURL(Url));
        EXPECT_EQ(recorder.pauses ? Texts{"sleep 2000"} : Texts{}, calls.Take()) << recorder.name;
        EXPECT_EQ(recorder.isRefused, Probe.ProgressDlg() == nullptr) << recorder.name;
        if (!recorder.isRefused)
            Transport().Last().End(TransferEnd::Failed);
        Loop().RunUntilIdle();
    }
}

// ---------------------------------------------------------------------------------------------
// Progress

TEST_F(DownloadTransfer, ProgressMovesTheBarAndRepaints)
{
    auto& script = StartTransfer();
    const int updates = DisplayUpdateCount();
    script.Progress(5, 100);
    EXPECT_EQ(0, Bar()->GetPos());
    EXPECT_EQ(updates, DisplayUpdateCount());
    script.Progress(42, 100);
    EXPECT_EQ(42, Bar()->GetPos());
    EXPECT_EQ(updates + 1, DisplayUpdateCount());
    script.Progress(500, 100);
    EXPECT_EQ(100, Bar()->GetPos()) << "beyond the total";
}

TEST_F(DownloadTransfer, ProgressWithoutApplicationMovesTheBar)
{
    ConfigureCommands({.application = false});
    StartTransfer().Progress(42, 100);
    EXPECT_EQ(42, Bar()->GetPos());
}

// ---------------------------------------------------------------------------------------------
// Cancel

TEST_F(DownloadTransfer, ClosingTheDialogCancels)
{
    auto& script = StartTransfer();
    script.Bytes("half");
    EXPECT_EQ(PushResult::Done, Surface().Push(ProgressWindow, "CLOSE"));
    EXPECT_TRUE(script.IsCancelled());
    EXPECT_THAT(Receiver.Received, IsEmpty()) << "the end comes from the event loop";
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Cancelled()));
}

TEST_F(DownloadTransfer, CannotBeCancelledTwice)
{
    StartTransfer();
    ZALDialog* window = Surface().Find(ProgressWindow);
    Surface().Push(ProgressWindow, "CLOSE");
    EXPECT_EQ(PushResult::Insensitive, Surface().Push(ProgressWindow, "CLOSE"));
    EXPECT_THAT(SubscribersOf(window, ZALVelmartDownloadProgressDlg::CANCELNotif::ClassName()), IsEmpty());
    Loop().RunUntilIdle();
    EXPECT_EQ(1U, Receiver.Received.size());
}

TEST_F(DownloadTransfer, CancelledTransferEndsItsDialogAndIsIdle)
{
    StartTransfer().Bytes("half");
    const ZALBaseUnknown_WR window(Surface().Find(ProgressWindow));
    Cancel();
    EXPECT_EQ(nullptr, window.GetComponent()) << "nobody holds it any more";
    ExpectIdle();
    EXPECT_EQ("half", ReadFile(TemporaryFile())) << "what came stays";
    EXPECT_EQ("", ToUtf8(Probe.DownloadedFilePath()));
    EXPECT_EQ(0, BusyCursorCount());
}

TEST_F(DownloadTransfer, CancelAfterTheEndDoesNothing)
{
    Transfer(Body());
    ASSERT_EQ(1U, Receiver.Received.size());
    Probe.OnCancelDownloadProgressDlg();
    Loop().RunUntilIdle();
    EXPECT_EQ(1U, Receiver.Received.size());
}

TEST_F(DownloadTransfer, ClosingTheDialogOfAnEndedTransferLeavesTheNextOneAlone)
{
    StartTransfer();
    ZALDialog* window = Surface().Find(ProgressWindow);
    Receiver.OnReceipt = [this] {
        Receiver.OnReceipt = {};
        StartTransfer();
    };
    Transport().Last().Bytes(Body());
    Transport().Last().End();
    ASSERT_NE(Surface().Find(ProgressWindow), window);
    UseCloseBox(*window); // it ends between events, and none has passed
    EXPECT_TRUE(Transport().Last().IsRunning());
}

TEST_F(DownloadTransfer, TheDialogMayEndWithItsParentDuringTheTransfer)
{
    auto& script = StartTransfer();
    ResetFrame();
    Loop().RunUntilIdle();
    ASSERT_EQ(nullptr, Surface().Find(ProgressWindow));
    Probe.OnCancelDownloadProgressDlg(); // takes input away from what is left of it
    ASSERT_TRUE(script.IsCancelled());
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Cancelled()));
    EXPECT_EQ(nullptr, Probe.ProgressDlg());
}

TEST_F(DownloadTransfer, TheProgressGoesOnWithoutTheDialogThatEndedWithItsParent)
{
    auto& script = StartTransfer();
    ResetFrame();
    Loop().RunUntilIdle();
    script.Progress(50, 100);
    script.Bytes(Body());
    script.End();
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
}

TEST_F(DownloadTransfer, CancelWithoutDialogCancelsTheTransfer)
{
    ConfigureFrame({.exists = false});
    const auto& script = StartTransfer();
    Probe.OnCancelDownloadProgressDlg();
    EXPECT_TRUE(script.IsCancelled());
}

// ---------------------------------------------------------------------------------------------
// End

TEST_F(DownloadTransfer, FailedTransferEndsAsFailed)
{
    auto& script = StartTransfer();
    script.Head(200);
    script.Bytes(Body());
    script.End(TransferEnd::Failed);
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_EQ("", ToUtf8(Probe.DownloadedFilePath()));
    EXPECT_EQ(0, BusyCursorCount());
}

TEST_F(DownloadTransfer, EndWithoutRequestCountsAsFailed)
{
    WriteBytes(TemporaryFile(), Body());
    Probe.OnDownloadRequestComplete(TemporaryFile().c_str());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
}

TEST_F(DownloadTransfer, EndsItsDialogBeforeTheNotification)
{
    Receiver.OnReceipt = [this] { ExpectIdle(); };
    Transfer(Body());
    Loop().RunUntilIdle();
    EXPECT_EQ(1U, Receiver.Received.size());
    EXPECT_EQ(nullptr, Surface().Find(ProgressWindow));
    EXPECT_EQ(ScriptedSurface::WindowEvent::Action::Ended, Surface().WindowEvents().back().action);
}

TEST_F(DownloadTransfer, FinishedTransferShowsTheBusyCursorAndKeepsTheFile)
{
    Transfer(Body());
    EXPECT_EQ(1, BusyCursorCount());
    EXPECT_EQ(TemporaryFile().string(), ToUtf8(Probe.DownloadedFilePath()));
    EXPECT_EQ(Body(), ReadFile(TemporaryFile()));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
    EXPECT_EQ("part", ReadFile(Parts() / "a.ZALPart"));
    SetSettings(Parts(), false);
    Transfer(Body());
    EXPECT_EQ(2, BusyCursorCount()) << "also when the folder is asked for";
}

TEST_F(DownloadTransfer, ShowsTheBusyCursorBeforeTheExtraction)
{
    WriteBytes(Parts() / "a.ZALPart", "old");
    int inQuestion = 0;
    Loop().Post([&] { inQuestion = BusyCursorCount(); });
    Transfer(Body());
    EXPECT_EQ(1, inQuestion);
    EXPECT_EQ(1, BusyCursorCount());
}

TEST_F(DownloadTransfer, CodeOfTheReplyIsNotLookedAt)
{
    Transfer(Body(), 404);
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
}

TEST_F(DownloadTransfer, ErrorBodyInJsonEndsAsFailedAndStays)
{
    Transfer(R"({"error": "gone"})", 500, {{"content-type", "application/json"}});

    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    EXPECT_EQ(R"({"error": "gone"})", ReadFile(Temp() / "VelmartDownloadedQ7FilesError.json"));
}

TEST_F(DownloadTransfer, EmptyBodyWithoutFolderStillAsksForTheFolder)
{
    SetSettings(Parts(), false);
    Transfer("");
    EXPECT_THAT(Receiver.Received, IsEmpty());
    Probe.OnDownloadLocationDlgOK();
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
}

TEST_F(DownloadTransfer, BodyThatIsNoArchiveOrEmptyEndsAsFailed)
{
    Transfer("");
    EXPECT_THAT(FilesBelow(Temp()), IsEmpty());
    Transfer("<html>busy</html>");
    Transfer(Body());
    Transfer("");
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed(), Failed(), Succeeded({"a.ZALPart"}), Failed()))
        << "the file of the download before is not used again";
}

TEST_F(DownloadTransfer, TemporaryFileThatCannotBeOpenedEndsAsFailed)
{
    remove(Temp());
    Transfer(Body());
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    EXPECT_EQ(TemporaryFile().string(), ToUtf8(Probe.DownloadedFilePath()));
}

TEST_F(DownloadTransfer, FileNameOfTheServerNamesTheTemporaryFile)
{
    Transfer(Body(), 200, FileNamed("b.zip"));
    EXPECT_THAT(FilesBelow(Temp()), ElementsAre("b.zip"));
    EXPECT_EQ(1U, Receiver.Received.size());
}

TEST_F(DownloadTransfer, ReceiverMayStartTheNextTransferInsideTheNotification)
{
    Receiver.OnReceipt = [this] {
        Receiver.OnReceipt = {};
        EXPECT_EQ(S_OK, Probe.StartDefaultDownloadURL("https://velmart.example/next"));
    };
    Transfer(Body());
    EXPECT_TRUE(Transport().Last().IsRunning());
    EXPECT_NE(nullptr, Probe.ProgressDlg());
}

// ---------------------------------------------------------------------------------------------
// End of the downloader

TEST_F(DownloadTransfer, EndOfTheDownloaderEndsTheTransferAndItsFile)
{
    const auto& script = StartTransfer();
    Transport().Last().Bytes("half");
    Probe.EndDownloader();
    Loop().RunUntilIdle();
    EXPECT_FALSE(script.IsRunning());
    EXPECT_EQ("half", ReadFile(TemporaryFile()));
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DownloadTransfer, EndOfTheDownloaderLeavesItsDialogToTheHost)
{
    StartTransfer();
    Probe.EndDownloader();
    Loop().RunUntilIdle();
    const ZALBaseUnknown_WR window(Surface().Find(ProgressWindow));
    EXPECT_EQ(PushResult::Done, Surface().Push(ProgressWindow, "CLOSE"));
    ResetFrame();
    EXPECT_EQ(nullptr, window.GetComponent()) << "nobody else holds it";
}

} // namespace
} // namespace openhost::testing
