#include "benchmarks/peers/SphericalHarmonics.h"

#include "benchmarks/peers/SurfacePoints.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

namespace benchmarks {

using openhost::Difference;
using openhost::Dot;
using openhost::Vector;

namespace {

// The constants of the article.
constexpr std::size_t Side = 64; ///< of the grid, in voxels
constexpr std::size_t Spheres = 32;
constexpr std::size_t Frequencies = 16;
constexpr double Middle = Side / 2.0;
/// What the mean distance of the surface from its centre becomes, in voxels: half of what the grid reaches.
constexpr double MeanRadius = Side / 4.0;
/// Of the Gaussian over the distance from the surface, in voxels: a choice made here.
constexpr double GaussianWidth = 2;

/// Points on the surface: dozens for each voxel that a simple one goes through, where one would do.
constexpr std::size_t Points = 1 << 17;
constexpr std::size_t Circles = 64; ///< of latitude, on each sphere: the frequencies need 2 * Frequencies at least
constexpr std::size_t Meridians = 64;

/// A value for each voxel; the middle of voxel (x, y, z) lies half a voxel farther.
class Grid {
public:
    explicit Grid(double value) : values_(Side * Side * Side, value) {}

    double& At(std::size_t x, std::size_t y, std::size_t z) { return values_[(x * Side + y) * Side + z]; }
    std::vector<double>& All() { return values_; }

    /// Between the middles of voxels linear; outside the grid as at its border.
    double Interpolate(const Vector& place) const
    {
        std::array<std::size_t, 3> low{};
        Vector part{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double inside = std::clamp(place[axis] - 0.5, 0.0, Side - 1.001);
            low[axis] = static_cast<std::size_t>(inside);
            part[axis] = inside - static_cast<double>(low[axis]);
        }
        double value = 0;
        for (std::size_t corner = 0; corner < 8; ++corner) {
            double weight = 1;
            std::size_t index = 0;
            for (std::size_t axis = 0; axis < 3; ++axis) {
                const std::size_t up = corner >> axis & 1;
                weight *= up != 0 ? part[axis] : 1 - part[axis];
                index = index * Side + low[axis] + up;
            }
            value += weight * values_[index];
        }
        return value;
    }

private:
    std::vector<double> values_;
};

/// Points of the surface in voxels: moved so that their centre is that of the grid, and scaled.
std::vector<Vector> NormalPoints(const openhost::LvrMesh& mesh)
{
    SurfacePoints surface(mesh);
    std::vector<Vector> points(Points);
    Vector centre{};
    for (Vector& point : points) {
        point = surface.Next();
        for (std::size_t axis = 0; axis < 3; ++axis)
            centre[axis] += point[axis] / Points;
    }
    double radius = 0;
    for (Vector& point : points) {
        point = Difference(point, centre);
        radius += std::sqrt(Dot(point, point)) / Points;
    }
    for (Vector& point : points)
        for (double& coordinate : point)
            coordinate = Middle + coordinate * MeanRadius / radius;
    return points;
}

/// Marks each voxel whose middle is within one voxel's width of a point.
Grid Rasterize(const std::vector<Vector>& points, double empty, double full)
{
    Grid grid(empty);
    for (const Vector& point : points) {
        std::array<int, 3> first{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            first[axis] = static_cast<int>(std::clamp(std::floor(point[axis] - 1.5), -10.0, Side + 10.0));
        for (int x = first[0]; x < first[0] + 4; ++x)
            for (int y = first[1]; y < first[1] + 4; ++y)
                for (int z = first[2]; z < first[2] + 4; ++z) {
                    const Vector way = Difference(Vector{x + 0.5, y + 0.5, z + 0.5}, point);
                    const int most = static_cast<int>(Side) - 1;
                    if (Dot(way, way) <= 1 && std::min({x, y, z}) >= 0 && std::max({x, y, z}) <= most)
                        grid.At(static_cast<std::size_t>(x), static_cast<std::size_t>(y), static_cast<std::size_t>(z)) =
                            full;
                }
    }
    return grid;
}

/// Squared distances along one line of voxels: the lower envelope of the parabolas over `values` (P. Felzenszwalb and
/// D. Huttenlocher, "Distance Transforms of Sampled Functions").
void TransformLine(std::array<double, Side>& values)
{
    std::array<std::size_t, Side> places{};
    std::array<double, Side + 1> borders{};
    std::array<double, Side> result{};
    const auto crossing = [&](std::size_t one, std::size_t other) {
        const auto a = static_cast<double>(one);
        const auto b = static_cast<double>(other);
        return (values[one] + a * a - values[other] - b * b) / (2 * (a - b));
    };
    std::size_t last = 0;
    borders[0] = -std::numeric_limits<double>::infinity();
    borders[1] = std::numeric_limits<double>::infinity();
    for (std::size_t place = 1; place < Side; ++place) {
        double border = crossing(place, places[last]);
        while (border <= borders[last])
            border = crossing(place, places[--last]);
        places[++last] = place;
        borders[last] = border;
        borders[last + 1] = std::numeric_limits<double>::infinity();
    }
    std::size_t parabola = 0;
    for (std::size_t place = 0; place < Side; ++place) {
        while (borders[parabola + 1] < static_cast<double>(place))
            ++parabola;
        const double way = static_cast<double>(place) - static_cast<double>(places[parabola]);
        result[place] = way * way + values[places[parabola]];
    }
    values = result;
}

/// From marks that are 0 on the surface and very large elsewhere to the squared distances from it.
void TransformDistances(Grid& grid)
{
    const auto lines = [&](const auto& at) {
        for (std::size_t one = 0; one < Side; ++one)
            for (std::size_t other = 0; other < Side; ++other) {
                std::array<double, Side> line{};
                for (std::size_t place = 0; place < Side; ++place)
                    line[place] = at(one, other, place);
                TransformLine(line);
                for (std::size_t place = 0; place < Side; ++place)
                    at(one, other, place) = line[place];
            }
    };
    lines([&](std::size_t a, std::size_t b, std::size_t c) -> double& { return grid.At(a, b, c); });
    lines([&](std::size_t a, std::size_t b, std::size_t c) -> double& { return grid.At(a, c, b); });
    lines([&](std::size_t a, std::size_t b, std::size_t c) -> double& { return grid.At(c, a, b); });
}

/// What turns values on the circles of a sphere into its harmonics.
struct Transform {
    struct Circle {
        double height; ///< of a sphere of radius 1
        double weight; ///< part of the sphere's area, by the quadrature of Gauss and Legendre
        /// Normalized associated Legendre functions, by degree and order.
        std::array<std::array<double, Frequencies>, Frequencies> functions;
    };
    std::array<Circle, Circles> circles{};
    /// Cosine and sine of order times angle.
    std::array<std::array<std::array<double, 2>, Meridians>, Frequencies> waves{};

    Transform()
    {
        for (std::size_t number = 0; number < Circles; ++number)
            circles[number] = MakeCircle(number);
        for (std::size_t order = 0; order < Frequencies; ++order)
            for (std::size_t meridian = 0; meridian < Meridians; ++meridian) {
                const double angle = 2 * std::numbers::pi * static_cast<double>(order * meridian) / Meridians;
                waves[order][meridian] = {std::cos(angle), std::sin(angle)};
            }
    }

    static Circle MakeCircle(std::size_t number)
    {
        Circle circle{};
        // A root of the Legendre polynomial of degree `Circles`, by Newton's method.
        double x = std::cos(std::numbers::pi * (static_cast<double>(number) + 0.75) / (Circles + 0.5));
        double slope = 0;
        for (int turn = 0; turn < 20; ++turn) {
            double before = 1;
            double value = x;
            for (std::size_t degree = 2; degree <= Circles; ++degree) {
                const auto n = static_cast<double>(degree);
                const double next = ((2 * n - 1) * x * value - (n - 1) * before) / n;
                before = value;
                value = next;
            }
            slope = Circles * (x * value - before) / (x * x - 1);
            x -= value / slope;
        }
        circle.height = x;
        circle.weight = 2 / ((1 - x * x) * slope * slope) * 2 * std::numbers::pi / Meridians;

        const double sine = std::sqrt(1 - x * x);
        double diagonal = std::sqrt(1 / (4 * std::numbers::pi));
        for (std::size_t order = 0; order < Frequencies; ++order) {
            const auto m = static_cast<double>(order);
            if (order > 0)
                diagonal *= -sine * std::sqrt((2 * m + 1) / (2 * m));
            circle.functions[order][order] = diagonal;
            if (order + 1 < Frequencies)
                circle.functions[order + 1][order] = x * std::sqrt(2 * m + 3) * diagonal;
            for (std::size_t degree = order + 2; degree < Frequencies; ++degree) {
                const auto l = static_cast<double>(degree);
                const double a = std::sqrt((4 * l * l - 1) / (l * l - m * m));
                const double b = std::sqrt(((l - 1) * (l - 1) - m * m) / (4 * (l - 1) * (l - 1) - 1));
                circle.functions[degree][order] =
                    a * (x * circle.functions[degree - 1][order] - b * circle.functions[degree - 2][order]);
            }
        }
        return circle;
    }
};

/// The norm of what `grid` holds of each frequency on the sphere with the radius `radius` around its middle.
std::array<double, Frequencies> HarmonicsOfSphere(const Grid& grid, double radius)
{
    static const Transform transform;
    std::array<std::array<std::array<double, 2>, Frequencies>, Frequencies> coefficients{};
    for (const Transform::Circle& circle : transform.circles) {
        std::array<double, Meridians> values{};
        const double across = radius * std::sqrt(1 - circle.height * circle.height);
        for (std::size_t meridian = 0; meridian < Meridians; ++meridian) {
            const auto& [cosine, sine] = transform.waves[1][meridian];
            values[meridian] =
                grid.Interpolate({Middle + across * cosine, Middle + across * sine, Middle + radius * circle.height});
        }
        for (std::size_t order = 0; order < Frequencies; ++order) {
            std::array<double, 2> sum{};
            for (std::size_t meridian = 0; meridian < Meridians; ++meridian)
                for (std::size_t part = 0; part < 2; ++part)
                    sum[part] += values[meridian] * transform.waves[order][meridian][part];
            for (std::size_t degree = order; degree < Frequencies; ++degree)
                for (std::size_t part = 0; part < 2; ++part)
                    coefficients[degree][order][part] += circle.weight * circle.functions[degree][order] * sum[part];
        }
    }
    std::array<double, Frequencies> norms{};
    for (std::size_t degree = 0; degree < Frequencies; ++degree) {
        double square = 0;
        for (std::size_t order = 0; order <= degree; ++order) {
            const auto& [cosine, sine] = coefficients[degree][order];
            // An order stands for its negative one too.
            square += (order > 0 ? 2 : 1) * (cosine * cosine + sine * sine);
        }
        norms[degree] = std::sqrt(square);
    }
    return norms;
}

HarmonicsOfSpheres DescribeGrid(const Grid& grid)
{
    HarmonicsOfSpheres descriptor{};
    for (std::size_t sphere = 0; sphere < Spheres; ++sphere) {
        const auto radius = static_cast<double>(sphere + 1);
        const std::array<double, Frequencies> norms = HarmonicsOfSphere(grid, radius);
        // By the radius, so that the difference is one of functions in space, where the larger sphere has the more
        // area.
        for (std::size_t frequency = 0; frequency < Frequencies; ++frequency)
            descriptor[sphere * Frequencies + frequency] = radius * norms[frequency];
    }
    return descriptor;
}

} // namespace

HarmonicsOfSpheres DescribeVoxels(const openhost::LvrMesh& mesh)
{
    return DescribeGrid(Rasterize(NormalPoints(mesh), 0, 1));
}

HarmonicsOfSpheres DescribeDistanceField(const openhost::LvrMesh& mesh)
{
    // Larger than any square of a distance in the grid.
    constexpr double far = 1e6;
    Grid grid = Rasterize(NormalPoints(mesh), far, 0);
    TransformDistances(grid);
    for (double& value : grid.All())
        value = std::exp(-value / (2 * GaussianWidth * GaussianWidth));
    return DescribeGrid(grid);
}

double Dissimilarity(const HarmonicsOfSpheres& one, const HarmonicsOfSpheres& other)
{
    double sum = 0;
    for (std::size_t index = 0; index < one.size(); ++index)
        sum += (one[index] - other[index]) * (one[index] - other[index]);
    return std::sqrt(sum);
}

} // namespace benchmarks
