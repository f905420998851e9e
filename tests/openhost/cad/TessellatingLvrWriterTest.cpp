// From a product of the workspace to its light file.

#include "openhost/cad/TessellatingLvrWriter.h"

#include "openhost/cad/ProductRep.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/geometry/Tessellation.h"
#include "openhost/lvr/LvrMesh.h"
#include "tests/openhost/cad/WorkspaceFixture.h"
#include "tests/support/HostileShapes.h"

#include <gmock/gmock.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeSphere.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Pnt.hxx>

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class TessellatingLvrWriterTest : public WorkspaceFixture {
protected:
    TessellatingLvrWriterTest()
    {
        LvrWriter::Install(std::make_unique<TessellatingLvrWriter>(std::make_shared<GeometryPool>()));
        WriteBox("box.ZALPart", 10, 20, 5);
    }
    ~TessellatingLvrWriterTest() override { LvrWriter::Install(nullptr); }

    std::filesystem::path Target() const { return File("shape.lvr"); }

    void WritePart(const std::string& name, DocumentGeometry geometry) const
    {
        CadDocument document;
        document.geometry = std::move(geometry);
        WriteDocument(document, File(name));
    }
    void WriteBox(const std::string& name, double x, double y, double z) const
    {
        WritePart(name, EncodeShape(BRepPrimAPI_MakeBox(gp_Pnt(0, 0, 0), gp_Pnt(x, y, z)).Shape()));
    }
    WorkspaceProduct& OpenPart(const std::string& name) { return *Workspace().Open(File(name)).Root(); }
    /// Two boxes in a row, and others named in `more`.
    WorkspaceProduct& OpenPair(const std::vector<std::string>& more = {})
    {
        std::vector<Child> children{{"a", "box.ZALPart"}, {"b", "box.ZALPart", TurnedAt({100, 0, 0})}};
        for (const std::string& file : more)
            children.push_back({file, file, ShiftedBy({0, 0, 50})});
        return *Workspace().Open(ProductOf("pair.ZALProduct", children)).Root();
    }
    /// Expects the light file of the pair alone.
    void ExpectPairOnly() const { EXPECT_EQ(24U, ReadLvr(Target()).triangles.size()); }
    std::vector<std::string> Reasons() const { return Told("reason"); }

    static int WriteRep(ZALRep* rep, const std::filesystem::path& path)
    {
        return ZALWriteLvr(rep, path.c_str(), ZALLvrWholeDisplay, nullptr, 0, ZALLvrInOneFile);
    }
    int WriteLight(WorkspaceProduct& product) { return WriteRep(product.GiveRep(), Target()); }
};

} // namespace

TEST_F(TessellatingLvrWriterTest, APartIsWrittenAsItsTriangles)
{
    EXPECT_EQ(0, WriteLight(OpenPart("box.ZALPart")));
    const LvrMesh mesh = ReadLvr(Target());
    EXPECT_EQ(12U, mesh.triangles.size());
    EXPECT_EQ((Box{{0, 0, 0}, {10, 20, 5}}), BoxOf(mesh));
    EXPECT_THAT(Reasons(), IsEmpty());
}

TEST_F(TessellatingLvrWriterTest, AProductIsWrittenWithAllItsPartsInTheirPlaces)
{
    EXPECT_EQ(0, WriteLight(OpenPair()));
    const LvrMesh mesh = ReadLvr(Target());
    EXPECT_EQ(24U, mesh.triangles.size());
    EXPECT_EQ((Box{{0, 0, 0}, {100, 20, 5}}), BoxOf(mesh));
}

TEST_F(TessellatingLvrWriterTest, ManyPartsStandInTheOrderOfTheTree)
{
    std::vector<Child> children;
    LvrMesh expected;
    for (int number = 1; number <= 12; ++number) {
        const std::string name = "part" + std::to_string(number) + ".ZALPart";
        // Large ones take longer than those after them.
        WritePart(name, EncodeShape(number % 4 == 0 ? BRepPrimAPI_MakeSphere(number).Shape()
                                                    : BRepPrimAPI_MakeBox(number, 1, 1).Shape()));
        AddPlaced(expected, TessellateShape(DecodeShape(*ReadDocument(File(name)).geometry)), IdentityPlacement);
        children.push_back({name, name});
    }
    WorkspaceProduct& product = *Workspace().Open(ProductOf("many.ZALProduct", children)).Root();
    EXPECT_EQ(0, WriteLight(product));
    EXPECT_EQ(expected, ReadLvr(Target()));
    const std::string bytes = Read("shape.lvr");
    EXPECT_EQ(0, WriteLight(product));
    EXPECT_EQ(bytes, Read("shape.lvr"));
}

TEST_F(TessellatingLvrWriterTest, WhatIsLeftOutIsToldInTheOrderOfTheTree)
{
    std::vector<std::string> files;
    std::vector<::testing::Matcher<std::string>> reasons;
    for (int number = 0; number < 8; ++number) {
        files.push_back("part" + std::to_string(number) + ".ZALPart");
        reasons.push_back(HasSubstr(files.back()));
        WritePart(files.back(), number % 2 == 0 ? CrashesDecoding() : DocumentGeometry{{}, "no boundary"});
    }
    EXPECT_EQ(0, WriteLight(OpenPair(files)));
    ExpectPairOnly();
    EXPECT_THAT(Reasons(), ::testing::ElementsAreArray(reasons));
}

TEST_F(TessellatingLvrWriterTest, AMissingChildIsLeftOut)
{
    EXPECT_EQ(0, WriteLight(OpenPair({"gone.ZALPart"})));
    ExpectPairOnly();
}

TEST_F(TessellatingLvrWriterTest, GeometryIsReadWhenItIsAskedForAndLeftOutWhenItIsGone)
{
    WriteBox("other.ZALPart", 1, 1, 1);
    WorkspaceProduct& product = OpenPair({"other.ZALPart"});
    ZALRep* rep = product.GiveRep();
    WriteBox("other.ZALPart", 2, 2, 2);
    EXPECT_EQ(0, WriteRep(rep, Target()));
    EXPECT_EQ(52, BoxOf(ReadLvr(Target())).highest[2]);

    std::filesystem::remove(File("other.ZALPart"));
    EXPECT_EQ(0, WriteRep(rep, Target()));
    ExpectPairOnly();
    EXPECT_THAT(Reasons(), ElementsAre(HasSubstr("other.ZALPart")));
}

TEST_F(TessellatingLvrWriterTest, DamagedGeometryIsLeftOut)
{
    WritePart("damaged.ZALPart", {{}, "no boundary"});
    EXPECT_EQ(0, WriteLight(OpenPair({"damaged.ZALPart"})));
    ExpectPairOnly();
    EXPECT_THAT(Reasons(), ElementsAre(HasSubstr("damaged.ZALPart")));
}

TEST_F(TessellatingLvrWriterTest, APartOnWhichTheKernelCrashesIsLeftOut)
{
    WritePart("hostile.ZALPart", CrashesDecoding());
    EXPECT_EQ(0, WriteLight(OpenPair({"hostile.ZALPart"})));
    ExpectPairOnly();
    EXPECT_THAT(Reasons(), ElementsAre(AllOf(HasSubstr("hostile.ZALPart"), HasSubstr("crashed"))));
}

TEST_F(TessellatingLvrWriterTest, NoMoreThanOnePartWithoutEndIsWaitedFor)
{
    LvrWriter::Install(std::make_unique<TessellatingLvrWriter>(
        std::make_shared<GeometryPool>(FindProgramBeside("openhost-geometry"), GeometryJobLimits{.time = 500ms})));
    WritePart("first.ZALPart", HangsTessellating());
    WritePart("second.ZALPart", HangsTessellating());
    EXPECT_NE(WriteLight(OpenPair({"first.ZALPart", "second.ZALPart"})), 0);
    EXPECT_FALSE(std::filesystem::exists(Target()));
    EXPECT_THAT(Reasons(), ElementsAre(AllOf(HasSubstr("first.ZALPart"), HasSubstr("too long"))));
}

TEST_F(TessellatingLvrWriterTest, DamageOfAnyKindEndsInAResult)
{
    const DocumentGeometry sound = ReadDocument(File("box.ZALPart")).geometry.value();
    const std::size_t size = sound.boundary.size();
    for (std::size_t at = size / 8; at < size; at += size / 8) {
        DocumentGeometry damaged = sound;
        damaged.boundary.replace(at, 4, "\xff\xff\xff\x7f");
        const std::string name = "damaged" + std::to_string(at) + ".ZALPart";
        WritePart(name, std::move(damaged));
        std::filesystem::remove(Target());
        const bool written = WriteLight(OpenPart(name)) == 0;
        EXPECT_EQ(written, std::filesystem::exists(Target())) << at;
    }
}

TEST_F(TessellatingLvrWriterTest, WithoutAnyTrianglesNothingIsWritten)
{
    Write("shape.lvr", "old");
    ZALRep* rep = OpenPart("box.ZALPart").GiveRep();
    std::filesystem::remove(File("box.ZALPart"));
    EXPECT_NE(WriteRep(rep, Target()), 0);
    EXPECT_EQ(3U, std::filesystem::file_size(Target()));
    EXPECT_EQ(2U, Reasons().size()) << "the part, and the file";
}

TEST_F(TessellatingLvrWriterTest, AFileThatCannotBeWrittenIsAnError)
{
    ZALRep* rep = OpenPart("box.ZALPart").GiveRep();
    EXPECT_NE(WriteRep(rep, File("missing") / "shape.lvr"), 0);
    EXPECT_NE(WriteRep(rep, Folder().Path() / ".." / Folder().Path().filename() / "shape.lvr"), 0);
    EXPECT_NE(WriteRep(rep, ""), 0);
    EXPECT_FALSE(std::filesystem::exists(Target()));
    EXPECT_EQ(3U, Reasons().size());
}

TEST_F(TessellatingLvrWriterTest, BackslashesSeparateToo)
{
    std::string path = Target().string();
    path[path.rfind('/')] = '\\';
    EXPECT_EQ(0, WriteRep(OpenPart("box.ZALPart").GiveRep(), path));
    EXPECT_TRUE(std::filesystem::exists(Target()));
}

TEST_F(TessellatingLvrWriterTest, ARepresentationOfSomethingElseIsRefused)
{
    class OtherRep : public ZALRep {};
    ZALRep* other = new OtherRep;
    EXPECT_NE(WriteRep(other, Target()), 0);
    other->Release();
    EXPECT_FALSE(std::filesystem::exists(Target()));
}

} // namespace openhost::testing
