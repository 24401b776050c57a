// A certificate for servers of tests. Stateless.
#pragma once

#include <string>

namespace market_server::testing {

/// Writes a self-signed certificate for 127.0.0.1 and its key (PEM).
void WriteCertificate(const std::string& certificate_file, const std::string& key_file);

}  // namespace market_server::testing
