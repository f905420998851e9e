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
        EXPECT_EQ(ExtractOnly(archive), S_OK);
        EXPECT_EQ(Content(Folder() / Browse().at(0)), content);
        EXPECT_EQ(zip_.Close(), S_OK);
    }
};

// ---------------------------------------------------------------------------------------------
// Opening

TEST_F(ArchiveReading, OpenFailsOnAMissingFile)
{
    EXPECT_TRUE(FAILED(zip_.OpenZip(Text(Folder() / "none.zip"), ZALZipRead)));
}

TEST_F(ArchiveReading, OpenFailsOnAnEmptyPath)
{
    EXPECT_TRUE(FAILED(zip_.OpenZip("", ZALZipRead)));
}

TEST_F(ArchiveReading, OpenFailsOnAFolder)
{
    EXPECT_TRUE(FAILED(zip_.OpenZip(Text(Folder()), ZALZipRead)));
}

TEST_F(ArchiveReading, OpenFailsOnAPipeWithoutWaiting)
{
    ASSERT_EQ(mkfifo(ArchivePath().c_str(), 0600), 0);
    EXPECT_TRUE(FAILED(zip_.OpenZip(Text(ArchivePath()), ZALZipRead)));
}

TEST_F(ArchiveReading, OpenFailsOnAnEmptyFile)
{
    EXPECT_TRUE(FAILED(OpenBytes("")));
}

TEST_F(ArchiveReading, OpenFailsOnAnErrorPageOfAServer)
{
    EXPECT_TRUE(
        FAILED(OpenBytes("<html><body>404 Not Found, and some more text than an end record has</body></html>")));
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
    ASSERT_EQ(Open(ZipBytes().Add("a", "1")), S_OK);
    EXPECT_TRUE(FAILED(zip_.OpenZip(Text(ArchivePath()), ZALZipRead)));
    EXPECT_EQ(Extract("a"), S_OK);
}

TEST_F(ArchiveReading, PathsMayHaveBackslashes)
{
    ZipBytes().Add("a", "1").Write(ArchivePath());
    EXPECT_EQ(zip_.OpenZip(Text(temporary_.Path()) + "\\archive.zip", ZALZipRead), S_OK);
    EXPECT_EQ(zip_.ExtractFile(Text(temporary_.Path()) + "\\folder", "a", ZALZipExtractReplace), S_OK);
    EXPECT_EQ(Content(Folder() / "a"), "1");
}

TEST_F(ArchiveReading, EveryOperationFailsWithoutAnArchive)
{
    ZALUnicodeString* names = nullptr;
    std::uint64_t* sizes = nullptr;
    unsigned int count = 5;
    EXPECT_TRUE(FAILED(zip_.BrowseZip(names, sizes, count)));
    EXPECT_EQ(names, nullptr);
    EXPECT_EQ(sizes, nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_TRUE(FAILED(Extract("a")));
    EXPECT_TRUE(FAILED(zip_.Close()));
}

TEST_F(ArchiveReading, CloseEndsTheArchiveOnceAndAnotherCanBeOpened)
{
    ASSERT_EQ(Open(ZipBytes().Add("a")), S_OK);
    EXPECT_EQ(zip_.Close(), S_OK);
    EXPECT_TRUE(FAILED(zip_.Close()));
    ASSERT_EQ(Open(ZipBytes().Add("b")), S_OK);
    EXPECT_EQ(Browse(), std::vector<std::string>{"b"});
}

// ---------------------------------------------------------------------------------------------
// Browsing

TEST_F(ArchiveReading, BrowseGivesNullForAnArchiveWithoutEntries)
{
    ASSERT_EQ(Open(ZipBytes()), S_OK);
    ZALUnicodeString* names = nullptr;
    std::uint64_t* sizes = nullptr;
    unsigned int count = 5;
    EXPECT_EQ(zip_.BrowseZip(names, sizes, count), S_OK);
    EXPECT_EQ(names, nullptr);
    EXPECT_EQ(sizes, nullptr);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(zip_.Close(), S_OK);
}

TEST_F(ArchiveReading, BrowseGivesNamesAndSizesInArchiveOrder)
{
    ASSERT_EQ(Open(ZipBytes().Add("z", "12").AddDirectory("m").Add("m/a", LongContent(5000)).Deflated()), S_OK);
    EXPECT_EQ(Browse(), (std::vector<std::string>{"z", "m/", "m/a"}));
    EXPECT_EQ(sizes_, (std::vector<std::uint64_t>{2, 0, 5000}));
}

TEST_F(ArchiveReading, BrowseGivesSizesAsAnnounced)
{
    const std::uint64_t announced = std::uint64_t{1} << 50;
    ASSERT_EQ(Open(ZipBytes().Add("a", "1").AnnouncingSize(announced)), S_OK);
    Browse();
    EXPECT_EQ(sizes_, std::vector<std::uint64_t>{announced});
}

TEST_F(ArchiveReading, ReadsMoreEntriesThanSixteenBitsCount)
{
    ASSERT_EQ(Open(ZipBytes().AddMany(70'000)), S_OK);
    EXPECT_EQ(Browse().size(), 70'000U);
    EXPECT_EQ(Extract("entry-69999"), S_OK);
    EXPECT_EQ(Content(Folder() / "entry-69999"), "content 69999");
}

TEST_F(ArchiveReading, ReadsANameInUTF8)
{
    ASSERT_EQ(Open(ZipBytes().Add("\xC3\x84rmel/\xE8\x9E\xBA\xE6\xAF\x8D.ZALPart", "1")), S_OK);
    EXPECT_EQ(Browse(), std::vector<std::string>{"\xC3\x84rmel/\xE8\x9E\xBA\xE6\xAF\x8D.ZALPart"});
    EXPECT_EQ(Extract(Browse()[0]), S_OK);
    EXPECT_EQ(Content(Folder() / "\xC3\x84rmel/\xE8\x9E\xBA\xE6\xAF\x8D.ZALPart"), "1");
}

TEST_F(ArchiveReading, ReadsANameInCP437)
{
    EXPECT_EQ(ExtractOnly(ZipBytes()
                              .Add("Gr\x94\xE1"
                                   "e.ZALPart",
                                   "1")
                              .NamedInCP437()),
              S_OK);
    EXPECT_EQ(Listing(Folder()), std::set<std::string>{"Gr\xC3\xB6\xC3\x9F"
                                                       "e.ZALPart"});
}

TEST_F(ArchiveReading, FailsToOpenWithANameThatIsNoUTF8AndSaysItIs)
{
    EXPECT_TRUE(FAILED(Open(ZipBytes().Add("a\xFF").NamedInUTF8())));
}

TEST_F(ArchiveReading, ANameWithAZeroByteNeverCutsThePath)
{
    const std::string name("a.ZALPart\0.exe", 14);
    ExtractOnly(ZipBytes().Add(name, "1").NamedInCP437());
    EXPECT_FALSE(std::filesystem::exists(Folder() / "a.ZALPart"));
}

TEST_F(ArchiveReading, AnOverlongParentComponentIsNoWayOut)
{
    ExtractOnly(ZipBytes().Add("\xC0\xAE\xC0\xAE/outside/a", "1").NamedInCP437());
    EXPECT_TRUE(Listing(Outside()).empty());
}

// ---------------------------------------------------------------------------------------------
// Entries

TEST_F(ArchiveReading, ExtractsAStoredEntry)
{
    ExpectContent(ZipBytes().Add("a.ZALPart", "text"), "text");
}

TEST_F(ArchiveReading, ExtractsADeflatedEntry)
{
    ExpectContent(ZipBytes().Add("a.ZALPart", LongContent(10'000)).Deflated(), LongContent(10'000));
}

TEST_F(ArchiveReading, ExtractsAnEmptyEntryOfEitherMethod)
{
    ExpectContent(ZipBytes().Add("stored"), "");
    ExpectContent(ZipBytes().Add("deflated").Deflated(), "");
    EXPECT_EQ(Listing(Folder()), (std::set<std::string>{"stored", "deflated"}));
}

TEST_F(ArchiveReading, ExtractsEntriesAroundTheSizeOfThePieces)
{
    constexpr std::size_t piece = ZipReader::PieceSize;
    for (const std::size_t size : {piece - 1, piece, piece + 1, 3 * piece, std::size_t{5'000'000}}) {
        const std::string content = LongContent(size);
        ExpectContent(ZipBytes().Add("stored-" + std::to_string(size), content), content);
        ExpectContent(ZipBytes().Add("deflated-" + std::to_string(size), content).Deflated(), content);
    }
    EXPECT_EQ(Listing(Folder()).size(), 10U);
}

TEST_F(ArchiveReading, ExtractsAnEntryWithADataDescriptor)
{
    ExpectContent(ZipBytes().Add("stored", "text").WithDataDescriptor(), "text");
    ExpectContent(ZipBytes().Add("deflated", LongContent(10'000)).Deflated().WithDataDescriptor(), LongContent(10'000));
}

TEST_F(ArchiveReading, ExtractsEntriesOfZip64)
{
    ExpectContent(ZipBytes().Add("stored", "text").WithZip64().EndingInZip64(), "text");
    ExpectContent(ZipBytes().Add("deflated", LongContent(10'000)).Deflated().WithZip64().WithDataDescriptor(),
                  LongContent(10'000));
}

TEST_F(ArchiveReading, ExtractsFromAnArchiveWithAComment)
{
    ExpectContent(ZipBytes().Add("a", "text").WithComment("PK\x05\x06 is what an end record begins with"), "text");
}

TEST_F(ArchiveReading, ExtractsWhatLibzipWrites)
{
    zip_t* const archive = zip_open(ArchivePath().c_str(), ZIP_CREATE, nullptr);
    ASSERT_NE(archive, nullptr);
    const std::string content = LongContent(3'000'000);
    zip_file_add(archive, "sub/a.ZALPart", zip_source_buffer(archive, content.data(), content.size(), 0), 0);
    zip_dir_add(archive, "empty", 0);
    ASSERT_EQ(zip_close(archive), 0);

    ASSERT_EQ(zip_.OpenZip(Text(ArchivePath()), ZALZipRead), S_OK);
    for (const std::string& name : Browse())
        EXPECT_EQ(Extract(name), S_OK);
    EXPECT_EQ(Content(Folder() / "sub/a.ZALPart"), content);
    EXPECT_TRUE(std::filesystem::is_directory(Folder() / "empty"));
}

TEST_F(ArchiveReading, ExtractsTheLastOfEntriesWithTheSameName)
{
    ASSERT_EQ(Open(ZipBytes().Add("a", "first").Add("b", "other").Add("a", "last")), S_OK);
    EXPECT_EQ(Browse(), (std::vector<std::string>{"a", "b", "a"}));
    EXPECT_EQ(Extract("a"), S_OK);
    EXPECT_EQ(Content(Folder() / "a"), "last");
}

TEST_F(ArchiveReading, ExtractsByTheNameOfTheDirectory)
{
    ASSERT_EQ(Open(ZipBytes().Add("a", "1").WithLocalName("../../b")), S_OK);
    EXPECT_EQ(Extract("a"), S_OK);
    EXPECT_EQ(Listing(Folder()), std::set<std::string>{"a"});
    EXPECT_TRUE(FAILED(Extract("../../b")));
}

TEST_F(ArchiveReading, FailsForANameThatIsNotInTheArchive)
{
    ASSERT_EQ(Open(ZipBytes().Add("a", "1")), S_OK);
    EXPECT_TRUE(FAILED(Extract("b")));
    EXPECT_TRUE(FAILED(Extract("A")));
    EXPECT_TRUE(FAILED(Extract("")));
    ExpectNothingWritten();
}

TEST_F(ArchiveReading, FailsForOtherFlags)
{
    ASSERT_EQ(Open(ZipBytes().Add("a", "1")), S_OK);
    for (unsigned int flags : {0U, 1U, 16U, 18U})
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

TEST_P(DamagedEntry, FailsByItselfAndLeavesNothing)
{
    ZipBytes archive = GetParam().archive;
    ASSERT_EQ(Open(archive.Add("good", "fine")), S_OK);
    const std::string name = Browse().at(0);
    EXPECT_TRUE(FAILED(Extract(name)));
    ExpectNothingWritten();

    EXPECT_EQ(Extract("good"), S_OK);
    EXPECT_EQ(Content(Folder() / "good"), "fine");
}

TEST_P(DamagedEntry, LeavesTheFileThatStandsThere)
{
    ZipBytes archive = GetParam().archive;
    ASSERT_EQ(Open(archive), S_OK);
    const std::filesystem::path file = Folder() / Browse().at(0);
    std::filesystem::create_directories(file.parent_path());
    Put(file, "mine");
    const std::set<std::string> before = Listing(Folder());

    EXPECT_TRUE(FAILED(Extract(Browse().at(0))));
    EXPECT_EQ(Content(file), "mine");
    EXPECT_EQ(Listing(Folder()), before);
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
        for (const std::string& name : Browse()) {
            if (Extract(name) == S_OK && std::filesystem::is_regular_file(Folder() / name)) {
                EXPECT_EQ(Content(Folder() / name), text) << position;
            }
        }
        zip_.Close();
    }
    EXPECT_TRUE(Listing(Outside()).empty());
}

} // namespace
} // namespace openhost::testing
