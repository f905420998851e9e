#include "openhost/frame/Frame.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/objects/MetaClassOperations.h"

#include "host/frame.h"

#include <memory>
#include <utility>

namespace openhost {

namespace {

struct ReleaseObject {
    void operator()(ZALBaseUnknown* object) const { object->Release(); }
};

template <class T>
using Owned = std::unique_ptr<T, ReleaseObject>;

// A window of the frame. It ends with the frame, whoever else holds it.
struct EndWindow {
    void operator()(ZALDialog* window) const
    {
        ZALDialogNode::Of(*window).EndAndRelease();
        window->Release();
    }
};

using FrameWindow = std::unique_ptr<ZALDialog, EndWindow>;

FrameWindow MakeWindow(ZALDialog* parent, const char* name)
{
    auto* window = new ZALDlgDialog(parent, name, ZALDlgNoStyle);
    window->AddRef();
    return FrameWindow(window);
}

} // namespace

class SessionFrame : public ZALApplicationFrame {
public:
    explicit SessionFrame(const FrameOptions& options) : workshop(options.workshop)
    {
        if (options.mainWindow)
            mainWindow_ = MakeWindow(nullptr, "MainWindow");
        if (options.applicationDocument)
            applicationDocument_ = MakeWindow(mainWindow_.get(), "ApplicationDocument");
    }

    ZALDialog* GetMainWindow() override { return mainWindow_.get(); }
    ZALDialog* GetApplicationDocument() override { return applicationDocument_.get(); }
    ZALString GetCurrentWorkshop() override { return workshop.c_str(); }
    void SetBusyCursor() override { ++busyCursors; }

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

    std::string workshop;
    int busyCursors = 0;

private:
    FrameWindow mainWindow_;
    FrameWindow applicationDocument_;
};

OPENHOST_META_CLASS(SessionFrame, ZALEventSubscriber)

namespace {

class SessionEditor : public ZALFrmEditor {
public:
    explicit SessionEditor(bool objectSet) : objectSet_(objectSet ? new ZALCSO : nullptr) {}
    ZALCSO* GetCSO() override { return objectSet_.get(); }

private:
    Owned<ZALCSO> objectSet_;
};

struct Session {
    Owned<SessionFrame> frame;
    Owned<ZALFrmEditor> editor;
    Owned<ZALFrmLayout> layout;
};

// Never destroyed: the windows of a session that nobody has ended stay with the process.
Session& Current()
{
    static auto& session = *new Session;
    return session;
}

} // namespace

void ConfigureFrame(const FrameOptions& options)
{
    ResetFrame();
    Session& session = Current();
    if (options.exists)
        session.frame.reset(new SessionFrame(options));
    if (options.editor)
        session.editor.reset(new SessionEditor(options.objectSet));
    if (options.layout)
        session.layout.reset(new ZALFrmLayout);
}

void ResetFrame()
{
    // Taken out first: what ends here may ask for the frame.
    const Session ending = std::exchange(Current(), Session{});
}

void SetEditor(bool exists)
{
    Session& session = Current();
    if (exists && session.editor) {
        if (ZALCSO* objectSet = session.editor->GetCSO())
            objectSet->Empty();
        return;
    }
    const Owned<ZALFrmEditor> ending = std::exchange(session.editor, nullptr);
    if (exists)
        session.editor.reset(new SessionEditor(true));
}

void ChangeWorkshop(const std::string& name)
{
    Session& session = Current();
    if (session.frame)
        session.frame->workshop = name;
    if (session.layout) {
        ZALWorkbenchChanged notification;
        DispatchCallbacks(session.layout.get(), &notification);
    }
}

int BusyCursorCount()
{
    return Current().frame ? Current().frame->busyCursors : 0;
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

ZALApplicationFrame* ZALApplicationFrame::GetFrame()
{
    return openhost::Current().frame.get();
}

ZALFrmEditor* ZALFrmEditor::GetCurrentEditor()
{
    return openhost::Current().editor.get();
}

ZALFrmLayout* ZALFrmLayout::GetCurrentLayout()
{
    return openhost::Current().layout.get();
}
