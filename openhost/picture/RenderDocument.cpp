#include "openhost/picture/RenderDocument.h"

#include "openhost/geometry/DocumentTree.h"
#include "openhost/picture/PartMesh.h"
#include "openhost/picture/Rasterizer.h"

#include <Standard_Failure.hxx>

#include <algorithm>
#include <cmath>
#include <optional>

namespace openhost {

namespace {

/// From the coordinates of the document to those of the view: to the right (1, 1, 0), up (-1, 1, 2), towards the
/// viewer (1, -1, 1), each of unit length.
const Placement ToView = [] {
    const double a = 1 / std::sqrt(2.0);
    const double b = 1 / std::sqrt(6.0);
    const double c = 1 / std::sqrt(3.0);
    return Placement{a, a, 0, 0, -b, b, 2 * b, 0, c, -c, c, 0};
}();

/// Part of the picture, along each side, that stays free.
constexpr double Margin = 0.06;
/// Deflection of the triangles in pixels, and its least part of the size of the document.
constexpr double DeflectionInPixels = 0.2;
constexpr double LeastDeflection = 2e-5;
/// A document of a greater extent in millimetres is none of this world, and its numbers overflow.
constexpr double MaximumExtent = 1e9;

/// Soft and distinct beside each other; the first one is that of a single part.
constexpr std::array<Color, 10> Palette{{{158, 180, 205},
                                         {226, 186, 128},
                                         {150, 194, 158},
                                         {214, 150, 140},
                                         {178, 164, 208},
                                         {128, 192, 196},
                                         {214, 206, 140},
                                         {186, 188, 192},
                                         {204, 160, 186},
                                         {166, 190, 126}}};

struct PlacedDocument {
    std::size_t document;
    Placement toView;
};

/// The placement in the view of something placed by `inner` in a thing that is placed by `outer`.
Placement Within(const Placement& outer, const Placement& inner)
{
    Placement result{};
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 4; ++column) {
            double sum = column == 3 ? outer[4 * row + 3] : 0;
            for (std::size_t k = 0; k < 3; ++k)
                sum += outer[4 * row + k] * inner[4 * k + column];
            result[4 * row + column] = sum;
        }
    return result;
}

void Unfold(const DocumentTree& tree, std::size_t document, const Placement& toView,
            std::vector<PlacedDocument>& placed)
{
    if (!tree[document].shape.IsNull())
        placed.push_back({document, toView});
    for (const TreeDocument::Instance& instance : tree[document].instances)
        Unfold(tree, instance.document, Within(toView, instance.placement), placed);
}

/// A box that grows.
class Extent {
public:
    void Take(const Vector3& point)
    {
        for (std::size_t i = 0; i < 3; ++i) {
            lowest_[i] = empty_ ? point[i] : std::min(lowest_[i], point[i]);
            highest_[i] = empty_ ? point[i] : std::max(highest_[i], point[i]);
        }
        empty_ = false;
    }

    bool IsEmpty() const { return empty_; }
    double Lowest(std::size_t axis) const { return lowest_[axis]; }
    double Highest(std::size_t axis) const { return highest_[axis]; }
    double Length(std::size_t axis) const { return highest_[axis] - lowest_[axis]; }
    double Middle(std::size_t axis) const { return (lowest_[axis] + highest_[axis]) / 2; }
    /// Whether all of it is near enough to the origin to be drawn.
    bool IsDrawable() const
    {
        const auto inside = [](double number) { return std::abs(number) <= MaximumExtent; };
        return std::ranges::all_of(lowest_, inside) && std::ranges::all_of(highest_, inside);
    }

private:
    bool empty_ = true;
    Vector3 lowest_{};
    Vector3 highest_{};
};

/// Millimetres of a pixel when `extent` fills the picture but for its margin.
double PixelSize(const Extent& extent, PictureSize size)
{
    const double free = 1 - 2 * Margin;
    return std::max(extent.Length(0) / (size.width * free), extent.Length(1) / (size.height * free));
}

class DocumentRenderer {
public:
    DocumentRenderer(const DocumentTree& tree, PictureSize size) : tree_(tree), size_(size), meshes_(tree.size())
    {
        Unfold(tree, tree.size() - 1, ToView, placed_);
    }

    Picture Render()
    {
        const Extent rough = RoughExtent();
        if (!rough.IsDrawable())
            throw PictureError(tree_.back().key + ": the document is too large to be drawn");
        if (!rough.IsEmpty())
            MeshParts(rough);

        std::vector<PlacedMesh> scene;
        Extent extent;
        for (const PlacedDocument& placed : placed_) {
            const std::optional<PartMesh>& mesh = meshes_[placed.document];
            if (!mesh || mesh->points.empty())
                continue;
            Extent own;
            for (const Vector3& point : mesh->points)
                own.Take(TransformPoint(placed.toView, point));
            extent.Take({own.Lowest(0), own.Lowest(1), own.Lowest(2)});
            extent.Take({own.Highest(0), own.Highest(1), own.Highest(2)});
            scene.push_back({&*mesh, placed.toView, colors_[placed.document], own.Lowest(1), own.Highest(1)});
        }
        if (!extent.IsDrawable())
            throw PictureError(tree_.back().key + ": the document is too large to be drawn");
        const double pixel = PixelSize(extent, size_);
        if (!(pixel > 0))
            scene.clear();
        return Rasterize(scene, {extent.Middle(0), extent.Middle(1), pixel > 0 ? pixel : 1}, size_);
    }

private:
    /// Of the boxes around the parts.
    Extent RoughExtent() const
    {
        std::vector<std::optional<Box3>> boxes(tree_.size());
        Extent extent;
        for (const PlacedDocument& placed : placed_) {
            std::optional<Box3>& box = boxes[placed.document];
            if (!box)
                box = BoxAround(tree_[placed.document].shape);
            for (int corner = 0; corner < 8 && !box->empty; ++corner)
                extent.Take(TransformPoint(placed.toView, {corner & 1 ? box->highest[0] : box->lowest[0],
                                                           corner & 2 ? box->highest[1] : box->lowest[1],
                                                           corner & 4 ? box->highest[2] : box->lowest[2]}));
        }
        return extent;
    }

    /// Meshes each part of the tree once and gives it its colour.
    void MeshParts(const Extent& extent)
    {
        const double whole = std::hypot(extent.Length(0), extent.Length(1), extent.Length(2));
        const double deflection = std::max(DeflectionInPixels * PixelSize(extent, size_), LeastDeflection * whole);
        colors_.resize(tree_.size());
        std::size_t parts = 0;
        for (const PlacedDocument& placed : placed_) {
            std::optional<PartMesh>& mesh = meshes_[placed.document];
            if (mesh)
                continue;
            mesh = MeshPart(tree_[placed.document].shape, deflection);
            colors_[placed.document] = Palette[parts++ % Palette.size()];
        }
    }

    const DocumentTree& tree_;
    PictureSize size_;
    std::vector<PlacedDocument> placed_;
    std::vector<std::optional<PartMesh>> meshes_;
    std::vector<Color> colors_;
};

Picture RenderTree(const DocumentTree& tree, PictureSize size)
{
    try {
        return DocumentRenderer(tree, size).Render();
    } catch (const Standard_Failure& failure) {
        throw PictureError(tree.back().key + ": the geometry cannot be drawn: " + failure.GetMessageString());
    }
}

} // namespace

Picture RenderDocument(const std::filesystem::path& path, PictureSize size,
                       const std::function<void(const std::string& line)>& warn)
{
    return RenderTree(ReadDocumentTree(path, warn), size);
}

Picture RenderDocument(DocumentSource& source, const std::string& root, PictureSize size,
                       const std::function<void(const std::string& line)>& warn)
{
    return RenderTree(ReadDocumentTree(source, root, warn), size);
}

void DrawDocument(const std::filesystem::path& path, const std::filesystem::path& output, PictureSize size,
                  const std::function<void(const std::string& line)>& warn)
{
    const DocumentTree tree = ReadDocumentTree(path, warn);
    WriteMadeOf(tree, output, EncodePng(RenderTree(tree, size)));
}

} // namespace openhost
