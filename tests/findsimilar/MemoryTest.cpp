// The command when memory is out.

#include "openhost/dialogs/DialogNode.h"
#include "tests/findsimilar/FindSimilarFixture.h"
#include "tests/support/FailingMemory.h"

#include <chrono>

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;

const std::string Script = "OpApi.sendMessage('search', {query: 'q1'});";

class FindSimilarMemory : public FindSimilarFixture {
protected:
    static constexpr std::string_view Answer = R"({"data":{"query":"q1"}})";

    /// Ends what an attempt has left alive, as the end of a workspace does.
    void EndAll()
    {
        EndStartedCommands();
        Panel::End();
        Loop().RunUntilIdle();
    }
    /// Whether there is nothing of any command: as before the first one.
    void ExpectNothingLeft()
    {
        Loop().Advance(2s);
        EXPECT_EQ(nullptr, Command::Running());
        EXPECT_EQ(nullptr, Surface().Find(ProgressDialog));
        // One whose end there was no memory to ask for stays with its parent, out of sight.
        for (const char* name : {"UploadWarningPopup", "FileDownloadErrorNotify"})
            if (const ZALDialog* question = Surface().Find(name)) {
                EXPECT_FALSE(ZALDialogNode::Of(*question).visible) << name;
            }
        EXPECT_TRUE(SubscribersOf(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(),
                                  ZALDlgWindCloseNotification::ClassName())
                        .empty());
        for (std::size_t number = 0; number < Transport().Count(); ++number)
            EXPECT_FALSE(Transport().At(number).IsRunning()) << number;
    }
    /// The service answers what has gone on because there was no memory to cancel it. Nobody hears of it.
    void EndTransfers()
    {
        const std::size_t errors = Errors().size();
        for (std::size_t number = 0; number < Transport().Count(); ++number)
            Transport().At(number).End();
        EXPECT_EQ(Errors().size(), errors);
    }
    /// A command whose upload is under way, on a panel of its own.
    void BeginUpload()
    {
        EndAll();
        StartUpload();
    }
    /// The command has asked for its end, or can be asked once more when there was no memory for that itself, which is
    /// so in two of the attempts at most.
    void ExpectEnd()
    {
        Loop().RunUntilIdle();
        unended_ += Command::Running() != nullptr;
        EXPECT_LE(unended_, 2);
        EndStartedCommands();
        ExpectNothingLeft();
    }

    /// Makes commands one by one, each with less memory than it needs.
    void StartWithoutMemory(const std::function<void()>& prepare)
    {
        int refused = 0;
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            EndAll();
            prepare();
            ZALBaseUnknown* made = nullptr;
            memory.During([&] { made = fctCreateZALVelmartFindSimilarCmd(); });
            if (!made) {
                ++refused;
                Loop().RunUntilIdle();
                ExpectNothingLeft();
                return;
            }
            // It goes on, or has asked for its end.
            const ZALBaseUnknown_WR weak(made);
            Loop().RunUntilIdle();
            if (ZALBaseUnknown* command = weak.GetComponent()) {
                EXPECT_EQ(command, Command::Running());
                static_cast<ZALCommand*>(command)->RequestDelayedDestruction();
                command->Release();
            }
            ExpectNothingLeft();
        });
        EXPECT_GT(refused, 0);
        EXPECT_GT(failures, refused);
        EndAll();
    }

private:
    int unended_ = 0; ///< commands that have not asked for their end
};

TEST_F(FindSimilarMemory, AStartThatFailsLeavesNothingBehind)
{
    StartWithoutMemory([] { Panel::Open(); });
    OpenReadyPanel();
    Start();
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarMemory, AStartWithAnUploadLeavesNothingBehind)
{
    StartWithoutMemory([this] { OpenReadyPanel(); });
    StartUpload();
}

TEST_F(FindSimilarMemory, AStartThatIsRefusedLeavesNothingBehind)
{
    StartWithoutMemory([this] {
        OpenReadyPanel();
        ZALFrmEditor::GetCurrentEditor()->GetCSO()->Empty();
    });
    Select(*leaf_);
    StartUpload();
}

TEST_F(FindSimilarMemory, UploadsNothingOfWhichTheUserWasNotWarned)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        EndAll();
        OpenReadyPanel();
        const std::size_t questions = Surface().Questions().size();
        const std::size_t uploads = Transport().Count();
        ZALBaseUnknown* made = nullptr;
        memory.During([&] { made = fctCreateZALVelmartFindSimilarCmd(); });
        const bool wasWarned = Surface().Questions().size() > questions && Surface().Questions().back().answer != -1;
        EXPECT_LE(Transport().Count(), wasWarned ? uploads + 1 : uploads);
        if (made && Command::Running() == made)
            Command::Running()->RequestDelayedDestruction();
        Loop().RunUntilIdle();
    });
}

TEST_F(FindSimilarMemory, APageThatIsReadyEndsTheCommandOrStartsTheUpload)
{
    int uploads = 0;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        EndAll();
        Start();
        ASSERT_TRUE(Command::Running());
        ZALBaseUnknown* addin = nullptr;
        ASSERT_EQ(S_OK, Panel::Current()->GetAddin(AddinClass, &addin));
        Command::Running()->RemoveSubscriberCallbacks(addin);
        addin->Release();
        ReportReady();
        memory.During([] { Command::OnStatusChange(); });
        const bool isUploading = Command::IsUploading();
        uploads += isUploading;
        EXPECT_EQ(isUploading, Transport().Count() > 0 && Transport().Last().IsRunning());
        if (isUploading)
            Command::Running()->RequestDelayedDestruction();
        else
            EXPECT_TRUE(memory.HasRunOut());
        ExpectEnd();
    });
    EXPECT_GT(failures, 10);
    EXPECT_GT(uploads, 0);
}

TEST_F(FindSimilarMemory, AnUploadIsUnderWayOrHasFailed)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        EndAll();
        Start();
        const ZALUnicodeString file = FromUtf8(Zip().string());
        const ZALUnicodeString url = UploadUrl;
        HRESULT result = S_FALSE;
        memory.During([&] { result = Command::Upload(file, url); });
        EXPECT_EQ(result, Command::IsUploading() ? S_OK : E_FAIL);
        Command::Running()->RequestDelayedDestruction();
        Loop().RunUntilIdle();
    });
    EXPECT_GT(failures, 10);
}

TEST_F(FindSimilarMemory, AClosedPanelEndsTheCommandAndItsUpload)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        BeginUpload();
        const std::size_t ends = EndsAskedFor();
        memory.During([] { Command::OnPanelClosed(); });
        EXPECT_LE(EndsAskedFor(), ends + 1);
        if (!Transport().Last().IsCancelled()) {
            EXPECT_TRUE(HasEnded()) << "with the memory that is left after the cancelling";
        }
        ExpectEnd();
    });
    EXPECT_GT(failures, 0);
}

TEST_F(FindSimilarMemory, AReplyEndsTheCommand)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        BeginUpload();
        Loop().Advance(1s);
        EXPECT_TRUE(HasProgressDialog());
        Transport().Last().Head(200);
        Transport().Last().Bytes(Answer);
        memory.During([&] { Transport().Last().End(); });
        EXPECT_FALSE(Command::IsUploading());
        EXPECT_LE(Page().Scripts().size(), 1U);
        if (!memory.HasRunOut()) {
            EXPECT_EQ(Texts{Script}, Page().Scripts());
        }
        ExpectEnd();
    });
    EXPECT_GT(failures, 10);
}

TEST_F(FindSimilarMemory, ABadReplyEndsTheCommand)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        BeginUpload();
        Transport().Last().Bytes("nonsense of some length, which nobody can read");
        memory.During([&] { Transport().Last().End(); });
        EXPECT_TRUE(Page().Scripts().empty());
        ExpectEnd();
    });
    EXPECT_GT(failures, 10);
}

TEST_F(FindSimilarMemory, AnUploadGoesOnWithoutItsProgress)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        BeginUpload();
        memory.During([] { Command::ShowUploadProgress(Command::Running(), nullptr); });
        ASSERT_TRUE(Transport().Last().IsRunning());
        Reply(std::string(Answer));
        EXPECT_EQ(Texts{Script}, Page().Scripts());
        ExpectEnd();
    });
    EXPECT_GT(failures, 5);
}

TEST_F(FindSimilarMemory, AnErrorIsShownOrIsNot)
{
    const ZALString key = "LVRUploadFailure";
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        memory.During([&] { ZALVelmartFindSimilarCmd::NotifyErrorMessage(key); });
        ExpectNothingLeft();
    });
    EXPECT_GT(failures, 5);
    EXPECT_EQ("Transaction has failed", Surface().Questions().back().text);
}

TEST_F(FindSimilarMemory, ACommandCanBeAskedToEndOnceMore)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        BeginUpload();
        memory.During([] { Command::Running()->RequestDelayedDestruction(); });
        Loop().RunUntilIdle();
        if (Command::Running())
            Command::Running()->RequestDelayedDestruction();
        EXPECT_TRUE(HasEnded());
        ExpectNothingLeft();
    });
    EXPECT_GT(failures, 0);
}

TEST_F(FindSimilarMemory, AnEndNeedsNone)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        EndAll();
        OpenReadyPanel();
        ZALBaseUnknown* made = fctCreateZALVelmartFindSimilarCmd();
        ASSERT_TRUE(made);
        ASSERT_TRUE(Command::IsUploading());
        memory.During([&] { made->Release(); });
        EndTransfers();
        ExpectNothingLeft();
    });
    EXPECT_GT(failures, 0);
}

} // namespace

} // namespace openhost::testing
