// Files that the module opens, reads and writes; their status; folders.

#include "FileSizeLimit.h"
#include "FolderFixture.h"

#include "host/files.h"

#include <sys/stat.h>

namespace openhost::testing {
namespace {

/// What a read or a write gives: its result, and the bytes read or the number of those written.
struct Transfer {
    HRESULT result;
    std::string bytes;
    std::uint32_t count;
    bool operator==(const Transfer&) const = default;
    friend void PrintTo(const Transfer& transfer, std::ostream* stream)
    {
        *stream << std::hex << transfer.result << " '" << transfer.bytes << "' " << std::dec << transfer.count;
    }
};

Transfer Read(ZALFileHandle handle, std::uint32_t size)
{
    std::string bytes(size, '#');
    std::uint32_t count = 42;
    const HRESULT result = ZALFRead(handle, bytes.data(), size, count);
    return {result, bytes.substr(0, count), count};
}

Transfer Write(ZALFileHandle handle, std::string_view bytes)
{
    std::uint32_t count = 42;
    const HRESULT result = ZALFWrite(handle, bytes.data(), static_cast<std::uint32_t>(bytes.size()), count);
    return {result, "", count};
}

Transfer Was(const std::string& bytes)
{
    return {S_OK, bytes, static_cast<std::uint32_t>(bytes.size())};
}
Transfer Took(std::uint32_t count)
{
    return {S_OK, "", count};
}
const Transfer Failed{E_FAIL, "", 0};

class Files : public FolderFixture {
protected:
    ZALFileHandle Open(const std::string& name, const char* mode) const
    {
        ZALFileHandle handle = 0;
        EXPECT_EQ(S_OK, ZALFOpen(Path(name), mode, handle)) << name;
        EXPECT_NE(0U, handle);
        return handle;
    }
    static void Close(ZALFileHandle handle) { EXPECT_EQ(S_OK, ZALFClose(handle)); }
    static void ExpectSize(std::uint32_t expected, ZALFileHandle handle)
    {
        std::uint32_t size = 42;
        EXPECT_EQ(S_OK, ZALFSize(handle, size));
        EXPECT_EQ(expected, size);
    }
    static void ExpectRefused(const ZALUnicodeString& path, const char* mode)
    {
        ZALFileHandle handle = 42;
        EXPECT_EQ(E_FAIL, ZALFOpen(path, mode, handle)) << path.ConvertToChar().CastToCharPtr() << " " << mode;
        EXPECT_EQ(0U, handle);
    }
    /// The status of what must be there.
    static ZALFileStatus StatusOf(const ZALUnicodeString& path)
    {
        ZALFileStatus status;
        EXPECT_EQ(S_OK, ZALFileStat(path, status, 0)) << path.ConvertToChar().CastToCharPtr();
        return status;
    }
};

// ---------------------------------------------------------------------------------------------
// Opening

TEST_F(Files, OpensNothingThatIsMissingAFolderOrAPipe)
{
    ASSERT_EQ(0, mkfifo(At("pipe").c_str(), 0600));
    for (const char* mode : {"rb", "wb"}) {
        ExpectRefused("", mode);
        ExpectRefused(folder_.Path().c_str(), mode);
        ExpectRefused(Path("pipe"), mode); // without waiting for its other end
    }
    ExpectRefused(Path("missing"), "rb");
    ExpectRefused(Path("missing"), "r");
    ExpectRefused(Path("missing/below"), "wb");
    ExpectRefused(Path("missing/"), "wb");
}

TEST_F(Files, RefusesOtherModesAndTouchesNothing)
{
    Put("a", "content");
    for (const char* mode : {"", "w", "rb+", "r+b", "wb+", "w+b", "ab", "a", "RB", "wbx", " rb"}) {
        ExpectRefused(Path("a"), mode);
        ExpectRefused(Path("new"), mode);
    }
    ZALFileHandle handle = 42;
    EXPECT_EQ(E_FAIL, ZALFOpen(Path("a"), nullptr, handle));
    EXPECT_EQ(0U, handle);
    EXPECT_EQ("content", Content("a"));
    EXPECT_FALSE(Exists("new"));
}

TEST_F(Files, ReadsButDoesNotWriteThroughAParentComponent)
{
    std::filesystem::create_directory(At("sub"));
    Put("victim", "content");
    ExpectRefused(Path("sub/../victim"), "wb");
    ExpectRefused(Path("sub\\..\\victim"), "wb");
    EXPECT_EQ("content", Content("victim"));
    Close(Open("sub\\..\\victim", "rb"));
}

TEST_F(Files, ReadsButDoesNotWriteThroughALink)
{
    Put("victim", "content");
    std::filesystem::create_symlink("victim", At("link"));
    std::filesystem::create_symlink("new", At("dangling"));
    ExpectRefused(Path("link"), "wb");
    ExpectRefused(Path("dangling"), "wb");
    EXPECT_EQ("content", Content("victim"));
    EXPECT_FALSE(Exists("new"));
    Close(Open("link", "rb"));
}

TEST_F(Files, RefusesAPathWithAZeroCharacter)
{
    ExpectRefused(Path("a") + ZALUnicodeString(u"\0.txt", 5), "wb");
    EXPECT_FALSE(Exists("a"));
}

TEST_F(Files, SeparatesByBackslashesToo)
{
    std::filesystem::create_directory(At("sub"));
    Close(Open("sub\\a\xC3\xA4", "wb"));
    EXPECT_TRUE(Exists("sub/a\xC3\xA4"));
}

// ---------------------------------------------------------------------------------------------
// Reading and writing

TEST_F(Files, ReadsBackWhatWasWritten)
{
    Put("a", "a rather long content of before");
    const std::string content("any\0 \r\n\x1A bytes", 15);
    ZALFileHandle handle = Open("a", "wb");
    EXPECT_EQ(Took(10), Write(handle, content.substr(0, 10)));
    EXPECT_EQ(content.substr(0, 10), Content("a")) << "before the file is closed";
    ExpectSize(10, handle);
    EXPECT_EQ(Took(5), Write(handle, content.substr(10)));
    Close(handle);

    for (const char* mode : {"rb", "r"}) {
        handle = Open("a", mode);
        ExpectSize(15, handle);
        EXPECT_EQ(Was(content.substr(0, 7)), Read(handle, 7)) << mode;
        EXPECT_EQ(Was(content.substr(7)), Read(handle, 57)) << mode;
        EXPECT_EQ(Was(""), Read(handle, 1)) << mode;
        Close(handle);
    }
}

TEST_F(Files, ReadsAndWritesNothingWithoutABuffer)
{
    std::uint32_t count = 42;
    ZALFileHandle handle = Open("a", "wb");
    EXPECT_EQ(S_OK, ZALFWrite(handle, nullptr, 0, count));
    EXPECT_EQ(0U, count);
    EXPECT_EQ(E_FAIL, ZALFWrite(handle, nullptr, 1, count));
    Close(handle);

    handle = Open("a", "rb");
    EXPECT_EQ(S_OK, ZALFRead(handle, nullptr, 0, count));
    EXPECT_EQ(E_FAIL, ZALFRead(handle, nullptr, 1, count));
    Close(handle);
}

TEST_F(Files, FailsAgainstTheModeOfTheFile)
{
    Put("a", "content");
    for (const char* mode : {"rb", "r"}) {
        const ZALFileHandle handle = Open("a", mode);
        EXPECT_EQ(Failed, Write(handle, "b")) << mode;
        Close(handle);
    }
    EXPECT_EQ("content", Content("a"));
    const ZALFileHandle handle = Open("a", "wb");
    EXPECT_EQ(Failed, Read(handle, 1));
    Close(handle);
}

TEST_F(Files, TellsWhenTheDeviceIsFull)
{
    const ZALFileHandle handle = Open("a", "wb");
    const FileSizeLimit limit(1000);
    EXPECT_EQ((Transfer{E_FAIL, "", 1000}), Write(handle, std::string(1500, 'x')));
    Close(handle);
}

TEST_F(Files, HasNoSizeOfFourGibibytesOrMore)
{
    Put("a", "");
    std::filesystem::resize_file(At("a"), 0xFFFFFFFFU);
    const ZALFileHandle handle = Open("a", "rb");
    ExpectSize(0xFFFFFFFFU, handle);
    std::filesystem::resize_file(At("a"), 0x100000000U);
    std::uint32_t size = 42;
    EXPECT_EQ(E_FAIL, ZALFSize(handle, size));
    Close(handle);
}

// ---------------------------------------------------------------------------------------------
// Handles

void ExpectNotOpen(ZALFileHandle handle)
{
    std::uint32_t size = 42;
    EXPECT_EQ(Failed, Read(handle, 1)) << handle;
    EXPECT_EQ(Failed, Write(handle, "b")) << handle;
    EXPECT_EQ(E_FAIL, ZALFSize(handle, size)) << handle;
    EXPECT_EQ(E_FAIL, ZALFClose(handle)) << handle;
}

TEST_F(Files, FailsForAHandleThatNeverWas)
{
    // Among them the standard streams of the process.
    for (const ZALFileHandle handle : {0U, 1U, 2U, 0x7FFFFFFFU, 0xFFFFFFFFU})
        ExpectNotOpen(handle);
}

TEST_F(Files, FailsForAClosedHandleWhileAnotherFileIsOpen)
{
    const ZALFileHandle closed = Open("a", "wb");
    Close(closed);
    const ZALFileHandle handle = Open("b", "wb");
    EXPECT_NE(closed, handle);
    ExpectNotOpen(closed);
    EXPECT_EQ(Took(1), Write(handle, "b"));
    Close(handle);
    EXPECT_EQ("b", Content("b"));
}

TEST_F(Files, KeepsSeveralFilesOpen)
{
    Put("a", "a");
    Put("b", "b");
    const ZALFileHandle first = Open("a", "rb");
    const ZALFileHandle second = Open("b", "rb");
    EXPECT_NE(first, second);
    EXPECT_EQ(Was("b"), Read(second, 1));
    Close(second);
    EXPECT_EQ(Was("a"), Read(first, 1));
    Close(first);
}

// ---------------------------------------------------------------------------------------------
// Status

TEST_F(Files, TellsTheStatusOfAFile)
{
    Put("a", "12345");
    std::filesystem::permissions(At("a"), std::filesystem::perms::owner_read);
    struct stat expected {};
    ASSERT_EQ(0, stat(At("a").c_str(), &expected));

    const ZALFileStatus status = StatusOf(Path("a"));
    EXPECT_EQ(ZALFileTypeRegular, status.Mode & ZALFileTypeMask);
    EXPECT_EQ(0400U, status.Mode & 0777);
    EXPECT_EQ(5U, status.Size);
    EXPECT_EQ(expected.st_mtime, status.Modified);

    Put("large", "");
    std::filesystem::resize_file(At("large"), 0x100000001U);
    EXPECT_EQ(0x100000001U, StatusOf(Path("large")).Size);
}

TEST_F(Files, TellsThatAFolderIsOneAlsoThroughALink)
{
    std::filesystem::create_directory_symlink(folder_.Path(), At("link"));
    for (const ZALUnicodeString& path : {ZALUnicodeString(folder_.Path().c_str()), Path("\\."), Path("link")})
        EXPECT_EQ(ZALFileTypeDirectory, StatusOf(path).Mode & ZALFileTypeMask);
}

TEST_F(Files, HasNoStatusWhereNothingIs)
{
    Put("a", "");
    std::filesystem::create_symlink("missing", At("broken"));
    ZALFileStatus status;
    for (const ZALUnicodeString& path : {Path("missing"), Path("a/below"), Path(std::string(5000, 'x')), Path("broken"),
                                         ZALUnicodeString(), Path("a") + ZALUnicodeString(u"\0", 1)})
        EXPECT_EQ(E_FAIL, ZALFileStat(path, status, 0)) << path.ConvertToChar().CastToCharPtr();
}

// ---------------------------------------------------------------------------------------------
// Folders

TEST_F(Files, MakesAFolderInOneThatExists)
{
    for (const char* name : {"new", "new\\below"})
        EXPECT_EQ(S_OK, ZALCreateDirectory(Path(name)));
    EXPECT_TRUE(std::filesystem::is_directory(At("new/below")));
}

TEST_F(Files, MakesNoFolderWhereItCannotStand)
{
    Put("file", "content");
    for (const char* name : {"file", "missing/new", "file/new", "x/../new"})
        EXPECT_EQ(E_FAIL, ZALCreateDirectory(Path(name))) << name;
    EXPECT_EQ(E_FAIL, ZALCreateDirectory(folder_.Path().c_str())) << "it is there";
    EXPECT_EQ(E_FAIL, ZALCreateDirectory({}));
    EXPECT_EQ("content", Content("file"));
    EXPECT_FALSE(Exists("new"));
}

} // namespace
} // namespace openhost::testing
