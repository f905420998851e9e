// One search for the downloaded file of a part by its name, with as many files as the argument tells; the last one is
// its own. Prints the median of 101 searches. As many searches in as many files take the square of that: a run over
// templates searches once a distinct part, and each search looks at the files one by one.

#include "benchmarks/Measure.h"
#include "openhost/cad/CadWorkspace.h"
#include "openhost/files/TemporaryFolder.h"

#include "templates/ApplyTemplates.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace benchmarks;

constexpr int Searches = 101;

/// Microseconds of finding the file of `child`, the last of `sources`.
double Find(const ZALIProduct_var& child, const ZALListValZALUnicodeString& sources)
{
    ZALUnicodeString path;
    const Clock::time_point begin = Clock::now();
    const HRESULT result = FindDownloadedFile(child, sources, path);
    const double elapsed = MicrosecondsSince(begin);
    Require(result == S_OK && path.Compare(sources[sources.Size()]) != ZALTextsDiffer, "the file has not been found");
    return elapsed;
}

} // namespace

int main(int argc, char** argv)
{
    const int count = std::max(1, argc > 1 ? std::atoi(argv[1]) : 10000);
    const openhost::TemporaryFolder folder;
    const std::string last = "part" + std::to_string(count) + ".ZALPart";
    openhost::CadDocument part;
    part.partNumber = "part";
    openhost::WriteDocument(part, folder.Path() / last);
    openhost::CadDocument product;
    product.kind = openhost::DocumentKind::Product;
    product.partNumber = "product";
    product.links = {last};
    product.children = {{"part.1", 0, openhost::IdentityPlacement}};
    const std::filesystem::path path = folder.Path() / "product.ZALProduct";
    openhost::WriteDocument(product, path);

    ZALListValZALUnicodeString sources;
    for (int number = 1; number <= count; ++number)
        sources.Append(ZALUnicodeString((folder.Path() / ("part" + std::to_string(number) + ".ZALPart")).c_str()));

    auto owned = std::make_unique<openhost::CadWorkspace>();
    openhost::LoadedDocument& document = owned->Open(path);
    openhost::CadServices::Install(std::move(owned));
    std::vector<double> times;
    {
        const ZALIProduct_var root = PrdGiveDocRootProduct(&document);
        ZALListValZALBaseUnknown_var children;
        Require(root && SUCCEEDED(root->GetChildren("ZALIProduct", children)) && children.Size() == 1,
                "the product has no child");
        const ZALIProduct_var child(children[1]);
        for (int search = 0; search < Searches; ++search)
            times.push_back(Find(child, sources));
    }
    openhost::CadServices::Install(nullptr);
    std::printf("find_file_%d %.3f us\n", count, Median(times));
    return EXIT_SUCCESS;
}
