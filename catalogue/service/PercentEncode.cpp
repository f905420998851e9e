#include "catalogue/service/PercentEncode.h"

namespace catalogue {

std::string PercentEncode(const std::string& text, const std::string& kept)
{
    static const char* const digits = "0123456789ABCDEF";
    const std::string plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~" + kept;
    std::string encoded;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if (plain.find(character) != std::string::npos)
            encoded += character;
        else
            encoded += {'%', digits[byte >> 4], digits[byte & 15]};
    }
    return encoded;
}

} // namespace catalogue
