// What the display shows of a product.
#pragma once

#include "host/visualization.h"
#include "openhost/cad/WorkspaceProduct.h"

#include <cstddef>
#include <filesystem>
#include <vector>

namespace openhost {

/// A part with geometry that stands somewhere below a product.
struct ShownPart {
    std::filesystem::path file; ///< of the part; its geometry stays there until somebody asks for it
    Placement placement;        ///< in the product
    bool operator==(const ShownPart&) const = default;
};

/// Most instances of a tree that is shown, since a few documents that use each other twice unfold into any number.
inline constexpr std::size_t MaximumShownInstances = 100'000;

/// The parts with geometry below `product`, in the order of the tree, placed in the product that it refers to. Missing
/// components are left out. None at all for a tree of more than MaximumShownInstances.
std::vector<ShownPart> FindShownParts(const WorkspaceProduct& product);

/// The representation of a product, made of one part at least.
class ProductRep : public ZALRep {
public:
    explicit ProductRep(std::vector<ShownPart> parts) : parts_(std::move(parts)) {}
    const std::vector<ShownPart>& Parts() const { return parts_; }

private:
    std::vector<ShownPart> parts_;
};

} // namespace openhost
