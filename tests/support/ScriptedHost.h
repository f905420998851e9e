// A host for tests of the module: every port has its scripted backend, and nothing is left of the test before.
#pragma once

#include "openhost/cad/ScriptedDocumentKernel.h"
#include "openhost/commands/Commands.h"
#include "openhost/dialogs/ScriptedSurface.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"
#include "openhost/http/ScriptedTransport.h"
#include "openhost/loop/ManualEventLoop.h"
#include "openhost/panel/Panel.h"
#include "openhost/panel/RecordedPage.h"
#include "openhost/settings/SettingsStore.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace openhost::testing {

/// Files of a test stand below Folder(): "temp" is ZALTemp, "parts" the user's folder, which the settings name and
/// which exists. A panel shows recorded pages, and is closed at first. A frame with all its parts and the product
/// workshop is there, but no document; the application and the Find Similar header are there, a recorder is not. Texts
/// have their defaults: no catalog is installed.
class ScriptedHost {
public:
    ScriptedHost();
    ScriptedHost(const ScriptedHost&) = delete;
    ScriptedHost& operator=(const ScriptedHost&) = delete;
    ~ScriptedHost();

    std::filesystem::path Folder() const { return folder_.Path(); }
    std::filesystem::path Temp() const { return Folder() / "temp"; }
    std::filesystem::path Parts() const { return Folder() / "parts"; }

    /// What the module wrote to its trace, one text a line; on from the start of the test.
    const std::vector<std::string>& Traces() const { return traces_; }
    bool Traced(std::string_view text) const;
    /// Class names of the notifications that were dispatched, in order.
    const std::vector<std::string>& Notifications() const { return notifications_; }
    int CountOf(std::string_view notification) const;

    /// Sets the user's folder and the flag.
    void SetSettings(const std::filesystem::path& location, bool doNotRemind);

    ManualEventLoop& Loop() { return *loop_; }
    ScriptedTransport& Transport() { return *transport_; }
    ScriptedSurface& Surface() { return *surface_; }
    ScriptedDocumentKernel& Documents() { return *documents_; }

private:
    TemporaryFolder folder_;
    ManualEventLoop* loop_;
    ScriptedTransport* transport_;
    ScriptedSurface* surface_;
    ScriptedDocumentKernel* documents_;
    std::vector<std::string> traces_;
    std::vector<std::string> notifications_;
};

} // namespace openhost::testing
