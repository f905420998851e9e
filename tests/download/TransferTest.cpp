#include "openhost/dialogs/UserActions.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

#include <chrono>

namespace openhost::testing {
namespace {

using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::Field;
using ::testing::IsEmpty;

constexpr auto Pause = std::chrono::milliseconds(2000);

class DownloadTransfer : public DownloadFixture {
protected:
    static std::string Body() { return ZipBytes().Add("a.ZALPart", "part").Bytes(); }
    ZALDlgProgress* Bar() { return dynamic_cast<ZALDlgProgress*>(Surface().Find(ProgressWindow, "VLProgressBar")); }
    std::chrono::steady_clock::duration TimeOfStart()
    {
        const auto begin = std::chrono::steady_clock::now();
        StartTransfer();
        return std::chrono::steady_clock::now() - begin;
    }
};

// ---------------------------------------------------------------------------------------------
// Start

TEST_F(DownloadTransfer, SendsOneGetWithOneHeaderAndNoBody)
{
    EXPECT_EQ(Probe.StartDefaultDownloadURL("https://velmart.example/a?b=c&d=%20"), S_OK);

    ASSERT_EQ(Transport().Requests().size(), 1U);
    const HttpRequestData& request = Transport().Requests().front();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.url, "https://velmart.example/a?b=c&d=%20");
    EXPECT_EQ(request.headers, (HttpHeaders{{"Accept", "*/*"}}));
    EXPECT_EQ(request.body, "");
}

TEST_F(DownloadTransfer, TracesTheAddress)
{
    StartTransfer();
    EXPECT_THAT(Traces(), ElementsAre("ZALVelmartFileDownloader::DownloadURL: https://velmart.example/item.zip\n"));
}

TEST_F(DownloadTransfer, SecondStartFailsWithoutTraceAndRequest)
{
    StartTransfer();
    const ZALCefHttpRequest* running = Probe.HttpRequest();

    EXPECT_EQ(Probe.StartDefaultDownloadURL("https://velmart.example/second"), E_FAIL);

    EXPECT_EQ(Traces().size(), 1U);
    EXPECT_EQ(Transport().Requests().size(), 1U);
    EXPECT_EQ(Probe.HttpRequest(), running);
    EXPECT_TRUE(Transport().Last().IsRunning());
}

TEST_F(DownloadTransfer, RefusedSendFailsAndLeavesNothingBehind)
{
    Transport().RefuseNext();

    EXPECT_EQ(Probe.StartDefaultDownloadURL(Url), E_FAIL);

    EXPECT_EQ(Probe.HttpRequest(), nullptr);
    EXPECT_EQ(Probe.DataHandler(), nullptr);
    EXPECT_EQ(Probe.ProgressDlg(), nullptr);
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Traces(), ElementsAre("ZALVelmartFileDownloader::DownloadURL: https://velmart.example/item.zip\n"));
}

TEST_F(DownloadTransfer, CanStartAfterARefusedSend)
{
    Transport().RefuseNext();
    Probe.StartDefaultDownloadURL(Url);

    EXPECT_EQ(Probe.StartDefaultDownloadURL(Url), S_OK);
}

TEST_F(DownloadTransfer, ShowsTheProgressDialog)
{
    StartTransfer();

    EXPECT_THAT(Surface().WindowEvents(), ElementsAre(AllOf(Field(&ScriptedSurface::WindowEvent::name, ProgressWindow),
                                                            Field(&ScriptedSurface::WindowEvent::style, 0x44200U),
                                                            Field(&ScriptedSurface::WindowEvent::action,
                                                                  ScriptedSurface::WindowEvent::Action::Shown))));
    EXPECT_EQ(Probe.ProgressDlg(), Surface().Find(ProgressWindow));
}

TEST_F(DownloadTransfer, RunsWithoutFrameAndWithoutDialog)
{
    ConfigureFrame({.exists = false});

    Transfer(Body());

    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
}

TEST_F(DownloadTransfer, RunsWithoutDocumentWindowAndWithoutDialog)
{
    ConfigureFrame({.applicationDocument = false});

    auto& script = StartTransfer();
    script.Progress(50, 100);
    script.Bytes(Body());
    script.End();

    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
    EXPECT_EQ(Receiver.Received.size(), 1U);
}

// ---------------------------------------------------------------------------------------------
// The pause of the recorder

TEST_F(DownloadTransfer, PausesWhileTheRecorderCaptures)
{
    ConfigureCommands({.recorder = true, .capture = true});

    EXPECT_GE(TimeOfStart(), Pause);
    EXPECT_NE(Probe.ProgressDlg(), nullptr);
}

TEST_F(DownloadTransfer, PausesWhileTheRecorderReplays)
{
    ConfigureCommands({.recorder = true, .replay = true});
    EXPECT_GE(TimeOfStart(), Pause);
}

TEST_F(DownloadTransfer, DoesNotPauseForAnIdleRecorder)
{
    ConfigureCommands({.recorder = true});
    EXPECT_LT(TimeOfStart(), Pause);
}

TEST_F(DownloadTransfer, DoesNotPauseWhenTheSendIsRefused)
{
    ConfigureCommands({.recorder = true, .capture = true});
    Transport().RefuseNext();

    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Probe.StartDefaultDownloadURL(Url), E_FAIL);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, Pause);
}

// ---------------------------------------------------------------------------------------------
// Progress

TEST_F(DownloadTransfer, ProgressMovesTheBarAndRepaints)
{
    auto& script = StartTransfer();
    const int updates = DisplayUpdateCount();

    script.Progress(5, 100);
    EXPECT_EQ(Bar()->GetPos(), 0);
    EXPECT_EQ(DisplayUpdateCount(), updates);

    script.Progress(42, 100);
    EXPECT_EQ(Bar()->GetPos(), 42);
    EXPECT_EQ(DisplayUpdateCount(), updates + 1);
}

TEST_F(DownloadTransfer, ProgressBeyondTheTotalFillsTheBar)
{
    StartTransfer().Progress(500, 100);
    EXPECT_EQ(Bar()->GetPos(), 100);
}

TEST_F(DownloadTransfer, ProgressWithoutDialogIsIgnored)
{
    const int updates = DisplayUpdateCount();
    Probe.NotifyProgress(50);
    EXPECT_EQ(DisplayUpdateCount(), updates);
}

TEST_F(DownloadTransfer, ProgressWithoutApplicationMovesTheBar)
{
    ConfigureCommands({.application = false});
    StartTransfer().Progress(42, 100);
    EXPECT_EQ(Bar()->GetPos(), 42);
}

// ---------------------------------------------------------------------------------------------
// Cancel

TEST_F(DownloadTransfer, ClosingTheDialogCancels)
{
    auto& script = StartTransfer();
    script.Bytes("half");

    EXPECT_EQ(Surface().Push(ProgressWindow, "CLOSE"), PushResult::Done);
    EXPECT_TRUE(script.IsCancelled());
    EXPECT_THAT(Receiver.Received, IsEmpty()) << "the end comes from the event loop";

    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadCanceled)));
}

TEST_F(DownloadTransfer, CannotBeCancelledTwice)
{
    StartTransfer();
    Surface().Push(ProgressWindow, "CLOSE");

    EXPECT_EQ(Surface().Push(ProgressWindow, "CLOSE"), PushResult::Insensitive);
    Loop().RunUntilIdle();
    EXPECT_EQ(Receiver.Received.size(), 1U);
}

TEST_F(DownloadTransfer, CancelDropsTheSubscriptionOnTheDialog)
{
    StartTransfer();
    ZALDialog* window = Surface().Find(ProgressWindow);
    Surface().Push(ProgressWindow, "CLOSE");

    std::vector<ZALBaseUnknown*> subscribers;
    ZALSysGetSubscribers(window, ZALVelmartDownloadProgressDlg::CANCELNotif::ClassName(), subscribers);
    EXPECT_THAT(subscribers, IsEmpty());
}

TEST_F(DownloadTransfer, CancelledTransferEndsItsDialogAndIsIdle)
{
    StartTransfer();
    const ZALBaseUnknown_WR window(Surface().Find(ProgressWindow));
    Surface().Push(ProgressWindow, "CLOSE");
    Loop().RunUntilIdle();

    EXPECT_EQ(window.GetComponent(), nullptr) << "nobody holds it any more";
    EXPECT_EQ(Probe.ProgressDlg(), nullptr);
    EXPECT_EQ(Probe.HttpRequest(), nullptr);
    EXPECT_EQ(Probe.DataHandler(), nullptr);
}

TEST_F(DownloadTransfer, CancelKeepsThePartOfTheFileThatCame)
{
    StartTransfer().Bytes("half");
    Surface().Push(ProgressWindow, "CLOSE");
    Loop().RunUntilIdle();

    EXPECT_EQ(ReadFile(TemporaryFile()), "half");
    EXPECT_EQ(ToUtf8(Probe.DownloadedFilePath()), "");
}

TEST_F(DownloadTransfer, CancelAfterTheEndDoesNothing)
{
    Transfer(Body());
    ASSERT_EQ(Receiver.Received.size(), 1U);

    Probe.OnCancelDownloadProgressDlg();
    Loop().RunUntilIdle();

    EXPECT_EQ(Receiver.Received.size(), 1U);
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
    ASSERT_EQ(Surface().Find(ProgressWindow), nullptr);
    Probe.OnCancelDownloadProgressDlg(); // takes input away from what is left of it
    ASSERT_TRUE(script.IsCancelled());
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadCanceled)));
    EXPECT_EQ(Probe.ProgressDlg(), nullptr);
}

TEST_F(DownloadTransfer, TheProgressGoesOnWithoutTheDialogThatEndedWithItsParent)
{
    auto& script = StartTransfer();
    ResetFrame();
    Loop().RunUntilIdle();

    script.Progress(50, 100);
    script.Bytes(Body());
    script.End();
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
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

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_EQ(ToUtf8(Probe.DownloadedFilePath()), "");
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(DownloadTransfer, EndWithoutRequestCountsAsFailed)
{
    WriteFile(TemporaryFile(), Body());
    Probe.OnDownloadRequestComplete(TemporaryFile().c_str());
    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(DownloadTransfer, EndsItsDialogBeforeTheNotification)
{
    Receiver.OnReceipt = [this] {
        EXPECT_EQ(Probe.HttpRequest(), nullptr);
        EXPECT_EQ(Probe.DataHandler(), nullptr);
        EXPECT_EQ(Probe.ProgressDlg(), nullptr);
    };
    Transfer(Body());
    Loop().RunUntilIdle();

    EXPECT_EQ(Receiver.Received.size(), 1U);
    EXPECT_EQ(Surface().Find(ProgressWindow), nullptr);
    EXPECT_EQ(Surface().WindowEvents().back().action, ScriptedSurface::WindowEvent::Action::Ended);
}

TEST_F(DownloadTransfer, FinishedTransferShowsTheBusyCursorAndKeepsThePath)
{
    Transfer(Body());

    EXPECT_EQ(BusyCursorCount(), 1);
    EXPECT_EQ(ToUtf8(Probe.DownloadedFilePath()), TemporaryFile().string());
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
    EXPECT_EQ(ReadFile(Parts() / "a.ZALPart"), "part");
}

TEST_F(DownloadTransfer, ShowsTheBusyCursorBeforeTheExtraction)
{
    WriteFile(Parts() / "a.ZALPart", "old");
    int inQuestion = 0;
    Loop().Post([&] { inQuestion = BusyCursorCount(); });
    Transfer(Body());
    EXPECT_EQ(inQuestion, 1);
    EXPECT_EQ(BusyCursorCount(), 1);
}

TEST_F(DownloadTransfer, ShowsTheBusyCursorThoughTheFolderIsAskedFor)
{
    SetSettings(Parts(), false);
    Transfer(Body());
    EXPECT_EQ(BusyCursorCount(), 1);
}

TEST_F(DownloadTransfer, CancelledTransferShowsNoBusyCursor)
{
    StartTransfer();
    Surface().Push(ProgressWindow, "CLOSE");
    Loop().RunUntilIdle();
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(DownloadTransfer, TemporaryFileStaysAfterTheExtraction)
{
    Transfer(Body());
    EXPECT_EQ(ReadFile(TemporaryFile()), Body());
}

TEST_F(DownloadTransfer, CodeOfTheReplyIsNotLookedAt)
{
    Transfer(Body(), 404);
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
}

TEST_F(DownloadTransfer, ErrorBodyInJsonEndsAsFailedAndStays)
{
    Transfer(R"({"error": "gone"})", 500, {{"content-type", "application/json"}});

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
    EXPECT_EQ(ReadFile(Temp() / "VelmartDownloadedQ7FilesError.json"), R"({"error": "gone"})");
}

TEST_F(DownloadTransfer, BodyThatIsNoArchiveEndsAsFailed)
{
    Transfer("<html>busy</html>");
    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(DownloadTransfer, EmptyBodyEndsAsFailed)
{
    Transfer("");

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
    EXPECT_THAT(FilesBelow(Temp()), IsEmpty());
}

TEST_F(DownloadTransfer, EmptyBodyWithoutFolderStillAsksForTheFolder)
{
    SetSettings(Parts(), false);
    Transfer("");
    EXPECT_THAT(Receiver.Received, IsEmpty());

    Probe.OnDownloadLocationDlgOK();
    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(DownloadTransfer, EmptyBodyDoesNotReuseTheFileOfTheDownloadBefore)
{
    Transfer(Body());
    Transfer("");

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")}),
                                               Bare(Notification::DownloadFailed)));
}

TEST_F(DownloadTransfer, TemporaryFileThatCannotBeOpenedEndsAsFailed)
{
    remove(Temp());
    Transfer(Body());

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
    EXPECT_EQ(ToUtf8(Probe.DownloadedFilePath()), TemporaryFile().string());
}

TEST_F(DownloadTransfer, FileNameOfTheServerNamesTheTemporaryFile)
{
    Transfer(Body(), 200,
             {{"content-type", "application/octet-stream"}, {"content-disposition", "attachment; filename=\"b.zip\""}});

    EXPECT_THAT(FilesBelow(Temp()), ElementsAre("b.zip"));
    EXPECT_EQ(Receiver.Received.size(), 1U);
}

TEST_F(DownloadTransfer, ReceiverMayStartTheNextTransferInsideTheNotification)
{
    Receiver.OnReceipt = [this] {
        Receiver.OnReceipt = {};
        EXPECT_EQ(Probe.StartDefaultDownloadURL("https://velmart.example/next"), S_OK);
    };
    Transfer(Body());

    EXPECT_TRUE(Transport().Last().IsRunning());
    EXPECT_NE(Probe.ProgressDlg(), nullptr);
}

TEST_F(DownloadTransfer, RunsAsPartOfAWholeLoop)
{
    Transport().Answer(Url, {.chunks = {Body().substr(0, 40), Body().substr(40)}, .total = Body().size()});

    EXPECT_EQ(Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"), S_OK);
    EXPECT_THAT(Receiver.Received, IsEmpty());
    Loop().RunUntilIdle();

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
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
    EXPECT_EQ(ReadFile(TemporaryFile()), "half");
    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DownloadTransfer, EndOfTheDownloaderLeavesItsDialogToTheHost)
{
    StartTransfer();

    Probe.EndDownloader();
    Loop().RunUntilIdle();

    const ZALBaseUnknown_WR window(Surface().Find(ProgressWindow));
    EXPECT_EQ(Surface().Push(ProgressWindow, "CLOSE"), PushResult::Done);
    ResetFrame();
    EXPECT_EQ(window.GetComponent(), nullptr) << "nobody else holds it";
}

} // namespace
} // namespace openhost::testing
