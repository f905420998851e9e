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
        EXPECT_EQ(expected, Probe.GetValidDestinationFolderInSettings(folder));
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

TEST_F(DestinationFolder, IsThatOfTheSettingsWithItsFlagWhenItIsAFolder)
{
    EXPECT_EQ(Parts().string(), Delivered(S_OK));
    WriteBytes(Folder() / "file", "x");
    ASSERT_EQ(0, mknod((Folder() / "socket").c_str(), S_IFSOCK | 0600, 0));
    for (const auto& [folder, flag] :
         {std::pair(Parts(), false), std::pair(std::filesystem::path(), true), std::pair(Folder() / "gone", true),
          std::pair(Folder() / "file", true), std::pair(Folder() / "socket", true)}) {
        SetSettings(folder, flag);
        EXPECT_EQ("untouched", Delivered(S_FALSE)) << folder;
    }
    SetSettings(Parts(), true);
    SettingsStore::Current().SetAvailable(false);
    EXPECT_EQ("untouched", Delivered(S_FALSE)) << "without settings";
}

// ---------------------------------------------------------------------------------------------
// The folder question after a transfer

TEST_F(DestinationFolder, MissingFlagLeavesTheDownloadWaiting)
{
    DownloadWithoutFolder();
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(FilesBelow(Parts()), IsEmpty());
    EXPECT_EQ(TemporaryFile().string(), ToUtf8(Probe.DownloadedFilePath()));
    EXPECT_EQ(nullptr, Probe.HttpRequest());
    EXPECT_EQ(nullptr, Probe.ProgressDlg());
}

TEST_F(DestinationFolder, QuestionWithoutFrameBringsNoNotification)
{
    ConfigureFrame({.exists = false});
    DownloadWithoutFolder();
    Loop().RunUntilIdle();
    EXPECT_THAT(Receiver.Received, IsEmpty());
    EXPECT_THAT(Surface().WindowEvents(), IsEmpty());
}

TEST_F(DestinationFolder, OfTheDialogIsUsedThoughTheFlagIsNotSet)
{
    DownloadWithoutFolder();
    Probe.OnDownloadLocationDlgOK();
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"a.ZALPart"})));
    EXPECT_EQ("part", ReadFile(Parts() / "a.ZALPart"));
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
    EXPECT_THAT(Receiver.Received, ElementsAre(Failed()));
}

TEST_F(DestinationFolder, DialogOKShowsTheBusyCursorBeforeTheQuestion)
{
    DownloadWithoutFolder();
    WriteBytes(Parts() / "a.ZALPart", "old");
    const int busyCursors = BusyCursorCount();
    int inQuestion = 0;
    Loop().Post([&] { inQuestion = BusyCursorCount(); });
    Probe.OnDownloadLocationDlgOK();
    EXPECT_EQ(inQuestion, busyCursors + 1);
    EXPECT_EQ(busyCursors + 1, BusyCursorCount());
}

TEST_F(DestinationFolder, DialogOKKeepsItsFileThoughAnotherDownloadEndsMeanwhile)
{
    SetSettings(Parts(), false);
    Transfer(ZipBytes().Add("a.ZALPart", "first").Bytes(), 200, FileNamed("first.zip"));
    WriteBytes(Parts() / "a.ZALPart", "old");
    Loop().Post([this] {
        SetSettings(Parts(), true);
        Transfer(ZipBytes().Add("b.ZALPart", "second").Bytes());
    });
    Probe.OnDownloadLocationDlgOK();
    EXPECT_THAT(Receiver.Received, ElementsAre(Succeeded({"b.ZALPart"}), Succeeded({"a.ZALPart"})));
    EXPECT_EQ("first", ReadFile(Parts() / "a.ZALPart"));
}

TEST_F(DestinationFolder, DialogOKWorksWithoutFrame)
{
    DownloadWithoutFolder();
    ConfigureFrame({.exists = false});
    Probe.OnDownloadLocationDlgOK();
    EXPECT_EQ(1U, Receiver.Received.size());
}

TEST_F(DestinationFolder, DialogReportsUnderTheNamesThatAreSubscribedTo)
{
    EXPECT_STREQ("ZALVelmartDownloadLocationDlg::OKNotif", ZALVelmartDownloadLocationDlg::OKNotif::ClassName());
    EXPECT_STREQ("ZALVelmartDownloadLocationDlg::CANCELNotif", ZALVelmartDownloadLocationDlg::CANCELNotif::ClassName());
}

} // namespace
} // namespace openhost::testing
