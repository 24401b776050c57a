// Holds a thousand slow connections open on a market server of its own, on loopback, and measures how long
// ordinary requests take meanwhile. Run by hand: load_market_server [slow connections] [seconds]; at most
// 4,000 and 60. Fails when the slowest hundredth takes 50 ms or longer.
#include <sys/resource.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "market_server/market_server.h"
#include "raw_client.h"
#include "signer.h"

namespace {

using market_server::testing::QueryMap;
using market_server::testing::RawClient;
using market_server::testing::Signer;
using Clock = std::chrono::steady_clock;

constexpr double kLimitMilliseconds = 50;

/// What a client with a few views asks for, by turns.
const std::pair<std::string, QueryMap> kAsked[] = {
    {"/pc/rt/stock_detail_list", {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}}},
    {"/pc/rt/stock_detail_list", {{"stock_arr", R"(["sh600000"])"}}},
    {"/pc/rt/get",
     {{"stock_type", "cn_a"}, {"sort_key", "change"}, {"sort_type", "desc"}, {"start", "0"}, {"end", "50"}}},
    {"/pc/rt/get_day_time", {{"stock_arr", R"(["sh600000"])"}}}};

long Argument(int count, char** values, int index, long fallback, long most) {
  if (index >= count) return fallback;
  return std::clamp(std::strtol(values[index], nullptr, 10), 1L, most);
}

double Percentile(std::vector<double>& sorted, double part) {
  return sorted[static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * part)];
}

}  // namespace

int main(int count, char** values) {
  const long slow = Argument(count, values, 1, 1000, 4000);
  const long seconds = Argument(count, values, 2, 5, 60);

  // Both ends of every connection are in this process.
  rlimit files{};
  getrlimit(RLIMIT_NOFILE, &files);
  files.rlim_cur = std::min<rlim_t>(files.rlim_max, static_cast<rlim_t>(2 * slow + 200));
  setrlimit(RLIMIT_NOFILE, &files);

  market_server::Options options;
  options.clock = "2024-03-15 10:30:00";
  options.faults = {"drip_body:/slow:1:100"};
  market_server::Server server(options);
  server.Start();

  // Three ways to be slow: half a request, an answer that drips, and an idle connection after a request.
  std::vector<std::unique_ptr<RawClient>> clients;
  for (long i = 0; i < slow; ++i) {
    clients.push_back(std::make_unique<RawClient>(server.port()));
    RawClient& client = *clients.back();
    if (!client.connected()) {
      std::fprintf(stderr, "connection %ld was refused\n", i);
      return 1;
    }
    if (i % 3 == 0) client.Send("GET /pc/rt/stock_version HTTP/1.1\r\nHost: ");
    if (i % 3 == 1) client.SendGet("/slow");
    if (i % 3 == 2) (void)client.Get("/pc/rt/stock_version");
  }
  const std::uint64_t open = server.ReadCounters().open;

  RawClient client(server.port());
  Signer signer;
  signer.host = client.host();
  signer.key_id = server.key_id();
  signer.key = server.key();
  std::vector<double> times;
  bool good = true;
  const auto end = Clock::now() + std::chrono::seconds(seconds);
  while (Clock::now() < end) {
    signer.time = static_cast<std::int64_t>(server.Now());
    const auto& [path, parameters] = kAsked[times.size() % std::size(kAsked)];
    const std::string target = signer.Sign(path, parameters);
    const auto begin = Clock::now();
    good = good && client.Get(target).body.starts_with("{\"errno\":0,");
    times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  const std::uint64_t still_open = server.ReadCounters().open;
  std::sort(times.begin(), times.end());
  const double p99 = Percentile(times, 0.99);
  std::printf(
      "%llu connections open before, %llu after; %zu requests: p50 %.2f ms, p99 %.2f ms, slowest %.2f ms\n",
      static_cast<unsigned long long>(open), static_cast<unsigned long long>(still_open), times.size(),
      Percentile(times, 0.5), p99, times.back());
  if (!good) std::fprintf(stderr, "a request was refused\n");
  return good && p99 < kLimitMilliseconds ? 0 : 1;
}
