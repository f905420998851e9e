#include "openhost/geometry_process/PictureSize.h"

#include <charconv>
#include <stdexcept>
#include <string_view>

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
        throw std::invalid_argument("a size is WIDTHxHEIGHT, each from 1 to " + std::to_string(Maximum) + ", not " +
                                    text);
    return size;
}

std::string PictureSize::Text() const
{
    return std::to_string(width) + 'x' + std::to_string(height);
}

} // namespace openhost
