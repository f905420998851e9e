#include "openhost/space/TurnAndShift.h"

#include <gtest/gtest.h>

namespace openhost {

namespace {

void ExpectSame(const Placement& expected, const Placement& actual)
{
    for (std::size_t i = 0; i < expected.size(); ++i)
        EXPECT_NEAR(expected[i], actual[i], 1e-9) << "at " << i;
}

TEST(TurnAndShift, NoTurnIsTheShiftAlone)
{
    ExpectSame({1, 0, 0, 4, 0, 1, 0, 5, 0, 0, 1, 6}, TurnAndShift{.at = {4, 5, 6}}.ToPlacement());
}

TEST(TurnAndShift, TurnsCounterclockwiseAboutItsAxis)
{
    ExpectSame({0, -1, 0, 0, 1, 0, 0, 0, 0, 0, 1, 0}, TurnAndShift{.axis = {0, 0, 2}, .degrees = 90}.ToPlacement());
}

TEST(TurnAndShift, APlacementComesBackFromItsTurn)
{
    for (const double degrees : {0.0, 1.0, 90.0, 179.0, 180.0})
        for (const Vector& axis : {Vector{0, 0, 1}, Vector{1, 0, 0}, Vector{1, -2, 3}, Vector{0, -1, 1}}) {
            SCOPED_TRACE(degrees);
            const Placement placement = TurnAndShift{.at = {1, 2, 3}, .axis = axis, .degrees = degrees}.ToPlacement();
            ExpectSame(placement, TurnAndShift::Of(placement).ToPlacement());
            EXPECT_TRUE(IsRigid(placement));
        }
}

} // namespace

} // namespace openhost
