// All that a session does and leaves behind, told in the names of the module and its host.
#pragma once

#include "openhost/play/ResultFiles.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

namespace openhost {

/// Tells nearly each event as it comes, with messages and headers in full; then the files that the session
/// has brought or saved and that are still there, with their size and MD5, and the tree of each product that is not
/// part of another one.
class VerboseAccount {
public:
    /// `output` outlives the account.
    explicit VerboseAccount(std::ostream& output) : output_(output) {}

    void Receive(const nlohmann::ordered_json& event);
    /// Tells of the files. Their folders must still be there.
    void Finish();

private:
    using Teller = void (VerboseAccount::*)(const nlohmann::ordered_json& event);

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
    void TellPrompt(const nlohmann::ordered_json& event);
    void TellSelection(const nlohmann::ordered_json& event);
    void TellResult(const nlohmann::ordered_json& event);
    void TellBridge(const nlohmann::ordered_json& event);
    void TellEnd(const nlohmann::ordered_json& event);
    void EndProgress();
    void TellFiles(const std::vector<std::filesystem::path>& files);
    void TellTrees(const std::vector<std::filesystem::path>& files);

    std::ostream& output_;
    bool progressOpen_ = false;   ///< the line of a progress bar is being written
    nlohmann::ordered_json told_; ///< the event that was told last
    ResultFiles files_;
};

} // namespace openhost
