// Opening and saving of a product whose instances refer to 100 parts, beside Open CASCADE's own document of the same
// structure with the same geometry (format BinXCAF, one file). Arguments: number of instances, number of turns. Prints
// the time of each turn, ours and the peer's in turns; a first turn of each is not counted.
//
//   open       the tree is there, the name and the placement of each instance have been read, and the geometry of each
//              part can be reached; the peer cannot do so without decoding all geometry
//   open_all   and the geometry of each part has been decoded
//   save_all   every part and the product are written as new files
//   insert     one more instance of a part that is loaded
//   save       the product has been changed by that; the peer's document is one file and written whole
//
// Then the bytes that an open instance has in memory beyond its object and name.

#include "benchmarks/Assembly.h"
#include "benchmarks/Measure.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/geometry/ShapeGeometry.h"

#include <BRepPrimAPI_MakeBox.hxx>
#include <BRepPrimAPI_MakeCylinder.hxx>
#include <TopoDS_Shape.hxx>

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using namespace benchmarks;

constexpr int Parts = 100;

TopoDS_Shape SolidOf(int part)
{
    const double size = 10 + part;
    if (part % 2 == 0)
        return BRepPrimAPI_MakeBox(size, size / 2, size / 4);
    return BRepPrimAPI_MakeCylinder(size / 2, size);
}

// ---------------------------------------------------------------------------------------------
// Ours

void WriteProduct(const std::filesystem::path& folder, const Assembly& assembly)
{
    const openhost::CadDocument product = ProductOf(assembly);
    for (int part = 0; part < Parts; ++part) {
        openhost::CadDocument document;
        document.partNumber = PartName(part);
        document.geometry = openhost::EncodeShape(SolidOf(part));
        openhost::WriteDocument(document, folder / product.links[static_cast<std::size_t>(part)]);
    }
    openhost::WriteDocument(product, folder / "product.ZALProduct");
}

/// Reads names and placements, so that both sides have done the same.
double Walk(const openhost::LoadedDocument& product, const Assembly& assembly)
{
    double sum = 0;
    std::size_t names = 0;
    for (const auto& child : product.Children()) {
        sum += child->GetPlacement()[3];
        names += child->Name().size();
        Require(child->Reference() != nullptr, "a part is missing");
    }
    Require(product.Children().size() == static_cast<std::size_t>(assembly.instances) && names > 0,
            "instances are missing");
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

/// Bytes of memory of the open product `file`, for each of its instances, beyond the instance itself.
double MemoryOfInstance(const std::filesystem::path& file)
{
    const std::size_t before = mallinfo2().uordblks;
    openhost::CadWorkspace workspace;
    const auto& children = workspace.Open(file).Children();
    std::size_t itself = 0;
    for (const auto& child : children)
        itself += malloc_usable_size(child.get()) + child->Name().size();
    return static_cast<double>(mallinfo2().uordblks - before - itself) / static_cast<double>(children.size());
}

// ---------------------------------------------------------------------------------------------
// The peer

Handle(TDocStd_Document) MakePeer(KernelDocuments& peer, const Assembly& assembly)
{
    Handle(TDocStd_Document) document = peer.Make();
    const Handle(XCAFDoc_ShapeTool) tool = XCAFDoc_DocumentTool::ShapeTool(document->Main());
    std::vector<TDF_Label> parts;
    for (int part = 0; part < Parts; ++part) {
        parts.push_back(tool->AddShape(SolidOf(part), Standard_False));
        TDataStd_Name::Set(parts.back(), PartName(part).c_str());
    }
    KernelDocuments::AddProduct(document, assembly, parts);
    return document;
}

double WalkPeer(const Handle(TDocStd_Document) & document, const Assembly& assembly)
{
    double sum = 0;
    int names = 0;
    for (const TDF_Label& component : KernelDocuments::InstancesOf(document, assembly)) {
        sum += XCAFDoc_ShapeTool::GetLocation(component).Transformation().TranslationPart().X();
        Handle(TDataStd_Name) name;
        Require(component.FindAttribute(TDataStd_Name::GetID(), name), "a name of the peer is missing");
        names += name->Get().Length();
    }
    Require(names > 0, "the peer's names are empty");
    return sum;
}

} // namespace

int main(int argc, char** argv)
{
    const Assembly assembly{Parts, std::max(Parts, argc > 1 ? std::atoi(argv[1]) : 1000)};
    const int turns = std::max(1, argc > 2 ? std::atoi(argv[2]) : 5);
    const openhost::TemporaryFolder folder;
    const std::filesystem::path product = folder.Path() / "product.ZALProduct";
    const std::filesystem::path peerFile = folder.Path() / "product.xbf";

    WriteProduct(folder.Path(), assembly);
    KernelDocuments peer;
    const Handle(TDocStd_Document) made = MakePeer(peer, assembly);
    peer.Save(made, peerFile);
    peer.Close(made);

    Times times;
    for (int turn = 0; turn <= turns; ++turn) {
        double ours = 0;
        double theirs = 0;
        {
            openhost::CadWorkspace workspace;
            times.Measure("open", [&] { ours = Walk(workspace.Open(product), assembly); });
        }
        {
            openhost::CadWorkspace workspace;
            times.Measure("open_all", [&] {
                openhost::LoadedDocument& opened = workspace.Open(product);
                Walk(opened, assembly);
                DecodeAll(opened);
            });

            const openhost::TemporaryFolder target;
            openhost::LoadedDocument& opened = *workspace.Active();
            times.Measure("save_all", [&] {
                std::vector<openhost::CadWorkspace::DocumentCopy> copies;
                for (int part = 0; part < Parts; ++part)
                    copies.push_back({opened.Children()[static_cast<std::size_t>(part)]->Reference(),
                                      target.Path() / (PartName(part) + ".ZALPart")});
                copies.push_back({&opened, target.Path() / "product.ZALProduct"});
                workspace.SaveAs(copies);
            });

            times.Measure("insert",
                          [&] { workspace.AddComponents(*opened.Root(), {target.Path() / "part0.ZALPart"}); });
            times.Measure("save", [&] { workspace.Save(opened); });
        }
        {
            Handle(TDocStd_Document) opened;
            times.Measure("peer_open", [&] {
                opened = peer.Open(peerFile);
                theirs = WalkPeer(opened, assembly);
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
    std::printf("memory_instance %.1f B\n", MemoryOfInstance(product));
    return EXIT_SUCCESS;
}
