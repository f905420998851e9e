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
        ASSERT_EQ(S_OK, Send("velmart_download", RequestOf("bolted-joint-m8")));
        RunUntil([this] { return Surface().Find(Dialog) != nullptr; });
    }
    PushResult Push(const char* control) { return Surface().Push(Dialog, control); }
    PushResult Enter(const std::filesystem::path& folder)
    {
        return Surface().EnterText(Dialog, "VLDownloadLocationEditor", FromUtf8(folder.string()));
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
    EXPECT_EQ("Download folder", ToUtf8(Surface().Find(Dialog)->GetTitle()));
    EXPECT_EQ("Folder:", TextOf("VLDownloadLocationLabel"));
    EXPECT_EQ("Browse...", TextOf("VLDownloadLocationButton"));
    EXPECT_EQ("Do not ask me again", TextOf("VLDoNotRemindDownloadLocationCheckButton"));

    EXPECT_EQ(PushResult::Done, Push("VLDownloadLocationButton"));
    EXPECT_EQ("Download folder", ToUtf8(Surface().Find(Chooser)->GetTitle()));
    EXPECT_EQ(PushResult::Done, Surface().EnterText(Chooser, "FOLDER", FromUtf8(Parts().string())));
    EXPECT_EQ(PushResult::Done, Surface().Push(Chooser, "OK"));
    EXPECT_EQ(PushResult::Done, Push("VLDoNotRemindDownloadLocationCheckButton"));
    EXPECT_THAT(FilesInParts(), IsEmpty());
    EXPECT_EQ(PushResult::Done, Push("OK"));
    RunUntilIdle();

    ExpectEnded(Notification::DownloadSucceeded);
    EXPECT_THAT(FilesInParts(), Not(IsEmpty()));
    for (const std::string& file : Listener().Completions()[0].files)
        EXPECT_NO_THROW(ReadDocument(file)) << file;
    const nlohmann::json saved = nlohmann::json::parse(SettingsText());
    EXPECT_EQ(Parts().string(), saved["DownloadLocation"]);
    EXPECT_EQ(true, saved["DoNotRemindDownloadLocation"]);
    EXPECT_THAT(Surface().Questions(), IsEmpty());
    EXPECT_EQ(nullptr, Surface().Find(Dialog));

    SettingsStore::Current().Load(Settings()); // a later start of the host
    const auto second = Fetch(RequestOf("bearing-unit-20"));
    EXPECT_EQ(nullptr, Surface().Find(Dialog));
}

TEST_F(DownloadLocationJourney, AWrongFolderIsToldAndTheTransferIsNotLost)
{
    DownloadUpToTheQuestion();
    const std::filesystem::path wrong = Folder() / "missing";
    Enter(wrong);
    Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
    EXPECT_EQ(PushResult::Done, Push("OK"));
    RunUntilIdle();
    ASSERT_EQ(1U, Surface().Questions().size());
    EXPECT_EQ("Invalid folder", Surface().Questions()[0].title);
    EXPECT_FALSE(std::filesystem::exists(wrong));
    EXPECT_EQ("", SettingsText());

    StopCatalogue(); // what has come is enough
    Enter(Parts());
    EXPECT_EQ(PushResult::Done, Push("OK"));
    RunUntilIdle();
    ExpectEnded(Notification::DownloadSucceeded);
}

TEST_F(DownloadLocationJourney, ALockedFolderCanBeUsedButNotChanged)
{
    std::ofstream(Settings()) << nlohmann::json{{"DownloadLocation", Parts().string()},
                                                {"locks", {{"DownloadLocation", "R"}}}};
    SettingsStore::Current().Load(Settings());
    DownloadUpToTheQuestion();
    EXPECT_EQ(PushResult::Insensitive, Enter("/other"));
    EXPECT_EQ(PushResult::Insensitive, Push("VLDownloadLocationButton"));
    EXPECT_EQ(PushResult::Done, Push("OK"));
    RunUntilIdle();
    ExpectEnded(Notification::DownloadSucceeded);
    EXPECT_THAT(FilesInParts(), Not(IsEmpty()));
}
