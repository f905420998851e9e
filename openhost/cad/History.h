// What can be undone and done again in a workspace.
#pragma once

#include "openhost/cad/PartFeature.h"
#include "openhost/cad/WorkspaceProduct.h"
#include "openhost/documents/CadDocument.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace openhost {

/// A document as it was at one time. Its products and features are kept, so that those who hold them find them again.
struct DocumentState {
    struct Child {
        Owned<WorkspaceProduct> product;
        std::string name;
        Placement placement;
        std::string reference; ///< path of the document; empty for a missing one, which has the two below
        std::string link;
        std::string problem;
    };

    LoadedDocument* document;
    std::uint64_t number; ///< each change makes a state with a number of its own
    CadDocument contents;
    std::vector<Child> children;
    std::unordered_map<std::string, unsigned int> nextNumber;
    std::optional<FeatureState> part; ///< of a step that has changed features
};

/// What was done within one event. Its states are those before it while it is done, those after it while it is undone.
struct HistoryStep {
    std::string name;
    std::vector<DocumentState> states; ///< one for each document that it has changed
};

/// The steps of a workspace, and how far they are done.
class History {
public:
    /// Most steps, and most children in their states; the oldest steps go first. The last step stays in any case.
    static constexpr std::size_t MaximumSteps = 100;
    static constexpr std::size_t MaximumChildren = 200'000;

    /// Whether the step in progress has changed `document`, or its features as well.
    bool HasState(const LoadedDocument& document, bool withFeatures) const;
    /// Enters what a document was before the step in progress. Begins one under `name` when there is none, which is
    /// then the only one that can be undone last. True when it has.
    bool Add(const char* name, DocumentState state);
    /// Ends the step in progress, if there is one.
    void EndStep();

    /// The step that is undone or done again next, or null.
    HistoryStep* ToUndo() { return done_ > 0 ? &steps_[done_ - 1] : nullptr; }
    HistoryStep* ToRedo() { return done_ < steps_.size() ? &steps_[done_] : nullptr; }
    /// Tells that the states of that step have been exchanged.
    void SetUndone();
    void SetRedone();

    /// Drops the states of `document`, and the steps that have no other. True when there were any.
    bool Forget(const LoadedDocument& document);
    /// The document with the file `from` has the file `to` from now on.
    void Rename(const std::string& from, const std::string& to);

    /// All states of `document`.
    std::vector<DocumentState*> StatesOf(const LoadedDocument& document);
    /// The states that refer to the document with the file `path`.
    std::vector<DocumentState*> ReferringTo(const std::string& path);
    bool RefersTo(const std::string& path) const;
    /// The files of the documents that dropped states referred to, since the last call.
    std::vector<std::string> TakeReleased();

private:
    using Steps = std::vector<HistoryStep>;
    void Drop(Steps::iterator first, Steps::iterator last);
    void Release(const DocumentState& state);

    Steps steps_;
    std::size_t done_ = 0; ///< of them, counted from the first
    bool inStep_ = false;  ///< the last one is in progress
    std::vector<std::string> released_;
    mutable std::optional<std::unordered_set<std::string>> references_; ///< of all states, when they have been counted
};

} // namespace openhost
