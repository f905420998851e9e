#include "catalogue/sources/BuildRecord.h"

#include "openhost/files/TemporaryFolder.h"
#include "tests/support/WriteItems.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace catalogue::testing {

namespace {

using ::testing::IsEmpty;
using Json = nlohmann::ordered_json;

class RecordedBuild : public ::testing::Test {
protected:
    std::filesystem::path Path() const { return folder_.Path() / StoreName; }
    std::vector<std::string> Titles() const
    {
        std::vector<std::string> titles;
        for (const Json& entry : ReadItems(folder_.Path()))
            titles.push_back(entry["title"]);
        return titles;
    }
    static Json Entry(const std::string& id, const std::string& title) { return {{"id", id}, {"title", title}}; }

    openhost::TemporaryFolder folder_;
    const SourceRecord made_{"stamp", {{"other.ZALPart", "its"}}, "a", "", {"layers"}};
    const SourceRecord leftOut_{"stamp", {}, "", "damaged", {}};
};

} // namespace

TEST_F(RecordedBuild, IsThereAgainWhenItGoesOn)
{
    {
        BuildRecord record(Path());
        record.Put("a.step", made_, Entry("a", "A"), 5);
        record.Put("b.step", leftOut_, nullptr, 6);
    }
    const BuildRecord record(Path());
    EXPECT_EQ((std::map<std::string, SourceRecord>{{"a.step", made_}, {"b.step", leftOut_}}), record.Sources());
    EXPECT_EQ(6, record.NextNumber());
    EXPECT_EQ(std::vector<std::string>{"A"}, Titles());
}

TEST_F(RecordedBuild, KeepsItemsInTheOrderOfTheirNumbers)
{
    BuildRecord record(Path());
    record.Put("b.step", {"s", {}, "b", "", {}}, Entry("b", "B"), 2);
    record.Put("a.step", {"s", {}, "a", "", {}}, Entry("a", "A"), 1);
    record.Put("b.step", {"t", {}, "b", "", {}}, Entry("b", "B again"), 9);
    EXPECT_EQ((std::vector<std::string>{"A", "B again"}), Titles());
}

TEST_F(RecordedBuild, HasNoItemOfAFileThatIsLeftOutNow)
{
    BuildRecord record(Path());
    record.Put("a.step", made_, Entry("a", "A"), 1);
    record.Put("a.step", leftOut_, nullptr, 2);
    EXPECT_EQ(leftOut_, record.Sources().at("a.step"));
    EXPECT_THAT(Titles(), IsEmpty());
}

TEST_F(RecordedBuild, HasNoItemOfAFileThatIsGone)
{
    BuildRecord record(Path());
    record.Put("a.step", made_, Entry("a", "A"), 1);
    record.Put("b.step", leftOut_, nullptr, 2);
    record.Remove("a.step");
    record.Remove("b.step");
    EXPECT_THAT(record.Sources(), IsEmpty());
    EXPECT_THAT(Titles(), IsEmpty());
    EXPECT_THAT(BuildRecord(Path()).Sources(), IsEmpty());
}

TEST_F(RecordedBuild, ChangesWithItsItemsOrNotAtAll)
{
    BuildRecord record(Path());
    record.Put("a.step", made_, Entry("a", "A"), 1);
    EXPECT_ANY_THROW(record.Put("a.step", leftOut_, Json{{"title", "without identifier"}}, 2));
    EXPECT_EQ(made_, record.Sources().at("a.step"));
    EXPECT_EQ(made_, BuildRecord(Path()).Sources().at("a.step"));
}

TEST_F(RecordedBuild, HasNoStampsOfAnotherVersion)
{
    BuildRecord(Path()).Put("a.step", made_, Entry("a", "A"), 1);
    Database(Path(), Database::Mode::Write).Run("UPDATE sources SET version = version - 1");
    SourceRecord expected = made_;
    expected.stamp.clear();
    EXPECT_EQ(expected, BuildRecord(Path()).Sources().at("a.step"));
}

TEST_F(RecordedBuild, DoesNotTakeItemsFromElsewhere)
{
    WriteItems(folder_.Path(), {Entry("x", "X")});
    EXPECT_THROW(BuildRecord{Path()}, DatabaseError);
    EXPECT_EQ(std::vector<std::string>{"X"}, Titles());
}

} // namespace catalogue::testing
