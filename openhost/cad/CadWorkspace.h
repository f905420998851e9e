// The documents and products of a workspace.
#pragma once

#include "openhost/cad/CadServices.h"
#include "openhost/cad/CadWorkspaceError.h"
#include "openhost/cad/DocumentEvents.h"
#include "openhost/cad/History.h"
#include "openhost/cad/LoadedDocument.h"
#include "openhost/cad/PartNumbers.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace openhost {

/// The workspace of a run. An instance stands in the document of its father, so that a sub-product that is used
/// twice is changed in both places. Each document is loaded once, however often it is referred to, and stays loaded as
/// long as it has a window, a program has opened or locked it, or another document refers to it.
///
/// Links are looked up beside the document first, then as they are written. A child whose document is missing or
/// damaged is kept as such. Operations that fail throw CadWorkspaceError or CompoundFileError and change nothing.
/// What happens is written to the journal as events "document", and told to observers.
class CadWorkspace : public CadServices {
public:
    /// Most documents that a workspace loads.
    static constexpr std::size_t MaximumDocuments = 100'000;

    CadWorkspace();
    CadWorkspace(const CadWorkspace&) = delete;
    CadWorkspace& operator=(const CadWorkspace&) = delete;
    /// Unsaved changes are lost. Observers are told of each document that it is unloaded, and no more.
    ~CadWorkspace() override;

    /// Calls `observer` from now on.
    [[nodiscard]] DocumentSubscription Subscribe(DocumentObserver observer);

    /// Opens the document `path` in a window and makes it the active one; one that has a window becomes active.
    LoadedDocument& Open(const std::filesystem::path& path);
    /// Writes an empty document to the file `path`, which must not exist yet, and opens it.
    LoadedDocument& New(DocumentKind kind, const std::filesystem::path& path, const std::string& partNumber);
    /// Makes the window of `document` the active one.
    void Activate(LoadedDocument& document);
    /// The loaded document of the file `path`, or null.
    LoadedDocument* Find(const std::filesystem::path& path) const;
    /// The document of the active window, or null.
    LoadedDocument* Active() const { return activated_.empty() ? nullptr : activated_.back(); }
    /// The documents with a window, in the order of their opening.
    const std::vector<LoadedDocument*>& Windows() const { return windows_; }
    std::size_t LoadedDocuments() const { return documents_.size(); }
    /// The files of the documents with changes that are not saved, in order.
    std::vector<std::filesystem::path> Unsaved() const;
    /// Documents that a program has opened or locked and not let go.
    std::size_t HeldDocuments() const;
    /// Closes the window of `document`; the one that was active before it becomes active. Changes are lost unless
    /// another document still refers to it, or would when something is undone.
    void Close(LoadedDocument& document);
    /// Lets go of `document`, and of what it alone refers to, unless a window, a program or another document holds it.
    void UnloadUnused(LoadedDocument& document);
    /// Writes `document` to its file. Nothing is written when the file is up to date.
    void Save(LoadedDocument& document);
    /// Writes `document` to the file `path`, which is its file from then on. Documents that refer to it are changed.
    void SaveAs(LoadedDocument& document, const std::filesystem::path& path);

    /// What SaveAs writes, and where.
    struct DocumentCopy {
        LoadedDocument* document;
        std::filesystem::path path;
    };
    /// Save and SaveAs of several documents in their order, which wait for the disk together. A document that refers to
    /// others comes after them. When one cannot be written, those before it are saved, and those after it are not.
    void Save(const std::vector<LoadedDocument*>& documents);
    void SaveAs(const std::vector<DocumentCopy>& copies);

    /// The same with an identity of its own: no later version of what the document was.
    void SaveAsNew(LoadedDocument& document, const std::filesystem::path& path);
    /// Lets `change` change the contents of `document`: properties, parameters, cameras, axis systems and the working
    /// tool, all such that they can be written. `step` names that for who may undo it.
    void Change(LoadedDocument& document, const char* step, const std::function<void(CadDocument& contents)>& change);
    /// To be called before features of `document` change.
    void KeepFeatures(LoadedDocument& document, const char* step) { KeepState(document, step, true); }
    /// Lets the solid kernel copy parts ahead: whoever copies the solids of `document` is likely to do the same with
    /// the parts that stand after it in its product.
    void ExpectCopies(LoadedDocument& document);

    /// Adds one component for each of `files` to the product that `father` refers to. Their names are the part number,
    /// a point and the lowest number from 1 that has not been given yet; they stand at the origin.
    void AddComponents(WorkspaceProduct& father, const std::vector<std::filesystem::path>& files);
    /// Adds one component that refers to `reference`, a document of this workspace, in the same way. Gives it.
    WorkspaceProduct& AddComponent(WorkspaceProduct& father, LoadedDocument& reference);
    /// Puts the document `file` in the place of `component`, which stands in the product that `father` refers to.
    /// Position and place in the list stay. So does a name, unless it is one that AddComponents has given.
    void ReplaceComponent(WorkspaceProduct& father, WorkspaceProduct& component, const std::filesystem::path& file);
    /// The same for each component of that product with the same reference as `component`.
    void ReplaceAllInstances(WorkspaceProduct& father, WorkspaceProduct& component, const std::filesystem::path& file);
    /// Gives `component`, no root, another place in its father. `placement` is rigid.
    void MoveComponent(WorkspaceProduct& component, const Placement& placement);

    /// Lets be undone from now on what changes in documents that have a window or stand in the tree of one. Nothing is
    /// kept before. A step lasts until the loop has run what was posted before its first change: as a rule it is one
    /// event. Opening, saving and closing are no steps, but what was done to a document that is unloaded cannot be
    /// undone any more.
    void KeepHistory();
    /// Ends the step in progress early: what changes next belongs to another one.
    void EndStep();
    /// What Undo and Redo would undo and do again, in words for a menu; nothing when there is nothing.
    std::optional<std::string> NextUndo() const;
    std::optional<std::string> NextRedo() const;
    /// Puts back what the last step has changed. Products and features come back as the same objects. A reference whose
    /// document has been unloaded is read again; a child without one is missing then. Throws when there is nothing.
    void Undo();
    /// Does again what was undone last. Nothing is left of it once something else has changed.
    void Redo();

    /// The part numbers that two or more documents have in the tree or trees that `document` stands in.
    std::vector<std::string> DisputedPartNumbers(const LoadedDocument& document) const;
    /// The way through the tree of the active document that `names` tells: the part number of the root, then the names
    /// of components, with "/" between them. With a reference for the caller; null when there is no such way, or one of
    /// more than 1,000 products.
    ZALPathElement* FindPath(const std::string& names) const;

    ZALIAApplication* GetApplication() override;
    HRESULT FindDocument(const ZALUnicodeString& path, ZALDocument*& document) override;
    ZALBaseUnknown* GetRootProduct(ZALDocument& document) override;
    bool IsOfPart(ZALIProduct& product) override;
    HRESULT OpenDocument(const ZALUnicodeString& path, ZALDocument*& document, int mode) override;
    HRESULT SaveDocumentAs(ZALDocument& document, const ZALUnicodeString& path, const ZALUnicodeString& format,
                           int mode) override;
    HRESULT SaveDocumentAsNew(ZALDocument& document, const ZALUnicodeString& path, int mode) override;
    HRESULT RemoveDocument(ZALDocument& document, int mode) override;
    ZALDocument* DocumentOf(ZALBaseUnknown& object) override;

private:
    struct LinkedDocument;

    // CadWorkspace.cpp
    LoadedDocument* FindCanonical(const std::filesystem::path& path) const;
    LoadedDocument& ShowInWindow(LoadedDocument& document);
    void SetDirty(LoadedDocument& document);
    void SetChanged(LoadedDocument& document);

    // LoadDocuments.cpp
    LoadedDocument& Load(const std::filesystem::path& path);
    LoadedDocument& Enter(const std::filesystem::path& path, CadDocument contents);
    LinkedDocument LoadLinked(const std::filesystem::path& file, std::vector<LoadedDocument*>& fresh);
    void LoadChildren(LoadedDocument& document, std::vector<LoadedDocument*>& fresh);
    static void Refer(LoadedDocument& father, LoadedDocument& reference);
    static void EndReference(LoadedDocument& father, LoadedDocument& reference);
    static void DetachChildren(LoadedDocument& document);
    void Remove(LoadedDocument& document);
    void Unload(LoadedDocument& document);

    // Components.cpp
    static LoadedDocument& ProductOf(const WorkspaceProduct& father);
    static LoadedDocument& FatherOf(const WorkspaceProduct& component, const WorkspaceProduct& father);
    static void CheckComponent(const LoadedDocument& father, LoadedDocument& reference);
    LoadedDocument& LoadComponent(const LoadedDocument& father, const std::filesystem::path& path);
    std::vector<LoadedDocument*> LoadComponents(const LoadedDocument& father,
                                                const std::vector<std::filesystem::path>& files);
    static std::string TakeName(LoadedDocument& father, const LoadedDocument& reference);
    static WorkspaceProduct& Append(LoadedDocument& father, LoadedDocument& reference);
    void ReplaceEach(LoadedDocument& father, const std::vector<WorkspaceProduct*>& components,
                     const std::filesystem::path& file, const char* step);
    static void Replace(WorkspaceProduct& component, LoadedDocument& reference);

    // SaveDocuments.cpp
    class Copies;

    // UndoChanges.cpp
    void KeepState(LoadedDocument& document, const char* step, bool withFeatures = false);
    static DocumentState StateOf(LoadedDocument& document, bool withFeatures);
    void EndStepLater();
    bool IsKeptForUndo(const LoadedDocument& document) const;
    void KeepGeometryOfStates(const LoadedDocument& document);
    void RenameInHistory(const std::string& from, const std::string& to);
    std::set<std::string> Exchange(HistoryStep& step, const char* operation);
    void LoadAgain(const std::string& path, std::set<std::string>& touched,
                   std::unordered_map<std::string, std::string>& problems);
    static void SetMissing(WorkspaceProduct& child, const std::string& path, const std::string& problem);
    void PutBack(DocumentState& state);
    void TellExchanged(const HistoryStep& step, const char* action, const std::set<std::string>& touched);

    std::unordered_map<std::string, Owned<LoadedDocument>> documents_; ///< by path
    std::vector<LoadedDocument*> windows_;                             ///< in the order of their opening
    std::vector<LoadedDocument*> activated_;                           ///< the same, the active one last
    DocumentEvents events_;
    std::shared_ptr<History> history_; ///< null until somebody wants it; what is posted knows by it whether this lives
    std::uint64_t lastState_ = 0;      ///< number given last to a state of a document
    PartNumbers partNumbers_;
};

} // namespace openhost
