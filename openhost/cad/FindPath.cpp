// The way through a tree that a text tells.

#include "openhost/cad/CadWorkspace.h"

#include <functional>
#include <set>
#include <utility>

namespace openhost {

namespace {

/// Most products on the way to an element.
constexpr std::size_t MaximumDepth = 1000;

} // namespace

ZALPathElement* CadWorkspace::FindPath(const std::string& names) const
{
    if (!Active())
        return nullptr;
    // Names may hold "/" themselves, so that each component that fits is tried, and what leads nowhere only once.
    std::vector<WorkspaceProduct*> way;
    std::set<std::pair<const LoadedDocument*, std::size_t>> deadEnds;
    const std::function<bool(WorkspaceProduct&, std::string_view)> walk = [&](WorkspaceProduct& product,
                                                                              std::string_view rest) {
        if (!rest.starts_with(product.Name()) || way.size() == MaximumDepth)
            return false;
        rest.remove_prefix(product.Name().size());
        if (!rest.empty() && rest.front() != '/')
            return false;
        way.push_back(&product);
        if (rest.empty())
            return true;
        rest.remove_prefix(1);
        if (product.Reference() && deadEnds.emplace(product.Reference(), rest.size()).second)
            for (const auto& child : product.Reference()->Children())
                if (walk(*child, rest))
                    return true;
        way.pop_back();
        return false;
    };
    if (!walk(*Active()->Root(), names))
        return nullptr;
    Owned<ZALPathElement> path(new ZALPathElement);
    for (WorkspaceProduct* product : way)
        path->AddChildElement(product);
    return path.release();
}

} // namespace openhost
