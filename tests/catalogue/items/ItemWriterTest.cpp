#include "catalogue/items/ItemWriter.h"

#include "catalogue/items/Solid.h"
#include "catalogue/items/TemplateTable.h"
#include "catalogue/shapes/ShapeToken.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/lvr/LvrMesh.h"
#include "tests/openhost/files/OpenedArchive.h"
#include "tests/support/WriteItems.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <fstream>
#include <iterator>

namespace catalogue::testing {

namespace {

using Json = nlohmann::ordered_json;

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
    std::vector<Json> Entries() const { return ReadItems(Folder()); }
    Json Request(const std::string& id) const { return Json::parse(ReadWhole(Folder() / "items" / (id + ".json"))); }

    openhost::TemporaryFolder folder_;
};

} // namespace

TEST_F(Written, ArchiveHoldsDocumentsInOrderBetweenSideFiles)
{
    const openhost::testing::OpenedArchive archive(ReadWhole(Folder() / "files" / "pair.zip"));
    std::vector<std::string> names;
    for (const auto& [name, content] : archive.Entries())
        names.push_back(name);
    EXPECT_EQ(
        (std::vector<std::string>{"readme.txt", "PART.ZALPart", "PAIR.ZALProduct", "licence.txt", "kr_metadata.csv"}),
        names);
    EXPECT_EQ(Small().documents.at("PAIR.ZALProduct"), openhost::ParseDocument(archive.Read(2), "pair"));
}

TEST_F(Written, RawItemIsTheDocumentItself)
{
    EXPECT_EQ(Small().documents.at("PART.ZALPart"), openhost::ReadDocument(Folder() / "files" / "PART.ZALPart"));
}

TEST_F(Written, TemplatesAreDocumentsWithRoomForAnItem)
{
    const openhost::CadDocument part = openhost::ReadDocument(Folder() / "files" / "templates" / PartTemplateName);
    EXPECT_EQ(openhost::DocumentKind::Part, part.kind);
    EXPECT_FALSE(part.geometry);
    EXPECT_EQ("Title", part.parameters.at(0).name);
    EXPECT_EQ(1U, part.cameras.size());
    EXPECT_EQ(1U, part.features.axisSystems.size());
    const openhost::CadDocument product =
        openhost::ReadDocument(Folder() / "files" / "templates" / ProductTemplateName);
    EXPECT_EQ(openhost::DocumentKind::Product, product.kind);
    EXPECT_TRUE(product.children.empty());
    EXPECT_NE("", product.description);
    EXPECT_EQ(1U, product.cameras.size());
}

TEST_F(Written, RequestNamesTheDownloadUnderTheServicesAddress)
{
    const Json request = Request("pair");
    const Json attributes = request["attributes"];
    EXPECT_EQ("pair", request["id"]);
    EXPECT_EQ("${BASE}/files/pair.zip", request["downloadUrl"]);
    EXPECT_EQ("${BASE}/files/pair.zip", attributes["downloadUrls"]["ZALOR_RAW"]);
    EXPECT_EQ("PAIR", attributes["fileName"]);
    EXPECT_EQ("Two \"parts\"", attributes["name"]);
    EXPECT_EQ(6.8, attributes["dimensions"]["s"]);
    EXPECT_TRUE(attributes["catalog"].contains("name"));
    EXPECT_FALSE(attributes["catalog"].contains("configOpeningBehaviour"));
    EXPECT_FALSE(attributes.contains("sourceUrl"));

    const Json inPlace = Request("open")["attributes"];
    EXPECT_EQ("openInSource", inPlace["catalog"]["configOpeningBehaviour"]);
    EXPECT_EQ("file://${FILES}/PART.ZALPart", inPlace["sourceUrl"]);
}

TEST_F(Written, IndexListsEveryItemWithVolumeAndBoxOfAllItsInstances)
{
    const std::vector<Json> entries = Entries();
    ASSERT_EQ(3U, entries.size());
    EXPECT_EQ("part", entries[0]["kind"]);
    EXPECT_EQ("raw.zip", entries[0]["file"]);
    EXPECT_EQ("assembly", entries[2]["kind"]);
    EXPECT_EQ("pair.zip", entries[2]["file"]);
    EXPECT_EQ(2000.0, entries[2]["volume"]);
    EXPECT_EQ((Json{-20.0, 0.0, 0.0}), entries[2]["boundingBox"]["lowest"]);
    EXPECT_EQ((Json{10.0, 110.0, 5.0}), entries[2]["boundingBox"]["highest"]);
    EXPECT_EQ((Json{"PART.ZALPart", "PAIR.ZALProduct"}), entries[2]["documents"]);
    EXPECT_EQ(Json::array(), entries[0]["parts"]);
    EXPECT_EQ((Json{{{"name", "A part"}, {"count", 2}, {"id", "raw"}}}), entries[2]["parts"]);
}

TEST(ItemWriter, PartsOfAProductThatIsNoItemCountForTheWhole)
{
    Catalogue catalogue = Small();
    openhost::CadDocument pin = catalogue.documents.at("PART.ZALPart");
    pin.nomenclature = "Pin";
    openhost::CadDocument inner = catalogue.documents.at("PAIR.ZALProduct");
    inner.links = {"PART.ZALPart", "PIN.ZALPart"};
    inner.children.push_back({"PIN.1", 1, openhost::IdentityPlacement});
    openhost::CadDocument whole = catalogue.documents.at("PAIR.ZALProduct");
    whole.links = {"INNER.ZALProduct", "PAIR.ZALProduct"};
    whole.children = {{"INNER.1", 0, openhost::IdentityPlacement},
                      {"INNER.2", 0, openhost::IdentityPlacement},
                      {"PAIR.1", 1, openhost::IdentityPlacement}};
    catalogue.documents["PIN.ZALPart"] = pin;
    catalogue.documents["INNER.ZALProduct"] = inner;
    catalogue.documents["WHOLE.ZALProduct"] = whole;
    Item item = catalogue.items.back();
    item.id = "whole";
    item.root = "WHOLE.ZALProduct";
    catalogue.items.push_back(item);

    const openhost::TemporaryFolder folder;
    WriteCatalogue(catalogue, folder.Path());
    EXPECT_EQ((Json{{{"name", "A part"}, {"count", 4}, {"id", "raw"}},
                    {{"name", "Pin"}, {"count", 2}},
                    {{"name", "Two \"parts\""}, {"count", 1}, {"id", "pair"}}}),
              ReadItems(folder.Path()).back()["parts"]);
}

TEST_F(Written, EachItemHasItsPictureAndItsEntryNamesIt)
{
    const std::vector<Json> entries = Entries();
    for (const Json& item : entries) {
        const std::string id = item["id"];
        EXPECT_EQ("/items/" + id + "/picture", item["picture"]);
        const std::string png = ReadWhole(Folder() / "pictures" / (id + ".png"));
        EXPECT_EQ(std::string("\x89PNG\r\n\x1A\n\0\0\0\rIHDR\0\0\1\x40\0\0\0\xF0", 24), png.substr(0, 24)) << id;
    }
    EXPECT_NE(ReadWhole(Folder() / "pictures" / "pair.png"), ReadWhole(Folder() / "pictures" / "raw.png"));
}

TEST_F(Written, WritingAgainGivesTheSameBytes)
{
    const openhost::TemporaryFolder other;
    WriteCatalogue(Small(), other.Path());
    WriteCatalogue(Small(), other.Path());
    for (const char* name : {"items.sqlite", "items/pair.json", "files/pair.zip", "pictures/pair.png",
                             "files/PART.ZALPart", "shapes/pair.lvr"})
        EXPECT_EQ(ReadWhole(other.Path() / name), ReadWhole(Folder() / name)) << name;
}

TEST(ItemWriter, DocumentOrFolderThatCannotBeUsedIsAnError)
{
    const openhost::TemporaryFolder folder;
    Catalogue missing = Small();
    missing.documents.at("PAIR.ZALProduct").links = {"GONE.ZALPart"};
    EXPECT_THROW(WriteCatalogue(missing, folder.Path()), std::runtime_error);
    Catalogue undrawn = Small();
    undrawn.documents.at("PART.ZALPart").geometry->boundary = "no shape";
    EXPECT_THROW(WriteCatalogue(undrawn, folder.Path()), std::runtime_error);
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

TEST_F(Written, EntriesHoldTheShapeOfEachItem)
{
    for (const Json& item : Entries()) {
        const ShapeDescriptor shape = DecodeShapeToken(item.at("shape").get<std::string>());
        const openhost::LvrMesh mesh =
            openhost::ReadLvr(Folder() / "shapes" / (item.at("id").get<std::string>() + ".lvr"));
        EXPECT_LT(ShapeDistance(shape, DescribeShape(mesh)), 1e-3) << item.at("id");
    }
}

} // namespace catalogue::testing
