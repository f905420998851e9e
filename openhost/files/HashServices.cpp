#include "host/hash.h"

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

HRESULT KRYSysHash_Init(int algorithm, KRYSysHashContext& context)
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

HRESULT KRYSysHash_Update(KRYSysHashContext& context, const void* bytes, std::uint32_t size)
{
    const std::unique_ptr<KRYSysHashState>& state = KRYSysHashContextAccess::State(context);
    if (!state || (!bytes && size > 0))
        return E_FAIL;
    return EVP_DigestUpdate(state->context.get(), bytes, size) == 1 ? S_OK : E_FAIL;
}

HRESULT KRYSysHash_Final(KRYSysHashContext& context, unsigned char* digest, std::uint32_t& length)
{
    const std::unique_ptr<KRYSysHashState> state = std::move(KRYSysHashContextAccess::State(context));
    unsigned int written = 0;
    if (!state || !digest || EVP_DigestFinal_ex(state->context.get(), digest, &written) != 1)
        return E_FAIL;
    length = written;
    return S_OK;
}

int ZALOmx::BytesToHex(const void* bytes, int count, char* text, int size, int)
{
    constexpr char digits[] = "0123456789ABCDEF";
    if (!bytes || !text || count <= 0 || size / 2 < count)
        return 0;
    const auto* byte = static_cast<const unsigned char*>(bytes);
    for (int position = 0; position < count; ++position) {
        text[2 * position] = digits[byte[position] >> 4];
        text[2 * position + 1] = digits[byte[position] & 15];
    }
    return 2 * count;
}
