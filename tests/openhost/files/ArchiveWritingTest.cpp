// Archives that the host writes.

#include "ArchiveFixture.h"

#include <zip.h>

namespace openhost::testing {

namespace {

class ArchiveWriting : public ArchiveFixture {
protected:
    HRESULT Begin() { return writing_.OpenZip(Text(ArchivePath()), ZALZipWrite); }
    HRESULT Add(const std::string& name, int compress = 1, int relative = 1)
    {
        return writing_.AddFile(Text(Folder() / name), compress, relative, Text(Folder()), 0);
    }
    /// What the archive holds, as another program reads it: content by name.
    std::vector<std::pair<std::string, std::string>> Entries() const
    {
        std::vector<std::pair<std::string, std::string>> entries;
        zip_t* archive = zip_open(ArchivePath().c_str(), ZIP_RDONLY | ZIP_CHECKCONS, nullptr);
        EXPECT_TRUE(archive);
        if (!archive)
            return entries;
        for (zip_int64_t index = 0; index < zip_get_num_entries(archive, 0); ++index) {
            zip_stat_t status;
            zip_stat_index(archive, static_cast<zip_uint64_t>(index), 0, &status);
            std::string content(status.size, '\0');
            zip_file_t* file = zip_fopen_index(archive, static_cast<zip_uint64_t>(index), 0);
            EXPECT_EQ(zip_fread(file, content.data(), content.size()), static_cast<zip_int64_t>(content.size()));
            zip_fclose(file);
            entries.emplace_back(status.name, content);
        }
        zip_discard(archive);
        return entries;
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
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_EQ(writing_.Close(), S_OK);
    EXPECT_EQ(FilesBesideTheArchive(), 0U);
}

TEST_F(ArchiveWriting, HoldsItsFilesUnderTheirPathBelowTheBase)
{
    std::filesystem::create_directories(Folder() / "sub" / "deep");
    Put(Folder() / "a.lvr", "first");
    Put(Folder() / "sub" / "deep" / "b", "");
    Put(Folder() / "gr\u00FC\u00DFe \u4E2D", "third");
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_EQ(Add("a.lvr"), S_OK);
    EXPECT_EQ(Add("sub\\deep\\b"), S_OK);
    EXPECT_EQ(Add("gr\u00FC\u00DFe \u4E2D"), S_OK);
    EXPECT_EQ(writing_.Close(), S_OK);
    EXPECT_EQ(Entries(),
              (std::vector<Entry>{{"a.lvr", "first"}, {"sub/deep/b", ""}, {"gr\u00FC\u00DFe \u4E2D", "third"}}));
    EXPECT_EQ(FilesBesideTheArchive(), 1U);
}

TEST_F(ArchiveWriting, HoldsAFileUnderItsNameAlone)
{
    std::filesystem::create_directory(Folder() / "sub");
    Put(Folder() / "sub" / "b", "content");
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_EQ(Add("sub/b", 1, 0), S_OK);
    EXPECT_EQ(writing_.Close(), S_OK);
    EXPECT_EQ(Entries(), (std::vector<Entry>{{"b", "content"}}));
}

TEST_F(ArchiveWriting, DeflatesOrStores)
{
    Put(Folder() / "a", std::string(100'000, 'a'));
    for (const int compress : {1, 0}) {
        ASSERT_EQ(Begin(), S_OK);
        EXPECT_EQ(Add("a", compress), S_OK);
        EXPECT_EQ(writing_.Close(), S_OK);
        EXPECT_EQ(std::filesystem::file_size(ArchivePath()) < 1'000, compress == 1);
        EXPECT_EQ(Entries().at(0).second.size(), 100'000U);
    }
}

TEST_F(ArchiveWriting, IsReadByTheHostItself)
{
    Put(Folder() / "a", "content");
    ASSERT_EQ(Begin(), S_OK);
    ASSERT_EQ(Add("a"), S_OK);
    ASSERT_EQ(writing_.Close(), S_OK);
    ZALSysZipFile reading;
    ASSERT_EQ(reading.OpenZip(Text(ArchivePath()), ZALZipRead), S_OK);
    EXPECT_EQ(reading.ExtractFile(Text(Outside()), "a", ZALZipExtractReplace), S_OK);
    EXPECT_EQ(std::filesystem::file_size(Outside() / "a"), 7U);
}

TEST_F(ArchiveWriting, HoldsAFileThatIsDeletedBeforeTheEnd)
{
    Put(Folder() / "a", "content");
    ASSERT_EQ(Begin(), S_OK);
    ASSERT_EQ(Add("a"), S_OK);
    std::filesystem::remove(Folder() / "a");
    EXPECT_EQ(writing_.Close(), S_OK);
    EXPECT_EQ(Entries(), (std::vector<Entry>{{"a", "content"}}));
}

TEST_F(ArchiveWriting, ReplacesTheFileThatStandsThereFromTheBeginning)
{
    Put(ArchivePath(), "of before");
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_FALSE(std::filesystem::exists(ArchivePath()));
    Put(Folder() / "a", "x");
    Add("a");
    EXPECT_EQ(writing_.Close(), S_OK);
    EXPECT_EQ(Entries().size(), 1U);
}

TEST_F(ArchiveWriting, IsGivenUpWithoutAClose)
{
    Put(Folder() / "a", "x");
    {
        ZALSysZipFile zip;
        ASSERT_EQ(zip.OpenZip(Text(ArchivePath()), ZALZipWrite), S_OK);
        ASSERT_EQ(zip.AddFile(Text(Folder() / "a"), 1, 1, Text(Folder()), 0), S_OK);
    }
    EXPECT_EQ(FilesBesideTheArchive(), 0U);
}

TEST_F(ArchiveWriting, LeavesNoFileWhenItCannotBeWritten)
{
    Put(Folder() / "a", "x");
    const std::filesystem::path gone = Outside() / "gone";
    std::filesystem::create_directory(gone);
    ASSERT_EQ(writing_.OpenZip(Text(gone / "archive.zip"), ZALZipWrite), S_OK);
    ASSERT_EQ(Add("a"), S_OK);
    std::filesystem::remove(gone);
    EXPECT_EQ(writing_.Close(), E_FAIL);
    EXPECT_EQ(writing_.Close(), E_FAIL);
    EXPECT_FALSE(std::filesystem::exists(gone));
}

TEST_F(ArchiveWriting, CannotBeginWhereNoFileCanBeMade)
{
    std::filesystem::create_directory(ArchivePath());
    EXPECT_EQ(Begin(), E_FAIL);
    EXPECT_TRUE(std::filesystem::is_directory(ArchivePath()));
    EXPECT_EQ(writing_.OpenZip(Text(Folder() / "missing" / "a.zip"), ZALZipWrite), E_FAIL);
    EXPECT_EQ(writing_.OpenZip(Text(Folder() / ".." / "a.zip"), ZALZipWrite), E_FAIL);
    EXPECT_EQ(writing_.OpenZip("", ZALZipWrite), E_FAIL);
    EXPECT_EQ(writing_.Close(), E_FAIL);
}

TEST_F(ArchiveWriting, IsOneAtATime)
{
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_EQ(Begin(), E_FAIL);
    EXPECT_EQ(writing_.OpenZip(Text(ArchivePath()), ZALZipRead), E_FAIL);
    EXPECT_EQ(writing_.OpenZip(Text(ArchivePath()), 1), E_INVALIDARG);
}

TEST_F(ArchiveWriting, RefusesWhatIsNoFileBelowTheBase)
{
    Put(Outside() / "a", "x");
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_EQ(Add("missing"), E_FAIL);
    EXPECT_EQ(Add(""), E_FAIL);
    EXPECT_EQ(writing_.AddFile(Text(Outside() / "a"), 1, 1, Text(Folder()), 0), E_FAIL);
    EXPECT_EQ(writing_.AddFile(Text(Folder() / ".." / "outside" / "a"), 1, 1, Text(Folder()), 0), E_FAIL);
    EXPECT_EQ(writing_.AddFile(Text("/dev/zero"), 1, 1, Text("/"), 0), E_FAIL);
    EXPECT_EQ(writing_.Close(), S_OK);
    EXPECT_FALSE(std::filesystem::exists(ArchivePath()));
}

TEST_F(ArchiveWriting, RefusesASecondEntryOfAName)
{
    Put(Folder() / "a", "x");
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_EQ(Add("a"), S_OK);
    EXPECT_EQ(Add("a"), E_FAIL);
    EXPECT_EQ(writing_.Close(), S_OK);
    EXPECT_EQ(Entries(), (std::vector<Entry>{{"a", "x"}}));
}

TEST_F(ArchiveWriting, RefusesArgumentsThatHaveNoMeaning)
{
    Put(Folder() / "a", "x");
    ASSERT_EQ(Begin(), S_OK);
    EXPECT_EQ(Add("a", 2), E_INVALIDARG);
    EXPECT_EQ(Add("a", 1, -1), E_INVALIDARG);
    EXPECT_EQ(writing_.AddFile(Text(Folder() / "a"), 1, 1, Text(Folder()), 1), E_INVALIDARG);
}

TEST_F(ArchiveWriting, NeedsAnArchiveThatIsWritten)
{
    Put(Folder() / "a", "x");
    EXPECT_EQ(Add("a"), E_FAIL);
    ASSERT_EQ(Open(ZipBytes().Add("b")), S_OK);
    EXPECT_EQ(zip_.AddFile(Text(Folder() / "a"), 1, 1, Text(Folder()), 0), E_FAIL);
    ASSERT_EQ(writing_.OpenZip(Text(Folder() / "new.zip"), ZALZipWrite), S_OK);
    EXPECT_EQ(writing_.ExtractFile(Text(Outside()), "a", ZALZipExtractReplace), E_FAIL);
}

} // namespace

} // namespace openhost::testing
