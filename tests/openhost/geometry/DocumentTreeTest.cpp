// How large the tree of a document may be.
#include "openhost/geometry/DocumentTree.h"
#include "tests/support/SolidDocuments.h"

#include <gtest/gtest.h>

namespace openhost::testing {

namespace {

std::string ErrorOf(const std::filesystem::path& root)
{
    try {
        ReadDocumentTree(root, [](const std::string& line) { ADD_FAILURE() << line; });
    } catch (const DocumentTreeError& error) {
        return error.what();
    }
    return "";
}

TEST(DocumentTree, HasAtMostAHundredLevels)
{
    const SolidDocuments documents;
    documents.Chain(static_cast<int>(MaximumTreeLevels) + 1);
    EXPECT_EQ("", ErrorOf(documents.Path("L1.ZALProduct")));
    EXPECT_TRUE(ErrorOf(documents.Path("L0.ZALProduct")).ends_with("more than 100 levels"));
}

TEST(DocumentTree, UnfoldsIntoAtMostAHundredThousandInstances)
{
    const SolidDocuments documents;
    documents.Product("leaf.ZALProduct", "LEAF", {});
    std::vector<SolidDocuments::Child> children;
    const auto add = [&](std::size_t count, const std::string& file) {
        for (std::size_t index = 0; index < count; ++index)
            children.push_back({std::to_string(children.size()), file});
    };
    add(302, "leaf.ZALProduct");
    documents.Product("inner.ZALProduct", "INNER", children);
    // The root, 330 with 302 each, and single ones.
    children.clear();
    add(330, "inner.ZALProduct");
    add(MaximumTreeInstances - 1 - 330 * 303, "leaf.ZALProduct");
    documents.Product("root.ZALProduct", "ROOT", children);
    EXPECT_EQ("", ErrorOf(documents.Path("root.ZALProduct")));
    add(1, "leaf.ZALProduct");
    documents.Product("root.ZALProduct", "ROOT", children);
    EXPECT_TRUE(ErrorOf(documents.Path("root.ZALProduct")).ends_with("more than 100000 instances"));
}

} // namespace

} // namespace openhost::testing
