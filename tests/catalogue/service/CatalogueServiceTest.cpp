#include "ServiceTest.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <thread>

#include <sys/stat.h>

namespace catalogue::testing {

using Json = nlohmann::ordered_json;

class CatalogueServiceTest : public ServiceTest {};

TEST_F(CatalogueServiceTest, ARootThatIsNoFolderAndAPortInUseAreRefused)
{
    EXPECT_THROW(CatalogueService(root_ / "missing"), std::runtime_error);
    EXPECT_THROW(CatalogueService(root_ / StoreName), std::runtime_error);
    EXPECT_THROW(CatalogueService(root_ / "files"), std::runtime_error);
    CatalogueService second(root_);
    EXPECT_THROW(second.Start(service_->GetPort()), std::runtime_error);
}

TEST_F(CatalogueServiceTest, PortZeroTakesAPortOfItsOwn)
{
    CatalogueService second(root_);
    EXPECT_EQ(0, second.GetPort());
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

TEST_F(CatalogueServiceTest, LoopbackNamesInTheHostHeaderAloneAreServed)
{
    const auto codeFor = [this](const std::string& host) {
        return Exchange("GET /items HTTP/1.1\r\nHost: " + host + "\r\nConnection: close\r\n\r\n").substr(0, 12);
    };
    for (const char* host : {"127.0.0.1", "127.0.0.1:1", "localhost", "localhost:8080", "[::1]:8080"})
        EXPECT_EQ("HTTP/1.1 200", codeFor(host)) << host;
    for (const char* host : {"velmart.example", "127.0.0.1.example", "localhost.example:80", "localhost:", "127.0.0.2",
                             "127.0.0.1:80x", "", "[::1]x"})
        EXPECT_EQ("HTTP/1.1 403", codeFor(host)) << host;
    EXPECT_EQ("HTTP/1.1 403", Exchange("GET /items HTTP/1.0\r\n\r\n").substr(0, 12)) << "without a host";
}

TEST_F(CatalogueServiceTest, GarbageInPlaceOfARequestIsAnsweredWithAnError)
{
    EXPECT_EQ("HTTP/1.1 400", Exchange("\x01\x02 nonsense\r\n\r\n").substr(0, 12));
    EXPECT_EQ(200, GetCode("/items"));
}

TEST_F(CatalogueServiceTest, APathOutsideTheFoldersOrToNoFileIsNotFound)
{
    WriteFile("files/.hidden", "hidden");
    WriteFile("secret", "secret");
    WriteFile("secret.json", "{}");
    std::filesystem::create_directory(root_ / "files" / "templates");
    std::filesystem::create_symlink(root_ / "secret", root_ / "files" / "link.zip");
    std::filesystem::create_directory(root_ / "files" / "folder.zip");
    ASSERT_EQ(0, ::mkfifo((root_ / "files" / "pipe.zip").c_str(), 0600));
    for (const char* path : {"/files/../secret",
                             "/files/..%2fsecret",
                             "/files/%2e%2e/secret",
                             "/files/..%5csecret",
                             "/files/..",
                             "/files/.hidden",
                             "/files/",
                             "/files/%00",
                             "/files/nut.ZALPart%00.zip",
                             "/files//nut.ZALPart",
                             "/files/templates",
                             "/files/templates/",
                             "/files/templates/..",
                             "/files/templates/nut.ZALPart",
                             "/files/templates/..%2fnut.ZALPart",
                             "/items/..%2fsecret",
                             "/items/..",
                             "/items/",
                             "/files/link.zip",
                             "/files/folder.zip",
                             "/files/pipe.zip"})
        EXPECT_EQ(404, GetCode(path)) << path;
}

TEST_F(CatalogueServiceTest, TextsAreCompressedByGzipAlone)
{
    const auto encodingFor = [&](const char* accepted) {
        const httplib::Response reply = Fetch("/items", {{"Accept-Encoding", accepted}});
        EXPECT_TRUE(Json::accept(reply.body)) << accepted;
        return reply.get_header_value("Content-Encoding");
    };
    EXPECT_EQ("gzip", encodingFor("gzip, deflate, br"));
    EXPECT_EQ("gzip", encodingFor("gzip"));
    EXPECT_EQ("", encodingFor("br"));
    EXPECT_EQ("", encodingFor("identity"));
    EXPECT_EQ(
        "gzip",
        Get("/items", {{"Accept-Encoding", "br"}, {"Accept-Encoding", "gzip"}})->get_header_value("Content-Encoding"));
}

TEST_F(CatalogueServiceTest, ErrorsAreJsonWithTheirCode)
{
    const httplib::Response reply = Fetch("/nothing");
    EXPECT_EQ("application/json", reply.get_header_value("Content-Type"));
    EXPECT_EQ(404, Json::parse(reply.body).at("code"));
}

TEST_F(CatalogueServiceTest, EntriesAndRequestsOfItemsHoldTheAddressOfTheService)
{
    const Json index = Json::parse(Fetch("/items").body);
    EXPECT_EQ(service_->GetAddress() + "/items/bolt", index.at("items").at(0).at("request"));
    EXPECT_EQ(index.at("items").at(0), Json::parse(Fetch("/items/bolt/entry").body));
    EXPECT_EQ(404, GetCode("/items/none/entry"));
    const httplib::Response reply = Fetch("/items/bolt");
    EXPECT_EQ("application/json", reply.get_header_value("Content-Type"));
    const Json item = Json::parse(reply.body);
    EXPECT_EQ(service_->GetAddress() + "/files/bolt.zip", item.at("attributes").at("downloadUrls").at("ZALOR_RAW"));
    EXPECT_EQ("file://" + (root_ / "files").string() + "/a", item.at("attributes").at("sourceUrl"));
    EXPECT_EQ("[1,2.5,null]", item.at("sizes").dump());
    EXPECT_EQ("id", item.begin().key());
}

TEST_F(CatalogueServiceTest, ItemsAreAskedForByWordsAndChoices)
{
    service_.reset();
    WriteItems(root_, {{{"id", "bolt"},
                        {"title", "Bolt M8"},
                        {"category", "Bolts & screws"},
                        {"material", "Steel"},
                        {"boundingBox", {{"lowest", {0, 0, 0}}, {"highest", {2000, 1, 1}}}},
                        {"shape", "token"}},
                       {{"id", "nut"}, {"title", "Nut M8"}, {"category", "Nuts"}}});
    service_ = std::make_unique<CatalogueService>(root_);
    service_->Start();
    client_ = std::make_unique<httplib::Client>("127.0.0.1", service_->GetPort());
    const auto ask = [this](const std::string& parameters) { return Json::parse(Fetch("/items?" + parameters).body); };

    const Json all = ask("");
    EXPECT_EQ(2, all.at("total"));
    EXPECT_EQ(R"([{"name":"Bolts & screws","count":1},{"name":"Nuts","count":1}])", all.at("categories").dump());
    EXPECT_EQ(R"([{"name":"Steel","count":1}])", all.at("materials").dump());
    EXPECT_EQ(R"([{"from":1000.0,"count":1}])", all.at("sizes").dump());
    EXPECT_FALSE(all.contains("meant"));
    EXPECT_FALSE(all.at("items").at(0).contains("shape"));
    for (const char* parameters : {"word=bolt", "word=m8&word=xyz%7Cbolt", "category=Bolts%20%26%20screws",
                                   "material=Steel", "size=1000", "count=1"})
        EXPECT_EQ("bolt", ask(parameters).at("items").at(0).at("id")) << parameters;
    EXPECT_EQ("nut", ask("first=1").at("items").at(0).at("id"));
    EXPECT_EQ(R"(["bolt"])", ask("word=blot").at("meant").dump());
    EXPECT_TRUE(ask("first=1000000000").at("items").empty());
    for (const char* parameters : {"other=1", "size=7", "size=x", "count=201", "first=1000000001", "first=-1",
                                   "category=a&category=b", "count="})
        EXPECT_EQ(400, GetCode(std::string("/items?") + parameters)) << parameters;
    std::string words;
    for (int word = 0; word < 21; ++word)
        words += "&word=w" + std::to_string(word);
    EXPECT_EQ(400, GetCode("/items?" + words.substr(1)));
}

TEST_F(CatalogueServiceTest, ThePictureOfAnItemIsAnImage)
{
    std::filesystem::create_directories(root_ / "pictures");
    WriteFile("pictures/bolt.png", "picture of a bolt");
    WriteFile("secret.png", "secret");
    const httplib::Response reply = Fetch("/items/bolt/picture");
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ("image/png", reply.get_header_value("Content-Type"));
    EXPECT_FALSE(reply.has_header("Content-Disposition"));
    EXPECT_EQ("picture of a bolt", reply.body);
    for (const char* path : {"/items/nut/picture", "/items/..%2fsecret/picture", "/items/../picture",
                             "/items/bolt/picture/", "/items/bolt/other", "/items//picture"})
        EXPECT_EQ(404, GetCode(path)) << path;
}

TEST_F(CatalogueServiceTest, TheShapeOfAnItemIsItsLightRepresentation)
{
    std::filesystem::create_directories(root_ / "shapes");
    WriteFile("shapes/bolt.lvr", "shape of a bolt");
    WriteFile("secret.lvr", "secret");
    const httplib::Response reply = Fetch("/items/bolt/shape");
    EXPECT_EQ(200, reply.status);
    EXPECT_EQ("application/octet-stream", reply.get_header_value("Content-Type"));
    EXPECT_EQ("shape of a bolt", reply.body);
    for (const char* path : {"/items/nut/shape", "/items/..%2fsecret/shape", "/items/../shape", "/items/bolt/shape/"})
        EXPECT_EQ(404, GetCode(path)) << path;
}

TEST_F(CatalogueServiceTest, ThePathInAFileUrlIsEncoded)
{
    const std::filesystem::path folder = root_ / "ä 100%";
    std::filesystem::create_directories(folder / "items");
    std::ofstream(folder / "items" / "a.json") << R"("file://${FILES}/a")";
    WriteItems(folder, {});
    CatalogueService service(folder);
    service.Start();
    const httplib::Result reply = httplib::Client("127.0.0.1", service.GetPort()).Get("/items/a");
    ASSERT_TRUE(reply);
    EXPECT_EQ("file://" + root_.string() + "/%C3%A4%20100%25/files/a", Json::parse(reply->body));
}

TEST_F(CatalogueServiceTest, ADamagedOrOverlongItemIsAnErrorOfTheService)
{
    WriteFile("items/damaged.json", "{\"id\":");
    WriteFile("items/long.json", "\"" + std::string(2 << 20, 'x') + "\"");
    EXPECT_EQ(500, GetCode("/items/damaged"));
    EXPECT_EQ(500, GetCode("/items/long"));
    EXPECT_EQ(404, GetCode("/items/missing"));
}

TEST_F(CatalogueServiceTest, ThePageIsAtTheRootAndAtTheAddressThatTheModuleOpens)
{
    WriteFile("page/index.html", "<!DOCTYPE html>");
    for (const char* path : {"/", "/categories", "/categories?embeddedProfileId=ZALORQ7&connect&lockedapp=true"}) {
        const httplib::Response reply = Fetch(path);
        EXPECT_EQ(200, reply.status) << path;
        EXPECT_EQ("text/html; charset=utf-8", reply.get_header_value("Content-Type"));
        EXPECT_EQ("<!DOCTYPE html>", reply.body);
    }
}

TEST_F(CatalogueServiceTest, FilesOfThePageHaveTheirTypeAndTheRulesOfThePage)
{
    WriteFile("page/catalogue.js", "script");
    WriteFile("page/catalogue.css", "style");
    WriteFile("page/part.svg", "picture");
    EXPECT_EQ("text/css; charset=utf-8", Get("/page/catalogue.css")->get_header_value("Content-Type"));
    EXPECT_EQ("image/svg+xml", Get("/page/part.svg")->get_header_value("Content-Type"));
    const httplib::Response reply = Fetch("/page/catalogue.js");
    EXPECT_EQ("script", reply.body);
    EXPECT_EQ("text/javascript; charset=utf-8", reply.get_header_value("Content-Type"));
    EXPECT_EQ("nosniff", reply.get_header_value("X-Content-Type-Options"));
    const std::string policy = reply.get_header_value("Content-Security-Policy");
    EXPECT_NE(std::string::npos, policy.find("default-src 'none'")) << policy;
    EXPECT_NE(std::string::npos, policy.find("script-src 'self';")) << policy;
    EXPECT_EQ(std::string::npos, policy.find("unsafe")) << policy;
}

TEST_F(CatalogueServiceTest, WhatIsNoFileOfThePageIsNotFound)
{
    WriteFile("page/notes.txt", "x");
    WriteFile("page/.hidden.js", "x");
    for (const char* path : {"/", "/page/index.html", "/page/notes.txt", "/page/.hidden.js", "/page/..%2Fitems.sqlite",
                             "/page/%2e%2e", "/page/"})
        EXPECT_EQ(404, GetCode(path)) << path;
}

TEST_F(CatalogueServiceTest, TemplatesAreServed)
{
    std::filesystem::create_directory(root_ / "files" / "templates");
    WriteFile("files/templates/Part & co.ZALPart", "template");
    httplib::Result reply = Get("/files/templates/Part%20%26%20co.ZALPart");
    ASSERT_TRUE(reply);
    EXPECT_EQ(200, reply->status);
    EXPECT_EQ("template", reply->body);
}

TEST_F(CatalogueServiceTest, OneLineIsLoggedForEachRequest)
{
    Get("/files/nut.ZALPart?code=404");
    Get("/nothing");
    service_->Stop();
    // Each connection has a thread, and a line comes after its reply.
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
    EXPECT_EQ(std::vector<std::size_t>(12, 3'000'000), sizes);
}

TEST_F(CatalogueServiceTest, AFileOfThePageHasAtMostFourMebibytes)
{
    WriteFile("page/long.js", std::string(std::size_t{4} << 20, ' '));
    EXPECT_EQ(200, GetCode("/page/long.js"));
    WriteFile("page/long.js", std::string((std::size_t{4} << 20) + 1, ' '));
    EXPECT_EQ(404, GetCode("/page/long.js"));
}

TEST_F(CatalogueServiceTest, ADescriptionOfAnItemHasAtMostAMebibyte)
{
    WriteFile("items/long.json", "{}" + std::string((std::size_t{1} << 20) - 2, ' '));
    EXPECT_EQ(200, GetCode("/items/long"));
    WriteFile("items/long.json", "{}" + std::string((std::size_t{1} << 20) - 1, ' '));
    EXPECT_EQ(500, GetCode("/items/long"));
}

} // namespace catalogue::testing
