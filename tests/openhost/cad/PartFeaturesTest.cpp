// Parts of the workspace with real solids: their features, and copies from one to another.

#include "host/parameters.h"
#include "host/part_features.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/ProcessSolidKernel.h"
#include "openhost/frame/Frame.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "openhost/journal/Journal.h"
#include "openhost/text/Utf.h"
#include "tests/support/HostileShapes.h"
#include "tests/support/SolidDocuments.h"

#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRep_Builder.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>
#include <memory>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

/// A box without one of its six faces: it encloses nothing.
DocumentGeometry OpenBox()
{
    const TopoDS_Shape box = BRepPrimAPI_MakeBox(10, 10, 10).Shape();
    BRep_Builder builder;
    TopoDS_Shell shell;
    builder.MakeShell(shell);
    TopExp_Explorer faces(box, TopAbs_FACE);
    for (faces.Next(); faces.More(); faces.Next())
        builder.Add(shell, faces.Current());
    TopoDS_Solid solid;
    builder.MakeSolid(solid);
    builder.Add(solid, shell);
    return {{1, 5, 1, 1, {0, 0, 0}, {10, 10, 10}}, EncodeBoundary(solid)};
}

class Features : public ::testing::Test {
protected:
    Features()
    {
        ConfigureFrame({});
        SolidKernel::Install(std::make_unique<ProcessSolidKernel>(std::make_shared<GeometryProcess>()));
        auto workspace = std::make_unique<CadWorkspace>();
        workspace_ = workspace.get();
        CadServices::Install(std::move(workspace));
        journal::Redirect([this](const nlohmann::ordered_json& event) {
            if (event["event"] == "document" && event["action"] == "refused")
                refusals_.push_back(event["reason"]);
            else if (event["event"] == "document")
                actions_.push_back(event["action"]);
        });

        CadDocument source;
        source.partNumber = "BOLT";
        source.geometry = EncodeShape(BRepPrimAPI_MakeCylinder(5, 20).Shape());
        source.features.otherTools = {{"Washer", EncodeShape(BRepPrimAPI_MakeBox(1, 2, 3).Shape())}, {"Empty", {}}};
        source.cameras = {{"Side", {100, 0, 0}, {-1, 0, 0}, {0, 0, 1}, 50}, {"Top", {0, 0, 9}, {0, 0, -1}, {0, 1, 0}}};
        WriteDocument(source, File("Source.ZALPart"));
        CadDocument template_;
        template_.partNumber = "TEMPLATE";
        template_.identity = "template";
        template_.parameters = {{"Title", "none"}, {"Length", ParameterLength{2.5, "cm"}}};
        template_.cameras = {{"Front", {0, -100, 0}, {0, 1, 0}, {0, 0, 1}, 10}};
        template_.features.mainTool = "Body";
        template_.features.axisSystems = {{"Origin", IdentityPlacement}};
        WriteDocument(template_, File("Template.ZALPart"));
        templateBytes_ = Read("Template.ZALPart");
    }
    ~Features() override
    {
        EXPECT_EQ(workspace_->HeldDocuments(), 0U);
        EXPECT_EQ(workspace_->LoadedDocuments(), 0U);
        CadServices::Install(nullptr);
        SolidKernel::Install(nullptr);
        ResetFrame();
        journal::Redirect({});
    }

    std::filesystem::path File(const std::string& name) const { return documents_.Path(name); }
    ZALUnicodeString Path(const std::string& name) const { return FromUtf8(File(name).string()); }
    std::string Read(const std::string& name) const
    {
        std::ifstream file(File(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    CadWorkspace& Workspace() { return *workspace_; }
    const std::vector<std::string>& Refusals() const { return refusals_; }
    const std::vector<std::string>& Actions() const { return actions_; }
    void WriteSource(const std::function<void(CadDocument&)>& change) const
    {
        CadDocument source = ReadDocument(File("Source.ZALPart"));
        change(source);
        WriteDocument(source, File("Source.ZALPart"));
    }

    ZALDocument* Open(const std::string& name)
    {
        ZALDocument* document = nullptr;
        EXPECT_EQ(ZALDocumentServices::Open(Path(name), document, 0), S_OK);
        document->AddRefForLock();
        return document;
    }
    static void Close(ZALDocument* document)
    {
        EXPECT_EQ(document->ReleaseForLock(0), S_OK);
        EXPECT_EQ(ZALDocumentServices::Remove(document, 1), S_OK);
    }

    static ZALBaseUnknown_var Container(ZALDocument* document)
    {
        return ZALInit_var(document)->GetRootContainer("ZALIPrtContainer");
    }
    static ZALIPrtPart_var Part(ZALDocument* document)
    {
        return ZALIPrtPart_var(ZALIPrtContainer_var(Container(document))->GetPart());
    }
    static ZALListValZALBaseUnknown_var Tools(ZALDocument* document)
    {
        ZALListValZALBaseUnknown_var tools;
        EXPECT_EQ(Part(document)->GetTools(tools), S_OK);
        return tools;
    }
    static ZALBaseUnknown_var Result(const ZALBaseUnknown_var& tool)
    {
        const ZALIShapeFeatureBody_var shape(ZALIMechanicalTool_var(tool)->GetShapeFeature());
        return shape ? shape->GetResult() : ZALBaseUnknown_var();
    }
    static ZALFormat_var Format(const ZALBaseUnknown_var& container)
    {
        ZALHandleList<ZALFormat> formats;
        EXPECT_EQ(ZALICutAndPastable_var(container)->FindFormats(formats), S_OK);
        EXPECT_EQ(formats.Size(), 1);
        return formats[1];
    }
    /// What is extracted of `objects`, and all of it.
    static ZALListValZALBaseUnknown_var Extract(const ZALBaseUnknown_var& container,
                                                const ZALListValZALBaseUnknown_var& objects,
                                                ZALBaseUnknown_var& extracted)
    {
        const ZALFormat_var format = Format(container);
        ZALListValZALBaseUnknown_var boundary;
        EXPECT_EQ(ZALICutAndPastable_var(container)->CollectBoundary(boundary, &objects, format), S_OK);
        extracted = ZALICutAndPastable_var(container)->Extract(boundary, format);
        ZALListValZALBaseUnknown_var content;
        if (extracted) {
            EXPECT_EQ(ZALICutAndPastable_var(extracted)->CollectBoundary(content, nullptr, format), S_OK);
        }
        return content;
    }
    /// Copies `objects` of `source` below `place`, which stands in `target` or elsewhere. Gives the copies.
    static ZALListValZALBaseUnknown_var Copy(ZALDocument* source, const ZALListValZALBaseUnknown_var& objects,
                                             ZALDocument* target, const ZALBaseUnknown_var& place)
    {
        ZALBaseUnknown_var extracted;
        const ZALListValZALBaseUnknown_var content = Extract(Container(source), objects, extracted);
        ZALHandleList<ZALPathElement> targets;
        if (place)
            targets.Append(ZALIPathAccess_var(place)->GetPathElement());
        return ZALICutAndPastable_var(Container(target))->Paste(content, targets, Format(Container(target)));
    }
    static ZALListValZALBaseUnknown_var Only(const ZALBaseUnknown_var& object)
    {
        ZALListValZALBaseUnknown_var list;
        list.Append(object);
        return list;
    }
    static HRESULT Update(const ZALBaseUnknown_var& feature, std::string& text)
    {
        try {
            ZALISpecObject_var(feature)->Update();
            return S_OK;
        } catch (const ZALError& error) {
            text = error.GetText().CastToCharPtr();
            return E_FAIL;
        }
    }

    const SolidDocuments& Documents() const { return documents_; }
    const std::string& TemplateBytes() const { return templateBytes_; }

private:
    SolidDocuments documents_;
    CadWorkspace* workspace_;
    std::vector<std::string> refusals_;
    std::vector<std::string> actions_;
    std::string templateBytes_;
};

// ---------------------------------------------------------------------------------------------
// Features

TEST_F(Features, LeadFromTheDocumentToTheResult)
{
    ZALDocument* source = Open("Source.ZALPart");
    const auto tools = Tools(source);
    ASSERT_EQ(tools.Size(), 3);
    EXPECT_TRUE(tools[1] == Part(source)->GetMainTool());
    EXPECT_TRUE(Result(tools[1]));
    EXPECT_TRUE(Result(tools[2]));
    EXPECT_FALSE(ZALIMechanicalTool_var(tools[3])->GetShapeFeature()) << "a tool without content";
    EXPECT_TRUE(ZALISpecObject_var(Result(tools[1]))->GetFeatContainer() == Container(source));
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(Result(tools[1]).Get()), source);
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(Container(source).Get()), source);
    Close(source);
}

TEST_F(Features, OfferTheInterfacesOfTheirKindOnly)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALBaseUnknown_var tool = Part(source)->GetMainTool();
    EXPECT_FALSE(ZALIPrtPart_var(tool));
    EXPECT_FALSE(ZALIShapeFeatureBody_var(tool));
    EXPECT_FALSE(ZALIMechanicalTool_var(Result(tool)));
    EXPECT_FALSE(ZALIPrtManagement_var(tool));
    EXPECT_TRUE(ZALIPrtManagement_var(Part(source)));
    EXPECT_FALSE(ZALInit_var(source)->GetRootContainer("ZALIProduct"));
    EXPECT_FALSE(ZALInit_var(source)->GetRootContainer(nullptr));
    Close(source);
}

TEST_F(Features, TellTheWayToAToolFromThePart)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALPathElement_var path = ZALIPathAccess_var(Part(source)->GetMainTool())->GetPathElement();
    path->InitToLeafElement();
    EXPECT_EQ(path->GetNextFatherObject(), Part(source)->GetMainTool()->GetImpl(0));
    EXPECT_EQ(path->GetNextFatherObject(), Part(source)->GetImpl(0));
    EXPECT_EQ(path->GetNextFatherObject(), nullptr);
    Close(source);
}

TEST_F(Features, AreTheShapeRepresentationOfAProduct)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALIProduct_var root = PrdGiveDocRootProduct(source);
    const auto shape = ZALBaseUnknown_var::Take(root->GetShapeRepresentation("Default", 0, 1, 1));
    EXPECT_TRUE(shape == ZALBaseUnknown_var(Part(source)));
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(shape.Get()), source);
    EXPECT_EQ(root->GetShapeRepresentation("Other", 0, 1, 1), nullptr);
    Close(source);
}

TEST_F(Features, AreNoneInAProduct)
{
    Documents().Product("P.ZALProduct", "P", {});
    Documents().Product("Disguised.ZALPart", "P", {});
    for (const char* name : {"P.ZALProduct", "Disguised.ZALPart"}) {
        ZALDocument* product = Open(name);
        EXPECT_FALSE(Container(product)) << name;
        EXPECT_EQ(PrdGiveDocRootProduct(product)->GetShapeRepresentation("Default", 0, 1, 1), nullptr);
        Close(product);
    }
}

TEST_F(Features, KnowNothingOnceTheirDocumentIsClosed)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALIPrtPart_var part = Part(source);
    const ZALBaseUnknown_var container = Container(source);
    const ZALBaseUnknown_var result = Result(part->GetMainTool());
    Close(source);
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(result.Get()), nullptr);
    ZALListValZALBaseUnknown_var boundary;
    const auto results = Only(result);
    const ZALFormat_var format(ZALFormat_var::Take(new ZALFormat(ZALFormatResultWithOutLink)));
    const ZALICutAndPastable_var copies(container);
    ASSERT_TRUE(copies);
    EXPECT_EQ(copies->CollectBoundary(boundary, &results, format), S_OK);
    EXPECT_FALSE(copies->Extract(boundary, format));
    EXPECT_EQ(ZALIPrtManagement_var(part)->SetWorkingFeature(part->GetMainTool()), E_FAIL);
    std::string text;
    EXPECT_EQ(Update(ZALBaseUnknown_var(part), text), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// Copies

TEST_F(Features, ArePastedIntoAnEmptyToolAsRealCopies)
{
    const CadDocument before = ReadDocument(File("Source.ZALPart"));
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    const auto copies = Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool());
    ASSERT_EQ(copies.Size(), 1);
    EXPECT_TRUE(Result(Part(target)->GetMainTool()) == copies[1]);
    EXPECT_EQ(Tools(target).Size(), 1);
    std::string text;
    EXPECT_EQ(Update(ZALBaseUnknown_var(Part(target)), text), S_OK) << text;
    EXPECT_EQ(ZALDocumentServices::SaveAs(target, Path("Result.ZALPart"), "", 1), S_OK);
    Close(source);
    Close(target);

    const CadDocument result = ReadDocument(File("Result.ZALPart"));
    ASSERT_TRUE(result.geometry);
    const GeometryFacts measured = MeasureShape(DecodeShape(*result.geometry));
    EXPECT_EQ(result.geometry->facts, measured);
    EXPECT_NEAR(measured.volume, before.geometry->facts.volume, 1e-9 * measured.volume);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(measured.box.lowest[axis], before.geometry->facts.box.lowest[axis], 1e-9);
        EXPECT_NEAR(measured.box.highest[axis], before.geometry->facts.box.highest[axis], 1e-9);
    }
    EXPECT_EQ(measured.solids, 1U);
    EXPECT_EQ(measured.faces, before.geometry->facts.faces);
    CadDocument rest = result;
    rest.geometry.reset();
    EXPECT_EQ(rest, ReadDocument(File("Template.ZALPart"))) << "everything else is the template's";
    EXPECT_EQ(Read("Template.ZALPart"), TemplateBytes());
    EXPECT_EQ(ReadDocument(File("Source.ZALPart")), before);
    EXPECT_THAT(Actions(), ElementsAre("opened", "opened", "changed", "saved", "closed", "closed"));
}

TEST_F(Features, CanBeCopiedAgainFromWhereTheyWerePasted)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool());
    Close(source);
    EXPECT_EQ(ZALDocumentServices::SaveAs(target, Path("First.ZALPart"), "", 1), S_OK);
    ZALDocument* second = Open("Template.ZALPart");
    EXPECT_EQ(Copy(target, Only(Result(Part(target)->GetMainTool())), second, Part(second)->GetMainTool()).Size(), 1);
    EXPECT_EQ(ZALDocumentServices::SaveAsNew(second, Path("Second.ZALPart"), 0), S_OK);
    Close(target);
    Close(second);
    EXPECT_EQ(ReadDocument(File("Second.ZALPart")).geometry->facts,
              ReadDocument(File("First.ZALPart")).geometry->facts);
    EXPECT_EQ(ReadDocument(File("First.ZALPart")).identity, "template");
    EXPECT_NE(ReadDocument(File("Second.ZALPart")).identity, "template");
}

TEST_F(Features, OfEachToolAreThoseOfTheFileOnceItIsSaved)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    Copy(source, Tools(source), target, ZALBaseUnknown_var(Part(target)));
    Close(source);
    EXPECT_EQ(ZALDocumentServices::SaveAs(target, Path("First.ZALPart"), "", 1), S_OK);
    ZALDocument* second = Open("Template.ZALPart");
    EXPECT_EQ(Copy(target, Only(Tools(target)[3]), second, Part(second)->GetMainTool()).Size(), 1);
    EXPECT_EQ(ZALDocumentServices::SaveAs(target, Path("Again.ZALPart"), "", 1), S_OK);
    EXPECT_EQ(ZALDocumentServices::SaveAs(second, Path("Second.ZALPart"), "", 1), S_OK);
    Close(target);
    Close(second);
    EXPECT_NEAR(ReadDocument(File("Second.ZALPart")).geometry->facts.volume, 6, 1e-9) << "the washer";
    EXPECT_EQ(ReadDocument(File("Again.ZALPart")), ReadDocument(File("First.ZALPart")));
}

TEST_F(Features, ArePastedIntoNewToolsOfAPart)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(Copy(source, Tools(source), target, ZALBaseUnknown_var(Part(target))).Size(), 2);
    EXPECT_EQ(Copy(source, Tools(source), target, {}).Size(), 2) << "the part is the root";
    EXPECT_EQ(ZALDocumentServices::SaveAs(target, Path("Result.ZALPart"), "", 1), S_OK);
    Close(source);
    Close(target);
    const CadDocument result = ReadDocument(File("Result.ZALPart"));
    std::vector<std::string> names;
    for (const PartTool& tool : result.features.otherTools) {
        names.push_back(tool.name);
        EXPECT_NEAR(tool.geometry->facts.volume, names.size() % 2 == 1 ? 500 * 3.14159265358979 : 6, 1e-6);
    }
    EXPECT_THAT(names, ElementsAre("PartBody", "Washer", "PartBody.2", "Washer.2", "PartBody.3", "Washer.3"));
    EXPECT_FALSE(result.geometry) << "the main tool stays empty";
}

TEST_F(Features, AreNotPastedIntoAFullToolOrAnotherDocument)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    const auto result = Only(Result(Part(source)->GetMainTool()));
    EXPECT_EQ(Copy(source, result, target, ZALBaseUnknown_var(Part(source))).Size(), 0) << "the part of the source";
    EXPECT_EQ(Tools(source).Size(), 3);
    EXPECT_EQ(Copy(source, result, target, Part(target)->GetMainTool()).Size(), 1);
    EXPECT_EQ(Copy(source, result, target, Part(target)->GetMainTool()).Size(), 0) << "the tool is full";
    EXPECT_EQ(Copy(source, result, target, Result(Part(target)->GetMainTool())).Size(), 0) << "no tool";
    EXPECT_THAT(Refusals(), IsEmpty());
    Close(source);
    Close(target);
}

TEST_F(Features, FillAnEmptyToolOnceWhateverIsPasted)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    EXPECT_EQ(Copy(source, Tools(source), target, Part(target)->GetMainTool()).Size(), 1);
    Close(source);
    Close(target);
}

TEST_F(Features, AreCollectedOnceEach)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALListValZALBaseUnknown_var objects = Tools(source);
    objects.Append(Result(objects[1]));
    objects.Append(ZALBaseUnknown_var(Part(source)));
    ZALBaseUnknown_var extracted;
    EXPECT_EQ(Extract(Container(source), objects, extracted).Size(), 2) << "the third tool is empty";
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(extracted.Get()), nullptr);
    EXPECT_FALSE(ZALIPrtContainer_var(extracted));
    EXPECT_FALSE(ZALICkeParmFactory_var(extracted));
    Close(source);
}

TEST_F(Features, OfOtherContainersFormatsAndKindsAreRefused)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    const auto result = Only(Result(Part(source)->GetMainTool()));
    const ZALFormat_var format = Format(Container(source));
    const auto other = ZALFormat_var::Take(new ZALFormat("ZALPrtResult"));
    const ZALICutAndPastable_var copies(Container(source));
    ZALListValZALBaseUnknown_var boundary;
    EXPECT_EQ(copies->CollectBoundary(boundary, &result, other), E_INVALIDARG);
    EXPECT_EQ(copies->CollectBoundary(boundary, &result, {}), E_INVALIDARG);
    EXPECT_EQ(ZALICutAndPastable_var(Container(target))->CollectBoundary(boundary, &result, format), E_FAIL);
    const auto product = Only(ZALBaseUnknown_var(PrdGiveDocRootProduct(source)));
    EXPECT_EQ(copies->CollectBoundary(boundary, &product, format), E_FAIL);
    EXPECT_EQ(boundary.Size(), 0);
    EXPECT_FALSE(copies->Extract(result, other));
    EXPECT_FALSE(copies->Extract(Tools(source), format)) << "tools are no boundary";
    EXPECT_EQ(ZALICutAndPastable_var(Container(target))->Paste(result, {}, format).Size(), 0) << "not extracted";
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("another container"), HasSubstr("no feature"),
                                        HasSubstr("only results"), HasSubstr("only what is extracted")));
    Close(source);
    Close(target);
}

TEST_F(Features, WhoseGeometryIsDamagedAreNotPasted)
{
    WriteSource([](CadDocument& source) { source.geometry->boundary = "no boundary"; });
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    EXPECT_EQ(Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool()).Size(), 0);
    EXPECT_FALSE(ZALIMechanicalTool_var(Part(target)->GetMainTool())->GetShapeFeature());
    EXPECT_EQ(Refusals().size(), 1U);
    Close(source);
    Close(target);
}

TEST_F(Features, WhoseFileHasGoneCannotBeExtracted)
{
    ZALDocument* source = Open("Source.ZALPart");
    std::filesystem::remove(File("Source.ZALPart"));
    ZALBaseUnknown_var extracted;
    Extract(Container(source), Only(Result(Part(source)->GetMainTool())), extracted);
    EXPECT_FALSE(extracted);
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("Source.ZALPart")));
    Close(source);
}

TEST_F(Features, AreNotPastedWithoutASolidKernel)
{
    SolidKernel::Install(nullptr);
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    EXPECT_EQ(Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool()).Size(), 0);
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("the host has no solid kernel")));
    std::string text;
    EXPECT_EQ(Update(ZALBaseUnknown_var(Part(source)), text), E_FAIL);
    Close(source);
    Close(target);
}

TEST_F(Features, OnWhichTheKernelCrashesAreNotPastedAndOthersAre)
{
    WriteSource([](CadDocument& source) { source.geometry = CrashesDecoding(); });
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    const ZALIPrtPart_var part = Part(target);
    EXPECT_EQ(Copy(source, Only(Result(Part(source)->GetMainTool())), target, part->GetMainTool()).Size(), 0);
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("crashed")));
    EXPECT_FALSE(ZALIMechanicalTool_var(part->GetMainTool())->GetShapeFeature());
    EXPECT_EQ(Copy(source, Only(Result(Tools(source)[2])), target, part->GetMainTool()).Size(), 1);
    Close(source);
    Close(target);
}

// ---------------------------------------------------------------------------------------------
// Updates, working feature, cameras

TEST_F(Features, AreMeasuredAnewByAnUpdate)
{
    WriteSource([](CadDocument& source) {
        source.geometry->facts.volume = 1;
        source.features.otherTools[0].geometry->facts.faces = 99;
    });
    ZALDocument* source = Open("Source.ZALPart");
    std::string text;
    EXPECT_EQ(Update(ZALBaseUnknown_var(Part(source)), text), S_OK) << text;
    EXPECT_EQ(ZALDocumentServices::SaveAs(source, Path("Updated.ZALPart"), "", 1), S_OK);
    Close(source);
    EXPECT_NEAR(ReadDocument(File("Updated.ZALPart")).geometry->facts.volume, 500 * 3.14159265358979, 1e-6);
    EXPECT_EQ(ReadDocument(File("Updated.ZALPart")).features.otherTools[0].geometry->facts.faces, 6U);
}

TEST_F(Features, ThatAreNoSolidsEndAnUpdateWithAnError)
{
    WriteSource([](CadDocument& source) { source.geometry = OpenBox(); });
    ZALDocument* source = Open("Source.ZALPart");
    std::string text;
    EXPECT_EQ(Update(ZALBaseUnknown_var(Part(source)), text), E_FAIL);
    EXPECT_EQ(text, "BOLT: the update has failed: the shape is not valid");
    text.clear();
    EXPECT_EQ(Update(ZALBaseUnknown_var(PrdGiveDocRootProduct(source)), text), E_FAIL) << "the product as well";
    EXPECT_NE(text, "");
    EXPECT_EQ(Update(Tools(source)[2], text), S_OK) << "another tool is whole";
    Close(source);
}

TEST_F(Features, OnWhichTheKernelCrashesEndAnUpdateWithAnError)
{
    WriteSource([](CadDocument& source) { source.geometry = CrashesChecking(); });
    ZALDocument* source = Open("Source.ZALPart");
    std::string text;
    EXPECT_EQ(Update(ZALBaseUnknown_var(Part(source)), text), E_FAIL);
    EXPECT_EQ(text, "BOLT: the update has failed: the solid kernel has crashed");
    EXPECT_EQ(Update(Tools(source)[2], text), S_OK) << "another tool is whole";
    Close(source);
}

TEST_F(Features, ThatAreWorkedInAreKept)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALIPrtManagement_var management(Part(source));
    EXPECT_EQ(management->SetWorkingFeature(Tools(source)[2]), S_OK);
    EXPECT_EQ(management->SetWorkingFeature(Result(Tools(source)[1])), E_FAIL) << "no tool";
    EXPECT_EQ(management->SetWorkingFeature(ZALBaseUnknown_var(PrdGiveDocRootProduct(source))), E_INVALIDARG);
    EXPECT_EQ(management->SetWorkingFeature({}), E_INVALIDARG);
    ZALDocument* target = Open("Template.ZALPart");
    EXPECT_EQ(management->SetWorkingFeature(Part(target)->GetMainTool()), E_FAIL) << "of another part";
    EXPECT_EQ(ZALDocumentServices::SaveAs(source, Path("Saved.ZALPart"), "", 1), S_OK);
    Close(source);
    Close(target);
    EXPECT_EQ(ReadDocument(File("Saved.ZALPart")).features.workingTool, 1U);
}

TEST_F(Features, CamerasOfAnotherDocumentReplaceItsOwn)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    const ZALCameraStore_var from = ZALIPersistentCamera_var(source)->GetCameraStore();
    const ZALCameraStore_var to = ZALIPersistentCamera_var(target)->GetCameraStore();
    ASSERT_TRUE(from && to);
    EXPECT_EQ(to->TakeCameras(*from.Get()), S_OK);
    EXPECT_EQ(to->TakeCameras(*to.Get()), S_OK) << "its own";
    EXPECT_EQ(ZALDocumentServices::SaveAs(target, Path("Result.ZALPart"), "", 1), S_OK);
    Close(source);
    Close(target);
    EXPECT_EQ(to->TakeCameras(*from.Get()), E_FAIL) << "the document is closed";
    EXPECT_EQ(ReadDocument(File("Result.ZALPart")).cameras, ReadDocument(File("Source.ZALPart")).cameras);
}

TEST_F(Features, DocumentsWithoutCamerasHaveNoStore)
{
    WriteSource([](CadDocument& source) { source.cameras.clear(); });
    ZALDocument* source = Open("Source.ZALPart");
    EXPECT_FALSE(ZALIPersistentCamera_var(source)->GetCameraStore());
    Close(source);
}

} // namespace

} // namespace openhost::testing
