// The assemblies of the catalogue as STEP: every instance with its place and its volume.

#include "catalogue/items/AssemblyTable.h"
#include "catalogue/items/PartTable.h"
#include "catalogue/items/Placements.h"
#include "openhost/exchange/StepExport.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/StepFile.h"

#include <gtest/gtest.h>

namespace openhost::testing {

namespace {

/// Holds what stands below the document `name` of `documents` against `file`.
struct Comparison {
    const catalogue::Documents& documents;
    const StepFile& file;
    std::size_t instances = 0;
    std::size_t solids = 0;

    /// Returns the volume of the document.
    double Compare(const std::string& name, const std::string& path, const Placement& placement)
    {
        const CadDocument& document = documents.at(name);
        double volume = document.geometry ? document.geometry->facts->volume : 0;
        solids += document.geometry ? document.geometry->facts->solids : 0;
        for (const ChildInstance& child : document.children) {
            const std::string& link = document.links[child.link];
            const std::string childPath = path + (path.empty() ? "" : "/") + child.name;
            const Placement childPlacement = Within(placement, child.placement);
            const StepInstance& instance = file.Find(childPath);
            EXPECT_EQ(instance.product, documents.at(link).partNumber) << childPath;
            for (std::size_t i = 0; i < 12; ++i)
                EXPECT_NEAR(instance.placement[i], childPlacement[i], 1e-9) << childPath << " " << i;
            const double childVolume = Compare(link, childPath, childPlacement);
            EXPECT_NEAR(instance.volume, childVolume, 1e-6 * childVolume) << childPath;
            volume += childVolume;
            ++instances;
        }
        return volume;
    }
};

} // namespace

TEST(CatalogueExport, AssembliesKeepEveryInstance)
{
    catalogue::Catalogue catalogue;
    catalogue::AddParts(catalogue);
    catalogue::AddAssemblies(catalogue);
    const TemporaryFolder folder;
    for (const auto& [name, document] : catalogue.documents)
        WriteDocument(document, folder.Path() / name);

    int assemblies = 0;
    for (const catalogue::Item& item : catalogue.items) {
        if (catalogue.documents.at(item.root).kind != DocumentKind::Product)
            continue;
        ++assemblies;
        const std::filesystem::path output = folder.Path() / (item.id + ".step");
        ExportStep(folder.Path() / item.root, output, {}, [](const std::string& line) { ADD_FAILURE() << line; });
        const StepFile file(output);
        Comparison comparison{catalogue.documents, file};
        const double volume = comparison.Compare(item.root, "", IdentityPlacement);
        EXPECT_NEAR(file.volume, volume, 1e-6 * volume) << item.id;
        EXPECT_EQ(file.solids, comparison.solids) << item.id;
        EXPECT_EQ(file.instances.size(), comparison.instances) << item.id;
        EXPECT_EQ(file.products, item.documents.size()) << item.id;
        EXPECT_EQ(file.root, catalogue.documents.at(item.root).partNumber);
    }
    EXPECT_EQ(3, assemblies);
}

} // namespace openhost::testing
