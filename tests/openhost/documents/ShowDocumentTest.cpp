#include "openhost/documents/ShowDocument.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace openhost::testing {

namespace {

std::string Level(int number)
{
    std::string name = std::to_string(number);
    name.insert(name.begin(), 'L');
    return name;
}

class Show : public ::testing::Test {
protected:
    void Product(const std::string& name, const std::vector<std::string>& children)
    {
        CadDocument document;
        document.kind = DocumentKind::Product;
        document.partNumber = name;
        for (const std::string& child : children) {
            auto link = std::find(document.links.begin(), document.links.end(), child);
            if (link == document.links.end())
                link = document.links.insert(link, child);
            const auto index = static_cast<std::uint32_t>(link - document.links.begin());
            document.children.push_back(
                {std::to_string(document.children.size() + 1), index, {1, 0, 0, 1.5, 0, 1, 0, 0, 0, 0, 1, -2}});
        }
        WriteDocument(document, folder_.Path() / (name + ".ZALProduct"));
    }

    void Part(const std::string& name)
    {
        CadDocument document;
        document.partNumber = name;
        document.nomenclature = "A bolt";
        document.parameters = {
            {"Material", "Steel"}, {"Length of the shank", ParameterLength{12.5, "mm"}}, {"Note", ""}};
        document.geometry = DocumentGeometry{GeometryFacts{1, 6, 1000, 600, {{0, 0, 0}, {10, 20, 5}}}, "bytes"};
        WriteDocument(document, folder_.Path() / (name + ".ZALPart"));
    }

    std::string Shown(const std::string& fileName) const
    {
        std::ostringstream output;
        ShowDocument(folder_.Path() / fileName, measure_, output);
        return output.str();
    }

    std::string ShownBeside(const std::string& left, const std::string& right) const
    {
        std::ostringstream output;
        ShowDocuments(folder_.Path() / left, folder_.Path() / right, measure_, output);
        return output.str();
    }

    TemporaryFolder folder_;
    MeasureGeometry measure_ = [](const DocumentGeometry&) -> GeometryFacts {
        throw std::runtime_error("it has been measured");
    };
};

} // namespace

TEST_F(Show, PartShowsPropertiesAndGeometry)
{
    Part("Bolt");
    EXPECT_EQ("Part Bolt  [Bolt.ZALPart]\n"
              "Properties\n"
              "  Nomenclature      A bolt\n"
              "Parameters\n"
              "  Material          Steel\n"
              "  Length of the shank  12.5 mm\n"
              "  Note              \n"
              "Geometry\n"
              "  1 solid, 6 faces, volume 1000.0 mm³, area 600.0 mm²\n"
              "  box 10.0 × 20.0 × 5.0 mm\n"
              "Links\n"
              "  none\n",
              Shown("Bolt.ZALPart"));
}

TEST_F(Show, GeometryThatNobodyHasMeasuredIsMeasured)
{
    CadDocument document;
    document.geometry = DocumentGeometry{{}, "bytes"};
    WriteDocument(document, folder_.Path() / "Copy.ZALPart");
    measure_ = [](const DocumentGeometry& geometry) {
        EXPECT_EQ("bytes", geometry.boundary);
        return GeometryFacts{1, 6, 1000, 600, {{0, 0, 0}, {10, 20, 5}}};
    };
    EXPECT_NE(std::string::npos, Shown("Copy.ZALPart").find("  1 solid, 6 faces, volume 1000.0 mm³, area 600.0 mm²\n"));
    measure_ = [](const DocumentGeometry&) -> GeometryFacts { throw std::runtime_error("the\nkernel has crashed"); };
    EXPECT_NE(std::string::npos,
              Shown("Copy.ZALPart").find("Geometry\n  cannot be measured: the kernel has crashed\nLinks\n"));
}

TEST_F(Show, TemplateShowsIdentityFeaturesAndCameras)
{
    CadDocument document;
    document.partNumber = "T";
    document.identity = "5f1c";
    document.cameras = {{"Side", {100, 0, 2.5}, {-1, 0, 0}, {0, 0, 1}, 50}};
    document.features.otherTools = {{"Rib", DocumentGeometry{GeometryFacts{1, 6, 1, 6, {}}, "bytes"}}};
    document.features.workingTool = 1;
    document.features.axisSystems = {{"Origin", {1, 0, 0, 1.5, 0, 1, 0, 0, 0, 0, 1, -2}}};
    WriteDocument(document, folder_.Path() / "T.ZALPart");
    EXPECT_EQ("Part T  [T.ZALPart]\n"
              "Properties\n"
              "  Identity          5f1c\n"
              "Features\n"
              "  PartBody          empty tool\n"
              "  Rib               tool, worked in\n"
              "  Origin            axis system at (1.5, 0, -2)\n"
              "Cameras\n"
              "  Side              at (100, 0, 2.5) towards (-1, 0, 0)\n"
              "Links\n"
              "  none\n",
              Shown("T.ZALPart"));
}

TEST_F(Show, ProductShowsItsTreeThroughAllLevels)
{
    Part("Bolt");
    Product("Inner", {"Bolt.ZALPart", "Bolt.ZALPart"});
    Product("Outer", {"Inner.ZALProduct", "Bolt.ZALPart"});
    EXPECT_EQ("Product Outer  [Outer.ZALProduct]\n"
              "├─ 1  [Inner.ZALProduct]  at (1.5, 0, -2)\n"
              "│  ├─ 1  [Bolt.ZALPart]  at (1.5, 0, -2)\n"
              "│  └─ 2  [Bolt.ZALPart]  at (1.5, 0, -2)\n"
              "└─ 2  [Bolt.ZALPart]  at (1.5, 0, -2)\n"
              "Links\n"
              "  1  Inner.ZALProduct\n"
              "  2  Bolt.ZALPart\n",
              Shown("Outer.ZALProduct"));
}

TEST_F(Show, MissingAndDamagedChildrenAreNamedInTheirLine)
{
    std::ofstream(folder_.Path() / "Damaged.ZALPart") << "no document";
    Product("Outer", {"Missing.ZALPart", "Damaged.ZALPart"});
    const std::string shown = Shown("Outer.ZALProduct");
    EXPECT_NE(shown.find("[Missing.ZALPart]  at (1.5, 0, -2)  (missing)\n"), std::string::npos) << shown;
    EXPECT_NE(shown.find("Damaged.ZALPart: no compound file)\n"), std::string::npos) << shown;
}

TEST_F(Show, ProductThatHoldsItselfIsShownOnce)
{
    Product("A", {"B.ZALProduct"});
    Product("B", {"A.ZALProduct"});
    const std::string shown = Shown("A.ZALProduct");
    EXPECT_NE(shown.find("[A.ZALProduct]  at (1.5, 0, -2)  (part of itself)\n"), std::string::npos) << shown;
}

TEST_F(Show, TreeThatUnfoldsWithoutEndIsCutOff)
{
    for (int level = 0; level < 40; ++level) {
        const std::string below = Level(level + 1) + ".ZALProduct";
        Product(Level(level), {below, below});
    }
    const std::string shown = Shown("L0.ZALProduct");
    EXPECT_NE(shown.find("… and more"), std::string::npos);
    EXPECT_LT(std::count(shown.begin(), shown.end(), '\n'), MaximumTreeLines + 10);
}

TEST_F(Show, TreeThatIsTooDeepIsCutOff)
{
    for (int level = 0; level < 130; ++level)
        Product(Level(level), {Level(level + 1) + ".ZALProduct"});
    const std::string shown = Shown("L0.ZALProduct");
    EXPECT_NE(shown.find("[L100.ZALProduct]  at (1.5, 0, -2)  …\n"), std::string::npos);
    EXPECT_EQ(shown.find("[L101.ZALProduct]"), std::string::npos);
}

TEST_F(Show, NamesStayInTheirLine)
{
    CadDocument document;
    document.partNumber = "a\nb";
    document.nomenclature = "c\td";
    document.parameters = {{"e\nf", "g\th"}};
    document.cameras = {{"i\nj", {1, 2, 3}, {-1, 0, 0}, {0, 0, 1}, 50}};
    WriteDocument(document, folder_.Path() / "k\x1B[l.ZALPart");
    EXPECT_EQ("Part a b  [k [l.ZALPart]\n"
              "Properties\n"
              "  Nomenclature      c d\n"
              "Parameters\n"
              "  e f               g h\n"
              "Cameras\n"
              "  i j               at (1, 2, 3) towards (-1, 0, 0)\n"
              "Links\n"
              "  none\n",
              Shown("k\x1B[l.ZALPart"));

    CadDocument product;
    product.kind = DocumentKind::Product;
    product.links = {"m\nn.ZALPart"};
    product.children = {{.name = "o\np"}};
    WriteDocument(product, folder_.Path() / "q.ZALProduct");
    EXPECT_EQ("Product   [q.ZALProduct]\n"
              "└─ o p  [m n.ZALPart]  at (0, 0, 0)  (missing)\n"
              "Links\n"
              "  1  m n.ZALPart\n",
              Shown("q.ZALProduct"));
}

TEST_F(Show, TwoDocumentsStandSideBySide)
{
    Part("Bolt");
    Product("Source", {"Bolt.ZALPart", "Bolt.ZALPart"});
    CadDocument rebuilt = ReadDocument(folder_.Path() / "Source.ZALProduct");
    rebuilt.parameters = {{"Title", "Größe"}};
    rebuilt.children.pop_back();
    WriteDocument(rebuilt, folder_.Path() / "Rebuilt.ZALProduct");

    EXPECT_EQ("Product Source  [Source.ZALProduct]   │ Product Source  [Rebuilt.ZALProduct]\n"
              "├─ 1  [Bolt.ZALPart]  at (1.5, 0, -2) │ └─ 1  [Bolt.ZALPart]  at (1.5, 0, -2)\n"
              "└─ 2  [Bolt.ZALPart]  at (1.5, 0, -2) │\n"
              "                                      │ Parameters\n"
              "                                      │   Title             Größe\n"
              "Links                                 │ Links\n"
              "  1  Bolt.ZALPart                     │   1  Bolt.ZALPart\n",
              ShownBeside("Source.ZALProduct", "Rebuilt.ZALProduct"));
    EXPECT_EQ("Product Source  [Rebuilt.ZALProduct]  │ Product Source  [Source.ZALProduct]\n"
              "└─ 1  [Bolt.ZALPart]  at (1.5, 0, -2) │ ├─ 1  [Bolt.ZALPart]  at (1.5, 0, -2)\n"
              "                                      │ └─ 2  [Bolt.ZALPart]  at (1.5, 0, -2)\n"
              "Parameters                            │\n"
              "  Title             Größe             │\n"
              "Links                                 │ Links\n"
              "  1  Bolt.ZALPart                     │   1  Bolt.ZALPart\n",
              ShownBeside("Rebuilt.ZALProduct", "Source.ZALProduct"));
}

TEST_F(Show, ALongLineLeavesTheColumnsOfTheOthersAlone)
{
    CadDocument document;
    document.description = std::string(5000, 'x');
    WriteDocument(document, folder_.Path() / "Long.ZALPart");
    const std::string shown = ShownBeside("Long.ZALPart", "Long.ZALPart");
    EXPECT_NE(shown.find("\nProperties" + std::string(70, ' ') + " │ Properties\n"), std::string::npos);
    EXPECT_NE(shown.find("x │   Description       xx"), std::string::npos);
}

TEST_F(Show, OfTwoDocumentsBothMustBeSome)
{
    Part("Bolt");
    std::ofstream(folder_.Path() / "text.ZALPart") << "no document";
    std::ostringstream output;
    EXPECT_THROW(ShowDocuments(folder_.Path() / "Bolt.ZALPart", folder_.Path() / "text.ZALPart", measure_, output),
                 CompoundFileError);
    EXPECT_THROW(ShowDocuments(folder_.Path() / "missing.ZALPart", folder_.Path() / "Bolt.ZALPart", measure_, output),
                 CompoundFileError);
    EXPECT_EQ("", output.str());
}

TEST_F(Show, WhatIsNoDocumentIsRefused)
{
    EXPECT_THROW(Shown("missing.ZALPart"), CompoundFileError);
}

} // namespace openhost::testing
