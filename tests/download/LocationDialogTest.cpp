// The folder question of a download, asked and answered by the dialog.

#include "tests/download/DownloadFixture.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/settings/SettingsStore.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* Dialog = "ZALVelmartDownloadLocationDlg";
constexpr const char* Editor = "VLDownloadLocationEditor";
constexpr const char* CheckButton = "VLDoNotRemindDownloadLocationCheckButton";

class LocationDialogOfADownload : public DownloadFixture {
protected:
    /// A whole transfer of an archive with the one file "a.ZALPart".
    void Download() { Transfer(ZipBytes().Add("a.ZALPart", "part").Bytes()); }

    bool IsOpen() { return Surface().Find(Dialog) != nullptr; }
    PushResult Push(const std::string& control) { return Surface().Push(Dialog, control); }
    PushResult Enter(const std::filesystem::path& path)
    {
        return Surface().EnterText(Dialog, Editor, FromUtf8(path.string()));
    }
    std::ptrdiff_t TimesShown()
    {
        return std::ranges::count_if(Surface().WindowEvents(), [](const ScriptedSurface::WindowEvent& event) {
            return event.name == Dialog && event.action == ScriptedSurface::WindowEvent::Action::Shown;
        });
    }
};

TEST_F(LocationDialogOfADownload, StaysAwayWithAValidFolder)
{
    Download();
    EXPECT_EQ(1U, Receiver.Received.size());
    EXPECT_EQ(0, TimesShown());
}

TEST_F(LocationDialogOfADownload, ComesAfterTheTransferAndLeadsToTheExtraction)
{
    SetSettings({}, false);
    StartTransfer();
    EXPECT_FALSE(IsOpen());
    Transport().Last().Head(200, {});
    Transport().Last().Bytes(ZipBytes().Add("a.ZALPart", "part").Bytes());
    Transport().Last().End();
    ASSERT_TRUE(IsOpen());
    EXPECT_THAT(Receiver.Received, IsEmpty());

    Enter(Parts());
    EXPECT_EQ(PushResult::Done, Surface().SetState(Dialog, CheckButton, ZALDlgChecked));
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
    EXPECT_EQ("part", ReadFile(Parts() / "a.ZALPart"));
    Loop().RunUntilIdle();
    EXPECT_FALSE(IsOpen());

    Download();
    EXPECT_EQ(1, TimesShown()) << "the user does not want to be reminded";
}

TEST_F(LocationDialogOfADownload, ComesEachTimeWithoutTheFlag)
{
    SetSettings(Parts(), false);
    for (int time = 1; time <= 2; ++time) {
        Download();
        EXPECT_EQ(time, TimesShown());
        Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
        EXPECT_EQ(PushResult::Done, Push("OK"));
        EXPECT_EQ(static_cast<std::size_t>(time), Receiver.Received.size());
        Loop().RunUntilIdle();
    }
}

TEST_F(LocationDialogOfADownload, ComesForAFolderThatIsGone)
{
    SetSettings(Folder() / "gone", true);
    Download();
    ASSERT_TRUE(IsOpen());
    EXPECT_EQ((Folder() / "gone").string(), ToUtf8(ZALDialogNode::Of(*Surface().Find(Dialog, Editor)).text));
}

TEST_F(LocationDialogOfADownload, StaysOpenForAFolderThatIsNotValid)
{
    SetSettings({}, false);
    Download();
    for (const std::filesystem::path& wrong : {std::filesystem::path(), Folder() / "missing", TemporaryFile()}) {
        Enter(wrong);
        Surface().Answer("NotADirectoryNotify", ZALDlgAnswerOK);
        EXPECT_EQ(PushResult::Done, Push("OK"));
        Loop().RunUntilIdle();
        EXPECT_TRUE(IsOpen()) << wrong;
        EXPECT_THAT(Receiver.Received, IsEmpty()) << wrong;
    }
    EXPECT_TRUE(exists(TemporaryFile()));
    Enter(Parts());
    Push("OK");
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
    EXPECT_EQ(1, TimesShown());
}

TEST_F(LocationDialogOfADownload, EndsTheDownloadWhenItIsGivenUp)
{
    for (const char* way : {"CANCEL", "CLOSE"}) {
        Receiver.Received.clear();
        SetSettings({}, false);
        Download();
        EXPECT_EQ(PushResult::Done, Push(way));
        EXPECT_THAT(Receiver.Received, ElementsAre(Cancelled())) << way;
        EXPECT_TRUE(exists(TemporaryFile()));
        EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
        Loop().RunUntilIdle();
        EXPECT_FALSE(IsOpen());
    }
}

TEST_F(LocationDialogOfADownload, ComesAgainAsOftenAsTheUserRefusesToOverwrite)
{
    WriteBytes(Parts() / "a.ZALPart", "old");
    for (const int answer : {ZALDlgAnswerNo, ZALDlgAnswerNo})
        Surface().Answer("OverwriteNotify", answer);
    Download(); // the valid folder of the settings is refused first
    EXPECT_EQ(1, TimesShown());
    EXPECT_EQ(PushResult::Done, Push("OK"));
    Loop().RunUntilIdle();
    EXPECT_EQ(2, TimesShown());
    ASSERT_TRUE(IsOpen());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_EQ("old", ReadFile(Parts() / "a.ZALPart"));

    std::filesystem::create_directory(Folder() / "other");
    Enter(Folder() / "other");
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_EQ(1U, Receiver.Received.size());
    EXPECT_EQ("part", ReadFile(Folder() / "other" / "a.ZALPart"));
    EXPECT_EQ("old", ReadFile(Parts() / "a.ZALPart"));
    Loop().RunUntilIdle();
    EXPECT_FALSE(IsOpen());
}

TEST_F(LocationDialogOfADownload, StandsAsItIsWhileTheOverwriteQuestionOfItsOKIsAsked)
{
    SetSettings(Parts(), false);
    WriteBytes(Parts() / "a.ZALPart", "old");
    Download();
    bool openInQuestion = false;
    Loop().Post([&] { openInQuestion = IsOpen() && Surface().Questions().size() == 1; });
    Surface().Answer("OverwriteNotify", ZALDlgAnswerYes);
    Push("OK");
    EXPECT_TRUE(openInQuestion);
    EXPECT_EQ("part", ReadFile(Parts() / "a.ZALPart"));
}

TEST_F(LocationDialogOfADownload, LeadsToAFailureWhenTheSettingsAreGone)
{
    SetSettings({}, false);
    Download();
    Enter(Parts());
    SettingsStore::Current().SetAvailable(false);
    const int busyCursors = BusyCursorCount();
    EXPECT_EQ(PushResult::Done, Push("OK"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_EQ(busyCursors, BusyCursorCount());
}

TEST_F(LocationDialogOfADownload, ThatTheHostEndsSendsNothing)
{
    SetSettings({}, false);
    Download();
    ResetFrame();
    Loop().RunUntilIdle();
    EXPECT_FALSE(IsOpen());
    EXPECT_THAT(Receiver.Received, IsEmpty());
    ConfigureFrame({});
    SetSettings(Parts(), true);
    Download();
    EXPECT_EQ(1U, Receiver.Received.size());
}

TEST_F(LocationDialogOfADownload, OfTheTemplateRouteComesBeforeTheTransfer)
{
    SetSettings({}, false);
    Probe.SetTemplateSupport(true);
    EXPECT_EQ(S_OK, Start(R"({"downloadUrl": "https://velmart.example/item.zip"})"));
    EXPECT_TRUE(IsOpen());
    EXPECT_EQ(0U, Transport().Count());
    EXPECT_EQ(PushResult::Done, Push("CANCEL"));
    EXPECT_THAT(Receiver.Received, ElementsAre(Cancelled()));
}

} // namespace
} // namespace openhost::testing
