// The search for the root among the products of one archive, as it runs after the extraction. Argument: number of
// products. They form a tree of assemblies with ten children each, whose root comes last.

#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>

int main(int argc, char** argv)
{
    const int products = argc > 1 ? std::atoi(argv[1]) : 2000;
    constexpr int childrenOfEach = 10;
    const openhost::TemporaryFolder folder;
    const auto name = [](int product) { return "product" + std::to_string(product) + ".ZALProduct"; };

    ZALListValZALUnicodeString files;
    for (int product = products - 1; product >= 0; --product) {
        openhost::CadDocument document;
        document.kind = openhost::DocumentKind::Product;
        document.partNumber = name(product);
        for (int child = product * childrenOfEach + 1; child <= (product + 1) * childrenOfEach; ++child) {
            document.links.push_back(child < products ? name(child) : "part" + std::to_string(child) + ".ZALPart");
            document.children.push_back({.name = "child" + std::to_string(child),
                                         .link = static_cast<std::uint32_t>(document.children.size())});
        }
        const std::filesystem::path path = folder.Path() / name(product);
        openhost::WriteDocument(document, path);
        files.Append(path.c_str());
    }

    const auto begin = std::chrono::steady_clock::now();
    int root = 0;
    const HRESULT result = FindRootProduct(files, root);
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - begin;
    if (FAILED(result) || root != products)
        return EXIT_FAILURE;
    std::printf("root_search_%d %.3f ms\n", products, elapsed.count());
    return EXIT_SUCCESS;
}
