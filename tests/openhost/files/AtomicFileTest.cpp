#include "FileSizeLimit.h"

#include "openhost/files/AtomicFile.h"
#include "openhost/files/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <system_error>

namespace {

class AtomicFile : public testing::Test {
protected:
    std::filesystem::path Path(const std::string& name) const { return folder_.Path() / name; }

    std::string Content(const std::string& name) const
    {
        std::ifstream stream(Path(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    std::size_t CountEntries() const
    {
        return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator(folder_.Path()), {}));
    }

    const openhost::TemporaryFolder folder_;
};

TEST_F(AtomicFile, CreatesAPrivateFile)
{
    openhost::WriteFileAtomically(Path("a"), std::string_view("a\0b", 3));
    EXPECT_EQ(Content("a"), std::string("a\0b", 3));
    EXPECT_EQ(std::filesystem::status(Path("a")).permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(CountEntries(), 1U);
}

TEST_F(AtomicFile, ReplacesAFileAndKeepsItsPermissions)
{
    std::ofstream(Path("a")) << "a rather long content";
    std::filesystem::permissions(Path("a"), std::filesystem::perms(0640));
    openhost::WriteFileAtomically(Path("a"), "");
    EXPECT_EQ(std::filesystem::file_size(Path("a")), 0U);
    EXPECT_EQ(std::filesystem::status(Path("a")).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(CountEntries(), 1U);
}

TEST_F(AtomicFile, NeverChangesTheFileThatAReaderHasOpen)
{
    std::ofstream(Path("a")) << "old";
    std::ifstream reader(Path("a"));
    openhost::WriteFileAtomically(Path("a"), "new");
    std::string content;
    reader >> content;
    EXPECT_EQ(content, "old");
}

TEST_F(AtomicFile, FollowsALink)
{
    std::ofstream(Path("target")) << "old";
    std::filesystem::create_symlink("target", Path("link"));
    openhost::WriteFileAtomically(Path("link"), "new");
    EXPECT_TRUE(std::filesystem::is_symlink(Path("link")));
    EXPECT_EQ(Content("target"), "new");
}

TEST_F(AtomicFile, NamesTheFileThatItCannotWrite)
{
    try {
        openhost::WriteFileAtomically(Path("missing/a"), "content");
        FAIL() << "written";
    } catch (const std::system_error& error) {
        EXPECT_NE(std::string(error.what()).find("missing/a"), std::string::npos);
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
    }
}

TEST_F(AtomicFile, LeavesNothingBehindWhereAFolderStands)
{
    std::filesystem::create_directory(Path("a"));
    EXPECT_THROW(openhost::WriteFileAtomically(Path("a"), "content"), std::system_error);
    EXPECT_TRUE(std::filesystem::is_directory(Path("a")));
    EXPECT_EQ(CountEntries(), 1U);
}

TEST_F(AtomicFile, KeepsAFileThatMayOnlyBeRead)
{
    std::ofstream(Path("a")) << "old";
    std::filesystem::permissions(Path("a"), std::filesystem::perms(0444));
    try {
        openhost::WriteFileAtomically(Path("a"), "new");
        FAIL() << "written";
    } catch (const std::system_error& error) {
        EXPECT_EQ(error.code(), std::errc::permission_denied);
    }
    EXPECT_EQ(Content("a"), "old");
    EXPECT_EQ(CountEntries(), 1U);
}

TEST_F(AtomicFile, KeepsTheOldFileWhenTheDeviceIsFull)
{
    std::ofstream(Path("a")) << "old";
    {
        const openhost::testing::FileSizeLimit limit(1000);
        EXPECT_THROW(openhost::WriteFileAtomically(Path("a"), std::string(1500, 'x')), std::system_error);
    }
    EXPECT_EQ(Content("a"), "old");
    EXPECT_EQ(CountEntries(), 1U);
}

} // namespace
