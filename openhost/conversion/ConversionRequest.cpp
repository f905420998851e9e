#include "openhost/conversion/ConversionRequest.h"

#include <array>
#include <new>
#include <stdexcept>

namespace openhost {

std::string ConversionRequest::Encode() const
{
    // No path and no word of a command line holds a null character.
    return document.string() + '\0' + output.string() + '\0' + size.Text() + '\0' + author + '\0' + organization;
}

ConversionRequest ConversionRequest::Decode(std::string_view bytes)
{
    std::array<std::string, 5> parts;
    for (std::string& part : parts) {
        const std::size_t end = bytes.find('\0');
        part = bytes.substr(0, end);
        bytes.remove_prefix(end == std::string_view::npos ? bytes.size() : end + 1);
    }
    return {parts[0], parts[1], PictureSize::Parse(parts[2]), parts[3], parts[4]};
}

std::string AnswerRequest(std::string_view bytes,
                          const std::function<std::string(const ConversionRequest& request)>& work)
{
    const ConversionRequest request = ConversionRequest::Decode(bytes);
    try {
        return work(request);
    } catch (const std::bad_alloc&) {
        throw std::runtime_error(request.document.string() + ": it takes too much memory");
    }
}

} // namespace openhost
