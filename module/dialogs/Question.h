// Messages and questions that block.
#pragma once

#include "host/dialogs.h"
#include "host/frame.h"

#include <new>

/// A question of the host, whose end is asked for when the scope ends, however it ends.
class Question {
public:
    Question(ZALDialog* parent, const ZALString& name, unsigned int style)
        : dialog_(new ZALDlgNotify(parent, name, style))
    {
    }
    Question(const Question&) = delete;
    Question& operator=(const Question&) = delete;
    ~Question()
    {
        try {
            dialog_->RequestDelayedDestruction();
        } catch (const std::bad_alloc&) {
            // It ends with its parent, or with the run.
        }
    }
    /// Shows it and returns when the user has answered.
    int Ask(const ZALUnicodeString& text, const ZALUnicodeString& title)
    {
        return dialog_->DisplayBlocked(text, title);
    }

private:
    ZALDlgNotify* dialog_; // the host's
};

/// Shows `text` over the main window in an error box `name`, until the user has read it. Nothing for an empty text, and
/// nothing without memory for the box.
inline void ShowErrorBox(const char* name, const ZALUnicodeString& text)
try {
    if (text.GetLengthInChar() == 0)
        return;

    ZALApplicationFrame* frame = ZALApplicationFrame::GetFrame();
    Question(frame ? frame->GetMainWindow() : nullptr, name, ZALDlgNotifyError).Ask(text, ZALUnicodeString());
} catch (const std::bad_alloc&) {
    // What follows goes on.
}
