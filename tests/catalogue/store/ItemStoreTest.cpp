#include "catalogue/store/ItemStore.h"

#include "openhost/files/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <thread>

namespace catalogue::testing {

using Json = nlohmann::ordered_json;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

Json BoxOf(double length)
{
    return {{"lowest", {-length / 2, 0, 0}}, {"highest", {length / 2, 1, 1}}};
}

class ItemStoreTest : public ::testing::Test {
protected:
    std::filesystem::path File() const { return folder_.Path() / StoreName; }

    void Put(const std::vector<Json>& entries) const
    {
        ItemStoreWriter writer(File());
        for (const Json& entry : entries)
            writer.Put(entry);
    }
    void PutFasteners() const
    {
        Put({{{"id", "bolt-m8x40"},
              {"title", "Hexagon bolt ISO 4014 M8x40"},
              {"category", "Bolts"},
              {"description", "Head, chamfered"},
              {"material", "Steel 8.8"},
              {"dimensions", {{"d", 8}, {"l", 40.25}}},
              {"boundingBox", BoxOf(45)},
              {"shape", "token"}},
             {{"id", "nut-m8"},
              {"title", "Hexagon nut M8"},
              {"category", "Nuts"},
              {"material", "Steel 8"},
              {"dimensions", {{"d", 8}}},
              {"boundingBox", BoxOf(13)}},
             {{"id", "nut-m6"},
              {"title", "Hexagon nut M6"},
              {"category", "Nuts"},
              {"material", "Brass"},
              {"dimensions", {{"d", 6}}},
              {"boundingBox", BoxOf(10)}},
             {{"id", "joint"},
              {"title", "Joint"},
              {"category", "Assemblies"},
              {"description", "Bolt and nut"},
              {"boundingBox", BoxOf(60)}}});
    }

    /// Identifiers of what is found by words.
    std::vector<std::string> Found(const std::vector<std::vector<std::string>>& words) const
    {
        ItemQuery query;
        query.words = words;
        return IdsOf(ItemStore(File()).Find(query));
    }
    static std::vector<std::string> IdsOf(const ItemPage& page)
    {
        std::vector<std::string> ids;
        for (const Json& item : page.items)
            ids.push_back(item.at("id"));
        return ids;
    }

    openhost::TemporaryFolder folder_;
};

} // namespace

TEST_F(ItemStoreTest, WithoutWordsAllItemsComeInTheirOrder)
{
    PutFasteners();
    EXPECT_THAT(Found({}), ElementsAre("bolt-m8x40", "nut-m8", "nut-m6", "joint"));
    EXPECT_THAT(Found({{""}, {" "}, {"-"}, {}}), ElementsAre("bolt-m8x40", "nut-m8", "nut-m6", "joint"));
}

TEST_F(ItemStoreTest, WordsAreFoundByTheirBeginningsWhereverTheyStand)
{
    PutFasteners();
    EXPECT_THAT(Found({{"hexa"}}), ElementsAre("nut-m8", "nut-m6", "bolt-m8x40"));
    EXPECT_THAT(Found({{"CHAM"}}), ElementsAre("bolt-m8x40"));
    EXPECT_THAT(Found({{"assem"}}), ElementsAre("joint"));
    EXPECT_THAT(Found({{"agon"}}), IsEmpty());
}

TEST_F(ItemStoreTest, AllWordsMustBeThereInAnyOfTheirAlternatives)
{
    PutFasteners();
    EXPECT_THAT(Found({{"nut"}, {"m8"}}), ElementsAre("nut-m8"));
    EXPECT_THAT(Found({{"mutter", "Hexagon nut"}, {"m6"}}), ElementsAre("nut-m6"));
    EXPECT_THAT(Found({{"nut hexagon"}}), IsEmpty()) << "words of an alternative stand in their order";
}

TEST_F(ItemStoreTest, SizesAreFoundInEachWayOfWritingThem)
{
    PutFasteners();
    for (const char* size : {"d=8", "d8", "8x40", "x40", "m8x40", "l 40.25", "40,25"})
        EXPECT_THAT(Found({{"bolt"}, {size}}), ::testing::Contains("bolt-m8x40")) << size;
    EXPECT_THAT(Found({{"d6"}}), ElementsAre("nut-m6"));
}

TEST_F(ItemStoreTest, AWordInTheTitleCountsForMost)
{
    PutFasteners();
    EXPECT_THAT(Found({{"bolt"}}), ElementsAre("bolt-m8x40", "joint"));
}

TEST_F(ItemStoreTest, SignsOfTheSearchLanguageAreNothingButSigns)
{
    PutFasteners();
    for (const char* word : {"\"", "bolt\"", "bolt*", "bolt OR nut", "title:bolt", "(bolt", "bolt AND",
                             "NEAR(bolt nut)", "^bolt", "-bolt", "{title}", "\x01\x7F\xC3", "a\"*b"})
        EXPECT_NO_THROW(Found({{word}})) << word;
    EXPECT_THAT(Found({{std::string("bolt\0m8", 7)}}), ::testing::SizeIs(::testing::Le(1U)));
}

TEST_F(ItemStoreTest, ChoicesCountWhatTheOthersLeave)
{
    PutFasteners();
    const ItemStore store(File());
    ItemQuery query;
    query.category = "Nuts";
    ItemPage page = store.Find(query);
    EXPECT_EQ(2U, page.total);
    EXPECT_THAT(page.categories, ElementsAre(Choice{"Bolts", 1}, Choice{"Nuts", 2}, Choice{"Assemblies", 1}));
    EXPECT_THAT(page.materials, ElementsAre(Choice{"Steel 8", 1}, Choice{"Brass", 1}));
    EXPECT_THAT(page.sizes, ElementsAre(0, 2, 0, 0, 0, 0)) << "a range begins with its first number";
    query.material = "Brass";
    page = store.Find(query);
    EXPECT_THAT(IdsOf(page), ElementsAre("nut-m6"));
    EXPECT_THAT(page.categories, ElementsAre(Choice{"Nuts", 1}));
    EXPECT_THAT(page.materials, ElementsAre(Choice{"Steel 8", 1}, Choice{"Brass", 1}));
    query = {};
    query.size = 2;
    EXPECT_THAT(IdsOf(store.Find(query)), ElementsAre("bolt-m8x40", "joint"));
    query.category = "No such";
    EXPECT_EQ(0U, store.Find(query).total);
}

TEST_F(ItemStoreTest, PagesFollowEachOther)
{
    PutFasteners();
    const ItemStore store(File());
    ItemQuery query;
    query.count = 3;
    EXPECT_THAT(IdsOf(store.Find(query)), ElementsAre("bolt-m8x40", "nut-m8", "nut-m6"));
    query.first = 3;
    EXPECT_THAT(IdsOf(store.Find(query)), ElementsAre("joint"));
    query.first = 4;
    EXPECT_THAT(IdsOf(store.Find(query)), IsEmpty());
    EXPECT_EQ(4U, store.Find(query).total);
    query.count = MaximumPageItems;
    EXPECT_NO_THROW(store.Find(query));
    query.count = MaximumPageItems + 1;
    EXPECT_THROW(store.Find(query), std::invalid_argument);
}

TEST_F(ItemStoreTest, MistypedWordsAreTakenForThoseThatWereMeant)
{
    PutFasteners();
    const ItemStore store(File());
    ItemQuery query;
    query.words = {{"Hexgaon"}, {"m6"}};
    ItemPage page = store.Find(query);
    EXPECT_THAT(IdsOf(page), ElementsAre("nut-m6"));
    EXPECT_THAT(page.meant, ElementsAre("hexagon", "m6"));
    query.words = {{"hexagon"}};
    EXPECT_THAT(store.Find(query).meant, IsEmpty());
    query.words = {{"qqqqqq"}};
    page = store.Find(query);
    EXPECT_EQ(0U, page.total);
    EXPECT_THAT(page.meant, IsEmpty());
}

TEST_F(ItemStoreTest, SearchesUpToTheLimitsAreTaken)
{
    PutFasteners();
    const ItemStore store(File());
    ItemQuery query;
    query.words.assign(MaximumSearchWords, {"nut"});
    EXPECT_EQ(3U, store.Find(query).total);
    query.words.push_back({"nut"});
    EXPECT_THROW(store.Find(query), std::invalid_argument);
    query.words = {std::vector<std::string>(MaximumSearchAlternatives, "nut")};
    EXPECT_EQ(3U, store.Find(query).total);
    query.words.front().push_back("nut");
    EXPECT_THROW(store.Find(query), std::invalid_argument);
    query.words = {{std::string(MaximumSearchText, 'a')}};
    EXPECT_EQ(0U, store.Find(query).total);
    query.words.front().front() += 'a';
    EXPECT_THROW(store.Find(query), std::invalid_argument);
    query = {};
    query.size = SizeRanges.size();
    EXPECT_THROW(store.Find(query), std::invalid_argument);
}

TEST_F(ItemStoreTest, OfVeryManyItemsThoseWithTheWordInTheTitleComeFirst)
{
    {
        ItemStoreWriter writer(File());
        writer.DoAtOnce([&] {
            for (int number = 0; number < 5001; ++number)
                writer.Put({{"id", "p" + std::to_string(number)}, {"title", "Part"}, {"description", "with a bolt"}});
            writer.Put({{"id", "bolt"}, {"title", "Bolt"}});
        });
    }
    EXPECT_EQ("bolt", Found({{"bolt"}}).at(0));
    EXPECT_EQ("p0", Found({{"bolt"}}).at(1));
    ItemQuery query;
    query.words = {{"bolt"}};
    EXPECT_EQ(5002U, ItemStore(File()).Find(query).total);
}

TEST_F(ItemStoreTest, AnEntryComesWithItsShape)
{
    PutFasteners();
    const ItemStore store(File());
    EXPECT_EQ("token", store.Entry("bolt-m8x40").value().at("shape"));
    EXPECT_EQ(40.25, store.Entry("bolt-m8x40").value().at("dimensions").at("l"));
    EXPECT_FALSE(store.Entry("nut-m8").value().contains("shape"));
    EXPECT_EQ(std::nullopt, store.Entry("none"));
    EXPECT_EQ(std::nullopt, store.Entry("' OR 1 --"));
    std::vector<std::string> shapes;
    store.ForEachShape([&](std::int64_t, std::string_view shape) { shapes.emplace_back(shape); });
    EXPECT_THAT(shapes, ElementsAre("token"));
    EXPECT_TRUE(store.Entries({99}).at(0).is_null());
}

TEST_F(ItemStoreTest, AChangedItemKeepsItsPlaceAndARemovedOneIsGone)
{
    PutFasteners();
    Put({{{"id", "nut-m8"}, {"title", "Wing screw"}}});
    ItemStoreWriter(File()).Remove("nut-m6");
    ItemStoreWriter(File()).Remove("none");
    EXPECT_THAT(Found({}), ElementsAre("bolt-m8x40", "nut-m8", "joint"));
    EXPECT_THAT(Found({{"wing"}}), ElementsAre("nut-m8"));
    EXPECT_THAT(Found({{"hexagon"}}), ElementsAre("bolt-m8x40"));
}

TEST_F(ItemStoreTest, WhatIsNoItemIsRefusedAndChangesNothing)
{
    PutFasteners();
    ItemStoreWriter writer(File());
    for (const Json& entry : {Json(7), Json(), Json::array(), Json::object(), Json{{"id", ""}}, Json{{"id", 7}}})
        EXPECT_THROW(writer.Put(entry), std::invalid_argument) << entry;
    EXPECT_THROW(writer.DoAtOnce([&] {
        writer.Remove("joint");
        throw std::runtime_error("no");
    }),
                 std::runtime_error);
    EXPECT_THAT(Found({}), ElementsAre("bolt-m8x40", "nut-m8", "nut-m6", "joint"));
}

TEST_F(ItemStoreTest, MembersOfOtherTypesAreLeftOut)
{
    Put({{{"id", "odd"},
          {"title", 7},
          {"category", Json::array()},
          {"dimensions", {1, 2}},
          {"boundingBox", {{"lowest", "x"}}}},
         {{"id", "odder"}, {"title", "x"}, {"boundingBox", {{"lowest", {0, "a"}}, {"highest", {1e300, 5, 1}}}}}});
    EXPECT_THAT(Found({}), ElementsAre("odd", "odder"));
}

TEST_F(ItemStoreTest, AFileThatIsNoStoreIsRefused)
{
    EXPECT_THROW(ItemStore(folder_.Path() / "missing"), DatabaseError);
    EXPECT_THROW(ItemStore{folder_.Path()}, DatabaseError);
    for (const std::string& bytes : {std::string(), std::string("no database"), std::string(5000, '\0'),
                                     std::string("SQLite format 3\0", 16) + std::string(5000, 'x')}) {
        std::ofstream(File(), std::ios::binary) << bytes;
        EXPECT_THROW(ItemStore{File()}, DatabaseError) << bytes.size();
    }
    std::filesystem::remove(File());
    Database(File(), Database::Mode::Write).Run("PRAGMA user_version = 2");
    EXPECT_THROW(ItemStore{File()}, DatabaseError);
    EXPECT_THROW(ItemStoreWriter{File()}, DatabaseError);
}

TEST_F(ItemStoreTest, ADamagedStoreIsAnErrorAndNoCrash)
{
    PutFasteners();
    std::string bytes;
    {
        std::ifstream file(File(), std::ios::binary);
        bytes.assign(std::istreambuf_iterator<char>(file), {});
    }
    for (std::size_t at = 100; at < bytes.size(); at += 997) {
        std::string damaged = bytes;
        for (std::size_t byte = at; byte < std::min(at + 64, damaged.size()); ++byte)
            damaged[byte] = static_cast<char>(~damaged[byte]);
        std::ofstream(File(), std::ios::binary) << damaged;
        try {
            const ItemStore store(File());
            ItemQuery query;
            query.words = {{"hexgaon"}};
            store.Find(query);
            store.Entry("nut-m8");
        } catch (const DatabaseError&) {
        }
    }
}

TEST_F(ItemStoreTest, ManyThreadsMaySearch)
{
    PutFasteners();
    const ItemStore store(File());
    std::vector<std::jthread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&] {
            ItemQuery query;
            query.words = {{"hexgaon"}};
            for (int time = 0; time < 50; ++time) {
                EXPECT_EQ(3U, store.Find(query).total);
                EXPECT_TRUE(store.Entry("joint"));
            }
        });
}

} // namespace catalogue::testing
