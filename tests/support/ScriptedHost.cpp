#include "tests/support/ScriptedHost.h"

#include "host/text.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/files/PathVariables.h"
#include "openhost/objects/Dispatch.h"
#include "openhost/objects/Traces.h"

#include <algorithm>

namespace openhost::testing {

namespace {

template <class Port, class Backend>
Backend* InstallNew()
{
    auto backend = std::make_unique<Backend>();
    Backend* installed = backend.get();
    Port::Install(std::move(backend));
    return installed;
}

} // namespace

ScriptedHost::ScriptedHost()
    : loop_(InstallNew<EventLoop, ManualEventLoop>()), transport_(InstallNew<HttpTransport, ScriptedTransport>()),
      surface_(InstallNew<DialogSurface, ScriptedSurface>()),
      documents_(InstallNew<DocumentKernel, ScriptedDocumentKernel>())
{
    std::filesystem::create_directory(Temp());
    std::filesystem::create_directory(Parts());
    SetPathVariable(TemporaryFolderVariable, Temp());
    SetPathVariable(InstallationVariable, Folder() / "installation");

    PanelPages::Install(std::make_unique<RecordedPages>());
    ConfigureFrame({});
    ConfigureCommands({});
    SettingsStore::Current().Reset();
    SetSettings(Parts(), true);

    SwitchTraces(true);
    RedirectTraces([this](std::string_view, std::string_view text) { traces_.emplace_back(text); });
    ObserveDispatches([this](ZALBaseUnknown*, const ZALNotification& notification) {
        notifications_.emplace_back(notification.IsA());
    });
}

ScriptedHost::~ScriptedHost()
{
    DialogEngine::Current().EndAll();
    EndStartedCommands();
    Panel::End();
    Loop().RunUntilIdle();
    ObserveDispatches({});
    RedirectTraces({});
    SwitchTraces(false);
    ResetFrame();
    ResetCommands();
    UnsetPathVariable(TemporaryFolderVariable);
    UnsetPathVariable(InstallationVariable);
}

bool ScriptedHost::Traced(std::string_view text) const
{
    return std::ranges::find(traces_, std::string(text) + "\n") != traces_.end();
}

int ScriptedHost::CountOf(std::string_view notification) const
{
    return static_cast<int>(std::ranges::count(notifications_, notification));
}

void ScriptedHost::SetSettings(const std::filesystem::path& location, bool doNotRemind)
{
    SettingsStore::Current().SetValues({doNotRemind, ZALUnicodeString(location.c_str())});
}

} // namespace openhost::testing
