#include "openhost/exchange/StepImport.h"

#include "openhost/exchange/DocumentNames.h"
#include "openhost/exchange/ExchangeError.h"
#include "openhost/exchange/StepExport.h"
#include "openhost/exchange/StepParameters.h"
#include "openhost/exchange/StepProducts.h"
#include "tests/support/Files.h"
#include "tests/support/Places.h"
#include "tests/support/SolidDocuments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <BRepBuilderAPI_MakeEdge.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <STEPControl_Writer.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <gp_Lin.hxx>

#include <fstream>
#include <regex>
#include <set>

#include <sys/stat.h>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr Placement QuarterTurn{0, -1, 0, 100, 1, 0, 0, 20, 0, 0, 1, -7.25};
constexpr Placement Shifted{1, 0, 0, 1.5, 0, 1, 0, 2.5, 0, 0, 1, 3.5};

void Replace(std::string& text, const std::string& from, const std::string& to)
{
    ASSERT_NE(std::string::npos, text.find(from)) << from;
    for (std::size_t place = text.find(from); place != std::string::npos; place = text.find(from, place + to.size()))
        text.replace(place, from.size(), to);
}

class StepImport : public ::testing::Test {
protected:
    /// The STEP file of the document `fileName`.
    std::string Export(const std::string& fileName)
    {
        ExportStep(documents_.Path(fileName), Step(), {}, [](const std::string& line) { ADD_FAILURE() << line; });
        return ReadFile(Step());
    }

    /// A product PAIR with a BLOCK on the left and on the right, and a PLATE.
    std::string Pair()
    {
        documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {10, 20, 5});
        documents_.Box("plate.ZALPart", "PLATE", {0, 0, 0}, {100, 100, 1});
        documents_.Product(
            "pair.ZALProduct", "PAIR",
            {{"left", "block.ZALPart", Shifted}, {"right", "block.ZALPart", QuarterTurn}, {"below", "plate.ZALPart"}});
        return Export("pair.ZALProduct");
    }

    std::string Import(const std::string& step)
    {
        std::ofstream(Step(), std::ios::binary) << step;
        return Import();
    }

    std::string Import()
    {
        std::filesystem::remove_all(Folder());
        std::filesystem::create_directory(Folder());
        warnings_.clear();
        percents_.clear();
        return ImportStep(
            Step(), Folder(), [this](const std::string& line) { warnings_.push_back(line); },
            [this](int percent) { percents_.push_back(percent); });
    }

    void ExpectRefused(const std::string& step, const std::string& reason)
    {
        try {
            Import(step);
            ADD_FAILURE() << "was imported";
        } catch (const ExchangeError& error) {
            EXPECT_THAT(error.what(), HasSubstr("made.step: " + reason));
        }
        EXPECT_THAT(Names(), IsEmpty());
    }

    std::set<std::string> Names() const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(Folder()))
            names.insert(entry.path().filename().string());
        return names;
    }

    CadDocument Read(const std::string& name) const { return ReadDocument(Folder() / name); }
    std::filesystem::path Folder() const { return documents_.Path("imported"); }
    std::filesystem::path Step() const { return documents_.Path("made.step"); }

    SolidDocuments documents_;
    std::vector<std::string> warnings_;
    std::vector<int> percents_;
};

std::vector<std::string> TextsOf(const CadDocument& document, const std::string& name)
{
    std::vector<std::string> texts;
    for (const UserParameter& parameter : document.parameters)
        if (parameter.name == name)
            texts.push_back(ParameterText(parameter));
    return texts;
}

} // namespace

TEST_F(StepImport, EachProductIsADocumentOnceWithItsInstances)
{
    EXPECT_EQ("PAIR.ZALProduct", Import(Pair()));
    EXPECT_THAT(Names(), UnorderedElementsAre("PAIR.ZALProduct", "BLOCK.ZALPart", "PLATE.ZALPart"));
    const CadDocument pair = Read("PAIR.ZALProduct");
    EXPECT_EQ("PAIR", pair.partNumber);
    EXPECT_THAT(pair.links, ElementsAre("BLOCK.ZALPart", "PLATE.ZALPart"));
    ASSERT_EQ(3U, pair.children.size());
    EXPECT_EQ("left", pair.children[0].name);
    EXPECT_EQ("right", pair.children[1].name);
    EXPECT_EQ("below", pair.children[2].name);
    EXPECT_EQ(0U, pair.children[1].link);
    for (std::size_t i = 0; i < 12; ++i)
        EXPECT_NEAR(QuarterTurn[i], pair.children[1].placement[i], 1e-12) << i;
    const CadDocument block = Read("BLOCK.ZALPart");
    ASSERT_TRUE(block.geometry);
    EXPECT_EQ(1U, block.geometry->facts->solids);
    EXPECT_NEAR(1000, block.geometry->facts->volume, 1e-6);
    EXPECT_THAT(block.parameters, IsEmpty());
    EXPECT_THAT(warnings_, IsEmpty());
}

TEST_F(StepImport, SubProductsStayNested)
{
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {10, 20, 5});
    documents_.Product("inner.ZALProduct", "INNER", {{"a", "block.ZALPart", Shifted}, {"b", "block.ZALPart"}});
    documents_.Product("outer.ZALProduct", "OUTER",
                       {{"one", "inner.ZALProduct"}, {"two", "inner.ZALProduct", Shifted}});
    EXPECT_EQ("OUTER.ZALProduct", Import(Export("outer.ZALProduct")));
    EXPECT_THAT(Names(), UnorderedElementsAre("OUTER.ZALProduct", "INNER.ZALProduct", "BLOCK.ZALPart"));
    EXPECT_THAT(Read("OUTER.ZALProduct").links, ElementsAre("INNER.ZALProduct"));
    EXPECT_EQ(2U, Read("INNER.ZALProduct").children.size());
}

TEST_F(StepImport, APartAloneIsAPart)
{
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {10, 20, 5});
    EXPECT_EQ("BLOCK.ZALPart", Import(Export("block.ZALPart")));
    EXPECT_THAT(Names(), UnorderedElementsAre("BLOCK.ZALPart"));
}

TEST_F(StepImport, SeveralRootsComeIntoAProductNamedAfterTheFile)
{
    STEPControl_Writer writer;
    writer.Transfer(BRepPrimAPI_MakeBox(1, 2, 3).Shape(), STEPControl_AsIs);
    writer.Transfer(BRepPrimAPI_MakeCylinder(1, 2).Shape(), STEPControl_AsIs);
    writer.Write(Step().c_str());
    EXPECT_EQ("made.ZALProduct", Import());
    EXPECT_EQ(2U, Read("made.ZALProduct").children.size());
    EXPECT_EQ(3U, Names().size());
}

TEST_F(StepImport, LengthsBecomeMillimetres)
{
    const std::string step = Pair();
    std::string metres = step;
    Replace(metres, "SI_UNIT(.MILLI.,.METRE.)", "SI_UNIT($,.METRE.)");
    Import(metres);
    EXPECT_NEAR(1e12, Read("BLOCK.ZALPart").geometry->facts->volume, 1);
    EXPECT_NEAR(1500, Read("PAIR.ZALProduct").children[0].placement[3], 1e-9);

    std::string inches = step;
    Replace(inches, "( LENGTH_UNIT() NAMED_UNIT(*) SI_UNIT(.MILLI.,.METRE.) )",
            "( CONVERSION_BASED_UNIT('INCH',#90001) LENGTH_UNIT() NAMED_UNIT(#90002) )");
    Replace(inches, "ENDSEC;\nEND-ISO",
            "#90001=LENGTH_MEASURE_WITH_UNIT(LENGTH_MEASURE(25.4),#90003);\n"
            "#90002=DIMENSIONAL_EXPONENTS(1.,0.,0.,0.,0.,0.,0.);\n"
            "#90003=( LENGTH_UNIT() NAMED_UNIT(*) SI_UNIT(.MILLI.,.METRE.) );\nENDSEC;\nEND-ISO");
    Import(inches);
    EXPECT_NEAR(1000 * 25.4 * 25.4 * 25.4, Read("BLOCK.ZALPart").geometry->facts->volume, 1e-3);
    EXPECT_NEAR(1.5 * 25.4, Read("PAIR.ZALProduct").children[0].placement[3], 1e-9);
}

TEST_F(StepImport, EachOfTheProtocolsIsRead)
{
    const std::string step = Pair();
    for (const char* schema : {"CONFIG_CONTROL_DESIGN", "AUTOMOTIVE_DESIGN",
                               "AP203_CONFIGURATION_CONTROLLED_3D_DESIGN_OF_MECHANICAL_PARTS_AND_ASSEMBLIES_MIM_LF",
                               "AP242_MANAGED_MODEL_BASED_3D_ENGINEERING_MIM_LF { 1 0 10303 442 1 1 4 }"}) {
        Import(std::regex_replace(step, std::regex("FILE_SCHEMA\\(\\('[^']*'"),
                                  "FILE_SCHEMA(('" + std::string(schema) + "'"));
        EXPECT_THAT(Names(), UnorderedElementsAre("PAIR.ZALProduct", "BLOCK.ZALPart", "PLATE.ZALPart")) << schema;
        EXPECT_THAT(warnings_, IsEmpty()) << schema;
        EXPECT_NEAR(1000, Read("BLOCK.ZALPart").geometry->facts->volume, 1e-6) << schema;
    }
}

TEST_F(StepImport, IdNameAndDescriptionAreProperties)
{
    std::string step = Pair();
    Replace(step, "PRODUCT('BLOCK','BLOCK',''", "PRODUCT('4711','Bl\\X2\\00F6\\X0\\cke','made of \\X\\E4'");
    Import(step);
    ASSERT_TRUE(Names().contains("4711.ZALPart")) << ::testing::PrintToString(Names());
    const CadDocument document = Read("4711.ZALPart");
    EXPECT_EQ("4711", document.partNumber);
    EXPECT_EQ("Blöcke", document.nomenclature);
    EXPECT_EQ("made of ä", document.description);
    EXPECT_THAT(TextsOf(document, StepNameParameter), ElementsAre("Blöcke"));
    EXPECT_THAT(TextsOf(document, StepIdParameter), IsEmpty());
}

TEST_F(StepImport, HostileNamesBecomeReadableFileNames)
{
    const std::map<std::string, std::string> names = {{"../../etc/passwd", "_.._etc_passwd"},
                                                      {"/tmp/x", "_tmp_x"},
                                                      {"..", "made"},
                                                      {"C:\\\\a\\\\b", "C__a_b"},
                                                      {".hidden", "hidden"},
                                                      {"NUL", "_NUL"},
                                                      {"a\\X2\\0000000A0009\\X0\\b", "a  b"},
                                                      {"", "made"},
                                                      {std::string(5000, 'a'), std::string(MaximumDocumentName, 'a')}};
    const std::string step = Pair();
    for (const auto& [hostile, readable] : names) {
        SCOPED_TRACE(hostile.substr(0, 40));
        std::string changed = step;
        Replace(changed, "PRODUCT('BLOCK','BLOCK',", "PRODUCT('" + hostile + "','',");
        Import(changed);
        EXPECT_THAT(Names(), UnorderedElementsAre("PAIR.ZALProduct", readable + ".ZALPart", "PLATE.ZALPart"));
        EXPECT_EQ(readable, Read(readable + ".ZALPart").partNumber);
    }
}

TEST_F(StepImport, PartNumbersAreUniqueWhateverTheirCase)
{
    std::string step = Pair();
    Replace(step, "PRODUCT('BLOCK','BLOCK',", "PRODUCT('pair','pair',");
    Replace(step, "PRODUCT('PLATE','PLATE',", "PRODUCT('Pair','Pair',");
    EXPECT_EQ("PAIR.ZALProduct", Import(step));
    EXPECT_EQ(3U, Names().size());
    EXPECT_THAT(Names(), UnorderedElementsAre("PAIR.ZALProduct", "Pair-2.ZALPart", "pair-3.ZALPart"));
    EXPECT_EQ(2U, warnings_.size());
    EXPECT_THAT(TextsOf(Read("pair-3.ZALPart"), StepIdParameter), ElementsAre("pair"));
}

TEST_F(StepImport, InstancesOfOneNameAreNumbered)
{
    std::string step = Pair();
    Replace(step, "'left'", "'right'");
    Replace(step, "'below'", "''");
    Import(step);
    std::set<std::string> names;
    for (const ChildInstance& child : Read("PAIR.ZALProduct").children)
        names.insert(child.name);
    EXPECT_THAT(names, ::testing::IsSupersetOf({"right", "right.1"}));
    EXPECT_EQ(3U, names.size());
}

TEST_F(StepImport, SolidsSheetsAndCurvesOfAPartAreKept)
{
    TopoDS_Compound mixed;
    BRep_Builder builder;
    builder.MakeCompound(mixed);
    builder.Add(mixed, BRepPrimAPI_MakeBox(1, 2, 3).Shape());
    builder.Add(mixed, BRepPrimAPI_MakeBox(gp_Pnt(10, 0, 0), 4, 5, 6).Shape());
    const TopoDS_Shape sheets = BRepPrimAPI_MakeBox(gp_Pnt(20, 0, 0), 1, 1, 1).Shape();
    builder.Add(mixed, TopExp_Explorer(sheets, TopAbs_FACE).Current());
    builder.Add(mixed, BRepBuilderAPI_MakeEdge(gp_Pnt(0, 0, 50), gp_Pnt(0, 0, 60)).Shape());
    STEPControl_Writer writer;
    writer.Transfer(mixed, STEPControl_AsIs);
    writer.Write(Step().c_str());
    const CadDocument root = Read(Import());
    std::uint32_t solids = 0;
    std::uint32_t faces = 0;
    double volume = 0;
    double highest = 0;
    for (const std::string& name : Names())
        if (const std::optional<DocumentGeometry> geometry = Read(name).geometry) {
            solids += geometry->facts->solids;
            faces += geometry->facts->faces;
            volume += geometry->facts->volume;
            highest = std::max(highest, geometry->facts->box.highest[2]);
        }
    EXPECT_EQ(2U, solids);
    EXPECT_EQ(13U, faces);
    EXPECT_NEAR(6 + 120, volume, 1e-9);
    EXPECT_NEAR(60, highest, 1e-6) << "the curve is gone";
}

TEST_F(StepImport, TheNameOfAProductSurvivesAnExport)
{
    std::string step = Pair();
    Replace(step, "PRODUCT('BLOCK','BLOCK',''", "PRODUCT('DIN 1/2','Block \\X2\\00F6\\X0\\','described'");
    Import(step);
    ExportStep(Folder() / "PAIR.ZALProduct", Step(), {}, [](const std::string& line) { ADD_FAILURE() << line; });
    EXPECT_THAT(ReadFile(Step()), HasSubstr("PRODUCT('DIN 1_2','Block \\X2\\00F6\\X0\\','described'"));
}

TEST_F(StepImport, ColorsOfPartsAndFacesComeBack)
{
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(1, 2, 3).Shape();
    const PartColors whole{SurfaceColor{0.25, 0.5, 0.75}, {}};
    const PartColors faces{std::nullopt, {{1, {1, 0, 0}}, {4, {0.1, 0.2, 0.3}}}};
    PartColors mixed = faces;
    mixed.whole = SurfaceColor{0, 1, 0};
    documents_.Part("whole.ZALPart", "WHOLE", box, whole);
    documents_.Part("faces.ZALPart", "FACES", box, faces);
    documents_.Part("mixed.ZALPart", "MIXED", box, mixed);
    gp_Trsf away;
    away.SetTranslation(gp_Vec(30, 0, 0));
    documents_.Part("placed.ZALPart", "PLACED", box.Moved(TopLoc_Location(away)), mixed);
    documents_.Product("all.ZALProduct", "ALL",
                       {{"w", "whole.ZALPart", Shifted},
                        {"f", "faces.ZALPart"},
                        {"m", "mixed.ZALPart"},
                        {"p", "placed.ZALPart", Shifted}});
    Import(Export("all.ZALProduct"));
    EXPECT_THAT(warnings_, IsEmpty());
    const auto expect = [&](const PartColors& expected, const std::string& name) {
        const auto read = ColorsOfFaces(Read(name).geometry->colors, 6);
        const auto wanted = ColorsOfFaces(expected, 6);
        for (std::size_t face = 0; face < 6; ++face) {
            ASSERT_EQ(wanted[face].has_value(), read[face].has_value()) << name << face;
            for (std::size_t part = 0; wanted[face] && part < 3; ++part)
                EXPECT_NEAR((*wanted[face])[part], (*read[face])[part], 1e-6) << name << face;
        }
    };
    expect(whole, "WHOLE.ZALPart");
    expect(faces, "FACES.ZALPart");
    expect(mixed, "MIXED.ZALPart");
    expect(mixed, "PLACED.ZALPart");
    EXPECT_TRUE(Read("WHOLE.ZALPart").geometry->colors.whole);
}

TEST_F(StepImport, AFileThatIsCutOffAnywhereIsAnError)
{
    const std::string step = Pair();
    for (std::size_t part = 0; part < 50; ++part)
        ExpectRefused(step.substr(0, step.size() * part / 50), "it is ");
    const std::size_t end = step.rfind("ENDSEC;");
    ExpectRefused(step.substr(0, end), "it is damaged or cut off at line ");
    ExpectRefused(step.substr(0, end - 3), "it is damaged or cut off at line ");
}

TEST_F(StepImport, WhatIsNoStepFileIsAnError)
{
    ExpectRefused("", "it is empty");
    ExpectRefused("solid of another kind", "it is not a STEP file");
    ExpectRefused("ISO-10303-21;\nHEADER;\nENDSEC;\nDATA;\nENDSEC;\nEND-ISO-10303-21;\n", "it is damaged");
    ExpectRefused("ISO-10303-21;" + std::string(100'000, '('), "it is damaged");
    std::string nothing = Pair();
    nothing = nothing.substr(0, nothing.find("DATA;")) + "DATA;\n#1=CARTESIAN_POINT('',(0.,0.,0.));\nENDSEC;\n"
                                                         "END-ISO-10303-21;\n";
    ExpectRefused(nothing, "it holds no ");

    std::filesystem::remove(Step());
    EXPECT_THROW(Import(), ExchangeError);
    ASSERT_EQ(0, mkfifo(Step().c_str(), 0600));
    EXPECT_THROW(Import(), ExchangeError);
    std::filesystem::remove(Step());
    std::ofstream(Step()) << "ISO-10303-21;";
    std::filesystem::resize_file(Step(), MaximumStepFileSize + 1);
    EXPECT_THROW(Import(), ExchangeError);
}

TEST_F(StepImport, AnEntityThatCannotBeReadIsAnError)
{
    std::string step = Pair();
    Replace(step, "PRODUCT('BLOCK','BLOCK','',", "PRODUCT('BLOCK','BLOCK',''),");
    ExpectRefused(step, "it is damaged: an entity cannot be read");
}

TEST_F(StepImport, AReferenceToNothingIsTold)
{
    Import(std::regex_replace(Pair(), std::regex("(PRODUCT\\('BLOCK','BLOCK','',\\()#[0-9]+"), "$1#99999"));
    EXPECT_THAT(warnings_, ElementsAre("entities do not say what they should, and are read as far as they do: 1"));
    EXPECT_EQ(3U, Names().size());
}

TEST_F(StepImport, AProductInItselfIsAnError)
{
    std::string step = Pair();
    step = std::regex_replace(step,
                              std::regex("(NEXT_ASSEMBLY_USAGE_OCCURRENCE\\('[^']*','[^']*','[^']*',)(#[0-9]+),"
                                         "(#[0-9]+)"),
                              "$1$2,$2", std::regex_constants::format_first_only);
    ExpectRefused(step, "a product is a part of itself");
}

TEST_F(StepImport, HasAtMostAHundredLevels)
{
    documents_.Chain(100);
    EXPECT_EQ("L.ZALProduct", Import(Export("L0.ZALProduct")));
    EXPECT_EQ(100U, Names().size());

    // One more above the root.
    std::string step = Export("L0.ZALProduct");
    std::smatch use;
    ASSERT_TRUE(std::regex_search(step, use,
                                  std::regex("NEXT_ASSEMBLY_USAGE_OCCURRENCE\\('[^']*','[^']*','[^']*',"
                                             "(#[0-9]+)")));
    Replace(step, "ENDSEC;\nEND-ISO",
            "#99999=NEXT_ASSEMBLY_USAGE_OCCURRENCE('x','x','',#99998," + use[1].str() +
                ",$);\n#99998=PRODUCT_DEFINITION('','',$,$);\nENDSEC;\nEND-ISO");
    ExpectRefused(step, "its products have more than 100 levels");
}

TEST_F(StepImport, UnfoldsIntoAtMostAHundredThousandInstances)
{
    documents_.Doubling(16);
    std::string step = Export("L0.ZALProduct");
    Import(step);
    // Twice more below a further root: 65,535 twice and one.
    std::smatch use;
    ASSERT_TRUE(std::regex_search(step, use,
                                  std::regex("NEXT_ASSEMBLY_USAGE_OCCURRENCE\\('[^']*','[^']*','[^']*',"
                                             "(#[0-9]+)")));
    std::string uses;
    for (const char* number : {"#99996", "#99997"})
        uses += std::string(number) + "=NEXT_ASSEMBLY_USAGE_OCCURRENCE('x','x','',#99998," + use[1].str() + ",$);\n";
    Replace(step, "ENDSEC;\nEND-ISO", uses + "#99998=PRODUCT_DEFINITION('','',$,$);\nENDSEC;\nEND-ISO");
    ExpectRefused(step, "its products have more than 100000 instances");
}

TEST_F(StepImport, OtherFilesAreNotRead)
{
    documents_.Box("block.ZALPart", "BLOCK", {0, 0, 0}, {10, 20, 5});
    std::filesystem::copy_file((Export("block.ZALPart"), Step()), documents_.Path("other.step"));
    std::string step = Pair();
    std::smatch plate;
    ASSERT_TRUE(std::regex_search(step, plate, std::regex("(#[0-9]+) = PRODUCT_DEFINITION\\('design','',(#[0-9]+),")));
    Replace(step, "ENDSEC;\nEND-ISO",
            "#90001=DOCUMENT_FILE('other.step','other.step','',#90002,'',$);\n#90002=DOCUMENT_TYPE('geometry');\n"
            "#90003=APPLIED_EXTERNAL_IDENTIFICATION_ASSIGNMENT('" +
                documents_.Path("other.step").string() +
                "',#90004,#90005,(#90001));\n#90004=IDENTIFICATION_ROLE('external document id and location',$);\n"
                "#90005=EXTERNAL_SOURCE(IDENTIFIER('other.step'));\n"
                "#90006=APPLIED_DOCUMENT_REFERENCE(#90001,'',(" +
                plate[1].str() + "));\nENDSEC;\nEND-ISO");
    Import(step);
    EXPECT_THAT(warnings_, ElementsAre(HasSubstr("what stands in another file is left out: ")));
    EXPECT_FALSE(Names().contains("BLOCK-2.ZALPart"));
}

TEST_F(StepImport, ShapesInPlacesOfTheirOwnAreThoseOfTheirPart)
{
    // Each part of it holds a solid and curves, both without names.
    std::filesystem::copy_file(SourceDir() + "/tests/foreign/as1_pe_203.stp", Step());
    EXPECT_EQ("AS1_PE_ASM.ZALProduct", Import());
    EXPECT_EQ(9U, Names().size());
    const CadDocument nut = Read("NUT.ZALPart");
    EXPECT_EQ(1U, nut.geometry->facts->solids);
    EXPECT_TRUE(nut.geometry->colors.whole);
}

TEST_F(StepImport, TellsTwoHundredWarningsAndTheNumberOfOthers)
{
    const auto import = [this](std::size_t parts) {
        std::vector<SolidDocuments::Child> children;
        for (std::size_t part = 0; part < parts; ++part) {
            const std::string name = std::to_string(part) + ".ZALPart";
            CadDocument document;
            document.partNumber = "SAME";
            WriteDocument(document, documents_.Path(name));
            children.push_back({std::to_string(part), name});
        }
        documents_.Product("all.ZALProduct", "ALL", children);
        Import(Export("all.ZALProduct"));
    };
    import(MaximumImportWarnings + 1);
    EXPECT_EQ(MaximumImportWarnings, warnings_.size()) << "one part has the number that all of them want";
    EXPECT_THAT(warnings_.back(), HasSubstr("SAME: there is another product with this number"));
    import(MaximumImportWarnings + 2);
    EXPECT_EQ(MaximumImportWarnings + 1, warnings_.size());
    EXPECT_EQ("1 more warnings", warnings_.back());
}

TEST_F(StepImport, TellsEachPercentOnceUpToTheEnd)
{
    Import(Pair());
    EXPECT_TRUE(std::ranges::is_sorted(percents_));
    EXPECT_EQ(percents_.end(), std::ranges::adjacent_find(percents_));
    ASSERT_FALSE(percents_.empty());
    EXPECT_EQ(100, percents_.back());
}

} // namespace openhost::testing
