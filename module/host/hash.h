// Hashes of the host. Values without a thread of their own; a context is used by one thread at a time.
//
// Calls of one hash, in order:
//   1. KRYSysHash_Init, which begins it anew.
//   2. KRYSysHash_Update, any number of times.
//   3. KRYSysHash_Final, which ends it. A context may end without it.
#pragma once

#include "object_model.h"

#include <memory>

/// Algorithms of KRYSysHash_Init.
inline constexpr int KRYSysHashMD5 = 0; ///< a digest of 16 bytes

/// Room that the digest of any algorithm fits into, in bytes.
inline constexpr std::uint32_t KRYSysHashMaximumLength = 64;

/// A hash in the making.
class KRYSysHashContext {
public:
    KRYSysHashContext();
    KRYSysHashContext(const KRYSysHashContext&) = delete;
    KRYSysHashContext& operator=(const KRYSysHashContext&) = delete;
    ~KRYSysHashContext();

private:
    friend struct KRYSysHashContextAccess;
    std::unique_ptr<struct KRYSysHashState> state_; ///< null unless a hash is in the making
};

/// Fails for another algorithm than those above, and where the system does not allow it.
HRESULT KRYSysHash_Init(int algorithm, KRYSysHashContext& context);
/// Takes `size` further bytes. Fails outside a hash.
HRESULT KRYSysHash_Update(KRYSysHashContext& context, const void* bytes, std::uint32_t size);
/// Writes the digest of all bytes taken, and its `length` in bytes. `digest` has room for KRYSysHashMaximumLength
/// bytes. Fails outside a hash.
HRESULT KRYSysHash_Final(KRYSysHashContext& context, unsigned char* digest, std::uint32_t& length);

namespace ZALOmx {

/// Writes `count` bytes as pairs of hexadecimal digits, letters as capitals, without a zero at the end. `size` is the
/// room of `text`; `flags` is 0. Returns the number of digits, or 0, with nothing written, when they do not fit.
int BytesToHex(const void* bytes, int count, char* text, int size, int flags);

} // namespace ZALOmx
