#include "utilities/ZALVelmartIntegrationUtilities.h"

#include "host/files.h"
#include "host/hash.h"

#include <algorithm>
#include <memory>
#include <new>

namespace {

/// Bytes read at once.
constexpr std::uint32_t BufferSize = 16384;
constexpr int DigestLength = 16;
constexpr int HexLength = 2 * DigestLength;

/// Closes the file at the end of the scope.
struct OpenFile {
    ~OpenFile()
    {
        if (handle != 0)
            ZALFClose(handle);
    }
    ZALFileHandle handle = 0;
};

} // namespace

ZALUnicodeString ZALVelmartIntegrationUtilities::GetFileStreamMD5Hash(const ZALUnicodeString& filePath)
try {
    const std::unique_ptr<char[]> buffer(new char[BufferSize]);

    if (filePath.GetLengthInChar() == 0)
        return {};

    OpenFile file;
    if (FAILED(ZALFOpen(filePath, "rb", file.handle)) || file.handle == 0)
        return {};

    // An empty file has no hash at all, on purpose.
    std::uint32_t remaining = 0;
    if (FAILED(ZALFSize(file.handle, remaining)) || remaining == 0)
        return {};

    KRYSysHashContext context;
    if (FAILED(KRYSysHash_Init(KRYSysHashMD5, context)))
        return {};

    while (remaining > 0) {
        const std::uint32_t wanted = std::min(remaining, BufferSize);
        std::uint32_t count = 0;
        if (FAILED(ZALFRead(file.handle, buffer.get(), wanted, count)) || count != wanted ||
            FAILED(KRYSysHash_Update(context, buffer.get(), count)))
            return {};
        remaining -= count;
    }

    unsigned char digest[KRYSysHashMaximumLength];
    std::uint32_t length = 0;
    if (FAILED(KRYSysHash_Final(context, digest, length)) || length != DigestLength)
        return {};

    ZALUnicodeString hash;
    char text[HexLength];
    if (ZALOmx::BytesToHex(digest, DigestLength, text, HexLength, 0) == HexLength) {
        hash.BuildFromUTF8(text, HexLength);
        hash.ToLower();
    }
    return hash;
} catch (const std::bad_alloc&) {
    return {};
}
