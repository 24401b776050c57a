// A client that shows everything at once: the real host services, and a view on every service, against a
// market server. Main thread only.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "cli/temporary_directory.h"
#include "feed.h"
#include "host_services/stock_host.h"

namespace client_test {

/// Long enough for anything that must come; reached only by a failure.
inline constexpr std::chrono::seconds kPatience(60);

/// Looks again and again until `reached` holds; false when it does not within `limit`.
[[nodiscard]] bool Await(const std::function<bool()>& reached, std::chrono::milliseconds limit = kPatience);

/// The long run of a test, instead of the one for every day.
[[nodiscard]] bool IsLongRun();

/// The key that the servers of these tests know.
inline constexpr const char* kKeyId = "tester";
inline constexpr const char* kKey = "a secret of the test";

class WholeClient {
 public:
  /// Starts the host services; sends nothing. Throws std::runtime_error when they cannot be started.
  explicit WholeClient(const std::string& server_url);
  /// Closes what is open and stops the host services.
  ~WholeClient();
  WholeClient(const WholeClient&) = delete;
  WholeClient& operator=(const WholeClient&) = delete;

  /// Loads the reference data and learns the calendar, as a client does when it starts; false when the server
  /// does not say. Without a calendar most services look every two seconds whether it is there.
  [[nodiscard]] static bool LoadReferenceData();

  /// Makes every service and a view on each. With `ask` every view asks the server at once. `plate` is the
  /// plate whose members are shown.
  void Open(bool ask, const std::wstring& plate = L"bk1001");
  /// Detaches every view and ends the services.
  void Close();
  /// Ends the services under their views, and the views at once after them.
  void Destroy();

  void RefreshAll();
  /// Waits until every feed was told at least `more` times more than `before`; a failure names the others.
  [[nodiscard]] testing::AssertionResult AwaitAll(const std::vector<std::uint64_t>& before,
                                                  std::uint64_t more,
                                                  std::chrono::milliseconds limit = kPatience) const;
  /// Waits until no request is under way, or as many have ended as are out now: polling services may keep a
  /// slow machine from ever being quiet.
  [[nodiscard]] static bool AwaitQuiet(std::chrono::milliseconds limit = kPatience);

  /// Waits until no request is under way and what came has been told: an exchange is counted before it is
  /// told.
  [[nodiscard]] bool AwaitSettled(std::chrono::milliseconds limit = kPatience) const;

  [[nodiscard]] std::vector<std::uint64_t> Updates() const;
  [[nodiscard]] const std::vector<std::unique_ptr<Feed>>& feeds() const { return feeds_; }
  [[nodiscard]] Feed& FeedNamed(const std::string& name) const;

  /// The warnings and errors of the log from the line `from` on, without time and level; `from` moves behind
  /// them.
  [[nodiscard]] std::vector<std::string> WarningsFrom(std::size_t& from) const;

 private:
  const cli::TemporaryDirectory directory_;
  std::vector<std::unique_ptr<Feed>> feeds_;
};

}  // namespace client_test
