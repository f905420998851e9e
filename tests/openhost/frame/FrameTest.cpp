#include "openhost/frame/Frame.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/ScriptedSurface.h"

#include "host/frame.h"

#include <gtest/gtest.h>

#include <functional>

namespace openhost {
namespace {

class Frame : public ::testing::Test {
protected:
    Frame() { ResetFrame(); }
    ~Frame() override { ResetFrame(); }
};

class Subscriber : public ZALEventSubscriber {
public:
    explicit Subscriber(std::function<void()> call) : call_(std::move(call)) {}
    void OnNotification(ZALBaseUnknown*, ZALNotification*, void*) { call_(); }

private:
    std::function<void()> call_;
};

TEST_F(Frame, IsAbsentUntilItIsConfiguredAndAfterItsReset)
{
    EXPECT_EQ(ZALApplicationFrame::GetFrame(), nullptr);
    EXPECT_EQ(ZALFrmLayout::GetCurrentLayout(), nullptr);
    EXPECT_EQ(ZALFrmEditor::GetCurrentEditor(), nullptr);
    FrameOptions options;
    options.editor = true;
    ConfigureFrame(options);
    EXPECT_NE(ZALApplicationFrame::GetFrame(), nullptr);
    EXPECT_NE(ZALFrmLayout::GetCurrentLayout(), nullptr);
    EXPECT_NE(ZALFrmEditor::GetCurrentEditor(), nullptr);
    ResetFrame();
    EXPECT_EQ(ZALApplicationFrame::GetFrame(), nullptr);
    EXPECT_EQ(ZALFrmLayout::GetCurrentLayout(), nullptr);
    EXPECT_EQ(ZALFrmEditor::GetCurrentEditor(), nullptr);
}

TEST_F(Frame, HasWindowsAndAWorkshopByDefaultButNoEditor)
{
    ConfigureFrame({});
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    ASSERT_NE(frame, nullptr);
    ASSERT_NE(frame->GetMainWindow(), nullptr);
    ASSERT_NE(frame->GetApplicationDocument(), nullptr);
    EXPECT_EQ(frame->GetApplicationDocument()->GetFather(), frame->GetMainWindow());
    EXPECT_STREQ(frame->GetCurrentWorkshop().CastToCharPtr(), "PRDWorkshop");
    EXPECT_EQ(ZALFrmEditor::GetCurrentEditor(), nullptr);
    EXPECT_EQ(ZALApplicationFrame::GetFrame(), frame);
}

TEST_F(Frame, LacksEachPartThatTheOptionsLeaveOut)
{
    FrameOptions options;
    options.mainWindow = false;
    options.workshop = "";
    ConfigureFrame(options);
    EXPECT_EQ(ZALApplicationFrame::GetFrame()->GetMainWindow(), nullptr);
    ASSERT_NE(ZALApplicationFrame::GetFrame()->GetApplicationDocument(), nullptr);
    EXPECT_EQ(ZALApplicationFrame::GetFrame()->GetApplicationDocument()->GetFather(), nullptr);
    EXPECT_EQ(ZALApplicationFrame::GetFrame()->GetCurrentWorkshop().GetLengthInChar(), 0);

    options = {};
    options.applicationDocument = false;
    options.layout = false;
    ConfigureFrame(options);
    EXPECT_EQ(ZALApplicationFrame::GetFrame()->GetApplicationDocument(), nullptr);
    EXPECT_NE(ZALApplicationFrame::GetFrame()->GetMainWindow(), nullptr);
    EXPECT_EQ(ZALFrmLayout::GetCurrentLayout(), nullptr);

    options = {};
    options.exists = false;
    ConfigureFrame(options);
    EXPECT_EQ(ZALApplicationFrame::GetFrame(), nullptr);
    EXPECT_NE(ZALFrmLayout::GetCurrentLayout(), nullptr);
}

TEST_F(Frame, TellsTheWorkbenchChangeAfterIt)
{
    ConfigureFrame({});
    std::string seen;
    Subscriber subscriber(
        [&] { seen += ZALApplicationFrame::GetFrame()->GetCurrentWorkshop().CastToCharPtr() + std::string(";"); });
    subscriber.AddCallback(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName(),
                           &Subscriber::OnNotification, nullptr);
    ChangeWorkshop("PrtCfg");
    ChangeWorkshop("PRDWorkshop");
    EXPECT_EQ(seen, "PrtCfg;PRDWorkshop;");
}

TEST_F(Frame, ChangesTheWorkshopWithoutALayoutOrAFrame)
{
    ChangeWorkshop("PrtCfg");
    FrameOptions options;
    options.layout = false;
    ConfigureFrame(options);
    ChangeWorkshop("PrtCfg");
    EXPECT_STREQ(ZALApplicationFrame::GetFrame()->GetCurrentWorkshop().CastToCharPtr(), "PrtCfg");
}

TEST_F(Frame, DropsTheSubscriptionsOfTheLayoutBefore)
{
    ConfigureFrame({});
    int calls = 0;
    Subscriber subscriber([&] { ++calls; });
    subscriber.AddCallback(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName(),
                           &Subscriber::OnNotification, nullptr);
    ConfigureFrame({});
    ChangeWorkshop("PrtCfg");
    EXPECT_EQ(calls, 0);
}

TEST_F(Frame, CountsTheWaitCursor)
{
    EXPECT_EQ(BusyCursorCount(), 0);
    ConfigureFrame({});
    EXPECT_EQ(BusyCursorCount(), 0);
    ZALApplicationFrame::GetFrame()->SetBusyCursor();
    ZALApplicationFrame::GetFrame()->SetBusyCursor();
    EXPECT_EQ(BusyCursorCount(), 2);
    ConfigureFrame({});
    EXPECT_EQ(BusyCursorCount(), 0);
}

TEST_F(Frame, EndsWithAllDialogsInItsWindows)
{
    const auto before = DialogSurface::Install(std::make_unique<ScriptedSurface>());
    auto& surface = static_cast<ScriptedSurface&>(DialogSurface::Current());
    ConfigureFrame({});
    auto* dialog = new ZALDlgDialog(ZALApplicationFrame::GetFrame()->GetApplicationDocument(), "Progress", 0);
    dialog->SetVisibility(ZALDlgShow);
    ZALDialog* mainWindow = ZALApplicationFrame::GetFrame()->GetMainWindow();
    mainWindow->AddRef();
    ResetFrame();
    EXPECT_EQ(surface.Find("Progress"), nullptr);
    EXPECT_EQ(surface.Find("MainWindow"), nullptr);
    EXPECT_EQ(surface.WindowEvents().back().action, ScriptedSurface::WindowEvent::Action::Ended);
    EXPECT_EQ(mainWindow->Release(), 0U);
}

TEST_F(Frame, MayEndBeforeOrBehindAllOtherDialogs)
{
    ConfigureFrame({});
    new ZALDlgDialog(ZALApplicationFrame::GetFrame()->GetApplicationDocument(), "Progress", 0);
    new ZALDlgDialog(nullptr, "Orphan", 0);
    EndAllDialogs();
    EXPECT_TRUE(LiveDialogs().empty());
    ASSERT_NE(ZALApplicationFrame::GetFrame()->GetMainWindow(), nullptr);
    ResetFrame();
    EndAllDialogs();
    EXPECT_EQ(ZALApplicationFrame::GetFrame(), nullptr);
}

TEST_F(Frame, NotificationHasItsClass)
{
    ZALWorkbenchChanged notification;
    EXPECT_STREQ(notification.IsA(), "ZALWorkbenchChanged");
    EXPECT_EQ(notification.IsAKindOf("ZALNotification"), 1);
}

TEST_F(Frame, HasACurrentSetOfObjectsInItsEditor)
{
    ConfigureFrame({.editor = true});
    ZALCSO* objects = ZALFrmEditor::GetCurrentEditor()->GetCSO();
    ASSERT_NE(objects, nullptr);
    objects->InitElementList();
    EXPECT_EQ(objects->NextElement(), nullptr);

    auto* first = new ZALEventSubscriber;
    auto* second = new ZALEventSubscriber;
    objects->AddElement(first);
    objects->AddElement(nullptr);
    objects->AddElement(second);
    for (int times = 0; times < 2; ++times) {
        objects->InitElementList();
        EXPECT_EQ(objects->NextElement(), first);
        EXPECT_EQ(objects->NextElement(), second);
        EXPECT_EQ(objects->NextElement(), nullptr);
        EXPECT_EQ(objects->NextElement(), nullptr);
    }
    EXPECT_EQ(first->Release(), 1U);

    first->AddRef();
    SetEditor(true); // another document
    objects->InitElementList();
    EXPECT_EQ(objects->NextElement(), nullptr);
    EXPECT_EQ(first->Release(), 0U);
    second->Release();
}

TEST_F(Frame, LetsGoOfTheCurrentSetOfObjectsAtItsEnd)
{
    ConfigureFrame({.editor = true});
    auto* element = new ZALEventSubscriber;
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->AddElement(element);
    ResetFrame();
    EXPECT_EQ(element->Release(), 0U);
}

TEST_F(Frame, MayLackTheCurrentSetOfObjects)
{
    ConfigureFrame({.editor = true, .objectSet = false});
    EXPECT_EQ(ZALFrmEditor::GetCurrentEditor()->GetCSO(), nullptr);
    SetEditor(true);
}

} // namespace
} // namespace openhost
