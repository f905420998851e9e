// A session told to a reader, on one screen if possible.
#pragma once

#include "openhost/play/Narration.h"
#include "openhost/play/ResultFiles.h"

#include <nlohmann/json.hpp>

#include <filesystem>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace openhost {

/// Tells what happens as it happens, in the words of a user; then what there is: the trees of products that are not
/// part of another one (of those that were changed and saved, where documents were opened), the files with their sizes,
/// what was changed and what is left undone; in the last line how the session has ended.
class SessionAccount {
public:
    /// `output` outlives the account. A terminal that shows colours gets `coloured` text.
    SessionAccount(std::ostream& output, bool coloured) : output_(output), coloured_(coloured) {}

    /// `time` is when the event has come.
    void Receive(const nlohmann::ordered_json& event, Narration::Time time);
    /// Tells what there is at the end. The folders of the files must still be there.
    void Finish();

private:
    std::string Coloured(const char* colour, const std::string& text) const;
    void Tell(const Sentence& sentence);
    bool WantsTree(const std::string& document) const;
    void TellTrees(const std::vector<std::filesystem::path>& files);
    void TellFiles(const std::vector<std::filesystem::path>& files);
    void TellEnd();

    std::ostream& output_;
    bool coloured_;
    Narration narration_{12};
    ResultFiles files_;
    std::set<std::string> shownTrees_; ///< paths of documents whose trees were told and are still like that
    nlohmann::ordered_json end_ = nlohmann::ordered_json::object(); ///< the last event
};

} // namespace openhost
