// The export, the upload and the end of Find Similar on files, archives, a loop and a panel of the test's own.

#include "openhost/files/PathVariables.h"
#include "tests/findsimilar/FindSimilarFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Installed.h"
#include "tests/support/ScriptedFiles.h"
#include "tests/support/WatchedLoop.h"

#include <gmock/gmock.h>

#include <set>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::uint32_t Limit = 10485760;

class FindSimilarServices : public FindSimilarFixture {
protected:
    FindSimilarServices()
    {
        files_->size = 3;
        files_->content = "zip";
    }
    ~FindSimilarServices() override
    {
        log_.onCall = {};
        EndStartedCommands();
        Panel::End();
        Loop().RunUntilIdle();
    }
    Texts FileCalls() { return log_.Take({"open", "size", "read", "close"}); }
    Texts ExportCalls() { return log_.Take({"zip", "add", "end", "delete"}); }
    std::string Opening(const std::string& mode) const { return "open " + Zip().string() + " " + mode; }

    CallLog log_;
    Installed<ScriptedFiles> files_{log_};
    Installed<ScriptedArchives> archives_{log_};
};

// ---------------------------------------------------------------------------------------------
// The export

TEST_F(FindSimilarServices, ZipTheLightFileThatWasWrittenAndDeleteIt)
{
    for (const std::string& folder : {Temp().string(), std::string("/B\u00FCgel \u4E2D \U0001F529")}) {
        SetPathVariable(TemporaryFolderVariable, folder);
        cad_.calls.clear();
        Start();
        const std::string light = folder + "/VLUploadedLVRFile.lvr";
        EXPECT_THAT(cad_.calls, ElementsAre("Write light file " + light));
        EXPECT_THAT(log_.Take({"zip", "add", "end", "delete", "open"}),
                    ElementsAre("zip " + folder + "/VLUploadedLVRFile.zip",
                                "add " + light + " deflated below " + folder, "end", "delete " + light,
                                "open " + folder + "/VLUploadedLVRFile.zip r"));
        EndStartedCommands();
        Loop().RunUntilIdle();
    }
}

TEST_F(FindSimilarServices, GoOnWhateverZippingAndDeletingGive)
{
    archives_->addResult = archives_->closeResult = files_->deleteResult = E_FAIL;
    for (const bool opens : {true, false}) {
        archives_->opens = opens;
        Start();
        EXPECT_EQ(opens ? 4U : 2U, ExportCalls().size());
        EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : S_OK : " + Zip().string()));
        EXPECT_THAT(Errors(), IsEmpty());
        EndStartedCommands();
        Loop().RunUntilIdle();
    }
}

TEST_F(FindSimilarServices, ZipNoLightFileThatCannotBeWritten)
{
    for (const int result : {1, -1}) {
        cad_.lightFileResult = result;
        Start();
        EXPECT_THAT(ExportCalls(), IsEmpty());
        EXPECT_EQ("SaveAsLVRFailure", Errors().back());
        EXPECT_TRUE(HasEnded());
    }
}

TEST_F(FindSimilarServices, HaveEndedTheWarningBeforeTheExport)
{
    bool zipped = false;
    log_.onCall = [&](const std::string& call) {
        if (!call.starts_with("zip"))
            return;
        zipped = true;
        Loop().RunUntilIdle();
        EXPECT_EQ(nullptr, Surface().Find("UploadWarningPopup"));
    };
    Start();
    EXPECT_TRUE(zipped);
}

// ---------------------------------------------------------------------------------------------
// The file

TEST_F(FindSimilarServices, CheckTheFileAndReadItForTheUpload)
{
    Start();
    EXPECT_THAT(FileCalls(), ElementsAre(Opening("r"), "size 5", "close 5"));
    EXPECT_THAT(Errors(), IsEmpty());
    log_.onCall = [](const std::string&) { EXPECT_FALSE(Command::IsUploading()) << "no request before its body"; };
    ReportReady();
    EXPECT_THAT(FileCalls(), ElementsAre(Opening("rb"), "size 5", "read 5 3", "close 5"));
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarServices, EndWithAFileThatCannotBeUploaded)
{
    const Texts whole{Opening("r"), "size 5", "close 5"};
    const struct {
        const char* name;
        std::function<void(ScriptedFiles&)> cause;
        const char* error;
        Texts calls;
    } rows[] = {{"not opened",
                 [](auto& files) { files.openResult = E_INVALIDARG; },
                 "SaveAsLVRFailure",
                 {Opening("r"), "close 0"}},
                {"size not known", [](auto& files) { files.sizeResult = E_INVALIDARG; }, "SaveAsLVRFailure", whole},
                {"empty", [](auto& files) { files.size = 0; }, "SaveAsLVRFailure", whole},
                {"above the limit", [](auto& files) { files.size = Limit + 1; }, "LVRFileisTooBig", whole},
                {"of the largest size", [](auto& files) { files.size = UINT32_MAX; }, "LVRFileisTooBig", whole}};
    for (const auto& row : rows) {
        files_->openResult = files_->sizeResult = S_OK;
        files_->size = 3;
        row.cause(*files_);
        const std::size_t errors = Errors().size();
        Start();
        EXPECT_EQ(row.calls, FileCalls()) << row.name;
        ASSERT_EQ(errors + 1, Errors().size()) << row.name;
        EXPECT_EQ(row.error, Errors().back()) << row.name;
        EXPECT_TRUE(HasEnded()) << row.name;
        EXPECT_FALSE(Panel::Current()) << row.name;
    }
}

TEST_F(FindSimilarServices, TakeAFileOfTheLimitWhateverItsClosingGives)
{
    files_->size = Limit;
    files_->closeResult = E_FAIL;
    Start();
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_TRUE(Panel::Current());
    EXPECT_FALSE(HasEnded());
}

// ---------------------------------------------------------------------------------------------
// Memory

TEST_F(FindSimilarServices, BeginNothingWithoutMemoryForTheCommand)
{
    {
        const NoMemoryFor<ZALVelmartFindSimilarCmd> scarce;
        EXPECT_EQ(nullptr, fctCreateZALVelmartFindSimilarCmd());
        EXPECT_EQ(StartResult::Unknown, StartCommand(CommandClass));
        EXPECT_EQ(nullptr, Command::Running());
    }
    Start();
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(FindSimilarServices, EndInSilenceWithoutMemoryForTheRequest)
{
    Start();
    {
        const NoMemoryFor<ZALCefHttpRequest> scarce;
        ReportReady();
    }
    Loop().Advance(std::chrono::seconds(2));
    EXPECT_FALSE(HasProgressDialog());
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_TRUE(Transport().Requests().empty());
    EXPECT_TRUE(HasEnded());
}

// ---------------------------------------------------------------------------------------------
// The panel

/// A panel that gives what a test lets it give.
class ScriptedPanel : public ZALIMeridiaAccessDialog {
public:
    HRESULT ExecuteScript(const ZALUnicodeString&) override { return S_OK; }
    HRESULT LoadUrl(const ZALUnicodeString& url) override
    {
        urls.push_back(ToUtf8(url));
        return S_OK;
    }
    HRESULT GetAddin(const ZALString& className, ZALBaseUnknown** given) override
    {
        names.insert(className.CastToCharPtr());
        *given = addin;
        if (addin)
            addin->AddRef();
        return result;
    }

    ZALBaseUnknown* addin = nullptr; ///< the test's
    HRESULT result = S_OK;
    std::set<std::string> names; ///< that were asked for
    Texts urls;
};

class FindSimilarOnAPanel : public FindSimilarServices {
protected:
    FindSimilarOnAPanel()
    {
        panel_->addin = addin_.get();
        Panel::Replace(panel_.get());
    }
    ~FindSimilarOnAPanel() override
    {
        EndStartedCommands();
        Loop().RunUntilIdle();
        Panel::Replace(nullptr);
        EXPECT_EQ(1U, ReferencesOf(addin_.get()));
        EXPECT_EQ(1U, ReferencesOf(panel_.get()));
    }

    const Owned<ZALVelmartMeridiaAccessAddin> addin_{new ZALVelmartMeridiaAccessAddin};
    const Owned<ScriptedPanel> panel_{new ScriptedPanel};
};

TEST_F(FindSimilarOnAPanel, TakesTheAddinThatIsGivenWhateverTheResult)
{
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL}) {
        panel_->result = result;
        panel_->urls.clear();
        Start();
        EXPECT_EQ(1U, panel_->urls.size()) << result;
        EXPECT_EQ(1U, SubscribersOf(addin_.get(), "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif").size());
        EndStartedCommands();
        EXPECT_TRUE(HasEnded()) << result;
    }
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_THAT(panel_->names, ElementsAre(AddinClass));
}

TEST_F(FindSimilarOnAPanel, EndsWithoutTheAddinThoughThePanelSaysItGivesIt)
{
    for (ZALBaseUnknown* given : {static_cast<ZALBaseUnknown*>(nullptr), static_cast<ZALBaseUnknown*>(panel_.get())}) {
        panel_->addin = given;
        Start();
        EXPECT_EQ("UnableToRetrieveVLAddin", Errors().back());
        EXPECT_TRUE(HasEnded());
        EXPECT_THAT(panel_->urls, IsEmpty());
    }
    EXPECT_EQ(2U, Errors().size());
}

// ---------------------------------------------------------------------------------------------
// Waiting, and the end

class FindSimilarOnALoop : public FindSimilarServices {
protected:
    ~FindSimilarOnALoop() override { log_.onCall = {}; }
    Texts Waits() { return log_.Take({"wait"}); }
    void StartWithProgress()
    {
        StartUpload();
        Command::ShowUploadProgress(Command::Running(), nullptr);
        ASSERT_TRUE(HasProgressDialog());
        log_.Take();
    }

    Installed<WatchedLoop> loop_{Loop(), log_};
};

TEST_F(FindSimilarOnALoop, WaitsASecondForAnUploadThatWasSent)
{
    Start();
    EXPECT_THAT(Waits(), IsEmpty());
    ReportReady();
    EXPECT_THAT(Waits(), ElementsAre("wait 1000"));
    Transport().Last().End(); // the command itself ends between two events
    EXPECT_THAT(Waits(), ElementsAre("wait no more"));
}

TEST_F(FindSimilarOnALoop, DoesNotWaitForAnUploadThatWasRefused)
{
    Start();
    Transport().RefuseNext();
    ReportReady();
    EXPECT_THAT(Waits(), IsEmpty());
}

TEST_F(FindSimilarOnALoop, LetsGoOfEverythingBeforeItReadsTheReply)
{
    StartWithProgress();
    const ZALBaseUnknown_WR request(Command::Request());
    bool waits = true;
    log_.onCall = [&](const std::string& call) {
        if (call == "wait no more") {
            waits = false;
            EXPECT_FALSE(Command::IsUploading());
            EXPECT_EQ(nullptr, request.GetComponent());
        } else if (call == "post" && Errors().empty()) {
            EXPECT_FALSE(waits) << "the dialog ends later";
        }
    };
    Transport().Last().End();
    EXPECT_FALSE(waits);
    EXPECT_THAT(Errors(), ElementsAre("LVRUploadFailure"));
}

TEST_F(FindSimilarOnALoop, EndsInItsOrder)
{
    StartWithProgress();
    ZALBaseUnknown* addin = nullptr;
    Panel::Current()->GetAddin(AddinClass, &addin);
    const Owned<ZALBaseUnknown> held(addin);
    Texts calls;
    log_.onCall = [&](const std::string& call) {
        calls.push_back(call);
        if (call != "wait no more")
            return;
        EXPECT_EQ(nullptr, Command::Running());
        EXPECT_FALSE(Transport().Last().IsRunning());
        EXPECT_TRUE(SubscribersOf(addin, "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif").empty());
        EXPECT_TRUE(SubscribersOf(ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher(),
                                  ZALDlgWindCloseNotification::ClassName())
                        .empty());
        calls.clear();
        calls.push_back(call);
    };
    EndStartedCommands();
    EXPECT_TRUE(HasEnded());
    EXPECT_FALSE(HasProgressDialog());
    EXPECT_THAT(calls, ElementsAre("wait no more", "post")) << "the dialog ends last";
}

} // namespace

} // namespace openhost::testing
