#include "openhost/picture/Picture.h"

#include <png.h>

#include <charconv>

namespace openhost {

namespace {

int ParseLength(std::string_view text)
{
    int length = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), length);
    const bool whole = error == std::errc() && end == text.data() + text.size();
    return whole && length <= PictureSize::Maximum ? length : 0;
}

} // namespace

PictureSize PictureSize::Parse(const std::string& text)
{
    const std::size_t sign = text.find('x');
    PictureSize size{0, 0};
    if (sign != std::string::npos)
        size = {ParseLength(std::string_view(text).substr(0, sign)),
                ParseLength(std::string_view(text).substr(sign + 1))};
    if (size.width < 1 || size.height < 1)
        throw PictureError("a size is WIDTHxHEIGHT, each from 1 to " + std::to_string(Maximum) + ", not " + text);
    return size;
}

std::string EncodePng(const Picture& picture)
{
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(picture.size.width);
    image.height = static_cast<png_uint_32>(picture.size.height);
    image.format = PNG_FORMAT_RGB;

    png_alloc_size_t length = PNG_IMAGE_PNG_SIZE_MAX(image);
    std::string bytes(length, '\0');
    if (!png_image_write_to_memory(&image, bytes.data(), &length, 0, picture.pixels.data(), 0, nullptr))
        throw PictureError(std::string("the picture has no PNG file: ") + image.message);
    bytes.resize(length);
    return bytes;
}

} // namespace openhost
