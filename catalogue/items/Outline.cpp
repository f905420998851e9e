#include "catalogue/items/Outline.h"

#include <cmath>
#include <numbers>

namespace catalogue {

namespace {

Point operator+(Point a, Point b)
{
    return {a.x + b.x, a.y + b.y};
}
Point operator-(Point a, Point b)
{
    return {a.x - b.x, a.y - b.y};
}
Point operator*(double factor, Point a)
{
    return {factor * a.x, factor * a.y};
}
double Length(Point a)
{
    return std::hypot(a.x, a.y);
}
double Cross(Point a, Point b)
{
    return a.x * b.y - a.y * b.x;
}

constexpr int ChordsInArc = 2000;

/// Appends the arc from `from` through `via` to `to` as chords, without its last point.
void Flatten(Point from, Point via, Point to, std::vector<Point>& points)
{
    const Point a = via - from;
    const Point b = to - from;
    const double twice = 2 * Cross(a, b);
    const double squareA = a.x * a.x + a.y * a.y;
    const double squareB = b.x * b.x + b.y * b.y;
    const Point centre = from + Point{(b.y * squareA - a.y * squareB) / twice, (a.x * squareB - b.x * squareA) / twice};
    const double start = std::atan2(from.y - centre.y, from.x - centre.x);
    double turn = std::atan2(to.y - centre.y, to.x - centre.x) - start;
    const double whole = 2 * std::numbers::pi;
    if (twice > 0)
        turn += turn <= 0 ? whole : 0;
    else
        turn -= turn >= 0 ? whole : 0;
    const double radius = Length(from - centre);
    for (int i = 0; i < ChordsInArc; ++i)
        points.push_back(centre + OnCircle(radius, start + turn * i / ChordsInArc));
}

std::vector<Point> Flatten(const Outline& outline)
{
    std::vector<Point> points;
    for (std::size_t i = 0; i < outline.size(); ++i) {
        if (outline[i].via)
            Flatten(outline[i].at, *outline[i].via, outline[(i + 1) % outline.size()].at, points);
        else
            points.push_back(outline[i].at);
    }
    return points;
}

} // namespace

Outline Polygon(const std::vector<Point>& points)
{
    Outline outline;
    for (const Point& point : points)
        outline.push_back({point});
    return outline;
}

Outline RoundedPolygon(const std::vector<RoundedCorner>& corners)
{
    Outline outline;
    const std::size_t count = corners.size();
    for (std::size_t i = 0; i < count; ++i) {
        const Point here{corners[i].x, corners[i].y};
        if (corners[i].radius == 0) {
            outline.push_back({here});
            continue;
        }
        const Point before{corners[(i + count - 1) % count].x, corners[(i + count - 1) % count].y};
        const Point after{corners[(i + 1) % count].x, corners[(i + 1) % count].y};
        const Point in = 1 / Length(before - here) * (before - here);
        const Point out = 1 / Length(after - here) * (after - here);
        const double half = std::acos(in.x * out.x + in.y * out.y) / 2;
        const double reach = corners[i].radius / std::tan(half);
        const Point towardsCentre = 1 / Length(in + out) * (in + out);
        const double toArc = corners[i].radius / std::sin(half) - corners[i].radius;
        outline.push_back({here + reach * in, here + toArc * towardsCentre});
        outline.push_back({here + reach * out});
    }
    return outline;
}

Point OnCircle(double radius, double angle)
{
    return {radius * std::cos(angle), radius * std::sin(angle)};
}

double OutlineArea(const Outline& outline)
{
    const std::vector<Point> points = Flatten(outline);
    double twice = 0;
    for (std::size_t i = 0; i < points.size(); ++i)
        twice += Cross(points[i], points[(i + 1) % points.size()]);
    return std::abs(twice) / 2;
}

double RingVolume(const Outline& outline)
{
    const std::vector<Point> points = Flatten(outline);
    double sixfold = 0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const Point& a = points[i];
        const Point& b = points[(i + 1) % points.size()];
        sixfold += (a.x + b.x) * Cross(a, b);
    }
    return 2 * std::numbers::pi * std::abs(sixfold) / 6;
}

} // namespace catalogue
