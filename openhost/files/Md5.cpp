#include "Md5.h"

#include <cerrno>
#include <cstdio>
#include <memory>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <openssl/evp.h>

namespace openhost {

namespace {

constexpr std::size_t PieceSize = 256 * 1024;

[[noreturn]] void FailReading(const std::filesystem::path& file)
{
    throw std::system_error(errno, std::generic_category(), "cannot read " + file.string());
}

std::string ToHexadecimal(const unsigned char* bytes, unsigned int size)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text;
    for (unsigned int position = 0; position < size; ++position) {
        text += digits[bytes[position] >> 4];
        text += digits[bytes[position] & 15];
    }
    return text;
}

} // namespace

std::string Md5OfFile(const std::filesystem::path& file)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> stream(std::fopen(file.c_str(), "rbe"), std::fclose);
    if (!stream)
        FailReading(file);

    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(), EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_md5(), nullptr) != 1)
        throw std::runtime_error("MD5 is not available on this system");

    std::vector<unsigned char> piece(PieceSize);
    while (const std::size_t count = std::fread(piece.data(), 1, piece.size(), stream.get()))
        EVP_DigestUpdate(context.get(), piece.data(), count);
    if (std::ferror(stream.get()))
        FailReading(file);

    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int size = 0;
    EVP_DigestFinal_ex(context.get(), digest, &size);
    return ToHexadecimal(digest, size);
}

} // namespace openhost
