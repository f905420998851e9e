// A download that has no folder yet: from the page's message through the user's choice to the files.

#include "openhost/dialogs/DialogNode.h"
#include "openhost/documents/CadDocument.h"
#include "openhost/settings/SettingsStore.h"
#include "openhost/text/Utf.h"
#include "tests/journeys/JourneyFixture.h"

#include <gmock/gmock.h>

#include <fstream>

using namespace openhost;
using namespace openhost::testing;
using Notification = ZALVelmartFileDownloadCompleteNotification;
using ::testing::IsEmpty;
using ::testing::Not;

class DownloadLocationJourney : public JourneyFixture {
protected:
    static constexpr const char* Dialog = "ZALVelmartDownloadLocationDlg";
    static constexpr const char* Chooser = "ZALVelmartDownloadDirectoryChooserDlg";

    /// A user who has chosen nothing so far; what he chooses is saved in Settings().
    DownloadLocationJourney() { SettingsStore::Current().Load(Settings()); }

    std::filesystem::path Settings() const { return Folder() / "settings.json"; }
    std::string SettingsText() const { return std::filesystem::exists(Settings()) ? ReadFile(Settings()) : ""; }

    /// Downloads an item up to the question.
    void DownloadUpToTheQuestion()
    {
        ASSERT_EQ(Send("velmart_download", RequestOf("bolted-joint-m8")), S_OK);
        RunUntil([this] { return Surface().Find(Dialog) != nullptr; });
    }
    std::string TextOf(const char* control)
    {
        const ZALDialog* found = Surface().Find(Dialog, control);
        return found ? ToUtf8(found->GetTitle()) : "";
    }
};

TEST_F(DownloadLocationJourney, TheUserBrowsesForAFolderAndIsNotAskedAgain)
{
    DownloadUpToTheQuestion();
    EXPECT_EQ(ToUtf8(Surface().Find(Dialog)->GetTitle()), "Download folder");
    EXPECT_EQ(TextOf("VLDownloadLocationLabel"), "Folder:");
    EXPECT_EQ(TextOf("VLDownloadLocationButton"), "Browse...");
    EXPECT_EQ(TextOf("VLDoNotRemindDownloadLocationCheckButton"), "Do not ask me again");

    EXPECT_EQ(Surface().Push(Dialog, "VLDownloadLocationButton"), PushResult::Done);
    EXPECT_EQ(ToUtf8(Surface().Find(Chooser)->GetTitle()), "Download folder");
    EXPECT_EQ(Surface().EnterText(Chooser, "FOLDER", FromUtf8(Parts().string())), PushResult::Done);
    EXPECT_EQ(Surface().Push(Chooser, "OK"), PushResult::Done);
    EXPECT_EQ(Surface().Push(Dialog, "VLDoNotRemindDownloadLocationCheckButton"), PushResult::Done);
    EXPECT_THAT(FilesInParts(), IsEmpty());
    EXPECT_EQ(Surface().Push(Dialog, "OK"), PushResult::Done);
    RunUntilIdle();

    ASSERT_EQ(Listener().Completions().size(), 1u);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadSucceeded);
    EXPECT_THAT(FilesInParts(), Not(IsEmpty()));
    for (const std::string& file : Listener().Completions()[0].files)
        EXPECT_NO_THROW(ReadDocument(file)) << file;
    const nlohmann::json saved = nlohmann::json::parse(SettingsText());
    EXPECT_EQ(saved["DownloadLocation"], Parts().string());
    EXPECT_EQ(saved["DoNotRemindDownloadLocation"], true);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_EQ(Surface().Find(Dialog), nullptr);

    SettingsStore::Current().Load(Settings()); // a later start of the host
    const auto second = Download(RequestOf("bearing-unit-20"));
    ASSERT_TRUE(second);
    EXPECT_EQ(second->status, Notification::DownloadSucceeded);
    EXPECT_EQ(Surface().Find(Dialog), nullptr);
}

TEST_F(DownloadLocationJourney, AWrongFolderIsToldAndTheTransferIsNotLost)
{
    DownloadUpToTheQuestion();
    const std::filesystem::path wrong = Folder() / "missing";
    Surface().EnterText(Dialog, "VLDownloadLocationEditor", FromUtf8(wrong.string()));
    Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
    EXPECT_EQ(Surface().Push(Dialog, "OK"), PushResult::Done);
    RunUntilIdle();
    ASSERT_EQ(Surface().Questions().size(), 1u);
    EXPECT_EQ(Surface().Questions()[0].title, "Invalid folder");
    EXPECT_FALSE(std::filesystem::exists(wrong));
    EXPECT_EQ(SettingsText(), "");

    StopCatalogue(); // what has come is enough
    Surface().EnterText(Dialog, "VLDownloadLocationEditor", FromUtf8(Parts().string()));
    EXPECT_EQ(Surface().Push(Dialog, "OK"), PushResult::Done);
    RunUntilIdle();
    ASSERT_EQ(Listener().Completions().size(), 1u);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadSucceeded);
}

TEST_F(DownloadLocationJourney, AUserWhoGivesUpIsToldSoAndNothingIsSaved)
{
    DownloadUpToTheQuestion();
    Surface().EnterText(Dialog, "VLDownloadLocationEditor", FromUtf8(Parts().string()));
    EXPECT_EQ(Surface().Push(Dialog, "CANCEL"), PushResult::Done);
    RunUntilIdle();
    ASSERT_EQ(Listener().Completions().size(), 1u);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadCanceled);
    EXPECT_THAT(FilesInParts(), IsEmpty());
    EXPECT_EQ(SettingsText(), "");
    EXPECT_TRUE(std::filesystem::exists(Temp() / "VelmartDownloadedQ7Files.zip"));
}

TEST_F(DownloadLocationJourney, ARefusedOverwriteAsksForAnotherFolder)
{
    SettingsStore::Current().SetValues({true, FromUtf8(Parts().string())});
    ASSERT_TRUE(Download(RequestOf("bolted-joint-m8")));
    const std::vector<std::string> files = FilesInParts();
    for (const std::string& file : files)
        std::filesystem::resize_file(Parts() / file, 1);

    Surface().Answer("OverwriteNotify", ZALDlgAnswerNo);
    DownloadUpToTheQuestion();
    const std::filesystem::path other = Folder() / "other";
    std::filesystem::create_directory(other);
    Surface().EnterText(Dialog, "VLDownloadLocationEditor", FromUtf8(other.string()));
    EXPECT_EQ(Surface().Push(Dialog, "OK"), PushResult::Done);
    RunUntilIdle();

    ASSERT_EQ(Listener().Completions().size(), 2u);
    EXPECT_EQ(Listener().Completions()[1].status, Notification::DownloadSucceeded);
    for (const std::string& file : files) {
        EXPECT_EQ(std::filesystem::file_size(Parts() / file), 1u) << file;
        EXPECT_NO_THROW(ReadDocument(other / file)) << file;
    }
    EXPECT_EQ(Surface().Find(Dialog), nullptr);
}

TEST_F(DownloadLocationJourney, ALockedFolderCanBeUsedButNotChanged)
{
    std::ofstream(Settings()) << nlohmann::json{{"DownloadLocation", Parts().string()},
                                                {"locks", {{"DownloadLocation", "R"}}}};
    SettingsStore::Current().Load(Settings());
    DownloadUpToTheQuestion();
    EXPECT_EQ(Surface().EnterText(Dialog, "VLDownloadLocationEditor", u"/other"), PushResult::Insensitive);
    EXPECT_EQ(Surface().Push(Dialog, "VLDownloadLocationButton"), PushResult::Insensitive);
    EXPECT_EQ(Surface().Push(Dialog, "OK"), PushResult::Done);
    RunUntilIdle();
    ASSERT_EQ(Listener().Completions().size(), 1u);
    EXPECT_EQ(Listener().Completions()[0].status, Notification::DownloadSucceeded);
    EXPECT_THAT(FilesInParts(), Not(IsEmpty()));
}
