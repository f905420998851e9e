// The windows of a run.
#pragma once

#include "openhost/dialogs/DialogSurface.h"
#include "openhost/loop/EventLoop.h"
#include "openhost/panel/PanelPage.h"

namespace openhost {

/// Makes the backends of a host with windows. At most one in the life of a process; it outlives what it has made.
class Desktop {
public:
    virtual ~Desktop() = default;
    /// Whether windows are on a display, where somebody can see them.
    virtual bool HasDisplay() const = 0;
    virtual std::unique_ptr<EventLoop> MakeLoop() = 0;
    /// Works with the loop of the desktop as the one in use.
    virtual std::unique_ptr<DialogSurface> MakeDialogs() = 0;
    /// Their pages report through the loop in use.
    virtual std::unique_ptr<PanelPages> MakePages() = 0;
};

/// Name of the function of a shared library that makes its Desktop, and its type. It returns null, with the reason in
/// `reason`, when there can be none. The caller owns the result.
inline constexpr const char* MakeDesktopName = "OpenhostMakeDesktop";
using MakeDesktopFunction = Desktop* (*)(std::string& reason);

} // namespace openhost
