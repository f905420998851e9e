// The workspace writes its documents.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/DocumentPaths.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/files/AtomicFile.h"

#include "host/cad.h"

#include <random>
#include <system_error>
#include <utility>

namespace openhost {

namespace {

std::string ExtensionOf(DocumentKind kind)
{
    return std::string(".") + (kind == DocumentKind::Product ? ZALProductExtension : ZALPartExtension);
}

/// 128 random bits in hexadecimal digits.
std::string MakeIdentity()
{
    constexpr std::string_view digits = "0123456789abcdef";
    std::random_device random;
    std::string identity;
    while (identity.size() < 32)
        identity += digits[random() % digits.size()];
    return identity;
}

/// The results of the tools of `document`, the main tool first; null for a tool without content.
std::vector<PartFeature*> ResultsOf(const std::vector<Owned<PartFeature>>& tools)
{
    std::vector<PartFeature*> results;
    results.reserve(tools.size());
    for (const auto& tool : tools)
        results.push_back(tool->Child() ? tool->Child()->Child() : nullptr);
    return results;
}

/// Enters `tools` with their `results`.
void EnterTools(const std::vector<Owned<PartFeature>>& tools, const std::vector<PartFeature*>& results,
                CadDocument& contents)
{
    std::vector<PartTool> written;
    for (std::size_t tool = 0; tool < tools.size(); ++tool) {
        written.push_back({tools[tool]->Name(), {}});
        if (results[tool])
            written.back().geometry = *results[tool]->Geometry();
    }
    if (written.empty())
        return;
    contents.geometry = std::move(written.front().geometry);
    written.erase(written.begin());
    contents.features.otherTools = std::move(written);
}

/// The link table of a document that is written, each link once.
class LinkWriter {
public:
    explicit LinkWriter(LinkTable& links) : links_(links) {}
    std::uint32_t PositionOf(const std::string& link)
    {
        const auto [known, isNew] = positions_.try_emplace(link, static_cast<std::uint32_t>(links_.size()));
        if (isNew)
            links_.push_back(link);
        return known->second;
    }

private:
    LinkTable& links_;
    std::unordered_map<std::string, std::uint32_t> positions_;
};

/// Enters the children and links of `document`, as a file in `folder` has them.
void EnterChildren(const LoadedDocument& document, const std::filesystem::path& folder, CadDocument& contents)
{
    LinkWriter links(contents.links);
    std::unordered_map<const LoadedDocument*, std::uint32_t> references;
    contents.children.reserve(document.Children().size());
    for (const auto& child : document.Children()) {
        const LoadedDocument* reference = child->Reference();
        std::uint32_t link = 0;
        if (!reference)
            link = links.PositionOf(child->Link());
        else if (const auto known = references.find(reference); known != references.end())
            link = known->second;
        else
            link = references[reference] = links.PositionOf(LinkTo(folder, reference->Path()));
        contents.children.push_back({child->Name(), link, child->GetPlacement()});
    }
    for (const std::string& link : document.LooseLinks())
        links.PositionOf(link);
}

void Write(LoadedDocument& document, const std::filesystem::path& path)
{
    CadDocument contents = document.Contents();
    const PartFeature* part = document.Features()->Part();
    std::vector<PartFeature*> results;
    if (part) {
        results = ResultsOf(part->Children());
        EnterTools(part->Children(), results, contents);
    }
    EnterChildren(document, path.parent_path(), contents);
    WriteDocument(contents, path);
    for (std::size_t tool = 0; tool < results.size(); ++tool)
        if (results[tool])
            results[tool]->SetStored(tool);
}

void CheckExtension(DocumentKind kind, const std::filesystem::path& file)
{
    if (file.extension() != ExtensionOf(kind))
        throw CadWorkspaceError(file.string() + ": the document needs the extension " + ExtensionOf(kind));
}

} // namespace

LoadedDocument& CadWorkspace::New(DocumentKind kind, const std::filesystem::path& path, const std::string& partNumber)
{
    const std::filesystem::path file = CanonicalPath(path);
    CheckExtension(kind, file);
    if (documents_.contains(file.string()))
        throw CadWorkspaceError(file.string() + ": another document of the workspace has this file");

    CadDocument contents;
    contents.kind = kind;
    contents.partNumber = partNumber;
    contents.identity = MakeIdentity();
    LoadedDocument& document = Enter(file, contents);
    try {
        CreateFileAtomically(file, BuildDocument(contents));
    } catch (const std::system_error& error) {
        Remove(document);
        throw CadWorkspaceError(error.what());
    } catch (...) {
        Remove(document);
        throw;
    }
    events_.Tell(document, DocumentAction::Loaded);
    return ShowInWindow(document);
}

void CadWorkspace::Save(LoadedDocument& document)
{
    if (!document.dirty_)
        return;
    KeepGeometryOfStates(document);
    Write(document, document.path_);
    document.dirty_ = false;
    document.savedState_ = document.state_;
    events_.Tell(document, DocumentAction::Saved);
}

void CadWorkspace::SaveAs(LoadedDocument& document, const std::filesystem::path& path)
{
    const std::filesystem::path file = CanonicalPath(path);
    if (file == document.path_)
        return Save(document);
    CheckExtension(document.Kind(), file);
    if (documents_.contains(file.string()))
        throw CadWorkspaceError(file.string() + ": another document of the workspace has this file");

    KeepGeometryOfStates(document);
    Write(document, file);
    RenameInHistory(document.path_.string(), file.string());
    auto entry = documents_.extract(document.path_.string());
    entry.key() = file.string();
    documents_.insert(std::move(entry));
    document.path_ = file;
    document.dirty_ = false;
    document.savedState_ = document.state_;
    events_.Tell(document, DocumentAction::Saved);
    for (const auto& [father, count] : document.fathers_)
        SetChanged(*father);
}

void CadWorkspace::SaveAsNew(LoadedDocument& document, const std::filesystem::path& path)
{
    const std::string identity = std::exchange(document.contents_.identity, MakeIdentity());
    const bool wasDirty = std::exchange(document.dirty_, true);
    try {
        SaveAs(document, path);
    } catch (...) {
        document.contents_.identity = identity;
        document.dirty_ = wasDirty;
        throw;
    }
}

} // namespace openhost
