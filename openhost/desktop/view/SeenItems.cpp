#include "openhost/desktop/view/SeenItems.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace openhost {

namespace {

constexpr std::uint32_t Nobody = std::numeric_limits<std::uint32_t>::max();

/// For each pixel the item that is closest.
class Sight {
public:
    Sight(int width, int height)
        : width_(width), height_(height), depths_(Size(), std::numeric_limits<float>::infinity()),
          items_(Size(), Nobody)
    {
    }

    /// Corners in pixels; what is away is larger in z.
    void Draw(std::uint32_t item, const LvrMesh::Vector& a, const LvrMesh::Vector& b, const LvrMesh::Vector& c)
    {
        const float area = Side(a, b, c[0], c[1]);
        const int left = Clamp(std::ceil(std::min({a[0], b[0], c[0]})), width_);
        const int right = Clamp(std::floor(std::max({a[0], b[0], c[0]})) + 1, width_);
        const int top = Clamp(std::ceil(std::min({a[1], b[1], c[1]})), height_);
        const int bottom = Clamp(std::floor(std::max({a[1], b[1], c[1]})) + 1, height_);
        if (!(std::abs(area) > 0))
            return;
        for (int y = top; y < bottom; ++y)
            for (int x = left; x < right; ++x) {
                const auto px = static_cast<float>(x);
                const auto py = static_cast<float>(y);
                const float ofA = Side(b, c, px, py) / area;
                const float ofB = Side(c, a, px, py) / area;
                const float ofC = 1 - ofA - ofB;
                if (ofA < 0 || ofB < 0 || ofC < 0)
                    continue;
                const float depth = ofA * a[2] + ofB * b[2] + ofC * c[2];
                const auto place =
                    static_cast<std::size_t>(y) * static_cast<std::size_t>(width_) + static_cast<std::size_t>(x);
                if (depth < depths_[place]) {
                    depths_[place] = depth;
                    items_[place] = item;
                }
            }
    }
    const std::vector<std::uint32_t>& Items() const { return items_; }

private:
    std::size_t Size() const { return static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_); }
    static int Clamp(float value, int most)
    {
        return static_cast<int>(std::clamp(value, 0.F, static_cast<float>(most)));
    }
    /// On which side of the line from `a` to `b` the point is, and how far.
    static float Side(const LvrMesh::Vector& a, const LvrMesh::Vector& b, float x, float y)
    {
        return (b[0] - a[0]) * (y - a[1]) - (b[1] - a[1]) * (x - a[0]);
    }

    int width_;
    int height_;
    std::vector<float> depths_;
    std::vector<std::uint32_t> items_;
};

} // namespace

std::vector<bool> FindSeen(const ViewScene& scene, const std::vector<std::uint8_t>& details,
                           const Projection& projection, int width, int height)
{
    Sight sight(width, height);
    std::vector<bool> seen(scene.Items().size());
    std::vector<LvrMesh::Vector> corners;
    for (std::size_t number = 0; number < seen.size(); ++number) {
        if (!scene.IsShown(number))
            continue;
        const ViewScene::Item& item = scene.Items()[number];
        const std::vector<MeshDetail>& all = item.mesh->details;
        const LvrMesh& mesh = all[std::min<std::size_t>(details[number], all.size() - 1)].mesh;
        corners.clear();
        for (const LvrMesh::Vector& position : mesh.positions) {
            const auto [x, y, z] = PlacePoint(item.instance.placement, ToVector(position));
            const auto row = [&, x = x, y = y, z = z](std::size_t first) {
                return projection[first] * x + projection[first + 1] * y + projection[first + 2] * z +
                       projection[first + 3];
            };
            const double w = row(12);
            if (!(w > 0)) {
                seen[number] = true;
                break;
            }
            corners.push_back({static_cast<float>((row(0) / w + 1) / 2 * width),
                               static_cast<float>((1 - row(4) / w) / 2 * height), static_cast<float>(row(8) / w)});
        }
        if (!seen[number])
            for (const auto& [a, b, c] : mesh.triangles)
                sight.Draw(static_cast<std::uint32_t>(number), corners[a], corners[b], corners[c]);
    }
    for (const std::uint32_t item : sight.Items())
        if (item != Nobody)
            seen[item] = true;
    return seen;
}

} // namespace openhost
