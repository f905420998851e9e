// Files that are replaced whole or not at all.

#include "FileSizeLimit.h"
#include "FolderFixture.h"

#include "openhost/files/AtomicFile.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <system_error>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;

class AtomicFile : public FolderFixture {
protected:
    std::filesystem::perms Permissions(const std::string& name) const
    {
        return std::filesystem::status(At(name)).permissions();
    }
    /// The error of writing "new" to the file.
    std::system_error ErrorOf(const std::string& name) const
    {
        try {
            WriteFileAtomically(At(name), "new");
        } catch (const std::system_error& error) {
            return error;
        }
        ADD_FAILURE() << name << " has been written";
        return std::system_error(std::error_code());
    }
};

TEST_F(AtomicFile, CreatesAFileWithThePermissionsOfTheUsersNewOnes)
{
    const mode_t before = umask(027);
    WriteFileAtomically(At("a"), std::string_view("a\0b", 3));
    umask(before);
    EXPECT_EQ(std::string("a\0b", 3), Content("a"));
    EXPECT_EQ(std::filesystem::perms(0640), Permissions("a"));
    EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(AtomicFile, KeepsPermissionsLinksAndWhatAReaderHasOpen)
{
    for (const auto replace : {WriteFileAtomically, ReplaceFile}) {
        SCOPED_TRACE(replace == ReplaceFile ? "ReplaceFile" : "WriteFileAtomically");
        Put("a", "old and longer");
        std::filesystem::permissions(At("a"), std::filesystem::perms(0640));
        std::filesystem::create_symlink("a", At("link"));
        std::ifstream reader(At("a"));
        replace(At("link"), "new");
        std::string content;
        std::getline(reader, content);
        EXPECT_EQ("old and longer", content);
        EXPECT_EQ("new", Content("a"));
        EXPECT_EQ(std::filesystem::perms(0640), Permissions("a"));
        EXPECT_TRUE(std::filesystem::is_symlink(At("link")));
        replace(At("a"), "");
        EXPECT_EQ("", Content("a"));
        EXPECT_THROW(replace(At("missing/a"), "new"), std::system_error);
        EXPECT_THAT(Names(), ElementsAre("a", "link"));
        std::filesystem::remove(At("link"));
    }
}

TEST_F(AtomicFile, NamesTheFileThatItCannotWrite)
{
    const std::system_error error = ErrorOf("missing/a");
    EXPECT_THAT(error.what(), ::testing::HasSubstr("missing/a"));
    EXPECT_EQ(std::errc::no_such_file_or_directory, error.code());
}

TEST_F(AtomicFile, LeavesNothingBehindWhereAFolderStands)
{
    std::filesystem::create_directory(At("a"));
    ErrorOf("a");
    EXPECT_TRUE(std::filesystem::is_directory(At("a")));
    EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(AtomicFile, KeepsAFileThatMayOnlyBeRead)
{
    Put("a", "old");
    std::filesystem::permissions(At("a"), std::filesystem::perms(0444));
    EXPECT_EQ(std::errc::permission_denied, ErrorOf("a").code());
    EXPECT_EQ("old", Content("a"));
    EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(AtomicFile, KeepsTheOldFileWhenTheDeviceIsFull)
{
    Put("a", "old");
    {
        const FileSizeLimit limit(1000);
        EXPECT_THROW(WriteFileAtomically(At("a"), std::string(1500, 'x')), std::system_error);
    }
    EXPECT_EQ("old", Content("a"));
    EXPECT_THAT(Names(), ElementsAre("a"));
}

TEST_F(AtomicFile, WritesAFileWithTheLongestName)
{
    const std::string name(255, 'a');
    CreateFileAtomically(At(name), "old");
    WriteFileAtomically(At(name), "new");
    EXPECT_EQ("new", Content(name));
    EXPECT_THAT(Names(), ElementsAre(name));
}

TEST_F(AtomicFile, SeveralAppearTogetherHoweverManyTheyAre)
{
    for (const std::size_t count : {AtomicFiles::MaximumSingleSyncs, AtomicFiles::MaximumSingleSyncs + 1}) {
        AtomicFiles files;
        Put("0", "old");
        for (std::size_t file = 0; file < count; ++file)
            files.Add(At(std::to_string(file)), "new " + std::to_string(file));
        EXPECT_EQ(0U, files.Placed());
        EXPECT_EQ("old", Content("0"));
        EXPECT_THAT(Names(), ElementsAre("0"));

        files.Place();
        EXPECT_EQ(count, files.Placed());
        EXPECT_EQ(count, Names().size());
        EXPECT_EQ("new 0", Content("0"));
        EXPECT_EQ("new 15", Content("15"));
        for (std::size_t file = 0; file < count; ++file)
            std::filesystem::remove(At(std::to_string(file)));
    }
}

TEST_F(AtomicFile, SeveralThatAreGivenUpLeaveNothing)
{
    {
        AtomicFiles files;
        files.Add(At("a"), "1");
        files.Add(At("b"), "2");
    }
    EXPECT_THAT(Names(), ElementsAre());
}

TEST_F(AtomicFile, SeveralStandUpToTheOneThatHasNoPlace)
{
    {
        AtomicFiles files;
        for (const char* name : {"a", "b", "c"})
            files.Add(At(name), "new");
        std::filesystem::create_directory(At("b"));
        EXPECT_THROW(files.Place(), std::system_error);
        EXPECT_EQ(1U, files.Placed());
        EXPECT_EQ("new", Content("a"));
    }
    EXPECT_THAT(Names(), ElementsAre("a", "b"));
}

TEST_F(AtomicFile, CreatesOnlyWhatIsNotThereYet)
{
    CreateFileAtomically(At("a"), "new");
    EXPECT_EQ("new", Content("a"));
    std::filesystem::create_symlink("none", At("link"));
    std::filesystem::create_directory(At("folder"));
    for (const char* name : {"a", "link", "folder"})
        EXPECT_THROW(CreateFileAtomically(At(name), "newer"), std::system_error) << name;
    EXPECT_THROW(CreateFileAtomically(At("missing/a"), "newer"), std::system_error);
    EXPECT_EQ("new", Content("a"));
    EXPECT_THAT(Names(), ElementsAre("a", "folder", "link"));
}

} // namespace
} // namespace openhost::testing
