#include "FileSizeLimit.h"

#include "openhost/files/TemporaryFolder.h"

#include "host/files.h"

#include <gtest/gtest.h>

#include <fstream>

#include <sys/stat.h>

namespace {

class Files : public testing::Test {
protected:
    ZALUnicodeString Path(const std::string& name) const { return (folder_.Path() / name).string().c_str(); }

    void Put(const std::string& name, std::string_view content) const
    {
        std::ofstream(folder_.Path() / name, std::ios::binary) << content;
    }

    std::string Content(const std::string& name) const
    {
        std::ifstream stream(folder_.Path() / name, std::ios::binary);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    bool Exists(const std::string& name) const { return std::filesystem::exists(folder_.Path() / name); }

    void ExpectRefused(const ZALUnicodeString& path, const char* mode) const
    {
        ZALFileHandle handle = 42;
        EXPECT_EQ(ZALFOpen(path, mode, handle), E_FAIL);
        EXPECT_EQ(handle, 0U);
    }

    const openhost::TemporaryFolder folder_;
};

// ---------------------------------------------------------------------------------------------
// Opening

TEST_F(Files, OpensNoMissingFileForReading)
{
    ExpectRefused(Path("missing"), "rb");
    ExpectRefused(Path("missing/below"), "wb");
    ExpectRefused("", "rb");
    ExpectRefused("", "wb");
}

TEST_F(Files, OpensNoFolderInEitherMode)
{
    ExpectRefused(folder_.Path().c_str(), "rb");
    ExpectRefused(folder_.Path().c_str(), "wb");
    ExpectRefused(Path("missing/"), "wb");
}

TEST_F(Files, OpensNoPipeAndDoesNotWaitForOne)
{
    ASSERT_EQ(mkfifo((folder_.Path() / "pipe").c_str(), 0600), 0);
    ExpectRefused(Path("pipe"), "rb");
    ExpectRefused(Path("pipe"), "wb");
}

TEST_F(Files, RefusesOtherModesAndTouchesNothing)
{
    Put("a", "content");
    for (const char* mode : {"", "w", "rb+", "r+b", "wb+", "w+b", "ab", "a", "RB", "wbx", " rb"}) {
        ExpectRefused(Path("a"), mode);
        ExpectRefused(Path("new"), mode);
    }
    ExpectRefused(Path("a"), nullptr);
    EXPECT_EQ(Content("a"), "content");
    EXPECT_FALSE(Exists("new"));
}

TEST_F(Files, RefusesToWriteThroughAParentComponent)
{
    std::filesystem::create_directory(folder_.Path() / "sub");
    Put("victim", "content");
    ExpectRefused(Path("sub/../victim"), "wb");
    ExpectRefused(Path("sub\\..\\victim"), "wb");
    EXPECT_EQ(Content("victim"), "content");
}

TEST_F(Files, ReadsThroughAParentComponent)
{
    std::filesystem::create_directory(folder_.Path() / "sub");
    Put("a", "content");
    ZALFileHandle handle = 0;
    EXPECT_EQ(ZALFOpen(Path("sub\\..\\a"), "rb", handle), S_OK);
    EXPECT_EQ(ZALFClose(handle), S_OK);
}

TEST_F(Files, RefusesAPathWithAZeroCharacter)
{
    ZALUnicodeString path = Path("a");
    path += ZALUnicodeString(u"\0.txt", 5);
    ExpectRefused(path, "wb");
    EXPECT_FALSE(Exists("a"));
}

TEST_F(Files, SeparatesByBackslashesToo)
{
    std::filesystem::create_directory(folder_.Path() / "sub");
    ZALFileHandle handle = 0;
    ASSERT_EQ(ZALFOpen(Path("sub\\a\xC3\xA4"), "wb", handle), S_OK);
    EXPECT_EQ(ZALFClose(handle), S_OK);
    EXPECT_TRUE(Exists("sub/a\xC3\xA4"));
}

// ---------------------------------------------------------------------------------------------
// Reading and writing

TEST_F(Files, ReadsBackWhatWasWritten)
{
    const std::string content("any\0 \r\n\x1A bytes", 15);
    ZALFileHandle handle = 0;
    std::uint32_t count = 0;
    ASSERT_EQ(ZALFOpen(Path("a"), "wb", handle), S_OK);
    EXPECT_NE(handle, 0U);
    EXPECT_EQ(ZALFWrite(handle, content.data(), 10, count), S_OK);
    EXPECT_EQ(count, 10U);
    EXPECT_EQ(ZALFWrite(handle, content.data() + 10, 5, count), S_OK);
    EXPECT_EQ(count, 5U);
    EXPECT_EQ(ZALFClose(handle), S_OK);

    char buffer[64];
    std::uint32_t size = 0;
    ASSERT_EQ(ZALFOpen(Path("a"), "rb", handle), S_OK);
    EXPECT_EQ(ZALFSize(handle, size), S_OK);
    EXPECT_EQ(size, 15U);
    EXPECT_EQ(ZALFRead(handle, buffer, 7, count), S_OK);
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(ZALFRead(handle, buffer + 7, 57, count), S_OK);
    EXPECT_EQ(count, 8U);
    EXPECT_EQ(std::string(buffer, 15), content);
    EXPECT_EQ(ZALFRead(handle, buffer, 1, count), S_OK);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ZALFClose(handle), S_OK);
}

TEST_F(Files, ReplacesALongerFile)
{
    Put("a", "a rather long content");
    ZALFileHandle handle = 0;
    std::uint32_t count = 0;
    ASSERT_EQ(ZALFOpen(Path("a"), "wb", handle), S_OK);
    EXPECT_EQ(ZALFWrite(handle, "b", 1, count), S_OK);
    EXPECT_EQ(ZALFClose(handle), S_OK);
    EXPECT_EQ(Content("a"), "b");
}

TEST_F(Files, HasWrittenEachPieceBeforeTheFileIsClosed)
{
    ZALFileHandle handle = 0;
    std::uint32_t count = 0;
    ASSERT_EQ(ZALFOpen(Path("a"), "wb", handle), S_OK);
    EXPECT_EQ(ZALFWrite(handle, "abc", 3, count), S_OK);
    EXPECT_EQ(Content("a"), "abc");
    std::uint32_t size = 0;
    EXPECT_EQ(ZALFSize(handle, size), S_OK);
    EXPECT_EQ(size, 3U);
    EXPECT_EQ(ZALFClose(handle), S_OK);
}

TEST_F(Files, ReadsAndWritesNothingWithoutABuffer)
{
    ZALFileHandle handle = 0;
    std::uint32_t count = 42;
    ASSERT_EQ(ZALFOpen(Path("a"), "wb", handle), S_OK);
    EXPECT_EQ(ZALFWrite(handle, nullptr, 0, count), S_OK);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ZALFWrite(handle, nullptr, 1, count), E_FAIL);
    EXPECT_EQ(ZALFClose(handle), S_OK);

    ASSERT_EQ(ZALFOpen(Path("a"), "rb", handle), S_OK);
    EXPECT_EQ(ZALFRead(handle, nullptr, 0, count), S_OK);
    EXPECT_EQ(ZALFRead(handle, nullptr, 1, count), E_FAIL);
    EXPECT_EQ(ZALFClose(handle), S_OK);
}

TEST_F(Files, FailsAgainstTheModeOfTheFile)
{
    Put("a", "content");
    ZALFileHandle handle = 0;
    std::uint32_t count = 42;
    ASSERT_EQ(ZALFOpen(Path("a"), "rb", handle), S_OK);
    EXPECT_EQ(ZALFWrite(handle, "b", 1, count), E_FAIL);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ZALFClose(handle), S_OK);
    EXPECT_EQ(Content("a"), "content");

    char byte = 0;
    count = 42;
    ASSERT_EQ(ZALFOpen(Path("a"), "wb", handle), S_OK);
    EXPECT_EQ(ZALFRead(handle, &byte, 1, count), E_FAIL);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ZALFClose(handle), S_OK);
}

TEST_F(Files, TellsWhenTheDeviceIsFull)
{
    ZALFileHandle handle = 0;
    std::uint32_t count = 0;
    const std::string content(1500, 'x');
    ASSERT_EQ(ZALFOpen(Path("a"), "wb", handle), S_OK);
    const openhost::testing::FileSizeLimit limit(1000);
    EXPECT_EQ(ZALFWrite(handle, content.data(), 1500, count), E_FAIL);
    EXPECT_EQ(count, 1000U);
    EXPECT_EQ(ZALFClose(handle), S_OK);
}

TEST_F(Files, HasNoSizeOfFourGibibytesOrMore)
{
    Put("a", "");
    std::filesystem::resize_file(folder_.Path() / "a", 0xFFFFFFFFU);
    ZALFileHandle handle = 0;
    std::uint32_t size = 42;
    ASSERT_EQ(ZALFOpen(Path("a"), "rb", handle), S_OK);
    EXPECT_EQ(ZALFSize(handle, size), S_OK);
    EXPECT_EQ(size, 0xFFFFFFFFU);

    std::filesystem::resize_file(folder_.Path() / "a", 0x100000000U);
    EXPECT_EQ(ZALFSize(handle, size), E_FAIL);
    EXPECT_EQ(ZALFClose(handle), S_OK);
}

// ---------------------------------------------------------------------------------------------
// Handles

void ExpectNotOpen(ZALFileHandle handle)
{
    char byte = 0;
    std::uint32_t count = 42;
    EXPECT_EQ(ZALFRead(handle, &byte, 1, count), E_FAIL);
    EXPECT_EQ(count, 0U);
    count = 42;
    EXPECT_EQ(ZALFWrite(handle, &byte, 1, count), E_FAIL);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ZALFSize(handle, count), E_FAIL);
    EXPECT_EQ(ZALFClose(handle), E_FAIL);
}

TEST_F(Files, FailsForAHandleThatNeverWas)
{
    // Among them the standard streams of the process.
    for (const ZALFileHandle handle : {0U, 1U, 2U, 0x7FFFFFFFU, 0xFFFFFFFFU})
        ExpectNotOpen(handle);
}

TEST_F(Files, FailsForAClosedHandleWhileAnotherFileIsOpen)
{
    ZALFileHandle closed = 0;
    ASSERT_EQ(ZALFOpen(Path("a"), "wb", closed), S_OK);
    ASSERT_EQ(ZALFClose(closed), S_OK);

    ZALFileHandle handle = 0;
    ASSERT_EQ(ZALFOpen(Path("b"), "wb", handle), S_OK);
    EXPECT_NE(handle, closed);
    ExpectNotOpen(closed);

    std::uint32_t count = 0;
    EXPECT_EQ(ZALFWrite(handle, "b", 1, count), S_OK);
    EXPECT_EQ(ZALFClose(handle), S_OK);
    EXPECT_EQ(Content("b"), "b");
}

TEST_F(Files, KeepsSeveralFilesOpen)
{
    Put("a", "a");
    Put("b", "b");
    ZALFileHandle first = 0;
    ZALFileHandle second = 0;
    ASSERT_EQ(ZALFOpen(Path("a"), "rb", first), S_OK);
    ASSERT_EQ(ZALFOpen(Path("b"), "rb", second), S_OK);
    EXPECT_NE(first, second);

    char byte = 0;
    std::uint32_t count = 0;
    EXPECT_EQ(ZALFRead(second, &byte, 1, count), S_OK);
    EXPECT_EQ(byte, 'b');
    EXPECT_EQ(ZALFClose(second), S_OK);
    EXPECT_EQ(ZALFRead(first, &byte, 1, count), S_OK);
    EXPECT_EQ(byte, 'a');
    EXPECT_EQ(ZALFClose(first), S_OK);
}

// ---------------------------------------------------------------------------------------------
// Status

TEST_F(Files, TellsTheStatusOfAFile)
{
    Put("a", "12345");
    const std::filesystem::path file = folder_.Path() / "a";
    std::filesystem::permissions(file, std::filesystem::perms::owner_read);
    struct stat expected {};
    ASSERT_EQ(stat(file.c_str(), &expected), 0);

    ZALFileStatus status;
    EXPECT_EQ(ZALFileStat(Path("a"), status, 0), S_OK);
    EXPECT_EQ(status.Mode & ZALFileTypeMask, ZALFileTypeRegular);
    EXPECT_EQ(status.Mode & 0777, 0400U);
    EXPECT_EQ(status.Size, 5U);
    EXPECT_EQ(status.Modified, expected.st_mtime);
}

TEST_F(Files, TellsTheSizeOfALargeFile)
{
    Put("a", "");
    std::filesystem::resize_file(folder_.Path() / "a", 0x100000001U);
    ZALFileStatus status;
    EXPECT_EQ(ZALFileStat(Path("a"), status, 0), S_OK);
    EXPECT_EQ(status.Size, 0x100000001U);
}

TEST_F(Files, TellsThatAFolderIsOne)
{
    ZALFileStatus status;
    EXPECT_EQ(ZALFileStat(folder_.Path().c_str(), status, 0), S_OK);
    EXPECT_EQ(status.Mode & ZALFileTypeMask, ZALFileTypeDirectory);
    EXPECT_EQ(ZALFileStat(Path("\\."), status, 0), S_OK);
    EXPECT_EQ(status.Mode & ZALFileTypeMask, ZALFileTypeDirectory);
}

TEST_F(Files, FollowsLinks)
{
    std::filesystem::create_directory_symlink(folder_.Path(), folder_.Path() / "link");
    std::filesystem::create_symlink("missing", folder_.Path() / "broken");
    ZALFileStatus status;
    EXPECT_EQ(ZALFileStat(Path("link"), status, 0), S_OK);
    EXPECT_EQ(status.Mode & ZALFileTypeMask, ZALFileTypeDirectory);
    EXPECT_EQ(ZALFileStat(Path("broken"), status, 0), E_FAIL);
}

TEST_F(Files, HasNoStatusWhereNothingIs)
{
    Put("a", "");
    ZALFileStatus status;
    EXPECT_EQ(ZALFileStat(Path("missing"), status, 0), E_FAIL);
    EXPECT_EQ(ZALFileStat(Path("a/below"), status, 0), E_FAIL);
    EXPECT_EQ(ZALFileStat(Path(std::string(5000, 'x')), status, 0), E_FAIL);
    EXPECT_EQ(ZALFileStat("", status, 0), E_FAIL);
    ZALUnicodeString path = Path("a");
    path += ZALUnicodeString(u"\0", 1);
    EXPECT_EQ(ZALFileStat(path, status, 0), E_FAIL);
}

// ---------------------------------------------------------------------------------------------
// Reading as text, deleting

TEST_F(Files, OpensForReadingByTheShortModeToo)
{
    Put("file", "a\r\nb");
    ZALFileHandle handle = 0;
    ASSERT_EQ(ZALFOpen(Path("file"), "r", handle), S_OK);
    char bytes[8];
    std::uint32_t count = 0;
    EXPECT_EQ(ZALFRead(handle, bytes, sizeof bytes, count), S_OK);
    EXPECT_EQ(std::string(bytes, count), "a\r\nb");
    EXPECT_EQ(ZALFWrite(handle, bytes, 1, count), E_FAIL);
    EXPECT_EQ(ZALFClose(handle), S_OK);
    ExpectRefused(Path("missing"), "r");
}

TEST_F(Files, DeletesAFile)
{
    Put("file", "x");
    EXPECT_EQ(ZALDeleteFile(Path("file")), S_OK);
    EXPECT_FALSE(Exists("file"));
    EXPECT_EQ(ZALDeleteFile(Path("file")), E_FAIL);
}

TEST_F(Files, DeletesALinkAndNotItsTarget)
{
    Put("file", "x");
    std::filesystem::create_symlink(folder_.Path() / "file", folder_.Path() / "link");
    EXPECT_EQ(ZALDeleteFile(Path("link")), S_OK);
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(folder_.Path() / "link")));
    EXPECT_TRUE(Exists("file"));
}

TEST_F(Files, DeletesNoFolderAndNothingByAWayUp)
{
    std::filesystem::create_directory(folder_.Path() / "folder");
    Put("file", "x");
    EXPECT_EQ(ZALDeleteFile(Path("folder")), E_FAIL);
    EXPECT_EQ(ZALDeleteFile(Path("folder/../file")), E_FAIL);
    EXPECT_EQ(ZALDeleteFile(""), E_FAIL);
    EXPECT_TRUE(Exists("folder"));
    EXPECT_TRUE(Exists("file"));
}

// ---------------------------------------------------------------------------------------------
// Folders

TEST_F(Files, MakesAFolderInOneThatExists)
{
    EXPECT_EQ(ZALCreateDirectory(Path("new")), S_OK);
    EXPECT_TRUE(std::filesystem::is_directory(folder_.Path() / "new"));
    EXPECT_EQ(ZALCreateDirectory(Path("new\\below")), S_OK);
    EXPECT_TRUE(std::filesystem::is_directory(folder_.Path() / "new" / "below"));
}

TEST_F(Files, MakesNoFolderWhereItCannotStand)
{
    Put("file", "content");
    for (const char* name : {"file", "missing/new", "file/new", "x/../new"})
        EXPECT_EQ(ZALCreateDirectory(Path(name)), E_FAIL) << name;
    EXPECT_EQ(ZALCreateDirectory(ZALUnicodeString(folder_.Path().c_str())), E_FAIL) << "it is there";
    EXPECT_EQ(ZALCreateDirectory({}), E_FAIL);
    EXPECT_EQ(Content("file"), "content");
    EXPECT_FALSE(Exists("new"));
}

} // namespace
