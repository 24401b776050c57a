// Everything live at once, and hundreds of keys asked for without a pause: no answer is lost or told twice,
// and nothing grows. CSM_LONG=1: ten minutes. The server is a process of its own, so that what is measured is
// the client.
#include <gtest/gtest.h>
#include <malloc.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "child_process.h"
#include "whole_client.h"

namespace client_test {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

constexpr std::size_t kKeys = 500;
constexpr std::size_t kViewsOfOneKey = 50;
constexpr const char* kEndpoint = "/pc/rt/stock_detail_list";

struct Footprint {
  std::size_t threads;
  std::size_t descriptors;
  std::size_t heap_kib;  // allocated and not freed
  long resident_kib;
};

std::size_t EntriesOf(const char* directory) {
  const auto entries = std::filesystem::directory_iterator(directory);
  return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

Footprint Measure() {
  malloc_trim(0);
  const auto heap = mallinfo2();
  Footprint footprint{EntriesOf("/proc/self/task"), EntriesOf("/proc/self/fd"),
                      (heap.uordblks + heap.hblkhd) / 1024, 0};
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.rfind("VmRSS:", 0) == 0) {
      footprint.resident_kib = std::stol(line.substr(6));
    }
  }
  return footprint;
}

/// Codes of the board, as many as wanted.
std::vector<std::wstring> Codes() {
  std::mutex mutex;
  std::vector<std::wstring> codes;
  GetStockMarket()->FetchStockItems(1, 1, 1, [&](const CodeNameList& list) {
    const std::lock_guard lock(mutex);
    for (std::size_t i = 0; i < list.size() && i < kKeys; ++i) {
      codes.push_back(list[i].first);
    }
  });
  EXPECT_TRUE(Await([&] {
    const std::lock_guard lock(mutex);
    return codes.size() == kKeys;
  }));
  EXPECT_TRUE(WholeClient::AwaitQuiet());
  return codes;
}

TEST(Load, losesNothingDoublesNothingAndGrowsByNothing) {
  tests::ChildProcess server(tests::Csm({"serve", "--port", "0", "--clock", "2024-03-15 10:30:00"}),
                             {{"CSM_KEY_ID", kKeyId}, {"CSM_KEY", kKey}});
  ASSERT_TRUE(server.ReadUntilOutput("ready")) << server.errors();
  const std::string first = tests::LinesOf(server.output()).front();
  WholeClient client(first.substr(first.find("http")));
  ASSERT_TRUE(WholeClient::LoadReferenceData());
  client.Open(true);
  ASSERT_TRUE(client.AwaitAll(std::vector<std::uint64_t>(client.feeds().size()), 1));

  using Singles = PolledFeed<ISingleStockMarket, StockMarketItem, std::wstring>;
  Singles keys("keys", kEndpoint, GetSingleStockMarket());
  Singles crowd("crowd", kEndpoint, GetSingleStockMarket());
  const std::vector<std::wstring> codes = Codes();
  ASSERT_EQ(codes.size(), kKeys);
  for (const std::wstring& code : codes) {
    keys.Show(code, false);
  }
  for (std::size_t i = 0; i < kViewsOfOneKey; ++i) {
    crowd.Show(codes.front(), false);
  }
  const Feed& own = client.FeedNamed("single stock");
  const Feed& index = client.FeedNamed("index quotes");
  const Feed& watch_list = client.FeedNamed("watch list");
  const bool shown_twice = std::find(codes.begin(), codes.end(), L"sh600000") != codes.end();
  // The counts of the single quotes while nothing is under way. Index quotes and the watch list ask the same
  // endpoint, one request at a time.
  const std::uint64_t of_one_round = kKeys + (shown_twice ? 0 : 1);
  struct Counts {
    std::uint64_t answered, told;
    std::vector<std::uint64_t> views;
  };
  const auto settled = [&] {
    Counts counts{};
    EXPECT_TRUE(Await([&] {
      const auto before = stock_host::ReadCounters();
      const std::uint64_t others = index.updates() + watch_list.updates();
      counts = {before.endpoints.at(kEndpoint).succeeded - others,
                keys.updates() + (shown_twice ? 0 : own.updates()),
                {}};
      for (const auto& view : keys.views()) {
        counts.views.push_back(view.updates());
      }
      const auto after = stock_host::ReadCounters();
      return before.under_way == 0 && after.under_way == 0 && after.requests == before.requests;
    }));
    return counts;
  };
  // Every answer is told, unless a newer one of its key was told before it: that takes two rounds at once.
  // The polling thread's may meet ours.
  std::uint64_t overtaken = 0;
  int undisturbed = 0;
  const auto compare = [&](const Counts& before, const Counts& after) {
    const std::uint64_t answers = after.answered - before.answered, told = after.told - before.told;
    EXPECT_LE(told, answers) << "an answer was told twice";
    overtaken += answers - told;
    if (answers <= of_one_round) {
      EXPECT_EQ(told, answers) << "an answer that nothing had overtaken was not told";
    }
    if (answers != of_one_round) {
      return;
    }
    ++undisturbed;
    for (std::size_t view = 0; view < kKeys; ++view) {
      EXPECT_EQ(after.views[view], before.views[view] + 1) << "key " << view;
    }
  };

  // Some rounds to warm up. Before them answers came with nobody to tell them to.
  for (int round = 0; round < 12; ++round) {
    const std::uint64_t before = keys.updates();
    GetSingleStockMarket()->Refresh();
    ASSERT_TRUE(Await([&] { return keys.updates() >= before + kKeys; }));
  }
  Counts latest = settled();
  const Footprint warm = Measure();
  const std::uint64_t first_answers = latest.answered;
  const auto begin = steady_clock::now();

  const seconds duration(IsLongRun() ? 600 : (kSanitized ? 4 : 8));
  while (steady_clock::now() - begin < duration) {
    const auto round = steady_clock::now();
    const Counts before = settled();
    compare(latest, before);
    GetSingleStockMarket()->Refresh();
    client.FeedNamed("stock quotes").Refresh();
    client.FeedNamed("minute line").Refresh();
    client.FeedNamed("distribution").Refresh();
    latest = settled();
    compare(before, latest);
    for (std::size_t view = 0; view < kKeys; ++view) {
      ASSERT_GT(latest.views[view], before.views[view]) << "a view was not told any more: key " << view;
    }
    std::this_thread::sleep_until(round + milliseconds(2000));  // 250 answers a second
  }
  const Counts last = settled();
  compare(latest, last);
  const std::uint64_t answers = last.answered - first_answers;
  const std::uint64_t each = keys.views().front().updates();
  for (const auto& view : crowd.views()) {
    EXPECT_EQ(view.updates(), each) << "two views of one key were told different numbers of times";
  }
  // On a slow machine the polling thread is always there before one of our rounds is over. Then one begins
  // right behind a round of its own, in which it asked for what other views show.
  for (int attempt = 0; undisturbed == 0 && attempt < 20; ++attempt) {
    keys.Hide();
    const std::uint64_t polled = own.updates();
    ASSERT_TRUE(Await([&] { return own.updates() > polled; }));
    keys.Show();
    const Counts before = settled();
    GetSingleStockMarket()->Refresh();
    compare(before, settled());
  }
  EXPECT_GT(undisturbed, 0);
  const Footprint end = Measure();
  const double passed = std::chrono::duration<double>(steady_clock::now() - begin).count();
  std::printf(
      "%llu answers in %.0f s (%.0f a second), %llu of them overtaken; %d rounds undisturbed; threads %zu, "
      "then %zu; descriptors %zu, then %zu; heap %zu KiB, then %zu KiB; resident %ld KiB, then %ld KiB\n",
      static_cast<unsigned long long>(answers), passed, static_cast<double>(answers) / passed,
      static_cast<unsigned long long>(overtaken), undisturbed, warm.threads, end.threads, warm.descriptors,
      end.descriptors, warm.heap_kib, end.heap_kib, warm.resident_kib, end.resident_kib);
  EXPECT_EQ(end.threads, warm.threads);
  EXPECT_LE(end.descriptors, warm.descriptors);
  if (!kSanitized) {
    // Two bytes for each answer of a long run; a part is what threads keep back for themselves. What is
    // resident goes a little up and down with which of the host's threads work: each has a part of the heap
    // of its own.
    EXPECT_LE(end.heap_kib, warm.heap_kib + 512);
    EXPECT_LE(end.resident_kib, warm.resident_kib + 8192);
  }

  keys.Detach();
  crowd.Detach();
  client.Close();
  server.Signal(SIGTERM);
  EXPECT_EQ(server.Wait(), 0);
}

}  // namespace
}  // namespace client_test
