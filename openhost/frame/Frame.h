// The application frame of a run.
#pragma once

#include <string>

namespace openhost {

/// Name of the class of frames, under which the class dictionary knows what they offer.
inline constexpr const char* FrameClass = "HostFrame";

/// What the frame consists of.
struct FrameOptions {
    bool exists = true;
    std::string workshop = "PRDWorkshop"; ///< empty for none
    bool applicationDocument = true;
    bool mainWindow = true;
    bool editor = false;   ///< there is one as soon as a document is open
    bool objectSet = true; ///< the editor has a current set of objects
    bool layout = true;    ///< stands by itself: a run may have a layout without a frame
};

/// Replaces the frame, the editor and the layout. Windows of the frame before end with all that they hold, and
/// subscriptions on it are gone. A process begins with none of them.
void ConfigureFrame(const FrameOptions& options);
/// Ends the frame, the editor and the layout.
void ResetFrame();
/// Lets the run have an editor, or none, as documents open and close. Its current set of objects is empty then. The
/// frame need not be configured.
void SetEditor(bool exists);
/// Switches to the workshop `name`, and dispatches ZALWorkbenchChanged on the layout when there is one.
void ChangeWorkshop(const std::string& name);
/// Times that the wait cursor has been asked for since the frame was configured.
int BusyCursorCount();

} // namespace openhost
