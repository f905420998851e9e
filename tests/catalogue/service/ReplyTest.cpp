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

    std::string GetDisposition(const std::string& query) { return GetHeader("Content-Disposition", query); }
};

TEST_F(ReplyTest, BadParametersAreRefusedWithTheReason)
{
    for (const char* query : {"unknown=1",
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
                              "slow=5&piece=5&pause=5",
                              "redirect=",
                              "redirect=101",
                              "redirect=a%0d%0aX-Evil:1",
                              "type=a%0ab",
                              "filename=a%0d%0ab",
                              "cut=1&cut=2",
                              "length=none&chunked=1",
                              "empty=1&body=json"}) {
        const httplib::Result reply = Get("/files/nut.ZALPart?" + std::string(query));
        ASSERT_TRUE(reply) << query;
        EXPECT_EQ(reply->status, 400) << query;
        EXPECT_FALSE(nlohmann::json::parse(reply->body).at("error").get<std::string>().empty()) << query;
    }
}

TEST_F(ReplyTest, AnArchiveIsSentAsZipWithItsLengthAndNoDisposition)
{
    const httplib::Result reply = Get("/files/bolt.zip");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->body, "archive bytes");
    EXPECT_EQ(reply->get_header_value("Content-Type"), "application/zip");
    EXPECT_EQ(reply->get_header_value("Content-Length"), "13");
    EXPECT_FALSE(reply->has_header("Content-Disposition"));
}

TEST_F(ReplyTest, ARawDocumentIsSentAsAnAttachmentUnderItsName)
{
    const httplib::Result reply = Get("/files/nut.ZALPart");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "application/octet-stream");
    EXPECT_EQ(reply->get_header_value("Content-Disposition"), "attachment; filename=\"nut.ZALPart\"");
}

TEST_F(ReplyTest, EachFormOfDispositionCanBeAskedFor)
{
    EXPECT_EQ(GetDisposition("disposition=attachment"), "attachment; filename=\"nut.ZALPart\"");
    EXPECT_EQ(GetDisposition("disposition=inline"), "inline; filename=\"nut.ZALPart\"");
    EXPECT_EQ(GetDisposition("disposition=none"), "");
    EXPECT_EQ(GetDisposition("disposition=unquoted"), "attachment; filename=nut.ZALPart");
    EXPECT_EQ(GetDisposition("disposition=late"), "attachment; size=10; filename=\"nut.ZALPart\"");
    EXPECT_EQ(GetDisposition("disposition=extended&filename=%C3%A4%20b.zip"),
              "attachment; filename*=UTF-8''%C3%A4%20b.zip");
    EXPECT_EQ(GetDisposition("disposition=custom&filename=%3B%3Bfilename%3D%22x"), ";;filename=\"x");
}

TEST_F(ReplyTest, AFileNameStandsInTheDispositionWhateverItIs)
{
    EXPECT_EQ(GetDisposition("filename=../../evil.zip"), "attachment; filename=\"../../evil.zip\"");
    EXPECT_EQ(GetDisposition("filename=a%22b%5Cc"), "attachment; filename=\"a\\\"b\\\\c\"");
}

TEST_F(ReplyTest, AnyContentTypeCanBeAskedFor)
{
    for (const char* type : {"application/json; charset=utf-8", "text/html", "APPLICATION/ZIP", ""}) {
        const httplib::Result reply = client_->Get("/files/bolt.zip", httplib::Params{{"type", type}}, {});
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->get_header_value("Content-Type"), type);
        EXPECT_EQ(reply->body, "archive bytes");
    }
}

TEST_F(ReplyTest, AnErrorCodeCarriesTextJsonOrTheFile)
{
    httplib::Result reply = Get("/files/bolt.zip?code=404");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 404);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "text/plain");

    reply = Get("/files/nut.ZALPart?code=500&body=json");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 500);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "application/json");
    EXPECT_EQ(nlohmann::json::parse(reply->body).at("code"), 500);
    EXPECT_FALSE(reply->has_header("Content-Disposition"));

    reply = Get("/files/bolt.zip?code=503&body=file");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 503);
    EXPECT_EQ(reply->body, "archive bytes");
}

TEST_F(ReplyTest, JsonCanBeSentWithSuccess)
{
    const httplib::Result reply = Get("/files/bolt.zip?body=json");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "application/json");
}

TEST_F(ReplyTest, AnEmptyBodyHasLengthZero)
{
    const httplib::Result reply = Get("/files/nut.ZALPart?empty=1");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->get_header_value("Content-Length"), "0");
    EXPECT_EQ(reply->get_header_value("Content-Type"), "application/octet-stream");
    EXPECT_EQ(reply->body, "");
}

TEST_F(ReplyTest, AnEmptyFileIsSentLikeAnEmptyBody)
{
    WriteFile("files/empty.zip", "");
    const httplib::Result reply = Get("/files/empty.zip");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->get_header_value("Content-Length"), "0");
}

TEST_F(ReplyTest, WithoutALengthTheEndOfTheConnectionEndsTheBody)
{
    const std::string reply = Exchange("GET /files/nut.ZALPart?length=none HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(reply.find("Content-Length"), std::string::npos);
    EXPECT_EQ(reply.find("Transfer-Encoding"), std::string::npos);
    EXPECT_EQ(reply.substr(reply.size() - 14), "\r\n\r\n0123456789");
}

TEST_F(ReplyTest, ChunksCanBeAskedFor)
{
    const httplib::Result reply = Get("/files/nut.ZALPart?chunked=1&piece=4&pause=0");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->get_header_value("Transfer-Encoding"), "chunked");
    EXPECT_FALSE(reply->has_header("Content-Length"));
    EXPECT_EQ(reply->body, "0123456789");

    const std::string bytes = Exchange("GET /files/nut.ZALPart?chunked=1&piece=4&pause=0 HTTP/1.1\r\n"
                                       "Host: localhost\r\nConnection: close\r\n\r\n");
    EXPECT_NE(bytes.find("4\r\n0123\r\n4\r\n4567\r\n2\r\n89\r\n0\r\n\r\n"), std::string::npos) << bytes;
}

TEST_F(ReplyTest, ACutReplyAnnouncesEverythingAndSendsPart)
{
    const std::string reply = Exchange("GET /files/nut.ZALPart?cut=4 HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_NE(reply.find("Content-Length: 10\r\n"), std::string::npos);
    EXPECT_EQ(reply.substr(reply.size() - 8), "\r\n\r\n0123");
    EXPECT_FALSE(Get("/files/nut.ZALPart?cut=4"));
}

TEST_F(ReplyTest, ACutAtZeroSendsTheHeadersAlone)
{
    const std::string reply = Exchange("GET /files/nut.ZALPart?cut=0 HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_NE(reply.find("Content-Length: 10\r\n"), std::string::npos);
    EXPECT_EQ(reply.substr(reply.size() - 4), "\r\n\r\n");
}

TEST_F(ReplyTest, ACutBehindTheEndCutsNothing)
{
    const httplib::Result reply = Get("/files/nut.ZALPart?cut=10");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->body, "0123456789");
}

TEST_F(ReplyTest, ACutChunkedReplyHasNoLastChunk)
{
    const std::string reply = Exchange("GET /files/nut.ZALPart?cut=4&chunked=1 HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(reply.substr(reply.size() - 9), "4\r\n0123\r\n");
}

TEST_F(ReplyTest, ASlowReplyTakesItsTime)
{
    const auto start = std::chrono::steady_clock::now();
    const httplib::Result reply = Get("/files/nut.ZALPart?slow=40");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->body, "0123456789");
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
    EXPECT_EQ(GetCode("/files/nut.ZALPart?redirect=2"), 302);
    EXPECT_EQ(GetHeader("Location", "redirect=2&type=a/b"), "/files/nut.ZALPart?redirect=1&type=a%2Fb");

    client_->set_follow_location(true);
    const httplib::Result reply = Get("/files/nut.ZALPart?redirect=15&type=a/b&code=307");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "a/b");
    EXPECT_EQ(reply->body, "0123456789");
}

TEST_F(ReplyTest, ARedirectionCanLeadAnywhere)
{
    const httplib::Result reply = Get("/files/nut.ZALPart?code=301&redirect=ftp%3A%2F%2Fexample%2Fx");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 301);
    EXPECT_EQ(reply->get_header_value("Location"), "ftp://example/x");
}

TEST_F(ReplyTest, HeadTellsTheSameHeadersWithoutABody)
{
    const httplib::Result reply = client_->Head("/files/nut.ZALPart?cut=3");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->get_header_value("Content-Length"), "10");
    EXPECT_EQ(reply->get_header_value("Content-Disposition"), "attachment; filename=\"nut.ZALPart\"");
    EXPECT_EQ(reply->body, "");
}

TEST_F(ReplyTest, ARangeInsideTheFileIsServed)
{
    const httplib::Result reply = Get("/files/nut.ZALPart", {httplib::make_range_header({{2, 5}})});
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 206);
    EXPECT_EQ(reply->body, "2345");
    EXPECT_EQ(reply->get_header_value("Content-Range"), "bytes 2-5/10");
}

TEST_F(ReplyTest, ARangeOutsideTheFileAndSeveralRangesAreRefused)
{
    for (const httplib::Ranges& ranges : {httplib::Ranges{{10, -1}}, {{5, 10}}, {{-1, 11}}, {{0, 1}, {4, 5}}}) {
        const httplib::Result reply = Get("/files/nut.ZALPart", {httplib::make_range_header(ranges)});
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, 416);
        EXPECT_EQ(reply->get_header_value("Content-Range"), "bytes */10");
    }
}

} // namespace catalogue::testing
