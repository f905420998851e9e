// What the addin asks of single services of the host.

#include "tests/steps/Services.h"

#include "download/ZALVelmartFileDownloadCompleteNotification.h"
#include "download/ZALVelmartFileDownloader.h"
#include "host/frame.h"
#include "insertion/ZALVelmartMeridiaAccessAddinActionCmd.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/objects/Traces.h"
#include "panel/ZALVelmartMeridiaAccessAddin.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Listener.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;

class AddinSteps : public StepsFixture {
protected:
    ~AddinSteps() override { addin_.reset(); }

    ZALVelmartMeridiaAccessAddin& Addin() { return *addin_; }
    void End()
    {
        Asked().hasHeader = false;
        Calls();
        addin_.reset();
    }
    HRESULT Send(const char* event)
    {
        Calls();
        return addin_->OnJSMessage((std::string(R"({"event":")") + event + R"(","content":{}})").c_str());
    }

    /// Who waits for the end of a download.
    static std::vector<ZALBaseUnknown*> Subscribers()
    {
        return SubscribersOf(ZALVelmartFileDownloader::GetInstance(),
                             ZALVelmartFileDownloadCompleteNotification::ClassName());
    }
    static constexpr const char* RunningOpen =
        R"({"event":"velmart_open","content":{"downloadUrl":"http://127.0.0.1/item.zip"}})";

private:
    Owned<ZALVelmartMeridiaAccessAddin> addin_{new ZALVelmartMeridiaAccessAddin};
};

constexpr const char* HeaderAsked = "header ZALVelmartFindSimilarCmdHeader 0";

// ---------------------------------------------------------------------------------------------
// The header of Find Similar

TEST_F(AddinSteps, AskForTheHeaderAndLeaveItWhenItAnswersSo)
{
    Asked().headerAnswer = 1;
    Send("velmart_ready");
    EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available"));
    Asked().headerAnswer = 0;
    Send("velmart_over");
    EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available"));
}

TEST_F(AddinSteps, SetAHeaderThatAnswersNeitherYesNorNo)
{
    for (const int answer : {2, -1, 16}) {
        Asked().headerAnswer = answer;
        Send("velmart_ready");
        EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available", "set 1 to 1",
                                         "set 8 to 1", "set 16 to 1"));
        Send("velmart_over");
        EXPECT_THAT(Calls(), ElementsAre("consistent numbers", "parse", HeaderAsked, "is available", "set 1 to 0",
                                         "set 8 to 0", "set 16 to 0"));
    }
}

// ---------------------------------------------------------------------------------------------
// Values of the host

TEST_F(AddinSteps, LookAtTheKindOfTheEventUnderTheMask)
{
    Asked().bitsOfTheHost = 0x8000;
    EXPECT_EQ(Send("velmart_ready"), S_OK);
    EXPECT_EQ(Addin().GetOpApiStatus(), OpApiReady);
    EXPECT_EQ(Addin().OnJSMessage(R"({"event":4,"content":{}})"), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(AddinSteps, RemoveTheSubscriptionToTheLayoutAfterTheHeader)
{
    Addin().SetAccessDialog(nullptr);
    End();
    EXPECT_THAT(Calls(), ElementsAre(HeaderAsked, "remove from the layout"));
}

TEST_F(AddinSteps, RemoveNothingWithoutASubscription)
{
    End();
    EXPECT_THAT(Calls(), ElementsAre(HeaderAsked));
}

TEST_F(AddinSteps, RemoveNothingWithoutALayout)
{
    Addin().SetAccessDialog(nullptr);
    ConfigureFrame({.layout = false});
    End();
    EXPECT_THAT(Calls(), ElementsAre(HeaderAsked));
}

// ---------------------------------------------------------------------------------------------
// Without memory

TEST_F(AddinSteps, RemoveTheSubscriptionThoughThereIsNoMemoryForTheName)
{
    SwitchTraces(false);
    for (int number = 1; number <= 2; ++number) {
        Owned<ZALVelmartMeridiaAccessAddin> addin(new ZALVelmartMeridiaAccessAddin);
        addin->SetAccessDialog(nullptr);
        FailingMemory memory(number);
        memory.During([&] { addin.reset(); });
        EXPECT_TRUE(memory.HasRunOut());
        EXPECT_TRUE(SubscribersOf(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName()).empty());
    }
}

TEST_F(AddinSteps, LetNoFailureOutOfTheCallbackOfTheWorkbench)
{
    Addin().SetAccessDialog(nullptr);
    const ZALSubscriberMethod callback = Asked().subscribed.at(ZALWorkbenchChanged::ClassName());
    Asked().headerAnswer = 1;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        ZALWorkbenchChanged notification;
        memory.During([&] { EXPECT_NO_THROW((Addin().*callback)(nullptr, &notification, nullptr)); });
    });
    EXPECT_GT(failures, 0);
    Calls();
    ZALWorkbenchChanged notification;
    (Addin().*callback)(nullptr, &notification, nullptr);
    EXPECT_THAT(Calls(), ElementsAre(HeaderAsked, "is available", "set 1 to 0", "set 8 to 0", "set 16 to 0"));
}

using Complete = ZALVelmartFileDownloadCompleteNotification;

TEST_F(AddinSteps, LetNoFailureOutOfTheCallbackOfADownload)
{
    ZALListValZALUnicodeString files;
    files.Append("/parts/a file of some length.ZALPart");
    ZALListValZALUnicodeString warnings;
    warnings.Append("a warning of some length");
    warnings.Append("another one");
    const Complete ends[] = {Complete(files, Complete::DownloadSucceeded, warnings),
                             Complete(Complete::DownloadFailed, "an error of some length"),
                             Complete(Complete::DownloadFailed), Complete(Complete::DownloadCanceled)};
    for (const Complete& end : ends) {
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            const Owned<ZALVelmartMeridiaAccessAddin> addin(new ZALVelmartMeridiaAccessAddin);
            ASSERT_EQ(addin->OnJSMessage(RunningOpen), S_OK);
            const ZALSubscriberMethod callback = Asked().subscribed.at(Complete::ClassName());
            Complete notification(end);
            memory.During([&] { EXPECT_NO_THROW((addin.get()->*callback)(nullptr, &notification, nullptr)); });
            EXPECT_TRUE(Subscribers().empty());
            Transport().Last().End(TransferEnd::Failed);
            Loop().RunUntilIdle();
        });
        EXPECT_GT(failures, 2);
    }
}

TEST_F(AddinSteps, OpenADownloadThoughThereIsNoMemoryForItsWarnings)
{
    ASSERT_EQ(Addin().OnJSMessage(RunningOpen), S_OK);
    ZALListValZALUnicodeString files;
    files.Append("/parts/a.ZALPart");
    ZALListValZALUnicodeString warnings;
    warnings.Append("remark");
    Complete notification(files, Complete::DownloadSucceeded, warnings);
    ScarceSize = sizeof(ZALDlgNotify);
    DispatchCallbacks(ZALVelmartFileDownloader::GetInstance(), &notification);
    ScarceSize = 0;
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_EQ(BusyCursorCount(), 1);
    Transport().Last().End(TransferEnd::Failed);
}

TEST_F(AddinSteps, AnswerWithAFailureWhenThereIsNoMemoryForTheCommand)
{
    ConfigureFrame({.editor = true});
    ScarceSize = sizeof(ZALVelmartMeridiaAccessAddinActionCmd);
    for (const char* event : {"velmart_insert", "velmart_replace"})
        EXPECT_EQ(Send(event), E_FAIL);
    ScarceSize = 0;
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(DialogEngine::Current().Commands().empty());
}

TEST_F(AddinSteps, AreReadyWithoutADownloaderAndRefuseADownloadInSilence)
{
    const auto judge = [&] {
        ScarceSize = sizeof(ZALVelmartFileDownloader);
        const bool isReady = Send("velmart_ready") == S_OK && Addin().GetOpApiStatus() == OpApiReady;
        const bool isSilent = Send("velmart_open") == E_FAIL && Surface().Questions().empty();
        ScarceSize = 0;
        const bool isTold = Send("velmart_open") == E_FAIL && Surface().Questions().size() == 1;
        std::exit(isReady && isSilent && isTold ? 0 : 1);
    };
    // In a process of its own, which has no downloader yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(judge(), ::testing::ExitedWithCode(0), "");
}

TEST_F(AddinSteps, AnswerWithAFailureWhenThereIsNoMemoryForTheErrorDialog)
{
    ScarceSize = sizeof(ZALDlgNotify);
    EXPECT_EQ(Send("velmart_open"), E_FAIL);
    ScarceSize = 0;
    EXPECT_TRUE(Surface().Questions().empty());
    EXPECT_TRUE(Subscribers().empty());
}

} // namespace

} // namespace openhost::testing
