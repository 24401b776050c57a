#include "certificate.h"

#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include <cstdio>

namespace market_server::testing {

void WriteCertificate(const std::string& certificate_file, const std::string& key_file) {
  EVP_PKEY* key = EVP_EC_gen("P-256");
  X509* certificate = X509_new();
  ASN1_INTEGER_set(X509_get_serialNumber(certificate), 1);
  X509_gmtime_adj(X509_getm_notBefore(certificate), -3600);
  X509_gmtime_adj(X509_getm_notAfter(certificate), 3600);
  X509_set_pubkey(certificate, key);
  X509_NAME* name = X509_get_subject_name(certificate);
  X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC, reinterpret_cast<const unsigned char*>("127.0.0.1"),
                             -1, -1, 0);
  X509_set_issuer_name(certificate, name);
  X509_sign(certificate, key, EVP_sha256());
  FILE* file = std::fopen(certificate_file.c_str(), "w");
  PEM_write_X509(file, certificate);
  std::fclose(file);
  file = std::fopen(key_file.c_str(), "w");
  PEM_write_PrivateKey(file, key, nullptr, nullptr, 0, nullptr, nullptr);
  std::fclose(file);
  X509_free(certificate);
  EVP_PKEY_free(key);
}

}  // namespace market_server::testing
