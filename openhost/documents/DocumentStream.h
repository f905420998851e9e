// The byte form of the data streams of a document: little endian, after a head with a mark, a version, the
// length and a CRC-32 of what follows.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

namespace openhost {

/// Says what is wrong with the bytes; the caller adds which file they are from.
class DocumentStreamError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Collects the values of one stream.
class StreamWriter {
public:
    void PutNumber(std::uint32_t number);
    void PutReal(double number);
    /// UTF-8 after its length in bytes. Throws for a text that a reader would refuse.
    void PutText(std::string_view text);
    void PutBytes(std::string_view bytes) { bytes_ += bytes; }
    /// The stream with its head. `mark` has four characters.
    std::string Finish(std::string_view mark, std::uint32_t version) const;

private:
    std::string bytes_;
};

/// Reads the values of one stream. Every operation throws DocumentStreamError instead of reading past the end.
class StreamReader {
public:
    /// Longest text in bytes.
    static constexpr std::uint32_t MaximumTextSize = 1 << 16;

    /// Checks the head of `stream`, which must outlive the reader.
    StreamReader(std::string_view stream, std::string_view mark, std::uint32_t newestVersion);

    /// From 1 to the newest.
    std::uint32_t Version() const { return version_; }
    std::uint32_t TakeNumber();
    /// A finite number.
    double TakeReal();
    /// UTF-8 without control characters.
    std::string TakeText();
    /// A count of things of which each takes `smallestSize` bytes or more.
    std::uint32_t TakeCount(std::size_t smallestSize);
    /// Everything that is left.
    std::string_view TakeRest();
    /// Throws when something is left.
    void ExpectEnd() const;

private:
    std::string_view Take(std::size_t size);
    std::string_view rest_;
    std::uint32_t version_ = 0;
};

/// Length of the stream, with its head, that `bytes` begin with. Throws DocumentStreamError when they are shorter.
std::size_t SizeOfStream(std::string_view bytes);

} // namespace openhost
