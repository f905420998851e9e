#include "download/ZALVelmartDownloadDataHandler.h"
#include "openhost/files/PathVariables.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/FailingMemory.h"
#include "tests/support/Listener.h"

#include <gmock/gmock.h>

#include <limits>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr std::size_t BufferSize = 1048576;
constexpr const char* Bytes = "application/octet-stream";

/// Keeps what a handler tells its owner.
class Owner : public ZALBaseUnknown {
public:
    void OnComplete(const ZALUnicodeString& path) { Completed.push_back(ToUtf8(path)); }
    void OnProgress(std::int32_t percent) { Percents.push_back(percent); }

    std::vector<std::string> Completed;
    std::vector<int> Percents;
};

constexpr auto CompleteMethod = static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(&Owner::OnComplete);
constexpr auto ProgressMethod = static_cast<ZALVelmartDownloadDataHandler::ProgressMethod>(&Owner::OnProgress);

/// A handler with a running transfer.
class DataHandler : public HostFixture {
protected:
    DataHandler() : handler_(new ZALVelmartDownloadDataHandler(TheOwner, CompleteMethod))
    {
        handler_->SetProgressCallback(ProgressMethod);
        if (!request_.Send(handler_))
            throw std::runtime_error("the transfer does not start");
    }
    ~DataHandler() override
    {
        handler_->Release();
        EndOwner();
    }

    void EndOwner()
    {
        if (Owner* ending = std::exchange(TheOwner, nullptr))
            ending->Release();
    }

    ScriptedTransport::Script& Script() { return Transport().Last(); }
    ZALVelmartDownloadDataHandler& Handler() { return *handler_; }
    std::filesystem::path ZipFile() const { return Temp() / "VelmartDownloadedQ7Files.zip"; }
    /// Name of the file that a transfer with these headers leaves, or "" for none.
    std::string FileNameFor(const HttpHeaders& headers, int code = 200)
    {
        Script().Head(code, headers);
        Script().Bytes("x");
        Script().End();
        const std::vector<std::string> files = FilesBelow(Temp());
        return files.empty() ? "" : files.front();
    }

    Owner* TheOwner = new Owner;

private:
    ZALVelmartDownloadDataHandler* handler_;
    ZALCefHttpRequest request_{"GET", "https://velmart.example/item"};
};

// ---------------------------------------------------------------------------------------------
// The name in "content-disposition"

struct DispositionCase {
    const char* name;
    const char* value;
    const char* fileName; ///< null when the header gives none

    friend std::ostream& operator<<(std::ostream& stream, const DispositionCase& disposition)
    {
        return stream << disposition.name;
    }
};

class Disposition : public DataHandler, public ::testing::WithParamInterface<DispositionCase> {};

TEST_P(Disposition, NamesTheTemporaryFile)
{
    const std::string name = FileNameFor({{"content-type", Bytes}, {"content-disposition", GetParam().value}});
    EXPECT_EQ(GetParam().fileName ? GetParam().fileName : "VelmartDownloadedQ7Files", name);
}

INSTANTIATE_TEST_SUITE_P(
    Values, Disposition,
    ::testing::Values(DispositionCase{"Plain", "attachment; filename=part.zip", "part.zip"},
                      DispositionCase{"QuotedWithFurtherParameters", "attachment; filename=\"a.zip\"; size=3", "a.zip"},
                      DispositionCase{"BehindOtherParameters", "attachment; size=3; filename=a.zip", "a.zip"},
                      DispositionCase{"WithBlanksInside", "attachment; filename=\"a b.zip\"", "a b.zip"},
                      DispositionCase{"WithManyQuotes", "attachment; filename=\"\"a.zip\"\"", "a.zip"},
                      DispositionCase{"WithOneQuote", "attachment; filename=\"a.zip", "a.zip"},
                      DispositionCase{"BeyondAscii", "attachment; filename=\"écrou.zip\"", "écrou.zip"},
                      DispositionCase{"WithoutBlanks", "attachment;filename=a.zip", "a.zip"},
                      DispositionCase{"WithBlanksAround", "  attachment  ;   filename=a.zip   ", "a.zip"},
                      DispositionCase{"BeginningWithALetterOfNoMeaning", "attachment; filename=xa.zip", "xa.zip"},
                      DispositionCase{"InCapitals", "ATTACHMENT; filename=a.zip", "a.zip"},
                      DispositionCase{"FirstOfTwo", "attachment; filename=a.zip; filename=b.zip", "a.zip"},
                      DispositionCase{"BehindTheExtendedForm", "attachment; filename*=UTF-8''b.zip; filename=a.zip",
                                      "a.zip"},
                      DispositionCase{"CutAtASemicolonInQuotes", "attachment; filename=\"a;b.zip\"", "a"},
                      DispositionCase{"NotInCapitals", "attachment; FILENAME=a.zip", nullptr},
                      DispositionCase{"NotWithACapital", "attachment; Filename=a.zip", nullptr},
                      DispositionCase{"NotWhenInline", "inline; filename=a.zip", nullptr},
                      DispositionCase{"NotWithoutType", "filename=a.zip", nullptr},
                      DispositionCase{"NotFromTheExtendedForm", "attachment; filename*=UTF-8''a.zip", nullptr},
                      DispositionCase{"NotInsideAToken", "attachment; xfilename=a.zip", nullptr},
                      DispositionCase{"NotBehindAnotherWord", "attachment; x filename=a.zip", nullptr},
                      DispositionCase{"NotWithBlanksBeforeTheSign", "attachment; filename =a.zip", nullptr},
                      DispositionCase{"NotBehindABlankToken", "attachment; ; filename=a.zip", nullptr},
                      DispositionCase{"NotWhenEmpty", "attachment; filename=", nullptr},
                      DispositionCase{"NotWhenOnlyQuotes", "attachment; filename=\"\"", nullptr},
                      DispositionCase{"NotWithoutParameters", "attachment", nullptr},
                      DispositionCase{"NotForALongerWord", "xattachment; filename=a.zip", nullptr},
                      DispositionCase{"NotFromAnEmptyValue", "", nullptr},
                      DispositionCase{"NotFromSemicolons", ";;;", nullptr}));

// ---------------------------------------------------------------------------------------------
// The name by content type and state

struct NameCase {
    const char* name;
    HttpHeaders headers;
    const char* fileName;
    int code = 200;

    friend std::ostream& operator<<(std::ostream& stream, const NameCase& reply) { return stream << reply.name; }
};

class TemporaryName : public DataHandler, public ::testing::WithParamInterface<NameCase> {};

TEST_P(TemporaryName, FollowsFromTheReply)
{
    EXPECT_EQ(GetParam().fileName, FileNameFor(GetParam().headers, GetParam().code));
    EXPECT_THAT(TheOwner->Completed, ElementsAre(Temp().string() + "/" + GetParam().fileName));
}

constexpr const char* Type = "content-type";
constexpr const char* Name = "content-disposition";
constexpr const char* Named = "attachment; filename=part.zip";
constexpr const char* Json500 = "VelmartDownloadedQ7FilesError.json";
constexpr const char* Plain = "VelmartDownloadedQ7Files";
constexpr const char* Zip = "VelmartDownloadedQ7Files.zip";
const std::string Longest(255, 'a');

INSTANTIATE_TEST_SUITE_P(
    Replies, TemporaryName,
    ::testing::Values(
        NameCase{"WithoutHeaders", {}, Zip}, NameCase{"Zip", {{Type, "application/zip"}}, Zip},
        NameCase{"ZipWithDisposition", {{Type, "application/zip"}, {Name, Named}}, Zip},
        NameCase{"ZipRefused", {{Type, "application/zip"}}, Zip, 500},
        NameCase{"JsonThatEndedWell", {{Type, "application/json"}}, Zip},
        NameCase{"JsonRefused", {{Type, "application/json"}}, Json500, 500},
        NameCase{"JsonRefusedWithDisposition", {{Type, "application/json"}, {Name, Named}}, Json500, 404},
        NameCase{"JsonWithParameters", {{Type, "application/json; charset=utf-8"}}, Zip, 500},
        NameCase{"JsonInCapitals", {{Type, "application/JSON"}}, Zip, 500}, NameCase{"Bytes", {{Type, Bytes}}, Plain},
        NameCase{"BytesWithDisposition", {{Type, Bytes}, {Name, Named}}, "part.zip"},
        NameCase{"BytesRefused", {{Type, Bytes}, {Name, Named}}, "part.zip", 404},
        NameCase{"BytesWithParameters", {{Type, "application/octet-stream; x=1"}, {Name, Named}}, Zip},
        NameCase{"BytesInCapitals", {{Type, "Application/Octet-Stream"}, {Name, Named}}, Zip},
        NameCase{"EmptyType", {{Type, ""}}, Zip, 500},
        NameCase{"HeadersInAnyLetterCase", {{"CONTENT-TYPE", Bytes}, {"Content-Disposition", Named}}, "part.zip"},
        NameCase{"FirstDispositionOnly", {{Type, Bytes}, {Name, "inline"}, {Name, Named}}, Plain},
        NameCase{"NameOfTheFirstDisposition",
                 {{Type, Bytes}, {Name, Named}, {Name, "attachment; filename=b.zip"}},
                 "part.zip"},
        NameCase{"FirstTypeOnly", {{Type, "application/zip"}, {Type, Bytes}, {Name, Named}}, Zip},
        NameCase{"OtherHeaders", {{"content-types", Bytes}, {"x-content-disposition", Named}}, Zip},
        NameCase{"MaximumNameLength", {{Type, Bytes}, {Name, "attachment; filename=" + Longest}}, Longest.c_str()}));

TEST_F(DataHandler, ErrorNameNeedsAResponse)
{
    ZALCefHttpHeaderMap headers;
    headers.AddValue("content-type", "application/json");
    Handler().OnHeaders(nullptr, headers);
    Handler().OnData(nullptr, "x", 1);
    Script().End();
    EXPECT_THAT(FilesBelow(Temp()), ElementsAre("VelmartDownloadedQ7Files.zip"));
}

TEST_F(DataHandler, NameIsChosenAtTheFirstChunk)
{
    Script().Bytes("first ");
    Script().Head(200, FileNamed("a"));
    Script().Bytes("second");
    Script().End();
    EXPECT_THAT(FilesBelow(Temp()), ElementsAre("VelmartDownloadedQ7Files.zip"));
    EXPECT_EQ("first second", ReadFile(ZipFile()));
}

// ---------------------------------------------------------------------------------------------
// Names from a hostile server

class HostileName : public DataHandler, public ::testing::WithParamInterface<NamedText> {};

TEST_P(HostileName, WritesNothingOutsideTheTemporaryFolder)
{
    WriteBytes(Folder() / "victim", "untouched");
    FileNameFor(FileNamed(GetParam().text));
    EXPECT_THAT(FilesBelow(Folder()), ElementsAre("victim"));
    EXPECT_EQ("untouched", ReadFile(Folder() / "victim"));
    EXPECT_EQ(1U, TheOwner->Completed.size());
}

INSTANTIATE_TEST_SUITE_P(
    Names, HostileName,
    ::testing::Values(NamedText{"Parent", ".."}, NamedText{"Folder", "."}, NamedText{"BesideTheFolder", "../victim"},
                      NamedText{"BesideTheFolderWithBackslash", "..\\victim"},
                      NamedText{"OverAnotherFolder", "a/../../victim"},
                      NamedText{"OverAnotherFolderWithBackslash", "a\\..\\..\\victim"},
                      NamedText{"Absolute", "/etc/victim"}, NamedText{"OfAnotherMachine", "\\\\elsewhere\\victim"},
                      NamedText{"InAMissingFolder", "missing/evil.zip"},
                      NamedText{"InAMissingFolderWithBackslash", "missing\\evil.zip"},
                      NamedText{"WithAZeroInside", std::string("evil.zip\0/../victim", 19)},
                      NamedText{"ZeroAlone", std::string("\0", 1)}, NamedText{"VeryLong", std::string(5000, 'a')}));

TEST_F(DataHandler, NameWithASeparatorStaysBelowTheTemporaryFolder)
{
    create_directory(Temp() / "sub");
    EXPECT_EQ("sub/a.zip", FileNameFor(FileNamed("sub\\a.zip")));
}

TEST_F(DataHandler, NameOfAFolderLeavesTheFolder)
{
    create_directory(Temp() / "taken");
    FileNameFor(FileNamed("taken"));
    EXPECT_TRUE(is_directory(Temp() / "taken"));
    EXPECT_THAT(TheOwner->Completed, ElementsAre((Temp() / "taken").string()));
}

// ---------------------------------------------------------------------------------------------
// Data

TEST_F(DataHandler, BufferIsWrittenWholeOnceItIsFull)
{
    const std::string body = std::string(BufferSize - 1, 'b') + "cdef" + std::string(BufferSize, 'g');
    const std::vector<std::pair<std::size_t, std::uintmax_t>> chunks = {{BufferSize - 1, 0}, // one byte less waits
                                                                        {2, BufferSize + 1}, // one byte more
                                                                        {2, BufferSize + 1}, // waits for the end
                                                                        {BufferSize, 2 * BufferSize + 3}}; // passes it
    std::size_t given = 0;
    Script().Head(200);
    for (const auto& [size, onDisk] : chunks) {
        Script().Bytes(std::string_view(body).substr(given, size));
        given += size;
        EXPECT_EQ(onDisk, file_size(ZipFile())) << given;
    }
    Script().End();
    EXPECT_TRUE(body == ReadFile(ZipFile()));
}

TEST_F(DataHandler, BodyOfOneBufferIsWrittenAtOnce)
{
    Script().Head(200);
    Script().Bytes(std::string(BufferSize, 'b'));
    EXPECT_EQ(BufferSize, file_size(ZipFile()));
    Script().End();
    EXPECT_TRUE(std::string(BufferSize, 'b') == ReadFile(ZipFile()));
}

TEST_F(DataHandler, ChunksOfAllSizesKeepTheirOrder)
{
    std::string body;
    Script().Head(200);
    for (std::size_t size : {std::size_t{1}, 3 * BufferSize, std::size_t{17}, BufferSize, BufferSize / 2,
                             BufferSize / 2, std::size_t{2}}) {
        const std::string chunk(size, static_cast<char>('a' + body.size() % 26));
        body += chunk;
        Script().Bytes(chunk);
    }
    Script().End();
    EXPECT_TRUE(ReadFile(ZipFile()) == body);
}

TEST_F(DataHandler, NoBytesOpenNoFile)
{
    Handler().OnData(nullptr, "x", 0);
    Handler().OnData(nullptr, nullptr, 1);
    EXPECT_THAT(FilesBelow(Temp()), IsEmpty());
}

TEST_F(DataHandler, ExistingFileIsReplacedByTheBytesAsTheyAre)
{
    const std::string body("\0a\0\xFF\n\r", 6);
    WriteBytes(ZipFile(), "a longer text from the download before");
    Script().Bytes(body);
    Script().End();
    EXPECT_EQ(body, ReadFile(ZipFile()));
}

TEST_F(DataHandler, ExistingFileStaysWhenNoDataComes)
{
    WriteBytes(ZipFile(), "before");
    Script().Head(200);
    Script().End();
    EXPECT_EQ("before", ReadFile(ZipFile()));
    EXPECT_THAT(TheOwner->Completed, ElementsAre(""));
}

TEST_F(DataHandler, BytesWithoutAFileStayInMemoryBeyondTheBuffer)
{
    remove(Temp());
    Script().Bytes(std::string(BufferSize, 'a'));
    Script().Bytes(std::string(BufferSize, 'b'));
    create_directory(Temp());
    Script().Bytes("c");
    EXPECT_EQ(2 * BufferSize + 1, file_size(ZipFile()));
    Script().End();
    EXPECT_TRUE(ReadFile(ZipFile()) == std::string(BufferSize, 'a') + std::string(BufferSize, 'b') + "c");
}

TEST_F(DataHandler, PathIsPassedOnThoughItsFileWasNeverOpened)
{
    remove(Temp());
    Script().Bytes("lost");
    Script().End();
    EXPECT_THAT(TheOwner->Completed, ElementsAre(ZipFile().string()));
    EXPECT_FALSE(exists(Temp()));
}

TEST_F(DataHandler, BufferIsReservedOnceAndKeptAcrossWrites)
{
    const std::string half(BufferSize / 2, 'b');
    Script().Bytes("b");
    for (int time = 0; time < 3; ++time) {
        EXPECT_EQ(0, WithEachAllocationFailing([&](FailingMemory& memory) {
                      memory.During([&] { Handler().OnData(nullptr, half.data(), half.size() - 1); });
                      Handler().OnData(nullptr, half.data(), half.size()); // the buffer is full, and written
                      memory.During([&] { Handler().OnData(nullptr, "b", 1); });
                  }));
    }
}

// ---------------------------------------------------------------------------------------------
// Scarce memory

/// Owns no memory of its own while it is called.
class QuietOwner : public ZALBaseUnknown {
public:
    void OnComplete(const ZALUnicodeString& path)
    {
        ++Calls;
        HasPath = path.GetLengthInChar() > 0;
    }
    int Calls = 0;
    bool HasPath = false;
};

class ScarceData : public HostFixture {
protected:
    /// A new handler, whose file does not stand there yet.
    ZALInterfaceHandle<ZALVelmartDownloadDataHandler> NewHandler()
    {
        std::filesystem::remove(ZipFile());
        TheOwner.Calls = 0;
        return ZALInterfaceHandle<ZALVelmartDownloadDataHandler>::Take(new ZALVelmartDownloadDataHandler(
            &TheOwner, static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(&QuietOwner::OnComplete)));
    }
    std::filesystem::path ZipFile() const { return Temp() / "VelmartDownloadedQ7Files.zip"; }

    QuietOwner TheOwner;
    int gaps_ = 0;
};

TEST_F(ScarceData, NothingIsLostFromTheMiddleOfAFile)
{
    const std::vector<std::string> chunks{"first ", std::string(3 * BufferSize, 'b'), "third ",
                                          std::string(5 * BufferSize, 'd'), "last"};
    std::string whole;
    for (const std::string& chunk : chunks)
        whole += chunk;
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const auto handler = NewHandler();
        for (const std::string& chunk : chunks)
            memory.During([&] { handler->OnData(nullptr, chunk.data(), chunk.size()); });
        memory.During([&] { handler->OnComplete(nullptr); });
        EXPECT_EQ(1, TheOwner.Calls);
        EXPECT_TRUE(TheOwner.HasPath);
        EXPECT_TRUE(ReadFile(ZipFile()) == whole);
    });
    EXPECT_GT(failures, 3);
}

TEST_F(ScarceData, FileWithAGapIsNeitherWrittenOnNorPassedOn)
{
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const auto handler = NewHandler();
        SetPathVariable(TemporaryFolderVariable, Folder() / "missing");
        handler->OnData(nullptr, "first ", 6);
        const std::string second(2 * BufferSize, 'b');
        memory.During([&] { handler->OnData(nullptr, second.data(), second.size()); });
        SetPathVariable(TemporaryFolderVariable, Temp());
        handler->OnData(nullptr, "third", 5);
        handler->OnComplete(nullptr);
        EXPECT_EQ(1, TheOwner.Calls);
        EXPECT_EQ(TheOwner.HasPath, exists(ZipFile()));
        if (TheOwner.HasPath) {
            EXPECT_TRUE(ReadFile(ZipFile()) == "first " + second + "third");
        }
        gaps_ += TheOwner.HasPath ? 0 : 1;
    });
    EXPECT_GT(failures, 0);
    EXPECT_EQ(1, gaps_) << "without the second chunk alone";
}

TEST_F(ScarceData, HeadersThatCannotBeReadLeaveTheFileItsFirstName)
{
    ZALCefHttpHeaderMap headers;
    headers.AddValue("content-type", "application/octet-stream");
    headers.AddValue("content-disposition", "attachment; filename=\"a longer name.zip\"");
    const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
        const auto handler = NewHandler();
        std::filesystem::remove(Temp() / "a longer name.zip");
        memory.During([&] { handler->OnHeaders(nullptr, headers); });
        handler->OnData(nullptr, "whole", 5);
        handler->OnComplete(nullptr);
        EXPECT_THAT(FilesBelow(Temp()),
                    ElementsAre(memory.HasRunOut() ? "VelmartDownloadedQ7Files.zip" : "a longer name.zip"));
    });
    EXPECT_GT(failures, 0);
}

TEST_F(DataHandler, OwnersThatFailForMemoryReachNobody)
{
    WithEachAllocationFailing([&](FailingMemory& memory) {
        TheOwner->Percents = {};
        TheOwner->Completed = {};
        auto* handler = new ZALVelmartDownloadDataHandler(TheOwner, CompleteMethod);
        handler->SetProgressCallback(ProgressMethod);
        memory.During([&] { handler->OnProgress(nullptr, 50, 100); });
        memory.During([&] { handler->OnComplete(nullptr); });
        handler->Release();
        EXPECT_EQ(1U, ReferencesOf(TheOwner));
    });
}

// ---------------------------------------------------------------------------------------------
// Progress

struct ProgressCase {
    const char* name;
    std::vector<std::pair<std::uint64_t, std::uint64_t>> steps; ///< current and total
    std::vector<int> reported;

    friend std::ostream& operator<<(std::ostream& stream, const ProgressCase& progress)
    {
        return stream << progress.name;
    }
};

class Progress : public DataHandler, public ::testing::WithParamInterface<ProgressCase> {};

TEST_P(Progress, IsReportedInStepsOfMoreThanTen)
{
    for (const auto& [current, total] : GetParam().steps)
        Script().Progress(current, total);
    EXPECT_EQ(GetParam().reported, TheOwner->Percents);
}

constexpr std::uint64_t Largest = std::numeric_limits<std::uint64_t>::max();

INSTANTIATE_TEST_SUITE_P(
    Transfers, Progress,
    ::testing::Values(ProgressCase{"WithoutTotal", {{0, 0}, {50, 0}, {Largest, 0}}, {}},
                      ProgressCase{"Five", {{5, 100}}, {}}, ProgressCase{"Ten", {{10, 100}}, {}},
                      ProgressCase{"TenAndAFraction", {{109, 1000}}, {}}, ProgressCase{"Eleven", {{11, 100}}, {11}},
                      ProgressCase{"FractionsAreCutOff", {{119, 1000}, {219, 1000}, {220, 1000}}, {11, 22}},
                      ProgressCase{"AlmostAll", {{999, 1000}}, {99}},
                      ProgressCase{"ElevenThenTwentyOneThenTwentyTwo", {{11, 100}, {21, 100}, {22, 100}}, {11, 22}},
                      ProgressCase{"HundredTooNearToNinetyFive", {{95, 100}, {100, 100}}, {95}},
                      ProgressCase{"AllAtOnce", {{100, 100}}, {100}},
                      ProgressCase{"TheSameTwice", {{50, 100}, {50, 100}}, {50}},
                      ProgressCase{"Backwards", {{50, 100}, {20, 100}, {55, 100}, {61, 100}}, {50, 61}},
                      ProgressCase{"BeyondTheTotal", {{250, 100}}, {250}},
                      ProgressCase{"TotalThatIsTakenBack", {{50, 100}, {60, 0}, {61, 100}}, {50, 61}},
                      ProgressCase{"LargestNumbers", {{Largest, Largest}}, {100}},
                      ProgressCase{"OverflowingPercentage",
                                   {{Largest, 1}, {Largest, 1}, {1, 1}},
                                   {std::numeric_limits<int>::max()}}));

TEST_F(DataHandler, ProgressCountsThoughNobodyIsCalled)
{
    Handler().SetProgressCallback(nullptr);
    Script().Progress(50, 100);
    Handler().SetProgressCallback(ProgressMethod);
    Script().Progress(55, 100);
    EXPECT_THAT(TheOwner->Percents, IsEmpty());
    Script().Progress(61, 100);
    EXPECT_THAT(TheOwner->Percents, ElementsAre(61));
}

TEST_F(DataHandler, CallsLeaveNoReferenceOnTheOwner)
{
    Script().Progress(50, 100);
    EXPECT_EQ(1U, ReferencesOf(TheOwner));
    Script().End();
    EXPECT_EQ(1U, ReferencesOf(TheOwner));
    EXPECT_EQ(2U, TheOwner->Percents.size() + TheOwner->Completed.size());
}

// ---------------------------------------------------------------------------------------------
// The end

TEST_F(DataHandler, FileIsClosedBeforeTheOwnerIsCalled)
{
    class Reader : public ZALBaseUnknown {
    public:
        void OnComplete(const ZALUnicodeString& path)
        {
            Content = ReadFile(ToUtf8(path));
            for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
                std::error_code gone;
                IsOpen = IsOpen || read_symlink(descriptor.path(), gone) == ToUtf8(path);
            }
        }
        std::string Content;
        bool IsOpen = false;
    };
    Reader reader;
    auto* handler = new ZALVelmartDownloadDataHandler(
        &reader, static_cast<ZALVelmartDownloadDataHandler::CompleteMethod>(&Reader::OnComplete));
    handler->OnData(nullptr, "whole", 5);
    handler->OnComplete(nullptr);
    handler->Release();

    EXPECT_EQ("whole", reader.Content);
    EXPECT_FALSE(reader.IsOpen);
}

TEST_F(DataHandler, EndLeavesNoFileOpen)
{
    Handler().OnData(nullptr, "first", 5);
    Handler().OnComplete(nullptr);
    Handler().OnData(nullptr, "next", 4); // opens the file anew
    Handler().OnComplete(nullptr);
    EXPECT_EQ("next", ReadFile(ZipFile()));
}

TEST_F(DataHandler, FailedTransferKeepsWhatHasArrived)
{
    Script().Bytes("half");
    Script().End(TransferEnd::Failed);
    EXPECT_EQ("half", ReadFile(ZipFile()));
    EXPECT_EQ(1U, TheOwner->Completed.size());
}

TEST_F(DataHandler, FileIsFinishedThoughTheOwnerIsGone)
{
    Script().Bytes("first ");
    const ZALBaseUnknown_WR reference(TheOwner);
    EndOwner();
    EXPECT_EQ(nullptr, reference.GetComponent()) << "it is not kept alive";
    Script().Bytes("second");
    Script().Progress(50, 100);
    Script().End();
    EXPECT_EQ("first second", ReadFile(ZipFile()));
}

TEST_F(DataHandler, WithoutOwnerOrCallbackOnlyTheFileIsFinished)
{
    for (const bool isOwned : {false, true}) {
        WriteBytes(ZipFile(), "before");
        auto* handler =
            new ZALVelmartDownloadDataHandler(isOwned ? TheOwner : nullptr, isOwned ? nullptr : CompleteMethod);
        handler->SetProgressCallback(isOwned ? nullptr : ProgressMethod);
        handler->OnProgress(nullptr, 50, 100);
        handler->OnData(nullptr, "x", 1);
        handler->OnComplete(nullptr);
        handler->Release();
        EXPECT_EQ("x", ReadFile(ZipFile())) << isOwned;
    }
    EXPECT_THAT(TheOwner->Completed, IsEmpty());
}

} // namespace
} // namespace openhost::testing
