// The assembly of the benchmarks of products and of templates, and its documents in the format of Open CASCADE itself
// (BinXCAF), which are the peer of ours.
#pragma once

#include "benchmarks/Measure.h"
#include "openhost/documents/CadDocument.h"

#include <BinXCAFDrivers.hxx>
#include <TDF_LabelSequence.hxx>
#include <TDataStd_Name.hxx>
#include <TDocStd_Application.hxx>
#include <TDocStd_Document.hxx>
#include <XCAFDoc_DocumentTool.hxx>
#include <XCAFDoc_ShapeTool.hxx>
#include <gp_Trsf.hxx>

#include <fcntl.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace benchmarks {

inline std::string PartName(int part)
{
    return "part" + std::to_string(part);
}

/// Instances of the parts in turn.
struct Assembly {
    int parts;
    int instances;

    int PartOf(int instance) const { return instance % parts; }

    std::string InstanceName(int instance) const
    {
        return PartName(PartOf(instance)) + "." + std::to_string(instance / parts + 1);
    }

    /// A quarter turn for every second instance, and a place of its own for each.
    static openhost::Placement PlacementOf(int instance)
    {
        const double shift = 20.0 * instance;
        if (instance % 2 == 0)
            return {1, 0, 0, shift, 0, 1, 0, 5, 0, 0, 1, -5};
        return {0, -1, 0, shift, 1, 0, 0, 5, 0, 0, 1, -5};
    }
};

/// The product as a document of ours; its parts lie beside it.
inline openhost::CadDocument ProductOf(const Assembly& assembly)
{
    openhost::CadDocument product;
    product.kind = openhost::DocumentKind::Product;
    product.partNumber = "product";
    for (int part = 0; part < assembly.parts; ++part)
        product.links.push_back(PartName(part) + ".ZALPart");
    for (int instance = 0; instance < assembly.instances; ++instance)
        product.children.push_back({assembly.InstanceName(instance),
                                    static_cast<std::uint32_t>(assembly.PartOf(instance)),
                                    Assembly::PlacementOf(instance)});
    return product;
}

/// Documents of the kernel. What goes wrong ends the program.
class KernelDocuments {
public:
    KernelDocuments() : application_(new TDocStd_Application) { BinXCAFDrivers::DefineFormat(application_); }

    Handle(TDocStd_Document) Make()
    {
        Handle(TDocStd_Document) document;
        application_->NewDocument("BinXCAF", document);
        return document;
    }

    Handle(TDocStd_Document) Open(const std::filesystem::path& path)
    {
        Handle(TDocStd_Document) document;
        Require(application_->Open(path.c_str(), document) == PCDM_RS_OK, "the peer cannot open");
        return document;
    }

    void Save(const Handle(TDocStd_Document) & document, const std::filesystem::path& path)
    {
        Require(application_->SaveAs(document, path.c_str()) == PCDM_SS_OK, "the peer cannot save");
        BringToDisk(path);
    }

    void Close(const Handle(TDocStd_Document) & document) { application_->Close(document); }

    /// Brings a file and the entry of its folder to the disk, as openhost does with each that it writes.
    static void BringToDisk(const std::filesystem::path& file)
    {
        for (const std::filesystem::path& path : {file, file.parent_path()}) {
            const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
            Require(descriptor >= 0 && fsync(descriptor) == 0, "the peer's file cannot be brought to the disk");
            close(descriptor);
        }
    }

    /// Makes the product over `parts`, the labels of the parts in their order.
    static void AddProduct(const Handle(TDocStd_Document) & document, const Assembly& assembly,
                           const std::vector<TDF_Label>& parts)
    {
        const Handle(XCAFDoc_ShapeTool) tool = XCAFDoc_DocumentTool::ShapeTool(document->Main());
        const TDF_Label product = tool->NewShape();
        TDataStd_Name::Set(product, "product");
        for (int instance = 0; instance < assembly.instances; ++instance) {
            const openhost::Placement p = Assembly::PlacementOf(instance);
            gp_Trsf placement;
            placement.SetValues(p[0], p[1], p[2], p[3], p[4], p[5], p[6], p[7], p[8], p[9], p[10], p[11]);
            const TDF_Label label =
                tool->AddComponent(product, parts[static_cast<std::size_t>(assembly.PartOf(instance))], placement);
            TDataStd_Name::Set(label, assembly.InstanceName(instance).c_str());
        }
        tool->UpdateAssemblies();
    }

    /// The one shape of `document` that stands in no other.
    static TDF_Label RootOf(const Handle(TDocStd_Document) & document)
    {
        TDF_LabelSequence roots;
        XCAFDoc_DocumentTool::ShapeTool(document->Main())->GetFreeShapes(roots);
        Require(roots.Length() == 1, "the peer's root is missing");
        return roots.First();
    }

    static TDF_LabelSequence InstancesOf(const Handle(TDocStd_Document) & document, const Assembly& assembly)
    {
        TDF_LabelSequence components;
        XCAFDoc_ShapeTool::GetComponents(RootOf(document), components);
        Require(components.Length() == assembly.instances, "the peer's instances are missing");
        return components;
    }

private:
    Handle(TDocStd_Application) application_;
};

} // namespace benchmarks
