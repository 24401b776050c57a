// From a request to the view that is told its answer: the whole client over loopback, the market server in a
// process of its own, whose clock stands. By turns with libcurl alone, which fetches the same bytes into
// memory and does nothing with them. Counters: "p50_ms" and "p99_ms" of the client, the same of libcurl, and
// "of_curl", the ratio of the two medians.
#include <benchmark/benchmark.h>
#include <curl/curl.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "c_stock_market.h"
#include "host/host.h"
#include "served_client.h"

namespace {

using Clock = std::chrono::steady_clock;
using Parameters = std::map<std::string, std::string>;

double SecondsBetween(Clock::time_point begin, Clock::time_point end) {
  return std::chrono::duration<double>(end - begin).count();
}

void StartMarket() {
  static bench::ServedClient served("2027-06-15 10:30:00", "0");
}

// The moment at which it was told last.
template <class Data>
class TimedView final : public IUpdate1<Data> {
 public:
  explicit TimedView(std::function<bool(const Data&)> is_right) : is_right_(std::move(is_right)) {}

  void Update(const Data& data) override {
    const bool right = is_right_(data);
    const std::lock_guard lock(mutex_);
    right_ = right_ && right;
    ++updates_;
    told_at_ = Clock::now();
    told_.notify_all();
  }

  std::uint64_t Updates() {
    const std::lock_guard lock(mutex_);
    return updates_;
  }

  // When it was told more often than `before`; throws std::runtime_error when that does not happen or it was
  // told something wrong.
  Clock::time_point Await(std::uint64_t before) {
    std::unique_lock lock(mutex_);
    if (!told_.wait_for(lock, client_test::kPatience, [&] { return updates_ > before; })) {
      throw std::runtime_error("no answer");
    }
    if (!right_) {
      throw std::runtime_error("the view was told something else");
    }
    return told_at_;
  }

 private:
  const std::function<bool(const Data&)> is_right_;
  std::mutex mutex_;  // guards the members below
  std::condition_variable told_;
  std::uint64_t updates_ = 0;
  bool right_ = true;
  Clock::time_point told_at_;
};

// libcurl with one connection, which is kept.
class CurlAlone {
 public:
  CurlAlone() : easy_(curl_easy_init()), header_(curl_slist_append(nullptr, "Accept-Encoding: gzip")) {
    curl_easy_setopt(easy_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(easy_, CURLOPT_PROXY, "");
    curl_easy_setopt(easy_, CURLOPT_HTTPHEADER, header_);
    curl_easy_setopt(easy_, CURLOPT_WRITEFUNCTION, &OnBody);
    curl_easy_setopt(easy_, CURLOPT_WRITEDATA, this);
  }
  ~CurlAlone() {
    curl_easy_cleanup(easy_);
    curl_slist_free_all(header_);
  }
  CurlAlone(const CurlAlone&) = delete;
  CurlAlone& operator=(const CurlAlone&) = delete;

  // Seconds that the exchange takes; the address is signed before.
  double Fetch(const std::wstring& path, const Parameters& parameters) {
    const std::string url = common::ws2s(
        pattern::CSingleton<UrlHelper>::GetInstance()->GetSigniture(path, parameters), common::kUtf8);
    curl_easy_setopt(easy_, CURLOPT_URL, url.c_str());
    body_.clear();
    const auto begin = Clock::now();
    const CURLcode code = curl_easy_perform(easy_);
    const double seconds = SecondsBetween(begin, Clock::now());
    if (code != CURLE_OK || body_.rfind(R"({"errno":0,)", 0) != 0) {
      throw std::runtime_error("libcurl alone got " + body_.substr(0, 100));
    }
    return seconds;
  }

  [[nodiscard]] std::size_t BodySize() const { return body_.size(); }

 private:
  static std::size_t OnBody(const char* bytes, std::size_t size, std::size_t count, void* self) {
    static_cast<CurlAlone*>(self)->body_.append(bytes, size * count);
    return size * count;
  }

  CURL* const easy_;
  curl_slist* const header_;
  std::string body_;
};

double Percentile(const std::vector<double>& sorted, double part) {
  return sorted[static_cast<std::size_t>(static_cast<double>(sorted.size() - 1) * part)];
}

// What one view shows, and how the same is asked for without the client.
template <class Data, class Service, class Key>
struct Shown {
  Service* service;
  Key key;
  std::wstring path;
  Parameters parameters;
  std::function<bool(const Data&)> is_right;
};

template <class Data, class Service, class Key>
void PollToView(benchmark::State& state, const Shown<Data, Service, Key>& shown) {
  TimedView<Data> view(shown.is_right);
  CurlAlone curl;
  std::vector<double> client;
  std::vector<double> alone;
  shown.service->Attach(&view);
  shown.service->SetTarget(&view, shown.key);
  shown.service->Resume(&view, false);
  const auto poll = [&] {
    const std::uint64_t before = view.Updates();
    const auto begin = Clock::now();
    shown.service->Refresh();
    return SecondsBetween(begin, view.Await(before));
  };
  try {
    const std::string endpoint = common::ws2s(shown.path, common::kUtf8);
    const auto received = [&] { return stock_host::ReadCounters().endpoints[endpoint].bytes_received; };
    (void)poll();
    const std::uint64_t before = received();
    (void)poll();
    const std::uint64_t bytes = received() - before;
    (void)curl.Fetch(shown.path, shown.parameters);
    // A round of the service's own may have fallen in between.
    if (curl.BodySize() == 0 || bytes % curl.BodySize() != 0) {
      throw std::runtime_error("libcurl alone fetches other bytes than the client");
    }
    for ([[maybe_unused]] auto round : state) {
      client.push_back(poll());
      alone.push_back(curl.Fetch(shown.path, shown.parameters));
      state.SetIterationTime(client.back());
    }
  } catch (const std::exception& failure) {
    state.SkipWithError(failure.what());
  }
  shown.service->Detach(&view);
  if (client.empty() || alone.empty()) {
    return;
  }
  std::sort(client.begin(), client.end());
  std::sort(alone.begin(), alone.end());
  state.counters["p50_ms"] = Percentile(client, 0.5) * 1e3;
  state.counters["p99_ms"] = Percentile(client, 0.99) * 1e3;
  state.counters["curl_p50_ms"] = Percentile(alone, 0.5) * 1e3;
  state.counters["curl_p99_ms"] = Percentile(alone, 0.99) * 1e3;
  state.counters["of_curl"] = Percentile(client, 0.5) / Percentile(alone, 0.5);
  state.counters["bytes"] = static_cast<double>(curl.BodySize());
}

void IndexList(benchmark::State& state) {
  StartMarket();
  using List = std::vector<IndexMarketSummary>;
  PollToView(state, Shown<List, IIndexMarket, std::wstring>{
                        GetIndexMarket(),
                        L"",
                        L"/pc/rt/stock_detail_list",
                        {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}},
                        [](const List& list) { return list.size() == 3 && list[0].code == L"sh000001"; }});
}
BENCHMARK(IndexList)->UseManualTime()->Unit(benchmark::kMicrosecond);

void QuoteOfOneStock(benchmark::State& state) {
  StartMarket();
  PollToView(state, Shown<StockMarketItem, ISingleStockMarket, std::wstring>{
                        GetSingleStockMarket(),
                        L"sh600000",
                        L"/pc/rt/stock_detail_list",
                        {{"stock_arr", R"(["sh600000"])"}},
                        [](const StockMarketItem& item) { return item.code == L"sh600000"; }});
}
BENCHMARK(QuoteOfOneStock)->UseManualTime()->Unit(benchmark::kMicrosecond);

void Board(benchmark::State& state, std::uint32_t end, std::size_t least_rows, std::size_t most_rows) {
  StartMarket();
  using Quotes = std::vector<StockMarketItem>;
  PollToView(state, Shown<Quotes, IStockMarket, StockRangeRankingTarget>{
                        GetStockMarket(),
                        {1, 4, 2, 0, end},
                        L"/pc/rt/get",
                        {{"stock_type", "cn_a"},
                         {"sort_key", "change"},
                         {"sort_type", "desc"},
                         {"start", "0"},
                         {"end", std::to_string(static_cast<std::int32_t>(end))}},
                        [=](const Quotes& quotes) {
                          return quotes.size() >= least_rows && quotes.size() <= most_rows;
                        }});
}

void PageOfFiftyRows(benchmark::State& state) {
  Board(state, 50, 50, 50);
}
BENCHMARK(PageOfFiftyRows)->UseManualTime()->Unit(benchmark::kMicrosecond);

void WholeBoard(benchmark::State& state) {
  Board(state, 0xFFFFFFFFU, 5400, 5500);
}
BENCHMARK(WholeBoard)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
