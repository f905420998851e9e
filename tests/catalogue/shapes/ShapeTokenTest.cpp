#include "catalogue/shapes/ShapeToken.h"
#include "tests/catalogue/shapes/TestShapes.h"

#include <gtest/gtest.h>

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
    const ShapeDescriptor read = DecodeShapeToken(Token());
    EXPECT_EQ(read.size, descriptor.size);
    EXPECT_EQ(read.fullness, descriptor.fullness);
    EXPECT_EQ(read.breadth, descriptor.breadth);
    EXPECT_EQ(read.height, descriptor.height);
    EXPECT_LT(ShapeDistance(read, descriptor), 1e-3);
    EXPECT_EQ(EncodeShapeToken(read), Token());
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

TEST(ShapeToken, NumbersThatNoShapeHasAreRefused)
{
    const ShapeDescriptor sound = DescribeShape(CylinderMesh(2, 7, 24));
    for (const float number :
         {-1.0F, 2e10F, std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity()}) {
        for (float ShapeDescriptor::*member : {&ShapeDescriptor::size, &ShapeDescriptor::fullness,
                                               &ShapeDescriptor::breadth, &ShapeDescriptor::height}) {
            ShapeDescriptor descriptor = sound;
            descriptor.*member = number;
            EXPECT_THROW(DecodeShapeToken(EncodeShapeToken(descriptor)), ShapeError) << number;
        }
    }
    ShapeDescriptor descriptor = sound;
    descriptor.size = 0;
    EXPECT_THROW(DecodeShapeToken(EncodeShapeToken(descriptor)), ShapeError);
}

} // namespace catalogue::testing
