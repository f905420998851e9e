// Vectors, placements and boxes.

#include "openhost/space/Box.h"
#include "openhost/space/Placement.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

namespace openhost::testing {

namespace {

/// A quarter turn about z, then a shift.
constexpr Placement Turned{0, -1, 0, 10, 1, 0, 0, 20, 0, 0, 1, 30};
/// A quarter turn about x, then a shift.
constexpr Placement Tilted{1, 0, 0, 1, 0, 0, -1, 2, 0, 1, 0, 3};

TEST(Vectors, TheCrossOfXAndYIsZ)
{
    EXPECT_EQ((Vector{0, 0, 1}), Cross({1, 0, 0}, {0, 1, 0}));
    EXPECT_EQ(32, Dot({1, 2, 3}, {4, 5, 6}));
    EXPECT_EQ((Vector{3, 3, 3}), Difference({4, 5, 6}, {1, 2, 3}));
}

TEST(Vectors, TheLengthOfAVeryLongOneIsStillANumber)
{
    EXPECT_EQ(5, Length({0, 3, -4}));
    EXPECT_DOUBLE_EQ(5e200, Length({3e200, 4e200, 0}));
}

TEST(Placements, APointIsTurnedAndThenShifted)
{
    EXPECT_EQ((Vector{8, 21, 33}), PlacePoint(Turned, {1, 2, 3}));
    EXPECT_EQ((Vector{-2, 1, 3}), PlaceDirection(Turned, {1, 2, 3})) << "a direction is not shifted";
    EXPECT_EQ((Vector{10, 20, 30}), ShiftOf(Turned));
}

TEST(Placements, TheInnerOneActsFirst)
{
    const Vector point{1, 2, 3};
    EXPECT_EQ(PlacePoint(Turned, PlacePoint(Tilted, point)), PlacePoint(Within(Turned, Tilted), point));
    EXPECT_NE(Within(Turned, Tilted), Within(Tilted, Turned));
}

TEST(Placements, TheInverseTakesOneBack)
{
    EXPECT_EQ(IdentityPlacement, Within(Inverse(Turned), Turned));
    EXPECT_EQ(IdentityPlacement, Within(Turned, Inverse(Turned)));
}

TEST(Placements, OnlyRotationsWithFiniteShiftsAreRigid)
{
    EXPECT_TRUE(IsRigid(Turned));
    struct Row {
        const char* what;
        std::size_t position;
        double number;
    };
    for (const auto& [what, position, number] :
         {Row{"scaled", 0, 2}, Row{"sheared", 1, 0.5}, Row{"mirrored", 0, -1}, Row{"flat", 10, 0},
          Row{"endless", 3, std::numeric_limits<double>::infinity()}}) {
        Placement placement = IdentityPlacement;
        placement[position] = number;
        EXPECT_FALSE(IsRigid(placement)) << what;
    }
}

TEST(Boxes, OneGrowsFromItsFirstPoint)
{
    std::optional<Box> box;
    Widen(box, {1, 2, 3});
    EXPECT_EQ((Box{{1, 2, 3}, {1, 2, 3}}), box);
    Widen(box, {-1, 5, 3});
    EXPECT_EQ((Box{{-1, 2, 3}, {1, 5, 3}}), box);
    EXPECT_EQ(3, box->Extent(1));
    EXPECT_EQ(3.5, box->Middle(1));
}

TEST(Boxes, ItHasEightCornersAndADiagonal)
{
    const Box box{{0, 0, 0}, {1, 2, 2}};
    std::array<Vector, 8> corners = box.Corners();
    std::ranges::sort(corners);
    EXPECT_EQ(corners.end(), std::ranges::adjacent_find(corners));
    EXPECT_EQ(box.lowest, corners.front());
    EXPECT_EQ(box.highest, corners.back());
    EXPECT_EQ(3, box.Diagonal());
}

} // namespace

} // namespace openhost::testing
