// Plane outlines of straight edges and arcs.
#pragma once

#include <optional>
#include <vector>

namespace catalogue {

struct Point {
    double x = 0;
    double y = 0;
};

/// A corner of an outline and the way to the next one.
struct Corner {
    Point at;
    std::optional<Point> via = std::nullopt; ///< set: an arc through this point; otherwise a straight edge
};

/// A closed outline.
using Outline = std::vector<Corner>;

/// A corner to be rounded; radius 0 keeps it sharp.
struct RoundedCorner {
    double x;
    double y;
    double radius = 0;
};

/// Straight edges between `points`.
Outline Polygon(const std::vector<Point>& points);
/// Straight edges between `corners` with each corner rounded by its radius.
Outline RoundedPolygon(const std::vector<RoundedCorner>& corners);
Point OnCircle(double radius, double angle);

/// Area, and volume of the ring that the outline makes around the y axis, computed by cutting the arcs into
/// short chords. The solid kernel has no part in them, so that they can be held against it.
double OutlineArea(const Outline& outline);
double RingVolume(const Outline& outline);

} // namespace catalogue
