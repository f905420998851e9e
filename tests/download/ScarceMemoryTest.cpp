// Downloads whose memory runs out at any allocation.

#include "download/ZALVelmartFileDownloaderExtraction.h"
#include "openhost/objects/Dispatch.h"
#include "tests/download/DownloadFixture.h"
#include "tests/support/WholeOrLost.h"

#include <gmock/gmock.h>

#include <cstdlib>
#include <optional>
#include <utility>

namespace openhost::testing {
namespace {

using ::testing::AnyOf;

constexpr const char* Url = "https://velmart.example/item.zip";
constexpr const char* ProgressWindow = "ZALVelmartDownloadProgressDlg";
constexpr const char* LocationWindow = "ZALVelmartDownloadLocationDlg";
constexpr const char* Question = "OverwriteNotify";

/// A host with a downloader of its own. What is told is kept as it is dispatched, whether or not it arrives.
class Scene : public ScriptedHost {
public:
    Scene()
    {
        Probe.StartDefaultDownload({});
        Probe.SetTemplateSupport(false);
        ObserveDispatches([this](ZALBaseUnknown* publisher, const ZALNotification& notification) {
            const auto* completion = dynamic_cast<const Notification*>(&notification);
            if (!completion || publisher != &Probe.Downloader())
                return;
            ++Told;
            Status = completion->GetStatus();
            Files = completion->GetDownloadedFilesPathes().Size();
        });
    }

    static std::string Body() { return ZipBytes().Add("a.ZALPart", "a part of some length").Bytes(); }
    std::filesystem::path Part() const { return Parts() / "a.ZALPart"; }
    std::filesystem::path Archive() const { return Temp() / "VelmartDownloadedQ7Files.zip"; }
    /// A transfer of the body that has still to end.
    ScriptedTransport::Script& Transfer()
    {
        EXPECT_EQ(S_OK, Probe.StartDefaultDownloadURL(Url));
        Transport().Last().Bytes(Body());
        return Transport().Last();
    }
    void WaitForFolder()
    {
        WriteBytes(Archive(), Body());
        Probe.SetDownloadedFilePath(Archive().c_str());
    }
    /// The end of the scene was told once, as `status`.
    void ExpectTold(Notification::Status status) const
    {
        EXPECT_EQ(1, Told);
        EXPECT_EQ(status, Status);
    }
    void ExpectIdle() const
    {
        EXPECT_EQ(nullptr, Probe.HttpRequest());
        EXPECT_EQ(nullptr, Probe.DataHandler());
        EXPECT_EQ(nullptr, Probe.ProgressDlg());
    }
    /// One notification, of the extracted part or of a failure.
    void ExpectToldOnce() const
    {
        EXPECT_EQ(1, Told);
        if (Status == Notification::DownloadSucceeded) {
            EXPECT_EQ(1, Files);
            // A file that could not be extracted is listed all the same.
            EXPECT_TRUE(!exists(Part()) || ReadFile(Part()) == "a part of some length");
        } else {
            EXPECT_EQ(Notification::DownloadFailed, Status);
            // One that fails when the archive is closed has its list.
            EXPECT_LE(Files, 1);
        }
    }
    bool IsShown(const char* window)
    {
        Loop().RunUntilIdle();
        return Surface().Find(window) != nullptr;
    }

    ZALVelmartFileDownloaderProbe Probe;
    int Told = 0;
    Notification::Status Status{};
    int Files = 0;
};

TEST(ScarceMemoryDeathTest, InstanceIsNullUntilItCanBeMade)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            bool asExpected = true;
            const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
                ZALVelmartFileDownloader* instance = nullptr;
                memory.During([&] { instance = ZALVelmartFileDownloader::GetInstance(); });
                asExpected = asExpected && (instance == nullptr) == memory.HasRunOut();
            });
            std::exit(asExpected && failures > 0 ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "");
}

TEST(ScarceMemory, OpenInSourceFailsOrSucceedsAndCanBeRepeated)
{
    const ZALOmxAny request = Json(R"({"attributes": {"catalog": {"configOpeningBehaviour": "openInSource"},
                                                      "sourceUrl": "file:///srv/some/longer/path.ZALPart"}})");
    WithEachAllocationFailing([&](FailingMemory& memory) {
        Scene scene;
        HRESULT result = S_FALSE;
        memory.During([&] { result = scene.Probe.Downloader().StartDownload(request); });
        EXPECT_LE(scene.Told, 1);
        if (result == S_OK)
            EXPECT_EQ(1, scene.Told);
        else
            EXPECT_EQ(E_FAIL, result);

        EXPECT_EQ(S_OK, scene.Probe.Downloader().StartDownload(request));
        EXPECT_EQ(Notification::DownloadSucceeded, scene.Status);
    });
}

TEST(ScarceMemory, TransferStartsOrLeavesTheDownloaderIdle)
{
    const ZALOmxAny request = Json(R"({"downloadUrl": "https://velmart.example/item.zip"})");
    int withoutDialog = 0;
    WithEachAllocationFailing([&](FailingMemory& memory) {
        Scene scene;
        HRESULT result = S_FALSE;
        memory.During([&] { result = scene.Probe.Downloader().StartDownload(request); });
        if (result != S_OK) {
            EXPECT_EQ(E_FAIL, result);
            scene.ExpectIdle();
            EXPECT_FALSE(scene.IsShown(ProgressWindow));
            EXPECT_TRUE(scene.Transport().Count() == 0 || !scene.Transport().Last().IsRunning());
            EXPECT_EQ(0, scene.Told);
            EXPECT_EQ(S_OK, scene.Probe.Downloader().StartDownload(request));
        }
        EXPECT_TRUE(scene.Transport().Last().IsRunning());
        EXPECT_EQ(scene.Probe.ProgressDlg() != nullptr, scene.IsShown(ProgressWindow));
        withoutDialog += scene.Probe.ProgressDlg() == nullptr;

        scene.Transport().Last().Bytes(Scene::Body());
        scene.Transport().Last().End();
        scene.ExpectTold(Notification::DownloadSucceeded);
    });
    EXPECT_GT(withoutDialog, 0);
}

TEST(ScarceMemory, EndOfATransferIsToldOnceAndLeavesTheDownloaderIdle)
{
    const int failures = WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        auto& script = scene.Transfer();
        memory.During([&] { script.End(); });
        scene.ExpectToldOnce();
        scene.ExpectIdle();
        if (!memory.HasRunOut()) {
            EXPECT_EQ(Notification::DownloadSucceeded, scene.Status);
        }
        EXPECT_EQ(S_OK, scene.Probe.StartDefaultDownloadURL(Url));
    });
    EXPECT_GT(failures, 0);
}

TEST(ScarceMemory, EndOfACancelledTransferIsToldOnce)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        auto& script = scene.Transfer();
        memory.During([&] { script.End(TransferEnd::Cancelled); });
        EXPECT_EQ(1, scene.Told);
        EXPECT_THAT(scene.Status, AnyOf(Notification::DownloadCanceled, Notification::DownloadFailed));
        scene.ExpectIdle();
    });
}

TEST(ScarceMemory, FolderIsAskedForOrTheDownloadHasFailed)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        scene.SetSettings(scene.Parts(), false);
        auto& script = scene.Transfer();
        memory.During([&] { script.End(); });
        scene.ExpectIdle();
        if (scene.Told == 1) {
            EXPECT_TRUE(memory.HasRunOut());
            EXPECT_EQ(Notification::DownloadFailed, scene.Status);
            EXPECT_FALSE(scene.IsShown(LocationWindow));
            return;
        }
        EXPECT_EQ(0, scene.Told);
        EXPECT_TRUE(scene.IsShown(LocationWindow));
        EXPECT_EQ(PushResult::Done, scene.Surface().Push(LocationWindow, "CANCEL"));
        scene.ExpectTold(Notification::DownloadCanceled);
    });
}

TEST(ScarceMemory, AnswersOfTheFolderQuestionAreToldOnce)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        scene.WaitForFolder();
        memory.During([&] { scene.Probe.OnDownloadLocationDlgOK(); });
        scene.ExpectToldOnce();
    });
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        memory.During([&] { scene.Probe.OnDownloadLocationDlgCANCEL(); });
        scene.ExpectTold(Notification::DownloadCanceled);
    });
}

TEST(ScarceMemory, CancelWorksOrCanBeRepeated)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        auto& script = scene.Transfer();
        memory.During([&] { scene.Probe.OnCancelDownloadProgressDlg(); });
        if (!script.IsCancelled()) {
            EXPECT_TRUE(memory.HasRunOut());
            EXPECT_EQ(PushResult::Done, scene.Surface().Push(ProgressWindow, "CLOSE"));
        }
        EXPECT_TRUE(script.IsCancelled());
        scene.Loop().RunUntilIdle();
        scene.ExpectTold(Notification::DownloadCanceled);
    });
}

// ---------------------------------------------------------------------------------------------
// The question

bool IsOpen(const std::filesystem::path& file)
{
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (read_symlink(descriptor.path(), gone) == file)
            return true;
    }
    return false;
}

TEST(ScarceMemory, QuestionThatCannotBeAskedFailsTheCheck)
{
    int failedChecks = 0;
    WithEachAllocationFailing([&](FailingMemory& memory) {
        Scene scene;
        WriteBytes(scene.Archive(), Scene::Body());
        WriteBytes(scene.Part(), "old");
        scene.Surface().Answer(Question, ZALDlgAnswerNo);
        bool hasConflicts = false;
        bool refused = false;
        HRESULT result = S_FALSE;
        const ZALUnicodeString archive = scene.Archive().c_str();
        const ZALUnicodeString folder = scene.Parts().c_str();
        memory.During([&] { result = scene.Probe.CheckForExtractConflicts(archive, folder, hasConflicts, refused); });
        if (result == S_OK)
            EXPECT_TRUE(hasConflicts && refused);
        else
            EXPECT_EQ(E_FAIL, result);
        failedChecks += result == E_FAIL;
        EXPECT_FALSE(IsOpen(scene.Archive()));
        if (result == E_FAIL) {
            EXPECT_FALSE(scene.IsShown(Question));
        }
    });
    EXPECT_GT(failedChecks, 0);
}

TEST(ScarceMemory, NothingIsOverwrittenWithoutAnAnswer)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        scene.WaitForFolder();
        WriteBytes(scene.Part(), "old");
        scene.Surface().Answer(Question, ZALDlgAnswerNo);
        memory.During([&] { scene.Probe.OnDownloadLocationDlgOK(); });
        EXPECT_EQ("old", ReadFile(scene.Part()));
        if (scene.Told == 0)
            EXPECT_TRUE(scene.IsShown(LocationWindow));
        else
            scene.ExpectToldOnce();
    });
}

TEST(ScarceMemory, ExtractionClosesItsArchive)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        WriteBytes(scene.Archive(), Scene::Body());
        const ZALUnicodeString archive = scene.Archive().c_str();
        const ZALUnicodeString folder = scene.Parts().c_str();
        ZALListValZALUnicodeString files;
        try {
            memory.During([&] { ExtractFiles(archive, folder, files); });
        } catch (const std::bad_alloc&) {
            EXPECT_TRUE(memory.HasRunOut());
        }
        EXPECT_FALSE(IsOpen(scene.Archive()));
    });
}

TEST(ScarceMemory, RootProductIsNotTakenFromHalfASearch)
{
    WithEachAllocationFailing([](FailingMemory& memory) {
        Scene scene;
        scene.Documents().SetDocument("first of two.ZALProduct", {{"second of two.ZALProduct"}});
        scene.Documents().SetDocument("second of two.ZALProduct", {});
        WriteBytes(scene.Archive(), ZipBytes().Add("second of two.ZALProduct").Add("first of two.ZALProduct").Bytes());
        std::string first;
        Notification::Status status{};
        ObserveDispatches([&](ZALBaseUnknown*, const ZALNotification& notification) {
            const auto& completion = dynamic_cast<const Notification&>(notification);
            status = completion.GetStatus();
            if (completion.GetDownloadedFilesPathes().Size() > 0)
                first = TextsOf(completion.GetDownloadedFilesPathes()).front();
        });
        scene.Probe.SetDownloadedFilePath(scene.Archive().c_str());
        memory.During([&] { scene.Probe.OnDownloadLocationDlgOK(); });
        if (status == Notification::DownloadSucceeded)
            EXPECT_TRUE(first.empty() || first == scene.Parts().string() + "/first of two.ZALProduct") << first;
        else
            EXPECT_EQ(Notification::DownloadFailed, status);
        EXPECT_EQ(0, scene.Documents().LivingObjects());
    });
}

// ---------------------------------------------------------------------------------------------
// The notification

TEST(ScarceMemory, NotificationThatCannotBeFilledTellsAFailure)
{
    const ZALListValZALUnicodeString files = List({"/parts/a longer name.ZALPart", "/parts/and one more.ZALPart"});
    const ZALListValZALUnicodeString warnings = List({"a warning of some length"});
    const ZALUnicodeString text = "a text of some length";
    const Notification whole(files, Notification::DownloadSucceeded, warnings);
    const Notification told(Notification::DownloadCanceled, text);

    using Made = std::optional<Notification>;
    const std::vector<std::function<void(Made&)>> ways = {
        [&](Made& made) { made.emplace(files, text, Notification::DownloadSucceeded); },
        [&](Made& made) { made.emplace(files, Notification::DownloadSucceeded, warnings); },
        [&](Made& made) { made.emplace(files, Notification::DownloadSucceeded); },
        [&](Made& made) { made.emplace(Notification::DownloadCanceled, text); },
        [&](Made& made) { made.emplace(whole); },
        [&](Made& made) { made.emplace(told); },
        [&](Made& made) { *made = whole; },
    };
    for (const auto& make : ways) {
        Made expected(told);
        make(expected);
        const int failures = WithEachAllocationFailing([&](FailingMemory& memory) {
            Made made(Notification(Notification::DownloadFailed, "the text of the one before"));
            memory.During([&] { make(made); });
            EXPECT_EQ(memory.HasRunOut() ? Failed() : Fields(*expected), Fields(*made));
        });
        EXPECT_GT(failures, 0);
    }
}

TEST(ScarceMemory, WarningsThatCannotBeJoinedAreEmpty)
{
    const Notification notification(List({}), Notification::DownloadSucceeded,
                                    List({"a warning of some length", "and another one, longer still"}));
    const ZALUnicodeString joined = "a warning of some length\nand another one, longer still";
    EXPECT_GT(
        ExpectWholeOrLost<ZALUnicodeString>(joined, "", [&] { return notification.GetConcatenedWarningsMessageNLS(); }),
        0);
}

} // namespace
} // namespace openhost::testing
