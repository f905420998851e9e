// Identifiers of items.
#pragma once

#include <cstddef>
#include <set>
#include <string>

namespace catalogue {

/// Longest identifier, in bytes, before the number that tells it from others.
inline constexpr std::size_t MaximumItemId = 100;

/// Gives each file an identifier that reads like its name: small letters and digits of ASCII with hyphens between, as
/// names of files and parts of addresses.
class ItemIds {
public:
    /// `id` is taken; an empty one is none.
    void Add(const std::string& id) { taken_.insert(id); }
    /// A new one for the file `name`.
    std::string Make(const std::string& name);

private:
    std::set<std::string> taken_;
};

} // namespace catalogue
