// Inserting components into one product, each by a call of its own through the automation interface. Argument: number
// of runs. Prints medians over the runs of the first and of the 1,000th insertion: of a document that is loaded
// already, and of one that each insertion loads.

#include "openhost/cad/CadSession.h"
#include "openhost/files/TemporaryFolder.h"

#include "host/cad.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr int Insertions = 1000;

using Files = std::vector<ZALUnicodeString>;

/// Microseconds of inserting `file` into the product that `components` stands for.
double Insert(ZALIAProducts& components, const ZALUnicodeString& file)
{
    ZALListValZALUnicodeString list;
    list.Append(file);
    const auto begin = std::chrono::steady_clock::now();
    ZALVariant variant;
    BuildSafeArrayVariant(list, variant);
    const ZALBSTR method = ConvertToBSTR("*");
    const HRESULT result = components.AddComponentsFromFiles(variant, method);
    ZALFreeString(method);
    FreeVariantSafeArray(variant);
    const std::chrono::duration<double, std::micro> elapsed = std::chrono::steady_clock::now() - begin;
    if (FAILED(result)) {
        std::fputs("an insertion has failed\n", stderr);
        std::exit(EXIT_FAILURE);
    }
    return elapsed.count();
}

struct Times {
    std::vector<double> first;
    std::vector<double> last;

    void Print(const char* name)
    {
        const auto median = [](std::vector<double>& values) {
            std::ranges::sort(values);
            return values[values.size() / 2];
        };
        std::printf("insert_%s_first %.3f us\ninsert_%s_last %.3f us\n", name, median(first), name, median(last));
    }
};

/// One session: opens `product` and inserts `files` one by one.
void Run(const std::filesystem::path& product, const Files& files, Times& times)
{
    auto owned = std::make_unique<openhost::CadSession>();
    openhost::CadSession& session = *owned;
    openhost::CadServices::Install(std::move(owned));
    ZALBaseUnknown* found = nullptr;
    session.Open(product).Root()->QueryInterface(ZALIAProducts::ClassName(), &found);
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
    const int runs = std::max(1, argc > 1 ? std::atoi(argv[1]) : 21);
    const openhost::TemporaryFolder folder;
    Files files;
    for (int number = 0; number <= Insertions; ++number) {
        openhost::CadDocument part;
        part.partNumber = "part" + std::to_string(number);
        part.geometry = openhost::DocumentGeometry{{1, 6, 1, 6, {}, {}}, std::string(4096, 'g')};
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
    Times ofLoaded;
    Times ofOthers;
    for (int run = 0; run < runs; ++run) {
        Run(path, loaded, ofLoaded);
        Run(path, others, ofOthers);
    }
    ofLoaded.Print("loaded");
    ofOthers.Print("other");
    return EXIT_SUCCESS;
}
