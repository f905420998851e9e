// Find Similar over the network, against every kind of reply.

#include "tests/journeys/JourneyFixture.h"
#include "tests/support/RawServer.h"
#include "tests/support/ScriptedCad.h"

#include "host/frame.h"
#include "openhost/commands/Commands.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/frame/Frame.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/panel/Panel.h"
#include "openhost/panel/RecordedPage.h"

#include <algorithm>

namespace openhost::testing {
namespace {

using Texts = std::vector<std::string>;

constexpr const char* ProgressDialog = "ZALVelmartFindSimilarUploadProgressDlg";
constexpr const char* ErrorDialog = "FileDownloadErrorNotify";

std::string Reply(const std::string& body, const std::string& status = "200 OK")
{
    return "HTTP/1.1 " + status + "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

/// A part is selected, the panel is open, and its page takes uploads at a server of the test.
class FindSimilarJourney : public JourneyFixture {
protected:
    FindSimilarJourney()
    {
        PanelPages::Install(std::make_unique<RecordedPages>());
        ConfigureFrame({.editor = true});
        part_->isReference = true;
        part_->Offer("ZALIAlias");
        part_->alias = "Bolt M8/20";
        ZALPathElement* path = PathTo(*part_);
        ZALFrmEditor::GetCurrentEditor()->GetCSO()->AddElement(path);
        path->Release();
        Panel::Open();
    }
    ~FindSimilarJourney() override
    {
        EndStartedCommands();
        Panel::End();
        RunUntilIdle();
        ResetFrame();
        PanelPages::Install(nullptr);
    }

    static RecordedPage& Page() { return *RecordedPage::Current(); }
    /// The user starts the command on a page that takes uploads at `url`.
    static void Start(const std::string& url)
    {
        Page().ReportMessage(R"({"event":"velmart_ready","content":{"searchByUploadUrl":")" + url + R"("}})");
        ASSERT_EQ(StartResult::Started, StartCommand("ZALVelmartFindSimilarCmd"));
    }
    void StartAndEnd(const std::string& url)
    {
        Start(url);
        RunUntilIdle();
    }
    /// Texts of the error dialogs.
    Texts Errors()
    {
        Texts texts;
        for (const ScriptedSurface::Question& question : Surface().Questions())
            if (question.name == ErrorDialog)
                texts.push_back(question.text);
        return texts;
    }

    ScriptedCad cad_;
    ScriptedObject* part_ = &cad_.MakeProduct("Part");
};

constexpr const char* UploadFailed = "The shape could not be sent to the catalogue service.";

TEST_F(FindSimilarJourney, UploadsTheShapeAndLetsThePageSearch)
{
    RawServer server(RawServer::Once(Reply(R"({"data":{"query":"shape-1"}})")));
    StartAndEnd(server.Url("/upload?t=1"));

    EXPECT_EQ(Texts{"OpApi.sendMessage('search', {query: 'shape-1'});"}, Page().Scripts());
    EXPECT_TRUE(Errors().empty());
    ASSERT_EQ(1U, server.Requests().size());
    const std::string request = server.Requests()[0];
    EXPECT_TRUE(request.starts_with("POST /upload?t=1 HTTP/1.1\r\n"));
    EXPECT_NE(request.find("\r\nX-Requested-With: XMLHttpRequest\r\n"), std::string::npos);
    EXPECT_NE(request.find("filename=\"Bolt M8 20.zip\"\r\n"), std::string::npos);
    EXPECT_NE(request.find("\r\n\r\n" + std::string("------WebKitFormBoundary")), std::string::npos);
    EXPECT_NE(request.find(ReadFile(Temp() / "VLUploadedLVRFile.zip")), std::string::npos);
}

TEST_F(FindSimilarJourney, FailsAtAConnectionThatBreaks)
{
    RawServer resets([](RawServer::Connection& connection) { connection.Reset(); });
    StartAndEnd(resets.Url());
    RawServer cutsOff([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.Send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n{\"data\":");
    });
    StartAndEnd(cutsOff.Url());
    EXPECT_EQ((Texts{UploadFailed, UploadFailed}), Errors());
}

TEST_F(FindSimilarJourney, ShowsThatItIsAtWorkWhenTheServiceIsSlow)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.AwaitTold();
        connection.Send(Reply(R"({"data":{"query":"late"}})"));
    });
    Start(server.Url());
    EXPECT_FALSE(Surface().Find(ProgressDialog));
    RunUntil([&] { return Surface().Find(ProgressDialog) != nullptr; });
    server.Tell();
    RunUntilIdle();
    EXPECT_FALSE(Surface().Find(ProgressDialog));
    EXPECT_EQ(Texts{"OpApi.sendMessage('search', {query: 'late'});"}, Page().Scripts());
}

TEST_F(FindSimilarJourney, EndsWhenTheUserClosesThePanelDuringTheUpload)
{
    RawServer server([](RawServer::Connection& connection) {
        connection.ReadRequest();
        connection.AwaitClosed();
    });
    Start(server.Url());
    RunUntil([&] { return !server.Requests().empty(); });
    Page().ReportClosed();
    RunUntilIdle();
    EXPECT_FALSE(Panel::Current());
    EXPECT_FALSE(IsHeaderAvailable(FindSimilarHeader, 1));
}

} // namespace
} // namespace openhost::testing
