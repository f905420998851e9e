#include "ServiceTest.h"

#include <nlohmann/json.hpp>

#include <chrono>
#include <future>

namespace catalogue::testing {

/// Every form of reply that a request can ask for.
class ReplyTest : public ServiceTest {
protected:
    /// The header as it is on the wire, which the client would decode; empty when there is none.
    std::string GetHeader(const std::string& name, const std::string& query)
    {
        const std::string reply =
            Exchange("GET /files/nut.ZALPart?" + query + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n");
        const std::size_t line = reply.find("\r\n" + name + ": ");
        if (line == std::string::npos)
            return "";
        const std::size_t value = line + name.size() + 4;
        return reply.substr(value, reply.find("\r\n", value) - value);
    }

    void ExpectReply(int status, const std::string& type, const std::string& body, const std::string& path)
    {
        const httplib::Response reply = Fetch(path);
        EXPECT_EQ(status, reply.status) << path;
        EXPECT_EQ(type, reply.get_header_value("Content-Type")) << path;
        EXPECT_EQ(body, reply.body) << path;
    }

    std::string GetDisposition(const std::string& query) { return GetHeader("Content-Disposition", query); }
};

TEST_F(ReplyTest, BadParametersAreRefusedWithTheReason)
{
    const char* const queries[] = {"unknown=1",
                                   "disposition=other",
                                   "disposition=custom",
                                   "code=99",
                                   "code=201",
                                   "code=302",
                                   "code=abc",
                                   "code=404&redirect=1",
                                   "body=html",
                                   "empty=2",
                                   "length=5",
                                   "chunked=yes",
                                   "cut=-1",
                                   "cut=1x",
                                   "cut=99999999999999999999",
                                   "slow=0",
                                   "piece=0&pause=1",
                                   "piece=5",
                                   "pause=5",
                                   "piece=5&pause=600001",
                                   "slow=5&piece=5&pause=5",
                                   "redirect=",
                                   "redirect=101",
                                   "redirect=a%0d%0aX-Evil:1",
                                   "type=a%0ab",
                                   "filename=a%0d%0ab",
                                   "cut=1&cut=2",
                                   "length=none&chunked=1",
                                   "empty=1&body=json"};
    for (const char* query : queries) {
        const httplib::Response reply = Fetch("/files/nut.ZALPart?" + std::string(query));
        EXPECT_EQ(400, reply.status) << query;
        EXPECT_FALSE(nlohmann::json::parse(reply.body).at("error").get<std::string>().empty()) << query;
    }
}

TEST_F(ReplyTest, AnArchiveIsSentAsZipAndARawDocumentAsAnAttachment)
{
    ExpectReply(200, "application/zip", "archive bytes", "/files/bolt.zip");
    ExpectReply(200, "application/octet-stream", "0123456789", "/files/nut.ZALPart");
    const httplib::Response archive = Fetch("/files/bolt.zip");
    EXPECT_EQ("13", archive.get_header_value("Content-Length"));
    EXPECT_FALSE(archive.has_header("Content-Disposition"));
    EXPECT_EQ("attachment; filename=\"nut.ZALPart\"", GetDisposition(""));
}

TEST_F(ReplyTest, EachFormOfDispositionCanBeAskedForWithAnyFileName)
{
    EXPECT_EQ("attachment; filename=\"nut.ZALPart\"", GetDisposition("disposition=attachment"));
    EXPECT_EQ("inline; filename=\"nut.ZALPart\"", GetDisposition("disposition=inline"));
    EXPECT_EQ("", GetDisposition("disposition=none"));
    EXPECT_EQ("attachment; filename=nut.ZALPart", GetDisposition("disposition=unquoted"));
    EXPECT_EQ("attachment; size=10; filename=\"nut.ZALPart\"", GetDisposition("disposition=late"));
    EXPECT_EQ("attachment; filename*=UTF-8''%C3%A4%20b.zip",
              GetDisposition("disposition=extended&filename=%C3%A4%20b.zip"));
    EXPECT_EQ(";;filename=\"x", GetDisposition("disposition=custom&filename=%3B%3Bfilename%3D%22x"));
    EXPECT_EQ("attachment; filename=\"../../evil.zip\"", GetDisposition("filename=../../evil.zip"));
    EXPECT_EQ("attachment; filename=\"a\\\"b\\\\c\"", GetDisposition("filename=a%22b%5Cc"));
}

TEST_F(ReplyTest, AnyContentTypeCanBeAskedFor)
{
    for (const char* type : {"application/json; charset=utf-8", "text/html", "APPLICATION/ZIP", ""}) {
        const httplib::Response reply = Whole(client_->Get("/files/bolt.zip", httplib::Params{{"type", type}}, {}));
        EXPECT_EQ(type, reply.get_header_value("Content-Type"));
        EXPECT_EQ("archive bytes", reply.body);
    }
}

TEST_F(ReplyTest, AnErrorCodeCarriesTextJsonOrTheFile)
{
    const httplib::Response text = Fetch("/files/bolt.zip?code=404");
    EXPECT_EQ(404, text.status);
    EXPECT_EQ("text/plain", text.get_header_value("Content-Type"));

    const httplib::Response json = Fetch("/files/nut.ZALPart?code=500&body=json");
    EXPECT_EQ(500, json.status);
    EXPECT_EQ("application/json", json.get_header_value("Content-Type"));
    EXPECT_EQ(500, nlohmann::json::parse(json.body).at("code"));
    EXPECT_FALSE(json.has_header("Content-Disposition"));

    const httplib::Response success = Fetch("/files/bolt.zip?body=json");
    EXPECT_EQ(200, success.status);
    EXPECT_EQ("application/json", success.get_header_value("Content-Type"));

    ExpectReply(503, "application/zip", "archive bytes", "/files/bolt.zip?code=503&body=file");
}

TEST_F(ReplyTest, AnEmptyBodyOrFileHasLengthZero)
{
    WriteFile("files/empty.zip", "");
    for (const char* path : {"/files/nut.ZALPart?empty=1", "/files/empty.zip"})
        EXPECT_EQ("0", Fetch(path).get_header_value("Content-Length")) << path;
    ExpectReply(200, "application/octet-stream", "", "/files/nut.ZALPart?empty=1");
    EXPECT_EQ("attachment; filename=\"nut.ZALPart\"", GetDisposition("empty=1"));
}

TEST_F(ReplyTest, WithoutALengthTheEndOfTheConnectionEndsTheBody)
{
    const std::string reply = Exchange("GET /files/nut.ZALPart?length=none HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(std::string::npos, reply.find("Content-Length"));
    EXPECT_EQ(std::string::npos, reply.find("Transfer-Encoding"));
    EXPECT_EQ("\r\n\r\n0123456789", reply.substr(reply.size() - 14));
}

TEST_F(ReplyTest, ChunksCanBeAskedFor)
{
    const httplib::Response reply = Fetch("/files/nut.ZALPart?chunked=1&piece=4&pause=0");
    EXPECT_EQ("chunked", reply.get_header_value("Transfer-Encoding"));
    EXPECT_FALSE(reply.has_header("Content-Length"));
    EXPECT_EQ("0123456789", reply.body);

    const std::string bytes = Exchange("GET /files/nut.ZALPart?chunked=1&piece=4&pause=0 HTTP/1.1\r\n"
                                       "Host: localhost\r\nConnection: close\r\n\r\n");
    EXPECT_NE(std::string::npos, bytes.find("4\r\n0123\r\n4\r\n4567\r\n2\r\n89\r\n0\r\n\r\n")) << bytes;
}

TEST_F(ReplyTest, ACutReplyAnnouncesEverythingAndSendsPart)
{
    for (const std::string sent : {"", "0123"}) {
        const std::string reply = Exchange("GET /files/nut.ZALPart?cut=" + std::to_string(sent.size()) +
                                           " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        EXPECT_NE(std::string::npos, reply.find("Content-Length: 10\r\n")) << reply;
        EXPECT_TRUE(reply.ends_with("\r\n\r\n" + sent)) << reply;
    }
    EXPECT_FALSE(Get("/files/nut.ZALPart?cut=4"));
    EXPECT_EQ("0123456789", Fetch("/files/nut.ZALPart?cut=10").body);
    const std::string chunked = Exchange("GET /files/nut.ZALPart?cut=4&chunked=1 HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_TRUE(chunked.ends_with("4\r\n0123\r\n")) << "there is no last chunk: " << chunked;
}

TEST_F(ReplyTest, ASlowReplyTakesItsTime)
{
    const auto start = std::chrono::steady_clock::now();
    const httplib::Response reply = Fetch("/files/nut.ZALPart?slow=40");
    EXPECT_EQ("0123456789", reply.body);
    // Five pieces of two bytes, with four pauses of a twentieth of a second.
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
}

TEST_F(ReplyTest, AStopEndsAReplyThatPauses)
{
    std::promise<void> begun;
    std::future<httplib::Result> reply = std::async(std::launch::async, [this, &begun] {
        return client_->Get("/files/nut.ZALPart?piece=1&pause=600000", [&begun](const char*, std::size_t) {
            begun.set_value();
            return true;
        });
    });
    begun.get_future().wait();
    service_->Stop();
    EXPECT_FALSE(reply.get());
}

TEST_F(ReplyTest, ARedirectionLeadsBackAsOftenAsAsked)
{
    EXPECT_EQ(302, GetCode("/files/nut.ZALPart?redirect=2"));
    EXPECT_EQ("/files/nut.ZALPart?redirect=1&type=a%2Fb", GetHeader("Location", "redirect=2&type=a/b"));

    client_->set_follow_location(true);
    const httplib::Response reply = Fetch("/files/nut.ZALPart?redirect=15&type=a/b&code=307");
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ("a/b", reply.get_header_value("Content-Type"));
    EXPECT_EQ("0123456789", reply.body);
}

TEST_F(ReplyTest, ARedirectionCanLeadAnywhere)
{
    const httplib::Response reply = Fetch("/files/nut.ZALPart?code=301&redirect=ftp%3A%2F%2Fexample%2Fx");
    EXPECT_EQ(301, reply.status);
    EXPECT_EQ("ftp://example/x", reply.get_header_value("Location"));
}

TEST_F(ReplyTest, HeadTellsTheSameHeadersWithoutABody)
{
    const httplib::Response reply = Whole(client_->Head("/files/nut.ZALPart?cut=3"));
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ("10", reply.get_header_value("Content-Length"));
    EXPECT_EQ("attachment; filename=\"nut.ZALPart\"", reply.get_header_value("Content-Disposition"));
    EXPECT_EQ("", reply.body);
}

TEST_F(ReplyTest, ARangeInsideTheFileIsServed)
{
    const httplib::Response reply = Fetch("/files/nut.ZALPart", {httplib::make_range_header({{2, 5}})});
    EXPECT_EQ(206, reply.status);
    EXPECT_EQ("2345", reply.body);
    EXPECT_EQ("bytes 2-5/10", reply.get_header_value("Content-Range"));
}

TEST_F(ReplyTest, ARangeOutsideTheFileAndSeveralRangesAreRefused)
{
    for (const httplib::Ranges& ranges : {httplib::Ranges{{10, -1}}, {{5, 10}}, {{-1, 11}}, {{0, 1}, {4, 5}}}) {
        const httplib::Response reply = Fetch("/files/nut.ZALPart", {httplib::make_range_header(ranges)});
        EXPECT_EQ(416, reply.status);
        EXPECT_EQ("bytes */10", reply.get_header_value("Content-Range"));
    }
}

} // namespace catalogue::testing
