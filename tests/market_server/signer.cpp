#include "signer.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <cstdio>
#include <vector>

namespace market_server::testing {

std::string HexHmac(const std::string& key, const std::string& text) {
  unsigned char code[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  HMAC(EVP_sha256(), key.data(), static_cast<int>(key.size()),
       reinterpret_cast<const unsigned char*>(text.data()), text.size(), code, &length);
  std::string hex;
  for (unsigned int i = 0; i < length; ++i) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", code[i]);
    hex += digits;
  }
  return hex;
}

std::string Encode(const std::string& text) {
  static const std::string kPlain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
  std::string encoded;
  for (const char c : text) {
    if (kPlain.find(c) != std::string::npos) {
      encoded += c;
    } else {
      char escape[4];
      std::snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned char>(c));
      encoded += escape;
    }
  }
  return encoded;
}

std::string Signer::Sign(const std::string& path, const QueryMap& parameters) {
  QueryMap all;
  for (const auto& [name, value] : parameters) all[Encode(name)] = Encode(value);
  char digits[40];
  std::snprintf(digits, sizeof digits, "%032llx", static_cast<unsigned long long>(nonce++));
  all["_v"] = "csm1";
  all["_k"] = key_id;
  all["_t"] = std::to_string(time);
  all["_n"] = digits;
  std::string query;
  for (const auto& [name, value] : all) query += (query.empty() ? "" : "&") + name + "=" + value;
  const std::string text = "csm1\nGET\n" + host + "\n" + path + "\n" + query;
  return path + "?" + query + "&_s=" + HexHmac(key, text);
}

}  // namespace market_server::testing
