#include "openhost/frame/Frame.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/dialogs/ScriptedSurface.h"

#include "host/frame.h"

#include "tests/support/Listener.h"

#include <gtest/gtest.h>

namespace openhost {
namespace {

using testing::Listener;

class Frame : public ::testing::Test {
protected:
    Frame() { ResetFrame(); }
    ~Frame() override { ResetFrame(); }

    static ZALApplicationFrame& TheFrame() { return *ZALApplicationFrame::GetFrame(); }
    static std::string Workshop() { return TheFrame().GetCurrentWorkshop().CastToCharPtr(); }
    static void ExpectNone()
    {
        EXPECT_EQ(nullptr, ZALApplicationFrame::GetFrame());
        EXPECT_EQ(nullptr, ZALFrmLayout::GetCurrentLayout());
        EXPECT_EQ(nullptr, ZALFrmEditor::GetCurrentEditor());
    }
};

TEST_F(Frame, IsAbsentUntilItIsConfiguredAndAfterItsReset)
{
    ExpectNone();
    ConfigureFrame({.editor = true});
    EXPECT_NE(nullptr, ZALApplicationFrame::GetFrame());
    EXPECT_NE(nullptr, ZALFrmLayout::GetCurrentLayout());
    EXPECT_NE(nullptr, ZALFrmEditor::GetCurrentEditor());
    ResetFrame();
    ExpectNone();
}

TEST_F(Frame, HasWindowsAndAWorkshopByDefaultButNoEditor)
{
    ConfigureFrame({});
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    ASSERT_NE(nullptr, frame);
    ASSERT_NE(nullptr, frame->GetMainWindow());
    ASSERT_NE(nullptr, frame->GetApplicationDocument());
    EXPECT_EQ(frame->GetMainWindow(), frame->GetApplicationDocument()->GetFather());
    EXPECT_EQ("PRDWorkshop", Workshop());
    EXPECT_EQ(nullptr, ZALFrmEditor::GetCurrentEditor());
    EXPECT_EQ(frame, ZALApplicationFrame::GetFrame());
}

TEST_F(Frame, LacksEachPartThatTheOptionsLeaveOut)
{
    ConfigureFrame({.workshop = "", .mainWindow = false});
    EXPECT_EQ(nullptr, TheFrame().GetMainWindow());
    ASSERT_NE(nullptr, TheFrame().GetApplicationDocument());
    EXPECT_EQ(nullptr, TheFrame().GetApplicationDocument()->GetFather());
    EXPECT_EQ("", Workshop());

    ConfigureFrame({.applicationDocument = false, .layout = false});
    EXPECT_EQ(nullptr, TheFrame().GetApplicationDocument());
    EXPECT_NE(nullptr, TheFrame().GetMainWindow());
    EXPECT_EQ(nullptr, ZALFrmLayout::GetCurrentLayout());

    ConfigureFrame({.exists = false});
    EXPECT_EQ(nullptr, ZALApplicationFrame::GetFrame());
    EXPECT_NE(nullptr, ZALFrmLayout::GetCurrentLayout());
}

TEST_F(Frame, TellsTheWorkbenchChangeAfterItToSubscribersOfItsLayout)
{
    ConfigureFrame({});
    std::string seen;
    Listener listener([&](ZALBaseUnknown*, ZALNotification*, void*) { seen += Workshop() + ";"; });
    listener.Subscribe(ZALFrmLayout::GetCurrentLayout(), ZALWorkbenchChanged::ClassName());
    ChangeWorkshop("PrtCfg");
    ChangeWorkshop("PRDWorkshop");
    EXPECT_EQ("PrtCfg;PRDWorkshop;", seen);
    ConfigureFrame({});
    ChangeWorkshop("PrtCfg");
    EXPECT_EQ(2, listener.Calls()) << "the layout is another one";
}

TEST_F(Frame, ChangesTheWorkshopWithoutALayoutOrAFrame)
{
    ChangeWorkshop("PrtCfg");
    ConfigureFrame({.layout = false});
    ChangeWorkshop("PrtCfg");
    EXPECT_EQ("PrtCfg", Workshop());
}

TEST_F(Frame, CountsTheWaitCursor)
{
    EXPECT_EQ(0, BusyCursorCount());
    ConfigureFrame({});
    EXPECT_EQ(0, BusyCursorCount());
    TheFrame().SetBusyCursor();
    TheFrame().SetBusyCursor();
    EXPECT_EQ(2, BusyCursorCount());
    ConfigureFrame({});
    EXPECT_EQ(0, BusyCursorCount());
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
    EXPECT_EQ(nullptr, surface.Find("Progress"));
    EXPECT_EQ(nullptr, surface.Find("MainWindow"));
    EXPECT_EQ(ScriptedSurface::WindowEvent::Action::Ended, surface.WindowEvents().back().action);
    EXPECT_EQ(0U, mainWindow->Release());
}

TEST_F(Frame, MayEndBeforeOrBehindAllOtherDialogs)
{
    ConfigureFrame({});
    new ZALDlgDialog(ZALApplicationFrame::GetFrame()->GetApplicationDocument(), "Progress", 0);
    new ZALDlgDialog(nullptr, "Orphan", 0);
    EndAllDialogs();
    EXPECT_TRUE(LiveDialogs().empty());
    ASSERT_NE(nullptr, ZALApplicationFrame::GetFrame()->GetMainWindow());
    ResetFrame();
    EndAllDialogs();
    EXPECT_EQ(nullptr, ZALApplicationFrame::GetFrame());
}

TEST_F(Frame, NotificationHasItsClass)
{
    ZALWorkbenchChanged notification;
    EXPECT_STREQ("ZALWorkbenchChanged", notification.IsA());
    EXPECT_EQ(1, notification.IsAKindOf("ZALNotification"));
}

TEST_F(Frame, HasACurrentSetOfObjectsInItsEditor)
{
    ConfigureFrame({.editor = true});
    ZALCSO* objects = ZALFrmEditor::GetCurrentEditor()->GetCSO();
    ASSERT_NE(nullptr, objects);
    objects->InitElementList();
    EXPECT_EQ(nullptr, objects->NextElement());

    auto* first = new ZALEventSubscriber;
    auto* second = new ZALEventSubscriber;
    objects->AddElement(first);
    objects->AddElement(nullptr);
    objects->AddElement(second);
    for (int times = 0; times < 2; ++times) {
        objects->InitElementList();
        EXPECT_EQ(first, objects->NextElement());
        EXPECT_EQ(second, objects->NextElement());
        EXPECT_EQ(nullptr, objects->NextElement());
        EXPECT_EQ(nullptr, objects->NextElement());
    }
    EXPECT_EQ(1U, first->Release());

    first->AddRef();
    SetEditor(true); // another document
    objects->InitElementList();
    EXPECT_EQ(nullptr, objects->NextElement());
    EXPECT_EQ(0U, first->Release());
    second->Release();
}

TEST_F(Frame, LetsGoOfTheCurrentSetOfObjectsAtItsEnd)
{
    ConfigureFrame({.editor = true});
    auto* element = new ZALEventSubscriber;
    ZALFrmEditor::GetCurrentEditor()->GetCSO()->AddElement(element);
    ResetFrame();
    EXPECT_EQ(0U, element->Release());
}

TEST_F(Frame, MayLackTheCurrentSetOfObjects)
{
    ConfigureFrame({.editor = true, .objectSet = false});
    EXPECT_EQ(nullptr, ZALFrmEditor::GetCurrentEditor()->GetCSO());
    SetEditor(true);
}

} // namespace
} // namespace openhost
