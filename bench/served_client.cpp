#include "served_client.h"

#include <cstdint>
#include <stdexcept>
#include <vector>

namespace bench {
namespace {

std::string UrlOf(tests::ChildProcess& server) {
  if (!server.ReadUntilOutput("ready")) {
    throw std::runtime_error("the market server does not start: " + server.errors());
  }
  const std::string first = tests::LinesOf(server.output()).front();
  return first.substr(first.find("http"));
}

}  // namespace

ServedClient::ServedClient(const std::string& clock, const std::string& speed)
    : server_(tests::Csm({"serve", "--port", "0", "--clock", clock, "--speed", speed}),
              {{"CSM_KEY_ID", client_test::kKeyId}, {"CSM_KEY", client_test::kKey}}),
      client_(UrlOf(server_)) {}

void ServedClient::LoadReferenceData() {
  if (!client_test::WholeClient::LoadReferenceData()) {
    throw std::runtime_error("the reference data cannot be loaded");
  }
}

void ServedClient::ShowEverything() {
  client_.Open(true);
  if (!client_.AwaitAll(std::vector<std::uint64_t>(client_.feeds().size()), 1)) {
    throw std::runtime_error("a view was told nothing");
  }
}

}  // namespace bench
