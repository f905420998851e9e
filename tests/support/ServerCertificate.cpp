#include "tests/support/ServerCertificate.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace openhost::testing {

namespace {
template <auto Free>
struct Freeing {
    template <class T>
    void operator()(T* object) const
    {
        Free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freeing<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freeing<X509_free>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freeing<X509_EXTENSION_free>>;
using Memory = std::unique_ptr<BIO, Freeing<BIO_free_all>>;

void Require(bool condition)
{
    if (!condition)
        throw std::runtime_error("no certificate for a server of a test");
}

std::string TextOf(BIO* memory)
{
    char* bytes = nullptr;
    const long size = BIO_get_mem_data(memory, &bytes);
    return {bytes, static_cast<std::size_t>(size)};
}
} // namespace

ServerCertificate::ServerCertificate()
{
    const Key pair(EVP_EC_gen("P-256"));
    const Certificate record(X509_new());
    Require(pair && record);

    constexpr long day = 24L * 60 * 60;
    X509_set_version(record.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(record.get()), 1);
    X509_gmtime_adj(X509_getm_notBefore(record.get()), -day);
    X509_gmtime_adj(X509_getm_notAfter(record.get()), day);
    X509_set_pubkey(record.get(), pair.get());
    X509_NAME* name = X509_get_subject_name(record.get());
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("localhost"), -1, -1,
                               0);
    X509_set_issuer_name(record.get(), name);
    const Extension names(X509V3_EXT_conf_nid(nullptr, nullptr, NID_subject_alt_name, "IP:127.0.0.1,DNS:localhost"));
    Require(names && X509_add_ext(record.get(), names.get(), -1) == 1);
    Require(X509_sign(record.get(), pair.get(), EVP_sha256()) != 0);

    const Memory keyText(BIO_new(BIO_s_mem()));
    const Memory recordText(BIO_new(BIO_s_mem()));
    Require(keyText && recordText);
    Require(PEM_write_bio_PrivateKey(keyText.get(), pair.get(), nullptr, nullptr, 0, nullptr, nullptr) == 1);
    Require(PEM_write_bio_X509(recordText.get(), record.get()) == 1);
    key = TextOf(keyText.get());
    certificate = TextOf(recordText.get());
}

} // namespace openhost::testing
