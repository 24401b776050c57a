// A market server whose every answer carries a number: how many requests of its path and key had come when it
// was made. Answers come late, in any order, or broken, as chance has it. Callable from any thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <random>
#include <string>

#include "loopback_server.h"

namespace client_test {

class SequenceServer {
 public:
  explicit SequenceServer(std::uint64_t seed)
      : random_(seed), server_([this](auto& connection) { Serve(connection); }) {}

  [[nodiscard]] std::string url() const { return "http://127.0.0.1:" + std::to_string(server_.port()); }

  /// Requests that have come for the path.
  [[nodiscard]] std::uint64_t Arrived(const std::string& path) const;
  /// From now on every answer is good and comes at once.
  void Heal() { healed_ = true; }
  [[nodiscard]] std::uint64_t broken() const { return broken_; }
  [[nodiscard]] std::uint64_t late() const { return late_; }

 private:
  struct Chance {
    int milliseconds;  ///< that the answer is late
    bool overtaken;    ///< it waits for two later requests of its path, a second at most
    int fault;         ///< 0 none, 1 reset, 2 status 500, 3 "errno", 4 no JSON, 5 half of it
  };

  void Serve(host_test::LoopbackServer::Connection& connection);
  Chance Throw();
  bool AwaitLater(host_test::LoopbackServer::Connection& connection, const std::string& path,
                  std::uint64_t number) const;

  mutable std::mutex mutex_;  // guards the three members below
  std::mt19937_64 random_;
  std::map<std::string, std::uint64_t> arrived_;
  std::map<std::string, std::uint64_t> numbers_;  // by target: each request is signed with a nonce
  std::atomic<bool> healed_{false};
  std::atomic<std::uint64_t> broken_{0};
  std::atomic<std::uint64_t> late_{0};
  host_test::LoopbackServer server_;  // the last: its threads use all of the above
};

}  // namespace client_test
