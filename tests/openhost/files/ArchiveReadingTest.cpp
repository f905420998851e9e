#include "openhost/files/ZipReader.h"
#include "tests/openhost/files/ArchiveFixture.h"

#include <zip.h>

#include <sys/stat.h>

#include <stdexcept>

namespace openhost::testing {
namespace {

class ArchiveReading : public ArchiveFixture {
protected:
    /// The archive's only entry has the content.
    void ExpectContent(const ZipBytes& archive, const std::string& content)
    {
        EXPECT_EQ(S_OK, ExtractOnly(archive));
        EXPECT_EQ(content, ReadFile(Folder() / names_.at(0)));
    }
    void ExpectNoEntries(HRESULT result)
    {
        ZALUnicodeString* names = nullptr;
        std::uint64_t* sizes = nullptr;
        unsigned int count = 5;
        EXPECT_EQ(result, zip_.BrowseZip(names, sizes, count));
        EXPECT_EQ(nullptr, names);
        EXPECT_EQ(nullptr, sizes);
        EXPECT_EQ(0U, count);
    }
};

// ---------------------------------------------------------------------------------------------
// Opening

TEST_F(ArchiveReading, OpenFailsOnWhatIsNoArchive)
{
    ASSERT_EQ(0, mkfifo((Outside() / "pipe").c_str(), 0600));
    Put(Outside() / "empty", "");
    Put(Outside() / "page", "<html><body>404 Not Found, and some more text than an end record has</body></html>");
    for (const char* name : {"none.zip", ".", "pipe", "empty", "page"})
        EXPECT_TRUE(FAILED(zip_.OpenZip(Text(Outside() / name), ZALZipRead))) << name;
    EXPECT_TRUE(FAILED(zip_.OpenZip("", ZALZipRead)));
}

TEST_F(ArchiveReading, OpenFailsOnAnArchiveCutInItsDirectory)
{
    const std::string bytes = ZipBytes().AddMany(10).Bytes();
    for (std::size_t lost = 1; lost < 400; lost += 7)
        EXPECT_TRUE(FAILED(OpenBytes(bytes.substr(0, bytes.size() - lost)))) << lost;
}

TEST_F(ArchiveReading, OpenFailsOnACountThatTheDirectoryCannotHold)
{
    EXPECT_TRUE(FAILED(Open(ZipBytes().AddMany(3).EndingInZip64().AnnouncingCount(std::uint64_t{1} << 40))));
    EXPECT_TRUE(FAILED(Open(ZipBytes().AddMany(3).AnnouncingCount(200))));
}

TEST_F(ArchiveReading, OpenFailsForOtherModes)
{
    ZipBytes().AddMany(1).Write(ArchivePath());
    for (unsigned int mode : {1U, 2U, 4U})
        EXPECT_TRUE(FAILED(zip_.OpenZip(Text(ArchivePath()), mode))) << mode;
    EXPECT_TRUE(std::filesystem::exists(ArchivePath()));
}

TEST_F(ArchiveReading, OpenFailsWhileAnArchiveIsOpenAndLeavesItOpen)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1")));
    EXPECT_TRUE(FAILED(zip_.OpenZip(Text(ArchivePath()), ZALZipRead)));
    EXPECT_EQ(S_OK, Extract("a"));
}

TEST_F(ArchiveReading, PathsMayHaveBackslashes)
{
    ZipBytes().Add("a", "1").Write(ArchivePath());
    EXPECT_EQ(S_OK, zip_.OpenZip(Text(temporary_.Path()) + "\\archive.zip", ZALZipRead));
    EXPECT_EQ(S_OK, zip_.ExtractFile(Text(temporary_.Path()) + "\\folder", "a", ZALZipExtractReplace));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("1", ReadFile(Folder() / "a"));
}

TEST_F(ArchiveReading, EveryOperationFailsWithoutAnArchive)
{
    ExpectNoEntries(E_FAIL);
    EXPECT_TRUE(FAILED(Extract("a")));
    EXPECT_TRUE(FAILED(zip_.Close()));
}

TEST_F(ArchiveReading, CloseEndsTheArchiveOnceAndAnotherCanBeOpened)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a")));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_TRUE(FAILED(zip_.Close()));
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("b")));
    EXPECT_EQ(std::vector<std::string>{"b"}, Browse());
}

// ---------------------------------------------------------------------------------------------
// Browsing

TEST_F(ArchiveReading, BrowseGivesNullForAnArchiveWithoutEntries)
{
    ASSERT_EQ(S_OK, Open(ZipBytes()));
    ExpectNoEntries(S_OK);
    EXPECT_EQ(S_OK, zip_.Close());
}

TEST_F(ArchiveReading, BrowseGivesNamesAndAnnouncedSizesInArchiveOrder)
{
    const std::uint64_t announced = std::uint64_t{1} << 50;
    ASSERT_EQ(S_OK, Open(ZipBytes()
                             .Add("z", "12")
                             .AddDirectory("m")
                             .Add("m/a", LongContent(5000))
                             .Deflated()
                             .Add("a", "1")
                             .AnnouncingSize(announced)));
    EXPECT_EQ((std::vector<std::string>{"z", "m/", "m/a", "a"}), Browse());
    EXPECT_EQ((std::vector<std::uint64_t>{2, 0, 5000, announced}), sizes_);
}

TEST_F(ArchiveReading, ReadsMoreEntriesThanSixteenBitsCount)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().AddMany(70'000)));
    EXPECT_EQ(70'000U, Browse().size());
    EXPECT_EQ(S_OK, Extract("entry-69999"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("content 69999", ReadFile(Folder() / "entry-69999"));
}

TEST_F(ArchiveReading, ReadsNamesInUTF8AndInCP437)
{
    const std::string name = "\xC3\x84rmel/\xE8\x9E\xBA\xE6\xAF\x8D.ZALPart";
    ExpectContent(ZipBytes().Add(name, "1"), "1");
    EXPECT_EQ("1", ReadFile(Folder() / name));
    ExpectContent(ZipBytes().Add("Gr\x94\xE1.ZALPart", "2").NamedInCP437(), "2");
    EXPECT_EQ("2", ReadFile(Folder() / "Gr\xC3\xB6\xC3\x9F.ZALPart"));
}

TEST_F(ArchiveReading, FailsToOpenWithANameThatIsNoUTF8AndSaysItIs)
{
    EXPECT_TRUE(FAILED(Open(ZipBytes().Add("a\xFF").NamedInUTF8())));
}

TEST_F(ArchiveReading, AZeroByteCutsNoPathAndOverlongDotsAreNoWayOut)
{
    ExtractOnly(ZipBytes().Add(std::string("a.ZALPart\0.exe", 14), "1").NamedInCP437());
    EXPECT_FALSE(std::filesystem::exists(Folder() / "a.ZALPart"));
    ExtractOnly(ZipBytes().Add("\xC0\xAE\xC0\xAE/outside/a", "1").NamedInCP437());
    EXPECT_TRUE(Listing(Outside()).empty());
}

// ---------------------------------------------------------------------------------------------
// Entries

TEST_F(ArchiveReading, ExtractsEntriesOfEveryForm)
{
    const std::string content = LongContent(10'000);
    ExpectContent(ZipBytes().Add("stored", "text"), "text");
    ExpectContent(ZipBytes().Add("deflated", content).Deflated(), content);
    ExpectContent(ZipBytes().Add("stored-empty"), "");
    ExpectContent(ZipBytes().Add("deflated-empty").Deflated(), "");
    ExpectContent(ZipBytes().Add("stored-descriptor", "text").WithDataDescriptor(), "text");
    ExpectContent(ZipBytes().Add("deflated-descriptor", content).Deflated().WithDataDescriptor(), content);
    ExpectContent(ZipBytes().Add("stored-64", "text").WithZip64().EndingInZip64(), "text");
    ExpectContent(ZipBytes().Add("deflated-64", content).Deflated().WithZip64().WithDataDescriptor(), content);
    ExpectContent(ZipBytes().Add("comment", "text").WithComment("PK\x05\x06 is what an end record begins with"),
                  "text");
    EXPECT_EQ(9U, Listing(Folder()).size());
}

TEST_F(ArchiveReading, ExtractsEntriesAroundTheSizeOfThePieces)
{
    constexpr std::size_t piece = ZipReader::PieceSize;
    for (const std::size_t size : {piece - 1, piece, piece + 1, 3 * piece, std::size_t{5'000'000}}) {
        const std::string content = LongContent(size);
        ExpectContent(ZipBytes().Add("stored-" + std::to_string(size), content), content);
        ExpectContent(ZipBytes().Add("deflated-" + std::to_string(size), content).Deflated(), content);
    }
    EXPECT_EQ(10U, Listing(Folder()).size());
}

TEST_F(ArchiveReading, ExtractsWhatLibzipWrites)
{
    zip_t* const archive = zip_open(ArchivePath().c_str(), ZIP_CREATE, nullptr);
    ASSERT_NE(nullptr, archive);
    const std::string content = LongContent(3'000'000);
    zip_file_add(archive, "sub/a.ZALPart", zip_source_buffer(archive, content.data(), content.size(), 0), 0);
    zip_dir_add(archive, "empty", 0);
    ASSERT_EQ(0, zip_close(archive));

    ASSERT_EQ(S_OK, zip_.OpenZip(Text(ArchivePath()), ZALZipRead));
    for (const std::string& name : Browse())
        EXPECT_EQ(S_OK, Extract(name));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ(content, ReadFile(Folder() / "sub/a.ZALPart"));
    EXPECT_TRUE(std::filesystem::is_directory(Folder() / "empty"));
}

TEST_F(ArchiveReading, ExtractsTheLastOfEntriesWithTheSameName)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "first").Add("b", "other").Add("a", "last")));
    EXPECT_EQ((std::vector<std::string>{"a", "b", "a"}), Browse());
    EXPECT_EQ(S_OK, Extract("a"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("last", ReadFile(Folder() / "a"));
}

TEST_F(ArchiveReading, ExtractsByTheNameOfTheDirectory)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1").WithLocalName("../../b")));
    EXPECT_EQ(S_OK, Extract("a"));
    EXPECT_TRUE(FAILED(Extract("../../b")));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
}

TEST_F(ArchiveReading, FailsForANameThatIsNotInTheArchiveAndForOtherFlags)
{
    ASSERT_EQ(S_OK, Open(ZipBytes().Add("a", "1")));
    for (const char* name : {"b", "A", ""})
        EXPECT_TRUE(FAILED(Extract(name))) << name;
    for (const unsigned int flags : {0U, 1U, 16U, 18U})
        EXPECT_TRUE(FAILED(zip_.ExtractFile(Text(Folder()), "a", flags))) << flags;
    ExpectNothingWritten();
}

// ---------------------------------------------------------------------------------------------
// Damage

struct Damage {
    const char* name;
    ZipBytes archive;
    friend void PrintTo(const Damage& damage, std::ostream* stream) { *stream << damage.name; }
};

class DamagedEntry : public ArchiveFixture, public ::testing::WithParamInterface<Damage> {};

TEST_P(DamagedEntry, FailsByItselfAndLeavesNothingNewOrWhatStandsThere)
{
    ZipBytes archive = GetParam().archive;
    ASSERT_EQ(S_OK, Open(archive.Add("good", "fine")));
    const std::string name = Browse().at(0);
    EXPECT_TRUE(FAILED(Extract(name)));
    EXPECT_EQ(S_OK, Extract("good"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ(std::set<std::string>{"good"}, Listing(Folder()));
    EXPECT_EQ("fine", ReadFile(Folder() / "good"));

    ASSERT_EQ(S_OK, Open(archive));
    const std::filesystem::path file = Folder() / name;
    std::filesystem::create_directories(file.parent_path());
    Put(file, "mine");
    const std::set<std::string> before = Listing(Folder());
    EXPECT_TRUE(FAILED(Extract(name)));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ("mine", ReadFile(file));
    EXPECT_EQ(before, Listing(Folder()));
}

const std::string Long = LongContent(4'000'000);
const std::string LongPacked = Deflate(Long);

INSTANTIATE_TEST_SUITE_P(
    All, DamagedEntry,
    ::testing::Values(
        Damage{"Encrypted", ZipBytes().Add("new/sub/a", "text").Encrypted()},
        Damage{"UnknownMethod", ZipBytes().Add("new/a", "text").WithMethod(12)},
        Damage{"WrongChecksumStored", ZipBytes().Add("new/a", "text").WithWrongChecksum()},
        Damage{"WrongChecksumDeflated", ZipBytes().Add("a", LongContent(9000)).Deflated().WithWrongChecksum()},
        Damage{"WrongChecksumOfManyPieces", ZipBytes().Add("new/sub/a", Long).Deflated().WithWrongChecksum()},
        Damage{"WrongChecksumStoredInManyPieces", ZipBytes().Add("new/sub/a", Long).WithWrongChecksum()},
        Damage{"MoreThanAnnounced", ZipBytes().Add("new/a", Long).Deflated().AnnouncingSize(100)},
        Damage{"MoreThanAnnouncedInManyPieces", ZipBytes().Add("new/a", Long).Deflated().AnnouncingSize(3'000'000)},
        Damage{"LessThanAnnounced", ZipBytes().Add("new/a", "text").Deflated().AnnouncingSize(5)},
        Damage{"MuchLessThanAnnounced", ZipBytes().Add("a", "text").Deflated().AnnouncingSize(std::uint64_t{15} << 30)},
        Damage{"LargerThanTheLimit", ZipBytes().Add("a", "text").AnnouncingSize(ZALZipMaximumEntrySize + 1)},
        Damage{"LargerThanAnything", ZipBytes().Add("a", "text").Deflated().AnnouncingSize(~std::uint64_t{0})},
        Damage{"NoDeflateStream", ZipBytes().Add("a", "text").Deflated().WithPackedData("\xFF\xFF\xFF\xFF\xFF\xFF")},
        Damage{"NoData", ZipBytes().Add("a", "text").Deflated().WithPackedData("")},
        Damage{"StreamCutShort", ZipBytes().Add("a", Long).Deflated().WithPackedData(LongPacked.substr(0, 100'000))},
        Damage{"StreamCutInItsLastByte",
               ZipBytes().Add("a", Long).Deflated().WithPackedData(LongPacked.substr(0, LongPacked.size() - 1))},
        Damage{"PackedSizeBehindTheFile", ZipBytes().Add("a", "text").AnnouncingPackedSize(std::uint64_t{1} << 40)},
        Damage{"PackedSizeTooSmall", ZipBytes().Add("a", Long).Deflated().AnnouncingPackedSize(1000)},
        Damage{"OffsetBehindTheFile", ZipBytes().Add("a", "text").WithOffset(1'000'000)},
        Damage{"OffsetOfNoHeader", ZipBytes().Add("a", "text").WithOffset(3)}),
    [](const auto& parameters) { return std::string(parameters.param.name); });

TEST_F(ArchiveReading, AnEncryptedEntryWithoutAChecksumFailsByItself)
{
    // The extra field of AES encryption, version 2: such an entry has no checksum.
    const std::string field("\x01\x99\x07\x00\x02\x00\x41\x45\x03\x00\x00", 11);
    ASSERT_EQ(S_OK,
              Open(ZipBytes().Add("secret", "text").Encrypted().WithMethod(99).WithExtraField(field).Add("a", "1")));
    EXPECT_EQ((std::vector<std::string>{"secret", "a"}), Browse());
    EXPECT_TRUE(FAILED(Extract("secret")));
    EXPECT_EQ(S_OK, Extract("a"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ(std::set<std::string>{"a"}, Listing(Folder()));
}

TEST_F(ArchiveReading, RefusesAnEntryWhoseBytesAreThoseOfAnother)
{
    // The second entry holds the third one as a part of its own data.
    const std::string inner = ZipBytes().Add("c", "inner").Bytes();
    const std::string stored = inner.substr(0, inner.find("PK\x01\x02"));
    const std::string head = ZipBytes().Add("a", "1").Bytes();
    const std::size_t local = head.find("PK\x01\x02");
    const std::size_t data = local + 30 + 1;
    ASSERT_EQ(S_OK, Open(ZipBytes()
                             .Add("a", "1")
                             .Add("b", stored)
                             .Add("c", "inner")
                             .WithOffset(data)
                             .Add("same", "1")
                             .WithLocalName("a")
                             .WithOffset(0)
                             .Add("d", "2")));
    for (const char* name : {"a", "b", "d"})
        EXPECT_EQ(S_OK, Extract(name)) << name;
    for (const char* name : {"c", "same"})
        EXPECT_TRUE(FAILED(Extract(name))) << name;
    EXPECT_EQ(S_OK, Extract("b"));
    EXPECT_EQ(S_OK, zip_.Close());
    EXPECT_EQ((std::set<std::string>{"a", "b", "d"}), Listing(Folder()));
}

TEST_F(ArchiveReading, AnEntryIsUnpackedNoFurtherThanItsAnnouncedSize)
{
    ZipBytes().Add("bomb", LongContent(4'000'000)).Deflated().AnnouncingSize(100).Write(ArchivePath());
    ZipReader archive(ArchivePath());
    archive.Start(0);
    EXPECT_THROW(archive.Next(), std::runtime_error);
}

TEST_F(ArchiveReading, ArchivesWithAnyByteChangedNeitherCrashNorWriteOtherContent)
{
    const std::string text = LongContent(80);
    const std::string bytes = ZipBytes().Add("a", text).Deflated().Add("b", text).WithZip64().Bytes();
    for (std::size_t position = 0; position < bytes.size(); ++position) {
        std::string changed = bytes;
        changed[position] = static_cast<char>(changed[position] ^ 0x41);
        if (OpenBytes(changed) != S_OK)
            continue;
        std::vector<std::string> extracted;
        for (const std::string& name : Browse())
            if (Extract(name) == S_OK)
                extracted.push_back(name);
        zip_.Close();
        for (const std::string& name : extracted)
            if (std::filesystem::is_regular_file(Folder() / name)) {
                EXPECT_EQ(text, ReadFile(Folder() / name)) << position;
            }
    }
    EXPECT_TRUE(Listing(Outside()).empty());
}

} // namespace
} // namespace openhost::testing
