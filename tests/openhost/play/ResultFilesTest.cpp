#include "openhost/play/ResultFiles.h"

#include "openhost/documents/CadDocument.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace openhost {

namespace {

using Paths = std::vector<std::filesystem::path>;

class ResultFilesTest : public ::testing::Test {
protected:
    std::filesystem::path Put(const std::string& name) const
    {
        std::ofstream(folder_ / name) << "abc";
        return folder_ / name;
    }
    void Extracted(const std::filesystem::path& path)
    {
        results_.Receive({{"event", "extracted"}, {"path", path.string()}});
    }

    TemporaryFolder temporary_;
    std::filesystem::path folder_ = std::filesystem::canonical(temporary_.Path());
    ResultFiles results_;
};

} // namespace

TEST_F(ResultFilesTest, HasWhatWasExtractedMovedAndSaved)
{
    Extracted(Put("a"));
    Extracted(folder_ / "before");
    results_.Receive({{"event", "moved"}, {"from", (folder_ / "before").string()}, {"to", Put("b").string()}});
    results_.Receive({{"event", "document"}, {"path", Put("c").string()}, {"action", "saved"}});
    results_.Receive({{"event", "document"}, {"path", Put("d").string()}, {"action", "opened"}});
    EXPECT_EQ((Paths{folder_ / "a", folder_ / "b", folder_ / "c"}), results_.Existing());
}

TEST_F(ResultFilesTest, AFileCountsOnceUnderWhateverName)
{
    std::filesystem::create_directory_symlink(folder_, folder_ / "link");
    Extracted(Put("a"));
    Extracted(folder_ / "a");
    Extracted(folder_ / "link" / "a");
    EXPECT_EQ(Paths{folder_ / "a"}, results_.Existing());
}

TEST_F(ResultFilesTest, WhatIsNoLongerAFileIsNoResult)
{
    std::filesystem::create_directory(folder_ / "folder");
    Extracted(folder_ / "folder");
    Extracted("/nowhere/source.ZALProduct");
    EXPECT_EQ(Paths(), results_.Existing());
}

TEST_F(ResultFilesTest, RootsAreTheDocumentsThatNoProductHolds)
{
    CadDocument product;
    product.kind = DocumentKind::Product;
    product.partNumber = "top";
    product.links = {"held.ZALPart"};
    product.children = {{"held.1", 0, IdentityPlacement}};
    WriteDocument(product, folder_ / "top.ZALProduct");
    const Paths files = {Put("held.ZALPart"), Put("free.ZALPart"), Put("text.txt"), folder_ / "top.ZALProduct",
                         Put("damaged.ZALProduct")};
    EXPECT_EQ((Paths{files[1], files[3], files[4]}), RootDocuments(files));
}

} // namespace openhost
