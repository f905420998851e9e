#include "openhost/picture/Picture.h"

#include <png.h>

namespace openhost {

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
