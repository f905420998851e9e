#include "catalogue/shapes/ShapeIndex.h"
#include "tests/catalogue/shapes/TestShapes.h"

#include <gtest/gtest.h>

namespace catalogue::testing {

TEST(ShapeIndex, WithoutShapesFindsNothing)
{
    EXPECT_TRUE(ShapeIndex().Rank(DescribeShape(BoxMesh(1, 2, 3)), 10).empty());
}

TEST(ShapeIndex, RanksAllShapesByTheirDistance)
{
    const ShapeDescriptor rod = DescribeShape(CylinderMesh(1, 10, 24));
    const ShapeDescriptor box = DescribeShape(BoxMesh(1, 2, 3));
    const ShapeDescriptor longerRod = DescribeShape(CylinderMesh(1, 11, 24));
    ShapeIndex index;
    for (const ShapeDescriptor& each : {box, longerRod, rod})
        index.Add(each);
    const std::vector<ShapeIndex::Match> matches = index.Rank(rod, 3);
    ASSERT_EQ(3U, matches.size());
    EXPECT_EQ(matches[0], (ShapeIndex::Match{2, 0}));
    EXPECT_EQ(matches[1], (ShapeIndex::Match{1, ShapeDistance(rod, longerRod)}));
    EXPECT_EQ(matches[2], (ShapeIndex::Match{0, ShapeDistance(rod, box)}));
}

TEST(ShapeIndex, GivesTheClosestOfManyAlone)
{
    const ShapeDescriptor box = DescribeShape(BoxMesh(1, 2, 3));
    ShapeIndex index;
    for (int length = 20; length > 0; --length)
        index.Add(DescribeShape(BoxMesh(1, 2, 3 + static_cast<float>(length))));
    index.Add(box);
    const std::vector<ShapeIndex::Match> matches = index.Rank(box, 2);
    ASSERT_EQ(2U, matches.size());
    EXPECT_EQ(20U, matches[0].shape);
    EXPECT_EQ(19U, matches[1].shape);
    EXPECT_TRUE(index.Rank(box, 0).empty());
}

TEST(ShapeIndex, EqualShapesStayInTheirOrder)
{
    const ShapeDescriptor box = DescribeShape(BoxMesh(1, 2, 3));
    ShapeIndex index;
    for (int copy = 0; copy < 20; ++copy)
        index.Add(box);
    const std::vector<ShapeIndex::Match> matches = index.Rank(box, 100);
    for (std::size_t place = 0; place < matches.size(); ++place)
        EXPECT_EQ(matches[place].shape, place);
}

} // namespace catalogue::testing
