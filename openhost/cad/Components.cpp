// The workspace changes the components of its products.

#include "openhost/cad/CadWorkspace.h"
#include "openhost/cad/DocumentPaths.h"
#include "openhost/cad/DocumentWalk.h"
#include "openhost/text/Utf.h"

#include <set>

namespace openhost {

namespace {

/// Longest beginning of a part number in the name of a component, in bytes.
constexpr std::size_t MaximumNameSize = 1000;

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

} // namespace

void CadWorkspace::CheckComponent(const LoadedDocument& father, LoadedDocument& reference)
{
    if (father.references_.contains(&reference))
        return; // one more instance brings no new link, and no cycle
    LinkTo(father.path_.parent_path(), reference.path_);
    const auto isFather = [&](const LoadedDocument& below) { return &below == &father; };
    if (AnyFrom(reference, &LoadedDocument::References, isFather))
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
    father.children_.emplace_back(
        new WorkspaceProduct(father, &reference, TakeName(father, reference), IdentityPlacement));
    Refer(father, reference);
    return *father.children_.back();
}

WorkspaceProduct& CadWorkspace::AddComponent(WorkspaceProduct& father, LoadedDocument& reference)
{
    LoadedDocument& document = ProductOf(father);
    if (reference.workspace_ != this)
        throw CadWorkspaceError(reference.path_.string() + ": the document is not loaded");
    CheckComponent(document, reference);

    KeepState(document, "Insert");
    WorkspaceProduct& component = Append(document, reference);
    SetChanged(document);
    return component;
}

std::vector<LoadedDocument*> CadWorkspace::LoadComponents(const LoadedDocument& father,
                                                          const std::vector<std::filesystem::path>& files)
{
    std::vector<LoadedDocument*> references;
    try {
        for (const std::filesystem::path& file : files)
            references.push_back(&LoadComponent(father, file));
        return references;
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
}

void CadWorkspace::AddComponents(WorkspaceProduct& father, const std::vector<std::filesystem::path>& files)
{
    LoadedDocument& document = ProductOf(father);
    if (files.empty())
        return;
    const std::vector<LoadedDocument*> references = LoadComponents(document, files);
    KeepState(document, "Insert");
    for (LoadedDocument* reference : references)
        Append(document, *reference);
    SetChanged(document);
}

LoadedDocument& CadWorkspace::FatherOf(const WorkspaceProduct& component, const WorkspaceProduct& father)
{
    LoadedDocument* document = father.reference_;
    if (!document || component.isRoot_ || component.owner_ != document)
        throw CadWorkspaceError(component.name_ + ": the product is not a component of " + father.name_);
    return *document;
}

void CadWorkspace::ReplaceComponent(WorkspaceProduct& father, WorkspaceProduct& component,
                                    const std::filesystem::path& file)
{
    ReplaceEach(FatherOf(component, father), {&component}, file, "Replace");
}

void CadWorkspace::ReplaceAllInstances(WorkspaceProduct& father, WorkspaceProduct& component,
                                       const std::filesystem::path& file)
{
    LoadedDocument& document = FatherOf(component, father);
    std::vector<WorkspaceProduct*> instances;
    for (const auto& child : document.children_)
        if (child->reference_ == component.reference_ && child->link_ == component.link_)
            instances.push_back(child.get());
    ReplaceEach(document, instances, file, "Replace All");
}

void CadWorkspace::ReplaceEach(LoadedDocument& father, const std::vector<WorkspaceProduct*>& components,
                               const std::filesystem::path& file, const char* step)
{
    LoadedDocument& reference = LoadComponent(father, file);
    KeepState(father, step);
    LoadedDocument* replaced = components.front()->reference_;
    for (WorkspaceProduct* component : components)
        Replace(*component, reference);
    SetChanged(father);
    if (replaced)
        UnloadUnused(*replaced);
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

void CadWorkspace::MoveComponent(WorkspaceProduct& component, const Placement& placement)
{
    if (component.isRoot_ || !component.owner_)
        throw CadWorkspaceError(component.name_ + ": the product is not a component");
    KeepState(*component.owner_, "Move");
    component.placement_ = placement;
    SetChanged(*component.owner_);
}

} // namespace openhost
