// Walks along the references between documents.
#pragma once

#include "openhost/cad/LoadedDocument.h"

#include <functional>
#include <set>
#include <vector>

namespace openhost {

/// Whether `isSought` says yes to `document`, or to one that `next` leads to from there at any level:
/// &LoadedDocument::Fathers or &LoadedDocument::References.
template <class Next>
bool AnyFrom(const LoadedDocument& document, Next next, const std::function<bool(const LoadedDocument&)>& isSought)
{
    std::set<const LoadedDocument*> seen{&document};
    std::vector<const LoadedDocument*> waiting{&document};
    while (!waiting.empty()) {
        const LoadedDocument* at = waiting.back();
        waiting.pop_back();
        if (isSought(*at))
            return true;
        for (const auto& [following, count] : (at->*next)())
            if (seen.insert(following).second)
                waiting.push_back(following);
    }
    return false;
}

} // namespace openhost
