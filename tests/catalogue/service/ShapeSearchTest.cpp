// Upload and search by shape over HTTP.

#include "ServiceTest.h"

#include "catalogue/shapes/ShapeToken.h"
#include "tests/catalogue/shapes/TestShapes.h"
#include "tests/support/ZipBytes.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <thread>

namespace catalogue::testing {

using Json = nlohmann::ordered_json;
using openhost::testing::ZipBytes;
using ::testing::HasSubstr;

namespace {

openhost::LvrMesh Rod()
{
    return CylinderMesh(1, 10, 24);
}

std::string TokenOf(const openhost::LvrMesh& mesh)
{
    return EncodeShapeToken(DescribeShape(mesh));
}

std::string ZipOf(const openhost::LvrMesh& mesh)
{
    return ZipBytes().Add("VLUploadedLVRFile.lvr", openhost::EncodeLvr(mesh)).Deflated().Bytes();
}

} // namespace

class ShapeSearchTest : public ServiceTest {
protected:
    ShapeSearchTest()
    {
        WriteFile("index.json",
                  Json::array({{{"id", "box"}, {"shape", TokenOf(BoxMesh(1, 2, 3))}},
                               {{"id", "rod"}, {"address", "${BASE}/items/rod"}, {"shape", TokenOf(Rod())}},
                               {{"id", "shapeless"}},
                               {{"id", "damaged"}, {"shape", "no token"}},
                               {{"id", "number"}, {"shape", 7}},
                               "no item",
                               {{"id", "large-rod"}, {"shape", TokenOf(Scaled(Rod(), 3))}}})
                      .dump());
        service_ = std::make_unique<CatalogueService>(root_);
        service_->Start();
        client_ = std::make_unique<httplib::Client>("127.0.0.1", service_->GetPort());
    }

    httplib::Result Upload(const std::string& archive, const std::string& field = "file")
    {
        return client_->Post(
            "/upload", httplib::MultipartFormDataItems{{field, archive, "part.zip", "application/x-zip-compressed"}});
    }

    /// The code of the reply to an upload of `archive`; its body must be JSON.
    int CodeOf(const std::string& archive)
    {
        const httplib::Result reply = Upload(archive);
        if (!reply)
            return -1;
        const Json body = Json::parse(reply->body);
        EXPECT_EQ(body.contains("error"), reply->status != 200) << reply->body;
        return reply->status;
    }

    static std::vector<std::string> IdsOf(const std::string& results)
    {
        std::vector<std::string> ids;
        for (const Json& item : Json::parse(results))
            ids.push_back(item.at("id"));
        return ids;
    }
};

TEST_F(ShapeSearchTest, AnUploadGivesAQueryThatFindsTheShapeFirst)
{
    const httplib::Result upload = Upload(ZipOf(Moved(CylinderMesh(1, 10, 60))));
    ASSERT_TRUE(upload);
    EXPECT_EQ(upload->status, 200);
    EXPECT_EQ(upload->get_header_value("Content-Type"), "application/json");
    const std::string query = Json::parse(upload->body).at("data").at("query");

    const httplib::Result search = Get("/search?query=" + query);
    ASSERT_TRUE(search);
    EXPECT_EQ(search->status, 200);
    EXPECT_EQ(IdsOf(search->body), (std::vector<std::string>{"rod", "large-rod", "box"}));
}

TEST_F(ShapeSearchTest, ResultsAreTheEntriesOfTheIndexWithAScore)
{
    const httplib::Result search = Get("/search?query=" + TokenOf(Rod()));
    ASSERT_TRUE(search);
    const Json results = Json::parse(search->body);
    EXPECT_EQ(results.at(0), (Json{{"id", "rod"}, {"address", service_->GetAddress() + "/items/rod"}, {"score", 1.0}}));
    double before = 1;
    for (const Json& item : results) {
        EXPECT_LE(item.at("score"), before);
        EXPECT_GT(item.at("score"), 0);
        before = item.at("score");
    }
}

TEST_F(ShapeSearchTest, AQueryOutlivesTheService)
{
    const std::string query = Json::parse(Upload(ZipOf(Rod()))->body).at("data").at("query");
    CatalogueService second(root_);
    second.Start();
    const httplib::Result search =
        httplib::Client("127.0.0.1", second.GetPort()).Get(("/search?query=" + query).c_str());
    ASSERT_TRUE(search);
    EXPECT_EQ(IdsOf(search->body).front(), "rod");
}

TEST_F(ShapeSearchTest, SearchesWithoutAValidQueryAreRefused)
{
    const std::string query = TokenOf(Rod());
    for (const std::string& path :
         {std::string("/search"), std::string("/search?query="), "/search?query=" + query + "A",
          "/search?query=" + query + "&query=A", "/search?other=" + query, "/search?query=" + query.substr(1) + "%00",
          "/search?query=" + std::string(5000, 'A')})
        EXPECT_EQ(GetCode(path), 400) << path;
}

TEST_F(ShapeSearchTest, ACatalogueWithoutShapesFindsNothing)
{
    for (const char* index : {"", "{}", "[]", "{\"id\":"}) {
        WriteFile("index.json", index);
        CatalogueService service(root_);
        service.Start();
        const httplib::Result search =
            httplib::Client("127.0.0.1", service.GetPort()).Get(("/search?query=" + TokenOf(Rod())).c_str());
        ASSERT_TRUE(search);
        EXPECT_EQ(search->body, "[]\n") << index;
    }
}

TEST_F(ShapeSearchTest, AnotherFormThanOneWithOneFileIsRefused)
{
    const std::string archive = ZipOf(Rod());
    EXPECT_EQ(Upload(archive, "other")->status, 400);
    EXPECT_EQ(client_
                  ->Post("/upload", httplib::MultipartFormDataItems{{"file", archive, "a.zip", ""},
                                                                    {"file", archive, "b.zip", ""}})
                  ->status,
              400);
    EXPECT_EQ(client_->Post("/upload", archive, "application/zip")->status, 400);
    EXPECT_EQ(client_->Post("/upload", "no parts", "multipart/form-data; boundary=x")->status, 400);
    EXPECT_EQ(client_->Post("/upload", archive, "multipart/form-data")->status, 400);
    EXPECT_EQ(GetCode("/upload"), 404);
}

TEST_F(ShapeSearchTest, ArchivesThatHoldAnythingElseThanOneShapeAreRefused)
{
    const std::string shape = openhost::EncodeLvr(Rod());
    EXPECT_EQ(CodeOf(""), 400);
    EXPECT_EQ(CodeOf("no archive"), 400);
    EXPECT_EQ(CodeOf(shape), 400) << "a shape without an archive";
    EXPECT_EQ(CodeOf(ZipBytes().Bytes()), 400) << "empty";
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).Add("b.lvr", shape).Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).Add("readme.txt", "").Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.stl", shape).Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().AddDirectory("a.lvr/").Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", "no shape").Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr").Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).Bytes()), 200);
    EXPECT_EQ(CodeOf(ZipBytes().Add("../../a.lvr", shape).Bytes()), 200) << "no name is used as a path";
}

TEST_F(ShapeSearchTest, DamagedArchivesAreRefused)
{
    const std::string shape = openhost::EncodeLvr(Rod());
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).WithWrongChecksum().Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).Deflated().WithWrongChecksum().Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).Encrypted().Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).WithMethod(99).Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).Deflated().WithPackedData("rubbish").Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).AnnouncingSize(shape.size() - 12).Bytes()), 400);
    EXPECT_EQ(CodeOf(ZipBytes().Add("a.lvr", shape).BytesWithoutLast(10)), 400);
    EXPECT_EQ(CodeOf(ZipOf(Rod())), 200);
}

TEST_F(ShapeSearchTest, AnEntryThatUnpacksToMoreThanAShapeMayHaveIsRefused)
{
    const std::string archive = ZipBytes().Add("a.lvr", std::string(std::size_t{70} << 20, 'Z')).Deflated().Bytes();
    ASSERT_LT(archive.size(), std::size_t{1} << 20);
    const httplib::Result reply = Upload(archive);
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 400);
    EXPECT_THAT(reply->body, HasSubstr("too large"));
}

TEST_F(ShapeSearchTest, AShapeWithoutAreaIsRefused)
{
    openhost::LvrMesh line = Rod();
    line.triangles = {{0, 0, 1}};
    EXPECT_EQ(CodeOf(ZipOf(line)), 400);
}

TEST_F(ShapeSearchTest, ArchivesOfMoreThanTenMebibytesAreRefused)
{
    const std::size_t limit = std::size_t{10} << 20;
    openhost::LvrMesh mesh = Rod();
    const openhost::LvrMesh::Triangle triangle = mesh.triangles[0];
    mesh.triangles.resize((limit - 20'000) / sizeof(triangle), triangle);
    ZipBytes archive;
    archive.Add("a.lvr", openhost::EncodeLvr(mesh));
    const std::size_t missing = limit - archive.Bytes().size();
    EXPECT_EQ(CodeOf(archive.WithComment(std::string(missing, ' ')).Bytes()), 200);
    EXPECT_EQ(CodeOf(archive.WithComment(std::string(missing + 1, ' ')).Bytes()), 400);
    const httplib::Result reply = Upload(std::string(std::size_t{11} << 20, '\0'));
    ASSERT_TRUE(reply);
    EXPECT_EQ(reply->status, 413);
    EXPECT_THAT(Json::parse(reply->body).at("error"), HasSubstr("10485760"));
}

TEST_F(ShapeSearchTest, BodiesOfUnknownLengthAreNotRead)
{
    const std::string head = "POST /upload HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
                             "Content-Type: multipart/form-data; boundary=x\r\n";
    EXPECT_EQ(Exchange(head + "Transfer-Encoding: chunked\r\n\r\n").substr(0, 12), "HTTP/1.1 411");
    EXPECT_EQ(Exchange(head + "\r\n").substr(0, 12), "HTTP/1.1 411");
    EXPECT_EQ(Exchange(head + "Content-Length: 5\r\nContent-Encoding: gzip\r\n\r\n").substr(0, 12), "HTTP/1.1 415");
    EXPECT_EQ(Exchange("POST /items HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
                       "Transfer-Encoding: chunked\r\n\r\n")
                  .substr(0, 12),
              "HTTP/1.1 404");
}

TEST_F(ShapeSearchTest, ManyUploadsAtOnceAreAnsweredEach)
{
    const std::string archive = ZipOf(Rod());
    std::vector<std::thread> threads;
    std::array<int, 8> codes{};
    for (int& code : codes)
        threads.emplace_back([&archive, &code, this] {
            httplib::Client client("127.0.0.1", service_->GetPort());
            client.set_read_timeout(std::chrono::minutes(1));
            const auto reply = client.Post("/upload", httplib::MultipartFormDataItems{{"file", archive, "a.zip", ""}});
            code = reply ? reply->status : -1;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(codes, ::testing::Each(200));
}

} // namespace catalogue::testing
