// What happens in a session, in the words of a user.
#pragma once

#include <nlohmann/json.hpp>

#include <chrono>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace openhost {

/// A thing that has happened.
struct Sentence {
    enum class Kind {
        Action,  ///< what the page, the user or the host asks for; the others follow from it
        Detail,  ///< how that goes on
        Result,  ///< what it has led to
        Failure, ///< what has gone wrong
    };
    Kind kind;
    std::string text; ///< of one or several lines, without control characters

    bool operator==(const Sentence&) const = default;
};

/// Turns the events of a journal into sentences. What means nothing to a user has none, and neither has what becomes of
/// documents without a window. What becomes of a document is told once.
class Narration {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// A tree gets at most `treeLines` lines.
    explicit Narration(std::size_t treeLines) : treeLines_(treeLines) {}

    /// What the next event of the journal, which has come at `time`, means.
    std::vector<Sentence> Tell(const nlohmann::ordered_json& event, Time time);
    /// Paths of the documents that were opened in a window, and of those of them that were changed.
    const std::vector<std::string>& Opened() const { return opened_; }
    const std::vector<std::string>& Changed() const { return changed_; }

private:
    using Teller = void (Narration::*)(const nlohmann::ordered_json& event);

    void Say(Sentence::Kind kind, const std::string& text) { said_.push_back({kind, text}); }
    void TellExtracted();
    void TellPending();
    void TellStep(const nlohmann::ordered_json& event);
    void TellMessage(const nlohmann::ordered_json& event);
    void TellAddress(const nlohmann::ordered_json& event);
    void TellPage(const nlohmann::ordered_json& event);
    void TellPanel(const nlohmann::ordered_json& event);
    void TellScript(const nlohmann::ordered_json& event);
    void TellPush(const nlohmann::ordered_json& event);
    void TellOptions(const nlohmann::ordered_json& event);
    void TellSettings(const nlohmann::ordered_json& event);
    void TellWindow(const nlohmann::ordered_json& event);
    void TellDialog(const nlohmann::ordered_json& event);
    void KeepRequest(const nlohmann::ordered_json& event);
    void TellTransfer(const nlohmann::ordered_json& event);
    void TellRefusedEntry(const nlohmann::ordered_json& event);
    void TellDocument(const nlohmann::ordered_json& event);
    void TellTree(const nlohmann::ordered_json& event);
    void TellHighlight(const nlohmann::ordered_json& event);
    void KeepPrompt(const nlohmann::ordered_json& event);
    void TellSelection(const nlohmann::ordered_json& event);
    void TellCommand(const nlohmann::ordered_json& event);
    void TellResult(const nlohmann::ordered_json& event);
    void TellError(const nlohmann::ordered_json& event);
    void TellBridge(const nlohmann::ordered_json& event);

    struct Request {
        std::string method;
        Time sent;
    };

    std::size_t treeLines_;
    std::vector<Sentence> said_; ///< of the current event
    Time now_;
    std::string step_;                        ///< key of the current step
    std::string asked_;                       ///< the page's message that was the last to ask for something
    std::string item_;                        ///< what it asked for
    std::string picked_;                      ///< the element that was accepted last
    std::string prompt_;                      ///< what a command asks the user for, as long as it is not told
    std::size_t extracted_ = 0;               ///< files that have not been told
    std::map<std::string, Request> requests_; ///< under way, by address
    std::set<std::string> hidden_;            ///< paths of documents without a window
    std::set<std::string> told_;              ///< of documents: path and action
    std::vector<std::string> opened_;
    std::vector<std::string> changed_;
};

} // namespace openhost
