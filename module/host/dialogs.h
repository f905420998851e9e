// Dialogs of the host: a tree of named controls, message catalogs, blocking questions. All of it is used on
// the user-interface thread.
//
// Life of a window, in order:
//   1. `new` with its parent; the host owns it from then on, and a parent ends its children.
//   2. Controls are made inside it, attached, and the window is shown by SetVisibility(ZALDlgShow).
//   3. The user's actions arrive as notifications that the control dispatches on itself.
//   4. RequestDelayedDestruction; the object ends between two events, never inside the call.
#pragma once

#include "text.h"

/// Values of SetVisibility.
inline constexpr int ZALDlgShow = 2;
inline constexpr int ZALDlgHide = 4;

/// Values of SetSensitivity.
inline constexpr int ZALDlgSensitive = 8;
inline constexpr int ZALDlgInsensitive = 16;

/// Styles of windows and controls.
inline constexpr unsigned int ZALDlgNoStyle = 0;
inline constexpr unsigned int ZALDlgProgressWindow = 0x44200; ///< modeless, no buttons, closable by the window
inline constexpr unsigned int ZALDlgFrameWithoutTitle = 0x80000;

/// Styles of ZALDlgNotify.
inline constexpr unsigned int ZALDlgNotifyError = 16384;     ///< a message with OK
inline constexpr unsigned int ZALDlgNotifyYesNo = 0x2800200; ///< a modal question with Yes and No

/// Answers of ZALDlgNotify::DisplayBlocked.
inline constexpr int ZALDlgAnswerClosed = 0;
inline constexpr int ZALDlgAnswerOK = 1;
inline constexpr int ZALDlgAnswerCancel = 2;
inline constexpr int ZALDlgAnswerYes = 3;
inline constexpr int ZALDlgAnswerNo = 4;

struct ZALDialogNode; // the host's state of one control

/// A node of the control tree: a window or a control.
class ZALDialog : public ZALEventSubscriber {
public:
    /// `parent` may be null for a window. The resource name is `name`.
    ZALDialog(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDialog() override;

    const ZALString& GetName() const;
    unsigned int GetStyle() const;
    ZALDialog* GetFather() const;

    /// ZALDlgShow or ZALDlgHide.
    void SetVisibility(int visibility);
    /// ZALDlgSensitive or ZALDlgInsensitive: whether the control and what it holds takes input.
    void SetSensitivity(int sensitivity);
    void SetTitle(const ZALUnicodeString& title);
    ZALUnicodeString GetTitle() const;
    /// Position and size in pixels: left, top, height, width.
    void SetRectDimensions(int x, int y, int height, int width);
    /// Attaches `child`, made inside this control, to all four sides, so that both grow together.
    void Attach4Sides(ZALDialog* child);
    /// Asks the host to end the object between events. Asking again does nothing.
    virtual void RequestDelayedDestruction();
    /// Names of the resource files that hold the texts of the control, most special first: index 0, 1, and so
    /// on. An empty text ends the list.
    virtual ZALString GetResourceFilename(int index) const;

    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;

private:
    friend struct ZALDialogNode;
    ZALDialogNode* node_;
};

/// Dispatched by a window on itself each time the user uses its close box. The window stays.
class ZALDlgWindCloseNotification : public ZALNotification {
public:
    ZALDlgWindCloseNotification();
    ~ZALDlgWindCloseNotification() override;
    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;
};

/// A window.
class ZALDlgDialog : public ZALDialog {
public:
    ZALDlgDialog(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgDialog() override;
    static ZALClassId ClassId();
    static const char* ClassName();
    static ZALMetaClass* MetaObject();
    ZALMetaClass* GetMetaObject() const override;
    const char* IsA() const override;
    int IsAKindOf(const char* className) const override;
};

/// A container of controls.
class ZALDlgFrame : public ZALDialog {
public:
    ZALDlgFrame(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgFrame() override;
};

/// A text that the user reads; it comes from the resource file.
class ZALDlgLabel : public ZALDialog {
public:
    ZALDlgLabel(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgLabel() override;
};

/// A progress bar.
class ZALDlgProgress : public ZALDialog {
public:
    ZALDlgProgress(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgProgress() override;
    void SetRange(int minimum, int maximum);
    /// Cut off at the range.
    void SetPos(int position);
    int GetPos() const;
};

/// A modal message or question.
class ZALDlgNotify : public ZALDlgDialog {
public:
    ZALDlgNotify(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgNotify() override;
    /// Shows the dialog and runs the event loop until the user has answered; one of the answers above.
    int DisplayBlocked(const ZALUnicodeString& text, const ZALUnicodeString& title);
};

/// Texts for the user, by catalog and key, in the language of the host.
class ZALMsgCatalog {
public:
    /// The text of `key` in `catalog`, or `defaultText` when there is none. "/P1" to "/P9" in it are replaced
    /// by the `count` texts of `parameters`.
    static ZALUnicodeString BuildMessage(const ZALString& catalog, const ZALString& key,
                                         const ZALUnicodeString* parameters, int count,
                                         const ZALUnicodeString& defaultText);
};
