// The transfer of the plain route step by step.

#include "openhost/commands/Commands.h"
#include "openhost/dialogs/DialogNode.h"
#include "tests/download/DownloadFixture.h"
#include "tests/steps/Services.h"
#include "tests/support/Listener.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

class TransferSteps : public OnServices<DownloadFixture> {
protected:
    TransferSteps()
    {
        Settings().folder = Parts().string();
        Asked().statResult = S_OK;
        Asked().entries = {"a.ZALPart"};
    }
    static Texts TransferCalls()
    {
        return Calls({"hear", "cancel", "sensitivity", "sleep", "handler", "settings", "zip"});
    }
};

TEST_F(TransferSteps, CancelHearsNoMoreThenTakesNoInputThenCancels)
{
    StartTransfer();
    Calls();

    Probe.OnCancelDownloadProgressDlg();

    EXPECT_THAT(TransferCalls(),
                ElementsAre("hear no more of ZALVelmartDownloadProgressDlg", "sensitivity 16", "cancel"));
}

TEST_F(TransferSteps, CancelWithoutADialogCancelsAlone)
{
    ConfigureFrame({.exists = false});
    StartTransfer();
    Calls();
    Probe.OnCancelDownloadProgressDlg();
    EXPECT_THAT(TransferCalls(), ElementsAre("cancel"));
}

TEST_F(TransferSteps, EndHearsNoMoreOfTheRequestThenOfTheDialog)
{
    StartTransfer();
    Calls();
    Transport().Last().End(TransferEnd::Failed);
    EXPECT_THAT(TransferCalls(), ElementsAre("hear no more of ZALBaseUnknown",
                                             "hear no more of ZALVelmartDownloadProgressDlg", "handler ends"));
}

TEST_F(TransferSteps, HandlerEndsWithItsTransferOnEveryWay)
{
    Asked().archiveResult = E_FAIL;
    for (const TransferEnd end : {TransferEnd::Finished, TransferEnd::Failed, TransferEnd::Cancelled}) {
        StartTransfer();
        EXPECT_THAT(TransferCalls(), Not(Contains("handler ends")));
        Transport().Last().End(end);
        EXPECT_EQ(std::ranges::count(TransferCalls(), "handler ends"), 1);
    }

    Transport().RefuseNext();
    EXPECT_EQ(Probe.StartDefaultDownloadURL(Url), E_FAIL);
    EXPECT_EQ(std::ranges::count(TransferCalls(), "handler ends"), 1);

    StartTransfer();
    Probe.EndDownloader();
    Loop().RunUntilIdle();
    EXPECT_EQ(std::ranges::count(TransferCalls(), "handler ends"), 1);
}

TEST_F(TransferSteps, SettingsAreReleasedOnEveryWay)
{
    ZALUnicodeString folder;
    for (const bool flag : {true, false}) {
        Settings().flag = flag;
        Probe.GetValidDestinationFolderInSettings(folder);
        EXPECT_EQ(ReferencesOf(&Settings()), 1U);
    }
    Asked().statResult = E_FAIL;
    Probe.GetValidDestinationFolderInSettings(folder);
    Probe.OnDownloadLocationDlgOK();
    EXPECT_EQ(ReferencesOf(&Settings()), 1U);
}

TEST_F(TransferSteps, AllStatusesButTwoCountAsFinished)
{
    Settings().flag = true;
    Asked().archiveResult = S_OK;
    for (const int status : {-1, 0, 1, 2, 3, 4, 5, 7, 12}) {
        SCOPED_TRACE(status);
        Receiver.Received.clear();
        StartTransfer();
        Calls();
        Asked().requestStatus = status;
        const int busyCursors = BusyCursorCount();
        Probe.OnDownloadRequestComplete("/temp/item.zip");
        Asked().requestStatus.reset();

        const Texts zip = Calls({"zip"});
        const bool finished = status != 3 && status != 4;
        EXPECT_EQ(BusyCursorCount() - busyCursors, finished ? 1 : 0);
        EXPECT_EQ(zip.empty(), !finished);
        if (!finished) {
            EXPECT_THAT(Receiver.Received,
                        ElementsAre(Bare(status == 3 ? Notification::DownloadFailed : Notification::DownloadCanceled)));
        }
        Loop().RunUntilIdle();
    }
}

TEST_F(TransferSteps, RecorderPausesAfterTheDialog)
{
    for (const CommandOptions& options :
         {CommandOptions{.recorder = true, .capture = true}, CommandOptions{.recorder = true, .replay = true}}) {
        ConfigureCommands(options);
        StartTransfer();
        EXPECT_THAT(TransferCalls(), ElementsAre("sleep 2000"));
        Transport().Last().End(TransferEnd::Failed);
        Calls();
    }
    ConfigureCommands({.recorder = true});
    StartTransfer();
    EXPECT_THAT(TransferCalls(), IsEmpty());
}

// ---------------------------------------------------------------------------------------------
// The file of the handler

class HandlerSteps : public StepsFixture {
protected:
    static constexpr std::size_t BufferSize = 1048576;

    HandlerSteps() { Calls(); }
    ~HandlerSteps() override { Handler->Release(); }
    void Receive(const std::string& bytes) { Handler->OnData(nullptr, bytes.data(), bytes.size()); }

    ZALVelmartDownloadDataHandler* Handler = new ZALVelmartDownloadDataHandler(nullptr, nullptr);
};

TEST_F(HandlerSteps, BytesOfAFailedWriteAreNotWrittenAgain)
{
    for (const auto& [result, unwritten] : {std::pair(E_FAIL, 7U), std::pair(S_OK, 7U), std::pair(E_FAIL, 0U)}) {
        Asked().writeResult = result;
        Asked().unwritten = unwritten;
        Receive(std::string(BufferSize, 'a'));
        Receive("bcd");
        Handler->OnComplete(nullptr);
        EXPECT_THAT(Calls({"open", "write", "close"}),
                    ElementsAre("open " + Temp().string() + "/VelmartDownloadedQ7Files.zip wb",
                                "write 5 1048576 from a", "write 5 3 from b", "close 5"));
    }
}

TEST_F(HandlerSteps, EmptyBufferIsNotWrittenAtTheEnd)
{
    Receive(std::string(BufferSize, 'a'));
    Calls();
    Handler->OnComplete(nullptr);
    Handler->OnComplete(nullptr);
    EXPECT_THAT(Calls({"write", "close"}), ElementsAre("close 5"));
}

TEST_F(HandlerSteps, FileThatCannotBeOpenedIsNeitherWrittenNorClosed)
{
    Asked().openResult = E_FAIL;
    Receive("a");
    Receive("b");
    Handler->OnComplete(nullptr);
    EXPECT_EQ(Calls({"open"}).size(), 2U);
    EXPECT_THAT(Calls({"write", "close"}), IsEmpty());
}

} // namespace

} // namespace openhost::testing
