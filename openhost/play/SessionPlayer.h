// Plays a session: sets up the host, loads the module, does the steps.
#pragma once

#include "openhost/cad/CadWorkspace.h"
#include "openhost/desktop/Desktop.h"
#include "openhost/dialogs/ScriptedSurface.h"
#include "openhost/journal/Events.h"
#include "openhost/panel/OptionsPage.h"
#include "openhost/panel/PageUser.h"
#include "openhost/panel/RecordedPage.h"
#include "openhost/play/BridgeListener.h"
#include "openhost/play/Session.h"
#include "openhost/play/SessionRecorder.h"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace openhost {

/// Plays one session with the backends of a real run: system event loop, network, files, documents; dialogs are
/// answered by the session. The process is left as it was, apart from what the module keeps for its own life.
class SessionPlayer {
public:
    /// Exit statuses of a play.
    static constexpr int Done = 0;
    static constexpr int Failed = 1;
    static constexpr int SignalStatus = 128; ///< with the number of a signal that has ended the play

    /// Where a session finds what it does not bring along.
    struct Places {
        std::filesystem::path module;          ///< the module's shared library
        std::filesystem::path installation;    ///< root of the installation, when neither session nor environment say
        Desktop* desktop = nullptr;            ///< has the loop and the page; null for a host without windows
        std::string home{};                    ///< address of the page to which the panel's button for home leads
        std::optional<std::string> language{}; ///< of the windows, empty for the user's; nothing leaves it as it is
        std::vector<std::filesystem::path> documents{}; ///< that the window opens before the user acts
        std::filesystem::path record{};                 ///< file for what is done; empty for none
    };

    /// `session` outlives the player. `journal` receives each event.
    SessionPlayer(const Session& session, Places places, journal::Sink journal);
    SessionPlayer(const SessionPlayer&) = delete;
    SessionPlayer& operator=(const SessionPlayer&) = delete;
    ~SessionPlayer();

    /// Plays the session once. The last event of the journal tells the status, and the reason of a failure.
    int Play();

    // For steps

    /// The page in the panel. Throws StepFailure when the panel is closed.
    RecordedPage& Page();
    /// A user of the page in the panel. Throws StepFailure when the panel is closed, or shows no real page.
    PageUser& User();
    ScriptedSurface& Surface();
    OptionsPage& Options();
    /// Puts a component on the module's bridge, in place of the one before. Throws std::runtime_error when the module
    /// has no bridge.
    void SetListener(std::vector<BridgeListener::Reply> replies);
    void RemoveListener();
    /// The documents of the session.
    CadWorkspace& Cad();
    /// The document that the path `path` of the session names. Throws StepFailure when it is not loaded.
    LoadedDocument& Document(const std::string& path);
    /// The absolute path of `path`, which counts from the folder of the session.
    std::filesystem::path PathOf(const std::string& path) const;
    /// Runs what is posted to the loop at this time.
    void RunPosted();
    /// Texts of the session with their placeholders replaced.
    std::string ExpandPlaceholders(const std::string& text) const;
    nlohmann::ordered_json ExpandPlaceholders(const nlohmann::ordered_json& value) const;
    /// Runs the loop until `event` has been written since the last step that acts, or for "idle" until nothing is
    /// left to happen. One event ends one wait. Throws StepFailure after `limit`, and as soon as the event cannot
    /// come any more.
    void Wait(const std::string& event, std::chrono::milliseconds limit);
    /// Runs the loop until the page shows what `selector` names. Throws StepFailure after `limit`.
    void WaitForElement(const std::string& selector, std::chrono::milliseconds limit);

private:
    class Host;

    void SetUp();
    void SetUpSettings();
    void Receive(const nlohmann::ordered_json& event);
    void RunSteps();
    /// Notes what the session has left for nobody to do.
    void TellUndone(journal::End& end);
    /// Throws StepFailure when a question was asked that must not be.
    void FailOnRefused() const;
    /// Throws StepFailure when a signal has come that ends the session.
    static void FailOnSignal();
    /// Throws StepFailure when there is no memory left to go on with.
    static void FailWithoutMemory();
    /// Leaves the host to the user until the window is closed.
    void StayOpen();
    void WriteRecord(journal::End& end) const;
    static SessionSettings BegunSettings();
    std::string FindPlaceholder(const std::string& name) const;

    const Session& session_;
    Places places_;
    journal::Sink journal_;
    std::unique_ptr<Host> host_;
    std::optional<SessionRecorder> recorder_;
    std::size_t step_ = 0;                         ///< number of the step in progress; 0 before the first
    std::map<std::string, std::size_t> written_;   ///< events by name since the last step that acts
    std::map<std::string, std::size_t> waitedFor_; ///< of those, the ones that have ended a wait
};

} // namespace openhost
