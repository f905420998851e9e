#include "catalogue/shapes/ShapeToken.h"

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <vector>

namespace catalogue {

namespace {

/// Changes with everything that makes descriptors of one kind differ from those of another.
constexpr unsigned char Version = 1;

constexpr std::string_view Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

constexpr std::size_t TokenBytes =
    1 + 4 * sizeof(float) + std::size_t{2} * 2 * std::tuple_size_v<ShapeDescriptor::Histogram>;

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

/// Writes and reads little-endian numbers.
class Bytes {
public:
    explicit Bytes(std::vector<unsigned char> bytes = {}) : bytes_(std::move(bytes)) {}

    void Put(std::uint32_t number, int size)
    {
        for (int byte = 0; byte < size; ++byte)
            bytes_.push_back(static_cast<unsigned char>(number >> 8 * byte & 0xFF));
    }
    std::uint32_t Take(int size)
    {
        std::uint32_t number = 0;
        for (int byte = 0; byte < size; ++byte)
            number |= std::uint32_t{bytes_[taken_++]} << 8 * byte;
        return number;
    }

    void PutReal(float number) { Put(std::bit_cast<std::uint32_t>(number), 4); }
    float TakeReal() { return std::bit_cast<float>(Take(4)); }

    const std::vector<unsigned char>& All() const { return bytes_; }

private:
    std::vector<unsigned char> bytes_;
    std::size_t taken_ = 0;
};

/// `number` when it is from `least` to `most`.
float Within(float number, double least, double most)
{
    if (!(number >= least && number <= most))
        throw ShapeError("the query holds a number that no shape has");
    return number;
}

} // namespace

std::string EncodeShapeToken(const ShapeDescriptor& descriptor)
{
    Bytes bytes;
    bytes.Put(Version, 1);
    for (const float number : {descriptor.size, descriptor.fullness, descriptor.breadth, descriptor.height})
        bytes.PutReal(number);
    for (const ShapeDescriptor::Histogram* histogram : {&descriptor.turning, &descriptor.facing})
        for (const float part : *histogram)
            bytes.Put(static_cast<std::uint32_t>(std::lround(part * 65535)), 2);
    return ToText(bytes.All());
}

ShapeDescriptor DecodeShapeToken(std::string_view token)
{
    if (token.size() != (TokenBytes * 8 + 5) / 6)
        throw ShapeError("the query has not the length of one");
    Bytes bytes(ToBytes(token));
    if (bytes.Take(1) != Version)
        throw ShapeError("the query is of another version");
    ShapeDescriptor descriptor;
    descriptor.size = Within(bytes.TakeReal(), MinimumShapeSize, MaximumShapeSize);
    for (float* part : {&descriptor.fullness, &descriptor.breadth, &descriptor.height})
        *part = Within(bytes.TakeReal(), 0, 1);
    for (ShapeDescriptor::Histogram* histogram : {&descriptor.turning, &descriptor.facing})
        for (float& part : *histogram)
            part = static_cast<float>(bytes.Take(2)) / 65535;
    return descriptor;
}

} // namespace catalogue
