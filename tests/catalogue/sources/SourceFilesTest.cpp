#include "catalogue/sources/SourceFiles.h"

#include "catalogue/sources/ItemIds.h"
#include "catalogue/sources/SourceJob.h"
#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>

namespace catalogue::testing {

namespace {

using openhost::testing::WriteBytes;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

class FoundFiles : public ::testing::Test {
protected:
    std::vector<std::string> Find(const std::filesystem::path& except = {})
    {
        std::vector<std::string> names;
        for (const auto& [name, file] : FindSourceFiles(folder_.Path(), except, remarks_))
            names.push_back(name);
        return names;
    }
    std::string StampOf(const std::string& name)
    {
        return FindSourceFiles(folder_.Path(), {}, remarks_).at(name).stamp;
    }
    void Write(const std::string& name, const std::string& content = "content") const
    {
        WriteBytes(folder_.Path() / name, content);
    }

    openhost::TemporaryFolder folder_;
    std::vector<SourceRemark> remarks_;
};

} // namespace

TEST_F(FoundFiles, AreStepFilesAndDocumentsAtAnyDepthByName)
{
    for (const char* name :
         {"b.STP", "a/deep/x.step", "a/y.ZALPart", "c.ZALProduct", "notes.txt", "step", "z.step.bak"})
        Write(name);
    EXPECT_THAT(Find(), ElementsAre("a/deep/x.step", "a/y.ZALPart", "b.STP", "c.ZALProduct"));
    EXPECT_THAT(remarks_, IsEmpty());
}

TEST_F(FoundFiles, AreNeitherHiddenNorBehindLinks)
{
    Write("kept.step");
    Write(".hidden.step");
    Write(".folder/x.step");
    const openhost::TemporaryFolder elsewhere;
    WriteBytes(elsewhere.Path() / "other.step", "content");
    std::filesystem::create_symlink(elsewhere.Path() / "other.step", folder_.Path() / "link.step");
    std::filesystem::create_directory_symlink(elsewhere.Path(), folder_.Path() / "folder");
    std::filesystem::create_directory_symlink(folder_.Path(), folder_.Path() / "circle");
    EXPECT_THAT(Find(), ElementsAre("kept.step"));
}

TEST_F(FoundFiles, AreNotThoseOfTheCatalogueItself)
{
    Write("kept.step");
    Write("root/files/x.ZALPart");
    EXPECT_THAT(Find(folder_.Path() / "root"), ElementsAre("kept.step"));
}

TEST_F(FoundFiles, HaveAnotherStampOnceTheyAreWritten)
{
    Write("a.step", "one");
    Write("b.step", "one");
    const std::string before = StampOf("a.step");
    const std::string other = StampOf("b.step");
    const auto later = std::filesystem::last_write_time(folder_.Path() / "a.step") + std::chrono::milliseconds(1);
    Write("a.step", "two");
    std::filesystem::last_write_time(folder_.Path() / "a.step", later);
    EXPECT_NE(before, StampOf("a.step"));
    EXPECT_EQ(other, StampOf("b.step"));
}

TEST(SourceFiles, OfAFolderThatIsNotThereAreAnError)
{
    std::vector<SourceRemark> remarks;
    EXPECT_THROW(FindSourceFiles("/no/such/folder", {}, remarks), std::runtime_error);
}

TEST(ItemIds, ReadLikeTheNamesOfTheFiles)
{
    ItemIds ids;
    EXPECT_EQ("bolts-m8x40", ids.Make("Bolts/M8x40.step"));
    EXPECT_EQ("a-b", ids.Make("--a  (b).ZALPart"));
    EXPECT_EQ("item", ids.Make("\xC3\x9F.stp"));
}

TEST(ItemIds, AreNeverTheSame)
{
    ItemIds ids;
    ids.Add("m8");
    ids.Add("");
    EXPECT_EQ("m8-2", ids.Make("m8.step"));
    EXPECT_EQ("m8-3", ids.Make("M8.ZALPart"));
    EXPECT_EQ("item", ids.Make("+.step"));
    EXPECT_EQ("item-2", ids.Make("-.step"));
}

TEST(ItemIds, OfLongNamesKeepTheirEnds)
{
    ItemIds ids;
    EXPECT_EQ(std::string(MaximumItemId, 'a'), ids.Make(std::string(MaximumItemId, 'a') + ".step"));
    EXPECT_EQ(std::string(MaximumItemId - 1, 'a') + "b", ids.Make(std::string(MaximumItemId, 'a') + "b.step"));
}

TEST(SourceJob, ComesBackAsItWas)
{
    const SourceJob job{"/folder/\xFF\xE4.step", "/out", "id", "name", "category / other", "catalogue"};
    const SourceJob read = SourceJob::Decode(job.Encode());
    EXPECT_EQ(job.file, read.file);
    EXPECT_EQ(job.output, read.output);
    EXPECT_EQ("id", read.id);
    EXPECT_EQ("name", read.name);
    EXPECT_EQ("category / other", read.category);
    EXPECT_EQ("catalogue", read.catalogue);
}

TEST(SourceAnswer, ComesBackAsItWas)
{
    const SourceAnswer answer{{{"id", "x"}}, {"/a/\xFF.step"}, {"left out"}};
    const SourceAnswer read = SourceAnswer::Decode(answer.Encode());
    EXPECT_EQ(answer.entry, read.entry);
    EXPECT_EQ(answer.files, read.files);
    EXPECT_EQ(answer.warnings, read.warnings);
}

TEST(SourceJob, IsNoOtherMessage)
{
    for (const char* bytes : {"", "{", "[]", "{}", R"({"file": 1})"}) {
        EXPECT_THROW(SourceJob::Decode(bytes), std::invalid_argument) << bytes;
        EXPECT_THROW(SourceAnswer::Decode(bytes), std::invalid_argument) << bytes;
    }
}

} // namespace catalogue::testing
