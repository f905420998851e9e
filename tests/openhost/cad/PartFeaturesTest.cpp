// Parts of the workspace with real solids: their features, and copies from one to another.

#include "host/parameters.h"
#include "host/part_features.h"
#include "openhost/cad/MeasureSolids.h"
#include "openhost/cad/ProcessSolidKernel.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "tests/openhost/cad/WorkspaceFixture.h"
#include "tests/support/HostileShapes.h"

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BRep_Builder.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS.hxx>
#include <TopoDS_Shape.hxx>
#include <TopoDS_Shell.hxx>
#include <TopoDS_Solid.hxx>

#include <gmock/gmock.h>

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
    return {{}, EncodeBoundary(solid)};
}

GeometryFacts Measured(const std::optional<DocumentGeometry>& geometry)
{
    return MeasureSolids(geometry.value());
}

class Features : public WorkspaceFixture {
protected:
    Features()
    {
        SolidKernel::Install(std::make_unique<ProcessSolidKernel>(std::make_shared<GeometryPool>()));
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
        CloseAll();
        EXPECT_EQ(0U, Workspace().HeldDocuments());
        EXPECT_EQ(0U, Workspace().LoadedDocuments());
        SolidKernel::Install(nullptr);
    }

    std::vector<std::string> Refusals() const { return Told("reason"); }
    void WriteSource(const std::function<void(CadDocument&)>& change) const
    {
        CadDocument source = ReadDocument(File("Source.ZALPart"));
        change(source);
        WriteDocument(source, File("Source.ZALPart"));
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
        EXPECT_EQ(S_OK, Part(document)->GetTools(tools));
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
        EXPECT_EQ(S_OK, ZALICutAndPastable_var(container)->FindFormats(formats));
        EXPECT_EQ(1, formats.Size());
        return formats[1];
    }
    /// What is extracted of `objects`, and all of it.
    static ZALListValZALBaseUnknown_var Extract(const ZALBaseUnknown_var& container,
                                                const ZALListValZALBaseUnknown_var& objects,
                                                ZALBaseUnknown_var& extracted)
    {
        const ZALFormat_var format = Format(container);
        ZALListValZALBaseUnknown_var boundary;
        EXPECT_EQ(S_OK, ZALICutAndPastable_var(container)->CollectBoundary(boundary, &objects, format));
        extracted = ZALICutAndPastable_var(container)->Extract(boundary, format);
        ZALListValZALBaseUnknown_var content;
        if (extracted) {
            EXPECT_EQ(S_OK, ZALICutAndPastable_var(extracted)->CollectBoundary(content, nullptr, format));
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

    const std::string& TemplateBytes() const { return templateBytes_; }

private:
    std::string templateBytes_;
};

/// With a document to copy from and one to copy to.
class CopiedFeatures : public Features {
protected:
    ZALDocument* Source = Open("Source.ZALPart");
    ZALDocument* Target = Open("Template.ZALPart");
};

// ---------------------------------------------------------------------------------------------
// Features

TEST_F(Features, TheDocumentLeadsToTheResultOfEachTool)
{
    ZALDocument* source = Open("Source.ZALPart");
    const auto tools = Tools(source);
    ASSERT_EQ(3, tools.Size());
    EXPECT_TRUE(tools[1] == Part(source)->GetMainTool());
    EXPECT_TRUE(Result(tools[1]));
    EXPECT_TRUE(Result(tools[2]));
    EXPECT_FALSE(ZALIMechanicalTool_var(tools[3])->GetShapeFeature()) << "a tool without content";
    EXPECT_TRUE(ZALISpecObject_var(Result(tools[1]))->GetFeatContainer() == Container(source));
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(Result(tools[1]).Get()), source);
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(Container(source).Get()), source);
}

TEST_F(Features, EachOffersTheInterfacesOfItsKindOnly)
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
}

TEST_F(Features, AToolTellsTheWayFromThePart)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALPathElement_var path = ZALIPathAccess_var(Part(source)->GetMainTool())->GetPathElement();
    path->InitToLeafElement();
    EXPECT_EQ(path->GetNextFatherObject(), Part(source)->GetMainTool()->GetImpl(0));
    EXPECT_EQ(path->GetNextFatherObject(), Part(source)->GetImpl(0));
    EXPECT_EQ(nullptr, path->GetNextFatherObject());
}

TEST_F(Features, ThePartIsTheShapeRepresentationOfItsProduct)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALIProduct_var root = PrdGiveDocRootProduct(source);
    const auto shape = ZALBaseUnknown_var::Take(root->GetShapeRepresentation("Default", 0, 1, 1));
    EXPECT_TRUE(shape == ZALBaseUnknown_var(Part(source)));
    EXPECT_EQ(ZALDocumentServices::GetDocumentOf(shape.Get()), source);
    EXPECT_EQ(nullptr, root->GetShapeRepresentation("Other", 0, 1, 1));
}

TEST_F(Features, AProductHasNone)
{
    Product("P.ZALProduct", {});
    Product("Disguised.ZALPart", {}, "P");
    for (const char* name : {"P.ZALProduct", "Disguised.ZALPart"}) {
        ZALDocument* product = Open(name);
        EXPECT_FALSE(Container(product)) << name;
        EXPECT_EQ(nullptr, PrdGiveDocRootProduct(product)->GetShapeRepresentation("Default", 0, 1, 1));
        Close(product);
    }
}

TEST_F(Features, NothingIsKnownAfterTheDocument)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALIPrtPart_var part = Part(source);
    const ZALBaseUnknown_var container = Container(source);
    const ZALBaseUnknown_var result = Result(part->GetMainTool());
    Close(source);
    EXPECT_EQ(nullptr, ZALDocumentServices::GetDocumentOf(result.Get()));
    ZALListValZALBaseUnknown_var boundary;
    const auto results = Only(result);
    const ZALFormat_var format(ZALFormat_var::Take(new ZALFormat(ZALFormatResultWithOutLink)));
    const ZALICutAndPastable_var copies(container);
    ASSERT_TRUE(copies);
    EXPECT_EQ(S_OK, copies->CollectBoundary(boundary, &results, format));
    EXPECT_FALSE(copies->Extract(boundary, format));
    EXPECT_EQ(E_FAIL, ZALIPrtManagement_var(part)->SetWorkingFeature(part->GetMainTool()));
    std::string text;
    EXPECT_EQ(E_FAIL, Update(ZALBaseUnknown_var(part), text));
}

// ---------------------------------------------------------------------------------------------
// Copies

TEST_F(Features, APasteFillsAnEmptyToolWithARealCopy)
{
    const CadDocument before = ReadDocument(File("Source.ZALPart"));
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    const auto copies = Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool());
    ASSERT_EQ(1, copies.Size());
    EXPECT_TRUE(Result(Part(target)->GetMainTool()) == copies[1]);
    EXPECT_EQ(1, Tools(target).Size());
    std::string text;
    EXPECT_EQ(S_OK, Update(ZALBaseUnknown_var(Part(target)), text)) << text;
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(target, Path("Result.ZALPart"), "", 1));
    Close(source);
    Close(target);

    const CadDocument result = ReadDocument(File("Result.ZALPart"));
    ASSERT_TRUE(result.geometry);
    const GeometryFacts measured = MeasureShape(DecodeShape(*result.geometry));
    EXPECT_EQ(std::nullopt, result.geometry->facts) << "nobody has measured the copy";
    EXPECT_NEAR(measured.volume, before.geometry->facts->volume, 1e-9 * measured.volume);
    for (std::size_t axis = 0; axis < 3; ++axis) {
        EXPECT_NEAR(measured.box.lowest[axis], before.geometry->facts->box.lowest[axis], 1e-9);
        EXPECT_NEAR(measured.box.highest[axis], before.geometry->facts->box.highest[axis], 1e-9);
    }
    EXPECT_EQ(1U, measured.solids);
    EXPECT_EQ(measured.faces, before.geometry->facts->faces);
    CadDocument rest = result;
    rest.geometry.reset();
    EXPECT_EQ(rest, ReadDocument(File("Template.ZALPart"))) << "everything else is the template's";
    EXPECT_EQ(Read("Template.ZALPart"), TemplateBytes());
    EXPECT_EQ(before, ReadDocument(File("Source.ZALPart")));
    EXPECT_THAT(Told("action"), ElementsAre("opened", "opened", "changed", "saved", "closed", "closed"));
}

TEST_F(CopiedFeatures, WhatWasPastedCanBeCopiedAgain)
{
    Copy(Source, Only(Result(Part(Source)->GetMainTool())), Target, Part(Target)->GetMainTool());
    Close(Source);
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(Target, Path("First.ZALPart"), "", 1));
    ZALDocument* second = Open("Template.ZALPart");
    EXPECT_EQ(1, Copy(Target, Only(Result(Part(Target)->GetMainTool())), second, Part(second)->GetMainTool()).Size());
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAsNew(second, Path("Second.ZALPart"), 0));
    Close(Target);
    Close(second);
    EXPECT_EQ(Measured(ReadDocument(File("Second.ZALPart")).geometry),
              Measured(ReadDocument(File("First.ZALPart")).geometry));
    EXPECT_EQ("template", ReadDocument(File("First.ZALPart")).identity);
    EXPECT_NE(ReadDocument(File("Second.ZALPart")).identity, "template");
}

TEST_F(CopiedFeatures, EachToolReadsFromTheFileOnceItIsSaved)
{
    Copy(Source, Tools(Source), Target, ZALBaseUnknown_var(Part(Target)));
    Close(Source);
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(Target, Path("First.ZALPart"), "", 1));
    ZALDocument* second = Open("Template.ZALPart");
    EXPECT_EQ(1, Copy(Target, Only(Tools(Target)[3]), second, Part(second)->GetMainTool()).Size());
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(Target, Path("Again.ZALPart"), "", 1));
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(second, Path("Second.ZALPart"), "", 1));
    Close(Target);
    Close(second);
    EXPECT_NEAR(Measured(ReadDocument(File("Second.ZALPart")).geometry).volume, 6, 1e-9) << "the washer";
    EXPECT_EQ(ReadDocument(File("Again.ZALPart")), ReadDocument(File("First.ZALPart")));
}

TEST_F(CopiedFeatures, APasteBelowAPartMakesNewTools)
{
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(2, Copy(Source, Tools(Source), Target, ZALBaseUnknown_var(Part(Target))).Size());
    EXPECT_EQ(2, Copy(Source, Tools(Source), Target, {}).Size()) << "the part is the root";
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(Target, Path("Result.ZALPart"), "", 1));
    Close(Source);
    Close(Target);
    const CadDocument result = ReadDocument(File("Result.ZALPart"));
    std::vector<std::string> names;
    for (const PartTool& tool : result.features.otherTools) {
        names.push_back(tool.name);
        EXPECT_NEAR(Measured(tool.geometry).volume, names.size() % 2 == 1 ? 500 * 3.14159265358979 : 6, 1e-6);
    }
    EXPECT_THAT(names, ElementsAre("PartBody", "Washer", "PartBody.2", "Washer.2", "PartBody.3", "Washer.3"));
    EXPECT_FALSE(result.geometry) << "the main tool stays empty";
}

TEST_F(CopiedFeatures, NothingIsPastedIntoAFullToolOrElsewhere)
{
    const auto result = Only(Result(Part(Source)->GetMainTool()));
    EXPECT_EQ(0, Copy(Source, result, Target, ZALBaseUnknown_var(Part(Source))).Size()) << "the part of the source";
    EXPECT_EQ(3, Tools(Source).Size());
    EXPECT_EQ(1, Copy(Source, result, Target, Part(Target)->GetMainTool()).Size());
    EXPECT_EQ(0, Copy(Source, result, Target, Part(Target)->GetMainTool()).Size()) << "the tool is full";
    EXPECT_EQ(0, Copy(Source, result, Target, Result(Part(Target)->GetMainTool())).Size()) << "no tool";
    EXPECT_THAT(Refusals(), IsEmpty());
}

TEST_F(CopiedFeatures, AnEmptyToolIsFilledOnceWhateverIsPasted)
{
    EXPECT_EQ(1, Copy(Source, Tools(Source), Target, Part(Target)->GetMainTool()).Size());
}

TEST_F(Features, EachIsCollectedOnce)
{
    ZALDocument* source = Open("Source.ZALPart");
    ZALListValZALBaseUnknown_var objects = Tools(source);
    objects.Append(Result(objects[1]));
    objects.Append(ZALBaseUnknown_var(Part(source)));
    ZALBaseUnknown_var extracted;
    EXPECT_EQ(2, Extract(Container(source), objects, extracted).Size()) << "the third tool is empty";
    EXPECT_EQ(nullptr, ZALDocumentServices::GetDocumentOf(extracted.Get()));
    EXPECT_FALSE(ZALIPrtContainer_var(extracted));
    EXPECT_FALSE(ZALICkeParmFactory_var(extracted));
}

TEST_F(CopiedFeatures, OtherContainersFormatsAndKindsAreRefused)
{
    const auto result = Only(Result(Part(Source)->GetMainTool()));
    const ZALFormat_var format = Format(Container(Source));
    const auto other = ZALFormat_var::Take(new ZALFormat("ZALPrtResult"));
    const ZALICutAndPastable_var copies(Container(Source));
    ZALListValZALBaseUnknown_var boundary;
    EXPECT_EQ(E_INVALIDARG, copies->CollectBoundary(boundary, &result, other));
    EXPECT_EQ(E_INVALIDARG, copies->CollectBoundary(boundary, &result, {}));
    EXPECT_EQ(E_FAIL, ZALICutAndPastable_var(Container(Target))->CollectBoundary(boundary, &result, format));
    const auto product = Only(ZALBaseUnknown_var(PrdGiveDocRootProduct(Source)));
    EXPECT_EQ(E_FAIL, copies->CollectBoundary(boundary, &product, format));
    EXPECT_EQ(0, boundary.Size());
    EXPECT_FALSE(copies->Extract(result, other));
    EXPECT_FALSE(copies->Extract(Tools(Source), format)) << "tools are no boundary";
    EXPECT_EQ(0, ZALICutAndPastable_var(Container(Target))->Paste(result, {}, format).Size()) << "not extracted";
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("another container"), HasSubstr("not a feature"),
                                        HasSubstr("only results"), HasSubstr("only what is extracted")));
}

TEST_F(Features, DamagedGeometryIsNotPasted)
{
    WriteSource([](CadDocument& source) { source.geometry->boundary = "no boundary"; });
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    EXPECT_EQ(0, Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool()).Size());
    EXPECT_FALSE(ZALIMechanicalTool_var(Part(target)->GetMainTool())->GetShapeFeature());
    EXPECT_EQ(1U, Refusals().size());
}

TEST_F(Features, AResultWhoseFileHasGoneCannotBeExtracted)
{
    ZALDocument* source = Open("Source.ZALPart");
    std::filesystem::remove(File("Source.ZALPart"));
    ZALBaseUnknown_var extracted;
    Extract(Container(source), Only(Result(Part(source)->GetMainTool())), extracted);
    EXPECT_FALSE(extracted);
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("Source.ZALPart")));
}

TEST_F(Features, NothingIsPastedWithoutASolidKernel)
{
    SolidKernel::Install(nullptr);
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    EXPECT_EQ(0, Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool()).Size());
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("the host has no solid kernel")));
    std::string text;
    EXPECT_EQ(E_FAIL, Update(ZALBaseUnknown_var(Part(source)), text));
}

TEST_F(Features, APasteOnWhichTheKernelCrashesLeavesTheNextOne)
{
    WriteSource([](CadDocument& source) { source.geometry = CrashesDecoding(); });
    ZALDocument* source = Open("Source.ZALPart");
    ZALDocument* target = Open("Template.ZALPart");
    const ZALIPrtPart_var part = Part(target);
    EXPECT_EQ(0, Copy(source, Only(Result(Part(source)->GetMainTool())), target, part->GetMainTool()).Size());
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("crashed")));
    EXPECT_FALSE(ZALIMechanicalTool_var(part->GetMainTool())->GetShapeFeature());
    EXPECT_EQ(1, Copy(source, Only(Result(Tools(source)[2])), target, part->GetMainTool()).Size());
}

// ---------------------------------------------------------------------------------------------
// What is asked of copies

TEST_F(Features, AnUpdateChangesNothing)
{
    ZALDocument* source = Open("Source.ZALPart");
    std::string text;
    EXPECT_EQ(S_OK, Update(ZALBaseUnknown_var(Part(source)), text)) << text;
    EXPECT_FALSE(Workspace().Find(File("Source.ZALPart"))->IsDirty());
    EXPECT_THAT(Told("action"), ElementsAre("opened"));
}

TEST_F(CopiedFeatures, FactsOfADocumentFromOutsideAreNotThoseOfACopy)
{
    WriteSource([](CadDocument& source) { source.geometry->facts->volume = 1; });
    Copy(Source, Only(Result(Part(Source)->GetMainTool())), Target, Part(Target)->GetMainTool());
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(Target, Path("Result.ZALPart"), "", 1));
    EXPECT_EQ(std::nullopt, ReadDocument(File("Result.ZALPart")).geometry->facts);
    EXPECT_NEAR(Measured(ReadDocument(File("Result.ZALPart")).geometry).volume, 500 * 3.14159265358979, 1e-6);
}

/// What is told of a copy of `geometry`, and of the update after it.
class FaultyCopies : public Features {
protected:
    void CopyAndUpdate(const DocumentGeometry& geometry, int copies, const std::string& told)
    {
        WriteSource([&](CadDocument& source) { source.geometry = geometry; });
        ZALDocument* source = Open("Source.ZALPart");
        ZALDocument* target = Open("Template.ZALPart");
        EXPECT_EQ(copies,
                  Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool()).Size());
        for (int time = 0; time < 2; ++time) {
            std::string text;
            EXPECT_EQ(E_FAIL, Update(ZALBaseUnknown_var(Part(target)), text));
            EXPECT_EQ(told, text);
        }
        EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(target, Path("Result.ZALPart"), "", 1));
        EXPECT_TRUE(ReadDocument(File("Result.ZALPart")).geometry);
        std::string text;
        EXPECT_EQ(E_FAIL, Update(ZALBaseUnknown_var(Part(target)), text));
        EXPECT_EQ(told, text) << "as it stands in the file";
    }
};

TEST_F(FaultyCopies, WhatIsNoSolidIsPastedAndEndsTheUpdate)
{
    CopyAndUpdate(OpenBox(), 1, "TEMPLATE: the update has failed: the shape is not valid");
}

TEST_F(FaultyCopies, WhatTheKernelCrashesOnWhenItChecksIsPastedAndEndsTheUpdate)
{
    CopyAndUpdate(CrashesChecking(), 1, "TEMPLATE: the update has failed: the solid kernel has crashed");
}

// ---------------------------------------------------------------------------------------------
// Copies ahead

class ExpectedCopies : public Features {
protected:
    static std::string NameOf(int number) { return "part" + std::to_string(number) + ".ZALPart"; }
    /// A product of ten parts, box after box, of which `change` may change some.
    ZALDocument* OpenProductOfParts(const std::function<void(int number, CadDocument& part)>& change = {})
    {
        std::vector<Child> children;
        for (int number = 1; number <= 10; ++number) {
            CadDocument part;
            part.partNumber = "P" + std::to_string(number);
            part.geometry = EncodeShape(BRepPrimAPI_MakeBox(number, 1, 1).Shape());
            if (change)
                change(number, part);
            WriteDocument(part, File(NameOf(number)));
            children.push_back({"child" + std::to_string(number), NameOf(number)});
        }
        ProductOf("parts.ZALProduct", children);
        return Open("parts.ZALProduct");
    }
    /// Copies a part of the product into a template, and gives the volume of the copy: 0 when there is none.
    double CopyPart(int number)
    {
        ZALDocument* source = Open(NameOf(number).c_str());
        ZALDocument* target = Open("Template.ZALPart");
        Copy(source, Only(Result(Part(source)->GetMainTool())), target, Part(target)->GetMainTool());
        const std::string name = "copy" + std::to_string(number) + ".ZALPart";
        EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(target, Path(name), "", 1));
        Close(source);
        Close(target);
        const std::optional<DocumentGeometry> geometry = ReadDocument(File(name)).geometry;
        return geometry ? Measured(geometry).volume : 0;
    }
};

TEST_F(ExpectedCopies, AreThoseOfTheirParts)
{
    OpenProductOfParts();
    for (int number = 1; number <= 10; ++number)
        EXPECT_NEAR(number, CopyPart(number), 1e-9);
    for (const int number : {7, 3, 9})
        EXPECT_TRUE(std::filesystem::remove(File("copy" + std::to_string(number) + ".ZALPart")));
    for (const int number : {7, 3, 9})
        EXPECT_NEAR(number, CopyPart(number), 1e-9) << "in any order";
    EXPECT_THAT(Refusals(), IsEmpty());
}

TEST_F(ExpectedCopies, AreOfWhatTheFileHoldsWhenItIsCopied)
{
    OpenProductOfParts();
    CopyPart(1);
    CadDocument changed = ReadDocument(File(NameOf(2)));
    changed.geometry = EncodeShape(BRepPrimAPI_MakeBox(50, 1, 1).Shape());
    WriteDocument(changed, File(NameOf(2)));
    EXPECT_NEAR(50, CopyPart(2), 1e-9);
    std::filesystem::remove(File(NameOf(3)));
    EXPECT_EQ(0, CopyPart(3));
    EXPECT_NEAR(4, CopyPart(4), 1e-9);
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr(NameOf(3))));
}

TEST_F(ExpectedCopies, FailInTheirTurn)
{
    OpenProductOfParts([](int number, CadDocument& part) {
        if (number == 3)
            part.geometry->boundary = "no boundary";
        if (number == 4)
            part.geometry = CrashesDecoding();
    });
    CopyPart(1);
    CopyPart(2);
    EXPECT_THAT(Refusals(), IsEmpty());
    EXPECT_EQ(0, CopyPart(3));
    EXPECT_EQ(1U, Refusals().size());
    EXPECT_EQ(0, CopyPart(4));
    EXPECT_THAT(Refusals(), ElementsAre(HasSubstr("PartBody"), HasSubstr("crashed")));
    for (int number = 5; number <= 10; ++number)
        EXPECT_NEAR(number, CopyPart(number), 1e-9);
}

TEST_F(ExpectedCopies, EndWithTheKernel)
{
    OpenProductOfParts([](int, CadDocument& part) { part.geometry = CrashesChecking(); });
    CopyPart(1);
    SolidKernel::Install(nullptr);
    EXPECT_EQ(0, CopyPart(2));
}

// ---------------------------------------------------------------------------------------------
// Updates, working feature, cameras

TEST_F(Features, WhatIsNoSolidEndsAnUpdateWithAnError)
{
    WriteSource([](CadDocument& source) { source.geometry = OpenBox(); });
    ZALDocument* source = Open("Source.ZALPart");
    std::string text;
    EXPECT_EQ(E_FAIL, Update(ZALBaseUnknown_var(Part(source)), text));
    EXPECT_EQ("BOLT: the update has failed: the shape is not valid", text);
    text.clear();
    EXPECT_EQ(E_FAIL, Update(ZALBaseUnknown_var(PrdGiveDocRootProduct(source)), text)) << "the product as well";
    EXPECT_NE(text, "");
    EXPECT_EQ(S_OK, Update(Tools(source)[2], text)) << "another tool is whole";
}

TEST_F(Features, ACrashOfTheKernelEndsAnUpdateWithAnError)
{
    WriteSource([](CadDocument& source) { source.geometry = CrashesChecking(); });
    ZALDocument* source = Open("Source.ZALPart");
    std::string text;
    EXPECT_EQ(E_FAIL, Update(ZALBaseUnknown_var(Part(source)), text));
    EXPECT_EQ("BOLT: the update has failed: the solid kernel has crashed", text);
    EXPECT_EQ(S_OK, Update(Tools(source)[2], text)) << "another tool is whole";
}

TEST_F(Features, TheToolThatIsWorkedInIsKept)
{
    ZALDocument* source = Open("Source.ZALPart");
    const ZALIPrtManagement_var management(Part(source));
    EXPECT_EQ(S_OK, management->SetWorkingFeature(Tools(source)[2]));
    EXPECT_EQ(E_FAIL, management->SetWorkingFeature(Result(Tools(source)[1]))) << "no tool";
    EXPECT_EQ(E_INVALIDARG, management->SetWorkingFeature(ZALBaseUnknown_var(PrdGiveDocRootProduct(source))));
    EXPECT_EQ(E_INVALIDARG, management->SetWorkingFeature({}));
    ZALDocument* target = Open("Template.ZALPart");
    EXPECT_EQ(E_FAIL, management->SetWorkingFeature(Part(target)->GetMainTool())) << "of another part";
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(source, Path("Saved.ZALPart"), "", 1));
    Close(source);
    Close(target);
    EXPECT_EQ(1U, ReadDocument(File("Saved.ZALPart")).features.workingTool);
}

TEST_F(CopiedFeatures, CamerasOfAnotherDocumentReplaceItsOwn)
{
    const ZALCameraStore_var from = ZALIPersistentCamera_var(Source)->GetCameraStore();
    const ZALCameraStore_var to = ZALIPersistentCamera_var(Target)->GetCameraStore();
    ASSERT_TRUE(from && to);
    EXPECT_EQ(S_OK, to->TakeCameras(*from.Get()));
    EXPECT_EQ(S_OK, to->TakeCameras(*to.Get())) << "its own";
    EXPECT_EQ(S_OK, ZALDocumentServices::SaveAs(Target, Path("Result.ZALPart"), "", 1));
    Close(Source);
    Close(Target);
    EXPECT_EQ(E_FAIL, to->TakeCameras(*from.Get())) << "the document is closed";
    EXPECT_EQ(ReadDocument(File("Result.ZALPart")).cameras, ReadDocument(File("Source.ZALPart")).cameras);
}

TEST_F(Features, DocumentsWithoutCamerasHaveNoStore)
{
    WriteSource([](CadDocument& source) { source.cameras.clear(); });
    ZALDocument* source = Open("Source.ZALPart");
    EXPECT_FALSE(ZALIPersistentCamera_var(source)->GetCameraStore());
}

} // namespace

} // namespace openhost::testing
