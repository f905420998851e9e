#include "catalogue/items/ItemWriter.h"

#include "catalogue/items/Solid.h"
#include "catalogue/items/TemplateTable.h"
#include "catalogue/shapes/ShapeToken.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/lvr/LvrMesh.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <zip.h>

#include <fstream>
#include <iterator>

namespace catalogue::testing {

namespace {

using Json = nlohmann::json;

std::string ReadWhole(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// A catalogue of one item of each delivery.
Catalogue Small()
{
    openhost::CadDocument part;
    part.partNumber = "PART";
    part.geometry = openhost::EncodeShape(Box({0, 0, 0}, {10, 20, 5}));
    openhost::CadDocument product;
    product.kind = openhost::DocumentKind::Product;
    product.links = {"PART.ZALPart"};
    product.children = {{"PART.1", 0, openhost::IdentityPlacement},
                        {"PART.2", 0, {0, -1, 0, 0, 1, 0, 0, 100, 0, 0, 1, 0}}};

    Catalogue catalogue;
    AddTemplates(catalogue);
    catalogue.documents = {{"PART.ZALPart", part}, {"PAIR.ZALProduct", product}};
    catalogue.items = {
        {"raw", "A part", "Parts", "As it is", {{"l", 10}}, Delivery::Raw, "PART.ZALPart", {"PART.ZALPart"}},
        {"open", "A part too", "Parts", "In place", {}, Delivery::OpenInSource, "PART.ZALPart", {"PART.ZALPart"}},
        {"pair",
         "Two \"parts\"",
         "Assemblies",
         "Turned",
         {{"s", 6.8}},
         Delivery::Archive,
         "PAIR.ZALProduct",
         {"PART.ZALPart", "PAIR.ZALProduct"}},
    };
    return catalogue;
}

class Written : public ::testing::Test {
protected:
    Written() { WriteCatalogue(Small(), Folder()); }
    std::filesystem::path Folder() const { return folder_.Path() / "made" / "here"; }
    Json Request(const std::string& id) const { return Json::parse(ReadWhole(Folder() / "items" / (id + ".json"))); }

    openhost::TemporaryFolder folder_;
};

std::vector<std::string> EntryNames(zip_t* archive)
{
    std::vector<std::string> names;
    for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i)
        names.push_back(zip_get_name(archive, static_cast<zip_uint64_t>(i), 0));
    return names;
}

} // namespace

TEST_F(Written, ArchiveHoldsDocumentsInOrderBetweenSideFiles)
{
    zip_t* archive = zip_open((Folder() / "files" / "pair.zip").c_str(), ZIP_RDONLY, nullptr);
    ASSERT_TRUE(archive);
    EXPECT_EQ(EntryNames(archive), (std::vector<std::string>{"readme.txt", "PART.ZALPart", "PAIR.ZALProduct",
                                                             "licence.txt", "kr_metadata.csv"}));
    zip_discard(archive);
}

TEST_F(Written, TemplatesAreDocumentsWithRoomForAnItem)
{
    const openhost::CadDocument part = openhost::ReadDocument(Folder() / "files" / "templates" / PartTemplateName);
    EXPECT_EQ(part.kind, openhost::DocumentKind::Part);
    EXPECT_FALSE(part.geometry);
    EXPECT_EQ(part.parameters.at(0).name, "Title");
    EXPECT_EQ(part.cameras.size(), 1U);
    EXPECT_EQ(part.features.axisSystems.size(), 1U);
    const openhost::CadDocument product =
        openhost::ReadDocument(Folder() / "files" / "templates" / ProductTemplateName);
    EXPECT_EQ(product.kind, openhost::DocumentKind::Product);
    EXPECT_TRUE(product.children.empty());
    EXPECT_NE(product.description, "");
    EXPECT_EQ(product.cameras.size(), 1U);
}

TEST_F(Written, DocumentInTheArchiveIsTheDocument)
{
    zip_t* archive = zip_open((Folder() / "files" / "pair.zip").c_str(), ZIP_RDONLY, nullptr);
    ASSERT_TRUE(archive);
    zip_stat_t status;
    ASSERT_EQ(zip_stat(archive, "PAIR.ZALProduct", 0, &status), 0);
    std::string bytes(status.size, '\0');
    zip_file_t* file = zip_fopen(archive, "PAIR.ZALProduct", 0);
    ASSERT_EQ(zip_fread(file, bytes.data(), bytes.size()), static_cast<zip_int64_t>(bytes.size()));
    zip_fclose(file);
    zip_discard(archive);
    EXPECT_EQ(openhost::ParseDocument(bytes, "pair"), Small().documents.at("PAIR.ZALProduct"));
}

TEST_F(Written, RawItemIsTheDocumentItself)
{
    EXPECT_EQ(openhost::ReadDocument(Folder() / "files" / "PART.ZALPart"), Small().documents.at("PART.ZALPart"));
}

TEST_F(Written, RequestNamesTheDownloadUnderTheServicesAddress)
{
    const Json request = Request("pair");
    EXPECT_EQ(request["id"], "pair");
    EXPECT_EQ(request["downloadUrl"], "${BASE}/files/pair.zip");
    EXPECT_EQ(request["attributes"]["downloadUrls"]["ZALOR_RAW"], "${BASE}/files/pair.zip");
    EXPECT_EQ(request["attributes"]["fileName"], "PAIR");
    EXPECT_EQ(request["attributes"]["name"], "Two \"parts\"");
    EXPECT_EQ(request["attributes"]["dimensions"]["s"], 6.8);
    EXPECT_TRUE(request["attributes"]["catalog"].contains("name"));
    EXPECT_FALSE(request["attributes"]["catalog"].contains("configOpeningBehaviour"));
    EXPECT_FALSE(request["attributes"].contains("sourceUrl"));
}

TEST_F(Written, ItemOpenedInPlaceNamesItsFile)
{
    const Json attributes = Request("open")["attributes"];
    EXPECT_EQ(attributes["catalog"]["configOpeningBehaviour"], "openInSource");
    EXPECT_EQ(attributes["sourceUrl"], "file://${FILES}/PART.ZALPart");
}

TEST_F(Written, IndexListsEveryItemWithVolumeAndBoxOfAllItsInstances)
{
    const Json index = Json::parse(ReadWhole(Folder() / "index.json"));
    ASSERT_EQ(index.size(), 3U);
    EXPECT_EQ(index[0]["kind"], "part");
    EXPECT_EQ(index[0]["file"], "raw.zip");
    EXPECT_EQ(index[2]["kind"], "assembly");
    EXPECT_EQ(index[2]["file"], "pair.zip");
    EXPECT_EQ(index[2]["volume"], 2000.0);
    EXPECT_EQ(index[2]["boundingBox"]["lowest"], (Json{-20.0, 0.0, 0.0}));
    EXPECT_EQ(index[2]["boundingBox"]["highest"], (Json{10.0, 110.0, 5.0}));
    EXPECT_EQ(index[2]["documents"], (Json{"PART.ZALPart", "PAIR.ZALProduct"}));
}

TEST_F(Written, EachItemHasItsPictureAndTheIndexNamesIt)
{
    const Json index = Json::parse(ReadWhole(Folder() / "index.json"));
    for (const Json& item : index) {
        const std::string id = item["id"];
        EXPECT_EQ(item["picture"], "/items/" + id + "/picture");
        const std::string png = ReadWhole(Folder() / "pictures" / (id + ".png"));
        EXPECT_EQ(png.substr(0, 24), std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\1\x40\0\0\0\xF0", 24)) << id;
    }
    EXPECT_NE(ReadWhole(Folder() / "pictures" / "pair.png"), ReadWhole(Folder() / "pictures" / "raw.png"));
}

TEST_F(Written, WritingAgainGivesTheSameBytes)
{
    const openhost::TemporaryFolder other;
    WriteCatalogue(Small(), other.Path());
    WriteCatalogue(Small(), other.Path());
    for (const char* name : {"index.json", "items/pair.json", "files/pair.zip", "pictures/pair.png",
                             "files/PART.ZALPart", "shapes/pair.lvr"})
        EXPECT_EQ(ReadWhole(other.Path() / name), ReadWhole(Folder() / name)) << name;
}

TEST(ItemWriter, DocumentThatIsMissingOrCannotBeDrawnIsAnError)
{
    const openhost::TemporaryFolder folder;
    Catalogue catalogue = Small();
    catalogue.documents.at("PAIR.ZALProduct").links = {"GONE.ZALPart"};
    EXPECT_THROW(WriteCatalogue(catalogue, folder.Path()), std::runtime_error);
    catalogue = Small();
    catalogue.documents.at("PART.ZALPart").geometry->boundary = "no shape";
    EXPECT_THROW(WriteCatalogue(catalogue, folder.Path()), std::runtime_error);
}

TEST(ItemWriter, FolderThatCannotBeMadeIsAnError)
{
    const openhost::TemporaryFolder folder;
    std::ofstream(folder.Path() / "file") << "in the way";
    EXPECT_THROW(WriteCatalogue(Small(), folder.Path() / "file"), std::runtime_error);
}

TEST_F(Written, LightRepresentationHoldsEachPartInItsPlace)
{
    const openhost::LvrMesh raw = openhost::ReadLvr(Folder() / "shapes" / "raw.lvr");
    const openhost::LvrMesh pair = openhost::ReadLvr(Folder() / "shapes" / "pair.lvr");
    EXPECT_EQ(openhost::BoxOf(raw), (openhost::Box{{0, 0, 0}, {10, 20, 5}}));
    EXPECT_EQ(openhost::BoxOf(pair), (openhost::Box{{-20, 0, 0}, {10, 110, 5}}));
    EXPECT_EQ(pair.triangles.size(), 2 * raw.triangles.size());
}

TEST_F(Written, IndexHoldsTheShapeOfEachItem)
{
    for (const Json& item : Json::parse(ReadWhole(Folder() / "index.json"))) {
        const ShapeDescriptor shape = DecodeShapeToken(item.at("shape").get<std::string>());
        const openhost::LvrMesh mesh =
            openhost::ReadLvr(Folder() / "shapes" / (item.at("id").get<std::string>() + ".lvr"));
        EXPECT_LT(ShapeDistance(shape, DescribeShape(mesh)), 1e-3) << item.at("id");
    }
}

} // namespace catalogue::testing
