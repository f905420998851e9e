#include "openhost/conversion/ImportedFiles.h"

#include "openhost/files/TemporaryFolder.h"
#include "tests/support/Files.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <set>

namespace openhost::testing {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ImportedFilesTest : public ::testing::Test {
protected:
    static void Write(const std::filesystem::path& file, const std::string& content)
    {
        std::ofstream(file, std::ios::binary) << content;
    }

    std::set<std::string> Names(const std::filesystem::path& folder) const
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.insert(entry.path().filename().string());
        return names;
    }

    std::filesystem::path Target() const { return folder_.Path() / "target"; }

    TemporaryFolder folder_;
};

} // namespace

TEST_F(ImportedFilesTest, StandInTheirFolderWhenTheyArePlaced)
{
    for (const int count : {1, 40}) {
        std::filesystem::remove_all(Target());
        ImportedFiles files(Target());
        for (int number = 0; number < count; ++number)
            Write(files.Folder() / std::to_string(number), "content");
        files.Place(ReplaceFiles::No);
        EXPECT_EQ("content", ReadFile(Target() / "0"));
        EXPECT_EQ(static_cast<std::size_t>(count) + 1, Names(Target()).size()) << "with the hidden folder";
    }
    EXPECT_EQ(40U, Names(Target()).size()) << "without it";
}

TEST_F(ImportedFilesTest, LeaveNothingWhenTheyAreNotPlaced)
{
    {
        const ImportedFiles files(Target() / "deeper" / "");
        Write(files.Folder() / "a", "content");
        EXPECT_TRUE(std::filesystem::exists(Target() / "deeper"));
    }
    EXPECT_THAT(Names(folder_.Path()), IsEmpty());
}

TEST_F(ImportedFilesTest, AllStayAwayWhereOneStandsInTheWay)
{
    std::filesystem::create_directory(Target());
    Write(Target() / "b", "before");
    {
        ImportedFiles files(Target());
        for (const char* name : {"a", "b", "c"})
            Write(files.Folder() / name, "new");
        try {
            files.Place(ReplaceFiles::No);
            ADD_FAILURE() << "were placed";
        } catch (const std::runtime_error& error) {
            EXPECT_THAT(error.what(), HasSubstr("target/b: there is a file of this name already"));
        }
    }
    EXPECT_THAT(Names(Target()), ElementsAre("b"));
    EXPECT_EQ("before", ReadFile(Target() / "b"));
}

TEST_F(ImportedFilesTest, TakeThePlaceOfOthersWhereTheyMay)
{
    std::filesystem::create_directory(Target());
    Write(Target() / "b", "before");
    {
        ImportedFiles files(Target());
        for (const char* name : {"a", "b"})
            Write(files.Folder() / name, "new");
        files.Place(ReplaceFiles::Yes);
    }
    EXPECT_THAT(Names(Target()), ElementsAre("a", "b"));
    EXPECT_EQ("new", ReadFile(Target() / "b"));
}

TEST_F(ImportedFilesTest, AreTakenBackWhenOneCannotBeReplaced)
{
    std::filesystem::create_directories(Target() / "d" / "inside");
    Write(Target() / "b", "before");
    {
        ImportedFiles files(Target());
        for (const char* name : {"a", "b", "c", "d", "e"})
            Write(files.Folder() / name, "new");
        EXPECT_THROW(files.Place(ReplaceFiles::Yes), std::runtime_error);
    }
    EXPECT_THAT(Names(Target()), ElementsAre("b", "d"));
    EXPECT_EQ("before", ReadFile(Target() / "b"));
}

TEST_F(ImportedFilesTest, NeedAFolder)
{
    Write(Target(), "a file");
    EXPECT_THROW(ImportedFiles files(Target()), std::runtime_error);
    EXPECT_THROW(ImportedFiles files(Target() / "below"), std::runtime_error);
    EXPECT_EQ("a file", ReadFile(Target()));
}

} // namespace openhost::testing
