// The two windows that show a running transfer.

#include "tests/dialogs/DialogProbe.h"
#include "tests/support/HostFixture.h"
#include "tests/support/Listener.h"
#include "tests/support/Objects.h"
#include "tests/support/WatchingDisplay.h"

#include "host/frame.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/journal/Journal.h"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <new>

namespace openhost::testing {

namespace {

/// What the two dialogs have in common, and what tells them apart.
struct DownloadProgress {
    using Dialog = ZALVelmartDownloadProgressDlg;
    static constexpr const char* Name = "ZALVelmartDownloadProgressDlg";
    static constexpr const char* Cancel = "ZALVelmartDownloadProgressDlg::CANCELNotif";
    static constexpr const char* Content = "VLProgressBar";
    static constexpr ZALDialogNode::Kind Kind = ZALDialogNode::Kind::Progress;
};
struct UploadProgress {
    using Dialog = ZALVelmartFindSimilarUploadProgressDlg;
    static constexpr const char* Name = "ZALVelmartFindSimilarUploadProgressDlg";
    static constexpr const char* Cancel = "ZALVelmartFindSimilarUploadProgressDlg::CANCELNotif";
    static constexpr const char* Content = "VLProgressLabel";
    static constexpr ZALDialogNode::Kind Kind = ZALDialogNode::Kind::Label;
};

template <class Traits>
class ProgressDialog : public HostFixture {
protected:
    std::size_t Shown()
    {
        std::size_t count = 0;
        for (const ScriptedSurface::WindowEvent& event : Surface().WindowEvents())
            count += event.action == ScriptedSurface::WindowEvent::Action::Shown;
        return count;
    }
};

using Both = ::testing::Types<DownloadProgress, UploadProgress>;
TYPED_TEST_SUITE(ProgressDialog, Both);

TYPED_TEST(ProgressDialog, IsShownOnTheApplicationDocument)
{
    const auto* dialog = TypeParam::Dialog::Create();
    ASSERT_TRUE(dialog);
    EXPECT_STREQ(dialog->GetName().CastToCharPtr(), TypeParam::Name);
    EXPECT_EQ(0x44200U, dialog->GetStyle());
    EXPECT_EQ(dialog->GetFather(), ZALApplicationFrame::GetFrame()->GetApplicationDocument());
    EXPECT_TRUE(ZALDialogNode::Of(*dialog).visible);
    EXPECT_TRUE(ZALDialogNode::Of(*dialog).TakesInput());
    EXPECT_EQ(1U, this->Shown());
}

TYPED_TEST(ProgressDialog, HoldsOneFrameWithItsContentAttachedOnAllSides)
{
    auto* dialog = TypeParam::Dialog::Create();
    ASSERT_TRUE(dialog);
    const ZALDialogNode& window = ZALDialogNode::Of(*dialog);
    ASSERT_EQ(1U, window.children.size());
    EXPECT_EQ(window.attached, window.children);

    const ZALDialogNode& frame = ZALDialogNode::Of(*window.children[0]);
    EXPECT_EQ("VLDownloadProgressMainFrm", frame.Name());
    EXPECT_EQ(0x80000U, frame.style);
    EXPECT_EQ(frame.kind, ZALDialogNode::Kind::Frame);
    ASSERT_EQ(1U, frame.children.size());
    EXPECT_EQ(frame.attached, frame.children);

    const ZALDialogNode& content = ZALDialogNode::Of(*frame.children[0]);
    EXPECT_EQ(content.Name(), TypeParam::Content);
    EXPECT_EQ(0U, content.style);
    EXPECT_EQ(content.kind, TypeParam::Kind);
    EXPECT_TRUE(content.children.empty());
}

TYPED_TEST(ProgressDialog, IsCompleteWhenItIsShown)
{
    int shown = 0;
    this->Surface().ShowOn(std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.shown = [&](ZALDialog& dialog) {
        ++shown;
        EXPECT_FALSE(ZALDialogNode::Of(*ZALDialogNode::Of(dialog).children.at(0)).attached.empty());
    }}));
    TypeParam::Dialog::Create();
    EXPECT_EQ(1, shown);
}

TYPED_TEST(ProgressDialog, IsNotMadeWithoutAFrameOrItsDocument)
{
    ConfigureFrame({.applicationDocument = false});
    EXPECT_EQ(nullptr, TypeParam::Dialog::Create());
    EXPECT_EQ(0U, this->Shown());
    ResetFrame();
    EXPECT_EQ(nullptr, TypeParam::Dialog::Create());
    EXPECT_TRUE(LiveDialogs().empty());
}

TYPED_TEST(ProgressDialog, TellsEachClosingAndStays)
{
    auto* dialog = TypeParam::Dialog::Create();
    Listener listener([&](ZALBaseUnknown* publisher, ZALNotification* notification, void*) {
        EXPECT_EQ(publisher, dialog);
        EXPECT_STREQ(notification->IsA(), TypeParam::Cancel);
        EXPECT_EQ(0, notification->GetAutomaticDelete());
    });
    listener.Subscribe(dialog, TypeParam::Cancel);
    for (int closing = 1; closing <= 3; ++closing) {
        EXPECT_EQ(PushResult::Done, this->Surface().Push(TypeParam::Name, "CLOSE"));
        this->Loop().RunUntilIdle();
        EXPECT_EQ(listener.Calls(), closing);
        EXPECT_TRUE(ZALDialogNode::Of(*dialog).visible);
    }
}

TYPED_TEST(ProgressDialog, ClosingWithoutASubscriberDoesNothing)
{
    auto* dialog = TypeParam::Dialog::Create();
    EXPECT_EQ(PushResult::Done, this->Surface().Push(TypeParam::Name, "CLOSE"));
    this->Loop().RunUntilIdle();
    EXPECT_TRUE(ZALDialogNode::Of(*dialog).visible);
    EXPECT_EQ(1, this->CountOf(TypeParam::Cancel));
}

TYPED_TEST(ProgressDialog, TheSubscriberMayEndItInsideTheClosing)
{
    auto* dialog = TypeParam::Dialog::Create();
    const ZALBaseUnknown_WR reference(dialog);
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) {
        dialog->RequestDelayedDestruction();
        this->Loop().RunUntilIdle();
    });
    listener.Subscribe(dialog, TypeParam::Cancel);
    this->Surface().Push(TypeParam::Name, "CLOSE");
    EXPECT_EQ(nullptr, reference.GetComponent());
}

TYPED_TEST(ProgressDialog, EndsAfterTheEventInWhichItsOwnerAsks)
{
    auto* dialog = TypeParam::Dialog::Create();
    const ZALBaseUnknown_WR reference(dialog);
    dialog->RequestDelayedDestruction();
    dialog->RequestDelayedDestruction();
    EXPECT_TRUE(ZALDialogNode::Of(*dialog).visible);
    this->Loop().RunUntilIdle();
    EXPECT_EQ(nullptr, reference.GetComponent());
    EXPECT_EQ(PushResult::NoDialog, this->Surface().Push(TypeParam::Name, "CLOSE"));
}

TYPED_TEST(ProgressDialog, TakesNoClosingWhileItIsInsensitive)
{
    auto* dialog = TypeParam::Dialog::Create();
    dialog->SetSensitivity(16);
    EXPECT_EQ(PushResult::Insensitive, this->Surface().Push(TypeParam::Name, "CLOSE"));
    EXPECT_EQ(0, this->CountOf(TypeParam::Cancel));
}

TYPED_TEST(ProgressDialog, LooksForItsTextsUnderItsOwnNameFirst)
{
    const auto* dialog = TypeParam::Dialog::Create();
    EXPECT_STREQ(dialog->GetResourceFilename(0).CastToCharPtr(), TypeParam::Name);
    EXPECT_STREQ(dialog->GetResourceFilename(-1).CastToCharPtr(), TypeParam::Name);
    for (int index = 1; index < 4; ++index)
        EXPECT_EQ(dialog->GetResourceFilename(index), dialog->ZALDlgDialog::GetResourceFilename(index - 1)) << index;
}

TYPED_TEST(ProgressDialog, HasTheTextsOfItsResourceFile)
{
    const std::filesystem::path folder = this->Folder() / "installation" / "resources" / "dialogs";
    std::filesystem::create_directories(folder);
    std::ofstream(folder / (std::string(TypeParam::Name) + ".ZALRsc"))
        << "Title = \"Running\";\n"
        << TypeParam::Content << ".Title = \"Content\";\n";
    const auto* dialog = TypeParam::Dialog::Create();
    EXPECT_EQ(ZALUnicodeString("Running"), dialog->GetTitle());
    EXPECT_EQ(ZALUnicodeString("Content"), this->Surface().Find(TypeParam::Name, TypeParam::Content)->GetTitle());
}

TYPED_TEST(ProgressDialog, TwoOfThemTellTheirOwnClosing)
{
    auto* first = TypeParam::Dialog::Create();
    auto* second = TypeParam::Dialog::Create();
    Listener ofFirst;
    Listener ofSecond;
    ofFirst.Subscribe(first, TypeParam::Cancel);
    ofSecond.Subscribe(second, TypeParam::Cancel);
    this->Surface().Push(TypeParam::Name, "CLOSE"); // the newest one
    EXPECT_EQ(0, ofFirst.Calls());
    EXPECT_EQ(1, ofSecond.Calls());
}

// ---------------------------------------------------------------------------------------------
// The bar

class ProgressBar : public HostFixture {
protected:
    const ZALDialogNode& Bar()
    {
        return ZALDialogNode::Of(*Surface().Find("ZALVelmartDownloadProgressDlg", "VLProgressBar"));
    }
};

TEST_F(ProgressBar, RunsFromZeroToAHundredInItsRectangle)
{
    ZALVelmartDownloadProgressDlg::Create();
    EXPECT_EQ(0, Bar().minimum);
    EXPECT_EQ(100, Bar().maximum);
    EXPECT_EQ(0, Bar().position);
    EXPECT_TRUE(Bar().hasRectangle);
    EXPECT_EQ(0, Bar().x);
    EXPECT_EQ(0, Bar().y);
    EXPECT_EQ(15, Bar().height);
    EXPECT_EQ(200, Bar().width);
}

TEST_F(ProgressBar, IsToldItsRangeItsPositionAndThenItsPlace)
{
    Texts steps;
    Surface().ShowOn(std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.changed = [&](ZALDialog& control) {
        const ZALDialogNode& bar = ZALDialogNode::Of(control);
        if (bar.Name() == "VLProgressBar")
            steps.push_back(bar.hasRectangle ? "place" : "value");
    }}));
    const journal::Sink before = journal::Redirect([&](const nlohmann::ordered_json& event) {
        if (event["event"] == "progress")
            steps.push_back("position " + event["position"].dump());
    });
    ZALVelmartDownloadProgressDlg::Create();
    journal::Redirect(before);
    EXPECT_EQ((Texts{"value", "value", "position 0", "place"}), steps);
}

TEST_F(ProgressBar, MovesBeforeItsRepaint)
{
    auto* dialog = ZALVelmartDownloadProgressDlg::Create();
    int moves = 0;
    Surface().ShowOn(std::make_unique<WatchingDisplay>(WatchingDisplay::Watches{.changed = [&](ZALDialog&) {
        ++moves;
        EXPECT_EQ(0, DisplayUpdateCount());
    }}));
    dialog->UpdateProgress(42);
    EXPECT_EQ(1, moves);
    EXPECT_EQ(1, DisplayUpdateCount());
}

TEST_F(ProgressBar, OutlivesADisplayWithoutMemory)
{
    auto* dialog = ZALVelmartDownloadProgressDlg::Create();
    Surface().ShowOn(std::make_unique<WatchingDisplay>(
        WatchingDisplay::Watches{.changed = [](ZALDialog&) { throw std::bad_alloc(); }}));
    EXPECT_NO_THROW(dialog->UpdateProgress(42));
    EXPECT_EQ(nullptr, ZALVelmartDownloadProgressDlg::Create());
}

TEST_F(ProgressBar, MovesAndRepaintsWithEachUpdate)
{
    auto* dialog = ZALVelmartDownloadProgressDlg::Create();
    int updates = 0;
    for (const int percent : {0, 11, 50, 50, 100, 20}) {
        dialog->UpdateProgress(percent);
        EXPECT_EQ(Bar().position, percent);
        EXPECT_EQ(DisplayUpdateCount(), ++updates);
    }
}

TEST_F(ProgressBar, StaysInItsRange)
{
    auto* dialog = ZALVelmartDownloadProgressDlg::Create();
    dialog->UpdateProgress(-1);
    EXPECT_EQ(0, Bar().position);
    dialog->UpdateProgress(INT32_MAX);
    EXPECT_EQ(100, Bar().position);
    EXPECT_EQ(2, DisplayUpdateCount());
    ConfigureCommands({.application = false}); // nobody to repaint
    dialog->UpdateProgress(30);
    EXPECT_EQ(30, Bar().position);
}

TEST_F(ProgressBar, IsNotMovedBeforeItIsThere)
{
    auto* dialog = DialogProbe::MakeBareProgress(ZALApplicationFrame::GetFrame()->GetApplicationDocument());
    dialog->UpdateProgress(30);
    EXPECT_EQ(1, DisplayUpdateCount());
}

TEST_F(ProgressBar, TheLabelOfTheUploadHasNone)
{
    ZALVelmartFindSimilarUploadProgressDlg::Create();
    EXPECT_EQ(nullptr, Surface().Find("ZALVelmartFindSimilarUploadProgressDlg", "VLProgressBar"));
    EXPECT_EQ(0, DisplayUpdateCount());
}

} // namespace

} // namespace openhost::testing
