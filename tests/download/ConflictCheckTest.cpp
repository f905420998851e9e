#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

constexpr const char* Question = "OverwriteNotify";

class ConflictCheck : public DownloadFixture {
protected:
    /// Checks `archive` against the user's folder.
    HRESULT Check(const ZipBytes& archive) { return Check(Archive(archive), PartsFolder()); }
    HRESULT Check(const ZALUnicodeString& archive, const ZALUnicodeString& folder)
    {
        return Probe.CheckForExtractConflicts(archive, folder, HasConflicts, Refused);
    }

    /// An archive of `count` entries, all of which are there already.
    ZipBytes Existing(unsigned int count)
    {
        for (unsigned int number = 0; number < count; ++number)
            WriteFile(Parts() / ("entry-" + std::to_string(number)), "old");
        return ZipBytes().AddMany(count);
    }
    /// The lines that name the first `count` of them.
    std::string Listed(unsigned int count)
    {
        std::string lines;
        for (unsigned int number = 0; number < count; ++number)
            lines += InParts("entry-" + std::to_string(number)) + "\n";
        return lines;
    }
    const ScriptedSurface::Question& Asked()
    {
        if (Surface().Questions().size() != 1)
            throw std::runtime_error("there is not one question");
        return Surface().Questions().front();
    }

    bool HasConflicts = true;
    bool Refused = true;
};

// ---------------------------------------------------------------------------------------------
// The text of the question

TEST_F(ConflictCheck, ThirtyOneConflictsShowThirtyNamesAndCountTheOther)
{
    EXPECT_EQ(Check(Existing(31)), S_OK);

    EXPECT_EQ(Asked().text,
              "Do you want to overwrite listed files ?\n\n" + Listed(30) + "\nand 1 other files not listed here");
}

TEST_F(ConflictCheck, ThirtyConflictsShowNoRemainder)
{
    EXPECT_EQ(Check(Existing(30)), S_OK);
    EXPECT_EQ(Asked().text, "Do you want to overwrite listed files ?\n\n" + Listed(30));
}

TEST_F(ConflictCheck, OneConflictIsNamedAlone)
{
    EXPECT_EQ(Check(Existing(1)), S_OK);
    EXPECT_EQ(Asked().text, "Do you want to overwrite listed files ?\n\n" + InParts("entry-0") + "\n");
}

TEST_F(ConflictCheck, ManyConflictsCountAllThatAreLeftOut)
{
    EXPECT_EQ(Check(Existing(1030)), S_OK);
    EXPECT_EQ(Asked().text,
              "Do you want to overwrite listed files ?\n\n" + Listed(30) + "\nand 1000 other files not listed here");
}

TEST_F(ConflictCheck, QuestionHasItsTitleNameAndStyle)
{
    Check(Existing(1));

    EXPECT_EQ(Asked().title, "Overwrite confirmation");
    EXPECT_EQ(Asked().name, "OverwriteNotify");
    EXPECT_EQ(Asked().style, 0x2800200U);
}

TEST_F(ConflictCheck, TextsComeFromTheCatalogOfTheDownloader)
{
    WriteFile(Folder() / "installation/resources/msgcatalog/ZALVelmartFileDownloader.ZALNls",
              "OverwriteNotifyTitle = \"A title\";\n"
              "OverwriteNotifyMessage = \"A message\";\n"
              "OverwriteNotifyRemaining = \"plus /P1 more /P2\";\n");

    Check(Existing(33));

    EXPECT_EQ(Asked().title, "A title");
    EXPECT_EQ(Asked().text, "A message\n\n" + Listed(30) + "\nplus 3 more /P2");
}

TEST_F(ConflictCheck, ConflictsStandInArchiveOrder)
{
    for (const char* name : {"c", "a", "b"})
        WriteFile(Parts() / name, "old");

    Check(ZipBytes().Add("c").Add("new").Add("a").Add("b"));

    EXPECT_THAT(Asked().text, HasSubstr("?\n\n" + InParts("c") + "\n" + InParts("a") + "\n" + InParts("b") + "\n"));
}

TEST_F(ConflictCheck, ConflictsInFoldersAreNamedWithBackslashes)
{
    WriteFile(Parts() / "sub/deep/a.ZALPart", "old");

    Check(ZipBytes().Add("sub/deep/a.ZALPart"));

    EXPECT_THAT(Asked().text, HasSubstr("\n\n" + InParts("sub\\deep\\a.ZALPart") + "\n"));
}

// ---------------------------------------------------------------------------------------------
// The window of the question

TEST_F(ConflictCheck, QuestionStandsOnTheDocumentWindow)
{
    Check(Existing(1));
    EXPECT_EQ(Asked().parent, "ApplicationDocument");
}

TEST_F(ConflictCheck, QuestionStandsAloneWithoutFrame)
{
    ConfigureFrame({.exists = false});
    EXPECT_EQ(Check(Existing(1)), S_OK);
    EXPECT_EQ(Asked().parent, "");
}

TEST_F(ConflictCheck, QuestionStandsAloneWithoutDocumentWindow)
{
    ConfigureFrame({.applicationDocument = false});
    Check(Existing(1));
    EXPECT_EQ(Asked().parent, "");
}

TEST_F(ConflictCheck, QuestionEndsAfterTheAnswer)
{
    Check(Existing(1));
    Loop().RunUntilIdle();
    EXPECT_EQ(Surface().Find(Question), nullptr);
}

struct AnswerCase {
    const char* name;
    int answer;
    bool refused;

    friend std::ostream& operator<<(std::ostream& stream, const AnswerCase& button) { return stream << button.name; }
};

class Answer : public ConflictCheck, public ::testing::WithParamInterface<AnswerCase> {};

TEST_P(Answer, DecidesWhetherTheUserRefuses)
{
    Surface().Answer(Question, GetParam().answer);

    EXPECT_EQ(Check(Existing(1)), S_OK);

    EXPECT_TRUE(HasConflicts);
    EXPECT_EQ(Refused, GetParam().refused);
    EXPECT_EQ(Surface().UnusedAnswers(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Buttons, Answer,
                         ::testing::Values(AnswerCase{"Closed", 0, false}, AnswerCase{"One", 1, false},
                                           AnswerCase{"Two", 2, false}, AnswerCase{"Yes", 3, false},
                                           AnswerCase{"No", 4, true}, AnswerCase{"Unknown", 5, false}));

// ---------------------------------------------------------------------------------------------
// What conflicts

TEST_F(ConflictCheck, NoConflictAsksNothing)
{
    EXPECT_EQ(Check(ZipBytes().Add("new").AddDirectory("folder/")), S_OK);

    EXPECT_FALSE(HasConflicts);
    EXPECT_FALSE(Refused);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(ConflictCheck, ExistingFolderOfTheArchiveIsAConflict)
{
    create_directory(Parts() / "sub");

    EXPECT_EQ(Check(ZipBytes().AddDirectory("sub/").Add("sub/new")), S_OK);

    EXPECT_TRUE(HasConflicts);
    EXPECT_THAT(Asked().text, HasSubstr("\n\n" + InParts("sub\\") + "\n"));
}

TEST_F(ConflictCheck, FolderInThePlaceOfAFileIsAConflict)
{
    create_directory(Parts() / "a.ZALPart");
    Check(ZipBytes().Add("a.ZALPart"));
    EXPECT_TRUE(HasConflicts);
}

TEST_F(ConflictCheck, SideFilesAreNoConflicts)
{
    for (const char* name : {"a.txt", "readme.TXT", "kr_metadata.csv", "sub/b.txt"})
        WriteFile(Parts() / name, "old");

    EXPECT_EQ(Check(ZipBytes().Add("a.txt").Add("readme.TXT").Add("kr_metadata.csv").Add("sub/b.txt")), S_OK);

    EXPECT_FALSE(HasConflicts);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(ConflictCheck, MetadataFileInAFolderIsAConflict)
{
    WriteFile(Parts() / "sub/kr_metadata.csv", "old");

    Check(ZipBytes().Add("sub/kr_metadata.csv"));

    EXPECT_THAT(Asked().text, HasSubstr(InParts("sub\\kr_metadata.csv")));
}

TEST_F(ConflictCheck, EntryTwiceInTheArchiveIsNamedTwice)
{
    WriteFile(Parts() / "a", "old");
    Check(ZipBytes().Add("a").Add("a"));
    EXPECT_THAT(Asked().text, HasSubstr("\n\n" + InParts("a") + "\n" + InParts("a") + "\n"));
}

TEST_F(ConflictCheck, WritesNothing)
{
    Check(Existing(2).Add("new"));
    EXPECT_EQ(ReadFile(Parts() / "entry-0"), "old");
    EXPECT_FALSE(exists(Parts() / "new"));
}

// ---------------------------------------------------------------------------------------------
// Failures

class FailedCheck : public ConflictCheck {
protected:
    void ExpectFailure(const ZALUnicodeString& archive, const ZALUnicodeString& folder)
    {
        EXPECT_EQ(Check(archive, folder), E_FAIL);
        EXPECT_FALSE(HasConflicts);
        EXPECT_FALSE(Refused);
        EXPECT_THAT(Surface().Questions(), IsEmpty());
    }
};

TEST_F(FailedCheck, OfAnEmptyArchivePath)
{
    ExpectFailure("", PartsFolder());
}

TEST_F(FailedCheck, OfAnEmptyFolder)
{
    ExpectFailure(Archive(ZipBytes().Add("a")), "");
}

TEST_F(FailedCheck, OfAMissingArchive)
{
    ExpectFailure(ZALUnicodeString((Temp() / "missing.zip").c_str()), PartsFolder());
}

TEST_F(FailedCheck, OfAFileThatIsNoArchive)
{
    WriteFile(TemporaryFile(), R"({"error": "gone"})");
    ExpectFailure(TemporaryFile().c_str(), PartsFolder());
}

TEST_F(FailedCheck, OfAnEmptyFile)
{
    WriteFile(TemporaryFile(), "");
    ExpectFailure(TemporaryFile().c_str(), PartsFolder());
}

TEST_F(FailedCheck, OfAnArchiveThatIsCutShort)
{
    WriteFile(TemporaryFile(), ZipBytes().AddMany(5).BytesWithoutLast(30));
    ExpectFailure(TemporaryFile().c_str(), PartsFolder());
}

TEST_F(FailedCheck, OfAnArchiveWithoutEntries)
{
    ExpectFailure(Archive(ZipBytes()), PartsFolder());
}

// ---------------------------------------------------------------------------------------------
// Side files

struct EntryCase {
    const char* name;
    const char* entry;
    bool ignored;

    friend std::ostream& operator<<(std::ostream& stream, const EntryCase& named) { return stream << named.name; }
};

class ArchiveEntry : public ::testing::TestWithParam<EntryCase> {};

TEST_P(ArchiveEntry, IsIgnoredWhenItIsASideFile)
{
    EXPECT_EQ(IsIgnoredArchiveEntry(GetParam().entry), GetParam().ignored);
}

INSTANTIATE_TEST_SUITE_P(
    Names, ArchiveEntry,
    ::testing::Values(
        EntryCase{"Text", "a.txt", true}, EntryCase{"SuffixAlone", ".txt", true},
        EntryCase{"TextInAFolder", "sub/a.txt", true}, EntryCase{"TextBehindABackslash", "sub\\a.txt", true},
        EntryCase{"TextInCapitals", "readme.TXT", true}, EntryCase{"TextWithACapital", "readme.Txt", true},
        EntryCase{"Metadata", "kr_metadata.csv", true}, EntryCase{"MetadataInCapitals", "KR_METADATA.CSV", true},
        EntryCase{"MetadataInAFolder", "sub/kr_metadata.csv", false},
        EntryCase{"MetadataBehindABackslash", "sub\\kr_metadata.csv", false},
        EntryCase{"MetadataInTheFolderItself", "./kr_metadata.csv", false},
        EntryCase{"FolderNamedLikeMetadata", "kr_metadata.csv/", false},
        EntryCase{"MetadataWithASuffix", "kr_metadata.csv.bak", false},
        EntryCase{"FolderNamedLikeText", "a.txt/", false}, EntryCase{"LongerSuffix", "a.txt2", false},
        EntryCase{"SuffixWithoutDot", "atxt", false}, EntryCase{"ThreeCharacters", "txt", false},
        EntryCase{"OneCharacter", "a", false}, EntryCase{"Nothing", "", false}, EntryCase{"Part", "a.ZALPart", false}));

} // namespace
} // namespace openhost::testing
