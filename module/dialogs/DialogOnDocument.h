// Dialogs of the module over the application's document.
#pragma once

#include "host/frame.h"

#include <new>

/// The dialog that `make` gives for its parent, the application's document, after its member `build`. Null, and nothing
/// is left, without such a parent or without memory. The dialog is the host's.
template <class Dialog, class Make>
Dialog* CreateOnDocument(Make make, void (Dialog::*build)())
try {
    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    ZALDialog* parent = frame ? frame->GetApplicationDocument() : nullptr;
    if (!parent)
        return nullptr;

    Dialog* dialog = make(parent);
    try {
        (dialog->*build)();
    } catch (const std::bad_alloc&) {
        dialog->RequestDelayedDestruction();
        return nullptr;
    }
    return dialog;
} catch (const std::bad_alloc&) {
    return nullptr;
}
