// From a product of the workspace to its light file.

#include "openhost/cad/TessellatingLvrWriter.h"

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/ProductRep.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/journal/Journal.h"
#include "openhost/lvr/LvrMesh.h"
#include "tests/support/HostileShapes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <BRepPrimAPI_MakeBox.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Pnt.hxx>

#include <fstream>
#include <memory>

namespace openhost::testing {

namespace {

using namespace std::chrono_literals;
using ::testing::AllOf;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class TessellatingLvrWriterTest : public ::testing::Test {
protected:
    TessellatingLvrWriterTest()
    {
        ConfigureFrame({});
        auto workspace = std::make_unique<CadWorkspace>();
        workspace_ = workspace.get();
        CadServices::Install(std::move(workspace));
        LvrWriter::Install(std::make_unique<TessellatingLvrWriter>(std::make_shared<GeometryProcess>()));
        journal::Redirect([this](const nlohmann::ordered_json& event) {
            if (event.contains("operation") && event["operation"] == "ZALWriteLvr")
                reasons_.push_back(event["reason"]);
        });
        WriteBox("box.ZALPart", 10, 20, 5);
    }
    ~TessellatingLvrWriterTest() override
    {
        journal::Redirect({});
        LvrWriter::Install(nullptr);
        CadServices::Install(nullptr);
        ResetFrame();
    }

    std::filesystem::path File(const std::string& name) const { return folder_.Path() / name; }
    std::filesystem::path Target() const { return File("shape.lvr"); }

    void WriteBox(const std::string& name, double x, double y, double z) const
    {
        CadDocument document;
        document.geometry = EncodeShape(BRepPrimAPI_MakeBox(gp_Pnt(0, 0, 0), gp_Pnt(x, y, z)).Shape());
        WriteDocument(document, File(name));
    }

    /// Two boxes in a row, and others named in `more`.
    WorkspaceProduct& OpenProduct(const std::vector<std::string>& more = {})
    {
        CadDocument document;
        document.kind = DocumentKind::Product;
        document.links = {"box.ZALPart"};
        document.children = {{"a", 0, IdentityPlacement}, {"b", 0, {0, -1, 0, 100, 1, 0, 0, 0, 0, 0, 1, 0}}};
        for (const std::string& link : more) {
            document.children.push_back(
                {link, static_cast<std::uint32_t>(document.links.size()), {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 50}});
            document.links.push_back(link);
        }
        WriteDocument(document, File("pair.ZALProduct"));
        return *workspace_->Open(File("pair.ZALProduct")).Root();
    }

    static int WriteRep(ZALRep* rep, const std::filesystem::path& path)
    {
        return ZALWriteLvr(rep, path.c_str(), ZALLvrWholeDisplay, nullptr, 0, ZALLvrInOneFile);
    }
    int Write(WorkspaceProduct& product) { return WriteRep(product.GiveRep(), Target()); }

    TemporaryFolder folder_;
    CadWorkspace* workspace_;
    std::vector<std::string> reasons_;
};

} // namespace

TEST_F(TessellatingLvrWriterTest, APartIsWrittenAsItsTriangles)
{
    EXPECT_EQ(Write(*workspace_->Open(File("box.ZALPart")).Root()), 0);
    const LvrMesh mesh = ReadLvr(Target());
    EXPECT_EQ(mesh.triangles.size(), 12U);
    EXPECT_EQ(BoxOf(mesh), (Box{{0, 0, 0}, {10, 20, 5}}));
    EXPECT_THAT(reasons_, IsEmpty());
}

TEST_F(TessellatingLvrWriterTest, AProductIsWrittenWithAllItsPartsInTheirPlaces)
{
    EXPECT_EQ(Write(OpenProduct()), 0);
    const LvrMesh mesh = ReadLvr(Target());
    EXPECT_EQ(mesh.triangles.size(), 24U);
    EXPECT_EQ(BoxOf(mesh), (Box{{0, 0, 0}, {100, 20, 5}}));
}

TEST_F(TessellatingLvrWriterTest, AMissingChildIsLeftOut)
{
    EXPECT_EQ(Write(OpenProduct({"gone.ZALPart"})), 0);
    EXPECT_EQ(ReadLvr(Target()).triangles.size(), 24U);
}

TEST_F(TessellatingLvrWriterTest, GeometryIsReadWhenItIsAskedForAndLeftOutWhenItIsGone)
{
    WriteBox("other.ZALPart", 1, 1, 1);
    WorkspaceProduct& product = OpenProduct({"other.ZALPart"});
    ZALRep* rep = product.GiveRep();
    WriteBox("other.ZALPart", 2, 2, 2);
    EXPECT_EQ(WriteRep(rep, Target()), 0);
    EXPECT_EQ(BoxOf(ReadLvr(Target())).highest[2], 52);

    std::filesystem::remove(File("other.ZALPart"));
    EXPECT_EQ(WriteRep(rep, Target()), 0);
    EXPECT_EQ(ReadLvr(Target()).triangles.size(), 24U);
    EXPECT_THAT(reasons_, ElementsAre(HasSubstr("other.ZALPart")));
}

TEST_F(TessellatingLvrWriterTest, DamagedGeometryIsLeftOut)
{
    CadDocument damaged;
    damaged.geometry = DocumentGeometry{{1, 6, 1, 6, {}, {}}, "no boundary"};
    WriteDocument(damaged, File("damaged.ZALPart"));
    EXPECT_EQ(Write(OpenProduct({"damaged.ZALPart"})), 0);
    EXPECT_EQ(ReadLvr(Target()).triangles.size(), 24U);
    EXPECT_THAT(reasons_, ElementsAre(HasSubstr("damaged.ZALPart")));
}

TEST_F(TessellatingLvrWriterTest, APartOnWhichTheKernelCrashesIsLeftOut)
{
    CadDocument hostile;
    hostile.geometry = CrashesDecoding();
    WriteDocument(hostile, File("hostile.ZALPart"));
    EXPECT_EQ(Write(OpenProduct({"hostile.ZALPart"})), 0);
    EXPECT_EQ(ReadLvr(Target()).triangles.size(), 24U);
    EXPECT_THAT(reasons_, ElementsAre(AllOf(HasSubstr("hostile.ZALPart"), HasSubstr("crashed"))));
}

TEST_F(TessellatingLvrWriterTest, NoMoreThanOnePartWithoutEndIsWaitedFor)
{
    LvrWriter::Install(std::make_unique<TessellatingLvrWriter>(
        std::make_shared<GeometryProcess>(FindGeometryProgram(), GeometryJobLimits{.time = 500ms})));
    CadDocument hostile;
    hostile.geometry = HangsTessellating();
    WriteDocument(hostile, File("first.ZALPart"));
    WriteDocument(hostile, File("second.ZALPart"));
    EXPECT_NE(Write(OpenProduct({"first.ZALPart", "second.ZALPart"})), 0);
    EXPECT_FALSE(std::filesystem::exists(Target()));
    EXPECT_THAT(reasons_, ElementsAre(AllOf(HasSubstr("first.ZALPart"), HasSubstr("too long"))));
}

TEST_F(TessellatingLvrWriterTest, DamageOfAnyKindEndsInAResult)
{
    CadDocument sound;
    sound.geometry = EncodeShape(BRepPrimAPI_MakeBox(gp_Pnt(0, 0, 0), gp_Pnt(1, 1, 1)).Shape());
    const std::size_t size = sound.geometry->boundary.size();
    for (std::size_t at = size / 8; at < size; at += size / 8) {
        CadDocument damaged = sound;
        damaged.geometry->boundary.replace(at, 4, "\xff\xff\xff\x7f");
        WriteDocument(damaged, File("damaged" + std::to_string(at) + ".ZALPart"));
        WorkspaceProduct& part = *workspace_->Open(File("damaged" + std::to_string(at) + ".ZALPart")).Root();
        std::filesystem::remove(Target());
        const bool written = Write(part) == 0;
        EXPECT_EQ(written, std::filesystem::exists(Target())) << at;
    }
}

TEST_F(TessellatingLvrWriterTest, WithoutAnyTrianglesNothingIsWritten)
{
    std::ofstream(Target()) << "old";
    WorkspaceProduct& part = *workspace_->Open(File("box.ZALPart")).Root();
    ZALRep* rep = part.GiveRep();
    std::filesystem::remove(File("box.ZALPart"));
    EXPECT_NE(WriteRep(rep, Target()), 0);
    EXPECT_EQ(std::filesystem::file_size(Target()), 3U);
    EXPECT_EQ(reasons_.size(), 2U) << "the part, and the file";
}

TEST_F(TessellatingLvrWriterTest, AFileThatCannotBeWrittenIsAnError)
{
    ZALRep* rep = workspace_->Open(File("box.ZALPart")).Root()->GiveRep();
    EXPECT_NE(WriteRep(rep, File("missing") / "shape.lvr"), 0);
    EXPECT_NE(WriteRep(rep, folder_.Path() / ".." / folder_.Path().filename() / "shape.lvr"), 0);
    EXPECT_NE(WriteRep(rep, ""), 0);
    EXPECT_FALSE(std::filesystem::exists(Target()));
    EXPECT_EQ(reasons_.size(), 3U);
}

TEST_F(TessellatingLvrWriterTest, BackslashesSeparateToo)
{
    std::string path = Target().string();
    path[path.rfind('/')] = '\\';
    EXPECT_EQ(WriteRep(workspace_->Open(File("box.ZALPart")).Root()->GiveRep(), path), 0);
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
