// Files of a server in a test: a directory of its own, and a certificate for HTTPS in it.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "market_server/market_server.h"
#include "tests/host_services/certificate.h"

namespace market_server::testing {

/// A directory that goes away with the object.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string name = (std::filesystem::temp_directory_path() / "market-server-XXXXXX").string();
    path_ = mkdtemp(name.data());
  }
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  [[nodiscard]] std::string File(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

/// Lets a server speak TLS with a certificate of its own for 127.0.0.1.
inline void UseTls(Options& options, const TemporaryDirectory& directory) {
  const host_test::Certificate certificate = host_test::MakeCertificate("127.0.0.1");
  options.tls_cert = directory.File("cert.pem");
  options.tls_key = directory.File("key.pem");
  std::ofstream(options.tls_cert) << certificate.pem;
  std::ofstream(options.tls_key) << certificate.key_pem;
}

}  // namespace market_server::testing
