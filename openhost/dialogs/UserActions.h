// What a user does to windows and controls: the value changes, then the control tells its subscribers. Surfaces call
// this for each action. Callbacks run before an operation returns; they may end the control, its window, or run the
// event loop.
#pragma once

#include "host/dialogs.h"

namespace openhost {

/// The close box of `window`; of a file box it is CANCEL.
void UseCloseBox(ZALDialog& window);
/// The buttons of a window with OK and CANCEL.
void PushOK(ZALDialog& window);
void PushCancel(ZALDialog& window);
/// A push button.
void Activate(ZALDialog& button);
/// An editor. A text that it has already is no change.
void EnterText(ZALDialog& editor, const ZALUnicodeString& text);
/// A check button; `state` is ZALDlgChecked or ZALDlgUnchecked. A state that it has already is no change.
void Check(ZALDialog& button, int state);
/// The folder of a file box.
void ChooseFolder(ZALDialog& box, const ZALUnicodeString& folder);

} // namespace openhost
