// Port of what shows dialogs and questions to the user.
#pragma once

#include "openhost/ports/Port.h"

#include "host/dialogs.h"

namespace openhost {

/// Backends: ScriptedSurface, and the desktop's. All of it is used on the user-interface thread. What is to be
/// shown of a control stands in its ZALDialogNode.
class DialogSurface : public Port<DialogSurface> {
public:
    virtual ~DialogSurface();

    /// A ScriptedSurface. A surface that is installed is not told of what is shown already.
    static std::unique_ptr<DialogSurface> WithoutBackend();

    /// A window or a control has become visible.
    virtual void Shown(ZALDialog& dialog) = 0;
    /// A window or a control has become invisible.
    virtual void Hidden(ZALDialog& dialog) = 0;
    /// The title, sensitivity, place or value of a control is another one.
    virtual void Changed(ZALDialog& dialog) = 0;
    /// The control ends; told once for each, children first. The object may be in its destructor: only its node
    /// may be looked at, and no reference may be added.
    virtual void Ended(ZALDialog& dialog) = 0;
    /// Shows `question`, runs the event loop until the user has answered or the question has ended, and returns
    /// one of the answers of ZALDlgNotify::DisplayBlocked. Questions nest.
    virtual int Ask(ZALDlgNotify& question, const ZALUnicodeString& text, const ZALUnicodeString& title) = 0;
    /// Whether it can show file boxes.
    virtual bool OffersFileBoxes() const { return true; }
};

extern template class Port<DialogSurface>;

} // namespace openhost
