#include "openhost/cad/CadWorkspace.h"

#include "openhost/cad/FeatureContainer.h"
#include "openhost/documents/DocumentStream.h"
#include "openhost/files/Paths.h"
#include "openhost/frame/Frame.h"
#include "openhost/journal/Events.h"
#include "openhost/text/Utf.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <random>
#include <utility>

namespace openhost {

namespace {

/// Longest beginning of a part number in the name of a component, in bytes.
constexpr std::size_t MaximumNameSize = 1000;

/// Most products on the way to an element.
constexpr std::size_t MaximumDepth = 1000;

/// The one path of a file, however it is written; links are followed as far as they exist.
std::filesystem::path Canonical(const std::filesystem::path& path)
{
    if (path.empty())
        throw CadWorkspaceError("an empty path names no document");
    std::error_code error;
    std::filesystem::path canonical = std::filesystem::weakly_canonical(std::filesystem::absolute(path), error);
    return error ? std::filesystem::absolute(path).lexically_normal() : canonical;
}

bool Exists(const std::filesystem::path& path)
{
    std::error_code error;
    return std::filesystem::exists(path, error);
}

/// Where the link `link` of a document in `folder` leads.
std::filesystem::path Resolve(const std::filesystem::path& folder, const std::string& link)
{
    return Canonical(ResolveLink(folder, link));
}

/// The link of a document in `folder` to `target`. Refuses one that would lead elsewhere.
std::string LinkTo(const std::filesystem::path& folder, const std::filesystem::path& target)
{
    const std::string link = (target.parent_path() == folder ? target.filename() : target).string();
    if (Resolve(folder, link) != target)
        throw CadWorkspaceError(link + ": a link of the product would lead to another file of that name");
    try {
        EncodeLinkTable({link});
    } catch (const DocumentStreamError& error) {
        throw CadWorkspaceError("no link can lead to the file: " + std::string(error.what()));
    }
    return link;
}

/// The name of a component before its number.
std::string NameStem(const LoadedDocument& reference)
{
    std::string stem = reference.PartNumber().empty() ? reference.Path().stem().string() : reference.PartNumber();
    if (stem.size() > MaximumNameSize) {
        stem.resize(MaximumNameSize);
        while (!IsUtf8(stem))
            stem.pop_back();
    }
    return stem;
}

/// Whether `name` is `stem`, a point and a number.
bool IsNumbered(const std::string& name, const std::string& stem)
{
    const std::size_t point = stem.size();
    return name.size() > point + 1 && name.starts_with(stem) && name[point] == '.' &&
           name.find_first_not_of("0123456789", point + 1) == std::string::npos;
}

void Tell(const LoadedDocument& document, const char* action)
{
    journal::Write([&] { return journal::Document{.path = document.Path().string(), .action = action}; });
}

const char* ExtensionOf(DocumentKind kind)
{
    return kind == DocumentKind::Product ? ".ZALProduct" : ".ZALPart";
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

} // namespace

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

// ---------------------------------------------------------------------------------------------
// Documents

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
    return path.empty() ? nullptr : FindCanonical(Canonical(path));
}

LoadedDocument* CadWorkspace::FindCanonical(const std::filesystem::path& path) const
{
    const auto found = documents_.find(path.string());
    return found != documents_.end() ? found->second : nullptr;
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

void CadWorkspace::Save(LoadedDocument& document)
{
    if (!document.dirty_)
        return;
    Write(document, document.path_);
    document.dirty_ = false;
    Tell(document, "saved");
}

void CadWorkspace::SaveAs(LoadedDocument& document, const std::filesystem::path& path)
{
    const std::filesystem::path file = Canonical(path);
    if (file == document.path_)
        return Save(document);
    if (file.extension() != ExtensionOf(document.Kind()))
        throw CadWorkspaceError(file.string() + ": the document needs the extension " + ExtensionOf(document.Kind()));
    if (documents_.contains(file.string()))
        throw CadWorkspaceError(file.string() + ": another document of the workspace has this file");

    Write(document, file);
    documents_.erase(document.path_.string());
    document.path_ = file;
    documents_[file.string()] = &document;
    document.dirty_ = false;
    Tell(document, "saved");
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

std::vector<PartFeature*> CadWorkspace::ToolsOf(LoadedDocument& document)
{
    const PartFeature* part = document.Features()->Part();
    return part ? part->Children() : std::vector<PartFeature*>();
}

void CadWorkspace::Write(LoadedDocument& document, const std::filesystem::path& path)
{
    CadDocument contents = document.contents_;
    const std::vector<PartFeature*> tools = ToolsOf(document);
    std::vector<PartFeature*> results; // of each tool, null for one without content
    std::vector<PartTool> written;
    for (PartFeature* tool : tools) {
        results.push_back(tool->Child() ? tool->Child()->Child() : nullptr);
        written.push_back({tool->Name(), {}});
        if (results.back())
            written.back().geometry = *results.back()->Geometry();
    }
    if (!written.empty()) {
        contents.geometry = std::move(written.front().geometry);
        written.erase(written.begin());
        contents.features.otherTools = std::move(written);
    }

    std::unordered_map<std::string, std::uint32_t> positions;
    const auto positionOf = [&](const std::string& link) {
        const auto [known, isNew] = positions.try_emplace(link, static_cast<std::uint32_t>(contents.links.size()));
        if (isNew)
            contents.links.push_back(link);
        return known->second;
    };
    std::unordered_map<const LoadedDocument*, std::uint32_t> references;
    contents.children.reserve(document.children_.size());
    for (const WorkspaceProduct* child : document.children_) {
        std::uint32_t link = 0;
        if (!child->reference_)
            link = positionOf(child->link_);
        else if (const auto known = references.find(child->reference_); known != references.end())
            link = known->second;
        else
            link = references[child->reference_] = positionOf(LinkTo(path.parent_path(), child->reference_->path_));
        contents.children.push_back({child->name_, link, child->placement_});
    }
    for (const std::string& link : document.looseLinks_)
        positionOf(link);
    WriteDocument(contents, path);
    for (std::size_t tool = 0; tool < results.size(); ++tool)
        if (results[tool])
            results[tool]->SetStored(tool);
}

void CadWorkspace::Change(LoadedDocument& document, const std::function<void(CadDocument& contents)>& change)
{
    LeavePartNumber(document);
    change(document.contents_);
    EnterPartNumber(document);
    document.root_->name_ = document.PartNumber();
    if (!document.dirty_)
        SetChanged(document);
}

void CadWorkspace::SetChanged(LoadedDocument& document)
{
    document.dirty_ = true;
    Tell(document, "changed");
}

// ---------------------------------------------------------------------------------------------
// Loading

LoadedDocument& CadWorkspace::Load(const std::filesystem::path& path)
{
    const std::filesystem::path file = Canonical(path);
    if (LoadedDocument* known = FindCanonical(file))
        return *known;

    std::vector<LoadedDocument*> fresh;
    try {
        fresh.push_back(&Enter(file, ReadDocument(file)));
        for (std::size_t index = 0; index < fresh.size(); ++index)
            LoadChildren(*fresh[index], fresh);
        RefuseCycles(*fresh.front());
        return *fresh.front();
    } catch (...) {
        for (LoadedDocument* document : fresh)
            DetachChildren(*document);
        for (LoadedDocument* document : fresh)
            Remove(*document);
        throw;
    }
}

LoadedDocument& CadWorkspace::Enter(const std::filesystem::path& path, CadDocument contents)
{
    if (documents_.size() >= MaximumDocuments)
        throw CadWorkspaceError(path.string() + ": the workspace has too many documents");
    auto* document = new LoadedDocument(*this, path, std::move(contents));
    documents_[path.string()] = document;
    EnterPartNumber(*document);
    return *document;
}

void CadWorkspace::EnterPartNumber(LoadedDocument& document)
{
    auto& namesakes = byPartNumber_[document.PartNumber()];
    namesakes.insert(&document);
    if (namesakes.size() > 1)
        shared_.insert(document.PartNumber());
}

void CadWorkspace::LeavePartNumber(LoadedDocument& document)
{
    auto& namesakes = byPartNumber_[document.PartNumber()];
    namesakes.erase(&document);
    if (namesakes.size() < 2)
        shared_.erase(document.PartNumber());
    if (namesakes.empty())
        byPartNumber_.erase(document.PartNumber());
}

void CadWorkspace::LoadChildren(LoadedDocument& document, std::vector<LoadedDocument*>& fresh)
{
    const LinkTable links = std::exchange(document.contents_.links, {});
    const std::vector<ChildInstance> children = std::exchange(document.contents_.children, {});
    struct Target {
        LoadedDocument* document = nullptr;
        std::string problem;
        bool used = false;
    };
    std::vector<Target> targets(links.size());
    for (const ChildInstance& child : children)
        targets[child.link].used = true;

    for (std::size_t index = 0; index < links.size(); ++index) {
        if (!targets[index].used) {
            document.looseLinks_.push_back(links[index]);
            continue;
        }
        const std::filesystem::path file = Resolve(document.path_.parent_path(), links[index]);
        targets[index].document = FindCanonical(file);
        if (targets[index].document)
            continue;
        try {
            CadDocument contents = ReadDocument(file);
            targets[index].document = &Enter(file, std::move(contents));
            fresh.push_back(targets[index].document);
        } catch (const CompoundFileError& error) {
            targets[index].problem = Exists(file) ? error.what() : "missing";
        }
    }

    document.children_.reserve(children.size());
    for (const ChildInstance& child : children) {
        const Target& target = targets[child.link];
        auto* product = new WorkspaceProduct(document, target.document, child.name, child.placement, false);
        document.children_.push_back(product);
        document.childNames_.insert(child.name);
        if (target.document) {
            Refer(document, *target.document);
            continue;
        }
        product->link_ = links[child.link];
        product->problem_ = target.problem;
    }
}

void CadWorkspace::RefuseCycles(LoadedDocument& root)
{
    // A walk in depth: documents that are on the way, and documents that are done.
    struct Step {
        LoadedDocument* document;
        std::unordered_map<LoadedDocument*, std::size_t>::const_iterator next;
    };
    std::set<const LoadedDocument*> entered{&root};
    std::set<const LoadedDocument*> onTheWay{&root};
    std::vector<Step> way{{&root, root.references_.begin()}};
    while (!way.empty()) {
        Step& step = way.back();
        if (step.next == step.document->references_.end()) {
            onTheWay.erase(step.document);
            way.pop_back();
            continue;
        }
        LoadedDocument* reference = step.next->first;
        ++step.next;
        if (onTheWay.contains(reference))
            throw CadWorkspaceError(reference->path_.string() + ": the document is a part of itself");
        if (entered.insert(reference).second) {
            onTheWay.insert(reference);
            way.push_back({reference, reference->references_.begin()});
        }
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

void CadWorkspace::UnloadUnused(LoadedDocument& document)
{
    std::vector<LoadedDocument*> waiting{&document};
    while (!waiting.empty()) {
        LoadedDocument* unused = waiting.back();
        waiting.pop_back();
        if (unused->open_ || unused->opens_ > 0 || unused->locks_ > 0 || !unused->fathers_.empty())
            continue;
        std::vector<LoadedDocument*> references;
        for (const auto& [reference, count] : unused->references_)
            references.push_back(reference);
        DetachChildren(*unused);
        Remove(*unused);
        // Each comes up once, after the last one that referred to it.
        std::ranges::copy_if(references, std::back_inserter(waiting),
                             [](const LoadedDocument* reference) { return reference->fathers_.empty(); });
    }
}

void CadWorkspace::DetachChildren(LoadedDocument& document)
{
    for (WorkspaceProduct* child : document.children_) {
        if (child->reference_)
            EndReference(document, *child->reference_);
        child->owner_ = nullptr;
        child->reference_ = nullptr;
        child->Release();
    }
    document.children_.clear();
}

void CadWorkspace::Remove(LoadedDocument& document)
{
    LeavePartNumber(document);
    document.EndFeatures();
    documents_.erase(document.path_.string());
    document.workspace_ = nullptr;
    WorkspaceProduct* root = std::exchange(document.root_, nullptr);
    root->owner_ = nullptr;
    root->reference_ = nullptr;
    root->Release();
    document.Release();
}

// ---------------------------------------------------------------------------------------------
// Components

void CadWorkspace::CheckComponent(const LoadedDocument& father, LoadedDocument& reference)
{
    if (father.references_.contains(&reference))
        return; // one more instance brings no new link, and no cycle
    LinkTo(father.path_.parent_path(), reference.path_);
    if (Reaches(reference, father))
        throw CadWorkspaceError(father.path_.string() + ": the product would be a part of itself");
}

LoadedDocument& CadWorkspace::LoadComponent(const LoadedDocument& father, const std::filesystem::path& path)
{
    LoadedDocument& document = Load(path);
    try {
        CheckComponent(father, document);
    } catch (const CadWorkspaceError&) {
        UnloadUnused(document);
        throw;
    }
    return document;
}

bool CadWorkspace::Reaches(const LoadedDocument& from, const LoadedDocument& to)
{
    std::set<const LoadedDocument*> seen{&from};
    std::vector<const LoadedDocument*> waiting{&from};
    while (!waiting.empty()) {
        const LoadedDocument* document = waiting.back();
        waiting.pop_back();
        if (document == &to)
            return true;
        for (const auto& [reference, count] : document->references_)
            if (seen.insert(reference).second)
                waiting.push_back(reference);
    }
    return false;
}

std::string CadWorkspace::TakeName(LoadedDocument& father, const LoadedDocument& reference)
{
    const std::string stem = NameStem(reference);
    unsigned int& number = father.nextNumber_.try_emplace(stem, 1).first->second;
    std::string name;
    do
        name = stem + "." + std::to_string(number++);
    while (!father.childNames_.insert(name).second);
    return name;
}

LoadedDocument& CadWorkspace::ProductOf(const WorkspaceProduct& father)
{
    if (!father.reference_ || father.reference_->Kind() != DocumentKind::Product)
        throw CadWorkspaceError(father.name_ + ": components can be added to a product only");
    return *father.reference_;
}

WorkspaceProduct& CadWorkspace::Append(LoadedDocument& father, LoadedDocument& reference)
{
    father.children_.push_back(
        new WorkspaceProduct(father, &reference, TakeName(father, reference), IdentityPlacement, false));
    Refer(father, reference);
    return *father.children_.back();
}

WorkspaceProduct& CadWorkspace::AddComponent(WorkspaceProduct& father, LoadedDocument& reference)
{
    LoadedDocument& document = ProductOf(father);
    if (reference.workspace_ != this)
        throw CadWorkspaceError(reference.path_.string() + ": the document is not loaded");
    CheckComponent(document, reference);

    WorkspaceProduct& component = Append(document, reference);
    SetChanged(document);
    return component;
}

void CadWorkspace::AddComponents(WorkspaceProduct& father, const std::vector<std::filesystem::path>& files)
{
    LoadedDocument& document = ProductOf(father);
    std::vector<LoadedDocument*> references;
    try {
        for (const std::filesystem::path& file : files)
            references.push_back(&LoadComponent(document, file));
    } catch (...) {
        // One may have held another, which has gone with it.
        std::set<std::filesystem::path> loaded;
        for (const LoadedDocument* reference : references)
            loaded.insert(reference->path_);
        for (const std::filesystem::path& path : loaded)
            if (LoadedDocument* reference = FindCanonical(path))
                UnloadUnused(*reference);
        throw;
    }
    for (LoadedDocument* reference : references)
        Append(document, *reference);
    if (!references.empty())
        SetChanged(document);
}

void CadWorkspace::ReplaceComponent(WorkspaceProduct& father, WorkspaceProduct& component,
                                    const std::filesystem::path& file, bool allInstances)
{
    LoadedDocument* document = father.reference_;
    if (!document || component.isRoot_ || component.owner_ != document)
        throw CadWorkspaceError(component.name_ + ": the product is no component of " + father.name_);
    LoadedDocument& reference = LoadComponent(*document, file);

    LoadedDocument* replaced = component.reference_;
    const std::string link = component.link_;
    const auto isReplaced = [&](const WorkspaceProduct* child) {
        return child->reference_ == replaced && child->link_ == link;
    };
    if (!allInstances)
        Replace(component, reference);
    else
        for (WorkspaceProduct* child : document->children_)
            if (isReplaced(child))
                Replace(*child, reference);
    if (replaced)
        UnloadUnused(*replaced);
    SetChanged(*document);
}

void CadWorkspace::MoveComponent(WorkspaceProduct& component, const Placement& placement)
{
    if (component.isRoot_ || !component.owner_)
        throw CadWorkspaceError(component.name_ + ": the product is no component");
    component.placement_ = placement;
    SetChanged(*component.owner_);
}

void CadWorkspace::Replace(WorkspaceProduct& component, LoadedDocument& reference)
{
    LoadedDocument& father = *component.owner_;
    LoadedDocument* replaced = component.reference_;
    Refer(father, reference);
    if (replaced && replaced != &reference && IsNumbered(component.name_, NameStem(*replaced))) {
        father.childNames_.erase(component.name_);
        component.name_ = TakeName(father, reference);
    }
    component.reference_ = &reference;
    component.link_.clear();
    component.problem_.clear();
    if (replaced)
        EndReference(father, *replaced);
}

// ---------------------------------------------------------------------------------------------
// Names

std::set<const LoadedDocument*> CadWorkspace::RootsOf(const LoadedDocument& document)
{
    std::set<const LoadedDocument*> roots;
    std::set<const LoadedDocument*> seen{&document};
    std::vector<const LoadedDocument*> waiting{&document};
    while (!waiting.empty()) {
        const LoadedDocument* below = waiting.back();
        waiting.pop_back();
        if (below->open_ || below->fathers_.empty())
            roots.insert(below);
        for (const auto& [father, count] : below->fathers_)
            if (seen.insert(father).second)
                waiting.push_back(father);
    }
    return roots;
}

std::vector<std::string> CadWorkspace::DisputedPartNumbers(LoadedDocument& document) const
{
    // From the namesakes up to the roots, then down again by the same ways from the roots of `document`.
    std::unordered_map<const LoadedDocument*, std::vector<const LoadedDocument*>> below;
    std::vector<const LoadedDocument*> waiting;
    for (const std::string& partNumber : shared_)
        std::ranges::copy(byPartNumber_.at(partNumber), std::back_inserter(waiting));
    std::set<const LoadedDocument*> seen(waiting.begin(), waiting.end());
    while (!waiting.empty()) {
        const LoadedDocument* child = waiting.back();
        waiting.pop_back();
        for (const auto& [father, count] : child->fathers_) {
            below[father].push_back(child);
            if (seen.insert(father).second)
                waiting.push_back(father);
        }
    }
    const std::set<const LoadedDocument*> trees = RootsOf(document);
    std::set<const LoadedDocument*> inThem;
    waiting.assign(trees.begin(), trees.end());
    while (!waiting.empty()) {
        const LoadedDocument* father = waiting.back();
        waiting.pop_back();
        if (inThem.insert(father).second)
            std::ranges::copy(below[father], std::back_inserter(waiting));
    }

    std::vector<std::string> disputed;
    for (const std::string& partNumber : shared_)
        if (std::ranges::count_if(byPartNumber_.at(partNumber),
                                  [&](const LoadedDocument* namesake) { return inThem.contains(namesake); }) > 1)
            disputed.push_back(partNumber);
    return disputed;
}

ZALPathElement* CadWorkspace::FindPath(const std::string& names) const
{
    if (!Active())
        return nullptr;
    // Names may hold "/" themselves, so that each component that fits is tried, and what leads nowhere only once.
    std::vector<WorkspaceProduct*> way;
    std::set<std::pair<const LoadedDocument*, std::size_t>> deadEnds;
    const std::function<bool(WorkspaceProduct&, std::string_view)> walk = [&](WorkspaceProduct& product,
                                                                              std::string_view rest) {
        if (!rest.starts_with(product.name_) || way.size() == MaximumDepth)
            return false;
        rest.remove_prefix(product.name_.size());
        if (!rest.empty() && rest.front() != '/')
            return false;
        way.push_back(&product);
        if (rest.empty())
            return true;
        rest.remove_prefix(1);
        if (product.reference_ && deadEnds.emplace(product.reference_, rest.size()).second)
            for (WorkspaceProduct* child : product.reference_->children_)
                if (walk(*child, rest))
                    return true;
        way.pop_back();
        return false;
    };
    if (!walk(*Active()->root_, names))
        return nullptr;
    auto* path = new ZALPathElement;
    for (WorkspaceProduct* product : way)
        path->AddChildElement(product);
    return path;
}

} // namespace openhost
