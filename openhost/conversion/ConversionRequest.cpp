#include "openhost/conversion/ConversionRequest.h"

#include <array>
#include <stdexcept>

namespace openhost {

std::string ConversionRequest::Encode() const
{
    // No path holds a null character.
    return document.string() + '\0' + output.string() + '\0' + size.Text();
}

ConversionRequest ConversionRequest::Decode(std::string_view bytes)
{
    std::array<std::string, 3> parts;
    for (std::string& part : parts) {
        const std::size_t end = bytes.find('\0');
        part = bytes.substr(0, end);
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
    return {parts[0], parts[1], PictureSize::Parse(parts[2])};
}

} // namespace openhost
