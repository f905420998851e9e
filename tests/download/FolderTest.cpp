#include "dialogs/ZALVelmartDownloadLocationDlg.h"
#include "tests/download/DownloadFixture.h"

#include <gmock/gmock.h>

#include <sys/stat.h>

namespace openhost::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class DestinationFolder : public DownloadFixture {
protected:
    /// What the settings deliver, "untouched" when they leave the folder alone.
    std::string Delivered(HRESULT expected)
    {
        ZALUnicodeString folder = "untouched";
        EXPECT_EQ(Probe.GetValidDestinationFolderInSettings(folder), expected);
        return ToUtf8(folder);
    }

    /// A transfer that has ended and waits for its folder.
    void DownloadWithoutFolder()
    {
        SetSettings(Parts(), false);
        Transfer(ZipBytes().Add("a.ZALPart", "part").Bytes());
    }
};

// ---------------------------------------------------------------------------------------------
// The folder in the settings

TEST_F(DestinationFolder, OfTheSettingsIsDeliveredWithItsFlag)
{
    EXPECT_EQ(Delivered(S_OK), Parts().string());
}

TEST_F(DestinationFolder, WithoutTheFlagIsNotDelivered)
{
    SetSettings(Parts(), false);
    EXPECT_EQ(Delivered(S_FALSE), "untouched");
}

TEST_F(DestinationFolder, ThatIsEmptyIsNotDelivered)
{
    SetSettings({}, true);
    EXPECT_EQ(Delivered(S_FALSE), "untouched");
}

TEST_F(DestinationFolder, ThatNoLongerExistsIsNotDelivered)
{
    std::filesystem::remove(Parts());
    EXPECT_EQ(Delivered(S_FALSE), "untouched");
}

TEST_F(DestinationFolder, ThatIsAFileIsNotDelivered)
{
    WriteFile(Folder() / "file", "x");
    SetSettings(Folder() / "file", true);
    EXPECT_EQ(Delivered(S_FALSE), "untouched");
}

TEST_F(DestinationFolder, ThatIsASocketIsNotDelivered)
{
    ASSERT_EQ(mknod((Folder() / "socket").c_str(), S_IFSOCK | 0600, 0), 0);
    SetSettings(Folder() / "socket", true);
    EXPECT_EQ(Delivered(S_FALSE), "untouched");
}

TEST_F(DestinationFolder, IsNotDeliveredWithoutSettings)
{
    SettingsStore::Current().SetAvailable(false);
    EXPECT_EQ(Delivered(S_FALSE), "untouched");
}

// ---------------------------------------------------------------------------------------------
// The folder question behind a transfer

TEST_F(DestinationFolder, MissingFlagLeavesTheDownloadWaiting)
{
    DownloadWithoutFolder();
    Loop().RunUntilIdle();

    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_EQ(ToUtf8(Probe.DownloadedFilePath()), TemporaryFile().string());
    EXPECT_EQ(Probe.HttpRequest(), nullptr);
    EXPECT_EQ(Probe.ProgressDlg(), nullptr);
}

TEST_F(DestinationFolder, QuestionWithoutFrameBringsNoNotification)
{
    ConfigureFrame({.exists = false});
    DownloadWithoutFolder();
    Loop().RunUntilIdle();

    EXPECT_THAT(Receiver.Received, IsEmpty());
}

TEST_F(DestinationFolder, QuestionCanBeAskedWithoutFrame)
{
    ConfigureFrame({.exists = false});
    Probe.DisplayDestinationFolderChooserDlg();
    Loop().RunUntilIdle();

    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

TEST_F(DestinationFolder, OfTheDialogIsUsedThoughTheFlagIsNotSet)
{
    DownloadWithoutFolder();

    Probe.OnDownloadLocationDlgOK();

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
    EXPECT_EQ(ReadFile(Parts() / "a.ZALPart"), "part");
}

TEST_F(DestinationFolder, OfTheDialogIsUsedThoughItDoesNotExist)
{
    DownloadWithoutFolder();
    const std::filesystem::path missing = Parts() / "missing";
    SetSettings(missing, false);

    Probe.OnDownloadLocationDlgOK();

    EXPECT_THAT(Receiver.Received,
                ElementsAre(WithFiles(Notification::DownloadSucceeded, {missing.string() + "/a.ZALPart"})));
}

TEST_F(DestinationFolder, OfTheDialogThatIsEmptyEndsAsFailed)
{
    DownloadWithoutFolder();
    SetSettings({}, false);

    Probe.OnDownloadLocationDlgOK();

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(DestinationFolder, DialogOKWithoutSettingsEndsAsFailed)
{
    DownloadWithoutFolder();
    SettingsStore::Current().SetAvailable(false);
    const int busyCursors = BusyCursorCount();

    Probe.OnDownloadLocationDlgOK();

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_EQ(BusyCursorCount(), busyCursors);
}

TEST_F(DestinationFolder, DialogOKShowsTheBusyCursorBeforeTheQuestion)
{
    DownloadWithoutFolder();
    WriteFile(Parts() / "a.ZALPart", "old");
    const int busyCursors = BusyCursorCount();
    int inQuestion = 0;
    Loop().Post([&] { inQuestion = BusyCursorCount(); });

    Probe.OnDownloadLocationDlgOK();

    EXPECT_EQ(inQuestion, busyCursors + 1);
    EXPECT_EQ(BusyCursorCount(), busyCursors + 1);
}

TEST_F(DestinationFolder, DialogOKKeepsItsFileThoughAnotherDownloadEndsMeanwhile)
{
    const HttpHeaders first{{"content-type", "application/octet-stream"},
                            {"content-disposition", "attachment; filename=first.zip"}};
    SetSettings(Parts(), false);
    Transfer(ZipBytes().Add("a.ZALPart", "first").Bytes(), 200, first);
    WriteFile(Parts() / "a.ZALPart", "old");
    Loop().Post([this] {
        SetSettings(Parts(), true);
        Transfer(ZipBytes().Add("b.ZALPart", "second").Bytes());
    });

    Probe.OnDownloadLocationDlgOK();

    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("b.ZALPart")}),
                                               WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
    EXPECT_EQ(ReadFile(Parts() / "a.ZALPart"), "first");
}

TEST_F(DestinationFolder, DialogOKWorksWithoutFrame)
{
    DownloadWithoutFolder();
    ConfigureFrame({.exists = false});

    Probe.OnDownloadLocationDlgOK();

    EXPECT_EQ(Receiver.Received.size(), 1U);
}

TEST_F(DestinationFolder, IsAskedForAgainAsOftenAsTheUserRefuses)
{
    DownloadWithoutFolder();
    WriteFile(Parts() / "a.ZALPart", "old");
    for (const int answer : {ZALDlgAnswerNo, ZALDlgAnswerNo, ZALDlgAnswerYes})
        Surface().Answer("OverwriteNotify", answer);

    Probe.OnDownloadLocationDlgOK();
    Probe.OnDownloadLocationDlgOK();
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_EQ(ReadFile(Parts() / "a.ZALPart"), "old");

    Probe.OnDownloadLocationDlgOK();
    EXPECT_THAT(Receiver.Received, ElementsAre(WithFiles(Notification::DownloadSucceeded, {InParts("a.ZALPart")})));
    EXPECT_EQ(ReadFile(Parts() / "a.ZALPart"), "part");
    EXPECT_EQ(Surface().Questions().size(), 3U);
}

TEST_F(DestinationFolder, DialogCancelledEndsAsCancelledAndKeepsTheTemporaryFile)
{
    DownloadWithoutFolder();

    Probe.OnDownloadLocationDlgCANCEL();

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadCanceled)));
    EXPECT_TRUE(exists(TemporaryFile()));
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
}

TEST_F(DestinationFolder, DialogReportsUnderTheNamesThatAreSubscribedTo)
{
    EXPECT_STREQ(ZALVelmartDownloadLocationDlg::OKNotif::ClassName(), "ZALVelmartDownloadLocationDlg::OKNotif");
    EXPECT_STREQ(ZALVelmartDownloadLocationDlg::CANCELNotif::ClassName(), "ZALVelmartDownloadLocationDlg::CANCELNotif");
}

// ---------------------------------------------------------------------------------------------
// The folder question of the template route

TEST_F(DestinationFolder, TemplateDialogOKWithoutSettingsEndsAsFailed)
{
    SettingsStore::Current().SetAvailable(false);

    Probe.OnDownloadLocationForTemplateDlgOK();

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(DestinationFolder, TemplateDialogOKWithAnEmptyFolderEndsAsFailed)
{
    SetSettings({}, true);

    Probe.OnDownloadLocationForTemplateDlgOK();

    EXPECT_THAT(Receiver.Received, ElementsAre(Bare(Notification::DownloadFailed)));
}

TEST_F(DestinationFolder, TemplateDialogOKWithARouteThatCannotStartEndsSilently)
{
    Probe.SetDownloadRequest(Json("{}"));

    Probe.OnDownloadLocationForTemplateDlgOK();

    EXPECT_THAT(Receiver.Received, IsEmpty());
}

} // namespace
} // namespace openhost::testing
