#include "catalogue/items/Machinery.h"

#include "catalogue/items/Solid.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace catalogue {

namespace {

constexpr double Pi = std::numbers::pi;

// ---------------------------------------------------------------------------------------------
// Bearing

/// Radius of the raceway as a part of the ball's diameter.
constexpr double Raceway = 0.515;

double PitchRadius(const BearingDimensions& bearing)
{
    return (bearing.bore + bearing.outerDiameter) / 4;
}

/// Section of a ring between the seat and the shoulder, the raceway cut into the shoulder. The raceway touches
/// the balls at its ground.
Outline RingSection(const BearingDimensions& bearing, double seat, double shoulder)
{
    const double outwards = seat > shoulder ? 1 : -1;
    const double raceway = Raceway * bearing.ballDiameter;
    const double ground = PitchRadius(bearing) + outwards * bearing.ballDiameter / 2;
    const double centre = ground - outwards * raceway;
    const double half = std::sqrt(raceway * raceway - std::pow(shoulder - centre, 2));
    const double middle = bearing.width / 2;

    Outline section = RoundedPolygon({{shoulder, 0},
                                      {seat, 0, bearing.cornerRadius},
                                      {seat, bearing.width, bearing.cornerRadius},
                                      {shoulder, bearing.width}});
    section.push_back({{shoulder, middle + half}, Point{ground, middle}});
    section.push_back({{shoulder, middle - half}});
    return section;
}

Outline InnerRing(const BearingDimensions& bearing)
{
    return RingSection(bearing, bearing.bore / 2, bearing.innerRingShoulder / 2);
}

Outline OuterRing(const BearingDimensions& bearing)
{
    return RingSection(bearing, bearing.outerDiameter / 2, bearing.outerRingShoulder / 2);
}

// ---------------------------------------------------------------------------------------------
// Shaft

Outline ShaftSection(const ShaftDimensions& shaft)
{
    double z = 0;
    std::vector<Point> points{{0, 0}, {shaft.diameters[0] / 2 - shaft.chamfer, 0}};
    points.push_back({shaft.diameters[0] / 2, shaft.chamfer});
    for (int i = 0; i < 5; ++i) {
        if (i > 0)
            points.push_back({shaft.diameters[i] / 2, z});
        z += shaft.lengths[i];
        points.push_back({shaft.diameters[i] / 2, i < 4 ? z : z - shaft.chamfer});
    }
    points.push_back({shaft.diameters[4] / 2 - shaft.chamfer, z});
    points.push_back({0, z});
    return Polygon(points);
}

double ShaftLength(const ShaftDimensions& shaft)
{
    double length = 0;
    for (const double step : shaft.lengths)
        length += step;
    return length;
}

// ---------------------------------------------------------------------------------------------
// Gear

const double PressureAngle = Pi / 9;
constexpr int ArcsInFlank = 3;

/// Half the angle of a tooth at `radius`, on the involute.
double HalfTooth(const GearDimensions& gear, double radius)
{
    const double base = gear.module * gear.teeth / 2 * std::cos(PressureAngle);
    const double angle = std::acos(std::min(1.0, base / radius));
    const auto involute = [](double at) { return std::tan(at) - at; };
    return Pi / (2 * gear.teeth) + involute(PressureAngle) - involute(angle);
}

Outline GearOutline(const GearDimensions& gear)
{
    const double pitch = gear.module * gear.teeth / 2;
    const double root = pitch - 1.25 * gear.module;
    const double tip = pitch + gear.module;
    const double start = std::max(root, pitch * std::cos(PressureAngle));
    const auto flankRadius = [&](double part) { return start + (tip - start) * part; };

    Outline outline;
    for (int tooth = 0; tooth < gear.teeth; ++tooth) {
        const double middle = 2 * Pi * tooth / gear.teeth;
        const auto flank = [&](double part, int side) {
            const double radius = flankRadius(part);
            return OnCircle(radius, middle + side * HalfTooth(gear, radius));
        };
        const double foot = HalfTooth(gear, start);
        if (start > root)
            outline.push_back({OnCircle(root, middle - foot)});
        for (int i = 0; i < ArcsInFlank; ++i)
            outline.push_back({flank(double(i) / ArcsInFlank, -1), flank((i + 0.5) / ArcsInFlank, -1)});
        outline.push_back({flank(1, -1), OnCircle(tip, middle)});
        for (int i = ArcsInFlank; i > 0; --i)
            outline.push_back({flank(double(i) / ArcsInFlank, 1), flank((i - 0.5) / ArcsInFlank, 1)});
        if (start > root)
            outline.push_back({flank(0, 1)});
        outline.push_back({OnCircle(root, middle + foot), OnCircle(root, middle + Pi / gear.teeth)});
    }
    return outline;
}

Outline BoreWithKeyway(const GearDimensions& gear)
{
    const double radius = gear.bore / 2;
    const double half = gear.keyWidth / 2;
    const double from = std::asin(half / radius);
    const double top = radius + gear.keyDepth;
    return {{OnCircle(radius, from), OnCircle(radius, Pi)}, {OnCircle(radius, -from)}, {{top, -half}}, {{top, half}}};
}

} // namespace

TopoDS_Shape MakeBearing(const BearingDimensions& bearing)
{
    std::vector<TopoDS_Shape> solids{Revolve(InnerRing(bearing)), Revolve(OuterRing(bearing))};
    for (int i = 0; i < bearing.balls; ++i) {
        const Point at = OnCircle(PitchRadius(bearing), 2 * Pi * i / bearing.balls);
        solids.push_back(Sphere({at.x, at.y, bearing.width / 2}, bearing.ballDiameter / 2));
    }
    return Together(solids);
}

double BearingVolume(const BearingDimensions& bearing)
{
    return RingVolume(InnerRing(bearing)) + RingVolume(OuterRing(bearing)) +
           bearing.balls * Pi / 6 * std::pow(bearing.ballDiameter, 3);
}

TopoDS_Shape MakeShaft(const ShaftDimensions& shaft)
{
    const double radius = shaft.diameters[4] / 2;
    const double half = shaft.keyWidth / 2;
    const double end = ShaftLength(shaft) - shaft.keyEndDistance;
    const double begin = end - shaft.keyLength;
    const Outline slot{{{begin + half, -half}},
                       {{end - half, -half}, Point{end, 0}},
                       {{end - half, half}},
                       {{begin + half, half}, Point{begin, 0}}};
    // Turned so that the length of the slot runs along z and its depth towards the axis from -x.
    const TopoDS_Shape key = Turned(Extrude(slot, shaft.keyDepth + radius), {0, 1, 0}, -Pi / 2);
    return Cut(Revolve(ShaftSection(shaft)), Shifted(key, {shaft.keyDepth - radius, 0, 0}));
}

double ShaftVolume(const ShaftDimensions& shaft)
{
    const double radius = shaft.diameters[4] / 2;
    const double half = shaft.keyWidth / 2;
    const auto slice = [&](double y) {
        const double length = shaft.keyLength - shaft.keyWidth + 2 * std::sqrt(std::max(0.0, half * half - y * y));
        return length * (std::sqrt(radius * radius - y * y) - (radius - shaft.keyDepth));
    };
    return RingVolume(ShaftSection(shaft)) - Integrate(slice, -half, half);
}

TopoDS_Shape MakeGear(const GearDimensions& gear)
{
    return Cut(Extrude(GearOutline(gear), gear.faceWidth), Extrude(BoreWithKeyway(gear), gear.faceWidth));
}

double GearVolume(const GearDimensions& gear)
{
    return (OutlineArea(GearOutline(gear)) - OutlineArea(BoreWithKeyway(gear))) * gear.faceWidth;
}

} // namespace catalogue
