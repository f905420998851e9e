#include "openhost/cad/PartNumbers.h"

#include "openhost/cad/LoadedDocument.h"

#include <algorithm>
#include <iterator>

namespace openhost {

namespace {

using Documents = std::set<const LoadedDocument*>;

/// The roots of the trees that `document` stands in.
Documents RootsOf(const LoadedDocument& document)
{
    Documents roots;
    Documents seen{&document};
    std::vector<const LoadedDocument*> waiting{&document};
    while (!waiting.empty()) {
        const LoadedDocument* below = waiting.back();
        waiting.pop_back();
        if (below->IsOpen() || below->Fathers().empty())
            roots.insert(below);
        for (const auto& [father, count] : below->Fathers())
            if (seen.insert(father).second)
                waiting.push_back(father);
    }
    return roots;
}

/// For each document on the way from `documents` up to the roots: its children on that way.
std::unordered_map<const LoadedDocument*, std::vector<const LoadedDocument*>>
ChildrenTowards(std::vector<const LoadedDocument*> documents)
{
    std::unordered_map<const LoadedDocument*, std::vector<const LoadedDocument*>> below;
    Documents seen(documents.begin(), documents.end());
    while (!documents.empty()) {
        const LoadedDocument* child = documents.back();
        documents.pop_back();
        for (const auto& [father, count] : child->Fathers()) {
            below[father].push_back(child);
            if (seen.insert(father).second)
                documents.push_back(father);
        }
    }
    return below;
}

} // namespace

void PartNumbers::Enter(const LoadedDocument& document)
{
    Documents& namesakes = documents_[document.PartNumber()];
    namesakes.insert(&document);
    if (namesakes.size() > 1)
        shared_.insert(document.PartNumber());
}

void PartNumbers::Leave(const LoadedDocument& document)
{
    Documents& namesakes = documents_[document.PartNumber()];
    namesakes.erase(&document);
    if (namesakes.size() < 2)
        shared_.erase(document.PartNumber());
    if (namesakes.empty())
        documents_.erase(document.PartNumber());
}

std::vector<std::string> PartNumbers::DisputedAround(const LoadedDocument& document) const
{
    // From the namesakes up to the roots, then down again by the same ways from the roots of `document`.
    std::vector<const LoadedDocument*> namesakes;
    for (const std::string& partNumber : shared_)
        std::ranges::copy(documents_.at(partNumber), std::back_inserter(namesakes));
    auto below = ChildrenTowards(std::move(namesakes));
    const Documents roots = RootsOf(document);
    std::vector<const LoadedDocument*> waiting(roots.begin(), roots.end());
    Documents inTrees;
    while (!waiting.empty()) {
        const LoadedDocument* father = waiting.back();
        waiting.pop_back();
        if (inTrees.insert(father).second)
            std::ranges::copy(below[father], std::back_inserter(waiting));
    }

    std::vector<std::string> disputed;
    const auto isInTrees = [&](const LoadedDocument* namesake) { return inTrees.contains(namesake); };
    for (const std::string& partNumber : shared_)
        if (std::ranges::count_if(documents_.at(partNumber), isInTrees) > 1)
            disputed.push_back(partNumber);
    return disputed;
}

} // namespace openhost
