// From a message of the page to files in the user's folder.

#include "openhost/documents/CadDocument.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "tests/journeys/JourneyFixture.h"
#include "tests/support/Places.h"

#include <TopoDS_Shape.hxx>
#include <gmock/gmock.h>

using namespace openhost;
using namespace openhost::testing;
using Notification = ZALVelmartFileDownloadCompleteNotification;
using ::testing::Contains;
using ::testing::IsEmpty;
using ::testing::Not;

class DownloadJourney : public JourneyFixture {
protected:
    static std::string NameOf(const std::string& path) { return std::filesystem::path(path).filename(); }
};

TEST_F(DownloadJourney, AnAssemblyStandsInTheUsersFolderWithItsRootFirst)
{
    const auto completion = Download(RequestOf("bearing-unit-20"));
    ASSERT_TRUE(completion);
    EXPECT_EQ(completion->status, Notification::DownloadSucceeded);
    EXPECT_EQ(completion->docEnvId, "File");

    ASSERT_FALSE(completion->files.empty());
    const std::string root = NameOf(completion->files.front());
    EXPECT_EQ(std::filesystem::path(root).extension(), ".ZALProduct");
    for (const std::string& file : completion->files) {
        EXPECT_TRUE(std::filesystem::is_regular_file(file)) << file;
        EXPECT_THAT(ReadDocument(file).links, Not(Contains(root))) << file << " refers to the root";
    }
    EXPECT_EQ(completion->files.size(), FilesInParts().size());
    EXPECT_THAT(Surface().Questions(), IsEmpty()) << "a plain download ends in silence";
}

TEST_F(DownloadJourney, EveryItemOfTheCatalogueComes)
{
    const nlohmann::json index = nlohmann::json::parse(ReadFile(ItemsDir() + "/index.json"));
    ASSERT_GE(index.size(), 20u);
    for (const nlohmann::json& item : index) {
        SCOPED_TRACE(item["id"]);
        std::filesystem::remove_all(Parts());
        std::filesystem::create_directory(Parts());
        const auto completion = Download(RequestOf(item["id"]));
        ASSERT_TRUE(completion);
        EXPECT_EQ(completion->status, Notification::DownloadSucceeded);
        ASSERT_FALSE(completion->files.empty());
        EXPECT_EQ(NameOf(completion->files.front()), item["root"]);
    }
}

TEST_F(DownloadJourney, EveryDocumentThatTheAssemblyRefersToHasCome)
{
    const auto completion = Download(RequestOf("bearing-unit-20"));
    ASSERT_TRUE(completion);
    const std::vector<std::string> names = FilesInParts();
    std::size_t links = 0;
    for (const std::string& file : completion->files)
        for (const std::string& link : ReadDocument(file).links) {
            EXPECT_THAT(names, Contains(link)) << "needed by " << file;
            ++links;
        }
    EXPECT_GE(links, 5u);
}

TEST_F(DownloadJourney, TheGeometryOfEveryPartIsWhole)
{
    const auto completion = Download(RequestOf("bearing-unit-20"));
    ASSERT_TRUE(completion);
    int parts = 0;
    for (const std::string& file : completion->files) {
        const CadDocument document = ReadDocument(file);
        if (document.kind != DocumentKind::Part)
            continue;
        ++parts;
        ASSERT_TRUE(document.geometry) << file;
        const GeometryFacts facts = MeasureShape(DecodeShape(*document.geometry));
        EXPECT_GE(facts.solids, 1u) << file;
        EXPECT_GT(facts.volume, 0) << file;
        EXPECT_NEAR(facts.volume, document.geometry->facts.volume, 1e-6 * facts.volume) << file;
    }
    EXPECT_GE(parts, 4);
}

TEST_F(DownloadJourney, SideFilesStayOut)
{
    ASSERT_TRUE(Download(RequestOf("bearing-unit-20")));
    for (const std::string& file : FilesInParts()) {
        EXPECT_NE(file, "kr_metadata.csv");
        EXPECT_NE(std::filesystem::path(file).extension(), ".txt");
    }
}

TEST_F(DownloadJourney, TheTemporaryArchiveStaysUnderItsName)
{
    ASSERT_TRUE(Download(RequestOf("bearing-unit-20")));
    EXPECT_EQ(ReadFile(Temp() / "VelmartDownloadedQ7Files.zip"),
              ReadFile(std::filesystem::path(ItemsDir()) / "files" / "bearing-unit-20.zip"));
}

TEST_F(DownloadJourney, ARefusedOverwriteWritesNothing)
{
    ASSERT_TRUE(Download(RequestOf("bolted-joint-m8")));
    const std::vector<std::string> files = FilesInParts();
    for (const std::string& file : files)
        std::filesystem::resize_file(Parts() / file, 1);

    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);
    const std::size_t before = Listener().Completions().size();
    EXPECT_EQ(Send("velmart_download", RequestOf("bolted-joint-m8")), S_OK);
    RunUntilIdle();

    EXPECT_EQ(Listener().Completions().size(), before);
    EXPECT_NE(Surface().Find("ZALVelmartDownloadLocationDlg"), nullptr) << "the folder is asked for anew";
    for (const std::string& file : files)
        EXPECT_EQ(std::filesystem::file_size(Parts() / file), 1u) << file;
    ASSERT_EQ(Surface().Questions().size(), 1u);
    EXPECT_NE(Surface().Questions()[0].text.find(files.front()), std::string::npos);
}

TEST_F(DownloadJourney, AnAcceptedOverwriteReplacesTheFiles)
{
    ASSERT_TRUE(Download(RequestOf("bolted-joint-m8")));
    const std::vector<std::string> files = FilesInParts();
    for (const std::string& file : files)
        std::filesystem::resize_file(Parts() / file, 1);

    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    const auto completion = Download(RequestOf("bolted-joint-m8"));
    ASSERT_TRUE(completion);
    EXPECT_EQ(completion->status, Notification::DownloadSucceeded);
    for (const std::string& file : files)
        EXPECT_NO_THROW(ReadDocument(Parts() / file)) << file;
}

TEST_F(DownloadJourney, AnItemInSourceNeedsNoTransfer)
{
    nlohmann::json item;
    for (const auto& entry : std::filesystem::directory_iterator(std::filesystem::path(ItemsDir()) / "items")) {
        const nlohmann::json request = RequestOf(entry.path().stem());
        if (request["attributes"].value("/catalog/configOpeningBehaviour"_json_pointer, "") == "openInSource")
            item = request;
    }
    ASSERT_FALSE(item.is_null()) << "the catalogue has such an item";
    StopCatalogue();

    const auto completion = Download(item);
    ASSERT_TRUE(completion);
    EXPECT_EQ(completion->status, Notification::DownloadSucceeded);
    ASSERT_EQ(completion->files.size(), 1u);
    EXPECT_NO_THROW(ReadDocument(completion->files[0]));
}

TEST_F(DownloadJourney, AnArchiveOfManyProductsHasItsRootFirst)
{
    const auto completion = Download(RequestFor(Base() + "/archive?entries=600&products=60"));
    ASSERT_TRUE(completion);
    EXPECT_EQ(completion->status, Notification::DownloadSucceeded);
    ASSERT_EQ(completion->files.size(), 600u);
    const std::string root = NameOf(completion->files.front());
    EXPECT_EQ(std::filesystem::path(root).extension(), ".ZALProduct");
    for (const std::string& file : completion->files) {
        if (std::filesystem::path(file).extension() == ".ZALProduct") {
            EXPECT_THAT(ReadDocument(file).links, Not(Contains(root))) << file;
        }
    }
}

TEST_F(DownloadJourney, ClosingTheProgressWindowCancelsASlowTransfer)
{
    const std::string slow = Base() + "/files/bearing-unit-20.zip?slow=2000";
    ASSERT_EQ(Send("velmart_download", RequestFor(slow)), S_OK);
    RunUntil([this] { return std::filesystem::exists(Temp() / "VelmartDownloadedQ7Files.zip"); });

    EXPECT_EQ(Surface().Push("ZALVelmartDownloadProgressDlg", "CLOSE"), PushResult::Done);
    EXPECT_EQ(Surface().Push("ZALVelmartDownloadProgressDlg", "CLOSE"), PushResult::Insensitive);
    RunUntilIdle();

    ASSERT_EQ(Listener().Completions().size(), 1u);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadCanceled);
    EXPECT_THAT(FilesInParts(), IsEmpty());
    ASSERT_EQ(Surface().Questions().size(), 1u);
    EXPECT_EQ(Surface().Questions()[0].name, "FileDownloadErrorNotify");
    EXPECT_EQ(Surface().Find("ZALVelmartDownloadProgressDlg"), nullptr);
}

TEST_F(DownloadJourney, ASecondDownloadMeanwhileFailsAndTheFirstGoesOn)
{
    ASSERT_EQ(Send("velmart_download", RequestFor(Base() + "/files/bolted-joint-m8.zip?piece=4096&pause=20")), S_OK);
    EXPECT_EQ(Send("velmart_download", RequestOf("bearing-unit-20")), E_FAIL);
    RunUntilIdle();
    ASSERT_EQ(Listener().Completions().size(), 1u);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadSucceeded);
    EXPECT_THAT(FilesInParts(), Not(IsEmpty()));
}

// ---------------------------------------------------------------------------------------------
// Every kind of reply

namespace {

struct ReplyCase {
    const char* name;
    const char* path;
    Notification::Status status;
    const char* temporaryFile; ///< null: none
};

std::ostream& operator<<(std::ostream& output, const ReplyCase& reply)
{
    return output << reply.path;
}

constexpr const char* Zip = "VelmartDownloadedQ7Files.zip";
constexpr const char* Plain = "VelmartDownloadedQ7Files";
constexpr const char* Error = "VelmartDownloadedQ7FilesError.json";
constexpr auto Succeeded = Notification::DownloadSucceeded;
constexpr auto Failed = Notification::DownloadFailed;

const ReplyCase ReplyCases[] = {
    {"PlainArchive", "/files/bolted-joint-m8.zip", Succeeded, Zip},
    {"Chunked", "/files/bolted-joint-m8.zip?chunked=1", Succeeded, Zip},
    {"WithoutLength", "/files/bolted-joint-m8.zip?length=none", Succeeded, Zip},
    {"Redirected", "/files/bolted-joint-m8.zip?redirect=3", Succeeded, Zip},
    {"RedirectedTooOften", "/files/bolted-joint-m8.zip?redirect=40", Failed, nullptr},
    {"RedirectedToAnotherScheme", "/files/bolted-joint-m8.zip?redirect=ftp://127.0.0.1/a.zip", Failed, nullptr},
    {"CutShort", "/files/bolted-joint-m8.zip?cut=1000", Failed, Zip},
    {"CutWithoutLength", "/files/bolted-joint-m8.zip?cut=1000&length=none", Failed, Zip},
    {"EmptyBody", "/files/bolted-joint-m8.zip?empty=1", Failed, nullptr},
    {"NotFoundWithJson", "/files/bolted-joint-m8.zip?code=404&body=json", Failed, Error},
    {"ServerErrorWithText", "/files/bolted-joint-m8.zip?code=500", Failed, Zip},
    {"JsonWithAGoodCode", "/files/bolted-joint-m8.zip?body=json", Failed, Zip},
    {"JsonTypeWithParameters", "/files/bolted-joint-m8.zip?code=404&body=json&type=application/json;%20charset=utf-8",
     Failed, Zip},
    {"WrongTypeIsLookedAtAsAnArchive", "/files/bolted-joint-m8.zip?type=text/html", Succeeded, Zip},
    {"OctetStreamWithName", "/files/bolted-joint-m8.zip?type=application/octet-stream&disposition=attachment",
     Succeeded, "bolted-joint-m8.zip"},
    {"OctetStreamUnquoted", "/files/bolted-joint-m8.zip?type=application/octet-stream&disposition=unquoted", Succeeded,
     "bolted-joint-m8.zip"},
    {"OctetStreamNameBehindAnotherParameter",
     "/files/bolted-joint-m8.zip?type=application/octet-stream&disposition=late", Succeeded, "bolted-joint-m8.zip"},
    {"OctetStreamInline", "/files/bolted-joint-m8.zip?type=application/octet-stream&disposition=inline", Succeeded,
     Plain},
    {"OctetStreamExtendedName", "/files/bolted-joint-m8.zip?type=application/octet-stream&disposition=extended",
     Succeeded, Plain},
    {"OctetStreamWithoutName", "/files/bolted-joint-m8.zip?type=application/octet-stream&disposition=none", Succeeded,
     Plain},
    {"NameThatLeavesTheFolder",
     "/files/bolted-joint-m8.zip?type=application/octet-stream&disposition=attachment&filename=../up.zip", Failed,
     nullptr},
    {"NoSuchFile", "/files/none.zip", Failed, Error},
};

} // namespace

class ReplyJourney : public DownloadJourney, public ::testing::WithParamInterface<ReplyCase> {};

TEST_P(ReplyJourney, EndsAsItMust)
{
    const ReplyCase& reply = GetParam();
    const auto completion = Download(RequestFor(Base() + reply.path));
    ASSERT_TRUE(completion);
    EXPECT_EQ(completion->status, reply.status);

    std::vector<std::string> temporary;
    for (const auto& entry : std::filesystem::directory_iterator(Temp()))
        temporary.push_back(entry.path().filename());
    EXPECT_EQ(temporary,
              reply.temporaryFile ? std::vector<std::string>{reply.temporaryFile} : std::vector<std::string>{});

    if (reply.status == Succeeded) {
        EXPECT_EQ(FilesInParts().size(), completion->files.size());
        EXPECT_THAT(Surface().Questions(), IsEmpty());
    } else {
        EXPECT_THAT(FilesInParts(), IsEmpty());
        ASSERT_EQ(Surface().Questions().size(), 1u);
        EXPECT_EQ(Surface().Questions()[0].name, "FileDownloadErrorNotify");
    }
    EXPECT_FALSE(std::filesystem::exists(Folder() / "up.zip"));
}

INSTANTIATE_TEST_SUITE_P(Replies, ReplyJourney, ::testing::ValuesIn(ReplyCases),
                         [](const auto& reply) { return std::string(reply.param.name); });

TEST_F(DownloadJourney, ACatalogueThatIsDownIsToldToTheUser)
{
    const nlohmann::json request = RequestOf("bearing-unit-20");
    StopCatalogue();
    const auto completion = Download(request);
    ASSERT_TRUE(completion);
    EXPECT_EQ(completion->status, Notification::DownloadFailed);
    ASSERT_EQ(Surface().Questions().size(), 1u);
    EXPECT_EQ(Surface().Questions()[0].style, 16384u);
}
