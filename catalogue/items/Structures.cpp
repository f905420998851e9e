#include "catalogue/items/Structures.h"

#include "catalogue/items/Solid.h"

#include <cmath>
#include <numbers>

namespace catalogue {

namespace {

constexpr double Pi = std::numbers::pi;
constexpr double Tolerance = 1e-6;

/// What rounding a right corner takes away.
constexpr double CornerArea(double radius)
{
    return (1 - Pi / 4) * radius * radius;
}

bool Same(double left, double right)
{
    return std::abs(left - right) < Tolerance;
}

// ---------------------------------------------------------------------------------------------
// Bracket

Outline BracketSection(const BracketDimensions& bracket)
{
    return RoundedPolygon({{0, 0, bracket.outerRadius},
                           {bracket.leg, 0},
                           {bracket.leg, bracket.thickness},
                           {bracket.thickness, bracket.thickness, bracket.innerRadius},
                           {bracket.thickness, bracket.leg},
                           {0, bracket.leg}});
}

double HolePosition(const BracketDimensions& bracket)
{
    return (bracket.leg + bracket.thickness) / 2;
}

// ---------------------------------------------------------------------------------------------
// Profile

Outline ProfileSection(const ProfileDimensions& profile)
{
    const double half = profile.side / 2;
    std::vector<RoundedCorner> corners;
    for (int turn = 0; turn < 4; ++turn) {
        // One side, from its slot to the corner behind it, as distance from the axis and along the side.
        const double side[][3] = {{half, -profile.slotWidth / 2, 0},
                                  {half - profile.lip, -profile.slotWidth / 2, 0},
                                  {half - profile.lip, -profile.slotInside / 2, 0},
                                  {half - profile.slotWall, -profile.slotInside / 2, 0},
                                  {half - profile.slotDepth, -profile.slotGround / 2, 0},
                                  {half - profile.slotDepth, profile.slotGround / 2, 0},
                                  {half - profile.slotWall, profile.slotInside / 2, 0},
                                  {half - profile.lip, profile.slotInside / 2, 0},
                                  {half - profile.lip, profile.slotWidth / 2, 0},
                                  {half, profile.slotWidth / 2, 0},
                                  {half, half, profile.cornerRadius}};
        const double c = turn == 0 ? 1 : turn == 2 ? -1 : 0;
        const double s = turn == 1 ? 1 : turn == 3 ? -1 : 0;
        for (const auto& [out, along, radius] : side)
            corners.push_back({c * out - s * along, s * out + c * along, radius});
    }
    return RoundedPolygon(corners);
}

} // namespace

TopoDS_Shape MakeBracket(const BracketDimensions& bracket)
{
    const double half = bracket.width / 2;
    // The section lies in xz; extruded along -y and centred.
    TopoDS_Shape shape = Turned(Extrude(BracketSection(bracket), bracket.width), {1, 0, 0}, Pi / 2);
    shape = Shifted(shape, {0, half, 0});
    shape = Filleted(shape, bracket.cornerRadius, [&](const Vector& end, const Vector& other) {
        const bool onXLeg = Same(end[0], bracket.leg) && Same(other[0], bracket.leg) && !Same(end[2], other[2]);
        const bool onZLeg = Same(end[2], bracket.leg) && Same(other[2], bracket.leg) && !Same(end[0], other[0]);
        return onXLeg || onZLeg;
    });
    const double at = HolePosition(bracket);
    const double radius = bracket.holeDiameter / 2;
    shape = Cut(shape, Cylinder({at, 0, -1}, radius, bracket.thickness + 2));
    const TopoDS_Shape hole = Turned(Cylinder({0, 0, -1}, radius, bracket.thickness + 2), {0, 1, 0}, Pi / 2);
    return Cut(shape, Shifted(hole, {0, 0, at}));
}

double BracketVolume(const BracketDimensions& bracket)
{
    return OutlineArea(BracketSection(bracket)) * bracket.width -
           4 * CornerArea(bracket.cornerRadius) * bracket.thickness -
           2 * Pi / 4 * std::pow(bracket.holeDiameter, 2) * bracket.thickness;
}

TopoDS_Shape MakeProfile(const ProfileDimensions& profile)
{
    return Cut(Extrude(ProfileSection(profile), profile.length),
               Cylinder({0, 0, 0}, profile.boreDiameter / 2, profile.length));
}

double ProfileVolume(const ProfileDimensions& profile)
{
    return (OutlineArea(ProfileSection(profile)) - Pi / 4 * std::pow(profile.boreDiameter, 2)) * profile.length;
}

TopoDS_Shape MakeSlotNut(const SlotNutDimensions& nut)
{
    const double neck = nut.neckWidth / 2;
    const double body = nut.bodyWidth / 2;
    const double length = nut.length / 2;
    const TopoDS_Shape shape = Fuse(Box({-neck, -length, nut.bodyFrom - nut.neckHeight}, {neck, length, nut.bodyFrom}),
                                    Box({-body, -length, nut.bodyFrom}, {body, length, nut.bodyFrom + nut.bodyHeight}));
    return Cut(shape, Cylinder({0, 0, -1}, nut.coreDiameter / 2, nut.bodyFrom + nut.bodyHeight + 2));
}

double SlotNutVolume(const SlotNutDimensions& nut)
{
    return (nut.neckWidth * nut.neckHeight + nut.bodyWidth * nut.bodyHeight) * nut.length -
           Pi / 4 * std::pow(nut.coreDiameter, 2) * (nut.neckHeight + nut.bodyHeight);
}

TopoDS_Shape MakeHousing(const HousingDimensions& housing)
{
    const double x = housing.length / 2;
    const double y = housing.width / 2;
    const double r = housing.bodyRadius;
    const double depth = housing.bodyWidth / 2;
    const auto alongY = [&](double radius, double from, double to) {
        const TopoDS_Shape cylinder = Cylinder({0, 0, 0}, radius, to - from);
        return Shifted(Turned(cylinder, {1, 0, 0}, -Pi / 2), {0, from, housing.axisHeight});
    };

    const double base = housing.baseHeight;
    TopoDS_Shape shape = Extrude(RoundedPolygon({{-x, -y, housing.baseRadius},
                                                 {x, -y, housing.baseRadius},
                                                 {x, y, housing.baseRadius},
                                                 {-x, y, housing.baseRadius}}),
                                 base);
    TopoDS_Shape body = Box({-r, -depth, 0}, {r, depth, housing.axisHeight});
    body = Fuse(body, alongY(r, -depth, depth));
    shape = Fuse(shape, body);
    shape = Filleted(shape, housing.footFillet, [&](const Vector& end, const Vector& other) {
        return Same(end[2], base) && Same(other[2], base) && Same(end[0], other[0]) && Same(std::abs(end[0]), r);
    });
    shape = Cut(shape, alongY(housing.seatDiameter / 2, depth - housing.seatDepth, depth + 1));
    shape = Cut(shape, alongY(housing.passDiameter / 2, -depth - 1, depth + 1));
    for (const double i : {-0.5, 0.5})
        for (const double j : {-0.5, 0.5})
            shape = Cut(shape, Cylinder({i * housing.holeDistanceX, j * housing.holeDistanceY, -1},
                                        housing.holeDiameter / 2, base + 2));
    return shape;
}

double HousingVolume(const HousingDimensions& housing)
{
    const double base = (housing.length * housing.width - 4 * CornerArea(housing.baseRadius)) * housing.baseHeight;
    const double body = (2 * housing.bodyRadius * (housing.axisHeight - housing.baseHeight) +
                         Pi / 2 * std::pow(housing.bodyRadius, 2)) *
                        housing.bodyWidth;
    const double fillets = 2 * CornerArea(housing.footFillet) * housing.bodyWidth;
    const double seat = Pi / 4 * std::pow(housing.seatDiameter, 2) * housing.seatDepth;
    const double pass = Pi / 4 * std::pow(housing.passDiameter, 2) * (housing.bodyWidth - housing.seatDepth);
    const double holes = Pi * std::pow(housing.holeDiameter, 2) * housing.baseHeight;
    return base + body + fillets - seat - pass - holes;
}

} // namespace catalogue
