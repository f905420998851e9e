#include "openhost/picture/RenderDocument.h"

#include "openhost/geometry/DocumentTree.h"
#include "openhost/geometry/KernelFailure.h"
#include "openhost/geometry/OnAllCores.h"
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
constexpr double MinimumDeflection = 2e-5;
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

void Unfold(const DocumentTree& tree, std::size_t document, const Placement& toView,
            std::vector<PlacedDocument>& placed)
{
    if (!tree[document].shape.IsNull())
        placed.push_back({document, toView});
    for (const TreeDocument::Instance& instance : tree[document].instances)
        Unfold(tree, instance.document, Within(toView, instance.placement), placed);
}

/// Whether all of `box` is near enough to the origin to be drawn.
bool IsDrawable(const Box& box)
{
    const auto inside = [](double number) { return std::abs(number) <= MaximumExtent; };
    return std::ranges::all_of(box.lowest, inside) && std::ranges::all_of(box.highest, inside);
}

/// Millimetres of a pixel when `box` fills the picture but for its margin.
double PixelSize(const Box& box, PictureSize size)
{
    const double free = 1 - 2 * Margin;
    return std::max(box.Extent(0) / (size.width * free), box.Extent(1) / (size.height * free));
}

class DocumentRenderer {
public:
    DocumentRenderer(const DocumentTree& tree, PictureSize size) : tree_(tree), size_(size), meshes_(tree.size())
    {
        Unfold(tree, tree.size() - 1, ToView, placed_);
    }

    Picture Render()
    {
        if (const std::optional<Box> rough = RoughBox()) {
            Check(*rough);
            MeshParts(*rough);
        }
        std::vector<PlacedMesh> scene;
        std::optional<Box> whole;
        for (const PlacedDocument& placed : placed_) {
            const std::optional<PartMesh>& mesh = meshes_[placed.document];
            if (!mesh || mesh->points.empty())
                continue;
            std::optional<Box> own;
            for (const Vector& point : mesh->points)
                Widen(own, PlacePoint(placed.toView, point));
            Widen(whole, own->lowest);
            Widen(whole, own->highest);
            scene.push_back({&*mesh, placed.toView, colors_[placed.document], own->lowest[1], own->highest[1]});
        }
        const Box box = whole.value_or(Box());
        Check(box);
        const double pixel = PixelSize(box, size_);
        if (!(pixel > 0))
            return Rasterize({}, {}, size_);
        return Rasterize(scene, {box.Middle(0), box.Middle(1), pixel}, size_);
    }

private:
    void Check(const Box& box) const
    {
        if (!IsDrawable(box))
            throw PictureError(tree_.back().key + ": the document is too large to be drawn");
    }

    /// Around the boxes of the parts.
    std::optional<Box> RoughBox() const
    {
        std::vector<std::optional<Box>> boxes(tree_.size());
        std::optional<Box> rough;
        for (const PlacedDocument& placed : placed_) {
            std::optional<Box>& box = boxes[placed.document];
            if (!box)
                box = BoxAround(tree_[placed.document].shape);
            if (box)
                for (const Vector& corner : box->Corners())
                    Widen(rough, PlacePoint(placed.toView, corner));
        }
        return rough;
    }

    /// Meshes each part of the tree once and gives it its colour.
    void MeshParts(const Box& box)
    {
        const double deflection =
            std::max(DeflectionInPixels * PixelSize(box, size_), MinimumDeflection * box.Diagonal());
        colors_.resize(tree_.size());
        std::vector<std::size_t> parts;
        for (const PlacedDocument& placed : placed_) {
            if (meshes_[placed.document])
                continue;
            meshes_[placed.document].emplace();
            colors_[placed.document] = Palette[parts.size() % Palette.size()];
            parts.push_back(placed.document);
        }
        OnAllCores(parts.size(), [&](std::size_t number) {
            const TreeDocument& part = tree_[parts[number]];
            *meshes_[parts[number]] = MeshPart(part.shape, part.colors, deflection);
        });
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
        throw PictureError(tree.back().key + ": the geometry cannot be drawn: " + ReasonOf(failure));
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
