// Dialogs of the host: a tree of named controls, message catalogs, blocking questions. All of it is used on
// the user-interface thread.
//
// Life of a window, in order:
//   1. `new` with its parent; the host owns it from then on, and a parent ends its children.
//   2. Controls are made inside it, attached, and the window is shown by SetVisibility(ZALDlgShow).
//   3. The user's actions arrive as notifications that the control dispatches on itself.
//   4. RequestDelayedDestruction; the object ends between two events, never inside the call.
// A question whose parent ends inside its DisplayBlocked is answered as closed, and lives on until its own
// RequestDelayedDestruction, or until the run ends.
// What has ended, also with its parent, is not shown any more and takes no input; whoever holds a reference on a window
// may still call it and what it holds.
#pragma once

#include "text.h"

#include <initializer_list>

class ZALSettingInfo;

/// Values of SetVisibility.
inline constexpr int ZALDlgShow = 2;
inline constexpr int ZALDlgHide = 4;

/// Values of SetSensitivity.
inline constexpr int ZALDlgSensitive = 8;
inline constexpr int ZALDlgInsensitive = 16;

/// Styles of windows and controls.
inline constexpr unsigned int ZALDlgNoStyle = 0;
inline constexpr unsigned int ZALDlgProgressWindow = 0x44200;   ///< modeless, no buttons, closable by the window
inline constexpr unsigned int ZALDlgOKCancelWindow = 0x2000200; ///< modeless, with OK and CANCEL
inline constexpr unsigned int ZALDlgFolderChooser = 0x12000200; ///< of a file box: chooses a folder
inline constexpr unsigned int ZALDlgFrameWithoutTitle = 0x80000;
inline constexpr unsigned int ZALDlgGridFrameWithoutTitle = 0x80001; ///< its content stands in a grid
/// The part of a window's style that gives it the buttons OK and CANCEL.
inline constexpr unsigned int ZALDlgOKAndCancelButtons = 0x2000000;

/// Styles of ZALDlgNotify.
inline constexpr unsigned int ZALDlgNotifyError = 16384;             ///< a message with OK
inline constexpr unsigned int ZALDlgNotifyYesNo = 0x2800200;         ///< a modal question with Yes and No
inline constexpr unsigned int ZALDlgNotifyWarningYesNo = 0x8800200;  ///< a modal warning with Yes and No
inline constexpr unsigned int ZALDlgNotifyInvalidInput = 0x10000200; ///< a modal message with OK

/// Answers of ZALDlgNotify::DisplayBlocked.
inline constexpr int ZALDlgAnswerClosed = 0;
inline constexpr int ZALDlgAnswerOK = 1;
inline constexpr int ZALDlgAnswerCancel = 2;
inline constexpr int ZALDlgAnswerYes = 3;
inline constexpr int ZALDlgAnswerNo = 4;

/// Values of SetState and GetState.
inline constexpr int ZALDlgChecked = 0x40000;
inline constexpr int ZALDlgUnchecked = 0x80000;

/// Types of attachment lines: which part of its controls a line holds.
inline constexpr int ZALDlgAttachStart = 1;  ///< left side on a vertical line, upper side on a horizontal one
inline constexpr int ZALDlgAttachEnd = 4;    ///< right side or lower side
inline constexpr int ZALDlgAttachCenter = 5; ///< the middle

/// Justifications in a grid.
inline constexpr int ZALDlgGridFill = 14;    ///< fills its cells
inline constexpr int ZALDlgGridCenter = 122; ///< keeps its own size, in the middle of its cells

/// Layout of the content of a ZALDlgToolsOptionsFrame.
inline constexpr int ZALDlgToolsOptionsGrid = 1; ///< in rows and columns

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
    /// Puts `controls`, made inside this control, on the vertical line `line`. Lines count from 1, left to right;
    /// `type` is one of the line types above. A control between two lines grows with them. Said again, it replaces the
    /// line.
    void SetVerticalAttachment(int line, int type, std::initializer_list<ZALDialog*> controls);
    /// The same for horizontal lines, counted from top to bottom.
    void SetHorizontalAttachment(int line, int type, std::initializer_list<ZALDialog*> controls);
    /// Puts this control into the grid of its parent. Rows and columns count from 0; the spans count cells.
    void SetGridConstraints(int row, int column, int rowSpan, int columnSpan, int justification);
    /// Asks the host to end the object between events. Asking again does nothing.
    virtual void RequestDelayedDestruction();
    /// Names of the resource files that hold the texts of the control, most special first: index 0, 1, and so
    /// on. An empty text ends the list.
    virtual ZALString GetResourceFilename(int index) const;

    ZAL_DECLARE_META_CLASS

private:
    friend struct ZALDialogNode;
    ZALDialogNode* node_;
};

/// Dispatched by a window on itself each time the user uses its close box. The window stays.
class ZALDlgWindCloseNotification : public ZALNotification {
public:
    ZALDlgWindCloseNotification();
    ~ZALDlgWindCloseNotification() override;
    ZAL_DECLARE_META_CLASS
};

/// Dispatched by a window on itself each time the user uses its button OK. The window stays.
class ZALDlgOKNotification : public ZALNotification {
public:
    ZALDlgOKNotification();
    ~ZALDlgOKNotification() override;
    ZAL_DECLARE_META_CLASS
};

/// Dispatched by a window on itself each time the user uses its button CANCEL. The window stays.
class ZALDlgCancelNotification : public ZALNotification {
public:
    ZALDlgCancelNotification();
    ~ZALDlgCancelNotification() override;
    ZAL_DECLARE_META_CLASS
};

/// A window.
class ZALDlgDialog : public ZALDialog {
public:
    ZALDlgDialog(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgDialog() override;
    ZAL_DECLARE_META_CLASS
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

// ---------------------------------------------------------------------------------------------
// Controls that the user changes. What a program sets is not dispatched.

/// Dispatched by an editor on itself after each change that the user makes.
class ZALDlgEditorModifyNotification : public ZALNotification {
public:
    ZALDlgEditorModifyNotification();
    ~ZALDlgEditorModifyNotification() override;
    ZAL_DECLARE_META_CLASS
};

/// A line of text.
class ZALDlgEditor : public ZALDialog {
public:
    ZALDlgEditor(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgEditor() override;
    ZALUnicodeString GetText() const;
    void SetText(const ZALUnicodeString& text);
    /// Makes room for `characters` of usual width. Longer texts scroll.
    void SetVisibleTextWidth(int characters);
};

/// Dispatched by a push button on itself each time the user pushes it.
class ZALDlgPushActivateNotification : public ZALNotification {
public:
    ZALDlgPushActivateNotification();
    ~ZALDlgPushActivateNotification() override;
    ZAL_DECLARE_META_CLASS
};

/// A button; its text comes from the resource file.
class ZALDlgPushButton : public ZALDialog {
public:
    ZALDlgPushButton(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgPushButton() override;
};

/// Dispatched by a check button on itself after each change that the user makes.
class ZALDlgCheckModifyNotification : public ZALNotification {
public:
    ZALDlgCheckModifyNotification();
    ~ZALDlgCheckModifyNotification() override;
    ZAL_DECLARE_META_CLASS
};

/// A choice of yes or no; its text comes from the resource file.
class ZALDlgCheckButton : public ZALDialog {
public:
    /// Unchecked at first.
    ZALDlgCheckButton(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgCheckButton() override;
    /// ZALDlgChecked or ZALDlgUnchecked.
    int GetState() const;
    /// Any other value changes nothing.
    void SetState(int state);
};

/// Shows whether the administrator has locked a setting.
class ZALDlgLock : public ZALDialog {
public:
    /// Shows the lock state that `info` has now: locked for `R` and `r`.
    ZALDlgLock(ZALDialog* parent, const ZALString& name, const ZALSettingInfo& info);
    ~ZALDlgLock() override;
    /// Ties `dialog` to the setting: a locked one makes it insensitive.
    void AddAssociatedDialog(ZALDialog* dialog);
};

// ---------------------------------------------------------------------------------------------
// Windows and pages of the host

/// The host's box for files and folders. It reports OK and CANCEL as every window does; its close box is CANCEL.
class ZALDlgFileBox : public ZALDlgDialog {
public:
    ZALDlgFileBox(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgFileBox() override;
    /// Folder that is shown, and chosen, at first.
    void SetStartFolder(const ZALUnicodeString& folder);
    /// What the user has chosen. Never empty after OK: the box offers OK only with a choice.
    ZALUnicodeString GetChosenFolder() const;
};

/// What the host's File menu is made of.
class ZALFileMenuMethods {
public:
    /// Makes the file box of the current document environment, hidden, on `parent`; one of a style of file boxes above.
    /// The host owns it like every window, and `box` carries a reference of its own. `data` is null. Fails, and leaves
    /// `box` alone, when the environment has no such box.
    static HRESULT CreateCurrentDocEnvDialogBox(ZALDialog* parent, const ZALString& name, unsigned int style,
                                                ZALDlgFileBox*& box, void* data);
};

/// A page of the host's options.
class ZALDlgToolsOptionsFrame : public ZALDialog {
public:
    /// `icon` names the picture beside the content, empty for none; `layout` is one of the values above.
    ZALDlgToolsOptionsFrame(ZALDialog* parent, const ZALString& name, const ZALString& icon, int layout);
    ~ZALDlgToolsOptionsFrame() override;
    /// Parent of the controls of the page. Null for a page without a parent.
    ZALDialog* GetContentParent() const { return content_; }
    /// Shows the values of the settings anew.
    virtual void Refresh() = 0;

    ZAL_DECLARE_META_CLASS

private:
    ZALDialog* content_ = nullptr;
};

/// A modal message or question.
class ZALDlgNotify : public ZALDlgDialog {
public:
    ZALDlgNotify(ZALDialog* parent, const ZALString& name, unsigned int style);
    ~ZALDlgNotify() override;
    /// Shows the dialog and runs the event loop until the user has answered; one of the answers above.
    int DisplayBlocked(const ZALUnicodeString& text, const ZALUnicodeString& title);
};

/// What dialogs tell of the files that they show.
class ZALDlgServices {
public:
    /// Extension of the file name in `path`, without its dot, by the same rule as the function of the file services.
    static ZALUnicodeString GetFileExtensionName(const ZALUnicodeString& path);
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
