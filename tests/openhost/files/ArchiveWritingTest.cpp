// Archives that the host writes.

#include "ArchiveFixture.h"
#include "OpenedArchive.h"

namespace openhost::testing {

namespace {

class ArchiveWriting : public ArchiveFixture {
protected:
    HRESULT Begin() { return writing_.OpenZip(Text(ArchivePath()), ZALZipWrite); }
    HRESULT Add(const std::string& name, int compress = 1, int relative = 1)
    {
        return writing_.AddFile(Text(Folder() / name), compress, relative, Text(Folder()), 0);
    }
    HRESULT AddPath(const std::filesystem::path& file, const std::filesystem::path& base, int flags = 0)
    {
        return writing_.AddFile(Text(file), 1, 1, Text(base), flags);
    }
    /// Begins an archive with a file "a" in the folder that may be added.
    void BeginBesideA(const std::string& content = "x")
    {
        Put(Folder() / "a", content);
        ASSERT_EQ(S_OK, Begin());
    }
    /// What the archive holds: content by name.
    std::vector<std::pair<std::string, std::string>> Entries() const
    {
        return OpenedArchive(ReadFile(ArchivePath())).Entries();
    }
    std::size_t FilesBesideTheArchive() const
    {
        const std::filesystem::directory_iterator all(ArchivePath().parent_path());
        return static_cast<std::size_t>(std::distance(begin(all), end(all))) - 2; // the folders of the fixture
    }

    ZALSysZipFile writing_;
};

using Entry = std::pair<std::string, std::string>;

TEST_F(ArchiveWriting, WithoutEntriesLeavesNoFile)
{
    Put(ArchivePath(), "of before");
    ASSERT_EQ(S_OK, Begin());
    EXPECT_EQ(S_OK, writing_.Close());
    EXPECT_EQ(0U, FilesBesideTheArchive());
}

TEST_F(ArchiveWriting, HoldsItsFilesUnderTheirPathBelowTheBase)
{
    std::filesystem::create_directories(Folder() / "sub" / "deep");
    Put(Folder() / "a.lvr", "first");
    Put(Folder() / "sub" / "deep" / "b", "");
    Put(Folder() / "gr\u00FC\u00DFe \u4E2D", "third");
    ASSERT_EQ(S_OK, Begin());
    EXPECT_EQ(S_OK, Add("a.lvr"));
    EXPECT_EQ(S_OK, Add("sub\\deep\\b"));
    EXPECT_EQ(S_OK, Add("gr\u00FC\u00DFe \u4E2D"));
    EXPECT_EQ(S_OK, writing_.Close());
    EXPECT_EQ((std::vector<Entry>{{"a.lvr", "first"}, {"sub/deep/b", ""}, {"gr\u00FC\u00DFe \u4E2D", "third"}}),
              Entries());
    EXPECT_EQ(1U, FilesBesideTheArchive());
}

TEST_F(ArchiveWriting, HoldsAFileUnderItsNameAlone)
{
    std::filesystem::create_directory(Folder() / "sub");
    Put(Folder() / "sub" / "b", "content");
    ASSERT_EQ(S_OK, Begin());
    EXPECT_EQ(S_OK, Add("sub/b", 1, 0));
    EXPECT_EQ(S_OK, writing_.Close());
    EXPECT_EQ((std::vector<Entry>{{"b", "content"}}), Entries());
}

TEST_F(ArchiveWriting, DeflatesOrStores)
{
    for (const int compress : {1, 0}) {
        BeginBesideA(std::string(100'000, 'a'));
        EXPECT_EQ(S_OK, Add("a", compress));
        EXPECT_EQ(S_OK, writing_.Close());
        EXPECT_EQ(compress == 1, std::filesystem::file_size(ArchivePath()) < 1'000);
        EXPECT_EQ(100'000U, Entries().at(0).second.size());
    }
}

TEST_F(ArchiveWriting, HoldsADeletedFileInPlaceOfWhatStoodThereBefore)
{
    Put(ArchivePath(), "of before");
    BeginBesideA("content");
    EXPECT_FALSE(std::filesystem::exists(ArchivePath()));
    ASSERT_EQ(S_OK, Add("a"));
    std::filesystem::remove(Folder() / "a");
    EXPECT_EQ(S_OK, writing_.Close());
    EXPECT_EQ((std::vector<Entry>{{"a", "content"}}), Entries());
    ASSERT_EQ(S_OK, zip_.OpenZip(Text(ArchivePath()), ZALZipRead));
    EXPECT_EQ(S_OK, Extract("a")) << "the host itself reads it";
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("content", ReadFile(Folder() / "a"));
}

TEST_F(ArchiveWriting, IsGivenUpWithoutAClose)
{
    Put(Folder() / "a", "x");
    {
        ZALSysZipFile zip;
        ASSERT_EQ(S_OK, zip.OpenZip(Text(ArchivePath()), ZALZipWrite));
        ASSERT_EQ(S_OK, zip.AddFile(Text(Folder() / "a"), 1, 1, Text(Folder()), 0));
    }
    EXPECT_EQ(0U, FilesBesideTheArchive());
}

TEST_F(ArchiveWriting, LeavesNoFileWhenItCannotBeWritten)
{
    Put(Folder() / "a", "x");
    const std::filesystem::path gone = Outside() / "gone";
    std::filesystem::create_directory(gone);
    ASSERT_EQ(S_OK, writing_.OpenZip(Text(gone / "archive.zip"), ZALZipWrite));
    ASSERT_EQ(S_OK, Add("a"));
    std::filesystem::remove(gone);
    EXPECT_EQ(E_FAIL, writing_.Close());
    EXPECT_EQ(E_FAIL, writing_.Close());
    EXPECT_FALSE(std::filesystem::exists(gone));
}

TEST_F(ArchiveWriting, CannotBeginWhereNoFileCanBeMade)
{
    std::filesystem::create_directory(ArchivePath());
    for (const ZALUnicodeString& path : {Text(ArchivePath()), Text(Folder() / "missing" / "a.zip"),
                                         Text(Folder() / ".." / "a.zip"), ZALUnicodeString()})
        EXPECT_EQ(E_FAIL, writing_.OpenZip(path, ZALZipWrite)) << ToUtf8(path);
    EXPECT_TRUE(std::filesystem::is_directory(ArchivePath()));
    EXPECT_EQ(E_FAIL, writing_.Close());
}

TEST_F(ArchiveWriting, IsOneAtATime)
{
    ASSERT_EQ(S_OK, Begin());
    EXPECT_EQ(E_FAIL, Begin());
    EXPECT_EQ(E_FAIL, writing_.OpenZip(Text(ArchivePath()), ZALZipRead));
    EXPECT_EQ(E_INVALIDARG, writing_.OpenZip(Text(ArchivePath()), 1));
}

TEST_F(ArchiveWriting, RefusesWhatIsNoFileBelowTheBase)
{
    Put(Outside() / "a", "x");
    ASSERT_EQ(S_OK, Begin());
    EXPECT_EQ(E_FAIL, Add("missing"));
    EXPECT_EQ(E_FAIL, Add(""));
    EXPECT_EQ(E_FAIL, AddPath(Outside() / "a", Folder()));
    EXPECT_EQ(E_FAIL, AddPath(Folder() / ".." / "outside" / "a", Folder()));
    EXPECT_EQ(E_FAIL, AddPath("/dev/zero", "/"));
    EXPECT_EQ(S_OK, writing_.Close());
    EXPECT_FALSE(std::filesystem::exists(ArchivePath()));
}

TEST_F(ArchiveWriting, RefusesASecondEntryOfANameAndSenselessArguments)
{
    BeginBesideA();
    EXPECT_EQ(E_INVALIDARG, Add("a", 2));
    EXPECT_EQ(E_INVALIDARG, Add("a", 1, -1));
    EXPECT_EQ(E_INVALIDARG, AddPath(Folder() / "a", Folder(), 1));
    EXPECT_EQ(S_OK, Add("a"));
    EXPECT_EQ(E_FAIL, Add("a"));
    EXPECT_EQ(S_OK, writing_.Close());
    EXPECT_EQ((std::vector<Entry>{{"a", "x"}}), Entries());
}

TEST_F(ArchiveWriting, NeedsAnArchiveThatIsWritten)
{
    Put(Folder() / "a", "x");
    EXPECT_EQ(E_FAIL, Add("a"));
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("b")));
    EXPECT_EQ(E_FAIL, zip_.AddFile(Text(Folder() / "a"), 1, 1, Text(Folder()), 0));
    ASSERT_EQ(S_OK, writing_.OpenZip(Text(Folder() / "new.zip"), ZALZipWrite));
    EXPECT_EQ(E_FAIL, writing_.ExtractFile(Text(Outside()), "a", ZALZipExtractReplace));
}

} // namespace

} // namespace openhost::testing
