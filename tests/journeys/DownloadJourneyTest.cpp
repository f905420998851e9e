// From a message of the page to files in the user's folder.

#include "openhost/documents/CadDocument.h"
#include "openhost/geometry/ShapeGeometry.h"
#include "tests/journeys/JourneyFixture.h"
#include "tests/support/Places.h"
#include "tests/support/WriteItems.h"

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
    const auto completion = Fetch(RequestOf("bearing-unit-20"));
    EXPECT_EQ("File", completion.docEnvId);

    const std::string root = NameOf(completion.files.front());
    EXPECT_EQ(".ZALProduct", std::filesystem::path(root).extension());
    for (const std::string& file : completion.files) {
        EXPECT_TRUE(std::filesystem::is_regular_file(file)) << file;
        EXPECT_THAT(ReadDocument(file).links, Not(Contains(root))) << file << " refers to the root";
    }
    EXPECT_EQ(completion.files.size(), FilesInParts().size());
    for (const std::string& file : FilesInParts()) {
        EXPECT_NE("kr_metadata.csv", file) << "side files stay out";
        EXPECT_NE(".txt", std::filesystem::path(file).extension()) << "side files stay out";
    }
    EXPECT_THAT(Surface().Questions(), IsEmpty()) << "a plain download ends in silence";
    EXPECT_EQ(ReadFile(std::filesystem::path(ItemsDir()) / "files" / "bearing-unit-20.zip"),
              ReadFile(Temp() / "VelmartDownloadedQ7Files.zip"));
}

TEST_F(DownloadJourney, EveryItemOfTheCatalogueComes)
{
    const std::vector<nlohmann::ordered_json> items = catalogue::testing::ReadItems(ItemsDir());
    ASSERT_GE(items.size(), 20U);
    for (const nlohmann::ordered_json& item : items) {
        SCOPED_TRACE(item["id"]);
        std::filesystem::remove_all(Parts());
        std::filesystem::create_directory(Parts());
        const auto completion = Fetch(RequestOf(item["id"]));
        EXPECT_EQ(item["root"], NameOf(completion.files.front()));
    }
}

TEST_F(DownloadJourney, EveryDocumentThatTheAssemblyRefersToHasCome)
{
    const auto completion = Download(RequestOf("bearing-unit-20"));
    const std::vector<std::string> names = FilesInParts();
    std::size_t links = 0;
    for (const std::string& file : completion.files)
        for (const std::string& link : ReadDocument(file).links) {
            EXPECT_THAT(names, Contains(link)) << "needed by " << file;
            ++links;
        }
    EXPECT_GE(links, 5U);
}

TEST_F(DownloadJourney, TheGeometryOfEveryPartIsWhole)
{
    const auto completion = Download(RequestOf("bearing-unit-20"));
    int parts = 0;
    for (const std::string& file : completion.files) {
        const CadDocument document = ReadDocument(file);
        if (document.kind != DocumentKind::Part)
            continue;
        ++parts;
        ASSERT_TRUE(document.geometry) << file;
        const GeometryFacts facts = MeasureShape(DecodeShape(*document.geometry));
        EXPECT_GE(facts.solids, 1U) << file;
        EXPECT_GT(facts.volume, 0) << file;
        EXPECT_NEAR(facts.volume, document.geometry->facts->volume, 1e-6 * facts.volume) << file;
    }
    EXPECT_GE(parts, 4);
}

TEST_F(DownloadJourney, FilesAreOverwrittenUnlessTheUserRefuses)
{
    Fetch(RequestOf("bolted-joint-m8"));
    const std::vector<std::string> files = FilesInParts();
    for (const std::string& file : files)
        std::filesystem::resize_file(Parts() / file, 1);

    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);
    EXPECT_EQ(S_OK, Send("velmart_download", RequestOf("bolted-joint-m8")));
    RunUntilIdle();
    EXPECT_EQ(1U, Listener().Completions().size());
    EXPECT_NE(nullptr, Surface().Find("ZALVelmartDownloadLocationDlg")) << "the folder is asked for anew";
    for (const std::string& file : files)
        EXPECT_EQ(1U, std::filesystem::file_size(Parts() / file)) << file;
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_NE(std::string::npos, Surface().Questions()[0].text.find(files.front()));

    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    Fetch(RequestOf("bolted-joint-m8"));
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
    const auto completion = Fetch(item);
    ASSERT_EQ(1U, completion.files.size());
    EXPECT_NO_THROW(ReadDocument(completion.files[0]));
}

TEST_F(DownloadJourney, AnArchiveOfManyProductsHasItsRootFirst)
{
    const auto completion = Fetch(RequestFor(Base() + "/archive?entries=600&products=60"));
    ASSERT_EQ(600U, completion.files.size());
    const std::string root = NameOf(completion.files.front());
    EXPECT_EQ(".ZALProduct", std::filesystem::path(root).extension());
    for (const std::string& file : completion.files) {
        if (std::filesystem::path(file).extension() == ".ZALProduct") {
            EXPECT_THAT(ReadDocument(file).links, Not(Contains(root))) << file;
        }
    }
}

// ---------------------------------------------------------------------------------------------
// Every kind of reply

namespace {

struct ReplyCase {
    const char* name;
    const char* query; ///< of the address
    Notification::Status status;
    const char* temporaryFile; ///< null: none
};

std::ostream& operator<<(std::ostream& output, const ReplyCase& reply)
{
    return output << reply.query;
}

constexpr const char* Zip = "VelmartDownloadedQ7Files.zip";
constexpr const char* Error = "VelmartDownloadedQ7FilesError.json";
constexpr auto Succeeded = Notification::DownloadSucceeded;
constexpr auto Failed = Notification::DownloadFailed;

const ReplyCase ReplyCases[] = {
    {"PlainArchive", "", Succeeded, Zip},
    {"Chunked", "chunked=1", Succeeded, Zip},
    {"WithoutLength", "length=none", Succeeded, Zip},
    {"Redirected", "redirect=3", Succeeded, Zip},
    {"RedirectedTooOften", "redirect=40", Failed, nullptr},
    {"RedirectedToAnotherScheme", "redirect=ftp://127.0.0.1/a.zip", Failed, nullptr},
    {"CutShort", "cut=1000", Failed, Zip},
    {"CutWithoutLength", "cut=1000&length=none", Failed, Zip},
    {"EmptyBody", "empty=1", Failed, nullptr},
    {"NotFoundWithJson", "code=404&body=json", Failed, Error},
    {"ServerErrorWithText", "code=500", Failed, Zip},
    {"JsonWithAGoodCode", "body=json", Failed, Zip},
    {"WrongTypeIsLookedAtAsAnArchive", "type=text/html", Succeeded, Zip},
    {"OctetStreamWithName", "type=application/octet-stream&disposition=attachment", Succeeded, "bolted-joint-m8.zip"},
    {"NameThatLeavesTheFolder", "type=application/octet-stream&disposition=attachment&filename=../up.zip", Failed,
     nullptr},
};

} // namespace

class ReplyJourney : public DownloadJourney, public ::testing::WithParamInterface<ReplyCase> {};

TEST_P(ReplyJourney, EndsAsItMust)
{
    const ReplyCase& reply = GetParam();
    const auto completion = Download(RequestFor(Base() + "/files/bolted-joint-m8.zip?" + reply.query));
    EXPECT_EQ(reply.status, completion.status);

    std::vector<std::string> temporary;
    for (const auto& entry : std::filesystem::directory_iterator(Temp()))
        temporary.push_back(entry.path().filename());
    EXPECT_EQ(reply.temporaryFile ? std::vector<std::string>{reply.temporaryFile} : std::vector<std::string>{},
              temporary);

    if (reply.status == Succeeded) {
        EXPECT_EQ(FilesInParts().size(), completion.files.size());
        EXPECT_THAT(Surface().Questions(), IsEmpty());
    } else {
        EXPECT_THAT(FilesInParts(), IsEmpty());
        ASSERT_EQ(1U, Surface().Questions().size());
        EXPECT_EQ("FileDownloadErrorNotify", Surface().Questions()[0].name);
    }
    EXPECT_FALSE(std::filesystem::exists(Folder() / "up.zip"));
}

INSTANTIATE_TEST_SUITE_P(Replies, ReplyJourney, ::testing::ValuesIn(ReplyCases),
                         [](const auto& reply) { return std::string(reply.param.name); });

TEST_F(DownloadJourney, ACatalogueThatIsDownOrHasNoSuchFileIsToldToTheUser)
{
    EXPECT_EQ(Failed, Download(RequestFor(Base() + "/files/none.zip")).status);
    EXPECT_TRUE(std::filesystem::exists(Temp() / Error));
    const nlohmann::json request = RequestOf("bearing-unit-20");
    StopCatalogue();
    EXPECT_EQ(Failed, Download(request).status);
    ASSERT_EQ(2U, Surface().Questions().size());
    EXPECT_EQ(16384U, Surface().Questions()[1].style);
    EXPECT_THAT(FilesInParts(), IsEmpty());
}
