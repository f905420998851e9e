#include "openhost/cad/CadWorkspace.h"

#include "openhost/cad/DocumentEvents.h"
#include "openhost/cad/DocumentPaths.h"
#include "openhost/frame/Frame.h"

#include <algorithm>

namespace openhost {

CadWorkspace::CadWorkspace() = default;

CadWorkspace::~CadWorkspace()
{
    for (const auto& [path, document] : documents_)
        DetachChildren(*document);
    while (!documents_.empty())
        Remove(*documents_.begin()->second);
    if (!windows_.empty())
        SetEditor(false);
}

LoadedDocument& CadWorkspace::Open(const std::filesystem::path& path)
{
    LoadedDocument& document = Load(path);
    if (document.open_) {
        if (Active() != &document) {
            std::erase(windows_, &document);
            windows_.push_back(&document);
            Tell(document, "activated");
        }
        return document;
    }
    document.open_ = true;
    windows_.push_back(&document);
    SetEditor(true);
    Tell(document, "opened");
    return document;
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
    if (!document.open_)
        throw CadWorkspaceError(document.path_.string() + ": the document has no window");
    const bool wasActive = Active() == &document;
    document.open_ = false;
    std::erase(windows_, &document);
    SetEditor(!windows_.empty());
    Tell(document, "closed");
    if (wasActive && Active())
        Tell(*Active(), "activated");
    UnloadUnused(document);
}

void CadWorkspace::Change(LoadedDocument& document, const std::function<void(CadDocument& contents)>& change)
{
    partNumbers_.Leave(document);
    change(document.contents_);
    partNumbers_.Enter(document);
    document.root_->name_ = document.PartNumber();
    if (!document.dirty_)
        SetChanged(document);
}

void CadWorkspace::SetChanged(LoadedDocument& document)
{
    document.dirty_ = true;
    Tell(document, "changed");
}

std::vector<std::string> CadWorkspace::DisputedPartNumbers(const LoadedDocument& document) const
{
    return partNumbers_.DisputedAround(document);
}

} // namespace openhost
