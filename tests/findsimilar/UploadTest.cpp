// The upload, its reply, and the search.

#include "tests/findsimilar/FindSimilarFixture.h"

#include "openhost/journal/Journal.h"
#include "openhost/objects/Traces.h"
#include "traces/ZALVelmartIntegrationDebug.h"

#include <chrono>

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;

class FindSimilarUpload : public FindSimilarFixture {
protected:
    /// The value of a header of the request sent last.
    std::string Header(const std::string& name)
    {
        std::string values;
        for (const auto& [key, value] : Transport().Requests().back().headers)
            if (key == name)
                values += value;
        return values;
    }
};

const std::string Query = R"({"data":{"query":"q1"}})";
const std::string Script = "OpApi.sendMessage('search', {query: 'q1'});";

// ---------------------------------------------------------------------------------------------
// The request

TEST_F(FindSimilarUpload, PostsTheZipFileAsAForm)
{
    StartUpload();
    const HttpRequestData& request = Transport().Requests().at(0);
    const std::string body = "------WebKitFormBoundaryA9TZlwqNn7lCilAD\r\n"
                             "Content-Disposition: form-data; name=\"file\"; filename=\"PartLVR.zip\"\r\n"
                             "Content-Type: application/x-zip-compressed\r\n\r\n" +
                             ReadFile(Zip()) + "\r\n------WebKitFormBoundaryA9TZlwqNn7lCilAD--\r\n";
    EXPECT_EQ("POST", request.method);
    EXPECT_EQ(request.url, UploadUrl);
    EXPECT_EQ(request.body, body);
    EXPECT_EQ(4U, request.headers.size());
    EXPECT_EQ("application/json, text/javascript, */*; q=0.01", Header("Accept"));
    EXPECT_EQ("XMLHttpRequest", Header("X-Requested-With"));
    EXPECT_EQ(Header("Content-Length"), std::to_string(body.size()));
    EXPECT_EQ("multipart/form-data; boundary=----WebKitFormBoundaryA9TZlwqNn7lCilAD", Header("Content-Type"));
}

TEST_F(FindSimilarUpload, NamesItsFileByWhatAFileNameHoldsOfTheAlias)
{
    const std::pair<std::string, const char*> rows[] = {{R"(a\b/c:d?e"f<g>h|i*j.k)", "a b c d e f g h i*j.k.zip"},
                                                        {"Bügel \u4E2D \U0001F529", "Bügel \u4E2D \U0001F529.zip"},
                                                        {std::string("Bolt\0M8", 7), "Bolt"}};
    leaf_->isReference = true;
    leaf_->Offer("ZALIAlias");
    OpenReadyPanel();
    for (const auto& [alias, name] : rows) {
        leaf_->alias = alias;
        Start();
        EXPECT_EQ(name, UploadedName());
        Reply(Query);
    }
}

TEST_F(FindSimilarUpload, TakesNoEmptyPathOrAddress)
{
    Start();
    EXPECT_EQ(E_INVALIDARG, Command::Upload("", UploadUrl));
    EXPECT_EQ(E_INVALIDARG, Command::Upload("/file.zip", ""));
    EXPECT_TRUE(Errors().empty());
    EXPECT_FALSE(Command::IsUploading());
}

TEST_F(FindSimilarUpload, TracesWhatItPostsAndTheTimeItTook)
{
    StartUpload();
    const std::string size = Header("Content-Length");
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::UploadFileInVelmart, Post : " + Zip().string() + " on " + UploadUrl));
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::UploadFileInVelmart, PostSize : " + size));
    Reply(Query);
    EXPECT_TRUE(Traced("ZALVelmartFindSimilarCmd::OnUploadRequestComplete response : " + Query));
    const auto in = std::ranges::find_if(Traces(), [](const std::string& trace) {
        return trace.starts_with("ZALVelmartFindSimilarCmd::OnUploadRequestComplete in ");
    });
    ASSERT_NE(in, Traces().end());
    EXPECT_TRUE(in->ends_with(" ms\n"));
    EXPECT_LT(std::stoull(in->substr(std::string("ZALVelmartFindSimilarCmd::OnUploadRequestComplete in ").size())),
              60'000U);
}

TEST_F(FindSimilarUpload, TracesItsStepsInTheirOrder)
{
    const auto stepsSince = [this](std::size_t start) {
        const std::string prefix = "ZALVelmartFindSimilarCmd::";
        Texts steps;
        for (std::size_t index = start; index < Traces().size(); ++index) {
            const std::string& trace = Traces()[index];
            // Up to the value, after which texts differ from run to run.
            if (trace.starts_with(prefix))
                steps.push_back(trace.substr(prefix.size(), trace.find_first_of(":\n", prefix.size()) - prefix.size()));
        }
        for (std::string& step : steps)
            if (step.starts_with("OnUploadRequestComplete in "))
                step = "OnUploadRequestComplete in";
        return steps;
    };
    OpenReadyPanel();
    std::size_t start = Traces().size();
    Start();
    EXPECT_EQ(
        (Texts{"SaveAsTempLVR ", "UsedVelmartURL ", "UploadFileInVelmart, Post ", "UploadFileInVelmart, PostSize "}),
        stepsSince(start));
    start = Traces().size();
    Reply("nonsense");
    EXPECT_EQ((Texts{"OnUploadRequestComplete in", "OnUploadRequestComplete response ", "NotifyErrorMessage ",
                     "RequestDelayedDestruction"}),
              stepsSince(start));
}

TEST_F(FindSimilarUpload, MeasuresNoTimeWhileTheTraceIsOff)
{
    SwitchTraces(false);
    ZALVelmartIntegrationDebug::Chrono::Start();
    while (ZALVelmartIntegrationDebug::Chrono::GetElapsed() < 100) {
    }
    const std::size_t before = Traces().size();
    StartUpload();
    Reply(Query);
    EXPECT_GE(ZALVelmartIntegrationDebug::Chrono::GetElapsed(), 100U);
    EXPECT_EQ(Traces().size(), before);
    EXPECT_EQ(Texts{Script}, Page().Scripts());
}

TEST_F(FindSimilarUpload, FailsWhenTheHostRefusesToSend)
{
    OpenReadyPanel();
    Transport().RefuseNext();
    ConfigureFrame({.applicationDocument = false, .editor = true}); // no warning, which would run the loop first
    Select(*leaf_);
    Loop().Post([] { EXPECT_TRUE(Command::IsUploading()) << "the request goes after the message"; });
    Start();
    EXPECT_EQ(Texts{"LVRUploadFailure"}, Errors());
    EXPECT_TRUE(HasEnded());
    Loop().Advance(2s);
    EXPECT_FALSE(HasProgressDialog());
    EXPECT_EQ(1U, Errors().size());
}

// ---------------------------------------------------------------------------------------------
// Its progress

TEST_F(FindSimilarUpload, ShowsItsProgressBehindASecond)
{
    StartUpload();
    Loop().Advance(999ms);
    EXPECT_FALSE(HasProgressDialog());
    Loop().Advance(1ms);
    EXPECT_TRUE(HasProgressDialog());
    Loop().Advance(10s);
    EXPECT_EQ(1U, Surface().WindowEvents().size());
    Reply(Query);
    EXPECT_FALSE(HasProgressDialog());
}

TEST_F(FindSimilarUpload, ShowsNoProgressForAQuickReply)
{
    StartUpload();
    Loop().Advance(999ms);
    Reply(Query);
    Loop().Advance(10s);
    EXPECT_TRUE(Surface().WindowEvents().empty());
}

TEST_F(FindSimilarUpload, ShowsNoProgressWithoutAFrame)
{
    StartUpload();
    ConfigureFrame({.exists = false});
    Loop().Advance(2s);
    EXPECT_FALSE(HasProgressDialog());
    Reply(Query);
    EXPECT_TRUE(Errors().empty());
}

TEST_F(FindSimilarUpload, GoesOnWhenTheFrameEndsWithTheProgress)
{
    StartUpload();
    Loop().Advance(1s);
    const ZALBaseUnknown_WR dialog(Surface().Find(ProgressDialog));
    ResetFrame();
    EXPECT_FALSE(HasProgressDialog());
    ZALBaseUnknown* held = dialog.GetComponent();
    ASSERT_TRUE(held);
    held->Release();
    Reply(Query);
    EXPECT_EQ(nullptr, dialog.GetComponent());
    EXPECT_EQ(Texts{Script}, Page().Scripts());
}

TEST_F(FindSimilarUpload, ShowsProgressForCommandsAlone)
{
    Command::ShowUploadProgress(nullptr, nullptr);
    Command::ShowUploadProgress(leaf_, nullptr);
    EXPECT_FALSE(HasProgressDialog());
}

TEST_F(FindSimilarUpload, RunsWithoutAnApplication)
{
    ConfigureCommands({.findSimilarHeader = false, .application = false});
    StartUpload();
    Loop().Advance(2s);
    EXPECT_FALSE(HasProgressDialog());
    Reply(Query);
    EXPECT_EQ(Texts{Script}, Page().Scripts());
}

TEST_F(FindSimilarUpload, GoesOnWhenTheUserClosesTheProgress)
{
    StartUpload();
    Loop().Advance(1s);
    for (int times = 0; times < 2; ++times) {
        EXPECT_EQ(PushResult::Done, Surface().Push(ProgressDialog, "CLOSE"));
        EXPECT_FALSE(HasEnded());
        EXPECT_TRUE(HasProgressDialog());
    }
    EXPECT_EQ(2, CountOf("ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif"));
    EXPECT_TRUE(Transport().Last().IsRunning());
}

// ---------------------------------------------------------------------------------------------
// The reply

TEST_F(FindSimilarUpload, LetsAReadyPageSearchForTheQueryOfEachReply)
{
    const std::pair<const char*, int> replies[] = {
        {R"({"data":{"query":"q1"}})", 200},
        {R"({"data":{"query":"q1"}})", 500},
        {R"({"status":"ok","data":{"hits":3,"query":"q1","more":{}},"z":[1]})", 200}};
    OpenReadyPanel();
    Texts expected;
    for (const auto& [reply, status] : replies) {
        Start();
        Reply(reply, status);
        expected.push_back(Script);
        EXPECT_EQ(expected, Page().Scripts()) << reply << status;
        EXPECT_TRUE(HasEnded());
    }
    EXPECT_TRUE(Page().Urls().empty());
    EXPECT_TRUE(Errors().empty());
}

TEST_F(FindSimilarUpload, BringsThePanelToTheSearchWhenThePageHasGone)
{
    StartUpload();
    ReportOver();
    Reply(R"({"data":{"query":"a b&ü"}})");
    EXPECT_TRUE(Page().Scripts().empty());
    EXPECT_EQ(Texts{VelmartServiceUrl + std::string("categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true"
                                                    "&addinmode=zalorq7&extq=a%20b%26ü")},
              Page().Urls());
    EXPECT_TRUE(HasEnded());
}

class BadReply : public FindSimilarUpload, public ::testing::WithParamInterface<const char*> {};

TEST_P(BadReply, IsAFailedUpload)
{
    StartUpload();
    Reply(GetParam());
    EXPECT_EQ(Texts{"LVRUploadFailure"}, Errors());
    EXPECT_TRUE(Page().Scripts().empty());
    EXPECT_TRUE(Page().Urls().empty());
    EXPECT_TRUE(HasEnded());
}

INSTANTIATE_TEST_SUITE_P(Replies, BadReply,
                         ::testing::Values("", "nonsense", "<html>500</html>", "{\"data\":{\"query\":\"q\"}", "[]", "7",
                                           "null", "{}", R"({"data":7})", R"({"data":null})", R"({"data":[]})",
                                           R"({"data":{}})", R"({"query":"q"})", R"({"Data":{"query":"q"}})",
                                           R"({"data":{"Query":"q"}})", "{\"data\":{\"query\":\"\xFF\"}}"));

TEST_F(FindSimilarUpload, TakesNoReplyInAnotherEncodingThanUtf8)
{
    StartUpload();
    Reply("{\"data\":{\"query\":\"B\xFCgel\"}}");
    EXPECT_EQ(Texts{"LVRUploadFailure"}, Errors());
    Start();
    Reply("{\"data\":{\"query\":\"B\xC3\xBCgel\"}}");
    EXPECT_EQ(Texts{"OpApi.sendMessage('search', {query: 'B\xC3\xBCgel'});"}, Page().Scripts());
}

TEST_F(FindSimilarUpload, ReadsTheReplyToItsLastByte)
{
    StartUpload();
    Reply(Query + '\0');
    EXPECT_EQ(Texts{"LVRUploadFailure"}, Errors());
}

TEST_F(FindSimilarUpload, HasLetGoOfItsRequestAndWaitsNoMoreWhenItTellsAFailure)
{
    StartUpload();
    const ZALBaseUnknown_WR request(Command::Request());
    Loop().Post([&] {
        EXPECT_FALSE(Command::IsUploading());
        EXPECT_EQ(nullptr, request.GetComponent());
        Loop().Advance(10s);
    });
    Reply("nonsense");
    EXPECT_EQ(Texts{"LVRUploadFailure"}, Errors());
    EXPECT_TRUE(Surface().WindowEvents().empty());
}

TEST_F(FindSimilarUpload, EndsItsProgressBeforeItTellsAFailure)
{
    StartUpload();
    Loop().Advance(1s);
    Texts ended;
    const journal::Sink before = journal::Redirect([&](const nlohmann::ordered_json& event) {
        if (event["event"] == "dialog" || event.value("action", "") == "ended")
            ended.push_back(event.value("name", "the command"));
    });
    Reply("nonsense");
    journal::Redirect(before);
    EXPECT_EQ((Texts{ProgressDialog, "FileDownloadErrorNotify", "the command"}), ended);
}

TEST_F(FindSimilarUpload, PassesAQueryOnAsItComes)
{
    const struct {
        const char* value;
        const char* text;
    } queries[] = {{"12", "12"},
                   {"1.5", "1.5"},
                   {"true", "true"},
                   {"null", "null"},
                   {"[1,2]", "[1,2]"},
                   {"\"\"", ""},
                   {"\"a'b\"", "a'b"},
                   {R"({"k":"v"})", R"({"k":"v"})"},
                   {R"("\u20ac")", "\u20AC"}};
    OpenReadyPanel();
    Texts expected;
    for (const auto& [value, text] : queries) {
        Start();
        Reply(std::string(R"({"data":{"query":)") + value + "}}");
        expected.push_back(std::string("OpApi.sendMessage('search', {query: '") + text + "'});");
    }
    EXPECT_EQ(expected, Page().Scripts());
    EXPECT_TRUE(Errors().empty());
}

TEST_F(FindSimilarUpload, EndsInSilenceInAPanelWithoutTheAddin)
{
    StartUpload();
    Panel::End();
    ClassDictionary::Instance().RemoveCreation(AddinClass);
    Panel::Open();
    Reply(Query);
    ClassDictionary::Instance().AddCreation(
        AddinClass, []() -> ZALBaseUnknown* { return new ZALVelmartMeridiaAccessAddin; }, "creation");
    EXPECT_TRUE(Errors().empty());
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(Page().Scripts().empty());
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(FindSimilarUpload, IsCancelledWhenTheUserClosesThePanel)
{
    StartUpload();
    Loop().Advance(1s);
    Panel::Close();
    EXPECT_TRUE(Transport().Last().IsCancelled());
    EXPECT_TRUE(HasEnded());
    EXPECT_FALSE(HasProgressDialog());
    // The end of the transfer comes before that of the command, which finds an empty reply.
    EXPECT_EQ(Texts{"LVRUploadFailure"}, Errors());
}

TEST_F(FindSimilarUpload, DropsTheReplyOfACommandThatHasGone)
{
    StartUpload();
    Loop().Advance(1s);
    EndStartedCommands();
    EXPECT_TRUE(HasEnded());
    EXPECT_FALSE(HasProgressDialog());
    EXPECT_FALSE(Transport().Last().IsRunning());
    EXPECT_TRUE(Errors().empty());
}

TEST_F(FindSimilarUpload, LeavesNoSubscriptionAndNoTimeOutBehind)
{
    StartUpload();
    ZALBaseUnknown* publisher = ZALMeridiaAccessServices::GetMeridiaDialogEventPublisher();
    EXPECT_EQ(1U, SubscribersOf(publisher, "ZALDlgWindCloseNotification").size());
    EndStartedCommands();
    EXPECT_TRUE(HasEnded());
    EXPECT_TRUE(SubscribersOf(publisher, "ZALDlgWindCloseNotification").empty());
    Loop().Advance(10s);
    EXPECT_TRUE(Surface().WindowEvents().empty());
}

TEST_F(FindSimilarUpload, SurvivesAPanelThatIsClosedWhileAnErrorIsShown)
{
    OpenReadyPanel();
    Transport().RefuseNext();
    // The error is shown inside the constructor, and runs the loop.
    Loop().Post([] { Panel::Close(); });
    Surface().Answer("UploadWarningPopup", 3);
    ConfigureFrame({.exists = false, .editor = true}); // no warning, which would run the loop first
    Select(*leaf_);
    Start();
    EXPECT_FALSE(Panel::Current());
    EXPECT_EQ(Texts{"LVRUploadFailure"}, Errors());
    EXPECT_TRUE(HasEnded());
}

} // namespace

} // namespace openhost::testing
