// The host's state of one control, and the tree of all of them.
#pragma once

#include "host/dialogs.h"

#include <optional>
#include <string>
#include <vector>

/// What a surface shows of a control. Belongs to its ZALDialog and ends with it.
struct ZALDialogNode {
    enum class Kind { Window, Question, FileBox, Frame, Label, Progress, Editor, PushButton, CheckButton, Lock, Other };
    /// A line on which children stand.
    struct AttachmentLine {
        bool vertical;
        int line;
        int type;
        std::vector<ZALDialog*> controls;
    };
    /// A place in the grid of the parent.
    struct GridPlace {
        int row, column, rowSpan, columnSpan, justification;
    };

    ZALDialog* owner = nullptr;
    ZALDialog* parent = nullptr;      ///< null for a window without one, and once the parent has gone
    std::vector<ZALDialog*> children; ///< in the order of their making
    Kind kind = Kind::Other;
    ZALString name;
    unsigned int style = ZALDlgNoStyle;
    bool visible = true;     ///< windows begin hidden
    bool sensitive = true;   ///< of the control by itself
    bool titleIsSet = false; ///< otherwise the title comes from the resource files
    ZALUnicodeString title;
    std::vector<ZALDialog*> attached;  ///< children that fill the control
    std::vector<AttachmentLine> lines; ///< of the children, in the order in which they were said
    std::optional<GridPlace> place;
    bool hasRectangle = false;
    int x = 0, y = 0, height = 0, width = 0;      ///< pixels
    int minimum = 0, maximum = 100, position = 0; ///< of a progress bar
    ZALUnicodeString text;                        ///< of an editor; of a file box, what is chosen
    ZALUnicodeString startFolder;                 ///< of a file box
    int visibleTextWidth = 0;                     ///< of an editor, in characters; 0 when nothing was said
    int state = ZALDlgUnchecked;                  ///< of a check button
    ZALString icon;                               ///< of an options page; empty for none
    int layout = 0;                               ///< of an options page, as its module has said
    bool locked = false;                          ///< of a lock
    bool ended = false;                           ///< gone for the user; the object stays as long as somebody holds it

    static ZALDialogNode& Of(const ZALDialog& dialog);

    /// A window that is shown and hidden; a question is asked instead.
    bool IsLastingWindow() const { return kind == Kind::Window || kind == Kind::FileBox; }
    bool IsWindow() const { return IsLastingWindow() || kind == Kind::Question; }
    bool HasOKAndCancel() const { return IsLastingWindow() && (style & ZALDlgOKAndCancelButtons); }
    /// Whether the user can act on the control: it, and all that it stands in up to its window, is sensitive.
    bool TakesInput() const;
    std::string Name() const { return name.CastToCharPtr(); }

    // Life of the node, for ZALDialog and for owners of windows.

    static ZALDialogNode* Make(ZALDialog& owner, ZALDialog* parent, const ZALString& name, unsigned int style);
    /// Ends the control and what it holds for the user: the surface forgets them, children first.
    void End();
    /// Takes the node out of the tree. The children lose the host's reference.
    void Leave();
    /// Ends the control and drops the host's reference on it, which may delete it. Does nothing the second time.
    void EndAndRelease();
    /// Lets a control that has ended live on without its parent, with the host's reference, until EndAndRelease.
    void StayWithoutParent();

    bool hostHolds = true; ///< whether the reference of `new` is still the host's
    bool wasShown = false;

private:
    void LeaveParent();
};

namespace openhost {

/// Every control that has not ended, in the order of their making.
std::vector<ZALDialog*> LiveDialogs();
/// Ends all controls at once, at the end of a run. Not to be called from a callback of one of them.
void EndAllDialogs();

} // namespace openhost
