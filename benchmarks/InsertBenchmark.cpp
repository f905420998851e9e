// Inserting components into one product, each by a call of its own through the automation interface. Argument: number
// of turns. Prints for each turn medians over its runs of the first and of the 1,000th insertion: of a document that is
// loaded already, and of one that each insertion loads.

#include "benchmarks/Measure.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/files/TemporaryFolder.h"

#include "host/cad.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace benchmarks;

constexpr int Insertions = 1000;

using Files = std::vector<ZALUnicodeString>;

/// Microseconds of inserting `file` into the product that `components` stands for.
double Insert(ZALIAProducts& components, const ZALUnicodeString& file)
{
    ZALListValZALUnicodeString list;
    list.Append(file);
    const Clock::time_point begin = Clock::now();
    ZALVariant variant;
    BuildSafeArrayVariant(list, variant);
    const ZALBSTR method = ConvertToBSTR("*");
    const HRESULT result = components.AddComponentsFromFiles(variant, method);
    ZALFreeString(method);
    FreeVariantSafeArray(variant);
    const double elapsed = MicrosecondsSince(begin);
    Require(SUCCEEDED(result), "an insertion has failed");
    return elapsed;
}

struct Insertion {
    std::vector<double> first;
    std::vector<double> last;

    void Print(const char* name) const
    {
        std::printf("insert_%s_first %.3f us\ninsert_%s_last %.3f us\n", name, Median(first), name, Median(last));
    }
};

/// One workspace: opens `product` and inserts `files` one by one.
void Run(const std::filesystem::path& product, const Files& files, Insertion& times)
{
    auto owned = std::make_unique<openhost::CadWorkspace>();
    openhost::CadWorkspace& workspace = *owned;
    openhost::CadServices::Install(std::move(owned));
    ZALBaseUnknown* found = nullptr;
    workspace.Open(product).Root()->QueryInterface(ZALIAProducts::ClassName(), &found);
    auto* components = static_cast<ZALIAProducts*>(found);
    for (int number = 1; number <= Insertions; ++number) {
        const double time = Insert(*components, files[static_cast<std::size_t>(number) % files.size()]);
        if (number == 1)
            times.first.push_back(time);
        if (number == Insertions)
            times.last.push_back(time);
    }
    components->Release();
    openhost::CadServices::Install(nullptr);
}

} // namespace

int main(int argc, char** argv)
{
    const int turns = std::max(1, argc > 1 ? std::atoi(argv[1]) : 5);
    const openhost::TemporaryFolder folder;
    Files files;
    for (int number = 0; number <= Insertions; ++number) {
        openhost::CadDocument part;
        part.partNumber = "part" + std::to_string(number);
        part.geometry = openhost::DocumentGeometry{openhost::GeometryFacts{1, 6, 1, 6, {}}, std::string(4096, 'g')};
        const std::filesystem::path path = folder.Path() / (part.partNumber + ".ZALPart");
        openhost::WriteDocument(part, path);
        files.emplace_back(path.c_str());
    }
    // The product has the document of the first kind already, so that no insertion loads it.
    openhost::CadDocument product;
    product.kind = openhost::DocumentKind::Product;
    product.partNumber = "product";
    product.links = {"part0.ZALPart"};
    product.children = {{"part0", 0, openhost::IdentityPlacement}};
    const std::filesystem::path path = folder.Path() / "product.ZALProduct";
    openhost::WriteDocument(product, path);

    const Files loaded{files.front()};
    const Files others(files.begin() + 1, files.end());
    constexpr int runs = 5;
    for (int turn = 0; turn < turns; ++turn) {
        Insertion ofLoaded;
        Insertion ofOthers;
        for (int run = 0; run < runs; ++run) {
            Run(path, loaded, ofLoaded);
            Run(path, others, ofOthers);
        }
        ofLoaded.Print("loaded");
        ofOthers.Print("other");
    }
    return EXIT_SUCCESS;
}
