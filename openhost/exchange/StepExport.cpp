#include "openhost/exchange/StepExport.h"

#include "openhost/exchange/StepParameters.h"
#include "openhost/geometry/DocumentTree.h"
#include "openhost/geometry/FaceColors.h"
#include "openhost/geometry/KernelFailure.h"
#include "openhost/text/OneLine.h"
#include "openhost/text/Utf8.h"

#include <APIHeaderSection_MakeHeader.hxx>
#include <BRep_Builder.hxx>
#include <Interface_HArray1OfHAsciiString.hxx>
#include <Interface_Static.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPCAFControl_Writer.hxx>
#include <Standard_Failure.hxx>
#include <Standard_Version.hxx>
#include <StepBasic_Product.hxx>
#include <StepData_Protocol.hxx>
#include <StepData_StepModel.hxx>
#include <StepData_StepWriter.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopoDS_Compound.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XSControl_WorkSession.hxx>
#include <gp_Trsf.hxx>

#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string_view>
#include <vector>

namespace openhost {

namespace {

void SetName(const TDF_Label& label, const std::string& name)
{
    TDataStd_Name::Set(label, TCollection_ExtendedString(name.c_str(), Standard_True));
}

TopLoc_Location LocationOf(const Placement& p)
{
    gp_Trsf transformation;
    transformation.SetValues(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11]);
    return TopLoc_Location(transformation);
}

/// The shape of a part as one of its own: without a location, which would make it an instance of another shape.
TopoDS_Shape Standalone(const TopoDS_Shape& shape)
{
    if (!shape.IsNull() && shape.Location().IsIdentity())
        return shape;
    TopoDS_Compound compound;
    BRep_Builder builder;
    builder.MakeCompound(compound);
    if (!shape.IsNull())
        builder.Add(compound, shape);
    return compound;
}

Quantity_Color ToKernel(const SurfaceColor& color)
{
    return {color[0], color[1], color[2], Quantity_TOC_sRGB};
}

/// Sets the colours of the part `part` at its label.
void SetColors(const Handle(TDocStd_Document) & document, const TDF_Label& label, const TreeDocument& part)
{
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    const Handle(XCAFDoc_ColorTool) colors = XCAFDoc_DocumentTool::ColorTool(document->Main());
    if (part.shape.IsNull())
        return;
    if (part.colors.whole)
        colors->SetColor(label, ToKernel(*part.colors.whole), XCAFDoc_ColorSurf);
    // Its location is inside that shape, so that the faces are those of its own.
    const FaceColors faces(XCAFDoc_ShapeTool::GetShape(label), part.colors);
    for (const FaceColor& face : part.colors.faces)
        if (face.face < static_cast<std::uint32_t>(faces.Faces().Extent()))
            colors->SetColor(shapes->AddSubShape(label, faces.Faces()(static_cast<int>(face.face) + 1)),
                             ToKernel(face.color), XCAFDoc_ColorSurf);
}

void FillDocument(const Handle(TDocStd_Document) & document, const DocumentTree& tree)
{
    const Handle(XCAFDoc_ShapeTool) shapes = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    std::vector<TDF_Label> labels;
    for (const TreeDocument& entry : tree) {
        const TDF_Label label = entry.kind == DocumentKind::Product
                                    ? shapes->NewShape()
                                    : shapes->AddShape(Standalone(entry.shape), Standard_False);
        SetName(label, std::to_string(labels.size())); // NameProducts knows it by that
        SetColors(document, label, entry);
        for (const TreeDocument::Instance& instance : entry.instances)
            SetName(shapes->AddComponent(label, labels[instance.document], LocationOf(instance.placement)),
                    instance.name);
        labels.push_back(label);
    }
    shapes->UpdateAssemblies();
}

Handle(TCollection_HAsciiString) ToText(const std::string& text)
{
    return new TCollection_HAsciiString(InOneLine(text).c_str());
}

/// The name of the product, unless it is the part number.
std::string ProductName(const TreeDocument& document)
{
    for (const UserParameter& parameter : document.parameters)
        if (const auto* text = std::get_if<std::string>(&parameter.value); text && parameter.name == StepNameParameter)
            return *text;
    return document.name;
}

/// Says of each product in `model`, which has the number of its document for a name, what the document says.
void NameProducts(const Handle(StepData_StepModel) & model, const DocumentTree& tree)
{
    for (int number = 1; number <= model->NbEntities(); ++number) {
        const auto product = Handle(StepBasic_Product)::DownCast(model->Value(number));
        if (product.IsNull())
            continue;
        const TreeDocument& document = tree.at(std::stoul(product->Name()->ToCString()));
        product->SetId(ToText(document.name));
        product->SetName(ToText(ProductName(document)));
        product->SetDescription(ToText(document.description));
    }
}

/// `text`, a STEP file with names in UTF-8, with each character beyond ASCII in the form of the format.
std::string EncodeNames(const std::string& text)
{
    std::string encoded;
    encoded.reserve(text.size());
    for (std::string_view rest = text; !rest.empty();) {
        const auto [length, character] = ReadUtf8Sequence(rest);
        if (length <= 1) {
            encoded += rest.front();
            rest.remove_prefix(1);
            continue;
        }
        rest.remove_prefix(length);
        const auto code = static_cast<std::uint32_t>(character);
        char form[24];
        std::snprintf(form, sizeof(form), code > 0xFFFF ? "\\X4\\%08X\\X0\\" : "\\X2\\%04X\\X0\\", code);
        encoded += form;
    }
    return encoded;
}

Handle(Interface_HArray1OfHAsciiString) ToList(const std::string& text)
{
    Handle(Interface_HArray1OfHAsciiString) list = new Interface_HArray1OfHAsciiString(1, 1);
    list->SetValue(1, ToText(text));
    return list;
}

std::string Print(STEPCAFControl_Writer& writer, const std::string& fileName, const StepAuthor& author)
{
    const Handle(StepData_StepModel) model = writer.ChangeWriter().Model();
    APIHeaderSection_MakeHeader header(model);
    header.SetDescription(ToList("Parts and products with their places"));
    header.SetName(ToText(fileName));
    header.SetAuthor(ToList(author.name));
    header.SetOrganization(ToList(author.organization));
    header.SetPreprocessorVersion(ToText("Open CASCADE " OCC_VERSION_COMPLETE));
    header.SetOriginatingSystem(ToText("openhost " VELMART_VERSION));
    header.SetAuthorisation(ToText(""));
    header.Apply(model);

    StepData_StepWriter printer(model);
    printer.SendModel(Handle(StepData_Protocol)::DownCast(writer.ChangeWriter().WS()->Protocol()));
    std::ostringstream text;
    if (!printer.Print(text))
        throw ExchangeError("the STEP file cannot be put together");
    return EncodeNames(std::move(text).str());
}

} // namespace

void ExportStep(const std::filesystem::path& document, const std::filesystem::path& output, const StepAuthor& author,
                const std::function<void(const std::string& line)>& warn)
{
    const DocumentTree tree = ReadDocumentTree(document, warn);
    std::string text;
    try {
        STEPCAFControl_Controller::Init();
        Interface_Static::SetCVal("write.step.schema", "AP214IS");
        Interface_Static::SetCVal("write.step.unit", "MM");
        const Handle(TDocStd_Document) model = new TDocStd_Document("BinXCAF");
        FillDocument(model, tree);
        STEPCAFControl_Writer writer;
        writer.SetColorMode(Standard_True);
        writer.SetLayerMode(Standard_False);
        writer.SetPropsMode(Standard_False);
        if (!writer.Transfer(model))
            throw ExchangeError(document.string() + ": the document has no form in STEP");
        NameProducts(writer.ChangeWriter().Model(), tree);
        text = Print(writer, output.filename().string(), author);
    } catch (const Standard_Failure& failure) {
        throw ExchangeError(document.string() + ": " + ReasonOf(failure));
    }
    WriteMadeOf(tree, output, text);
}

} // namespace openhost
