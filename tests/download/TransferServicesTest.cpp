// The transfer of the plain route and its file, on files, archives, settings and a clock of the test's own.

#include "openhost/dialogs/DialogNode.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Installed.h"
#include "tests/support/Listener.h"
#include "tests/support/ScriptedFiles.h"
#include "tests/support/ScriptedSettings.h"
#include "tests/support/WatchingDisplay.h"

#include <gmock/gmock.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* CancelNotif = "ZALVelmartDownloadProgressDlg::CANCELNotif";

class TransferServices : public DownloadFixture {
protected:
    TransferServices()
    {
        settings_->Object().folder = Parts().string();
        archives_->entries = {"a.ZALPart"};
    }

    CallLog log_;
    Installed<ScriptedFiles> files_{log_};
    Installed<ScriptedArchives> archives_{log_};
    Installed<ScriptedSettings> settings_{log_};
    Installed<ScriptedSystem> system_{log_};
};

TEST_F(TransferServices, CancelHearsNoMoreThenTakesNoInputThenCancels)
{
    StartTransfer();
    int changes = 0;
    Surface().ShowOn(std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.changed = [&](ZALDialog& dialog) {
        ++changes;
        EXPECT_FALSE(ZALDialogNode::Of(dialog).sensitive);
        EXPECT_THAT(SubscribersOf(&dialog, CancelNotif), IsEmpty());
        EXPECT_FALSE(Transport().Last().IsCancelled());
    }}));
    Probe.OnCancelDownloadProgressDlg();
    EXPECT_EQ(1, changes);
    EXPECT_TRUE(Transport().Last().IsCancelled());
}

TEST_F(TransferServices, EndHearsNoMoreOfRequestAndDialog)
{
    StartTransfer();
    auto* request = const_cast<ZALCefHttpRequest*>(Probe.HttpRequest());
    auto* dialog = Surface().Find(ProgressWindow);
    request->AddRef();
    dialog->AddRef();
    const Owned<ZALBaseUnknown> heldRequest(request);
    const Owned<ZALBaseUnknown> heldDialog(dialog);
    // Nobody else has something to hear of a request.
    Downloader().AddCallback(request, CancelNotif, &CompletionReceiver::OnComplete, nullptr);
    EXPECT_EQ(1U, SubscribersOf(request, CancelNotif).size());
    EXPECT_EQ(1U, SubscribersOf(dialog, CancelNotif).size());
    Transport().Last().End(TransferEnd::Failed);
    EXPECT_THAT(SubscribersOf(request, CancelNotif), IsEmpty());
    EXPECT_THAT(SubscribersOf(dialog, CancelNotif), IsEmpty());
}

TEST_F(TransferServices, HandlerEndsWithItsTransferOnEveryWay)
{
    archives_->opens = false;
    FreedInOrder freed;
    const auto start = [&] {
        StartTransfer();
        freed.Watch(Probe.DataHandler(), "handler");
    };
    std::size_t ended = 0;
    for (const TransferEnd end : {TransferEnd::Finished, TransferEnd::Failed, TransferEnd::Cancelled}) {
        start();
        EXPECT_EQ(ended, freed.Names().size()) << static_cast<int>(end);
        Transport().Last().End(end);
        EXPECT_EQ(++ended, freed.Names().size()) << static_cast<int>(end);
    }
    start();
    Probe.EndDownloader();
    Loop().RunUntilIdle();
    EXPECT_EQ(++ended, freed.Names().size()) << "with the downloader";
}

TEST_F(TransferServices, SettingsAreReleasedOnEveryWay)
{
    const auto references = [&] { return ReferencesOf(&settings_->Object()); };
    ZALUnicodeString folder;
    for (const bool flag : {true, false}) {
        settings_->Object().flag = flag;
        Probe.GetValidDestinationFolderInSettings(folder);
        EXPECT_EQ(1U, references()) << flag;
    }
    files_->statResult = E_FAIL;
    Probe.GetValidDestinationFolderInSettings(folder);
    Probe.OnDownloadLocationDlgOK();
    EXPECT_EQ(1U, references());
}

TEST_F(TransferServices, RunningTransferCountsAsFinished)
{
    StartTransfer();
    const int cursors = BusyCursorCount();
    Probe.OnDownloadRequestComplete("/temp/item.zip");
    EXPECT_EQ(cursors + 1, BusyCursorCount());
    EXPECT_EQ("unzip /temp/item.zip", log_.Take({"unzip"}).front());
}

// ---------------------------------------------------------------------------------------------
// The file of the handler

class HandlerFile : public HostFixture {
protected:
    static constexpr std::size_t BufferSize = 1048576;

    void Receive(const std::string& bytes) { handler_->OnData(nullptr, bytes.data(), bytes.size()); }

    CallLog log_;
    Installed<ScriptedFiles> files_{log_};
    const ZALInterfaceHandle<ZALVelmartDownloadDataHandler> handler_ =
        ZALInterfaceHandle<ZALVelmartDownloadDataHandler>::Take(new ZALVelmartDownloadDataHandler(nullptr, nullptr));
};

TEST_F(HandlerFile, IsNotWrittenAgainAfterAFailure)
{
    for (const auto& [result, unwritten] : {std::pair(E_FAIL, 7U), std::pair(S_OK, 7U), std::pair(E_FAIL, 0U)}) {
        files_->writeResult = result;
        files_->unwritten = unwritten;
        Receive(std::string(BufferSize, 'a'));
        Receive("bcd");
        handler_->OnComplete(nullptr);
        EXPECT_THAT(log_.Take({"open", "write", "close"}),
                    ElementsAre("open " + Temp().string() + "/VelmartDownloadedQ7Files.zip wb",
                                "write 5 1048576 from a", "write 5 3 from b", "close 5"))
            << result << ", " << unwritten;
    }
}

TEST_F(HandlerFile, IsNotWrittenForAnEmptyBufferAtTheEnd)
{
    Receive(std::string(BufferSize, 'a'));
    log_.Take();
    handler_->OnComplete(nullptr);
    handler_->OnComplete(nullptr);
    EXPECT_THAT(log_.Take({"write", "close"}), ElementsAre("close 5"));
}

TEST_F(HandlerFile, ThatCannotBeOpenedIsNeitherWrittenNorClosed)
{
    files_->openResult = E_FAIL;
    Receive("a");
    Receive("b");
    handler_->OnComplete(nullptr);
    const Texts calls = log_.Take();
    EXPECT_EQ(2, std::ranges::count_if(calls, [](const std::string& call) { return call.starts_with("open"); }));
    EXPECT_EQ(2U, calls.size());
}

} // namespace

} // namespace openhost::testing
