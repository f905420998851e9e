#include "ServiceTest.h"

#include "catalogue/service/GeneratedArchive.h"
#include "openhost/documents/CadDocument.h"
#include "tests/openhost/files/OpenedArchive.h"

#include <gmock/gmock.h>

namespace catalogue::testing {

using openhost::testing::OpenedArchive;

class GeneratedArchiveTest : public ServiceTest {
protected:
    std::string Archive(const std::string& query)
    {
        const httplib::Response reply = Fetch("/archive?" + query);
        EXPECT_EQ(200, reply.status) << reply.body;
        return reply.body;
    }
};

TEST_F(GeneratedArchiveTest, BadParametersAreRefused)
{
    for (const char* query :
         {"", "entries=", "entries=-1", "entries=1000001", "entries=5&products=6", "entries=1000000&size=100000",
          "entries=1&size=x", "entries=1&method=lzma", "entries=1&entries=2", "entries=1&unknown=1", "entries=1&cut=x"})
        EXPECT_EQ(400, GetCode("/archive?" + std::string(query))) << query;
}

TEST_F(GeneratedArchiveTest, AnyNumberOfEntriesOfAnySizeIsServed)
{
    EXPECT_EQ(0, OpenedArchive(Archive("entries=0")).Count());
    const OpenedArchive archive(Archive("entries=2&size=0"));
    ASSERT_EQ(2, archive.Count());
    EXPECT_EQ("", archive.Read(1));
    EXPECT_EQ(70000, OpenedArchive(Archive("entries=70000&size=8&method=stored")).Count()) << "more than 16 bits";
}

TEST_F(GeneratedArchiveTest, PartsHaveTheSizeAndTheMethodAskedFor)
{
    const OpenedArchive archive(Archive("entries=3&size=1000&method=stored"));
    ASSERT_EQ(3, archive.Count());
    EXPECT_EQ("part-000001.ZALPart", archive.Name(0));
    EXPECT_EQ(1000U, archive.Status(2).size);
    EXPECT_EQ(ZIP_CM_STORE, archive.Status(2).comp_method);
    EXPECT_EQ(1000U, archive.Read(2).size());
    EXPECT_NE(archive.Read(0), archive.Read(1));
}

TEST_F(GeneratedArchiveTest, PartsShrinkByDefault)
{
    const OpenedArchive archive(Archive("entries=1&size=100000"));
    EXPECT_EQ(ZIP_CM_DEFLATE, archive.Status(0).comp_method);
    EXPECT_LT(archive.Status(0).comp_size, 50000U);
    EXPECT_EQ(100000U, archive.Read(0).size());
}

TEST_F(GeneratedArchiveTest, ProductsFormOneTreeWhoseRootIsTheLastEntry)
{
    const OpenedArchive archive(Archive("entries=8&products=5"));
    ASSERT_EQ(8, archive.Count());
    EXPECT_EQ("product-000001.ZALProduct", archive.Name(7));

    std::vector<std::string> pointedTo;
    for (std::int64_t index = 3; index < 8; ++index) {
        const openhost::CadDocument product = openhost::ParseDocument(archive.Read(index), archive.Name(index));
        EXPECT_EQ(openhost::DocumentKind::Product, product.kind);
        EXPECT_EQ(product.children.size(), product.links.size());
        pointedTo.insert(pointedTo.end(), product.links.begin(), product.links.end());
    }
    EXPECT_THAT(pointedTo,
                ::testing::UnorderedElementsAre("product-000002.ZALProduct", "product-000003.ZALProduct",
                                                "product-000004.ZALProduct", "product-000005.ZALProduct",
                                                "part-000001.ZALPart", "part-000002.ZALPart", "part-000003.ZALPart"));
}

TEST_F(GeneratedArchiveTest, AnArchiveOfProductsAloneHasLeavesWithoutLinks)
{
    const OpenedArchive archive(Archive("entries=1&products=1"));
    EXPECT_TRUE(openhost::ParseDocument(archive.Read(0), "product").links.empty());
}

TEST_F(GeneratedArchiveTest, EqualDescriptionsGiveEqualBytes)
{
    const std::string first = Archive("entries=50&products=10&size=300");
    GenerateArchive({.entries = 50, .products = 10, .size = 300}, root_ / "again.zip");
    std::ifstream file(root_ / "again.zip", std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), first);
}

TEST_F(GeneratedArchiveTest, AGeneratedArchiveTakesTheFormsOfAnyReply)
{
    EXPECT_FALSE(Get("/archive?entries=10&cut=20"));
    EXPECT_EQ(404, GetCode("/archive?entries=10&code=404"));
    const httplib::Response reply = Fetch("/archive?entries=10&chunked=1&disposition=attachment");
    EXPECT_EQ(10, OpenedArchive(reply.body).Count());
    EXPECT_EQ("attachment; filename=\"archive-10-0-256-deflated.zip\"", reply.get_header_value("Content-Disposition"));
}

TEST_F(GeneratedArchiveTest, TheCacheBeginsAnewWhenItIsFullAndKeepsWhatIsRead)
{
    ArchiveCache cache;
    const std::shared_ptr<Body> first = cache.Open({.entries = 1});
    for (std::uint64_t entries = 2; entries <= ArchiveCache::MaximumArchives + 1; ++entries)
        cache.Open({.entries = entries});
    char mark[2] = {};
    EXPECT_EQ(2U, first->Read(0, mark, 2));
    EXPECT_EQ(std::string(mark, 2), "PK");
    EXPECT_EQ(cache.Open({.entries = 1})->Size(), first->Size());
}

} // namespace catalogue::testing
