#include "openhost/exchange/StepProducts.h"

#include "openhost/exchange/DocumentNames.h"
#include "openhost/exchange/ExchangeError.h"
#include "openhost/exchange/StepLosses.h"
#include "openhost/geometry/DocumentTree.h"

#include <IFSelect_ReturnStatus.hxx>
#include <Interface_Static.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_Printer.hxx>
#include <Message_PrinterOStream.hxx>
#include <Message_ProgressIndicator.hxx>
#include <Quantity_Color.hxx>
#include <STEPCAFControl_Controller.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <STEPConstruct_ExternRefs.hxx>
#include <StepBasic_DocumentFile.hxx>
#include <StepBasic_ExternalSource.hxx>
#include <StepBasic_IdentificationAssignment.hxx>
#include <StepBasic_Product.hxx>
#include <StepBasic_ProductDefinition.hxx>
#include <StepBasic_ProductDefinitionFormation.hxx>
#include <StepBasic_SourceItem.hxx>
#include <StepData_StepModel.hxx>
#include <StepRepr_NextAssemblyUsageOccurrence.hxx>
#include <TColStd_HSequenceOfExtendedString.hxx>
#include <TCollection_HAsciiString.hxx>
#include <TDF_LabelMap.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopLoc_Location.hxx>
#include <TopoDS_Iterator.hxx>
#include <TransferBRep.hxx>
#include <Transfer_TransientProcess.hxx>
#include <XCAFDoc_ColorTool.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_LayerTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <XSControl_TransferReader.hxx>
#include <XSControl_WorkSession.hxx>
#include <gp_Trsf.hxx>

#include <algorithm>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <set>
#include <utility>

namespace openhost {

namespace {

using Warn = std::function<void(const std::string&)>;

/// How much of the work the reading of the file's text is; the rest is that of its shapes.
constexpr double PartOfText = 0.1;

// ---------------------------------------------------------------------------------------------
// The text

/// The file is read by its name, so that it must be one that has an end.
void CheckFile(const std::filesystem::path& path)
{
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        throw ExchangeError("there is no such file");
    if (!std::filesystem::is_regular_file(status))
        throw ExchangeError("it is not a regular file");
    const std::uintmax_t size = std::filesystem::file_size(path, error);
    if (error)
        throw ExchangeError("it cannot be read");
    if (size == 0)
        throw ExchangeError("it is empty");
    if (size > MaximumStepFileSize)
        throw ExchangeError("it is larger than " + std::to_string(MaximumStepFileSize) + " bytes");
    std::ifstream file(path, std::ios::binary);
    std::string head(std::min<std::uintmax_t>(size, 64 << 10), '\0');
    if (!file.read(head.data(), static_cast<std::streamsize>(head.size())))
        throw ExchangeError("it cannot be read");
    // Comments and blanks may stand before.
    if (head.find("ISO-10303-21") == std::string::npos)
        throw ExchangeError("it is not a STEP file");
}

/// Takes the complaints of the parser of STEP, which gives no other account of them.
class ParserComplaints : public Message_Printer {
public:
    ParserComplaints()
    {
        Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_PrinterOStream));
        Message::DefaultMessenger()->AddPrinter(this);
    }

    /// Number of the line that it complained of first; empty when it did not name one.
    const std::string& Line() const { return line_; }
    /// Whether there are entities that it has passed over.
    bool HasGaps() const { return hasGaps_; }

protected:
    void send(const TCollection_AsciiString& text, const Message_Gravity gravity) const override
    {
        static const std::regex place("Line ([0-9]+)");
        std::cmatch match;
        if (gravity >= Message_Fail && line_.empty() && std::regex_search(text.ToCString(), match, place))
            line_ = match[1];
        hasGaps_ = hasGaps_ || text.Search("Incorrect Syntax") > 0;
    }

private:
    mutable std::string line_;
    mutable bool hasGaps_ = false;
};

void Parse(STEPCAFControl_Reader& reader, const std::filesystem::path& path)
{
    const Handle(ParserComplaints) complaints = new ParserComplaints;
    const IFSelect_ReturnStatus status = reader.ReadFile(path.c_str());
    Message::DefaultMessenger()->RemovePrinter(complaints);
    if (status != IFSelect_RetDone)
        throw ExchangeError(complaints->Line().empty() ? "it is damaged or cut off"
                                                       : "it is damaged or cut off at line " + complaints->Line());
    if (complaints->HasGaps())
        throw ExchangeError("it is damaged: an entity cannot be read");
}

// ---------------------------------------------------------------------------------------------
// What the entities say, before the kernel follows them: it does so without limits

std::string TextOf(const Handle(TCollection_HAsciiString) & text)
{
    return text.IsNull() ? std::string() : std::string(text->ToCString(), static_cast<std::size_t>(text->Length()));
}

class StructureCheck {
public:
    explicit StructureCheck(const Handle(StepData_StepModel) & model)
    {
        for (int number = 1; number <= model->NbEntities(); ++number) {
            const auto use = Handle(StepRepr_NextAssemblyUsageOccurrence)::DownCast(model->Value(number));
            if (use.IsNull())
                continue;
            const StepBasic_ProductDefinition* father = use->RelatingProductDefinition().get();
            const StepBasic_ProductDefinition* child = use->RelatedProductDefinition().get();
            if (father && child)
                children_[father].push_back(child);
        }
    }

    void Check()
    {
        for (const auto& [father, children] : children_)
            Measure(father, 1);
    }

private:
    struct Size {
        std::size_t levels = 0; ///< 0 while it is being measured
        std::size_t instances = 1;
    };

    /// What the product unfolds into, itself included.
    Size Measure(const StepBasic_ProductDefinition* product, std::size_t level)
    {
        const auto children = children_.find(product);
        if (children == children_.end())
            return {1, 1};
        const auto [known, isNew] = sizes_.try_emplace(product);
        if (!isNew && known->second.levels == 0)
            throw ExchangeError("a product is a part of itself");
        if (!isNew)
            return known->second;
        Size size{1, 1};
        if (level < MaximumTreeLevels)
            for (const StepBasic_ProductDefinition* child : children->second) {
                const Size below = Measure(child, level + 1);
                size.levels = std::max(size.levels, below.levels + 1);
                size.instances += below.instances;
                if (size.instances > MaximumTreeInstances)
                    throw ExchangeError("its products have more than " + std::to_string(MaximumTreeInstances) +
                                        " instances");
            }
        if (level >= MaximumTreeLevels || size.levels > MaximumTreeLevels)
            throw ExchangeError("its products have more than " + std::to_string(MaximumTreeLevels) + " levels");
        return sizes_[product] = size;
    }

    std::map<const StepBasic_ProductDefinition*, std::vector<const StepBasic_ProductDefinition*>> children_;
    std::map<const StepBasic_ProductDefinition*, Size> sizes_;
};

/// The names of other files in which products are said to stand.
std::set<std::string> NamesOfOtherFiles(const Handle(XSControl_WorkSession) & session)
{
    STEPConstruct_ExternRefs others(session);
    others.LoadExternRefs();
    std::set<std::string> names;
    for (int number = 1; number <= others.NbExternRefs(); ++number)
        if (const char* name = others.FileName(number); name && !ReadableText(name).empty())
            names.insert(ReadableText(name));
    return names;
}

/// The kernel would read other files that the file names, wherever they are.
void ForgetOtherFiles(const Handle(XSControl_WorkSession) & session, const Handle(StepData_StepModel) & model,
                      const Warn& warn)
{
    const std::set<std::string> names = NamesOfOtherFiles(session);
    if (names.empty())
        return;
    for (const std::string& name : names)
        warn("what stands in another file is left out: " + name);
    const Handle(TCollection_HAsciiString) nothing = new TCollection_HAsciiString("");
    for (int number = 1; number <= model->NbEntities(); ++number) {
        const Handle(Standard_Transient) entity = model->Value(number);
        if (const auto named = Handle(StepBasic_IdentificationAssignment)::DownCast(entity); !named.IsNull())
            named->SetAssignedId(nothing);
        if (const auto file = Handle(StepBasic_DocumentFile)::DownCast(entity); !file.IsNull()) {
            file->SetId(nothing);
            file->SetName(nothing);
        }
        if (const auto source = Handle(StepBasic_ExternalSource)::DownCast(entity); !source.IsNull())
            source->SetSourceId(StepBasic_SourceItem());
    }
    if (const std::set<std::string> left = NamesOfOtherFiles(session); !left.empty())
        throw ExchangeError("it refers to another file: " + *left.begin());
}

// ---------------------------------------------------------------------------------------------
// The products

class TransferProgress : public Message_ProgressIndicator {
public:
    explicit TransferProgress(const std::function<void(double)>& tell) : tell_(tell) {}

protected:
    void Show(const Message_ProgressScope&, const Standard_Boolean) override
    {
        tell_(PartOfText + (1 - PartOfText) * GetPosition());
    }

private:
    const std::function<void(double)>& tell_;
};

std::string NameOf(const TDF_Label& label)
{
    Handle(TDataStd_Name) name;
    if (!label.FindAttribute(TDataStd_Name::GetID(), name))
        return {};
    const TCollection_ExtendedString& text = name->Get();
    std::string utf8(static_cast<std::size_t>(text.LengthOfCString()), '\0');
    char* buffer = utf8.data();
    text.ToUTF8CString(buffer);
    return utf8;
}

Placement PlacementOf(const TDF_Label& component)
{
    const gp_Trsf transformation = XCAFDoc_ShapeTool::GetLocation(component).Transformation();
    Placement placement{};
    for (int row = 1; row <= 3; ++row)
        for (int column = 1; column <= 4; ++column)
            placement[static_cast<std::size_t>(4 * (row - 1) + column - 1)] = transformation.Value(row, column);
    return placement;
}

/// The entity of a product by the label that the kernel has made for it.
using ProductsByLabel = NCollection_DataMap<TDF_Label, Handle(StepBasic_Product), TDF_LabelMapHasher>;

ProductsByLabel FindProducts(const STEPCAFControl_Reader& reader, const Handle(StepData_StepModel) & model)
{
    const Handle(Transfer_TransientProcess) process = reader.Reader().WS()->TransferReader()->TransientProcess();
    ProductsByLabel products;
    for (int number = 1; number <= model->NbEntities(); ++number) {
        const auto definition = Handle(StepBasic_ProductDefinition)::DownCast(model->Value(number));
        if (definition.IsNull() || definition->Formation().IsNull() || definition->Formation()->OfProduct().IsNull())
            continue;
        const TopoDS_Shape shape = TransferBRep::ShapeResult(process, definition);
        if (!shape.IsNull() && reader.GetShapeLabelMap().IsBound(shape))
            products.Bind(reader.GetShapeLabelMap().Find(shape), definition->Formation()->OfProduct());
    }
    return products;
}

class ProductReader {
public:
    ProductReader(const Handle(TDocStd_Document) & document, const ProductsByLabel& entities, const Warn& warn)
        : layers_(XCAFDoc_DocumentTool::LayerTool(document->Main())),
          colors_(XCAFDoc_DocumentTool::ColorTool(document->Main())), entities_(entities), warn_(warn)
    {
    }

    std::size_t Read(const TDF_Label& label)
    {
        if (const std::size_t* known = positions_.Seek(label))
            return *known;
        StepProduct product;
        if (entities_.IsBound(label)) {
            const Handle(StepBasic_Product)& entity = entities_.Find(label);
            product.id = TextOf(entity->Id());
            product.name = TextOf(entity->Name());
            product.description = TextOf(entity->Description());
        }
        if (product.id.empty() && product.name.empty())
            product.name = NameOf(label);
        product.isAssembly = HoldsProducts(label);
        if (++level_ > MaximumTreeLevels)
            throw ExchangeError("its products have more than " + std::to_string(MaximumTreeLevels) + " levels");
        std::size_t size = 1;
        if (product.isAssembly)
            ReadInstances(label, product, size);
        else
            product.shape = XCAFDoc_ShapeTool::GetShape(label);
        --level_;
        Describe(label, TopLoc_Location(), product);
        products_.push_back(std::move(product));
        positions_.Bind(label, products_.size() - 1);
        sizes_.push_back(size);
        return products_.size() - 1;
    }

    std::vector<StepProduct> Take() { return std::move(products_); }

private:
    /// An assembly may hold nothing but its own shapes, in places of their own and without names: that is a part.
    bool HoldsProducts(const TDF_Label& label) const
    {
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(label, components);
        return XCAFDoc_ShapeTool::IsAssembly(label) &&
               (components.IsEmpty() || std::ranges::any_of(components, [&](const TDF_Label& component) {
                    TDF_Label referred;
                    return XCAFDoc_ShapeTool::GetReferredShape(component, referred) &&
                           (entities_.IsBound(referred) || !NameOf(referred).empty() || HoldsProducts(referred));
                }));
    }

    /// `size` becomes that of the product once it is unfolded, itself included.
    void ReadInstances(const TDF_Label& label, StepProduct& product, std::size_t& size)
    {
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(label, components);
        for (const TDF_Label& component : components) {
            StepProduct::Instance instance{NameOf(component), 0, PlacementOf(component)};
            TDF_Label referred;
            if (!XCAFDoc_ShapeTool::GetReferredShape(component, referred))
                continue;
            if (!IsRigid(instance.placement)) {
                warn_(product.name + ": instance " + instance.name +
                      " is left out: it is scaled or mirrored, which a product cannot hold");
                continue;
            }
            instance.product = Read(referred);
            if (StepProduct& own = products_[instance.product]; !entities_.IsBound(referred) && own.name.empty())
                own.name = (product.id.empty() ? product.name : product.id) + " shape";
            size += sizes_[instance.product];
            if (size > MaximumTreeInstances)
                throw ExchangeError("its products have more than " + std::to_string(MaximumTreeInstances) +
                                    " instances");
            if (ColorOf(component))
                warn_(product.name + ": instance " + instance.name + " has a colour of its own, which is left out");
            product.instances.push_back(std::move(instance));
        }
    }

    /// Adds the colours and layers of what `label` holds of the product, which stands at `place` in its shape.
    void Describe(const TDF_Label& label, const TopLoc_Location& place, StepProduct& product) const
    {
        AddLayers(label, product);
        if (product.isAssembly)
            return;
        ColoredFaces own;
        TDF_LabelSequence parts;
        XCAFDoc_ShapeTool::GetSubShapes(label, parts);
        parts.Prepend(label);
        for (const TDF_Label& part : parts)
            if (const std::optional<SurfaceColor> color = ColorOf(part))
                own.Bind(XCAFDoc_ShapeTool::GetShape(part), *color);
        if (!own.IsEmpty())
            Paint(XCAFDoc_ShapeTool::GetShape(label), place, own, std::nullopt, product.colors);
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(label, components);
        for (const TDF_Label& component : components) {
            TDF_Label referred;
            if (XCAFDoc_ShapeTool::GetReferredShape(component, referred))
                Describe(referred, place * XCAFDoc_ShapeTool::GetLocation(component), product);
        }
    }

    std::optional<SurfaceColor> ColorOf(const TDF_Label& label) const
    {
        Quantity_Color color;
        if (!colors_->GetColor(label, XCAFDoc_ColorSurf, color) && !colors_->GetColor(label, XCAFDoc_ColorGen, color))
            return std::nullopt;
        SurfaceColor parts{};
        color.Values(parts[0], parts[1], parts[2], Quantity_TOC_sRGB);
        for (double& part : parts)
            part = std::clamp(part, 0.0, 1.0);
        return parts;
    }

    /// Binds the faces below `shape`, at `place`, to the colour that is the nearest above them.
    static void Paint(const TopoDS_Shape& shape, const TopLoc_Location& place, const ColoredFaces& own,
                      std::optional<SurfaceColor> color, ColoredFaces& faces)
    {
        if (const SurfaceColor* found = own.Seek(shape))
            color = *found;
        if (shape.ShapeType() == TopAbs_FACE) {
            if (color)
                faces.Bind(shape.Moved(place), *color);
            return;
        }
        for (TopoDS_Iterator part(shape); part.More(); part.Next())
            Paint(part.Value(), place, own, color, faces);
    }

    void AddLayers(const TDF_Label& label, StepProduct& product) const
    {
        TDF_LabelSequence holders;
        XCAFDoc_ShapeTool::GetSubShapes(label, holders);
        holders.Prepend(label);
        for (const TDF_Label& holder : holders) {
            Handle(TColStd_HSequenceOfExtendedString) names;
            if (!layers_->GetLayers(holder, names) || names.IsNull())
                continue;
            for (const TCollection_ExtendedString& name : *names) {
                std::string text(static_cast<std::size_t>(name.LengthOfCString()), '\0');
                char* buffer = text.data();
                name.ToUTF8CString(buffer);
                if (std::ranges::find(product.layers, text) == product.layers.end())
                    product.layers.push_back(std::move(text));
            }
        }
    }

    const Handle(XCAFDoc_LayerTool) layers_;
    const Handle(XCAFDoc_ColorTool) colors_;
    const ProductsByLabel entities_;
    const Warn& warn_;
    std::vector<StepProduct> products_;
    std::vector<std::size_t> sizes_; ///< of each, unfolded
    std::size_t level_ = 0;
    NCollection_DataMap<TDF_Label, std::size_t, TDF_LabelMapHasher> positions_;
};

} // namespace

StepProducts ReadStepProducts(const std::filesystem::path& path, const Warn& warn,
                              const std::function<void(double)>& tell)
{
    CheckFile(path);
    STEPCAFControl_Controller::Init();
    Interface_Static::SetCVal("xstep.cascade.unit", "MM");
    // Otherwise the kernel names what the file does not name.
    XCAFDoc_ShapeTool::SetAutoNaming(Standard_False);
    STEPCAFControl_Reader reader;
    Parse(reader, path);
    tell(PartOfText);

    const Handle(StepData_StepModel) model = reader.Reader().StepModel();
    StructureCheck(model).Check();
    ForgetOtherFiles(reader.Reader().WS(), model, warn);

    reader.SetPropsMode(Standard_False);
    reader.SetGDTMode(Standard_False);
    reader.SetMatMode(Standard_False);
    reader.SetViewMode(Standard_False);
    const Handle(TDocStd_Document) document = new TDocStd_Document("BinXCAF");
    const Handle(TransferProgress) progress = new TransferProgress(tell);
    Handle(TDocStd_Document) target = document;
    if (!reader.Transfer(target, progress->Start()))
        throw ExchangeError("it holds no shape");

    ProductReader products(document, FindProducts(reader, model), warn);
    TDF_LabelSequence free;
    XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(free);
    StepProducts result;
    for (const TDF_Label& root : free)
        result.roots.push_back(products.Read(root));
    result.products = products.Take();
    if (result.products.empty())
        throw ExchangeError("it holds no product");
    TellLosses(model, warn);
    return result;
}

} // namespace openhost
