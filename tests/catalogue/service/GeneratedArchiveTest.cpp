#include "ServiceTest.h"

#include "catalogue/service/GeneratedArchive.h"
#include "openhost/documents/CadDocument.h"

#include <zip.h>

#include <gmock/gmock.h>

namespace catalogue::testing {

/// An archive in memory, opened.
class OpenedArchive {
public:
    explicit OpenedArchive(std::string bytes) : bytes_(std::move(bytes))
    {
        zip_error_t error;
        zip_error_init(&error);
        zip_source_t* source = zip_source_buffer_create(bytes_.data(), bytes_.size(), 0, &error);
        archive_ = zip_open_from_source(source, ZIP_CHECKCONS, &error);
        if (!archive_) {
            zip_source_free(source);
            throw std::runtime_error(zip_error_strerror(&error));
        }
    }
    OpenedArchive(const OpenedArchive&) = delete;
    OpenedArchive& operator=(const OpenedArchive&) = delete;
    ~OpenedArchive() { zip_discard(archive_); }

    std::int64_t Count() const { return zip_get_num_entries(archive_, 0); }
    std::string Name(std::int64_t index) const { return zip_get_name(archive_, static_cast<zip_uint64_t>(index), 0); }
    zip_stat_t Status(std::int64_t index) const
    {
        zip_stat_t status;
        zip_stat_index(archive_, static_cast<zip_uint64_t>(index), 0, &status);
        return status;
    }
    std::string Read(std::int64_t index) const
    {
        std::string content(Status(index).size, '\0');
        zip_file_t* file = zip_fopen_index(archive_, static_cast<zip_uint64_t>(index), 0);
        const std::int64_t count = file ? zip_fread(file, content.data(), content.size()) : -1;
        // Closing tells whether the checksum is right.
        if (!file || zip_fclose(file) != 0 || count != static_cast<std::int64_t>(content.size()))
            throw std::runtime_error("damaged entry");
        return content;
    }

private:
    std::string bytes_;
    zip_t* archive_;
};

class GeneratedArchiveTest : public ServiceTest {
protected:
    std::string Fetch(const std::string& query)
    {
        const httplib::Result reply = Get("/archive?" + query);
        if (!reply || reply->status != 200)
            throw std::runtime_error("no archive: " + (reply ? reply->body : httplib::to_string(reply.error())));
        return reply->body;
    }
};

TEST_F(GeneratedArchiveTest, BadParametersAreRefused)
{
    for (const char* query :
         {"", "entries=", "entries=-1", "entries=1000001", "entries=5&products=6", "entries=1000000&size=100000",
          "entries=1&size=x", "entries=1&method=lzma", "entries=1&entries=2", "entries=1&unknown=1", "entries=1&cut=x"})
        EXPECT_EQ(GetCode("/archive?" + std::string(query)), 400) << query;
}

TEST_F(GeneratedArchiveTest, AnArchiveWithoutEntriesIsAWholeArchive)
{
    EXPECT_EQ(OpenedArchive(Fetch("entries=0")).Count(), 0);
}

TEST_F(GeneratedArchiveTest, PartsHaveTheSizeAndTheMethodAskedFor)
{
    const OpenedArchive archive(Fetch("entries=3&size=1000&method=stored"));
    ASSERT_EQ(archive.Count(), 3);
    EXPECT_EQ(archive.Name(0), "part-000001.ZALPart");
    EXPECT_EQ(archive.Status(2).size, 1000U);
    EXPECT_EQ(archive.Status(2).comp_method, ZIP_CM_STORE);
    EXPECT_EQ(archive.Read(2).size(), 1000U);
    EXPECT_NE(archive.Read(0), archive.Read(1));
}

TEST_F(GeneratedArchiveTest, PartsShrinkByDefault)
{
    const OpenedArchive archive(Fetch("entries=1&size=100000"));
    EXPECT_EQ(archive.Status(0).comp_method, ZIP_CM_DEFLATE);
    EXPECT_LT(archive.Status(0).comp_size, 50000U);
    EXPECT_EQ(archive.Read(0).size(), 100000U);
}

TEST_F(GeneratedArchiveTest, PartsOfNoBytesAreEntries)
{
    const OpenedArchive archive(Fetch("entries=2&size=0"));
    ASSERT_EQ(archive.Count(), 2);
    EXPECT_EQ(archive.Read(1), "");
}

TEST_F(GeneratedArchiveTest, ProductsFormOneTreeWhoseRootIsTheLastEntry)
{
    const OpenedArchive archive(Fetch("entries=8&products=5"));
    ASSERT_EQ(archive.Count(), 8);
    EXPECT_EQ(archive.Name(7), "product-000001.ZALProduct");

    std::vector<std::string> pointedTo;
    for (std::int64_t index = 3; index < 8; ++index) {
        const openhost::CadDocument product = openhost::ParseDocument(archive.Read(index), archive.Name(index));
        EXPECT_EQ(product.kind, openhost::DocumentKind::Product);
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
    const OpenedArchive archive(Fetch("entries=1&products=1"));
    EXPECT_TRUE(openhost::ParseDocument(archive.Read(0), "product").links.empty());
}

TEST_F(GeneratedArchiveTest, EqualDescriptionsGiveEqualBytes)
{
    const std::string first = Fetch("entries=50&products=10&size=300");
    GenerateArchive({.entries = 50, .products = 10, .size = 300}, root_ / "again.zip");
    std::ifstream file(root_ / "again.zip", std::ios::binary);
    EXPECT_EQ(first, std::string(std::istreambuf_iterator<char>(file), {}));
}

TEST_F(GeneratedArchiveTest, MoreEntriesThanTheOldFormatHoldsAreServed)
{
    const OpenedArchive archive(Fetch("entries=70000&size=8&method=stored"));
    EXPECT_EQ(archive.Count(), 70000);
}

TEST_F(GeneratedArchiveTest, AGeneratedArchiveTakesTheFormsOfAnyReply)
{
    EXPECT_FALSE(Get("/archive?entries=10&cut=20"));
    EXPECT_EQ(GetCode("/archive?entries=10&code=404"), 404);
    const httplib::Result reply = Get("/archive?entries=10&chunked=1&disposition=attachment");
    ASSERT_TRUE(reply);
    EXPECT_EQ(OpenedArchive(reply->body).Count(), 10);
    EXPECT_EQ(reply->get_header_value("Content-Disposition"), "attachment; filename=\"archive-10-0-256-deflated.zip\"");
}

TEST_F(GeneratedArchiveTest, TheCacheBeginsAnewWhenItIsFullAndKeepsWhatIsRead)
{
    ArchiveCache cache;
    const std::shared_ptr<Body> first = cache.Open({.entries = 1});
    for (std::uint64_t entries = 2; entries <= ArchiveCache::MaximumArchives + 1; ++entries)
        cache.Open({.entries = entries});
    char mark[2] = {};
    EXPECT_EQ(first->Read(0, mark, 2), 2U);
    EXPECT_EQ(std::string(mark, 2), "PK");
    EXPECT_EQ(cache.Open({.entries = 1})->Size(), first->Size());
}

} // namespace catalogue::testing
