// A session told to a reader, from the events of its journal.
#pragma once

#include <nlohmann/json.hpp>

#include <filesystem>
#include <map>
#include <ostream>
#include <string>
#include <vector>

namespace openhost {

/// Tells each event that means something to a user in a line or two, as it comes; then the files that the session
/// has brought or saved and that are still there, with their size and MD5, and the tree of each product that is not
/// part of another one.
class SessionAccount {
public:
    /// `output` outlives the account.
    explicit SessionAccount(std::ostream& output) : output_(output) {}

    void Receive(const nlohmann::ordered_json& event);
    /// Tells of the files. Their folders must still be there.
    void Finish();

private:
    using Teller = void (SessionAccount::*)(const nlohmann::ordered_json& event);

    std::ostream& Line(const std::string& subject);
    void TellMessage(const nlohmann::ordered_json& event);
    void TellScript(const nlohmann::ordered_json& event);
    void TellPush(const nlohmann::ordered_json& event);
    void TellRequest(const nlohmann::ordered_json& event);
    void TellProgress(const nlohmann::ordered_json& event);
    void TellTransfer(const nlohmann::ordered_json& event);
    void TellDialog(const nlohmann::ordered_json& event);
    void TellRefused(const nlohmann::ordered_json& event);
    void TellDocument(const nlohmann::ordered_json& event);
    void TellTree(const nlohmann::ordered_json& event);
    void TellChildren(const nlohmann::ordered_json& product, const std::string& indent);
    void TellPrompt(const nlohmann::ordered_json& event);
    void TellSelection(const nlohmann::ordered_json& event);
    void TellResult(const nlohmann::ordered_json& event);
    void TellBridge(const nlohmann::ordered_json& event);
    void TellEnd(const nlohmann::ordered_json& event);
    void KeepExtracted(const nlohmann::ordered_json& event);
    void KeepMoved(const nlohmann::ordered_json& event);
    void Keep(const std::filesystem::path& file);
    void EndProgress();
    void TellFiles();
    void TellTrees();

    std::ostream& output_;
    bool progressOpen_ = false;   ///< the line of a progress bar is being written
    nlohmann::ordered_json told_; ///< the event that was told last
    std::vector<std::filesystem::path> files_;
};

} // namespace openhost
