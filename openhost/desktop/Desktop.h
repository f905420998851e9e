// The windows of a run.
#pragma once

#include "openhost/cad/CadWorkspace.h"
#include "openhost/dialogs/DialogSurface.h"
#include "openhost/http/TransferList.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/panel/OptionsPage.h"
#include "openhost/panel/PanelPage.h"

#include <optional>
#include <string>

namespace openhost {

/// What a main window shows and works on. All of it outlives the window.
struct WindowSubject {
    CadWorkspace& workspace;
    TransferList& transfers;
    OptionsPage& options;
    std::string home; ///< address of the catalogue's page; empty for none
    /// Name of the language of windows and dialogs; empty for the user's. Nothing leaves it as it is.
    std::optional<std::string> language;
};

/// The main window of a run, with everything that a user does. Its destruction closes it without questions.
class DesktopWindow {
public:
    virtual ~DesktopWindow() = default;
    /// Opens `document`, and tells the user when that fails.
    virtual void Open(const std::filesystem::path& document) = 0;
    /// From here on the user acts alone: the workshop follows the document that is active.
    virtual void LetUserAct() = 0;
    /// Whether the user has closed it, with all that there was to ask.
    virtual bool IsClosed() const = 0;
};

/// Makes the backends of a host with windows. At most one in the life of a process; it outlives what it has made.
class Desktop {
public:
    virtual ~Desktop() = default;
    /// Whether windows are on a display, where somebody can see them.
    virtual bool HasDisplay() const = 0;
    virtual std::unique_ptr<EventLoop> MakeLoop() = 0;
    /// Works with the loop of the desktop as the one in use.
    virtual std::unique_ptr<DialogSurface> MakeDialogs() = 0;
    /// Their pages report through the loop in use. They stand in the main window, if there is one.
    virtual std::unique_ptr<PanelPages> MakePages() = 0;
    /// Opens the main window, before the pages and dialogs that are to stand in it. At most one at a time.
    virtual std::unique_ptr<DesktopWindow> OpenWindow(const WindowSubject& subject) = 0;
};

/// Name of the function of a shared library that makes its Desktop, and its type. It returns null, with the reason in
/// `reason`, when there can be none. The caller owns the result.
inline constexpr const char* MakeDesktopName = "OpenhostMakeDesktop";
using MakeDesktopFunction = Desktop* (*)(std::string& reason);

} // namespace openhost
