#include "openhost/exchange/StepExport.h"

#include "tests/support/SolidDocuments.h"
#include "tests/support/StepFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <BRepBuilderAPI_Transform.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRep_Builder.hxx>
#include <TopoDS_Compound.hxx>
#include <gp_Ax1.hxx>
#include <gp_Trsf.hxx>

#include <cmath>
#include <fstream>
#include <numbers>
#include <sstream>

#include <unistd.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// A quarter turn about z and a shift; its inverse is another placement, so that a transposed one shows.
constexpr Placement QuarterTurn{0, -1, 0, 100, 1, 0, 0, 20, 0, 0, 1, -7.25};
constexpr Placement Shifted{1, 0, 0, 1.5, 0, 1, 0, 2.5, 0, 0, 1, 3.5};

const StepAuthor Author{"Jo Müller", "Works '42'"};

class StepExport : public ::testing::Test {
protected:
    StepFile Export(const std::string& fileName)
    {
        ExportStep(documents_.Path(fileName), Output(), Author,
                   [this](const std::string& line) { warnings_.push_back(line); });
        return StepFile(Output());
    }

    template <typename Error>
    void ExpectRefused(const std::string& fileName, const std::string& reason)
    {
        const std::size_t files = documents_.Files();
        try {
            Export(fileName);
            ADD_FAILURE() << "was exported";
        } catch (const Error& error) {
            EXPECT_THAT(error.what(), HasSubstr(reason));
        }
        EXPECT_EQ(documents_.Files(), files);
    }

    std::filesystem::path Output() const { return documents_.Path("out.step"); }

    std::string ReadOutput() const
    {
        std::ostringstream content;
        content << std::ifstream(Output(), std::ios::binary).rdbuf();
        return content.str();
    }

    static void ExpectNear(const Placement& found, const Placement& expected)
    {
        for (std::size_t i = 0; i < 12; ++i)
            EXPECT_NEAR(found[i], expected[i], 1e-12) << i;
    }

    SolidDocuments documents_;
    std::vector<std::string> warnings_;
};

} // namespace

TEST_F(StepExport, PartIsOneProductWithItsSolid)
{
    documents_.Box("block.ZALPart", "BLOCK-1", {1, 2, 3}, {11, 22, 8});
    const StepFile file = Export("block.ZALPart");
    EXPECT_EQ("BLOCK-1", file.root);
    EXPECT_EQ(1U, file.solids);
    EXPECT_NEAR(file.volume, 1000, 1e-6);
    EXPECT_EQ(1U, file.products);
    EXPECT_THAT(file.instances, IsEmpty());
    EXPECT_THAT(warnings_, IsEmpty());
}

TEST_F(StepExport, FileIsStepInMillimetresOfAP214)
{
    documents_.Box("block.ZALPart", "BLOCK-1", {0, 0, 0}, {1, 1, 1});
    Export("block.ZALPart");
    const std::string text = ReadOutput();
    EXPECT_TRUE(text.starts_with("ISO-10303-21;\n"));
    EXPECT_THAT(text, HasSubstr("FILE_SCHEMA(('AUTOMOTIVE_DESIGN"));
    EXPECT_THAT(text, HasSubstr("SI_UNIT(.MILLI.,.METRE.)"));
    EXPECT_THAT(text, HasSubstr("FILE_NAME('out.step'"));
    EXPECT_THAT(text, HasSubstr("('Jo M\\X2\\00FC\\X0\\ller')"));
    EXPECT_THAT(text, HasSubstr("'Works ''42'''),"));
    EXPECT_THAT(text, HasSubstr("'openhost "));
    EXPECT_THAT(text, ::testing::Not(HasSubstr("Unknown")));
    EXPECT_TRUE(text.ends_with("END-ISO-10303-21;\n"));
}

TEST_F(StepExport, InstancesOfADocumentShareItsProduct)
{
    documents_.Box("block.ZALPart", "BLOCK-1", {0, 0, 0}, {10, 20, 5});
    documents_.Product("pair.ZALProduct", "PAIR",
                       {{"left", "block.ZALPart", Shifted}, {"right", "block.ZALPart", QuarterTurn}});
    const StepFile file = Export("pair.ZALProduct");
    EXPECT_EQ("PAIR", file.root);
    EXPECT_EQ(2U, file.products);
    EXPECT_EQ(2U, file.solids);
    EXPECT_NEAR(file.volume, 2000, 1e-6);
    ASSERT_EQ(2U, file.instances.size());
    EXPECT_EQ("BLOCK-1", file.Find("left").product);
    EXPECT_EQ(file.Find("left").productNumber, file.Find("right").productNumber);
    EXPECT_NEAR(file.Find("right").volume, 1000, 1e-6);
    ExpectNear(file.Find("left").placement, Shifted);
    ExpectNear(file.Find("right").placement, QuarterTurn);

    // The solid itself is written once.
    const std::string text = ReadOutput();
    const std::size_t solid = text.find("MANIFOLD_SOLID_BREP");
    ASSERT_NE(solid, std::string::npos);
    EXPECT_EQ(text.find("MANIFOLD_SOLID_BREP", solid + 1), std::string::npos);
}

TEST_F(StepExport, NestedPlacementsActOneInTheOther)
{
    documents_.Box("block.ZALPart", "BLOCK-1", {0, 0, 0}, {10, 20, 5});
    documents_.Product("inner.ZALProduct", "INNER",
                       {{"a", "block.ZALPart", Shifted}, {"b", "block.ZALPart", QuarterTurn}});
    documents_.Product("outer.ZALProduct", "OUTER",
                       {{"one", "inner.ZALProduct", QuarterTurn}, {"two", "inner.ZALProduct"}, {"c", "block.ZALPart"}});
    const StepFile file = Export("outer.ZALProduct");
    EXPECT_EQ(3U, file.products);
    EXPECT_EQ(5U, file.solids);
    EXPECT_EQ(7U, file.instances.size());
    EXPECT_EQ(file.Find("one").productNumber, file.Find("two").productNumber);
    EXPECT_EQ(file.Find("one/a").productNumber, file.Find("c").productNumber);
    EXPECT_NEAR(file.Find("one").volume, 2000, 1e-6);
    // (1.5, 2.5, 3.5) turned by a quarter and shifted.
    ExpectNear(file.Find("one/a").placement, {0, -1, 0, 97.5, 1, 0, 0, 21.5, 0, 0, 1, -3.75});
    ExpectNear(file.Find("one/b").placement, {-1, 0, 0, 80, 0, -1, 0, 120, 0, 0, 1, -14.5});
    ExpectNear(file.Find("two/b").placement, QuarterTurn);
}

TEST_F(StepExport, AskewPlacementIsExact)
{
    const double c = std::cos(0.3);
    const double s = std::sin(0.3);
    const double d = std::cos(1.1);
    const double t = std::sin(1.1);
    // A turn by 0.3 about z after one by 1.1 about x.
    const Placement askew{c, -s * d, s * t, 123.456789012, s, c * d, -c * t, -0.000123456789, 0, t, d, 98765.4321};
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {1, 1, 1});
    documents_.Product("p.ZALProduct", "P", {{"askew", "block.ZALPart", askew}});
    ExpectNear(Export("p.ZALProduct").Find("askew").placement, askew);
}

TEST_F(StepExport, PartOfSeveralSolidsStaysOneProduct)
{
    TopoDS_Compound solids;
    BRep_Builder builder;
    builder.MakeCompound(solids);
    builder.Add(solids, BRepPrimAPI_MakeCylinder(5, 7).Shape());
    gp_Trsf away;
    away.SetTranslation(gp_Vec(30, 0, 0));
    builder.Add(solids, BRepPrimAPI_MakeCylinder(2, 10).Shape().Moved(TopLoc_Location(away)));
    documents_.Part("several.ZALPart", "SEVERAL", solids);
    const StepFile file = Export("several.ZALPart");
    EXPECT_EQ(2U, file.solids);
    EXPECT_EQ(1U, file.products);
    EXPECT_NEAR(file.volume, std::numbers::pi * (25 * 7 + 4 * 10), 1e-6);
}

TEST_F(StepExport, ShapeThatIsPlacedInItsPartStaysThere)
{
    gp_Trsf away;
    away.SetTranslation(gp_Vec(30, 40, 0));
    const TopoDS_Shape placed =
        BRepPrimAPI_MakeBox(gp_Pnt(0, 0, 0), gp_Pnt(1, 2, 3)).Shape().Moved(TopLoc_Location(away));
    documents_.Part("placed.ZALPart", "PLACED", placed);
    documents_.Product("p.ZALProduct", "P", {{"a", "placed.ZALPart"}});
    const StepFile file = Export("p.ZALProduct");
    EXPECT_EQ(2U, file.products);
    EXPECT_EQ("PLACED", file.Find("a").product);
    ExpectNear(file.Find("a").placement, IdentityPlacement);
    EXPECT_THAT(ReadOutput(), HasSubstr("CARTESIAN_POINT('',(30.,40.,3.))"));
}

TEST_F(StepExport, NamesOfAnyLetterAndSignComeBack)
{
    const std::string name = "Größe 8'\\ \"Ω\" 螺钉 🔩 $#;";
    documents_.Box("block.ZALPart", name, {0, 0, 0}, {1, 1, 1});
    documents_.Product("p.ZALProduct", "ü", {{"ä.1", "block.ZALPart"}});
    const StepFile file = Export("p.ZALProduct");
    EXPECT_EQ("ü", file.root);
    EXPECT_EQ(file.Find("ä.1").product, name);
    const std::string text = ReadOutput();
    EXPECT_TRUE(std::ranges::all_of(text, [](char c) { return static_cast<unsigned char>(c) < 0x80; }));
}

TEST_F(StepExport, LongNamesComeBackWhole)
{
    std::string name;
    while (name.size() < 1000)
        name += "ä-" + std::to_string(name.size());
    documents_.Box("block.ZALPart", name, {0, 0, 0}, {1, 1, 1});
    EXPECT_EQ(Export("block.ZALPart").root, name);
}

TEST_F(StepExport, DocumentWithoutAPartNumberIsNamedAfterItsFile)
{
    documents_.Box("block.ZALPart", "", {0, 0, 0}, {1, 1, 1});
    EXPECT_EQ("block", Export("block.ZALPart").root);
}

TEST_F(StepExport, DocumentsOfTheSamePartNumberAreTwoProducts)
{
    documents_.Box("a.ZALPart", "SAME", {0, 0, 0}, {1, 1, 1});
    documents_.Box("b.ZALPart", "SAME", {0, 0, 0}, {2, 1, 1});
    documents_.Product("p.ZALProduct", "P", {{"a", "a.ZALPart"}, {"b", "b.ZALPart"}});
    const StepFile file = Export("p.ZALProduct");
    EXPECT_EQ(3U, file.products);
    EXPECT_NEAR(file.Find("a").volume, 1, 1e-9);
    EXPECT_NEAR(file.Find("b").volume, 2, 1e-9);
}

TEST_F(StepExport, ProductWithoutChildrenIsAProductWithoutGeometry)
{
    documents_.Product("empty.ZALProduct", "EMPTY", {});
    const StepFile file = Export("empty.ZALProduct");
    EXPECT_EQ("EMPTY", file.root);
    EXPECT_EQ(0U, file.solids);
}

TEST_F(StepExport, PartWithoutGeometryKeepsItsPlaceInTheStructure)
{
    CadDocument document;
    document.partNumber = "BARE";
    WriteDocument(document, documents_.Path("bare.ZALPart"));
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {1, 1, 1});
    documents_.Product("p.ZALProduct", "P", {{"bare", "bare.ZALPart", Shifted}, {"block", "block.ZALPart"}});
    const StepFile file = Export("p.ZALProduct");
    EXPECT_EQ("BARE", file.Find("bare").product);
    EXPECT_EQ(1U, file.solids);
    EXPECT_EQ("BARE", Export("bare.ZALPart").root);
}

TEST_F(StepExport, MissingChildIsToldAndLeftOut)
{
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {1, 1, 1});
    documents_.Product("p.ZALProduct", "P",
                       {{"gone", "gone.ZALPart"}, {"block", "block.ZALPart"}, {"gone too", "gone.ZALPart"}});
    const StepFile file = Export("p.ZALProduct");
    ASSERT_EQ(1U, file.instances.size());
    EXPECT_EQ("block", file.instances[0].path);
    EXPECT_THAT(warnings_, ElementsAre(HasSubstr("p.ZALProduct: gone.ZALPart is missing; 2 instances are left out")));
}

TEST_F(StepExport, LinkOfNoChildIsNotFollowed)
{
    CadDocument document;
    document.kind = DocumentKind::Product;
    document.partNumber = "P";
    document.links = {"gone.ZALPart"};
    WriteDocument(document, documents_.Path("p.ZALProduct"));
    Export("p.ZALProduct");
    EXPECT_THAT(warnings_, IsEmpty());
}

TEST_F(StepExport, LinkLeadsBesideTheDocumentOrAsItIsWritten)
{
    std::filesystem::create_directory(documents_.Path("far"));
    documents_.Box("far/away.ZALPart", "AWAY", {0, 0, 0}, {1, 1, 1});
    documents_.Box("near.ZALPart", "NEAR", {0, 0, 0}, {1, 1, 1});
    documents_.Product("p.ZALProduct", "P",
                       {{"away", documents_.Path("far/away.ZALPart").string()}, {"near", "C:\\else\\near.ZALPart"}});
    const StepFile file = Export("p.ZALProduct");
    EXPECT_EQ("AWAY", file.Find("away").product);
    EXPECT_EQ("NEAR", file.Find("near").product);
}

TEST_F(StepExport, DamagedDocumentIsRefused)
{
    std::ofstream(documents_.Path("damaged.ZALPart")) << "no document";
    documents_.Product("p.ZALProduct", "P", {{"a", "damaged.ZALPart"}});
    ExpectRefused<CompoundFileError>("damaged.ZALPart", "damaged.ZALPart: ");
    ExpectRefused<CompoundFileError>("p.ZALProduct", "damaged.ZALPart: ");
    ExpectRefused<CompoundFileError>("missing.ZALPart", "missing.ZALPart: ");
}

TEST_F(StepExport, DamagedGeometryIsRefused)
{
    CadDocument document;
    document.partNumber = "P";
    document.geometry = DocumentGeometry{GeometryFacts{1, 6, 1, 1, {{0, 0, 0}, {1, 1, 1}}}, "no shape"};
    WriteDocument(document, documents_.Path("p.ZALPart"));
    ExpectRefused<GeometryError>("p.ZALPart", "p.ZALPart: the geometry is damaged");
}

TEST_F(StepExport, FaceWithoutASurfaceIsRefused)
{
    documents_.DamagedTriangles("damaged.ZALPart");
    ExpectRefused<GeometryError>("damaged.ZALPart", "damaged.ZALPart: the geometry is damaged: a face has no surface");
}

TEST_F(StepExport, CycleIsRefused)
{
    documents_.Product("a.ZALProduct", "A", {{"1", "b.ZALProduct"}});
    documents_.Product("b.ZALProduct", "B", {{"1", "a.ZALProduct"}});
    ExpectRefused<std::runtime_error>("a.ZALProduct", "a.ZALProduct: the document is a part of itself");
    documents_.Product("self.ZALProduct", "S", {{"1", "self.ZALProduct"}});
    ExpectRefused<std::runtime_error>("self.ZALProduct", "part of itself");
}

TEST_F(StepExport, TreeOfTooManyLevelsIsRefused)
{
    documents_.Chain(101);
    ExpectRefused<std::runtime_error>("L0.ZALProduct", "more than 100 levels");
    EXPECT_EQ(100U, Export("L1.ZALProduct").products);
}

TEST_F(StepExport, TreeThatUnfoldsWithoutEndIsRefused)
{
    documents_.Doubling(60);
    ExpectRefused<std::runtime_error>("L0.ZALProduct", "more than 100000 instances");
}

TEST_F(StepExport, ExistingOutputIsReplacedOrKeptWhole)
{
    std::ofstream(Output()) << "before";
    ExpectRefused<CompoundFileError>("missing.ZALPart", "missing");
    EXPECT_EQ("before", ReadOutput());
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {1, 1, 1});
    EXPECT_EQ("BLOCK", Export("block.ZALPart").root);
}

TEST_F(StepExport, OutputThatCannotBeWrittenIsAnError)
{
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {1, 1, 1});
    const auto ignore = [](const std::string&) {};
    const std::filesystem::path block = documents_.Path("block.ZALPart");
    EXPECT_THROW(ExportStep(block, documents_.Path("missing/out.step"), {}, ignore), std::runtime_error);
    std::filesystem::create_directory(documents_.Path("folder"));
    EXPECT_THROW(ExportStep(block, documents_.Path("folder"), {}, ignore), std::runtime_error);
    EXPECT_EQ(2U, documents_.Files());
}

TEST_F(StepExport, DocumentThatIsReadIsNotReplaced)
{
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {1, 1, 1});
    documents_.Product("p.ZALProduct", "P", {{"a", "block.ZALPart"}});
    std::filesystem::create_symlink("block.ZALPart", documents_.Path("other.step"));
    for (const char* output : {"block.ZALPart", "p.ZALProduct", "other.step"})
        EXPECT_THROW(
            ExportStep(documents_.Path("p.ZALProduct"), documents_.Path(output), {}, [](const std::string&) {}),
            std::runtime_error);
    EXPECT_EQ("BLOCK", ReadDocument(documents_.Path("block.ZALPart")).partNumber);
}

} // namespace openhost::testing
