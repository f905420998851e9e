#include "openhost/picture/Rasterizer.h"

#include "openhost/geometry/OnAllCores.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <utility>

namespace openhost {

namespace {

/// Samples of a pixel in each direction: in a picture of up to so many pixels, and in a larger one.
constexpr int FineSamples = 4;
constexpr int CoarseSamples = 2;
constexpr int MaximumFinePixels = 2048 * 2048;
/// Most samples of a band, 8 bytes each: what a core has near it.
constexpr std::size_t MaximumSamples = 1 << 20;
/// Width of a line in pixels; more in a picture whose smaller side is above this many pixels for each.
constexpr double LineWidth = 1.1;
constexpr double PixelsForEachLineWidth = 700;
/// How far a line lies before the faces that meet in it, in widths of the line, so that they do not swallow it.
constexpr double LineLift = 1.5;
/// Rise of the depth towards the viewer, by the way across the picture, from which a border is an outline.
constexpr double OutlineSlope = 7;

constexpr Vector Light{-0.203, 0.355, 0.912}; ///< in view coordinates, over the viewer's left shoulder
constexpr double Ambient = 0.47;
constexpr double Diffuse = 0.62;
constexpr double Gloss = 0.10;
constexpr Color LineColor{44, 50, 60};
constexpr double LineStrength = 0.82;

constexpr float Nothing = -std::numeric_limits<float>::infinity();

struct Sample {
    float depth = Nothing; ///< larger is nearer
    bool line = false;
    Color color = BackgroundColor;
};

struct Vertex {
    double x;
    double y;
    double z;
    Vector normal;
};

std::uint8_t ToByte(double value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

/// The colour of a surface with the normal `normal`, of any length and side.
Color Shade(const Color& color, Vector normal)
{
    const double length = std::sqrt(Dot(normal, normal));
    if (length > 0)
        for (double& number : normal)
            number /= normal[2] < 0 ? -length : length;
    const double cosine = std::max(0.0, Dot(normal, Light));
    // Half way between the light and the viewer, who is at z.
    constexpr double halfLength = 1.955;
    const double near = std::max(0.0, (Dot(normal, Light) + normal[2]) / halfLength);
    const double fourth = near * near * near * near;
    const double gloss = Gloss * fourth * fourth * fourth * fourth * fourth * fourth;
    Color shaded;
    for (std::size_t i = 0; i < 3; ++i)
        shaded[i] = ToByte(color[i] * (Ambient + Diffuse * cosine) + 255 * gloss);
    return shaded;
}

/// Of each value of a part of a colour, that of a line on it.
const std::array<std::array<std::uint8_t, 256>, 3> Darkened = [] {
    std::array<std::array<std::uint8_t, 256>, 3> dark{};
    for (std::size_t part = 0; part < dark.size(); ++part)
        for (std::size_t value = 0; value < dark[part].size(); ++value)
            dark[part][value] =
                ToByte(LineColor[part] * LineStrength + static_cast<double>(value) * (1 - LineStrength));
    return dark;
}();

/// Some rows of samples. Sample coordinates: x to the right, y down, of the whole picture.
class Band {
public:
    Band(const Viewport& viewport, PictureSize size, double lineWidth)
        : samplesOfAPixel_(SamplesOfAPixel(size)), sampleSize_(viewport.pixel / samplesOfAPixel_),
          left_(viewport.middleX - size.width * viewport.pixel / 2),
          top_(viewport.middleY + size.height * viewport.pixel / 2), width_(size.width * samplesOfAPixel_),
          halfLine_(lineWidth * samplesOfAPixel_ / 2), shades_(static_cast<std::size_t>(size.width))
    {
    }

    /// Rows of pixels that a band has.
    static int RowsOf(PictureSize size)
    {
        const int side = SamplesOfAPixel(size);
        return std::max(1, static_cast<int>(MaximumSamples) / (size.width * side * side));
    }

    /// Begins with `count` rows of pixels from `row`, and as many more of samples as their outlines depend on.
    void Begin(int row, int count)
    {
        first_ = row * samplesOfAPixel_ - Reach();
        rows_ = count * samplesOfAPixel_ + 2 * Reach();
        band_.assign(static_cast<std::size_t>(width_) * static_cast<std::size_t>(rows_), {});
    }

    bool Touches(const PlacedMesh& placed) const
    {
        return (top_ - placed.highest) / sampleSize_ - halfLine_ <= first_ + rows_ &&
               (top_ - placed.lowest) / sampleSize_ + halfLine_ >= first_;
    }

    void DrawTriangles(const PlacedMesh& placed)
    {
        vertices_.clear();
        for (std::size_t i = 0; i < placed.mesh->points.size(); ++i)
            vertices_.push_back(Project(placed, placed.mesh->points[i], placed.mesh->normals[i]));
        for (const PartMesh::Triangle& triangle : placed.mesh->triangles)
            Draw(vertices_[triangle.corners[0]], vertices_[triangle.corners[1]], vertices_[triangle.corners[2]],
                 triangle.color.value_or(placed.color));
    }

    void DrawLines(const PlacedMesh& placed)
    {
        for (const std::vector<Vector>& line : placed.mesh->lines)
            for (std::size_t i = 1; i < line.size(); ++i)
                Draw(Project(placed, line[i - 1], {}), Project(placed, line[i], {}));
    }

    /// Marks the samples beside which a surface ends before the background or one that is farther away.
    void DrawOutlines()
    {
        const int reach = Reach();
        const int slant = static_cast<int>(std::lround(reach * 0.7));
        const std::array<std::array<int, 2>, 8> around{{{reach, 0},
                                                        {-reach, 0},
                                                        {0, reach},
                                                        {0, -reach},
                                                        {slant, slant},
                                                        {-slant, slant},
                                                        {slant, -slant},
                                                        {-slant, -slant}}};
        const auto jump = static_cast<float>(OutlineSlope * reach * sampleSize_);
        for (int y = first_; y < first_ + rows_; ++y)
            for (int x = 0; x < width_; ++x) {
                Sample& sample = At(x, y);
                if (sample.depth == Nothing || sample.line)
                    continue;
                sample.line = std::ranges::any_of(around, [&](const std::array<int, 2>& step) {
                    const int besideX = x + step[0];
                    const int besideY = y + step[1];
                    return besideX >= 0 && besideX < width_ && besideY >= first_ && besideY < first_ + rows_ &&
                           At(besideX, besideY).depth < sample.depth - jump;
                });
            }
    }

    /// The pixel in column `x` and row `y` of the picture.
    Color Resolve(int x, int y) const
    {
        const int side = samplesOfAPixel_;
        std::array<int, 3> sum{};
        for (int row = y * side; row < (y + 1) * side; ++row)
            for (int column = x * side; column < (x + 1) * side; ++column) {
                const Sample& sample = At(column, row);
                for (std::size_t i = 0; i < 3; ++i)
                    sum[i] += sample.line ? Darkened[i][sample.color[i]] : sample.color[i];
            }
        Color mean;
        for (std::size_t i = 0; i < 3; ++i)
            mean[i] = static_cast<std::uint8_t>((sum[i] + side * side / 2) / (side * side));
        return mean;
    }

private:
    /// How far, in samples, an outline reaches into the surface that it ends.
    int Reach() const { return static_cast<int>(std::lround(halfLine_)); }

    Sample& At(int x, int y)
    {
        return band_[static_cast<std::size_t>(y - first_) * static_cast<std::size_t>(width_) +
                     static_cast<std::size_t>(x)];
    }
    const Sample& At(int x, int y) const { return const_cast<Band*>(this)->At(x, y); }

    Vertex Project(const PlacedMesh& placed, const Vector& point, const Vector& normal) const
    {
        const Vector seen = PlacePoint(placed.toView, point);
        // The middle of a sample has whole coordinates.
        return {(seen[0] - left_) / sampleSize_ - 0.5, (top_ - seen[1]) / sampleSize_ - 0.5, seen[2],
                PlaceDirection(placed.toView, normal)};
    }

    void Draw(const Vertex& a, const Vertex& b, const Vertex& c, const Color& color)
    {
        const double area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        if (area == 0)
            return;
        const double slopeX = ((b.z - a.z) * (c.y - a.y) - (c.z - a.z) * (b.y - a.y)) / area;
        const double slopeY = ((b.x - a.x) * (c.z - a.z) - (c.x - a.x) * (b.z - a.z)) / area;
        const int fromY = std::max(first_, static_cast<int>(std::ceil(std::min({a.y, b.y, c.y}))));
        const int toY = std::min(first_ + rows_ - 1, static_cast<int>(std::floor(std::max({a.y, b.y, c.y}))));
        for (int y = fromY; y <= toY; ++y) {
            if (y == fromY || RowInPixel(y) == 0)
                ++shading_;
            double left = std::numeric_limits<double>::infinity();
            double right = -left;
            for (const auto& [from, to] : {std::pair(&a, &b), std::pair(&b, &c), std::pair(&c, &a)})
                Cross(*from, *to, y, left, right);
            const int fromX = std::max(0, static_cast<int>(std::ceil(std::max(left, -1.0))));
            const int toX = static_cast<int>(std::floor(std::min<double>(right, width_ - 1)));
            const double rowDepth = a.z + slopeY * (y - a.y);
            for (int x = fromX; x <= toX; ++x) {
                const auto depth = static_cast<float>(rowDepth + slopeX * (x - a.x));
                Sample& sample = At(x, y);
                if (depth <= sample.depth)
                    continue;
                sample.depth = depth;
                PixelShade& shade = shades_[static_cast<std::size_t>(x / samplesOfAPixel_)];
                if (shade.shading != shading_)
                    shade = {shading_, ShadeOf(a, b, c, area, x, y, color)};
                sample.color = shade.color;
            }
        }
    }
    /// The place of the row `y` of samples in its row of pixels.
    int RowInPixel(int y) const { return (y % samplesOfAPixel_ + samplesOfAPixel_) % samplesOfAPixel_; }

    /// What a triangle of twice the area `area` looks like in the middle of the pixel around the sample (`x`, `y`), or
    /// where it is nearest to that.
    Color ShadeOf(const Vertex& a, const Vertex& b, const Vertex& c, double area, int x, int y,
                  const Color& color) const
    {
        const double half = (samplesOfAPixel_ - 1) / 2.0;
        const double middleX = x - x % samplesOfAPixel_ + half;
        const double middleY = y - RowInPixel(y) + half;
        const double partB =
            std::clamp(((middleX - a.x) * (c.y - a.y) - (c.x - a.x) * (middleY - a.y)) / area, 0.0, 1.0);
        const double partC =
            std::clamp(((b.x - a.x) * (middleY - a.y) - (middleX - a.x) * (b.y - a.y)) / area, 0.0, 1.0 - partB);
        Vector normal;
        for (std::size_t i = 0; i < 3; ++i)
            normal[i] = (1 - partB - partC) * a.normal[i] + partB * b.normal[i] + partC * c.normal[i];
        return Shade(color, normal);
    }

    /// Widens the piece from `left` to `right` of row `y` to where the edge from `a` to `b` crosses the row: the same
    /// place for both triangles at the edge, so that no gap is between them.
    static void Cross(const Vertex& a, const Vertex& b, int y, double& left, double& right)
    {
        const Vertex& upper = a.y < b.y ? a : b;
        const Vertex& lower = a.y < b.y ? b : a;
        if (y < upper.y || y > lower.y || upper.y == lower.y)
            return;
        const double x = upper.x + (y - upper.y) / (lower.y - upper.y) * (lower.x - upper.x);
        left = std::min(left, x);
        right = std::max(right, x);
    }

    /// Draws a line, after all triangles: along its longer direction step by step, across it in its width.
    void Draw(Vertex a, Vertex b)
    {
        const bool steep = std::abs(b.y - a.y) > std::abs(b.x - a.x);
        if (steep) {
            std::swap(a.x, a.y);
            std::swap(b.x, b.y);
        }
        if (a.x > b.x)
            std::swap(a, b);
        const double length = b.x - a.x;
        const double rise = length > 0 ? (b.y - a.y) / length : 0;
        const double slope = length > 0 ? (b.z - a.z) / length : 0;
        const double half = halfLine_ * std::sqrt(1 + rise * rise);
        const double lift = LineLift * 2 * halfLine_ * sampleSize_;
        const std::array<int, 2> alongRange =
            steep ? std::array{first_, first_ + rows_ - 1} : std::array{0, width_ - 1};
        const std::array<int, 2> acrossRange =
            steep ? std::array{0, width_ - 1} : std::array{first_, first_ + rows_ - 1};

        const int from = std::max(alongRange[0], static_cast<int>(std::ceil(a.x - halfLine_ / 2)));
        const int to = std::min(alongRange[1], static_cast<int>(std::floor(b.x + halfLine_ / 2)));
        for (int along = from; along <= to; ++along) {
            const double way = std::clamp(along - a.x, 0.0, length);
            const double middle = a.y + rise * way;
            const auto depth = static_cast<float>(a.z + slope * way + lift);
            const int low = std::max(acrossRange[0], static_cast<int>(std::ceil(middle - half)));
            const int high = std::min(acrossRange[1], static_cast<int>(std::floor(middle + half)));
            for (int across = low; across <= high; ++across) {
                Sample& sample = steep ? At(across, along) : At(along, across);
                if (depth >= sample.depth)
                    sample.line = true;
            }
        }
    }

    static int SamplesOfAPixel(PictureSize size)
    {
        return size.width * size.height <= MaximumFinePixels ? FineSamples : CoarseSamples;
    }

    int samplesOfAPixel_; ///< in each direction
    double sampleSize_;
    double left_;
    double top_;
    int width_;
    double halfLine_; ///< in samples
    int first_ = 0;
    int rows_ = 0;
    std::vector<Sample> band_;
    std::vector<Vertex> vertices_;
    /// What the triangle that is drawn looks like in the pixels of a row: all samples of a pixel are shaded as one.
    struct PixelShade {
        std::uint64_t shading = 0; ///< to which the colour belongs
        Color color;
    };
    std::vector<PixelShade> shades_;
    std::uint64_t shading_ = 0; ///< number of the triangle's row of pixels
};

} // namespace

Picture Rasterize(const std::vector<PlacedMesh>& meshes, const Viewport& viewport, PictureSize size)
{
    Picture picture{size, {}};
    const auto width = static_cast<std::size_t>(size.width);
    picture.pixels.resize(width * static_cast<std::size_t>(size.height));
    const double lineWidth = LineWidth * std::max(1.0, std::min(size.width, size.height) / PixelsForEachLineWidth);
    const int rows = Band::RowsOf(size);
    OnAllCores(static_cast<std::size_t>((size.height + rows - 1) / rows), [&](std::size_t number) {
        const int first = static_cast<int>(number) * rows;
        const int count = std::min(rows, size.height - first);
        Band band(viewport, size, lineWidth);
        band.Begin(first, count);
        for (const PlacedMesh& placed : meshes)
            if (band.Touches(placed))
                band.DrawTriangles(placed);
        for (const PlacedMesh& placed : meshes)
            if (band.Touches(placed))
                band.DrawLines(placed);
        band.DrawOutlines();
        auto pixel = picture.pixels.begin() + static_cast<std::ptrdiff_t>(width * static_cast<std::size_t>(first));
        for (int y = first; y < first + count; ++y)
            for (int x = 0; x < size.width; ++x)
                *pixel++ = band.Resolve(x, y);
    });
    return picture;
}

} // namespace openhost
