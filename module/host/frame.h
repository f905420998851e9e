// The application frame of the host: main window, workshop, layout, editor. All of it is used on the
// user-interface thread; the objects belong to the host, and no reference is added.
#pragma once

#include "dialogs.h"

#include <vector>

/// The frame of the application. A run without windows has none.
class ZALApplicationFrame : public ZALEventSubscriber {
public:
    ZALApplicationFrame();
    ~ZALApplicationFrame() override;
    /// The frame, or null.
    static ZALApplicationFrame* GetFrame();
    /// Window that is the parent of messages; may be null.
    virtual ZALDialog* GetMainWindow() = 0;
    /// Window of documents, the parent of the module's dialogs; may be null.
    virtual ZALDialog* GetApplicationDocument() = 0;
    /// Name of the current workshop, such as "PRDWorkshop"; empty for none.
    virtual ZALString GetCurrentWorkshop() = 0;
    /// Shows the wait cursor until the next event of the user.
    virtual void SetBusyCursor() = 0;
};

/// The current set of objects: what the user has highlighted in the tree or the view before he starts a command.
class ZALCSO : public ZALBaseUnknown {
public:
    ZALCSO();
    ~ZALCSO() override;
    /// Begins a walk through the elements, in the order in which they were added.
    void InitElementList();
    /// The next element of the walk, a ZALPathElement where it stands for an object of the workspace; null after the
    /// last one. No reference is added.
    ZALBaseUnknown* NextElement();
    /// The host's operations: appends `element` with a reference to it; takes all elements out.
    void AddElement(ZALBaseUnknown* element);
    void Empty();

private:
    std::vector<ZALBaseUnknown*> elements_;
    std::size_t next_ = 0; ///< of the walk
};

/// The editor of a document window.
class ZALFrmEditor : public ZALEventSubscriber {
public:
    ZALFrmEditor();
    ~ZALFrmEditor() override;
    /// The active editor, or null without an open document.
    static ZALFrmEditor* GetCurrentEditor();
    /// The current set of objects; may be null.
    virtual ZALCSO* GetCSO() = 0;
};

/// The layout of windows, the publisher of ZALWorkbenchChanged.
class ZALFrmLayout : public ZALEventSubscriber {
public:
    ZALFrmLayout();
    ~ZALFrmLayout() override;
    /// The layout, or null.
    static ZALFrmLayout* GetCurrentLayout();
};

/// Dispatched on the layout after the workbench has changed.
class ZALWorkbenchChanged : public ZALNotification {
public:
    ZALWorkbenchChanged();
    ~ZALWorkbenchChanged() override;
    ZAL_DECLARE_META_CLASS
};
