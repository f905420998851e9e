// The workspace takes documents in, with those that they refer to, and lets go of them.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/DocumentPaths.h"
#include "openhost/cad/SolidKernel.h"
#include "openhost/documents/OutsideLinks.h"
#include "openhost/files/Origin.h"
#include "openhost/journal/Events.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <unordered_set>
#include <utility>

namespace openhost {

namespace {

bool Exists(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

void TellRefusedLink(const std::filesystem::path& document, const std::string& link)
{
    journal::Write([&] {
        return journal::RefusedOperation{.operation = "Open",
                                         .reason = document.string() + ": the link " + link +
                                                   " leads out of the folder of a document from outside"};
    });
}

/// A walk in depth: documents that are on the way, and documents that are done.
void RefuseCycles(const LoadedDocument& root)
{
    struct Step {
        const LoadedDocument* document;
        std::unordered_map<LoadedDocument*, std::size_t>::const_iterator next;
    };
    std::set<const LoadedDocument*> entered{&root};
    std::set<const LoadedDocument*> onTheWay{&root};
    std::vector<Step> way{{&root, root.References().begin()}};
    while (!way.empty()) {
        Step& step = way.back();
        if (step.next == step.document->References().end()) {
            onTheWay.erase(step.document);
            way.pop_back();
            continue;
        }
        const LoadedDocument* reference = step.next->first;
        ++step.next;
        if (onTheWay.contains(reference))
            throw CadWorkspaceError(reference->Path().string() + ": the document is a part of itself");
        if (entered.insert(reference).second) {
            onTheWay.insert(reference);
            way.push_back({reference, reference->References().begin()});
        }
    }
}

} // namespace

LoadedDocument& CadWorkspace::Load(const std::filesystem::path& path)
{
    const std::filesystem::path file = CanonicalPath(path);
    if (LoadedDocument* known = FindCanonical(file))
        return *known;

    std::vector<LoadedDocument*> fresh;
    try {
        fresh.push_back(&Enter(file, ReadDocument(file)));
        for (std::size_t index = 0; index < fresh.size(); ++index)
            LoadChildren(*fresh[index], fresh);
        RefuseCycles(*fresh.front());
    } catch (...) {
        for (LoadedDocument* document : fresh)
            DetachChildren(*document);
        for (LoadedDocument* document : fresh)
            Remove(*document);
        throw;
    }
    for (LoadedDocument* document : fresh)
        events_.Tell(*document, DocumentAction::Loaded);
    return *fresh.front();
}

LoadedDocument& CadWorkspace::Enter(const std::filesystem::path& path, CadDocument contents)
{
    if (documents_.size() >= MaximumDocuments)
        throw CadWorkspaceError(path.string() + ": the workspace has too many documents");
    Owned<LoadedDocument> document(new LoadedDocument(*this, path, std::move(contents)));
    const auto entry = documents_.emplace(path.string(), std::move(document)).first;
    partNumbers_.Enter(*entry->second);
    return *entry->second;
}

/// What a link of a document leads to.
struct CadWorkspace::LinkedDocument {
    LoadedDocument* document = nullptr;
    std::string problem; ///< why there is none
};

CadWorkspace::LinkedDocument CadWorkspace::LoadLinked(const std::filesystem::path& file,
                                                      std::vector<LoadedDocument*>& fresh)
{
    if (LoadedDocument* known = FindCanonical(file))
        return {known, {}};
    try {
        fresh.push_back(&Enter(file, ReadDocument(file)));
        return {fresh.back(), {}};
    } catch (const CompoundFileError& error) {
        return {nullptr, Exists(file) ? error.what() : "missing"};
    }
}

void CadWorkspace::LoadChildren(LoadedDocument& document, std::vector<LoadedDocument*>& fresh)
{
    LinkTable links = std::exchange(document.contents_.links, {});
    const std::vector<ChildInstance> children = std::exchange(document.contents_.children, {});
    std::vector<bool> isUsed(links.size());
    for (const ChildInstance& child : children)
        isUsed[child.link] = true;

    const std::filesystem::path folder = document.path_.parent_path();
    const bool isFromOutside = !links.empty() && IsFromOutside(document.path_);
    std::vector<LinkedDocument> targets(links.size());
    for (std::size_t index = 0; index < links.size(); ++index)
        if (isFromOutside && LeadsOut(folder, links[index])) {
            const std::string link = std::exchange(links[index], LinkName(links[index]));
            targets[index].problem = "its link leads out of the folder of a document from outside";
            TellRefusedLink(document.path_, link);
            if (!isUsed[index])
                document.looseLinks_.push_back(links[index]);
        } else if (isUsed[index])
            targets[index] = LoadLinked(LinkTarget(folder, links[index]), fresh);
        else
            document.looseLinks_.push_back(links[index]);

    document.children_.reserve(children.size());
    for (const ChildInstance& child : children) {
        const LinkedDocument& target = targets[child.link];
        document.children_.emplace_back(new WorkspaceProduct(document, target.document, child.name, child.placement));
        document.childNames_.insert(child.name);
        if (target.document) {
            Refer(document, *target.document);
            continue;
        }
        document.children_.back()->link_ = links[child.link];
        document.children_.back()->problem_ = target.problem;
    }
}

void CadWorkspace::Refer(LoadedDocument& father, LoadedDocument& reference)
{
    ++father.references_[&reference];
    ++reference.fathers_[&father];
}

void CadWorkspace::EndReference(LoadedDocument& father, LoadedDocument& reference)
{
    if (--father.references_[&reference] == 0)
        father.references_.erase(&reference);
    if (--reference.fathers_[&father] == 0)
        reference.fathers_.erase(&father);
}

void CadWorkspace::ExpectCopies(LoadedDocument& document)
{
    if (std::exchange(document.isExpected_, false) || document.fathers_.empty())
        return;
    std::vector<std::filesystem::path> files;
    std::unordered_set<const LoadedDocument*> known;
    bool isAfter = false;
    for (const auto& child : document.fathers_.begin()->first->children_) {
        LoadedDocument* part = child->reference_;
        if (part == &document) {
            isAfter = true;
        } else if (isAfter && part && part->HasGeometry() && known.insert(part).second) {
            part->isExpected_ = true;
            files.push_back(part->path_);
        }
    }
    if (!files.empty())
        SolidKernel::Current().Expect(files);
}

void CadWorkspace::UnloadUnused(LoadedDocument& document)
{
    std::vector<Owned<LoadedDocument>> waiting;
    waiting.push_back(Share(&document));
    while (!waiting.empty()) {
        const Owned<LoadedDocument> unused = std::move(waiting.back());
        waiting.pop_back();
        if (!unused->workspace_ || unused->open_ || unused->opens_ > 0 || unused->locks_ > 0 ||
            !unused->fathers_.empty() || IsKeptForUndo(*unused))
            continue;
        std::vector<LoadedDocument*> references;
        for (const auto& [reference, count] : unused->references_)
            references.push_back(reference);
        DetachChildren(*unused);
        Unload(*unused);
        // Each comes up once, after the last one that referred to it.
        for (LoadedDocument* reference : references)
            if (reference->fathers_.empty())
                waiting.push_back(Share(reference));
    }
}

void CadWorkspace::DetachChildren(LoadedDocument& document)
{
    for (const auto& child : document.children_) {
        if (child->reference_)
            EndReference(document, *child->reference_);
        child->Detach();
    }
    document.children_.clear();
}

void CadWorkspace::Remove(LoadedDocument& document)
{
    partNumbers_.Leave(document);
    document.EndFeatures();
    const auto removed = documents_.extract(document.path_.string());
    document.workspace_ = nullptr;
    document.root_->Detach();
    document.root_.reset();
}

void CadWorkspace::Unload(LoadedDocument& document)
{
    const Owned<LoadedDocument> unloaded = Share(&document);
    if (history_ && history_->Forget(document))
        EndStepLater();
    Remove(document);
    events_.Tell(document, DocumentAction::Unloaded);
}

} // namespace openhost
