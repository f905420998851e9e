// The workspace writes its documents.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/DocumentPaths.h"
#include "openhost/cad/FeatureContainer.h"
#include "openhost/files/AtomicFile.h"

#include "host/cad.h"

#include <memory>
#include <random>
#include <set>
#include <system_error>
#include <unordered_map>
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

/// Where documents go that are written before another one.
using Places = std::unordered_map<const LoadedDocument*, std::filesystem::path>;

/// Enters the children and links of `document`, as a file in `folder` has them.
void EnterChildren(const LoadedDocument& document, const std::filesystem::path& folder, const Places& places,
                   CadDocument& contents)
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
        else {
            const auto place = places.find(reference);
            link = references[reference] =
                links.PositionOf(LinkTo(folder, place == places.end() ? reference->Path() : place->second));
        }
        contents.children.push_back({child->Name(), link, child->GetPlacement()});
    }
    for (const std::string& link : document.LooseLinks())
        links.PositionOf(link);
}

void CheckExtension(DocumentKind kind, const std::filesystem::path& file)
{
    if (file.extension() != ExtensionOf(kind))
        throw CadWorkspaceError(file.string() + ": the document needs the extension " + ExtensionOf(kind));
}

} // namespace

/// Documents on their way to the disk, as many as one wait is for.
class CadWorkspace::Copies {
public:
    /// Each is a file that is open until it stands in its place, and a process may have 1,024 of them.
    static constexpr std::size_t AtOnce = 256;

    explicit Copies(CadWorkspace& workspace) : workspace_(workspace) {}

    bool AreEnough() const { return copies_.size() == AtOnce; }

    void Add(LoadedDocument& document, const std::filesystem::path& file)
    {
        if (!places_.emplace(&document, file).second)
            throw CadWorkspaceError(document.Path().string() + ": the document is to be saved twice");
        if (file != document.path_) {
            CheckExtension(document.Kind(), file);
            if (workspace_.documents_.contains(file.string()) || !files_.insert(file).second)
                throw CadWorkspaceError(file.string() + ": another document of the workspace has this file");
        }
        workspace_.KeepGeometryOfStates(document);

        CadDocument contents = document.Contents();
        std::vector<PartFeature*> results;
        if (const PartFeature* part = document.Features()->Part()) {
            results = ResultsOf(part->Children());
            EnterTools(part->Children(), results, contents);
        }
        EnterChildren(document, file.parent_path(), places_, contents);
        const std::string bytes = BuildDocument(contents);
        OrFail([&] { written_->Add(file, bytes); });
        copies_.push_back({&document, file, std::move(results)});
    }

    void Place()
    {
        const auto written = std::exchange(written_, std::make_unique<AtomicFiles>());
        const std::vector<Copy> copies = std::exchange(copies_, {});
        try {
            OrFail([&] { written->Place(); });
        } catch (...) {
            Settle(copies, written->Placed());
            throw;
        }
        Settle(copies, copies.size());
    }

private:
    struct Copy {
        LoadedDocument* document;
        std::filesystem::path file;
        std::vector<PartFeature*> results;
    };

    template <class Write>
    static void OrFail(Write write)
    {
        try {
            write();
        } catch (const std::system_error& error) {
            throw CompoundFileError(error.what());
        }
    }

    /// The first `count` of `copies` stand in their places.
    void Settle(const std::vector<Copy>& copies, std::size_t count)
    {
        for (std::size_t copy = 0; copy < count; ++copy)
            Settle(copies[copy]);
    }

    void Settle(const Copy& copy)
    {
        LoadedDocument& document = *copy.document;
        for (std::size_t tool = 0; tool < copy.results.size(); ++tool)
            if (copy.results[tool])
                copy.results[tool]->SetStored(tool);
        const bool hasMoved = copy.file != document.path_;
        if (hasMoved) {
            workspace_.RenameInHistory(document.path_.string(), copy.file.string());
            auto entry = workspace_.documents_.extract(document.path_.string());
            entry.key() = copy.file.string();
            workspace_.documents_.insert(std::move(entry));
            document.path_ = copy.file;
        }
        document.dirty_ = false;
        document.savedState_ = document.state_;
        workspace_.events_.Tell(document, DocumentAction::Saved);
        if (hasMoved)
            for (const auto& [father, count] : document.fathers_)
                workspace_.SetChanged(*father);
    }

    CadWorkspace& workspace_;
    Places places_;
    std::set<std::filesystem::path> files_; ///< new ones
    std::unique_ptr<AtomicFiles> written_ = std::make_unique<AtomicFiles>();
    std::vector<Copy> copies_;
};

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
    Save(std::vector{&document});
}

void CadWorkspace::Save(const std::vector<LoadedDocument*>& documents)
{
    std::vector<DocumentCopy> copies;
    copies.reserve(documents.size());
    for (LoadedDocument* document : documents)
        copies.push_back({document, document->path_});
    SaveAs(copies);
}

void CadWorkspace::SaveAs(LoadedDocument& document, const std::filesystem::path& path)
{
    SaveAs(std::vector<DocumentCopy>{{&document, path}});
}

void CadWorkspace::SaveAs(const std::vector<DocumentCopy>& copies)
{
    Copies written(*this);
    for (const auto& [document, path] : copies) {
        const std::filesystem::path file = path == document->path_ ? path : CanonicalPath(path);
        if (file == document->path_ && !document->dirty_)
            continue;
        try {
            written.Add(*document, file);
        } catch (...) {
            written.Place();
            throw;
        }
        if (written.AreEnough())
            written.Place();
    }
    written.Place();
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
