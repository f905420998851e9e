// A run over the user's templates of a product and its parts, beside what Open CASCADE needs to read and write the same
// documents. Arguments: number of distinct parts, number of instances, number of turns. Prints the time of each turn,
// ours and the peer's in turns. A first turn of each is not counted, unless there are so many parts that what is done
// once does not matter.
//
//   template    every part and the product are rebuilt on templates: the templates and the sources are read, the shapes
//               copied and checked, the results written
//   peer_xbf    every source part and the source product are read and written under another name as documents of the
//               kernel (format BinXCAF, a file each)
//   peer_brep   the same with the parts as bare shapes in the kernel's binary format
//   peer_solid  as peer_xbf, and the kernel checks each shape in between, as the run does
//
// The peer reads no templates. Both sides bring each file that they write to the disk, and the entry of its folder.

#include "benchmarks/Assembly.h"
#include "benchmarks/Measure.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/ProcessSolidKernel.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"

#include "templates/ZALVliApplyTemplatesOpe.h"

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <BinTools.hxx>
#include <TopoDS_Shape.hxx>
#include <gp_Ax1.hxx>
#include <gp_Pnt.hxx>
#include <gp_Vec.hxx>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace benchmarks;

/// Stepped shafts and prisms, each of its own size.
TopoDS_Shape SolidOf(int part)
{
    const double size = 10 + part;
    BRepBuilderAPI_MakePolygon outline;
    if (part % 2 == 0) {
        const int steps = 3 + part % 8 / 2;
        outline.Add(gp_Pnt(0, 0, 0));
        for (int step = 0; step < steps; ++step) {
            outline.Add(gp_Pnt(size - step, 0, 5 * step));
            outline.Add(gp_Pnt(size - step, 0, 5 * step + 5));
        }
        outline.Add(gp_Pnt(0, 0, 5 * steps));
        outline.Close();
        return BRepPrimAPI_MakeRevol(BRepBuilderAPI_MakeFace(outline.Wire()), gp_Ax1(gp_Pnt(0, 0, 0), gp_Dir(0, 0, 1)));
    }
    const int corners = 6 + part % 8;
    for (int corner = 0; corner < corners; ++corner) {
        const double angle = 2 * M_PI * corner / corners;
        outline.Add(gp_Pnt(size * std::cos(angle), size * std::sin(angle), 0));
    }
    outline.Close();
    return BRepPrimAPI_MakePrism(BRepBuilderAPI_MakeFace(outline.Wire()), gp_Vec(0, 0, size));
}

// ---------------------------------------------------------------------------------------------
// Ours

openhost::GeometryFacts FactsOf(const openhost::CadDocument& part)
{
    return openhost::MeasureShape(openhost::DecodeShape(*part.geometry));
}

ZALUnicodeString TextOf(const std::filesystem::path& path)
{
    return ZALUnicodeString(path.c_str());
}

class Ours {
public:
    explicit Ours(const Assembly& assembly) : assembly_(assembly)
    {
        const openhost::CadDocument product = ProductOf(assembly);
        sources_.Append(TextOf(folder_.Path() / "product.ZALProduct"));
        for (int part = 0; part < assembly.parts; ++part) {
            openhost::CadDocument document;
            document.partNumber = PartName(part);
            document.nomenclature = "Part";
            document.parameters = {{"Title", "Part"}, {"supplier", "Velmart"}};
            document.geometry = openhost::EncodeShape(SolidOf(part));
            const std::filesystem::path path = folder_.Path() / product.links[static_cast<std::size_t>(part)];
            openhost::WriteDocument(document, path);
            sources_.Append(TextOf(path));
        }
        openhost::WriteDocument(product, folder_.Path() / "product.ZALProduct");

        const openhost::DocumentCamera camera{"Isometric", {200, 200, 200}, {-1, -1, -1}, {-1, -1, 2}, 100};
        openhost::CadDocument partTemplate;
        partTemplate.partNumber = "PART_TEMPLATE";
        partTemplate.identity = "part-template";
        partTemplate.parameters = {{"Title", "A title"}, {"Revision", 1}};
        partTemplate.cameras = {camera};
        partTemplate.features.axisSystems = {{"Absolute axis system", openhost::IdentityPlacement}};
        openhost::WriteDocument(partTemplate, templates_.Path() / "part.ZALPart");
        openhost::CadDocument productTemplate;
        productTemplate.kind = openhost::DocumentKind::Product;
        productTemplate.partNumber = "PRODUCT_TEMPLATE";
        productTemplate.identity = "product-template";
        productTemplate.parameters = {{"Title", "A title"}};
        productTemplate.cameras = {camera};
        openhost::WriteDocument(productTemplate, templates_.Path() / "product.ZALProduct");
    }

    void Run(const std::filesystem::path& target)
    {
        ZALVliTemplateSupportUtilities::ZALVliApplyTemplatesOpe operation;
        operation.SetTemplatesPathes(TextOf(templates_.Path() / "part.ZALPart"),
                                     TextOf(templates_.Path() / "product.ZALProduct"));
        operation.SetSourceFilesPathes(sources_);
        operation.SetDestinationPath(TextOf(target), "result");
        operation.AddPrdPropertyToReport("supplier", "Velmart");
        Require(SUCCEEDED(operation.Run()), "the run has failed");
        Require(operation.GetResultFilePathes().Size() == assembly_.parts + 1, "results are missing");
    }

    /// Ends the program unless `target` holds the whole assembly.
    void Check(const std::filesystem::path& target) const
    {
        const openhost::CadDocument product = openhost::ReadDocument(target / "result.ZALProduct");
        Require(product.partNumber == "product" && product.links.size() == static_cast<std::size_t>(assembly_.parts) &&
                    product.children.size() == static_cast<std::size_t>(assembly_.instances),
                "the result is not whole");
        const int last = assembly_.instances - 1;
        Require(product.children.back().placement == Assembly::PlacementOf(last), "an instance stands elsewhere");
        const openhost::CadDocument part = openhost::ReadDocument(target / product.links[product.children.back().link]);
        const openhost::CadDocument source =
            openhost::ReadDocument(folder_.Path() / (PartName(assembly_.PartOf(last)) + ".ZALPart"));
        Require(part.partNumber == source.partNumber && source.geometry && part.geometry &&
                    FactsOf(part).faces == FactsOf(source).faces &&
                    std::abs(FactsOf(part).volume / FactsOf(source).volume - 1) < 1e-9,
                "a part is not that of the source");
    }

private:
    Assembly assembly_;
    openhost::TemporaryFolder folder_;
    openhost::TemporaryFolder templates_;
    ZALListValZALUnicodeString sources_;
};

// ---------------------------------------------------------------------------------------------
// The peer

class Peer {
public:
    explicit Peer(const Assembly& assembly) : assembly_(assembly)
    {
        for (int part = 0; part < assembly.parts; ++part) {
            const TopoDS_Shape solid = SolidOf(part);
            const Handle(TDocStd_Document) document = documents_.Make();
            const TDF_Label label = XCAFDoc_DocumentTool::ShapeTool(document->Main())->AddShape(solid, Standard_False);
            TDataStd_Name::Set(label, PartName(part).c_str());
            documents_.Save(document, folder_.Path() / (PartName(part) + ".xbf"));
            documents_.Close(document);
            WriteShape(solid, folder_.Path() / (PartName(part) + ".brep"));
        }
        const Handle(TDocStd_Document) product = MakeProduct();
        documents_.Save(product, folder_.Path() / "product.xbf");
        documents_.Close(product);
    }

    void RunDocuments(const std::filesystem::path& target)
    {
        for (int part = 0; part < assembly_.parts; ++part)
            CopyDocument(target, PartName(part) + ".xbf");
        CopyProduct(target);
    }

    void RunSolids(const std::filesystem::path& target)
    {
        for (int part = 0; part < assembly_.parts; ++part)
            CopyDocument(target, PartName(part) + ".xbf", [](const Handle(TDocStd_Document) & document) {
                const TDF_Label root = KernelDocuments::RootOf(document);
                openhost::CheckSolids(XCAFDoc_ShapeTool::GetShape(root));
            });
        CopyProduct(target);
    }

    void RunShapes(const std::filesystem::path& target)
    {
        for (int part = 0; part < assembly_.parts; ++part) {
            const std::string name = PartName(part) + ".brep";
            TopoDS_Shape shape;
            Require(BinTools::Read(shape, (folder_.Path() / name).c_str()), "the peer cannot read a shape");
            WriteShape(shape, target / name);
        }
        CopyProduct(target);
    }

private:
    /// The structure alone, as our products hold it: the geometry stands in the files of the parts.
    Handle(TDocStd_Document) MakeProduct()
    {
        Handle(TDocStd_Document) document = documents_.Make();
        std::vector<TDF_Label> parts;
        for (int part = 0; part < assembly_.parts; ++part) {
            parts.push_back(XCAFDoc_DocumentTool::ShapeTool(document->Main())->NewShape());
            TDataStd_Name::Set(parts.back(), PartName(part).c_str());
        }
        KernelDocuments::AddProduct(document, assembly_, parts);
        return document;
    }

    static void WriteShape(const TopoDS_Shape& shape, const std::filesystem::path& path)
    {
        Require(BinTools::Write(shape, path.c_str()), "the peer cannot write a shape");
        KernelDocuments::BringToDisk(path);
    }

    /// Reads the document `name` and writes it into `target`. `change` sees it in between.
    void CopyDocument(const std::filesystem::path& target, const std::string& name,
                      const std::function<void(const Handle(TDocStd_Document) & document)>& change = {})
    {
        const Handle(TDocStd_Document) document = documents_.Open(folder_.Path() / name);
        if (change)
            change(document);
        documents_.Save(document, target / name);
        documents_.Close(document);
    }

    void CopyProduct(const std::filesystem::path& target)
    {
        CopyDocument(target, "product.xbf", [&](const Handle(TDocStd_Document) & document) {
            KernelDocuments::InstancesOf(document, assembly_);
        });
    }

    Assembly assembly_;
    KernelDocuments documents_;
    openhost::TemporaryFolder folder_;
};

} // namespace

int main(int argc, char** argv)
{
    const int parts = std::max(1, argc > 1 ? std::atoi(argv[1]) : 10);
    const Assembly assembly{parts, std::max(parts, argc > 2 ? std::atoi(argv[2]) : parts)};
    const int turns = std::max(1, argc > 3 ? std::atoi(argv[3]) : 5);

    openhost::SolidKernel::Install(
        std::make_unique<openhost::ProcessSolidKernel>(std::make_shared<openhost::GeometryPool>()));
    Ours ours(assembly);
    Peer peer(assembly);
    Times times;
    constexpr int many = 1000;
    for (int turn = parts < many ? 0 : 1; turn <= turns; ++turn) {
        {
            const openhost::TemporaryFolder target;
            auto owned = std::make_unique<openhost::CadWorkspace>();
            const openhost::CadWorkspace& workspace = *owned;
            openhost::CadServices::Install(std::move(owned));
            times.Measure("template", [&] { ours.Run(target.Path()); });
            Require(workspace.LoadedDocuments() == 0, "documents have been left open");
            openhost::CadServices::Install(nullptr);
            ours.Check(target.Path());
        }
        const std::pair<const char*, void (Peer::*)(const std::filesystem::path&)> peers[] = {
            {"peer_xbf", &Peer::RunDocuments}, {"peer_brep", &Peer::RunShapes}, {"peer_solid", &Peer::RunSolids}};
        for (const auto& [name, run] : peers) {
            const openhost::TemporaryFolder target;
            times.Measure(name, [&, run = run] { (peer.*run)(target.Path()); });
        }
        if (turn == 0)
            times.Forget();
    }
    times.Print();
    openhost::SolidKernel::Install(nullptr);
    return EXIT_SUCCESS;
}
