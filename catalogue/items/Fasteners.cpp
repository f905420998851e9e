#include "catalogue/items/Fasteners.h"

#include "catalogue/items/Solid.h"

#include <cmath>
#include <numbers>

namespace catalogue {

namespace {

constexpr double Pi = std::numbers::pi;
const double ChamferSlope = std::tan(Pi / 6); ///< the chamfer of heads and nuts stands at 30 degrees
constexpr double ChamferCircle = 0.95;        ///< its inner circle as a part of the width across flats

/// Height of a thread's flank as a part of the pitch, outer to core.
constexpr double BoltFlank = 0.61343;
constexpr double NutFlank = 0.54127;

Outline Hexagon(double widthAcrossFlats)
{
    Outline outline;
    for (int i = 0; i < 6; ++i)
        outline.push_back({OnCircle(widthAcrossFlats / std::sqrt(3.0), Pi / 3 * i)});
    return outline;
}

/// A hexagon prism from z = 0 up to `height`, chamfered above, and below too when `both`.
TopoDS_Shape ChamferedHexagon(double widthAcrossFlats, double height, bool both)
{
    const double inner = ChamferCircle * widthAcrossFlats / 2;
    const double outer = widthAcrossFlats / std::sqrt(3.0) + 1;
    const double drop = (outer - inner) * ChamferSlope;
    std::vector<Point> profile{{0, 0}};
    if (both)
        profile.insert(profile.end(), {{inner, 0}, {outer, drop}});
    else
        profile.push_back({outer, 0});
    profile.insert(profile.end(), {{outer, height - drop}, {inner, height}, {0, height}});
    return Common(Extrude(Hexagon(widthAcrossFlats), height), Revolve(Polygon(profile)));
}

/// What one chamfer takes away: the integral of its depth over the hexagon outside its inner circle.
double ChamferVolume(double widthAcrossFlats)
{
    const double inner = ChamferCircle * widthAcrossFlats / 2;
    const double apothem = widthAcrossFlats / 2;
    const auto sector = [&](double angle) {
        const double radius = apothem / std::cos(angle);
        return (std::pow(radius, 3) - std::pow(inner, 3)) / 3 - inner * (radius * radius - inner * inner) / 2;
    };
    return 12 * ChamferSlope * Integrate(sector, 0, Pi / 6);
}

double HexagonArea(double widthAcrossFlats)
{
    return std::sqrt(3.0) / 2 * widthAcrossFlats * widthAcrossFlats;
}

double ConeFrustum(double radius, double otherRadius, double height)
{
    return Pi * height / 3 * (radius * radius + radius * otherRadius + otherRadius * otherRadius);
}

} // namespace

TopoDS_Shape MakeBolt(const BoltDimensions& bolt)
{
    const double radius = bolt.diameter / 2;
    const double chamfer = BoltFlank * bolt.pitch;
    const TopoDS_Shape shank = Revolve(Polygon({{0, -bolt.headHeight / 2},
                                                {radius, -bolt.headHeight / 2},
                                                {radius, bolt.length - chamfer},
                                                {radius - chamfer, bolt.length},
                                                {0, bolt.length}}));
    const TopoDS_Shape head = Turned(ChamferedHexagon(bolt.widthAcrossFlats, bolt.headHeight, false), {1, 0, 0}, Pi);
    return Fuse(head, shank);
}

double BoltVolume(const BoltDimensions& bolt)
{
    const double radius = bolt.diameter / 2;
    const double chamfer = BoltFlank * bolt.pitch;
    return HexagonArea(bolt.widthAcrossFlats) * bolt.headHeight - ChamferVolume(bolt.widthAcrossFlats) +
           Pi * radius * radius * (bolt.length - chamfer) + ConeFrustum(radius, radius - chamfer, chamfer);
}

TopoDS_Shape MakeNut(const NutDimensions& nut)
{
    const double outer = nut.diameter / 2;
    const double core = outer - NutFlank * nut.pitch;
    const double sink = outer - core;
    const TopoDS_Shape bore = Revolve(
        Polygon({{0, 0}, {outer, 0}, {core, sink}, {core, nut.height - sink}, {outer, nut.height}, {0, nut.height}}));
    return Cut(ChamferedHexagon(nut.widthAcrossFlats, nut.height, true), bore);
}

double NutVolume(const NutDimensions& nut)
{
    const double outer = nut.diameter / 2;
    const double core = outer - NutFlank * nut.pitch;
    const double sink = outer - core;
    return HexagonArea(nut.widthAcrossFlats) * nut.height - 2 * ChamferVolume(nut.widthAcrossFlats) -
           Pi * core * core * (nut.height - 2 * sink) - 2 * ConeFrustum(outer, core, sink);
}

TopoDS_Shape MakeWasher(const WasherDimensions& washer)
{
    const double inner = washer.innerDiameter / 2;
    const double outer = washer.outerDiameter / 2;
    return Revolve(Polygon({{inner, 0}, {outer, 0}, {outer, washer.thickness}, {inner, washer.thickness}}));
}

double WasherVolume(const WasherDimensions& washer)
{
    return Pi / 4 * (std::pow(washer.outerDiameter, 2) - std::pow(washer.innerDiameter, 2)) * washer.thickness;
}

} // namespace catalogue
