// What the workspace tells of its documents: to the journal, and to those who watch them.
#pragma once

#include <functional>
#include <memory>
#include <vector>

namespace openhost {

class LoadedDocument;

/// What has become of a document.
enum class DocumentAction {
    Loaded,    ///< with all that it refers to
    Opened,    ///< in a window, which is the active one
    Activated, ///< its window
    Changed,   ///< its structure, its contents, or the file of what it refers to; each change is told
    Saved,     ///< to its file, which may be another one than before
    Closed,    ///< its window; it may stay loaded
    Unloaded,  ///< its products are gone, and so is the document after the call
};

/// Called on the user-interface thread once the action is done, with a workspace that may be asked anything. It throws
/// nothing, and neither loads nor opens, changes, saves, closes or lets go of documents itself: it posts that.
using DocumentObserver = std::function<void(LoadedDocument& document, DocumentAction action)>;

/// An observer is called as long as its subscription, or a copy of that, lives. It may outlive the workspace.
using DocumentSubscription = std::shared_ptr<const DocumentObserver>;

class DocumentEvents {
public:
    [[nodiscard]] DocumentSubscription Subscribe(DocumentObserver observer);
    /// Tells the observers and, unless the document has only been loaded or unloaded, the journal.
    void Tell(LoadedDocument& document, DocumentAction action);
    /// Tells of a change that the journal calls `name`.
    void TellChange(LoadedDocument& document, const char* name);
    void TellObservers(LoadedDocument& document, DocumentAction action);

private:
    std::vector<std::weak_ptr<const DocumentObserver>> observers_; ///< those that have ended are removed some time
};

} // namespace openhost
