// What stands behind the hashes of the host.
#pragma once

#include "openhost/ports/Port.h"

#include "host/hash.h"

namespace openhost {

/// Port of hashes, one operation for each of module/host/hash.h, with its contract. Backend: libcrypto.
class HashServices : public Port<HashServices> {
public:
    virtual ~HashServices();

    /// The hashes of libcrypto, which need no set-up.
    static std::unique_ptr<HashServices> WithoutBackend();

    virtual HRESULT Init(int algorithm, KRYSysHashContext& context) = 0;
    virtual HRESULT Update(KRYSysHashContext& context, const void* bytes, std::uint32_t size) = 0;
    virtual HRESULT Final(KRYSysHashContext& context, unsigned char* digest, std::uint32_t& length) = 0;
    virtual int BytesToHex(const void* bytes, int count, char* text, int size, int flags) = 0;
};

extern template class Port<HashServices>;

} // namespace openhost
