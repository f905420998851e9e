// Upload and search by shape over HTTP.

#include "ServiceTest.h"

#include "catalogue/service/UploadedShape.h"
#include "catalogue/shapes/ShapeToken.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/catalogue/shapes/TestShapes.h"
#include "tests/support/ZipBytes.h"

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <thread>

namespace catalogue::testing {

using Json = nlohmann::ordered_json;
using openhost::testing::ZipBytes;
using ::testing::HasSubstr;
using ::testing::Not;

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
        service_.reset();
        WriteItems(root_, {{{"id", "box"}, {"shape", TokenOf(BoxMesh(1, 2, 3))}},
                           {{"id", "rod"}, {"address", "${BASE}/items/rod"}, {"shape", TokenOf(Rod())}},
                           {{"id", "shapeless"}},
                           {{"id", "damaged"}, {"shape", "no token"}},
                           {{"id", "number"}, {"shape", 7}},
                           {{"id", "large-rod"}, {"shape", TokenOf(Scaled(Rod(), 3))}}});
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
    EXPECT_EQ(200, upload->status);
    EXPECT_EQ("application/json", upload->get_header_value("Content-Type"));
    const std::string query = Json::parse(upload->body).at("data").at("query");

    const httplib::Response search = Fetch("/search?query=" + query);
    EXPECT_EQ(200, search.status);
    EXPECT_EQ((std::vector<std::string>{"rod", "large-rod", "box"}), IdsOf(search.body));
}

TEST_F(ShapeSearchTest, ResultsAreTheEntriesOfTheIndexWithAScore)
{
    const httplib::Response search = Fetch("/search?query=" + TokenOf(Rod()));
    const Json results = Json::parse(search.body);
    EXPECT_EQ((Json{{"id", "rod"}, {"address", service_->GetAddress() + "/items/rod"}, {"score", 1.0}}), results.at(0));
    double before = 1;
    for (const Json& item : results) {
        EXPECT_LE(item.at("score"), before);
        EXPECT_GT(item.at("score"), 0);
        before = item.at("score");
    }
}

TEST_F(ShapeSearchTest, GivesAsManyResultsAsAreAskedFor)
{
    const std::string query = "/search?query=" + TokenOf(Rod());
    EXPECT_EQ((std::vector<std::string>{"rod"}), IdsOf(Fetch(query + "&count=1").body));
    EXPECT_EQ(3U, IdsOf(Fetch(query + "&count=1000").body).size());
    for (const char* count : {"0", "1001", "x", "", "1&count=2"})
        EXPECT_EQ(400, GetCode(query + "&count=" + count)) << count;
}

TEST_F(ShapeSearchTest, AQueryOutlivesTheService)
{
    const std::string query = Json::parse(Upload(ZipOf(Rod()))->body).at("data").at("query");
    CatalogueService second(root_);
    second.Start();
    const httplib::Result search =
        httplib::Client("127.0.0.1", second.GetPort()).Get(("/search?query=" + query).c_str());
    ASSERT_TRUE(search);
    EXPECT_EQ("rod", IdsOf(search->body).front());
}

TEST_F(ShapeSearchTest, SearchesWithoutAValidQueryAreRefused)
{
    const std::string query = TokenOf(Rod());
    for (const std::string& path :
         {std::string("/search"), std::string("/search?query="), "/search?query=" + query + "A",
          "/search?query=" + query + "&query=A", "/search?other=" + query, "/search?query=" + query.substr(1) + "%00",
          "/search?query=" + std::string(5000, 'A')})
        EXPECT_EQ(400, GetCode(path)) << path;
}

TEST_F(ShapeSearchTest, ACatalogueWithoutShapesFindsNothing)
{
    const openhost::TemporaryFolder folder;
    WriteItems(folder.Path(), {{{"id", "shapeless"}}});
    CatalogueService service(folder.Path());
    service.Start();
    httplib::Client client("127.0.0.1", service.GetPort());
    EXPECT_EQ("[]\n", Whole(client.Get(("/search?query=" + TokenOf(Rod())).c_str())).body);
}

TEST_F(ShapeSearchTest, AnotherFormThanOneWithOneFileIsRefused)
{
    const std::string archive = ZipOf(Rod());
    EXPECT_EQ(400, Upload(archive, "other")->status);
    EXPECT_EQ(400, client_
                       ->Post("/upload", httplib::MultipartFormDataItems{{"file", archive, "a.zip", ""},
                                                                         {"file", archive, "b.zip", ""}})
                       ->status);
    EXPECT_EQ(400, client_->Post("/upload", archive, "application/zip")->status);
    EXPECT_EQ(400, client_->Post("/upload", "no parts", "multipart/form-data; boundary=x")->status);
    EXPECT_EQ(400, client_->Post("/upload", archive, "multipart/form-data")->status);
    EXPECT_EQ(404, GetCode("/upload"));
}

TEST_F(ShapeSearchTest, ArchivesThatHoldAnythingElseThanOneShapeAreRefused)
{
    const std::string shape = openhost::EncodeLvr(Rod());
    openhost::LvrMesh line = Rod();
    line.triangles = {{0, 0, 1}};
    const std::pair<const char*, std::string> refused[] = {
        {"nothing", ""},
        {"no archive", "no archive"},
        {"a shape without an archive", shape},
        {"empty", ZipBytes().Bytes()},
        {"two shapes", ZipBytes().Add("a.lvr", shape).Add("b.lvr", shape).Bytes()},
        {"another file", ZipBytes().Add("a.lvr", shape).Add("readme.txt", "").Bytes()},
        {"another extension", ZipBytes().Add("a.stl", shape).Bytes()},
        {"a folder", ZipBytes().AddDirectory("a.lvr/").Bytes()},
        {"no shape", ZipBytes().Add("a.lvr", "no shape").Bytes()},
        {"an empty file", ZipBytes().Add("a.lvr").Bytes()},
        {"no area", ZipOf(line)},
        {"wrong checksum", ZipBytes().Add("a.lvr", shape).WithWrongChecksum().Bytes()},
        {"wrong checksum, deflated", ZipBytes().Add("a.lvr", shape).Deflated().WithWrongChecksum().Bytes()},
        {"encrypted", ZipBytes().Add("a.lvr", shape).Encrypted().Bytes()},
        {"unknown method", ZipBytes().Add("a.lvr", shape).WithMethod(99).Bytes()},
        {"rubbish", ZipBytes().Add("a.lvr", shape).Deflated().WithPackedData("rubbish").Bytes()},
        {"more than announced", ZipBytes().Add("a.lvr", shape).AnnouncingSize(shape.size() - 12).Bytes()},
        {"cut off", ZipBytes().Add("a.lvr", shape).BytesWithoutLast(10)}};
    for (const auto& [what, archive] : refused)
        EXPECT_EQ(400, CodeOf(archive)) << what;
    EXPECT_EQ(200, CodeOf(ZipOf(Rod())));
    EXPECT_EQ(200, CodeOf(ZipBytes().Add("a.lvr", shape).Bytes()));
    EXPECT_EQ(200, CodeOf(ZipBytes().Add("../../a.lvr", shape).Bytes())) << "no name is used as a path";
}

TEST_F(ShapeSearchTest, AnEntryThatUnpacksToMoreThanAShapeMayHaveIsRefused)
{
    std::string shape(MaximumUploadedShapeSize, 'Z');
    EXPECT_THAT(Whole(Upload(ZipBytes().Add("a.lvr", shape).Deflated().Bytes())).body, Not(HasSubstr("too large")));
    shape += 'Z';
    const std::string archive = ZipBytes().Add("a.lvr", shape).Deflated().Bytes();
    ASSERT_LT(archive.size(), std::size_t{1} << 20);
    const httplib::Response reply = Whole(Upload(archive));
    EXPECT_EQ(400, reply.status);
    EXPECT_THAT(reply.body, HasSubstr("too large"));
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
    EXPECT_EQ(200, CodeOf(archive.WithComment(std::string(missing, ' ')).Bytes()));
    EXPECT_EQ(400, CodeOf(archive.WithComment(std::string(missing + 1, ' ')).Bytes()));
    const httplib::Response reply = Whole(Upload(std::string(std::size_t{11} << 20, '\0')));
    EXPECT_EQ(413, reply.status);
    EXPECT_THAT(Json::parse(reply.body).at("error"), HasSubstr("10485760"));
}

TEST_F(ShapeSearchTest, BodiesOfUnknownLengthAreNotRead)
{
    const std::string head = "POST /upload HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
                             "Content-Type: multipart/form-data; boundary=x\r\n";
    EXPECT_EQ("HTTP/1.1 411", Exchange(head + "Transfer-Encoding: chunked\r\n\r\n").substr(0, 12));
    EXPECT_EQ("HTTP/1.1 411", Exchange(head + "\r\n").substr(0, 12));
    EXPECT_EQ("HTTP/1.1 415", Exchange(head + "Content-Length: 5\r\nContent-Encoding: gzip\r\n\r\n").substr(0, 12));
    EXPECT_EQ("HTTP/1.1 404", Exchange("POST /items HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n"
                                       "Transfer-Encoding: chunked\r\n\r\n")
                                  .substr(0, 12));
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
