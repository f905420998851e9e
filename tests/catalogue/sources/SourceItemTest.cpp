#include "catalogue/sources/SourceItem.h"

#include "catalogue/items/ItemFolders.h"
#include "openhost/exchange/StepExport.h"
#include "tests/openhost/files/OpenedArchive.h"
#include "tests/support/Files.h"
#include "tests/support/SolidDocuments.h"

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>

namespace catalogue::testing {

namespace {

using openhost::testing::ReadFile;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using Json = nlohmann::ordered_json;

class MadeItem : public ::testing::Test {
protected:
    SourceAnswer Make(const std::string& file) const
    {
        std::filesystem::create_directories(Output());
        return MakeItem({documents_.Path(file), Output(), "the-id", "folder/" + file, "Some / folder", "My parts"});
    }
    std::string Failure(const std::string& file) const
    {
        try {
            Make(file);
            return {};
        } catch (const std::exception& error) {
            return error.what();
        }
    }
    void ExportStep(const std::string& document, const std::string& file) const
    {
        openhost::ExportStep(documents_.Path(document), documents_.Path(file), {}, [](const std::string&) {});
    }
    std::filesystem::path Output() const { return documents_.Path("output"); }
    std::filesystem::path FileOf(const std::string& folder) const
    {
        return Output() / folder / ItemFileName(folder, "the-id");
    }
    std::vector<std::string> ArchiveNames() const
    {
        std::vector<std::string> names;
        const openhost::testing::OpenedArchive archive(ReadFile(FileOf("files")));
        for (const auto& [name, content] : archive.Entries())
            names.push_back(name);
        return names;
    }

    openhost::testing::SolidDocuments documents_;
};

} // namespace

TEST_F(MadeItem, OfAPartTellsWhatItIs)
{
    documents_.Box("BLOCK.ZALPart", "Block 10", {0, 0, 0}, {10, 40, 20});
    const Json entry = Make("BLOCK.ZALPart").entry;
    EXPECT_EQ("the-id", entry["id"]);
    EXPECT_EQ("Block 10", entry["title"]);
    EXPECT_EQ("Some / folder", entry["category"]);
    EXPECT_EQ("folder/BLOCK.ZALPart", entry["description"]);
    EXPECT_EQ("part", entry["kind"]);
    EXPECT_EQ("the-id.zip", entry["file"]);
    EXPECT_EQ((Json{{"l", 40.0}, {"b", 20.0}, {"h", 10.0}}), entry["dimensions"]);
    EXPECT_EQ(8000.0, entry["volume"]);
    EXPECT_EQ(2 * (400.0 + 200.0 + 800.0), entry["area"]);
    EXPECT_EQ((Json{5.0, 20.0, 10.0}), entry["centerOfMass"]);
    EXPECT_NE("", entry["shape"]);
}

TEST_F(MadeItem, HasAFileInEachFolderAndNothingElse)
{
    documents_.Box("BLOCK.ZALPart", "Block", {0, 0, 0}, {10, 40, 20});
    Make("BLOCK.ZALPart");
    EXPECT_THAT(openhost::testing::FilesBelow(Output()),
                ElementsAre("files/the-id.zip", "items/the-id.json", "pictures/the-id.png", "shapes/the-id.lvr"));
    const Json request = Json::parse(ReadFile(FileOf("items")));
    EXPECT_EQ("My parts", request["attributes"]["catalog"]["name"]);
    EXPECT_EQ("${BASE}/files/the-id.zip", request["downloadUrl"]);
    EXPECT_THAT(ArchiveNames(), ElementsAre("readme.txt", "BLOCK.ZALPart", "licence.txt", "kr_metadata.csv"));
}

TEST_F(MadeItem, OfStepIsThatOfItsDocuments)
{
    documents_.Box("BLOCK.ZALPart", "Block", {0, 0, 0}, {10, 40, 20});
    documents_.Product(
        "PAIR.ZALProduct", "Pair",
        {{"Block.1", "BLOCK.ZALPart"}, {"Block.2", "BLOCK.ZALPart", {1, 0, 0, 100, 0, 1, 0, 0, 0, 0, 1, 0}}});
    ExportStep("PAIR.ZALProduct", "pair.step");
    const SourceAnswer answer = Make("pair.step");
    EXPECT_EQ("Pair", answer.entry["title"]);
    EXPECT_EQ("assembly", answer.entry["kind"]);
    EXPECT_NEAR(16000, answer.entry["volume"].get<double>(), 1e-3);
    EXPECT_NEAR(55, answer.entry["centerOfMass"][0].get<double>(), 1e-3);
    EXPECT_EQ((Json{{{"name", "Block"}, {"count", 2}}}), answer.entry["parts"]);
    EXPECT_THAT(ArchiveNames(),
                ElementsAre("readme.txt", "Block.ZALPart", "Pair.ZALProduct", "licence.txt", "kr_metadata.csv"));
    EXPECT_THAT(answer.files, ElementsAre(documents_.Path("pair.step")));
}

TEST_F(MadeItem, OfAProductHoldsAllThatItRefersTo)
{
    documents_.Box("below/BLOCK.ZALPart", "Block", {0, 0, 0}, {10, 40, 20});
    documents_.Product("INNER.ZALProduct", "Inner", {{"Block.1", "below/BLOCK.ZALPart"}});
    documents_.Product("OUTER.ZALProduct", "Outer", {{"Inner.1", "INNER.ZALProduct"}, {"Inner.2", "INNER.ZALProduct"}});
    const SourceAnswer answer = Make("OUTER.ZALProduct");
    EXPECT_THAT(answer.files, ElementsAre(documents_.Path("OUTER.ZALProduct"), documents_.Path("INNER.ZALProduct"),
                                          documents_.Path("below/BLOCK.ZALPart")));
    EXPECT_THAT(ArchiveNames(), ElementsAre("readme.txt", "BLOCK.ZALPart", "INNER.ZALProduct", "OUTER.ZALProduct",
                                            "licence.txt", "kr_metadata.csv"));
    const openhost::testing::OpenedArchive archive(ReadFile(FileOf("files")));
    EXPECT_THAT(openhost::ParseDocument(archive.Read(2), "inner").links, ElementsAre("BLOCK.ZALPart"))
        << "the archive has no folders";
}

TEST_F(MadeItem, IsNotMadeOfAProductThatIsNotWhole)
{
    documents_.Product("P.ZALProduct", "P", {{"Gone.1", "GONE.ZALPart"}});
    EXPECT_EQ("P.ZALProduct: GONE.ZALPart is missing", Failure("P.ZALProduct"));
}

TEST_F(MadeItem, IsNotMadeOfWhatLiesOutsideOfTheFolder)
{
    documents_.Box("BLOCK.ZALPart", "Block", {0, 0, 0}, {10, 40, 20});
    documents_.Product("inner/P.ZALProduct", "P", {{"Block.1", "../BLOCK.ZALPart"}});
    EXPECT_EQ("P.ZALProduct: ../BLOCK.ZALPart lies outside of its folder", Failure("inner/P.ZALProduct"));
    documents_.Product("inner/Q.ZALProduct", "Q", {{"Block.1", documents_.Path("BLOCK.ZALPart").string()}});
    EXPECT_THAT(Failure("inner/Q.ZALProduct"), HasSubstr("lies outside of its folder"));
}

TEST_F(MadeItem, IsNotMadeOfACircle)
{
    documents_.Product("A.ZALProduct", "A", {{"B.1", "B.ZALProduct"}});
    documents_.Product("B.ZALProduct", "B", {{"A.1", "A.ZALProduct"}});
    EXPECT_EQ("A.ZALProduct: the document is a part of itself", Failure("A.ZALProduct"));
}

TEST_F(MadeItem, IsNotMadeOfTwoDocumentsOfOneName)
{
    documents_.Box("X.ZALPart", "X", {0, 0, 0}, {1, 1, 1});
    documents_.Box("below/X.ZALPart", "Y", {0, 0, 0}, {2, 2, 2});
    documents_.Product("below/P.ZALProduct", "P", {{"X.1", "X.ZALPart"}});
    documents_.Product("Q.ZALProduct", "Q", {{"X.1", "X.ZALPart"}, {"P.1", "below/P.ZALProduct"}});
    EXPECT_EQ("X.ZALPart: two different documents have this name", Failure("Q.ZALProduct"));
}

TEST_F(MadeItem, IsNotMadeOfATreeWithoutEnd)
{
    documents_.Box("L0.ZALPart", "L0", {0, 0, 0}, {1, 1, 1});
    std::string below = "L0.ZALPart";
    for (int level = 1; level <= 20; ++level) {
        const std::string name = "L" + std::to_string(level) + ".ZALProduct";
        documents_.Product(name, name, {{"a", below}, {"b", below}});
        below = name;
    }
    EXPECT_THAT(Failure("L20.ZALProduct"), HasSubstr("has more than 100000 instances"));
    EXPECT_EQ("", Failure("L8.ZALProduct"));
}

TEST_F(MadeItem, IsNotMadeWithoutASurface)
{
    documents_.Product("EMPTY.ZALProduct", "Empty", {});
    EXPECT_EQ("it has no surface", Failure("EMPTY.ZALProduct"));
    openhost::CadDocument wire;
    wire.partNumber = "WIRE";
    wire.geometry = openhost::DocumentGeometry{
        {}, openhost::EncodeBoundary(BRepBuilderAPI_MakeEdge(gp_Pnt(0, 0, 0), gp_Pnt(9, 0, 0)).Shape())};
    openhost::WriteDocument(wire, documents_.Path("WIRE.ZALPart"));
    EXPECT_EQ("it has no surface", Failure("WIRE.ZALPart"));
}

TEST_F(MadeItem, OfSomethingDamagedIsAnError)
{
    openhost::testing::WriteBytes(documents_.Path("bad.step"), "ISO-10303-21;");
    openhost::testing::WriteBytes(documents_.Path("bad.ZALPart"), "no document");
    EXPECT_NE("", Failure("bad.step"));
    EXPECT_NE("", Failure("bad.ZALPart"));
}

} // namespace catalogue::testing
