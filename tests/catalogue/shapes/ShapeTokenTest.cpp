#include "catalogue/shapes/ShapeToken.h"
#include "tests/catalogue/shapes/TestShapes.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace catalogue::testing {

namespace {

std::string Token()
{
    return EncodeShapeToken(DescribeShape(CylinderMesh(2, 7, 24)));
}

} // namespace

TEST(ShapeToken, HoldsTheDescriptor)
{
    const ShapeDescriptor descriptor = DescribeShape(CylinderMesh(2, 7, 24));
    EXPECT_EQ(descriptor, DecodeShapeToken(Token()));
}

TEST(ShapeToken, IsMadeOfCharactersThatNeedNoQuotes)
{
    EXPECT_EQ(Token().find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_"),
              std::string::npos);
    EXPECT_LT(Token().size(), 1000U) << "it stands in addresses";
}

TEST(ShapeToken, OtherTextsAreRefused)
{
    const std::string token = Token();
    for (std::size_t size = 0; size < token.size(); ++size)
        EXPECT_THROW(DecodeShapeToken(token.substr(0, size)), ShapeError) << size;
    EXPECT_THROW(DecodeShapeToken(token + "A"), ShapeError);
    for (const char character : {'=', '+', '/', ' ', '\0', '\xff'}) {
        std::string changed = token;
        changed[10] = character;
        EXPECT_THROW(DecodeShapeToken(changed), ShapeError) << character;
    }
    std::string other = token;
    other[0] = 'B';
    EXPECT_THROW(DecodeShapeToken(other), ShapeError) << "another version";
}

TEST(ShapeToken, HoldsTheSmallestAndTheLargestSize)
{
    ShapeDescriptor descriptor = DescribeShape(CylinderMesh(2, 7, 24));
    for (const float size : {std::nextafter(1e-6F, 1.0F), 1e10F}) {
        descriptor.size = size;
        EXPECT_EQ(descriptor, DecodeShapeToken(EncodeShapeToken(descriptor))) << size;
    }
}

TEST(ShapeToken, SizesThatNoShapeHasAreRefused)
{
    ShapeDescriptor descriptor = DescribeShape(CylinderMesh(2, 7, 24));
    for (const float size :
         {0.0F, -1.0F, 2e10F, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        descriptor.size = size;
        EXPECT_THROW(DecodeShapeToken(EncodeShapeToken(descriptor)), ShapeError) << size;
    }
}

} // namespace catalogue::testing
