// The export, the upload and the end of Find Similar, call by call.

#include "openhost/files/PathVariables.h"
#include "tests/findsimilar/FindSimilarFixture.h"
#include "tests/steps/Services.h"

#include <gmock/gmock.h>

#include <set>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr std::uint32_t Limit = 10485760;
const std::string NoMoreOfTheAddin = "hear no more of ZALVelmartMeridiaAccessAddin";

class FindSimilarSteps : public OnServices<FindSimilarFixture> {
protected:
    FindSimilarSteps()
    {
        Asked().size = 3;
        Asked().content = "zip";
        Asked().headerAnswer = 1; // the command may be started
    }
    ~FindSimilarSteps() override
    {
        Asked().onCall = {};
        EndStartedCommands();
        Panel::End();
        Loop().RunUntilIdle();
    }

    /// Collects calls by their first words as they are made, the ends of windows among them.
    static std::function<void(const std::string&)> CollectInto(Texts& calls, const Texts& words)
    {
        return [&calls, words](const std::string& call) {
            if (std::ranges::count(words, call.substr(0, call.find(' '))))
                calls.push_back(call);
        };
    }
    static Texts FileCalls() { return Calls({"open", "size", "read", "close"}); }
    static Texts ExportCalls() { return Calls({"write", "zip", "delete", "open"}); }
    static Texts WaitCalls() { return Calls({"wait", "hear"}); }

    std::string Opening(const std::string& mode) const { return "open " + Zip().string() + " " + mode; }
    std::string Writing() const { return "write " + LightFile().string() + " 7 no colors 0 16"; }
    static std::string NoMoreOfThePanel()
    {
        return std::string("hear no more of ") + ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher()->IsA();
    }
};

// ---------------------------------------------------------------------------------------------
// The export

TEST_F(FindSimilarSteps, WriteTheLightFileThenZipItThenDeleteIt)
{
    Start();
    EXPECT_THAT(ExportCalls(), ElementsAre(Writing(), "zip open " + Zip().string() + " 0",
                                           "zip add " + LightFile().string() + " 1 1 " + Temp().string() + " 0",
                                           "zip close", "delete " + LightFile().string(), Opening("r")));
}

TEST_F(FindSimilarSteps, NameTheirFilesInTheScriptOfTheTemporaryFolder)
{
    const std::string folder = "/B\u00FCgel \u4E2D \U0001F529";
    SetPathVariable(TemporaryFolderVariable, folder);
    Start();
    const std::string light = folder + "/VLUploadedLVRFile.lvr";
    const std::string zip = folder + "/VLUploadedLVRFile.zip";
    EXPECT_THAT(ExportCalls(), ElementsAre("write " + light + " 7 no colors 0 16", "zip open " + zip + " 0",
                                           "zip add " + light + " 1 1 " + folder + " 0", "zip close", "delete " + light,
                                           "open " + zip + " r"));
}

TEST_F(FindSimilarSteps, GoOnWhateverZippingAndDeletingGive)
{
    Asked().archiveResult = Asked().archiveCloseResult = E_FAIL;
    Start();
    EXPECT_EQ(ExportCalls().size(), 6U);
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::SaveAsTempLVR : S_OK : " + Zip().string()));
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(FindSimilarSteps, EndWithALightFileThatCannotBeWritten)
{
    for (const int result : {1, -1}) {
        Asked().lightFileResult = result;
        Start();
        EXPECT_THAT(ExportCalls(), ElementsAre(Writing()));
        EXPECT_EQ(Errors().back(), "SaveAsLVRFailure");
        EXPECT_TRUE(HasEnded());
    }
}

// ---------------------------------------------------------------------------------------------
// The file

TEST_F(FindSimilarSteps, CheckTheFileAndReadItForTheUpload)
{
    Start();
    EXPECT_THAT(FileCalls(), ElementsAre(Opening("r"), "size 5", "close 5"));
    EXPECT_THAT(Errors(), IsEmpty());
    ReportReady();
    EXPECT_THAT(FileCalls(), ElementsAre(Opening("rb"), "size 5", "read 5 3", "close 5"));
    EXPECT_TRUE(Command::IsUploading());
}

TEST_F(FindSimilarSteps, CloseAlsoAFileThatCouldNotBeOpened)
{
    Asked().openResult = E_INVALIDARG;
    Start();
    EXPECT_THAT(FileCalls(), ElementsAre(Opening("r"), "close 0"));
    EXPECT_THAT(Errors(), ElementsAre("SaveAsLVRFailure"));
    EXPECT_TRUE(HasEnded());
    EXPECT_FALSE(Panel::Current());
}

TEST_F(FindSimilarSteps, EndWithAFileWhoseSizeIsNotKnown)
{
    Asked().sizeResult = E_INVALIDARG;
    Start();
    EXPECT_THAT(FileCalls(), ElementsAre(Opening("r"), "size 5", "close 5"));
    EXPECT_THAT(Errors(), ElementsAre("SaveAsLVRFailure"));
    EXPECT_TRUE(HasEnded());
}

TEST_F(FindSimilarSteps, EndWithAnEmptyFile)
{
    Asked().size = 0;
    Start();
    EXPECT_THAT(FileCalls(), ElementsAre(Opening("r"), "size 5", "close 5"));
    EXPECT_THAT(Errors(), ElementsAre("SaveAsLVRFailure"));
    EXPECT_TRUE(HasEnded());
}

TEST_F(FindSimilarSteps, EndWithAFileAboveTheLimit)
{
    for (const std::uint32_t size : {Limit + 1, UINT32_MAX}) {
        Asked().size = size;
        Start();
        EXPECT_EQ(Errors().back(), "LVRFileisTooBig");
        EXPECT_TRUE(HasEnded());
    }
    EXPECT_FALSE(Panel::Current());
    Asked().size = Limit;
    Start();
    EXPECT_EQ(Errors().size(), 2U);
    EXPECT_TRUE(Panel::Current());
}

TEST_F(FindSimilarSteps, DoNotLookAtTheResultOfTheClosing)
{
    Asked().closeResult = E_FAIL;
    Start();
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_FALSE(HasEnded());
}

// ---------------------------------------------------------------------------------------------
// Memory

TEST_F(FindSimilarSteps, BeginNothingWithoutMemoryForTheCommand)
{
    ScarceSize = sizeof(ZALVelmartFindSimilarCmd);
    EXPECT_EQ(fctCreateZALVelmartFindSimilarCmd(), nullptr);
    EXPECT_EQ(StartCommand(CommandClass), StartResult::Unknown);
    EXPECT_EQ(Command::Running(), nullptr);
    ScarceSize = 0;
    Start();
    EXPECT_THAT(Errors(), IsEmpty());
}

TEST_F(FindSimilarSteps, EndInSilenceWithoutMemoryForTheRequest)
{
    Start();
    ScarceSize = sizeof(ZALCefHttpRequest);
    ReportReady();
    ScarceSize = 0;
    EXPECT_THAT(WaitCalls(), IsEmpty());
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

class FindSimilarPanelSteps : public FindSimilarSteps {
protected:
    FindSimilarPanelSteps()
    {
        panel_->addin = addin_.get();
        Asked().panel = panel_.get();
    }
    ~FindSimilarPanelSteps() override
    {
        Asked().onCall = {};
        EndStartedCommands();
        Loop().RunUntilIdle();
        EXPECT_EQ(ReferencesOf(addin_.get()), 1U);
        EXPECT_EQ(ReferencesOf(panel_.get()), 1U);
        Asked().panel = nullptr;
    }

    const Owned<ZALVelmartMeridiaAccessAddin> addin_{new ZALVelmartMeridiaAccessAddin};
    const Owned<ScriptedPanel> panel_{new ScriptedPanel};
};

TEST_F(FindSimilarPanelSteps, TakeTheAddinThatIsGivenWhateverTheResult)
{
    for (const HRESULT result : {S_OK, S_FALSE, E_FAIL}) {
        SCOPED_TRACE(result);
        panel_->result = result;
        panel_->urls.clear();
        Start();
        EXPECT_EQ(panel_->urls.size(), 1U);
        EXPECT_EQ(SubscribersOf(addin_.get(), "ZALVelmartMeridiaAccessAddin::OpApiStatusChangeNotif").size(), 1U);
        EndStartedCommands();
        EXPECT_TRUE(HasEnded());
    }
    EXPECT_THAT(Errors(), IsEmpty());
    EXPECT_THAT(panel_->names, ElementsAre("ZALVelmartMeridiaAccessAddin"));
}

TEST_F(FindSimilarPanelSteps, EndWithAPanelThatGivesNoAddinThoughItSaysSo)
{
    panel_->addin = nullptr;
    Start();
    EXPECT_THAT(Errors(), ElementsAre("UnableToRetrieveVLAddin"));
    EXPECT_TRUE(HasEnded());
    EXPECT_THAT(panel_->urls, IsEmpty());
}

TEST_F(FindSimilarPanelSteps, EndWithAnAddinOfAnotherClass)
{
    panel_->addin = panel_.get();
    Start();
    EXPECT_THAT(Errors(), ElementsAre("UnableToRetrieveVLAddin"));
    EXPECT_TRUE(HasEnded());
}

// ---------------------------------------------------------------------------------------------
// The request

TEST_F(FindSimilarSteps, FillTheRequestInItsOrderAndSendIt)
{
    Start();
    Calls();
    ReportReady();
    EXPECT_THAT(Calls({"open", "field", "body", "send", "wait"}),
                ElementsAre(Opening("rb"), "field Accept: application/json, text/javascript, */*; q=0.01",
                            "field X-Requested-With: XMLHttpRequest", StartsWith("field Content-Length: "),
                            "field Content-Type: multipart/form-data; boundary=----WebKitFormBoundaryA9TZlwqNn7lCilAD",
                            StartsWith("body of "), "send", "wait 1000"));
}

// ---------------------------------------------------------------------------------------------
// Waiting, and the end

TEST_F(FindSimilarSteps, LetGoOfEverythingBeforeTheyReadTheReply)
{
    StartUpload();
    Command::ShowUploadProgress(Command::Running(), nullptr);
    const ZALBaseUnknown_WR request(Command::Request());
    Texts calls;
    Asked().onCall = [&, collect = CollectInto(calls, {"wait", "end", "parse"})](const std::string& call) {
        if (call == "wait no more") {
            EXPECT_FALSE(Command::IsUploading());
            EXPECT_EQ(request.GetComponent(), nullptr);
        }
        collect(call);
    };
    Transport().Last().End();
    EXPECT_THAT(calls, ElementsAre("wait no more", "end ZALVelmartFindSimilarUploadProgressDlg", "parse",
                                   "end FileDownloadErrorNotify"));
}

TEST_F(FindSimilarSteps, EndInTheirOrder)
{
    StartUpload();
    Command::ShowUploadProgress(Command::Running(), nullptr);
    Texts calls;
    Asked().onCall = [&, collect = CollectInto(calls, {"wait", "hear", "end"})](const std::string& call) {
        if (call == NoMoreOfTheAddin) {
            EXPECT_EQ(Command::Running(), nullptr);
            EXPECT_FALSE(Transport().Last().IsRunning());
        }
        collect(call);
    };
    EndStartedCommands();
    EXPECT_TRUE(HasEnded());
    EXPECT_THAT(calls, ElementsAre(NoMoreOfTheAddin, NoMoreOfThePanel(), "wait no more",
                                   "end ZALVelmartFindSimilarUploadProgressDlg"));
}

TEST_F(FindSimilarSteps, EndTheWarningOnceItIsAnswered)
{
    Texts calls;
    Asked().onCall = CollectInto(calls, {"end", "write"});
    Start();
    EXPECT_THAT(calls, ElementsAre("end UploadWarningPopup", Writing()));
}

TEST_F(FindSimilarSteps, WaitASecondOnceTheUploadHasBeenSent)
{
    Start();
    EXPECT_THAT(WaitCalls(), IsEmpty());
    ReportReady();
    EXPECT_THAT(WaitCalls(), ElementsAre("wait 1000"));
}

TEST_F(FindSimilarSteps, DoNotWaitForAnUploadThatWasRefused)
{
    Start();
    Transport().RefuseNext();
    ReportReady();
    EXPECT_THAT(WaitCalls(), IsEmpty());
}

TEST_F(FindSimilarSteps, WaitNoMoreOnceTheReplyIsThere)
{
    StartUpload();
    WaitCalls();
    Transport().Last().End(); // the command itself ends between two events
    EXPECT_THAT(WaitCalls(), ElementsAre("wait no more"));
}

TEST_F(FindSimilarSteps, EndByHearingNoMoreOfAddinAndPanelAndByWaitingNoMore)
{
    StartUpload();
    WaitCalls();
    EndStartedCommands();
    EXPECT_TRUE(HasEnded());
    EXPECT_THAT(WaitCalls(), ElementsAre(NoMoreOfTheAddin, NoMoreOfThePanel(), "wait no more"));
}

TEST_F(FindSimilarSteps, EndWithoutAPanelByHearingNoMoreOfItsEvents)
{
    const std::unique_ptr<PanelPages> pages = PanelPages::Install(nullptr);
    Start();
    WaitCalls();
    EndStartedCommands();
    EXPECT_TRUE(HasEnded());
    EXPECT_THAT(WaitCalls(), ElementsAre(NoMoreOfThePanel(), StartsWith("wait no more")));
}

} // namespace

} // namespace openhost::testing
