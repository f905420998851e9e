#include "catalogue/shapes/ShapeToken.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <vector>

namespace catalogue {

namespace {

/// Changes with everything that makes descriptors of one kind differ from those of another.
constexpr unsigned char Version = 2;

constexpr std::string_view Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

/// The version, the size and the pairs.
constexpr std::size_t TokenBytes = 1 + sizeof(float) + std::tuple_size_v<decltype(ShapeDescriptor::pairs)>;

/// Six bits a character, the high ones first; what is missing of the last one is 0.
std::string ToText(const std::vector<unsigned char>& bytes)
{
    std::string text;
    unsigned int bits = 0;
    int count = 0;
    for (const unsigned char byte : bytes) {
        bits = (bits << 8 | byte) & 0xFFFF;
        for (count += 8; count >= 6; count -= 6)
            text += Alphabet[bits >> (count - 6) & 63];
    }
    if (count > 0)
        text += Alphabet[bits << (6 - count) & 63];
    return text;
}

constexpr unsigned char NoValue = 255;

constexpr std::array<unsigned char, 256> MakeValues()
{
    std::array<unsigned char, 256> values{};
    values.fill(NoValue);
    for (std::size_t value = 0; value < Alphabet.size(); ++value)
        values[static_cast<unsigned char>(Alphabet[value])] = static_cast<unsigned char>(value);
    return values;
}

/// Of each character in the alphabet; NoValue for one that is not.
constexpr std::array<unsigned char, 256> Values = MakeValues();

std::vector<unsigned char> ToBytes(std::string_view text)
{
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size());
    unsigned int bits = 0;
    int count = 0;
    for (const char character : text) {
        const unsigned char value = Values[static_cast<unsigned char>(character)];
        if (value == NoValue)
            throw ShapeError("the query has a character that is in none");
        bits = (bits << 6 | value) & 0xFFFF;
        count += 6;
        if (count >= 8) {
            count -= 8;
            bytes.push_back(static_cast<unsigned char>(bits >> count & 0xFF));
        }
    }
    return bytes;
}

} // namespace

std::string EncodeShapeToken(const ShapeDescriptor& descriptor)
{
    std::vector<unsigned char> bytes{Version};
    const auto size = std::bit_cast<std::uint32_t>(descriptor.size);
    for (int shift = 0; shift < 32; shift += 8)
        bytes.push_back(static_cast<unsigned char>(size >> shift & 0xFF));
    bytes.insert(bytes.end(), descriptor.pairs.begin(), descriptor.pairs.end());
    return ToText(bytes);
}

ShapeDescriptor DecodeShapeToken(std::string_view token)
{
    if (token.size() != (TokenBytes * 8 + 5) / 6)
        throw ShapeError("the query has not the length of one");
    const std::vector<unsigned char> bytes = ToBytes(token);
    if (bytes[0] != Version)
        throw ShapeError("the query is of another version");
    std::uint32_t size = 0;
    for (std::size_t byte = 0; byte < sizeof size; ++byte)
        size |= std::uint32_t{bytes[1 + byte]} << 8 * byte;
    ShapeDescriptor descriptor;
    descriptor.size = std::bit_cast<float>(size);
    if (!(descriptor.size >= MinimumShapeSize && descriptor.size <= MaximumShapeSize))
        throw ShapeError("the query holds a number that no shape has");
    std::copy(bytes.begin() + 1 + sizeof size, bytes.end(), descriptor.pairs.begin());
    return descriptor;
}

} // namespace catalogue
