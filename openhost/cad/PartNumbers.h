// The part numbers of the loaded documents.
#pragma once

#include <set>
#include <string>
#include <unordered_map>
#include <vector>

namespace openhost {

class LoadedDocument;

class PartNumbers {
public:
    /// Takes `document` in under the part number that it has, and out again before it gets another one.
    void Enter(const LoadedDocument& document);
    void Leave(const LoadedDocument& document);

    /// The part numbers that two or more documents have in the tree or trees that `document` stands in.
    std::vector<std::string> DisputedAround(const LoadedDocument& document) const;

private:
    using Documents = std::set<const LoadedDocument*>;

    std::unordered_map<std::string, Documents> documents_; ///< by part number
    std::set<std::string> shared_;                         ///< those that two or more documents have
};

} // namespace openhost
