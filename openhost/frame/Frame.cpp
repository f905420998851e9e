#include "openhost/frame/Frame.h"

#include "openhost/dialogs/DialogNode.h"
#include "openhost/objects/MetaClassOperations.h"
#include "openhost/objects/Owned.h"

#include "host/frame.h"

#include <memory>
#include <utility>

namespace openhost {

namespace {

// A window of the frame. It ends with the frame, whoever else holds it.
struct EndWindow {
    void operator()(ZALDialog* window) const
    {
        const Owned<ZALDialog> held(window);
        ZALDialogNode::Of(*window).EndAndRelease();
    }
};

using FrameWindow = std::unique_ptr<ZALDialog, EndWindow>;

FrameWindow MakeWindow(ZALDialog* parent, const char* name)
{
    return FrameWindow(Share(new ZALDlgDialog(parent, name, ZALDlgNoStyle)).release());
}

} // namespace

class HostFrame : public ZALApplicationFrame {
public:
    explicit HostFrame(const FrameOptions& options) : workshop(options.workshop)
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

OPENHOST_META_CLASS(HostFrame, ZALEventSubscriber)

namespace {

class HostEditor : public ZALFrmEditor {
public:
    explicit HostEditor(bool objectSet) : objectSet_(objectSet ? new ZALCSO : nullptr) {}
    ZALCSO* GetCSO() override { return objectSet_.get(); }

private:
    Owned<ZALCSO> objectSet_;
};

struct Run {
    Owned<HostFrame> frame;
    Owned<ZALFrmEditor> editor;
    Owned<ZALFrmLayout> layout;
};

// Never destroyed: the windows of a run that nobody has ended stay with the process.
Run& Current()
{
    static auto& run = *new Run;
    return run;
}

} // namespace

void ConfigureFrame(const FrameOptions& options)
{
    ResetFrame();
    Run& run = Current();
    if (options.exists)
        run.frame.reset(new HostFrame(options));
    if (options.editor)
        run.editor.reset(new HostEditor(options.objectSet));
    if (options.layout)
        run.layout.reset(new ZALFrmLayout);
}

void ResetFrame()
{
    // Taken out first: what ends here may ask for the frame.
    const Run ending = std::exchange(Current(), Run{});
}

void SetEditor(bool exists)
{
    Run& run = Current();
    if (exists && run.editor) {
        if (ZALCSO* objectSet = run.editor->GetCSO())
            objectSet->Empty();
        return;
    }
    const Owned<ZALFrmEditor> ending = std::exchange(run.editor, nullptr);
    if (exists)
        run.editor.reset(new HostEditor(true));
}

void ChangeWorkshop(const std::string& name)
{
    Run& run = Current();
    if (run.frame)
        run.frame->workshop = name;
    if (run.layout) {
        ZALWorkbenchChanged notification;
        DispatchCallbacks(run.layout.get(), &notification);
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
