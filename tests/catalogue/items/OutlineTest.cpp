#include "catalogue/items/Outline.h"

#include <gtest/gtest.h>

#include <numbers>

namespace catalogue::testing {

namespace {
constexpr double Pi = std::numbers::pi;
}

TEST(Outline, AreaOfAPolygonIsExactInBothDirections)
{
    EXPECT_DOUBLE_EQ(12, OutlineArea(Polygon({{0, 0}, {4, 0}, {4, 3}, {0, 3}})));
    EXPECT_DOUBLE_EQ(12, OutlineArea(Polygon({{0, 3}, {4, 3}, {4, 0}, {0, 0}})));
}

TEST(Outline, ArcsTurnTheWayOfTheirMiddle)
{
    const Outline outwards{{{1, 0}, Point{0, 1}}, {{-1, 0}}};
    const Outline larger{{{1, 0}, Point{0, -1}}, {{-1, 0}, Point{0, 1}}};
    EXPECT_NEAR(OutlineArea(outwards), Pi / 2, 1e-5);
    EXPECT_NEAR(OutlineArea(larger), Pi, 1e-5);
    // A square with a half circle cut out of one side.
    const Outline inwards{{{0, 0}}, {{2, 0}}, {{2, 2}, Point{1, 1}}, {{0, 2}}};
    EXPECT_NEAR(OutlineArea(inwards), 4 - Pi / 2, 1e-5);
}

TEST(Outline, RoundedCornersTakeTheirPartAway)
{
    EXPECT_NEAR(OutlineArea(RoundedPolygon({{0, 0, 1}, {4, 0, 1}, {4, 3, 1}, {0, 3}})), 12 - 3 * (1 - Pi / 4), 1e-5);
    // An inner corner gains what an outer one loses.
    EXPECT_NEAR(OutlineArea(RoundedPolygon({{0, 0}, {4, 0}, {4, 1}, {1, 1, 0.5}, {1, 4}, {0, 4}})),
                7 + 0.25 * (1 - Pi / 4), 1e-5);
}

TEST(Outline, RingOfARectangleAndOfACircleHaveTheirVolume)
{
    EXPECT_NEAR(RingVolume(Polygon({{1, 0}, {3, 0}, {3, 2}, {1, 2}})), Pi * (9 - 1) * 2, 1e-9);
    const Outline circle{{{6, 0}, Point{5, 1}}, {{4, 0}, Point{5, -1}}};
    EXPECT_NEAR(RingVolume(circle), 2 * Pi * 5 * Pi, 1e-4);
}

} // namespace catalogue::testing
