// The workspace keeps what its documents were, and puts it back.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/DocumentPaths.h"
#include "openhost/cad/DocumentWalk.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/journal/Events.h"
#include "openhost/loop/EventLoop.h"

#include <algorithm>
#include <set>
#include <utility>

namespace openhost {

namespace {

/// The link of a document in `folder` to the missing file `path`.
std::string LinkToMissing(const std::filesystem::path& folder, const std::string& path)
{
    try {
        return LinkTo(folder, path);
    } catch (const CadWorkspaceError&) {
        return path;
    }
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Keeping

void CadWorkspace::KeepHistory()
{
    if (!history_)
        history_ = std::make_shared<History>();
}

void CadWorkspace::KeepState(LoadedDocument& document, const char* step, bool withFeatures)
{
    if (!history_ || history_->HasState(document, withFeatures) ||
        !AnyFrom(document, &LoadedDocument::Fathers, &LoadedDocument::IsOpen))
        return;
    if (history_->Add(step, StateOf(document, withFeatures)))
        EndStepLater();
}

DocumentState CadWorkspace::StateOf(LoadedDocument& document, bool withFeatures)
{
    DocumentState state{.document = &document,
                        .number = document.state_,
                        .contents = document.contents_,
                        .children = {},
                        .nextNumber = document.nextNumber_,
                        .part = std::nullopt};
    state.children.reserve(document.children_.size());
    for (const auto& child : document.children_)
        state.children.push_back({Share(child.get()), child->name_, child->placement_,
                                  child->reference_ ? child->reference_->path_.string() : std::string(), child->link_,
                                  child->problem_});
    const FeatureContainer* features = document.features_.get();
    if (withFeatures && features && features->Part())
        state.part = features->Part()->State();
    return state;
}

void CadWorkspace::EndStepLater()
{
    EventLoop::Current().Post([this, history = std::weak_ptr(history_)] {
        if (!history.expired())
            EndStep();
    });
}

void CadWorkspace::EndStep()
{
    if (!history_)
        return;
    history_->EndStep();
    for (std::vector<std::string> released = history_->TakeReleased(); !released.empty();
         released = history_->TakeReleased())
        for (const std::string& path : released)
            if (LoadedDocument* document = FindCanonical(path))
                UnloadUnused(*document);
}

bool CadWorkspace::IsKeptForUndo(const LoadedDocument& document) const
{
    // What can be read again as it was is not kept.
    return history_ && history_->RefersTo(document.path_.string()) &&
           AnyFrom(document, &LoadedDocument::References, [this](const LoadedDocument& reference) {
               return reference.IsDirty() || !history_->StatesOf(reference).empty();
           });
}

void CadWorkspace::KeepGeometryOfStates(const LoadedDocument& document)
{
    if (!history_)
        return;
    // What the file holds may be gone from it after the next write.
    FeatureState::Geometries read;
    for (DocumentState* state : history_->StatesOf(document))
        if (state->part)
            state->part->KeepGeometry(document.path_, read);
}

void CadWorkspace::RenameInHistory(const std::string& from, const std::string& to)
{
    if (!history_)
        return;
    // The files of those that refer to it do not know that name.
    for (DocumentState* state : history_->ReferringTo(from))
        if (state->number == state->document->savedState_)
            state->document->savedState_ = LoadedDocument::UnknownState;
    history_->Rename(from, to);
}

// ---------------------------------------------------------------------------------------------
// Putting back

std::optional<std::string> CadWorkspace::NextUndo() const
{
    const HistoryStep* step = history_ ? history_->ToUndo() : nullptr;
    return step ? std::optional(step->name) : std::nullopt;
}

std::optional<std::string> CadWorkspace::NextRedo() const
{
    const HistoryStep* step = history_ ? history_->ToRedo() : nullptr;
    return step ? std::optional(step->name) : std::nullopt;
}

void CadWorkspace::Undo()
{
    EndStep();
    HistoryStep* step = history_ ? history_->ToUndo() : nullptr;
    if (!step)
        throw CadWorkspaceError("there is nothing to undo");
    const std::set<std::string> released = Exchange(*step, "Undo");
    history_->SetUndone();
    TellExchanged(*step, "undone", released);
}

void CadWorkspace::Redo()
{
    EndStep();
    HistoryStep* step = history_ ? history_->ToRedo() : nullptr;
    if (!step)
        throw CadWorkspaceError("there is nothing to redo");
    const std::set<std::string> released = Exchange(*step, "Redo");
    history_->SetRedone();
    TellExchanged(*step, "redone", released);
}

std::set<std::string> CadWorkspace::Exchange(HistoryStep& step, const char* operation)
{
    std::set<std::string> touched;
    const auto tell = [operation](const std::string& path, const std::string& problem) {
        journal::Write(
            [&] { return journal::RefusedOperation{.operation = operation, .reason = path + ": " + problem}; });
    };

    std::unordered_map<std::string, std::string> problems;
    for (const DocumentState& state : step.states)
        for (const DocumentState::Child& child : state.children)
            if (!child.reference.empty() && touched.insert(child.reference).second)
                LoadAgain(child.reference, touched, problems);
    for (const auto& [path, problem] : problems)
        tell(path, problem);

    std::vector<std::pair<LoadedDocument*, LoadedDocument*>> added; // father and reference
    for (DocumentState& state : step.states) {
        LoadedDocument& document = *state.document;
        DocumentState before = StateOf(document, state.part.has_value());
        for (const DocumentState::Child& child : before.children)
            touched.insert(child.reference);
        const auto references = document.references_;
        PutBack(state);
        for (std::size_t index = 0; index < state.children.size(); ++index)
            if (const auto problem = problems.find(state.children[index].reference); problem != problems.end())
                SetMissing(*document.children_[index], problem->first, problem->second);
        for (const auto& [reference, count] : document.references_)
            if (!references.contains(reference))
                added.emplace_back(&document, reference);
        state = std::move(before);
    }

    // Files may have changed meanwhile, so that a product would be a part of itself.
    for (const auto& [owner, reference] : added) {
        LoadedDocument* father = owner; // Clang 14 captures no structured bindings
        const auto isFather = [father](const LoadedDocument& document) { return &document == father; };
        if (!AnyFrom(*reference, &LoadedDocument::References, isFather))
            continue;
        const std::string problem = "the product would be a part of itself";
        tell(reference->path_.string(), problem);
        for (const auto& child : father->children_)
            if (child->reference_ == reference) {
                EndReference(*father, *reference);
                SetMissing(*child, reference->path_.string(), problem);
            }
    }
    return touched;
}

void CadWorkspace::LoadAgain(const std::string& path, std::set<std::string>& touched,
                             std::unordered_map<std::string, std::string>& problems)
{
    if (FindCanonical(path))
        return;
    try {
        const std::string loaded = Load(path).path_.string();
        if (loaded == path)
            return;
        problems[path] = "the path leads to " + loaded + " now";
        touched.insert(loaded);
    } catch (const std::exception& error) {
        std::error_code unknown;
        problems[path] = std::filesystem::exists(path, unknown) ? error.what() : "missing";
    }
}

void CadWorkspace::SetMissing(WorkspaceProduct& child, const std::string& path, const std::string& problem)
{
    child.reference_ = nullptr;
    child.link_ = LinkToMissing(child.owner_->path_.parent_path(), path);
    child.problem_ = problem;
}

void CadWorkspace::PutBack(DocumentState& state)
{
    LoadedDocument& document = *state.document;
    DetachChildren(document);
    document.childNames_.clear();
    for (DocumentState::Child& child : state.children) {
        WorkspaceProduct& product = *child.product;
        product.owner_ = &document;
        product.name_ = child.name;
        product.placement_ = child.placement;
        product.reference_ = child.reference.empty() ? nullptr : FindCanonical(child.reference);
        product.link_ = child.link;
        product.problem_ = child.problem;
        if (product.reference_)
            Refer(document, *product.reference_);
        document.children_.push_back(std::move(child.product));
        document.childNames_.insert(product.name_);
    }
    document.nextNumber_ = std::move(state.nextNumber);

    partNumbers_.Leave(document);
    state.contents.identity = document.contents_.identity; // which the file has, whatever is undone
    document.contents_ = std::move(state.contents);
    partNumbers_.Enter(document);
    document.root_->name_ = document.PartNumber();
    if (state.part)
        document.Features()->Part()->PutBack(*state.part);

    document.state_ = state.number;
    document.dirty_ = document.state_ != document.savedState_;
}

void CadWorkspace::TellExchanged(const HistoryStep& step, const char* action, const std::set<std::string>& touched)
{
    std::vector<LoadedDocument*> changed;
    for (const DocumentState& state : step.states)
        changed.push_back(state.document);
    for (LoadedDocument* document : changed)
        events_.TellChange(*document, action);
    for (const std::string& path : touched)
        if (LoadedDocument* document = FindCanonical(path))
            UnloadUnused(*document);
}

} // namespace openhost
