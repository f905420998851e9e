#include "openhost/picture/Picture.h"

#include <gtest/gtest.h>
#include <png.h>

namespace openhost::testing {

namespace {

Picture Decode(const std::string& bytes)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_memory(&image, bytes.data(), bytes.size()))
        throw std::runtime_error(image.message);
    image.format = PNG_FORMAT_RGB;
    Picture picture{{static_cast<int>(image.width), static_cast<int>(image.height)}, {}};
    picture.pixels.resize(std::size_t{image.width} * image.height);
    if (!png_image_finish_read(&image, nullptr, picture.pixels.data(), 0, nullptr))
        throw std::runtime_error(image.message);
    return picture;
}

} // namespace

TEST(PictureSize, IsWidthAndHeight)
{
    EXPECT_EQ((PictureSize{640, 480}), PictureSize::Parse("640x480"));
    EXPECT_EQ((PictureSize{1, 8192}), PictureSize::Parse("1x8192"));
    EXPECT_EQ((PictureSize{8192, 1}), PictureSize::Parse("8192x1"));
}

TEST(PictureSize, AnythingElseIsRefused)
{
    for (const char* text : {"", "x", "640", "640x", "x480", "0x1", "1x0", "-1x1", "8193x1", "1x8193", "1x1x1", "1x1 ",
                             " 1x1", "+1x1", "1.5x1", "0x10x10", "99999999999999999999x1", "1X1", "1*1"})
        EXPECT_THROW(PictureSize::Parse(text), std::invalid_argument) << text;
}

TEST(PictureFile, HoldsThePixels)
{
    Picture picture{{3, 2}, {{1, 2, 3}, {255, 0, 0}, {0, 255, 0}, {0, 0, 255}, {9, 9, 9}, {255, 255, 255}}};
    const Picture read = Decode(EncodePng(picture));
    EXPECT_EQ(read.size, picture.size);
    EXPECT_EQ(read.pixels, picture.pixels);
    EXPECT_EQ(EncodePng(picture), EncodePng(picture));
}

} // namespace openhost::testing
