// Certificates made at the time of the test. No state.
#pragma once

#include <string>

namespace host_test {

struct Certificate {
  std::string pem;
  std::string key_pem;
  int highest_version = 0;  ///< of TLS that the server speaks; 0: any
};

enum class Validity { kNow, kPast };

/// A self-signed certificate for `host`, a name or an address.
[[nodiscard]] Certificate MakeCertificate(const std::string& host, Validity validity = Validity::kNow);

}  // namespace host_test
