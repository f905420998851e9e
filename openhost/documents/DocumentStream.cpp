#include "openhost/documents/DocumentStream.h"

#include "openhost/text/Utf8.h"

#include <isa-l/crc.h>

#include <algorithm>
#include <bit>
#include <cmath>

namespace openhost {

namespace {

constexpr std::size_t MarkSize = 4;

std::string Encode(std::uint64_t number, int size)
{
    std::string bytes;
    for (int i = 0; i < size; ++i)
        bytes += static_cast<char>(number >> (8 * i) & 0xFF);
    return bytes;
}

std::uint64_t Decode(std::string_view bytes)
{
    std::uint64_t number = 0;
    for (std::size_t i = bytes.size(); i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

std::uint32_t Checksum(std::string_view bytes)
{
    return crc32_gzip_refl(0, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

/// Whether `text` is UTF-8 without control characters but line feed and tab.
bool IsPlainText(std::string_view text)
{
    const auto isControl = [](char unit) {
        const auto code = static_cast<unsigned char>(unit);
        return (code < 0x20 && unit != '\n' && unit != '\t') || code == 0x7F;
    };
    return IsUtf8(text) && std::ranges::none_of(text, isControl);
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Writing

void StreamWriter::PutNumber(std::uint32_t number)
{
    bytes_ += Encode(number, 4);
}

void StreamWriter::PutReal(double number)
{
    if (!std::isfinite(number))
        throw DocumentStreamError("a number is not finite");
    bytes_ += Encode(std::bit_cast<std::uint64_t>(number), 8);
}

void StreamWriter::PutText(std::string_view text)
{
    if (text.size() > StreamReader::MaximumTextSize)
        throw DocumentStreamError("a text is too long");
    if (!IsPlainText(text))
        throw DocumentStreamError("a text is not plain UTF-8");
    PutNumber(static_cast<std::uint32_t>(text.size()));
    bytes_ += text;
}

std::string StreamWriter::Finish(std::string_view mark, std::uint32_t version) const
{
    return std::string(mark) + Encode(version, 4) + Encode(bytes_.size(), 8) + Encode(Checksum(bytes_), 4) + bytes_;
}

// ---------------------------------------------------------------------------------------------
// Reading

StreamReader::StreamReader(std::string_view stream, std::string_view mark, std::uint32_t newestVersion) : rest_(stream)
{
    if (Take(MarkSize) != mark)
        throw DocumentStreamError("the mark of the stream is wrong");
    version_ = TakeNumber();
    if (version_ == 0 || version_ > newestVersion)
        throw DocumentStreamError("version " + std::to_string(version_) + " of the stream is unknown");
    const std::uint64_t size = Decode(Take(8));
    const std::uint32_t checksum = TakeNumber();
    if (size != rest_.size())
        throw DocumentStreamError("the length of the stream is wrong");
    if (checksum != Checksum(rest_))
        throw DocumentStreamError("the checksum of the stream is wrong");
}

std::string_view StreamReader::Take(std::size_t size)
{
    if (size > rest_.size())
        throw DocumentStreamError("the stream is cut short");
    const std::string_view taken = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return taken;
}

std::uint32_t StreamReader::TakeNumber()
{
    return static_cast<std::uint32_t>(Decode(Take(4)));
}

double StreamReader::TakeReal()
{
    const auto number = std::bit_cast<double>(Decode(Take(8)));
    if (!std::isfinite(number))
        throw DocumentStreamError("a number is not finite");
    return number;
}

std::string StreamReader::TakeText()
{
    const std::uint32_t size = TakeNumber();
    if (size > MaximumTextSize)
        throw DocumentStreamError("a text is too long");
    const std::string_view text = Take(size);
    if (!IsPlainText(text))
        throw DocumentStreamError("a text is not plain UTF-8");
    return std::string(text);
}

std::uint32_t StreamReader::TakeCount(std::size_t smallestSize)
{
    const std::uint32_t count = TakeNumber();
    if (count > rest_.size() / smallestSize)
        throw DocumentStreamError("a count is larger than the stream");
    return count;
}

std::string_view StreamReader::TakeRest()
{
    return Take(rest_.size());
}

void StreamReader::ExpectEnd() const
{
    if (!rest_.empty())
        throw DocumentStreamError("something stands after the end of the stream");
}

std::size_t SizeOfStream(std::string_view bytes)
{
    constexpr std::size_t sizePlace = MarkSize + 4;
    constexpr std::size_t headSize = sizePlace + 8 + 4;
    const std::uint64_t size = bytes.size() < headSize ? 0 : Decode(bytes.substr(sizePlace, 8));
    if (bytes.size() < headSize || size > bytes.size() - headSize)
        throw DocumentStreamError("the stream is cut short");
    return headSize + static_cast<std::size_t>(size);
}

} // namespace openhost
