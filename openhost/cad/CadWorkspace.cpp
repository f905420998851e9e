#include "openhost/cad/CadWorkspace.h"

#include "openhost/cad/DocumentPaths.h"
#include "openhost/frame/Frame.h"

#include <algorithm>
#include <utility>

namespace openhost {

namespace {

void CheckWindow(const LoadedDocument& document)
{
    if (!document.IsOpen())
        throw CadWorkspaceError(document.Path().string() + ": the document has no window");
}

} // namespace

CadWorkspace::CadWorkspace() = default;

CadWorkspace::~CadWorkspace()
{
    history_.reset();
    const bool hadWindows = !windows_.empty();
    windows_.clear();
    activated_.clear();
    for (const auto& [path, document] : documents_)
        DetachChildren(*document);
    while (!documents_.empty())
        Unload(*documents_.begin()->second);
    if (hadWindows)
        SetEditor(false);
}

DocumentSubscription CadWorkspace::Subscribe(DocumentObserver observer)
{
    return events_.Subscribe(std::move(observer));
}

LoadedDocument& CadWorkspace::Open(const std::filesystem::path& path)
{
    LoadedDocument& document = Load(path);
    if (!document.open_)
        return ShowInWindow(document);
    Activate(document);
    return document;
}

LoadedDocument& CadWorkspace::ShowInWindow(LoadedDocument& document)
{
    document.open_ = true;
    windows_.push_back(&document);
    activated_.push_back(&document);
    SetEditor(true);
    events_.Tell(document, DocumentAction::Opened);
    return document;
}

void CadWorkspace::Activate(LoadedDocument& document)
{
    CheckWindow(document);
    if (Active() == &document)
        return;
    std::erase(activated_, &document);
    activated_.push_back(&document);
    events_.Tell(document, DocumentAction::Activated);
}

LoadedDocument* CadWorkspace::Find(const std::filesystem::path& path) const
{
    return path.empty() ? nullptr : FindCanonical(CanonicalPath(path));
}

LoadedDocument* CadWorkspace::FindCanonical(const std::filesystem::path& path) const
{
    const auto found = documents_.find(path.string());
    return found != documents_.end() ? found->second.get() : nullptr;
}

std::vector<std::filesystem::path> CadWorkspace::Unsaved() const
{
    std::vector<std::filesystem::path> unsaved;
    for (const auto& [path, document] : documents_)
        if (document->IsDirty())
            unsaved.emplace_back(path);
    std::ranges::sort(unsaved);
    return unsaved;
}

std::size_t CadWorkspace::HeldDocuments() const
{
    return static_cast<std::size_t>(std::ranges::count_if(
        documents_, [](const auto& entry) { return entry.second->opens_ > 0 || entry.second->locks_ > 0; }));
}

void CadWorkspace::Close(LoadedDocument& document)
{
    CheckWindow(document);
    const bool wasActive = Active() == &document;
    document.open_ = false;
    std::erase(windows_, &document);
    std::erase(activated_, &document);
    SetEditor(!windows_.empty());
    events_.Tell(document, DocumentAction::Closed);
    if (wasActive && Active())
        events_.Tell(*Active(), DocumentAction::Activated);
    UnloadUnused(document);
    EndStep();
}

void CadWorkspace::Change(LoadedDocument& document, const char* step,
                          const std::function<void(CadDocument& contents)>& change)
{
    KeepState(document, step);
    partNumbers_.Leave(document);
    change(document.contents_);
    partNumbers_.Enter(document);
    document.root_->name_ = document.PartNumber();
    // The journal is told of the first change alone: a module makes many of them at once.
    const bool wasDirty = document.dirty_;
    SetDirty(document);
    if (wasDirty)
        events_.TellObservers(document, DocumentAction::Changed);
    else
        events_.Tell(document, DocumentAction::Changed);
}

void CadWorkspace::SetDirty(LoadedDocument& document)
{
    document.dirty_ = true;
    document.state_ = ++lastState_;
}

void CadWorkspace::SetChanged(LoadedDocument& document)
{
    SetDirty(document);
    events_.Tell(document, DocumentAction::Changed);
}

std::vector<std::string> CadWorkspace::DisputedPartNumbers(const LoadedDocument& document) const
{
    return partNumbers_.DisputedAround(document);
}

} // namespace openhost
