#include "Md5.h"

#include "openhost/text/Utf.h"

#include "host/hash.h"
#include "host/text.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <vector>

namespace openhost {

namespace {

constexpr std::size_t PieceSize = std::size_t{256} * 1024;

[[noreturn]] void FailReading(const std::filesystem::path& file)
{
    throw std::system_error(errno, std::generic_category(), "cannot read " + file.string());
}

std::string ToHexadecimal(const unsigned char* bytes, std::uint32_t size)
{
    std::string digits(2 * std::size_t{size}, '0');
    ZALOmx::BytesToHex(bytes, static_cast<int>(size), digits.data(), static_cast<int>(digits.size()), 0);
    ZALUnicodeString text(digits.c_str());
    text.ToLower();
    return ToUtf8(text);
}

} // namespace

std::string Md5OfFile(const std::filesystem::path& file)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rbe"), std::fclose);
    if (!stream)
        FailReading(file);

    KRYSysHashContext context;
    if (FAILED(KRYSysHash_Init(KRYSysHashMD5, context)))
        throw std::runtime_error("MD5 is not available on this system");

    std::vector<unsigned char> piece(PieceSize);
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), stream.get()))
        KRYSysHash_Update(context, piece.data(), static_cast<std::uint32_t>(count));
    if (std::ferror(stream.get()))
        FailReading(file);

    unsigned char digest[KRYSysHashMaximumLength];
    std::uint32_t size = 0;
    KRYSysHash_Final(context, digest, size);
    return ToHexadecimal(digest, size);
}

} // namespace openhost
