#include "openhost/play/SessionPlayer.h"

#include "openhost/cad/CompoundDocumentKernel.h"
#include "openhost/cad/ProcessSolidKernel.h"
#include "openhost/cad/TessellatingLvrWriter.h"
#include "openhost/commands/Commands.h"
#include "openhost/commands/DialogEngine.h"
#include "openhost/commands/StartedCommands.h"
#include "openhost/dialogs/DialogNode.h"
#include "openhost/files/AtomicFile.h"
#include "openhost/files/Leftovers.h"
#include "openhost/files/PathVariables.h"
#include "openhost/files/TemporaryFolder.h"
#include "openhost/frame/Frame.h"
#include "openhost/http/CurlTransport.h"
#include "openhost/journal/Events.h"
#include "openhost/journal/UserSteps.h"
#include "openhost/loop/Interruption.h"
#include "openhost/loop/Patience.h"
#include "openhost/loop/PollEventLoop.h"
#include "openhost/objects/ClassDictionary.h"
#include "openhost/objects/Dispatch.h"
#include "openhost/objects/Owned.h"
#include "openhost/objects/Traces.h"
#include "openhost/panel/Panel.h"
#include "openhost/panel/RecordedPage.h"
#include "openhost/play/EnvironmentChanges.h"
#include "openhost/play/Expand.h"
#include "openhost/play/MemoryReserve.h"
#include "openhost/settings/SettingsStore.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

namespace openhost {

namespace {

constexpr const char* AddinClass = "ZALVelmartMeridiaAccessAddin";
constexpr const char* IdleEvent = "idle";
constexpr std::chrono::milliseconds ElementInterval(20);

/// Writes the event "bridge" for a message between the module and another component.
void JournalBridge(const ZALBaseUnknown& publisher, const ZALNotification& notification)
{
    const auto* message = dynamic_cast<const ZALDlgHtmlViewJavaScriptNotification*>(&notification);
    if (!message)
        return;
    const std::string_view end = publisher.IsA();
    if (end == BridgeListener::PublisherClass || end == BridgeListener::SubscriberClass)
        journal::Write([&] {
            return journal::Bridge{.direction = end == BridgeListener::PublisherClass ? "sent" : "received",
                                   .text = std::string(message->GetData(), message->GetDataLength())};
        });
}

std::filesystem::path Resolve(const Session& session, const std::string& path)
{
    return (session.folder / path).lexically_normal();
}

} // namespace

// ---------------------------------------------------------------------------------------------
// The host of one session

/// Everything that a session changes in the process, for as long as it is played. It installs the backends of all
/// ports.
class SessionPlayer::Host {
public:
    Host(bool traces, const Places& places) : traces_(traces)
    {
        Desktop* desktop = places.desktop;
        RedirectTraces([](std::string_view name, std::string_view text) {
            while (text.ends_with('\n'))
                text.remove_suffix(1);
            journal::Write([&] { return journal::Trace{.name = std::string(name), .text = ToUtf8(FromUtf8(text))}; });
        });
        if (traces_)
            SwitchTraces(true);
        observer_ = ObserveDispatches([](ZALBaseUnknown* publisher, const ZALNotification& notification) {
            journal::Write(
                [&] { return journal::Notification{.className = notification.IsA(), .publisher = publisher->IsA()}; });
            JournalBridge(*publisher, notification);
        });
        loop_ = EventLoop::Install(desktop ? desktop->MakeLoop() : std::make_unique<PollEventLoop>());
        auto transfers = std::make_unique<TransferList>(std::make_unique<CurlTransport>());
        transfers_ = transfers.get();
        transport_ = HttpTransport::Install(std::move(transfers));
        kernel_ = DocumentKernel::Install(std::make_unique<CompoundDocumentKernel>());
        auto surface = std::make_unique<ScriptedSurface>();
        surface_ = surface.get();
        if (desktop && desktop->HasDisplay())
            surface->ShowOn(desktop->MakeDialogs());
        surfaceBefore_ = DialogSurface::Install(std::move(surface));
        auto cad = std::make_unique<CadWorkspace>();
        cad_ = cad.get();
        cadBefore_ = CadServices::Install(std::move(cad));
        const auto geometry = std::make_shared<GeometryPool>();
        solids_ = SolidKernel::Install(std::make_unique<ProcessSolidKernel>(geometry));
        lightFiles_ = LvrWriter::Install(std::make_unique<TessellatingLvrWriter>(geometry));
        if (desktop && desktop->HasDisplay()) {
            cad_->KeepHistory();
            window_ = desktop->OpenWindow({*cad_, *transfers_, options_, places.home, places.language});
        }
        pages_ = PanelPages::Install(desktop ? desktop->MakePages() : std::make_unique<RecordedPages>());
        SettingsStore::Current().Reset();
        ConfigureCommands({});
    }

    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    ~Host()
    {
        window_.reset();
        listener_.reset();
        options_.Close();
        DialogEngine::Current().EndAll();
        EndStartedCommands();
        Panel::End();
        EndAllDialogs();
        CadServices::Install(std::move(cadBefore_));
        ResetFrame();
        // What is posted may hold the last references on objects of the module, and post further calls.
        RunPosted();
        RunPosted();
        module_.reset();

        ResetCommands();
        SettingsStore::Current().Reset();
        PanelPages::Install(std::move(pages_));
        DialogSurface::Install(std::move(surfaceBefore_));
        LvrWriter::Install(std::move(lightFiles_));
        SolidKernel::Install(std::move(solids_));
        DocumentKernel::Install(std::move(kernel_));
        HttpTransport::Install(std::move(transport_));
        EventLoop::Install(std::move(loop_));
        ObserveDispatches(std::move(observer_));
        if (traces_)
            SwitchTraces(false);
        RedirectTraces({});
        for (const std::string& name : variables_)
            UnsetPathVariable(name);
    }

    void SetVariable(const std::string& name, const std::filesystem::path& value)
    {
        SetPathVariable(name, value);
        variables_.push_back(name);
    }

    /// The folder of temporary files of a session that names none.
    void MakeTemporaryFolder()
    {
        SetPathVariable(TemporaryFolderVariable, std::make_shared<TemporaryFolder>());
        variables_.push_back(TemporaryFolderVariable);
    }

    EnvironmentChanges& Environment() { return environment_; }
    ScriptedSurface& Surface() { return *surface_; }
    OptionsPage& Options() { return options_; }
    CadWorkspace& Cad() { return *cad_; }
    TransferList& Transfers() { return *transfers_; }
    /// The main window, or null.
    DesktopWindow* Window() { return window_.get(); }
    /// The component on the bridge, or null.
    Owned<BridgeListener>& Listener() { return listener_; }

    void LoadModule(const std::filesystem::path& module)
    {
        module_.emplace(module);
        if (!ClassDictionary::Instance().Knows(AddinClass))
            throw std::runtime_error(std::string("the module makes no ") + AddinClass);
    }

    static void RunPosted()
    {
        bool done = false;
        EventLoop::Current().Post([&done] { done = true; });
        EventLoop::Current().RunUntil([&done] { return done; });
    }

private:
    bool traces_;
    EnvironmentChanges environment_;
    std::vector<std::string> variables_;
    DispatchObserver observer_;
    std::unique_ptr<EventLoop> loop_;
    std::unique_ptr<HttpTransport> transport_;
    TransferList* transfers_ = nullptr; ///< the transport that is installed
    std::unique_ptr<DocumentKernel> kernel_;
    std::unique_ptr<SolidKernel> solids_;
    std::unique_ptr<LvrWriter> lightFiles_;
    std::unique_ptr<DialogSurface> surfaceBefore_;
    ScriptedSurface* surface_ = nullptr; ///< the one that is installed
    std::unique_ptr<CadServices> cadBefore_;
    CadWorkspace* cad_ = nullptr; ///< the one that is installed
    std::unique_ptr<PanelPages> pages_;
    std::optional<LoadedModule> module_;
    OptionsPage options_;
    Owned<BridgeListener> listener_;
    std::unique_ptr<DesktopWindow> window_;
};

// ---------------------------------------------------------------------------------------------
// The play

SessionPlayer::SessionPlayer(const Session& session, Places places, journal::Sink journal)
    : session_(session), places_(std::move(places)), journal_(std::move(journal))
{
}

SessionPlayer::~SessionPlayer() = default;

int SessionPlayer::Play()
{
    const journal::Sink before = journal::Redirect([this](const nlohmann::ordered_json& event) { Receive(event); });
    journal::End end{.status = Done};
    const auto fail = [&](const std::string& reason) {
        end.status = Failed;
        if (step_ > 0)
            end.step = step_;
        end.reason = reason;
    };
    try {
        SetUp();
        RunSteps();
        if (host_->Window()) {
            StayOpen();
            FailOnSignal();
        }
    } catch (const std::exception& error) {
        fail(error.what());
    } catch (...) {
        fail("the module threw an exception of an unknown type");
    }
    if (const int signal = Interruption::Take(); signal != 0)
        end.status = SignalStatus + signal;
    if (host_ && step_ > 0) {
        // Windows that are about to end have not stayed.
        Host::RunPosted();
        TellUndone(end);
    }
    if (session_.strict && end.status == Done)
        if (const std::string undone = end.Undone(); !undone.empty()) {
            end.status = Failed;
            end.reason = "left undone: " + undone;
        }
    if (recorder_)
        WriteRecord(end);
    host_.reset();
    RedirectUserSteps({});
    journal::Write([&] { return end; });
    journal::Redirect(before);
    return end.status;
}

void SessionPlayer::WriteRecord(journal::End& end) const
{
    try {
        WriteFileAtomically(places_.record, recorder_->Text());
    } catch (const std::exception& error) {
        end.status = end.status == Done ? Failed : end.status;
        end.reason = end.reason.value_or(error.what());
    }
}

void SessionPlayer::TellUndone(journal::End& end)
{
    if (Surface().UnusedAnswers() > 0)
        end.unusedAnswers = Surface().UnusedAnswers();
    if (host_->Listener() && host_->Listener()->UnusedReplies() > 0)
        end.unusedReplies = host_->Listener()->UnusedReplies();
    for (const std::filesystem::path& document : Cad().Unsaved())
        end.unsavedDocuments.push_back(document.string());
    for (const ScriptedSurface::Question& question : Surface().Questions())
        if (question.IsChoice() && !question.answered && !question.refused)
            end.closedQuestions.push_back(question.name);
    for (const ZALDialog* dialog : LiveDialogs())
        if (const ZALDialogNode& node = ZALDialogNode::Of(*dialog);
            node.IsLastingWindow() && node.visible && !node.ended && node.Name() != OptionsPage::WindowName)
            end.openWindows.push_back(node.Name());
}

void SessionPlayer::FailOnSignal()
{
    if (Interruption::Signal() != 0)
        throw StepFailure(std::string("ended by SIG") + sigabbrev_np(Interruption::Signal()));
}

void SessionPlayer::FailWithoutMemory()
{
    if (!MemoryReserve::IsWhole())
        throw StepFailure("memory has run out");
}

void SessionPlayer::FailOnRefused() const
{
    for (const ScriptedSurface::Question& question : host_->Surface().Questions())
        if (question.refused)
            throw StepFailure("the question " + question.name + " was asked: " + question.text);
}

void SessionPlayer::SetUp()
{
    host_ = std::make_unique<Host>(session_.traces, places_);
    if (!places_.record.empty()) {
        recorder_.emplace(session_, [this] { return host_->Transfers().RunningTransfers() > 0; });
        RedirectUserSteps([this](const nlohmann::ordered_json& step) { recorder_->AddUserStep(step); });
    }

    if (!session_.variables.contains(TemporaryFolderVariable))
        host_->MakeTemporaryFolder();
    for (const auto& [name, value] : session_.variables)
        host_->SetVariable(name, Resolve(session_, ExpandPlaceholders(value)));
    if (GetPathVariable(InstallationVariable).empty())
        host_->SetVariable(InstallationVariable, places_.installation);
    for (const auto& [name, value] : session_.environment)
        host_->Environment().Set(name, value ? std::optional(ExpandPlaceholders(*value)) : std::nullopt);

    SetUpSettings();
    if (const std::string downloads = ToUtf8(SettingsStore::Current().Values().downloadLocation); !downloads.empty())
        ClearLeftovers(downloads);
    if (recorder_)
        recorder_->SetSettings(BegunSettings());

    ConfigureFrame({.exists = session_.frame, .workshop = ExpandPlaceholders(session_.workshop)});
    if (std::ranges::any_of(session_.steps, [](const SessionStep& step) { return step.key == "undo"; }))
        Cad().KeepHistory();
    for (const std::string& document : session_.documents)
        Cad().Open(PathOf(document));

    host_->LoadModule(places_.module);
    Panel::Open();
}

void SessionPlayer::SetUpSettings()
{
    SettingsStore& store = SettingsStore::Current();
    if (session_.settingsFile)
        store.Load(Resolve(session_, ExpandPlaceholders(*session_.settingsFile)));
    if (!session_.settings)
        return;
    store.SetValues({session_.settings->doNotRemindDownloadLocation,
                     FromUtf8(ExpandPlaceholders(session_.settings->downloadLocation))});
    for (const auto& [name, lock] : session_.settings->locks)
        store.SetLock(name, lock);
    store.Keep();
}

SessionSettings SessionPlayer::BegunSettings()
{
    const SettingsStore& store = SettingsStore::Current();
    SessionSettings settings{.downloadLocation = ToUtf8(store.Values().downloadLocation),
                             .doNotRemindDownloadLocation = store.Values().doNotRemindDownloadLocation,
                             .locks = {}};
    for (const char* name : {SettingsStore::DoNotRemindDownloadLocation, SettingsStore::DownloadLocation})
        if (store.IsLocked(name))
            settings.locks[name] = store.Lock(name);
    return settings;
}

void SessionPlayer::RunSteps()
{
    for (const SessionStep& step : session_.steps) {
        ++step_;
        if (step.acts) {
            written_.clear();
            waitedFor_.clear();
            Cad().EndStep();
        }
        journal::Write([&] { return journal::Step{.number = step_, .key = step.key}; });
        if (recorder_)
            recorder_->AddStep(step);
        step.run(*this);
        FailOnRefused();
        FailOnSignal();
        FailWithoutMemory();
    }
}

void SessionPlayer::Receive(const nlohmann::ordered_json& event)
{
    ++written_[event["event"].get<std::string>()];
    journal_(event);
}

// ---------------------------------------------------------------------------------------------
// For steps

RecordedPage& SessionPlayer::Page()
{
    if (!Panel::Current() || !RecordedPage::Current())
        throw StepFailure(Panel::Current() ? "the panel shows a page of a browser" : "the panel is closed");
    return *RecordedPage::Current();
}

ScriptedSurface& SessionPlayer::Surface()
{
    return host_->Surface();
}

OptionsPage& SessionPlayer::Options()
{
    return host_->Options();
}

void SessionPlayer::SetListener(std::vector<BridgeListener::Reply> replies)
{
    RemoveListener();
    host_->Listener().reset(new BridgeListener(std::move(replies)));
}

void SessionPlayer::RemoveListener()
{
    host_->Listener().reset();
}

CadWorkspace& SessionPlayer::Cad()
{
    return host_->Cad();
}

std::filesystem::path SessionPlayer::PathOf(const std::string& path) const
{
    return Resolve(session_, ExpandPlaceholders(path));
}

LoadedDocument& SessionPlayer::Document(const std::string& path)
{
    const std::filesystem::path file = PathOf(path);
    if (LoadedDocument* document = Cad().Find(file))
        return *document;
    throw StepFailure(file.string() + ": the session has no such document");
}

void SessionPlayer::RunPosted()
{
    Host::RunPosted();
}

std::string SessionPlayer::FindPlaceholder(const std::string& name) const
{
    const auto given = session_.given.find(name);
    return given != session_.given.end() ? given->second : GetPathVariable(name).string();
}

std::string SessionPlayer::ExpandPlaceholders(const std::string& text) const
{
    return Expand(text, [this](const std::string& name) { return FindPlaceholder(name); });
}

nlohmann::ordered_json SessionPlayer::ExpandPlaceholders(const nlohmann::ordered_json& value) const
{
    return ExpandAll(value, [this](const std::string& name) { return FindPlaceholder(name); });
}

void SessionPlayer::Wait(const std::string& event, std::chrono::milliseconds limit)
{
    EventLoop& loop = EventLoop::Current();
    const auto timedOut = [&](const std::string& what) {
        return StepFailure(what + " within " + std::to_string(limit.count()) + " ms");
    };
    if (event == IdleEvent) {
        if (loop.RunUntilIdle(limit) == RunEnd::TimedOut)
            throw timedOut("the host has not become idle");
        return;
    }

    // What a page might bring has no end: with one, only the limit ends the wait.
    const EventLoop::Timer alive = places_.desktop && Panel::Current() ? loop.CallAfter(limit, [] {}) : 0;
    const RunEnd end = loop.RunUntil([&] { return written_[event] > waitedFor_[event]; }, limit);
    loop.CancelTimer(alive);
    switch (end) {
    case RunEnd::Done:
        ++waitedFor_[event];
        return;
    case RunEnd::Idle:
        throw StepFailure("no event \"" + event + "\" has come, and nothing is left that could bring it");
    case RunEnd::Interrupted:
        return; // which ends the session after the step
    case RunEnd::TimedOut:
        throw timedOut("no event \"" + event + "\" has come");
    }
}

void SessionPlayer::WaitForElement(const std::string& selector, std::chrono::milliseconds limit)
{
    EventLoop& loop = EventLoop::Current();
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!User().Shows(selector) && Interruption::Signal() == 0) {
        if (std::chrono::steady_clock::now() >= end)
            throw StepFailure("the page has not shown \"" + selector + "\" within " + std::to_string(limit.count()) +
                              " ms");
        bool passed = false;
        loop.CallAfter(ElementInterval, [&passed] { passed = true; });
        loop.RunUntil([&passed] { return passed; });
    }
}

void SessionPlayer::StayOpen()
{
    const Patience patience;
    Surface().LetUserAnswer();
    host_->Window()->LetUserAct();
    for (const std::filesystem::path& document : places_.documents)
        host_->Window()->Open(document);
    EventLoop::Current().RunUntil(
        [this] { return host_->Window()->IsClosed() || Interruption::Signal() != 0 || !MemoryReserve::IsWhole(); });
    FailWithoutMemory();
}

PageUser& SessionPlayer::User()
{
    PageUser* user = PanelPages::Current().User();
    if (!user)
        throw StepFailure("the panel shows no page of a browser");
    return *user;
}

} // namespace openhost
