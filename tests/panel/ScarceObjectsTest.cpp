// The addin without memory for single objects, and its callbacks without memory for anything.

#include "tests/panel/PanelFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Objects.h"

#include "host/frame.h"
#include "openhost/journal/Journal.h"
#include "openhost/objects/Dispatch.h"
#include "openhost/objects/Traces.h"

#include <cstdlib>
#include <new>

namespace openhost::testing {

namespace {

const std::string RunningOpen = Message("velmart_open", RemoteFile);

using PanelWithScarceMemory = PanelFixture;

TEST_F(PanelWithScarceMemory, IsReadyWithoutADownloaderAndRefusesInSilence)
{
    const auto judge = [&] {
        bool isReady = false;
        bool isSilent = false;
        {
            const NoMemoryFor<ZALVelmartFileDownloader> scarce;
            isReady = Send(Message("velmart_ready")) == S_OK && Addin().GetOpApiStatus() == OpApiReady;
            isSilent = Send(Message("velmart_open")) == E_FAIL && Surface().Questions().empty();
        }
        const bool isTold = Send(Message("velmart_open")) == E_FAIL && Surface().Questions().size() == 1;
        std::exit(isReady && isSilent && isTold ? 0 : 1);
    };
    // In a process of its own, which has no downloader yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(judge(), ::testing::ExitedWithCode(0), "");
}

// ---------------------------------------------------------------------------------------------
// Callbacks

class PanelCallbackWithoutMemory : public PanelWithScarceMemory {
protected:
    PanelCallbackWithoutMemory()
    {
        SwitchTraces(false);
        // Their memory is not the addin's.
        ObserveDispatches({});
        journal::Redirect({});
    }

    /// Whether a dispatch fails.
    static bool Fails(FailingMemory& memory, ZALBaseUnknown* publisher, ZALNotification& notification)
    try {
        memory.During([&] { DispatchCallbacks(publisher, &notification); });
        return false;
    } catch (const std::bad_alloc&) {
        return true;
    }
    /// How many allocations the host makes for a dispatch to one subscriber.
    static int AllocationsOfTheHost(ZALNotification& notification)
    {
        Listener publisher;
        Listener subscriber;
        subscriber.Subscribe(&publisher, notification.IsA());
        return WithEachAllocationFailing([&](FailingMemory& memory) { Fails(memory, &publisher, notification); });
    }
};

TEST_F(PanelCallbackWithoutMemory, LetsNoFailureOfAWorkbenchChangeOut)
{
    Send(Message("velmart_ready"));
    Send(Message("velmart_over"));
    AddCommandHeader(FindSimilarHeader);
    Addin().SetAccessDialog(nullptr);
    ZALWorkbenchChanged changed;
    const int host = AllocationsOfTheHost(changed);
    int number = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const bool fails = Fails(memory, ZALFrmLayout::GetCurrentLayout(), changed);
        EXPECT_EQ(++number <= host, fails) << number;
    });
    EXPECT_GT(failures, host);
}

TEST_F(PanelCallbackWithoutMemory, LetsNoFailureOfADownloadOut)
{
    const Complete ends[] = {Complete(List({"/parts/a file of some length.ZALPart"}), Complete::DownloadSucceeded,
                                      List({"a warning of some length", "another one"})),
                             Complete(Complete::DownloadFailed, "an error of some length"),
                             Complete(Complete::DownloadFailed), Complete(Complete::DownloadCanceled)};
    for (const Complete& end : ends) {
        Complete told(end);
        const int host = AllocationsOfTheHost(told);
        int number = 0;
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            const Owned<ZALVelmartMeridiaAccessAddin> addin(new ZALVelmartMeridiaAccessAddin);
            ASSERT_EQ(S_OK, addin->OnJSMessage(RunningOpen.c_str()));
            Complete notification(end);
            const bool fails = Fails(memory, &Downloader(), notification);
            const bool isOfTheHost = ++number <= host;
            EXPECT_EQ(isOfTheHost, fails) << number;
            EXPECT_EQ(isOfTheHost ? 1U : 0U, Waiting()) << number;
            Transport().Last().End(TransferEnd::Failed);
            Loop().RunUntilIdle();
        });
        EXPECT_GT(failures, host + 2);
    }
}

} // namespace

} // namespace openhost::testing
