#include "certificate.h"

#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include <memory>
#include <stdexcept>

namespace host_test {
namespace {

template <class T, void (*Free)(T*)>
struct Freed {
  void operator()(T* object) const { Free(object); }
};

std::string Text(BIO* bio) {
  char* data = nullptr;
  const long size = BIO_get_mem_data(bio, &data);
  return {data, static_cast<std::size_t>(size)};
}

void Add(X509* certificate, int id, const std::string& value) {
  X509V3_CTX context;
  X509V3_set_ctx_nodb(&context);
  X509V3_set_ctx(&context, certificate, certificate, nullptr, nullptr, 0);
  X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, &context, id, value.c_str());
  if (extension == nullptr) {
    throw std::runtime_error("extension " + value);
  }
  X509_add_ext(certificate, extension, -1);
  X509_EXTENSION_free(extension);
}

}  // namespace

Certificate MakeCertificate(const std::string& host, Validity validity) {
  const std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY, EVP_PKEY_free>> key(EVP_EC_gen("P-256"));
  const std::unique_ptr<X509, Freed<X509, X509_free>> certificate(X509_new());
  X509_set_version(certificate.get(), 2);
  ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), 1);
  constexpr long kDay = 86400;
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), validity == Validity::kNow ? -kDay : -9 * kDay);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), validity == Validity::kNow ? kDay : -8 * kDay);
  X509_set_pubkey(certificate.get(), key.get());
  X509_NAME* const name = X509_get_subject_name(certificate.get());
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_UTF8, reinterpret_cast<const unsigned char*>("loopback"),
                             -1, -1, 0);
  X509_set_issuer_name(certificate.get(), name);
  Add(certificate.get(), NID_basic_constraints, "critical,CA:TRUE");
  const bool is_address = host.find_first_not_of("0123456789.") == std::string::npos;
  Add(certificate.get(), NID_subject_alt_name, (is_address ? "IP:" : "DNS:") + host);
  X509_sign(certificate.get(), key.get(), EVP_sha256());

  const std::unique_ptr<BIO, Freed<BIO, BIO_vfree>> pem(BIO_new(BIO_s_mem()));
  const std::unique_ptr<BIO, Freed<BIO, BIO_vfree>> key_pem(BIO_new(BIO_s_mem()));
  PEM_write_bio_X509(pem.get(), certificate.get());
  PEM_write_bio_PrivateKey(key_pem.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  return {Text(pem.get()), Text(key_pem.get())};
}

}  // namespace host_test
