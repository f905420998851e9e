#include "tests/support/StepFile.h"

#include <BRepGProp.hxx>
#include <GProp_GProps.hxx>
#include <Message.hxx>
#include <Message_Messenger.hxx>
#include <Message_PrinterOStream.hxx>
#include <STEPCAFControl_Reader.hxx>
#include <STEPControl_Reader.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDF_Tool.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Document.hxx>
#include <TopExp_Explorer.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Trsf.hxx>

#include <map>
#include <stdexcept>

namespace openhost::testing {

namespace {

double VolumeOf(const TopoDS_Shape& shape)
{
    if (shape.IsNull())
        return 0;
    GProp_GProps properties;
    BRepGProp::VolumeProperties(shape, properties);
    return properties.Mass();
}

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

class TreeReader {
public:
    explicit TreeReader(StepFile& file) : file_(file) {}

    void Read(const TDF_Label& product, const std::string& path, const gp_Trsf& placed)
    {
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(product, components);
        for (const TDF_Label& component : components) {
            TDF_Label referred;
            XCAFDoc_ShapeTool::GetReferredShape(component, referred);
            const gp_Trsf here = placed * XCAFDoc_ShapeTool::GetLocation(component).Transformation();
            StepInstance instance;
            instance.path = path + (path.empty() ? "" : "/") + NameOf(component);
            instance.product = NameOf(referred);
            instance.productNumber = NumberOf(referred);
            for (int row = 1; row <= 3; ++row)
                for (int column = 1; column <= 4; ++column)
                    instance.placement[static_cast<std::size_t>(4 * (row - 1) + column - 1)] = here.Value(row, column);
            instance.volume = VolumeOf(XCAFDoc_ShapeTool::GetShape(referred));
            file_.instances.push_back(instance);
            Read(referred, instance.path, here);
        }
    }

    std::size_t NumberOf(const TDF_Label& product)
    {
        TCollection_AsciiString entry;
        TDF_Tool::Entry(product, entry);
        return numbers_.try_emplace(entry.ToCString(), numbers_.size()).first->second;
    }

    std::size_t Products() const { return numbers_.size(); }

private:
    StepFile& file_;
    std::map<std::string, std::size_t> numbers_;
};

} // namespace

StepFile::StepFile(const std::filesystem::path& path)
{
    Message::DefaultMessenger()->RemovePrinters(STANDARD_TYPE(Message_PrinterOStream));

    STEPControl_Reader shapes;
    if (shapes.ReadFile(path.c_str()) != IFSelect_RetDone)
        throw std::runtime_error(path.string() + ": no STEP file");
    shapes.TransferRoots();
    const TopoDS_Shape whole = shapes.OneShape();
    if (!whole.IsNull())
        for (TopExp_Explorer found(whole, TopAbs_SOLID); found.More(); found.Next()) {
            ++solids;
            volume += VolumeOf(found.Current());
        }

    STEPCAFControl_Reader structure;
    structure.SetNameMode(Standard_True);
    Handle(TDocStd_Document) document = new TDocStd_Document("BinXCAF");
    if (structure.ReadFile(path.c_str()) != IFSelect_RetDone || !structure.Transfer(document))
        throw std::runtime_error(path.string() + ": no structure of products");
    TDF_LabelSequence roots;
    XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
    if (roots.Length() != 1)
        throw std::runtime_error(path.string() + ": " + std::to_string(roots.Length()) + " roots");
    root = NameOf(roots.First());
    TreeReader reader(*this);
    reader.NumberOf(roots.First());
    reader.Read(roots.First(), "", gp_Trsf());
    products = reader.Products();
}

const StepInstance& StepFile::Find(const std::string& path) const
{
    for (const StepInstance& instance : instances)
        if (instance.path == path)
            return instance;
    throw std::out_of_range("no instance " + path);
}

} // namespace openhost::testing
