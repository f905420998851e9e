// What the 3D view shows: meshes, placed in space, and what is known of each.
#pragma once

#include "openhost/desktop/view/ShownMesh.h"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace openhost {

/// Names a mesh, however its user likes.
using MeshKey = std::string;
/// Names an instance, however its user likes.
using InstanceId = std::uint64_t;

/// A mesh at a place.
struct Instance {
    InstanceId id = 0;
    MeshKey mesh;
    Placement placement = IdentityPlacement;
};

/// From `origin` on, into `direction`, of any length but zero.
struct Ray {
    Vector origin{};
    Vector direction{};
};

/// What must be known of an element of the document to pick it: why it cannot be picked, or nothing.
using PickRule = std::function<std::string(InstanceId id)>;

/// Knows nothing of drawing. Its operations give the numbers of the items that look different after them.
class ViewScene {
public:
    using Numbers = std::vector<std::size_t>;

    struct Item {
        Instance instance;
        std::shared_ptr<const ShownMesh> mesh; ///< none while it is not there
        Box box;                               ///< around the placed mesh; loose
    };

    const std::vector<Item>& Items() const { return items_; }
    bool IsShown(std::size_t number) const;
    bool IsSelected(std::size_t number) const { return selected_.contains(IdOf(number)); }
    /// Why the item cannot be picked; empty when it can.
    std::string ReasonAgainstPicking(std::size_t number) const;
    bool HasPickRule() const { return static_cast<bool>(pickRule_); }
    const std::unordered_set<InstanceId>& Hidden() const { return hidden_; }
    const std::unordered_set<InstanceId>& Selected() const { return selected_; }

    /// Replaces all items. What is hidden and selected stays so, by its id; meshes of none of them are forgotten. What
    /// is not placed rigidly is left out.
    void SetInstances(std::vector<Instance> instances);
    Numbers SetMesh(const MeshKey& key, std::shared_ptr<const ShownMesh> mesh);
    Numbers SetHidden(std::unordered_set<InstanceId> ids);
    Numbers Select(std::unordered_set<InstanceId> ids);
    void SetPickRule(PickRule rule) { pickRule_ = std::move(rule); }

    /// Around what is shown, or what is selected of it; none when there is nothing.
    std::optional<Box> ShownBox(bool selectedOnly = false) const;
    /// The number of the first item that is shown on `ray`.
    std::optional<std::size_t> Pick(const Ray& ray) const;

private:
    InstanceId IdOf(std::size_t number) const { return items_[number].instance.id; }
    void Give(Item& item, std::shared_ptr<const ShownMesh> mesh);
    Numbers Exchange(std::unordered_set<InstanceId>& current, std::unordered_set<InstanceId> next);

    std::vector<Item> items_;
    std::unordered_map<MeshKey, std::shared_ptr<const ShownMesh>> meshes_;
    std::unordered_set<InstanceId> hidden_;
    std::unordered_set<InstanceId> selected_;
    PickRule pickRule_;
};

} // namespace openhost
