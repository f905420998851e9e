// Opening and saving of a product whose instances refer to 100 parts, beside Open CASCADE's own document of the same
// structure with the same geometry (format BinXCAF, one file). Arguments: number of instances, number of turns. Prints
// medians over the turns, ours and the peer's in turns; a first turn of each is not counted.
//
//   open       the tree is there, the name and the placement of each instance have been read, and the geometry of each
//              part can be reached; the peer cannot do so without decoding all geometry
//   open_all   and the geometry of each part has been decoded
//   save_all   every part and the product are written as new files
//   save       the product has been changed; the peer's document is one file and written whole

#include "openhost/cad/CadSession.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <BinXCAFDrivers.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Application.hxx>
#include <TDocStd_Document.hxx>
#include <TopoDS_Shape.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Trsf.hxx>

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int Parts = 100;

TopoDS_Shape SolidOf(int part)
{
    const double size = 10 + part;
    if (part % 2 == 0)
        return BRepPrimAPI_MakeBox(size, size / 2, size / 4);
    return BRepPrimAPI_MakeCylinder(size / 2, size);
}

std::string PartName(int part)
{
    return "part" + std::to_string(part);
}

std::string InstanceName(int instance)
{
    return PartName(instance % Parts) + "." + std::to_string(instance / Parts + 1);
}

/// A quarter turn for every second instance, and a place of its own for each.
openhost::Placement PlacementOf(int instance)
{
    const double shift = 20.0 * instance;
    if (instance % 2 == 0)
        return {1, 0, 0, shift, 0, 1, 0, 5, 0, 0, 1, -5};
    return {0, -1, 0, shift, 1, 0, 0, 5, 0, 0, 1, -5};
}

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

// ---------------------------------------------------------------------------------------------
// Ours

void WriteProduct(const std::filesystem::path& folder, int instances)
{
    openhost::CadDocument product;
    product.kind = openhost::DocumentKind::Product;
    product.partNumber = "product";
    for (int part = 0; part < Parts; ++part) {
        openhost::CadDocument document;
        document.partNumber = PartName(part);
        document.geometry = openhost::EncodeShape(SolidOf(part));
        product.links.push_back(PartName(part) + ".ZALPart");
        openhost::WriteDocument(document, folder / product.links.back());
    }
    for (int instance = 0; instance < instances; ++instance)
        product.children.push_back(
            {InstanceName(instance), static_cast<std::uint32_t>(instance % Parts), PlacementOf(instance)});
    openhost::WriteDocument(product, folder / "product.ZALProduct");
}

/// Reads names and placements, so that both sides have done the same.
double Walk(const openhost::LoadedDocument& product, int instances)
{
    double sum = 0;
    std::size_t names = 0;
    for (const openhost::SessionProduct* child : product.Children()) {
        sum += child->GetPlacement()[3];
        names += child->Name().size();
        Require(child->Reference() != nullptr, "a part is missing");
    }
    Require(product.Children().size() == static_cast<std::size_t>(instances) && names > 0, "instances are missing");
    return sum;
}

void DecodeAll(const openhost::LoadedDocument& product)
{
    for (int part = 0; part < Parts; ++part) {
        const auto document =
            openhost::ReadDocument(product.Children()[static_cast<std::size_t>(part)]->Reference()->Path());
        Require(!openhost::DecodeShape(*document.geometry).IsNull(), "a shape is missing");
    }
}

// ---------------------------------------------------------------------------------------------
// The peer

class Peer {
public:
    Peer() : application_(new TDocStd_Application) { BinXCAFDrivers::DefineFormat(application_); }

    Handle(TDocStd_Document) Make(int instances)
    {
        Handle(TDocStd_Document) document;
        application_->NewDocument("BinXCAF", document);
        const Handle(XCAFDoc_ShapeTool) tool = XCAFDoc_DocumentTool::ShapeTool(document->Main());
        std::vector<TDF_Label> parts;
        for (int part = 0; part < Parts; ++part) {
            parts.push_back(tool->AddShape(SolidOf(part), Standard_False));
            TDataStd_Name::Set(parts.back(), PartName(part).c_str());
        }
        const TDF_Label product = tool->NewShape();
        TDataStd_Name::Set(product, "product");
        for (int instance = 0; instance < instances; ++instance) {
            const openhost::Placement p = PlacementOf(instance);
            gp_Trsf placement;
            placement.SetValues(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11]);
            const TDF_Label label =
                tool->AddComponent(product, parts[static_cast<std::size_t>(instance % Parts)], placement);
            TDataStd_Name::Set(label, InstanceName(instance).c_str());
        }
        tool->UpdateAssemblies();
        return document;
    }

    void Save(const Handle(TDocStd_Document) & document, const std::filesystem::path& path)
    {
        Require(application_->SaveAs(document, path.c_str()) == PCDM_SS_OK, "the peer cannot save");
        // Brought to the disk, as openhost does.
        const int descriptor = open(path.c_str(), O_RDONLY);
        Require(descriptor >= 0 && fsync(descriptor) == 0, "the peer's file cannot be brought to the disk");
        close(descriptor);
    }

    Handle(TDocStd_Document) Open(const std::filesystem::path& path)
    {
        Handle(TDocStd_Document) document;
        Require(application_->Open(path.c_str(), document) == PCDM_RS_OK, "the peer cannot open");
        return document;
    }

    void Close(const Handle(TDocStd_Document) & document) { application_->Close(document); }

    static double Walk(const Handle(TDocStd_Document) & document, int instances)
    {
        TDF_LabelSequence roots;
        XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
        Require(roots.Length() == 1, "the peer's product is missing");
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(roots.First(), components);
        Require(components.Length() == instances, "the peer's instances are missing");
        double sum = 0;
        int names = 0;
        for (const TDF_Label& component : components) {
            sum += XCAFDoc_ShapeTool::GetLocation(component).Transformation().TranslationPart().X();
            Handle(TDataStd_Name) name;
            Require(component.FindAttribute(TDataStd_Name::GetID(), name), "a name of the peer is missing");
            names += name->Get().Length();
        }
        Require(names > 0, "the peer's names are empty");
        return sum;
    }

private:
    Handle(TDocStd_Application) application_;
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
    const int instances = std::max(Parts, argc > 1 ? std::atoi(argv[1]) : 1000);
    const int turns = std::max(1, argc > 2 ? std::atoi(argv[2]) : 5);
    const openhost::TemporaryFolder folder;
    const std::filesystem::path product = folder.Path() / "product.ZALProduct";
    const std::filesystem::path peerFile = folder.Path() / "product.xbf";

    WriteProduct(folder.Path(), instances);
    Peer peer;
    const Handle(TDocStd_Document) made = peer.Make(instances);
    peer.Save(made, peerFile);
    peer.Close(made);

    Times times;
    for (int turn = 0; turn <= turns; ++turn) {
        double ours = 0;
        double theirs = 0;
        {
            openhost::CadSession session;
            times.Measure("open", [&] { ours = Walk(session.Open(product), instances); });
        }
        {
            openhost::CadSession session;
            times.Measure("open_all", [&] {
                openhost::LoadedDocument& opened = session.Open(product);
                Walk(opened, instances);
                DecodeAll(opened);
            });

            const openhost::TemporaryFolder target;
            openhost::LoadedDocument& opened = *session.Active();
            times.Measure("save_all", [&] {
                for (int part = 0; part < Parts; ++part)
                    session.SaveAs(*opened.Children()[static_cast<std::size_t>(part)]->Reference(),
                                   target.Path() / (PartName(part) + ".ZALPart"));
                session.SaveAs(opened, target.Path() / "product.ZALProduct");
            });

            session.AddComponents(*opened.Root(), {target.Path() / "part0.ZALPart"});
            times.Measure("save", [&] { session.Save(opened); });
        }
        {
            Handle(TDocStd_Document) opened;
            times.Measure("peer_open", [&] {
                opened = peer.Open(peerFile);
                theirs = Peer::Walk(opened, instances);
            });
            const openhost::TemporaryFolder target;
            times.Measure("peer_save", [&] { peer.Save(opened, target.Path() / "product.xbf"); });
            peer.Close(opened);
        }
        Require(ours == theirs, "the two products differ");
        if (turn == 0)
            times.Forget();
    }
    times.Print();
    return EXIT_SUCCESS;
}
