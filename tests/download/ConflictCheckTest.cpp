#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

namespace openhost::testing {
namespace {

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
            WriteBytes(Parts() / ("entry-" + std::to_string(number)), "old");
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

TEST_F(ConflictCheck, ThirtyConflictsAreNamedAndTheOthersAreCounted)
{
    for (const unsigned int count : {1U, 30U, 31U, 1030U}) {
        EXPECT_EQ(S_OK, Check(Existing(count)));
        std::string expected = "Do you want to overwrite listed files ?\n\n" + Listed(std::min(count, 30U));
        if (count > 30)
            expected += "\nand " + std::to_string(count - 30) + " other files not listed here";
        EXPECT_EQ(expected, Surface().Questions().back().text);
    }
}

TEST_F(ConflictCheck, QuestionHasItsTitleNameAndStyleAndEndsAfterTheAnswer)
{
    Check(Existing(1));
    EXPECT_EQ("Overwrite confirmation", Asked().title);
    EXPECT_EQ("OverwriteNotify", Asked().name);
    EXPECT_EQ(0x2800200U, Asked().style);
    EXPECT_EQ("ApplicationDocument", Asked().parent);
    Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, Surface().Find(Question));
}

TEST_F(ConflictCheck, QuestionStandsAloneWithoutFrameOrDocumentWindow)
{
    for (const FrameOptions& frame : {FrameOptions{.exists = false}, FrameOptions{.applicationDocument = false}}) {
        ConfigureFrame(frame);
        EXPECT_EQ(S_OK, Check(Existing(1)));
        EXPECT_EQ("", Surface().Questions().back().parent);
    }
    EXPECT_EQ(2U, Surface().Questions().size());
}

TEST_F(ConflictCheck, TextsComeFromTheCatalogOfTheDownloader)
{
    WriteBytes(Folder() / "installation/resources/msgcatalog/ZALVelmartFileDownloader.ZALNls",
               "OverwriteNotifyTitle = \"A title\";\n"
               "OverwriteNotifyMessage = \"A message\";\n"
               "OverwriteNotifyRemaining = \"plus /P1 more /P2\";\n");
    Check(Existing(33));
    EXPECT_EQ("A title", Asked().title);
    EXPECT_EQ("A message\n\n" + Listed(30) + "\nplus 3 more /P2", Asked().text);
}

TEST_F(ConflictCheck, UserRefusesByNoAlone)
{
    for (const int answer : {0, 1, 2, 3, 4, 5}) {
        HasConflicts = false;
        Refused = answer != 4;
        Surface().Answer(Question, answer);
        EXPECT_EQ(S_OK, Check(Existing(1)));
        EXPECT_TRUE(HasConflicts) << answer;
        EXPECT_EQ(answer == 4, Refused) << answer;
        EXPECT_EQ(0U, Surface().UnusedAnswers());
    }
}

// ---------------------------------------------------------------------------------------------
// What conflicts

TEST_F(ConflictCheck, NoConflictAsksNothing)
{
    EXPECT_EQ(S_OK, Check(ZipBytes().Add("new").AddDirectory("folder/")));
    EXPECT_FALSE(HasConflicts);
    EXPECT_FALSE(Refused);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(ConflictCheck, SideFilesAreNoConflicts)
{
    for (const char* name : {"a.txt", "readme.TXT", "kr_metadata.csv", "sub/b.txt"})
        WriteBytes(Parts() / name, "old");
    EXPECT_EQ(S_OK, Check(ZipBytes().Add("a.txt").Add("readme.TXT").Add("kr_metadata.csv").Add("sub/b.txt")));
    EXPECT_FALSE(HasConflicts);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
}

TEST_F(ConflictCheck, ConflictsStandInArchiveOrderEachTimeTheyCome)
{
    for (const char* name : {"c", "a", "b"})
        WriteBytes(Parts() / name, "old");
    EXPECT_EQ(S_OK, Check(ZipBytes().Add("c").Add("new").Add("a").Add("b").Add("a")));
    EXPECT_THAT(Asked().text, HasSubstr("?\n\n" + InParts("c") + "\n" + InParts("a") + "\n" + InParts("b") + "\n" +
                                        InParts("a") + "\n"));
    EXPECT_EQ("old", ReadFile(Parts() / "c")) << "nothing is written";
    EXPECT_FALSE(exists(Parts() / "new"));
}

TEST_F(ConflictCheck, WhatStandsInAPlaceConflictsWhateverItIs)
{
    create_directory(Parts() / "a.ZALPart");
    WriteBytes(Parts() / "sub/deep/a.ZALPart", "old");
    WriteBytes(Parts() / "sub/kr_metadata.csv", "old");
    EXPECT_EQ(S_OK, Check(ZipBytes()
                              .AddDirectory("sub/")
                              .Add("sub/new")
                              .Add("a.ZALPart")
                              .Add("sub/deep/a.ZALPart")
                              .Add("sub/kr_metadata.csv")));
    EXPECT_TRUE(HasConflicts);
    EXPECT_THAT(Asked().text,
                HasSubstr("\n\n" + InParts("sub\\") + "\n" + InParts("a.ZALPart") + "\n" +
                          InParts("sub\\deep\\a.ZALPart") + "\n" + InParts("sub\\kr_metadata.csv") + "\n"));
}

TEST_F(ConflictCheck, FailsWithoutAnArchiveWithEntriesAndAFolder)
{
    WriteBytes(Temp() / "json.zip", R"({"error": "gone"})");
    WriteBytes(Temp() / "nothing.zip", "");
    WriteBytes(Temp() / "short.zip", ZipBytes().AddMany(5).BytesWithoutLast(30));
    ZipBytes().Write(Temp() / "empty.zip");
    std::vector<std::pair<ZALUnicodeString, ZALUnicodeString>> cases = {{"", PartsFolder()},
                                                                        {Archive(ZipBytes().Add("a")), ""}};
    for (const char* name : {"missing.zip", "json.zip", "nothing.zip", "short.zip", "empty.zip"})
        cases.emplace_back((Temp() / name).c_str(), PartsFolder());
    for (const auto& [archive, folder] : cases) {
        HasConflicts = Refused = true;
        EXPECT_EQ(E_FAIL, Check(archive, folder)) << ToUtf8(archive);
        EXPECT_FALSE(HasConflicts) << ToUtf8(archive);
        EXPECT_FALSE(Refused) << ToUtf8(archive);
    }
    EXPECT_THAT(Surface().Questions(), IsEmpty());
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
    EXPECT_EQ(GetParam().ignored, IsIgnoredArchiveEntry(GetParam().entry));
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
