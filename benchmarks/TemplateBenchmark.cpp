// A run over the user's templates of a product and its parts, beside what Open CASCADE needs to read and write the same
// documents. Arguments: number of distinct parts, number of instances, number of turns. Prints medians over the turns,
// ours and the peer's in turns; a first turn of each is not counted.
//
//   template    every part and the product are rebuilt on templates: the templates and the sources are read, the shapes
//               copied, checked and measured, the results written
//   peer_xbf    every source part and the source product are read and written under another name as documents of the
//               kernel (format BinXCAF, a file each)
//   peer_brep   the same with the parts as bare shapes in the kernel's binary format
//   peer_solid  as peer_xbf, and the kernel checks and measures each shape in between, as the run does
//
// The peer reads no templates. Both sides bring each file that they write to the disk, and the entry of its folder.

#include "openhost/cad/ApartSolidKernel.h"
#include "openhost/cad/CadSession.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"

#include "templates/ZALVliApplyTemplatesOpe.h"

#include <BRepBuilderAPI_MakeFace.hxx>
#include <BRepBuilderAPI_MakePolygon.hxx>
#include <BRepPrimAPI_MakePrism.hxx>
#include <BRepPrimAPI_MakeRevol.hxx>
#include <BinTools.hxx>
#include <BinXCAFDrivers.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Application.hxx>
#include <TDocStd_Document.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Ax1.hxx>
#include <gp_Pnt.hxx>
#include <gp_Trsf.hxx>
#include <gp_Vec.hxx>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

[[noreturn]] void Fail(const char* what)
{
    std::fprintf(stderr, "%s\n", what);
    std::exit(EXIT_FAILURE);
}

void Require(bool condition, const char* what)
{
    if (!condition)
        Fail(what);
}

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

std::string PartName(int part)
{
    return "part" + std::to_string(part);
}

/// A quarter turn for every second instance, and a place of its own for each.
openhost::Placement PlacementOf(int instance)
{
    const double shift = 20.0 * instance;
    if (instance % 2 == 0)
        return {1, 0, 0, shift, 0, 1, 0, 5, 0, 0, 1, -5};
    return {0, -1, 0, shift, 1, 0, 0, 5, 0, 0, 1, -5};
}

struct Assembly {
    int parts;
    int instances;

    std::string InstanceName(int instance) const
    {
        return PartName(instance % parts) + "." + std::to_string(instance / parts + 1);
    }
};

// ---------------------------------------------------------------------------------------------
// Ours

ZALUnicodeString TextOf(const std::filesystem::path& path)
{
    return ZALUnicodeString(path.c_str());
}

class Ours {
public:
    explicit Ours(const Assembly& assembly) : assembly_(assembly)
    {
        openhost::CadDocument product;
        product.kind = openhost::DocumentKind::Product;
        product.partNumber = "product";
        sources_.Append(TextOf(folder_.Path() / "product.ZALProduct"));
        for (int part = 0; part < assembly.parts; ++part) {
            openhost::CadDocument document;
            document.partNumber = PartName(part);
            document.nomenclature = "Part";
            document.parameters = {{"Title", "Part"}, {"supplier", "Velmart"}};
            document.geometry = openhost::EncodeShape(SolidOf(part));
            product.links.push_back(PartName(part) + ".ZALPart");
            openhost::WriteDocument(document, folder_.Path() / product.links.back());
            sources_.Append(TextOf(folder_.Path() / product.links.back()));
        }
        for (int instance = 0; instance < assembly.instances; ++instance)
            product.children.push_back({assembly.InstanceName(instance),
                                        static_cast<std::uint32_t>(instance % assembly.parts), PlacementOf(instance)});
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
        Require(product.children.back().placement == PlacementOf(last), "an instance stands elsewhere");
        const openhost::CadDocument part = openhost::ReadDocument(target / product.links[product.children.back().link]);
        const openhost::CadDocument source =
            openhost::ReadDocument(folder_.Path() / (PartName(last % assembly_.parts) + ".ZALPart"));
        Require(part.partNumber == source.partNumber && part.geometry &&
                    part.geometry->facts.faces == source.geometry->facts.faces &&
                    std::abs(part.geometry->facts.volume / source.geometry->facts.volume - 1) < 1e-9,
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
    explicit Peer(const Assembly& assembly) : assembly_(assembly), application_(new TDocStd_Application)
    {
        BinXCAFDrivers::DefineFormat(application_);
        for (int part = 0; part < assembly.parts; ++part) {
            const TopoDS_Shape solid = SolidOf(part);
            Handle(TDocStd_Document) document = MakeDocument();
            const TDF_Label label = XCAFDoc_DocumentTool::ShapeTool(document->Main())->AddShape(solid, Standard_False);
            TDataStd_Name::Set(label, PartName(part).c_str());
            Save(document, folder_.Path() / (PartName(part) + ".xbf"));
            application_->Close(document);
            WriteShape(solid, folder_.Path() / (PartName(part) + ".brep"));
        }
        Handle(TDocStd_Document) product = MakeProduct();
        Save(product, folder_.Path() / "product.xbf");
        application_->Close(product);
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
            CopyDocument(target, PartName(part) + ".xbf", [](TDocStd_Document& document) {
                const Handle(XCAFDoc_ShapeTool) tool = XCAFDoc_DocumentTool::ShapeTool(document.Main());
                TDF_LabelSequence roots;
                tool->GetFreeShapes(roots);
                Require(roots.Length() == 1, "the peer's part is missing");
                Require(openhost::MeasureSolids(XCAFDoc_ShapeTool::GetShape(roots.First())).volume > 0,
                        "the peer's part is empty");
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
    Handle(TDocStd_Document) MakeDocument()
    {
        Handle(TDocStd_Document) document;
        application_->NewDocument("BinXCAF", document);
        return document;
    }

    /// The structure alone, as our products hold it: the geometry stands in the files of the parts.
    Handle(TDocStd_Document) MakeProduct()
    {
        Handle(TDocStd_Document) document = MakeDocument();
        const Handle(XCAFDoc_ShapeTool) tool = XCAFDoc_DocumentTool::ShapeTool(document->Main());
        std::vector<TDF_Label> parts;
        for (int part = 0; part < assembly_.parts; ++part) {
            parts.push_back(tool->NewShape());
            TDataStd_Name::Set(parts.back(), PartName(part).c_str());
        }
        const TDF_Label product = tool->NewShape();
        TDataStd_Name::Set(product, "product");
        for (int instance = 0; instance < assembly_.instances; ++instance) {
            const openhost::Placement p = PlacementOf(instance);
            gp_Trsf placement;
            placement.SetValues(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11]);
            const TDF_Label label =
                tool->AddComponent(product, parts[static_cast<std::size_t>(instance % assembly_.parts)], placement);
            TDataStd_Name::Set(label, assembly_.InstanceName(instance).c_str());
        }
        tool->UpdateAssemblies();
        return document;
    }

    static void BringToDisk(const std::filesystem::path& file)
    {
        for (const std::filesystem::path& path : {file, file.parent_path()}) {
            const int descriptor = open(path.c_str(), O_RDONLY);
            Require(descriptor >= 0 && fsync(descriptor) == 0, "the peer's file cannot be brought to the disk");
            close(descriptor);
        }
    }

    void Save(const Handle(TDocStd_Document) & document, const std::filesystem::path& path)
    {
        Require(application_->SaveAs(document, path.c_str()) == PCDM_SS_OK, "the peer cannot save");
        BringToDisk(path);
    }

    static void WriteShape(const TopoDS_Shape& shape, const std::filesystem::path& path)
    {
        Require(BinTools::Write(shape, path.c_str()), "the peer cannot write a shape");
        BringToDisk(path);
    }

    /// Reads the document `name` and writes it into `target`. `check` sees it in between.
    void CopyDocument(
        const std::filesystem::path& target, const std::string& name,
        const std::function<void(TDocStd_Document& document)>& check = [](TDocStd_Document&) {})
    {
        Handle(TDocStd_Document) document;
        Require(application_->Open((folder_.Path() / name).c_str(), document) == PCDM_RS_OK, "the peer cannot open");
        check(*document);
        Save(document, target / name);
        application_->Close(document);
    }

    void CopyProduct(const std::filesystem::path& target)
    {
        CopyDocument(target, "product.xbf", [&](TDocStd_Document& document) {
            TDF_LabelSequence roots;
            XCAFDoc_DocumentTool::ShapeTool(document.Main())->GetFreeShapes(roots);
            Require(roots.Length() == 1, "the peer's product is missing");
            TDF_LabelSequence components;
            XCAFDoc_ShapeTool::GetComponents(roots.First(), components);
            Require(components.Length() == assembly_.instances, "the peer's instances are missing");
        });
    }

    Assembly assembly_;
    Handle(TDocStd_Application) application_;
    openhost::TemporaryFolder folder_;
};

// ---------------------------------------------------------------------------------------------

class Times {
public:
    void Measure(const std::string& name, const std::function<void()>& work)
    {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
        times_[name].push_back(elapsed.count());
    }

    void Forget() { times_.clear(); }

    void Print()
    {
        for (auto& [name, times] : times_) {
            std::ranges::sort(times);
            std::printf("%s %.3f ms\n", name.c_str(), times[times.size() / 2]);
        }
    }

private:
    std::map<std::string, std::vector<double>> times_;
};

} // namespace

int main(int argc, char** argv)
{
    const int parts = std::max(1, argc > 1 ? std::atoi(argv[1]) : 10);
    const Assembly assembly{parts, std::max(parts, argc > 2 ? std::atoi(argv[2]) : parts)};
    const int turns = std::max(1, argc > 3 ? std::atoi(argv[3]) : 5);

    openhost::SolidKernel::Install(
        std::make_unique<openhost::ApartSolidKernel>(std::make_shared<openhost::GeometryProcess>()));
    Ours ours(assembly);
    Peer peer(assembly);
    Times times;
    for (int turn = 0; turn <= turns; ++turn) {
        {
            const openhost::TemporaryFolder target;
            auto owned = std::make_unique<openhost::CadSession>();
            const openhost::CadSession& session = *owned;
            openhost::CadServices::Install(std::move(owned));
            times.Measure("template", [&] { ours.Run(target.Path()); });
            Require(session.LoadedDocuments() == 0, "documents have been left open");
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
