#include "catalogue/shapes/ShapeIndex.h"
#include "tests/catalogue/shapes/TestShapes.h"

#include <gtest/gtest.h>

namespace catalogue::testing {

TEST(ShapeIndex, WithoutShapesFindsNothing)
{
    EXPECT_TRUE(ShapeIndex().Rank(DescribeShape(BoxMesh(1, 2, 3))).empty());
}

TEST(ShapeIndex, RanksAllShapesByTheirDistance)
{
    const ShapeDescriptor rod = DescribeShape(CylinderMesh(1, 10, 24));
    const ShapeDescriptor box = DescribeShape(BoxMesh(1, 2, 3));
    const ShapeDescriptor longerRod = DescribeShape(CylinderMesh(1, 11, 24));
    ShapeIndex index;
    for (const ShapeDescriptor& each : {box, longerRod, rod})
        index.Add(each);
    const std::vector<ShapeIndex::Match> matches = index.Rank(rod);
    ASSERT_EQ(3U, matches.size());
    EXPECT_EQ(matches[0], (ShapeIndex::Match{2, 0}));
    EXPECT_EQ(matches[1], (ShapeIndex::Match{1, ShapeDistance(rod, longerRod)}));
    EXPECT_EQ(matches[2], (ShapeIndex::Match{0, ShapeDistance(rod, box)}));
}

TEST(ShapeIndex, EqualShapesStayInTheirOrder)
{
    const ShapeDescriptor box = DescribeShape(BoxMesh(1, 2, 3));
    ShapeIndex index;
    for (int copy = 0; copy < 20; ++copy)
        index.Add(box);
    const std::vector<ShapeIndex::Match> matches = index.Rank(box);
    for (std::size_t place = 0; place < matches.size(); ++place)
        EXPECT_EQ(matches[place].shape, place);
}

} // namespace catalogue::testing
