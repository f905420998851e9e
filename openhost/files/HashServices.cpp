#include "openhost/files/HashServices.h"

#include <memory>

#include <openssl/evp.h>

static_assert(EVP_MAX_MD_SIZE <= KRYSysHashMaximumLength);

struct KRYSysHashState {
    std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context{EVP_MD_CTX_new(), EVP_MD_CTX_free};
};

struct KRYSysHashContextAccess {
    static std::unique_ptr<KRYSysHashState>& State(KRYSysHashContext& context) { return context.state_; }
};

KRYSysHashContext::KRYSysHashContext() = default;

KRYSysHashContext::~KRYSysHashContext() = default;

namespace openhost {

template class Port<HashServices>;

namespace {

class CryptoHashes final : public HashServices {
public:
    HRESULT Init(int algorithm, KRYSysHashContext& context) override
    {
        std::unique_ptr<KRYSysHashState>& state = KRYSysHashContextAccess::State(context);
        state.reset();
        if (algorithm != KRYSysHashMD5)
            return E_FAIL;

        auto begun = std::make_unique<KRYSysHashState>();
        if (!begun->context || EVP_DigestInit_ex(begun->context.get(), EVP_md5(), nullptr) != 1)
            return E_FAIL;
        state = std::move(begun);
        return S_OK;
    }

    HRESULT Update(KRYSysHashContext& context, const void* bytes, std::uint32_t size) override
    {
        const std::unique_ptr<KRYSysHashState>& state = KRYSysHashContextAccess::State(context);
        if (!state || (!bytes && size > 0))
            return E_FAIL;
        return EVP_DigestUpdate(state->context.get(), bytes, size) == 1 ? S_OK : E_FAIL;
    }

    HRESULT Final(KRYSysHashContext& context, unsigned char* digest, std::uint32_t& length) override
    {
        const std::unique_ptr<KRYSysHashState> state = std::move(KRYSysHashContextAccess::State(context));
        unsigned int written = 0;
        if (!state || !digest || EVP_DigestFinal_ex(state->context.get(), digest, &written) != 1)
            return E_FAIL;
        length = written;
        return S_OK;
    }

    int BytesToHex(const void* bytes, int count, char* text, int size, int) override
    {
        constexpr char digits[] = "0123456789ABCDEF";
        if (!bytes || !text || count <= 0 || size / 2 < count)
            return 0;
        const auto* byte = static_cast<const unsigned char*>(bytes);
        for (int position = 0; position < count; ++position) {
            *text++ = digits[byte[position] >> 4];
            *text++ = digits[byte[position] & 15];
        }
        return 2 * count;
    }
};

} // namespace

HashServices::~HashServices() = default;

std::unique_ptr<HashServices> HashServices::WithoutBackend()
{
    return std::make_unique<CryptoHashes>();
}

} // namespace openhost

// ---------------------------------------------------------------------------------------------
// The host view

HRESULT KRYSysHash_Init(int algorithm, KRYSysHashContext& context)
{
    return openhost::HashServices::Current().Init(algorithm, context);
}

HRESULT KRYSysHash_Update(KRYSysHashContext& context, const void* bytes, std::uint32_t size)
{
    return openhost::HashServices::Current().Update(context, bytes, size);
}

HRESULT KRYSysHash_Final(KRYSysHashContext& context, unsigned char* digest, std::uint32_t& length)
{
    return openhost::HashServices::Current().Final(context, digest, length);
}

int ZALOmx::BytesToHex(const void* bytes, int count, char* text, int size, int flags)
{
    return openhost::HashServices::Current().BytesToHex(bytes, count, text, size, flags);
}
