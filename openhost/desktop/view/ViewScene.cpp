#include "openhost/desktop/view/ViewScene.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace openhost {

namespace {

constexpr double Nowhere = std::numeric_limits<double>::infinity();

Box PlacedBox(const Box& box, const Placement& placement)
{
    std::optional<Box> placed;
    for (const Vector& corner : box.Corners())
        Widen(placed, PlacePoint(placement, corner));
    return *placed;
}

/// How far along `ray` `box` begins, in lengths of its direction; Nowhere when it is not met.
double Entry(const Ray& ray, const Box& box)
{
    double first = 0;
    double last = Nowhere;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        if (ray.direction[axis] == 0) {
            if (ray.origin[axis] < box.lowest[axis] || ray.origin[axis] > box.highest[axis])
                return Nowhere;
            continue;
        }
        double near = (box.lowest[axis] - ray.origin[axis]) / ray.direction[axis];
        double far = (box.highest[axis] - ray.origin[axis]) / ray.direction[axis];
        if (near > far)
            std::swap(near, far);
        first = std::max(first, near);
        last = std::min(last, far);
    }
    if (first > last)
        return Nowhere;
    return first;
}

/// How far along `ray` the triangle is, seen from either side. After Möller and Trumbore.
double Distance(const Ray& ray, const Vector& a, const Vector& b, const Vector& c)
{
    const Vector side = Difference(b, a);
    const Vector other = Difference(c, a);
    const Vector across = Cross(ray.direction, other);
    const double determinant = Dot(side, across);
    if (determinant == 0)
        return Nowhere;
    const Vector toOrigin = Difference(ray.origin, a);
    const double u = Dot(toOrigin, across) / determinant;
    const Vector up = Cross(toOrigin, side);
    const double v = Dot(ray.direction, up) / determinant;
    const double distance = Dot(other, up) / determinant;
    if (u >= 0 && v >= 0 && u + v <= 1 && distance >= 0)
        return distance;
    return Nowhere;
}

double Distance(const Ray& ray, const LvrMesh& mesh)
{
    double closest = Nowhere;
    for (const auto& [a, b, c] : mesh.triangles)
        closest = std::min(closest, Distance(ray, ToVector(mesh.positions[a]), ToVector(mesh.positions[b]),
                                             ToVector(mesh.positions[c])));
    return closest;
}

} // namespace

bool ViewScene::IsShown(std::size_t number) const
{
    return items_[number].mesh && !hidden_.contains(IdOf(number));
}

std::string ViewScene::ReasonAgainstPicking(std::size_t number) const
{
    return pickRule_ ? pickRule_(IdOf(number)) : std::string();
}

void ViewScene::Give(Item& item, std::shared_ptr<const ShownMesh> mesh)
{
    item.mesh = std::move(mesh);
    if (item.mesh)
        item.box = PlacedBox(item.mesh->box, item.instance.placement);
}

void ViewScene::SetInstances(std::vector<Instance> instances)
{
    std::erase_if(instances, [](const Instance& instance) { return !IsRigid(instance.placement); });
    items_.clear();
    items_.reserve(instances.size());
    std::unordered_map<MeshKey, std::shared_ptr<const ShownMesh>> meshes;
    for (Instance& instance : instances) {
        const auto known = meshes_.find(instance.mesh);
        Item& item = items_.emplace_back();
        item.instance = std::move(instance);
        if (known == meshes_.end())
            continue;
        Give(item, known->second);
        meshes.insert(*known);
    }
    meshes_ = std::move(meshes);
}

ViewScene::Numbers ViewScene::SetMesh(const MeshKey& key, std::shared_ptr<const ShownMesh> mesh)
{
    Numbers changed;
    for (std::size_t number = 0; number < items_.size(); ++number)
        if (items_[number].instance.mesh == key) {
            Give(items_[number], mesh);
            changed.push_back(number);
        }
    meshes_[key] = std::move(mesh);
    return changed;
}

ViewScene::Numbers ViewScene::Exchange(std::unordered_set<InstanceId>& current, std::unordered_set<InstanceId> next)
{
    Numbers changed;
    for (std::size_t number = 0; number < items_.size(); ++number)
        if (current.contains(IdOf(number)) != next.contains(IdOf(number)))
            changed.push_back(number);
    current = std::move(next);
    return changed;
}

ViewScene::Numbers ViewScene::SetHidden(std::unordered_set<InstanceId> ids)
{
    return Exchange(hidden_, std::move(ids));
}

ViewScene::Numbers ViewScene::Select(std::unordered_set<InstanceId> ids)
{
    return Exchange(selected_, std::move(ids));
}

std::optional<Box> ViewScene::ShownBox(bool selectedOnly) const
{
    std::optional<Box> box;
    for (std::size_t number = 0; number < items_.size(); ++number)
        if (IsShown(number) && (!selectedOnly || IsSelected(number))) {
            Widen(box, items_[number].box.lowest);
            Widen(box, items_[number].box.highest);
        }
    return box;
}

std::optional<std::size_t> ViewScene::Pick(const Ray& ray) const
{
    std::vector<std::pair<double, std::size_t>> met;
    for (std::size_t number = 0; number < items_.size(); ++number)
        if (IsShown(number))
            if (const double entry = Entry(ray, items_[number].box); entry < Nowhere)
                met.emplace_back(entry, number);
    std::ranges::sort(met);

    std::optional<std::size_t> picked;
    double closest = Nowhere;
    for (const auto& [entry, number] : met) {
        if (entry > closest)
            break;
        const Item& item = items_[number];
        const Placement back = Inverse(item.instance.placement);
        const Ray inside{PlacePoint(back, ray.origin), PlaceDirection(back, ray.direction)};
        if (const double distance = Distance(inside, item.mesh->details.front().mesh); distance < closest) {
            closest = distance;
            picked = number;
        }
    }
    return picked;
}

} // namespace openhost
