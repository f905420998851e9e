#include "ServiceTest.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <thread>

#include <sys/stat.h>

namespace catalogue::testing {

using Json = nlohmann::ordered_json;

class CatalogueServiceTest : public ServiceTest {};

TEST_F(CatalogueServiceTest, ARootThatIsNoFolderIsRefused)
{
    EXPECT_THROW(CatalogueService(root_ / "missing"), std::runtime_error);
    EXPECT_THROW(CatalogueService(root_ / "index.json"), std::runtime_error);
}

TEST_F(CatalogueServiceTest, APortInUseIsRefused)
{
    CatalogueService second(root_);
    EXPECT_THROW(second.Start(service_->GetPort()), std::runtime_error);
}

TEST_F(CatalogueServiceTest, PortZeroTakesAPortOfItsOwn)
{
    CatalogueService second(root_);
    EXPECT_EQ(second.GetPort(), 0);
    second.Start(0);
    EXPECT_GT(second.GetPort(), 0);
    EXPECT_NE(second.GetPort(), service_->GetPort());
    EXPECT_EQ(second.GetAddress(), "http://127.0.0.1:" + std::to_string(second.GetPort()));
}

TEST_F(CatalogueServiceTest, StoppingTwiceAndBeforeTheStartIsHarmless)
{
    CatalogueService idle(root_);
    idle.Stop();
    service_->Stop();
    service_->Stop();
    EXPECT_FALSE(Get("/"));
}

TEST_F(CatalogueServiceTest, AHostHeaderOfAnotherNameIsRefused)
{
    for (const char* host : {"velmart.example", "127.0.0.1.example", "localhost.example:80", "localhost:", "127.0.0.2",
                             "127.0.0.1:80x", "", "[::1]x"}) {
        const std::string reply =
            Exchange("GET /items HTTP/1.1\r\nHost: " + std::string(host) + "\r\nConnection: close\r\n\r\n");
        EXPECT_EQ(reply.substr(0, 12), "HTTP/1.1 403") << host;
    }
}

TEST_F(CatalogueServiceTest, ARequestWithoutAHostHeaderIsRefused)
{
    EXPECT_EQ(Exchange("GET /items HTTP/1.0\r\n\r\n").substr(0, 12), "HTTP/1.1 403");
}

TEST_F(CatalogueServiceTest, EveryLoopbackNameIsServed)
{
    for (const char* host : {"127.0.0.1", "127.0.0.1:1", "localhost", "localhost:8080", "[::1]:8080"}) {
        const std::string reply =
            Exchange("GET /items HTTP/1.1\r\nHost: " + std::string(host) + "\r\nConnection: close\r\n\r\n");
        EXPECT_EQ(reply.substr(0, 12), "HTTP/1.1 200") << host;
    }
}

TEST_F(CatalogueServiceTest, GarbageInPlaceOfARequestIsAnsweredWithAnError)
{
    EXPECT_EQ(Exchange("\x01\x02 nonsense\r\n\r\n").substr(0, 12), "HTTP/1.1 400");
    EXPECT_EQ(GetCode("/items"), 200);
}

TEST_F(CatalogueServiceTest, APathOutsideTheFoldersIsNotFound)
{
    WriteFile("files/.hidden", "hidden");
    WriteFile("secret", "secret");
    WriteFile("secret.json", "{}");
    std::filesystem::create_directory(root_ / "files" / "templates");
    for (const char* path :
         {"/files/../secret", "/files/..%2fsecret", "/files/%2e%2e/secret", "/files/..%5csecret", "/files/..",
          "/files/.hidden", "/files/", "/files/%00", "/files/nut.ZALPart%00.zip", "/files//nut.ZALPart",
          "/files/templates", "/files/templates/", "/files/templates/..", "/files/templates/nut.ZALPart",
          "/files/templates/..%2fnut.ZALPart", "/items/..%2fsecret", "/items/..", "/items/"})
        EXPECT_EQ(GetCode(path), 404) << path;
}

TEST_F(CatalogueServiceTest, ALinkAFolderAndAPipeAreNoFiles)
{
    WriteFile("secret", "secret");
    std::filesystem::create_symlink(root_ / "secret", root_ / "files" / "link.zip");
    std::filesystem::create_directory(root_ / "files" / "folder.zip");
    ASSERT_EQ(::mkfifo((root_ / "files" / "pipe.zip").c_str(), 0600), 0);
    for (const char* path : {"/files/link.zip", "/files/folder.zip", "/files/pipe.zip"})
        EXPECT_EQ(GetCode(path), 404) << path;
}

TEST_F(CatalogueServiceTest, ErrorsAreJsonWithTheirCode)
{
    const httplib::Result reply = Get("/nothing");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "application/json");
    EXPECT_EQ(Json::parse(reply->body).at("code"), 404);
}

TEST_F(CatalogueServiceTest, TheRequestOfAnItemHoldsTheAddressOfTheService)
{
    const httplib::Result reply = Get("/items/bolt");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "application/json");
    const Json item = Json::parse(reply->body);
    EXPECT_EQ(item.at("attributes").at("downloadUrls").at("ZALOR_RAW"), service_->GetAddress() + "/files/bolt.zip");
    EXPECT_EQ(item.at("attributes").at("sourceUrl"), "file://" + (root_ / "files").string() + "/a");
    EXPECT_EQ(item.at("sizes").dump(), "[1,2.5,null]");
    EXPECT_EQ(item.begin().key(), "id");
}

TEST_F(CatalogueServiceTest, ThePictureOfAnItemIsAnImage)
{
    std::filesystem::create_directories(root_ / "pictures");
    WriteFile("pictures/bolt.png", "picture of a bolt");
    WriteFile("secret.png", "secret");
    const httplib::Result reply = Get("/items/bolt/picture");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->get_header_value("Content-Type"), "image/png");
    EXPECT_FALSE(reply->has_header("Content-Disposition"));
    EXPECT_EQ(reply->body, "picture of a bolt");
    for (const char* path : {"/items/nut/picture", "/items/..%2fsecret/picture", "/items/../picture",
                             "/items/bolt/picture/", "/items/bolt/other", "/items//picture"})
        EXPECT_EQ(GetCode(path), 404) << path;
}

TEST_F(CatalogueServiceTest, ThePathInAFileUrlIsEncoded)
{
    const std::filesystem::path folder = root_ / "ä 100%";
    std::filesystem::create_directories(folder / "items");
    std::ofstream(folder / "items" / "a.json") << R"("file://${FILES}/a")";
    CatalogueService service(folder);
    service.Start();
    const httplib::Result reply = httplib::Client("127.0.0.1", service.GetPort()).Get("/items/a");
    ASSERT_TRUE(reply);
    EXPECT_EQ(Json::parse(reply->body), "file://" + root_.string() + "/%C3%A4%20100%25/files/a");
}

TEST_F(CatalogueServiceTest, TheIndexHoldsTheAddressOfTheService)
{
    const httplib::Result reply = Get("/items");
    ASSERT_TRUE(reply);
    EXPECT_EQ(Json::parse(reply->body).at("items").at(0).at("request"), service_->GetAddress() + "/items/bolt");
}

TEST_F(CatalogueServiceTest, ADamagedOrOverlongItemIsAnErrorOfTheService)
{
    WriteFile("items/damaged.json", "{\"id\":");
    WriteFile("items/long.json", "\"" + std::string(2 << 20, 'x') + "\"");
    EXPECT_EQ(GetCode("/items/damaged"), 500);
    EXPECT_EQ(GetCode("/items/long"), 500);
    EXPECT_EQ(GetCode("/items/missing"), 404);
}

TEST_F(CatalogueServiceTest, ThePageStandsAtTheRootAndAtTheAddressThatTheModuleOpens)
{
    WriteFile("page/index.html", "<!DOCTYPE html>");
    for (const char* path : {"/", "/categories", "/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true"}) {
        const httplib::Result reply = Get(path);
        ASSERT_TRUE(reply);
        EXPECT_EQ(reply->status, 200) << path;
        EXPECT_EQ(reply->get_header_value("Content-Type"), "text/html; charset=utf-8");
        EXPECT_EQ(reply->body, "<!DOCTYPE html>");
    }
}

TEST_F(CatalogueServiceTest, FilesOfThePageHaveTheirTypeAndTheRulesOfThePage)
{
    WriteFile("page/catalogue.js", "script");
    WriteFile("page/catalogue.css", "style");
    WriteFile("page/part.svg", "picture");
    EXPECT_EQ(Get("/page/catalogue.css")->get_header_value("Content-Type"), "text/css; charset=utf-8");
    EXPECT_EQ(Get("/page/part.svg")->get_header_value("Content-Type"), "image/svg+xml");
    const httplib::Result reply = Get("/page/catalogue.js");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->body, "script");
    EXPECT_EQ(reply->get_header_value("Content-Type"), "text/javascript; charset=utf-8");
    EXPECT_EQ(reply->get_header_value("X-Content-Type-Options"), "nosniff");
    const std::string policy = reply->get_header_value("Content-Security-Policy");
    EXPECT_NE(policy.find("default-src 'none'"), std::string::npos) << policy;
    EXPECT_NE(policy.find("script-src 'self';"), std::string::npos) << policy;
    EXPECT_EQ(policy.find("unsafe"), std::string::npos) << policy;
}

TEST_F(CatalogueServiceTest, WhatIsNoFileOfThePageIsNotFound)
{
    WriteFile("page/notes.txt", "x");
    WriteFile("page/.hidden.js", "x");
    for (const char* path : {"/", "/page/index.html", "/page/notes.txt", "/page/.hidden.js", "/page/..%2Findex.json",
                             "/page/%2e%2e", "/page/"})
        EXPECT_EQ(GetCode(path), 404) << path;
}

TEST_F(CatalogueServiceTest, TemplatesAreServed)
{
    std::filesystem::create_directory(root_ / "files" / "templates");
    WriteFile("files/templates/Part & co.ZALPart", "template");
    httplib::Result reply = Get("/files/templates/Part%20%26%20co.ZALPart");
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 200);
    EXPECT_EQ(reply->body, "template");
}

TEST_F(CatalogueServiceTest, OneLineIsLoggedForEachRequest)
{
    Get("/files/nut.ZALPart?code=404");
    Get("/nothing");
    service_->Stop();
    // Each connection has a thread, and a line comes behind its reply.
    EXPECT_THAT(log_, ::testing::UnorderedElementsAre("GET /files/nut.ZALPart?code=404 404", "GET /nothing 404"));
}

TEST_F(CatalogueServiceTest, ManyRequestsAtOnceAreAllServed)
{
    WriteFile("files/large.zip", std::string(3'000'000, 'z'));
    std::vector<std::size_t> sizes(12);
    std::vector<std::thread> threads;
    for (std::size_t& size : sizes)
        threads.emplace_back([this, &size] {
            httplib::Client client("127.0.0.1", service_->GetPort());
            client.set_read_timeout(std::chrono::minutes(2));
            const httplib::Result reply = client.Get("/files/large.zip");
            size = reply ? reply->body.size() : 0;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(sizes, std::vector<std::size_t>(12, 3'000'000));
}

} // namespace catalogue::testing
