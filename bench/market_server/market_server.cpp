// How quickly the market server starts and answers, and how much memory it takes: the full market, one
// serving thread, one client on one connection, over loopback. Each benchmark checks its answer before it
// times it. The CPU column is that of the whole process, client included: what one core would need.
#include <benchmark/benchmark.h>

#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "market_server/market_server.h"
#include "raw_client.h"
#include "signer.h"

namespace market_server {
namespace {

using testing::QueryMap;
using testing::RawAnswer;
using testing::RawClient;
using testing::Signer;

Options FullMarket(double speed) {
  Options options;
  options.clock = "2024-03-15 10:30:00";
  options.speed = speed;
  options.threads = 1;
  return options;
}

/// What a row of quotes begins with.
constexpr std::string_view kCode = "\"code\":\"";

/// The server that all benchmarks but the first use, and a client of it.
class Site {
 public:
  static Site& Get() {
    static auto& site = *[] {
      auto* const made = new Site(0);
      // The history of the indices, which the server prepares by itself, would be measured otherwise.
      (void)made->AskUnsigned(HistoryOf("sh000001"));
      return made;
    }();
    return site;
  }

  static std::string HistoryOf(const std::string& symbol) {
    return "/kql?q={%22foo%22:[%22kline.day%22,{%22symbol%22:%22" + symbol +
           "%22,%22mtime%22:0,%22type%22:%22bfq%22,%22offset%22:0,%22limit%22:1000}]}";
  }

  explicit Site(double speed) : server_(FullMarket(speed)) {
    server_.Start();
    client_ = std::make_unique<RawClient>(server_.port());
    signer_.host = client_->host();
    signer_.key_id = server_.key_id();
    signer_.key = server_.key();
  }

  RawAnswer Ask(const std::string& path, const QueryMap& parameters) {
    signer_.time = static_cast<std::int64_t>(server_.Now());
    return client_->Get(signer_.Sign(path, parameters));
  }

  RawAnswer AskUnsigned(const std::string& target) { return client_->Get(target); }

  /// True when the answer is whole and its errno is 0.
  static bool Good(const RawAnswer& answer) {
    return answer.complete && answer.status == 200 && answer.body.starts_with("{\"errno\":0,");
  }

 private:
  Server server_;
  std::unique_ptr<RawClient> client_;
  Signer signer_;
};

double ResidentMebibytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stod(line.substr(6)) / 1024;
  }
  return 0;
}

std::string SymbolList(const std::vector<std::string>& symbols) {
  std::string list = "[";
  for (const std::string& symbol : symbols) list += (list.size() > 1 ? ",\"" : "\"") + symbol + "\"";
  return list + "]";
}

void TimeRequests(benchmark::State& state, Site& site, const std::string& path, const QueryMap& parameters,
                  std::size_t least_bytes) {
  const RawAnswer first = site.Ask(path, parameters);
  if (!Site::Good(first) || first.body.size() < least_bytes) {
    state.SkipWithError(("unexpected answer: " + first.body.substr(0, 100)).c_str());
    return;
  }
  for (auto _ : state) {
    const RawAnswer answer = site.Ask(path, parameters);
    if (!Site::Good(answer)) state.SkipWithError("the answer was refused");
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["bytes"] = static_cast<double>(first.body.size());
  std::size_t rows = 0;
  for (std::size_t at = 0; (at = first.body.find(kCode, at)) != std::string::npos; at += kCode.size()) ++rows;
  state.counters["rows"] = static_cast<double>(rows);
}

void StartToReady(benchmark::State& state) {
  for (auto _ : state) {
    Site site(0);
    if (!Site::Good(site.Ask("/pc/rt/stock_version", {}))) state.SkipWithError("no answer");
  }
}
BENCHMARK(StartToReady)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void CandlesOfAnIndexRightAfterTheStart(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto site = std::make_unique<Site>(0);
    state.ResumeTiming();
    const RawAnswer answer = site->AskUnsigned(Site::HistoryOf("sh000001"));
    if (!Site::Good(answer) || answer.body.size() < 50'000) state.SkipWithError("no candles");
    state.PauseTiming();
    site.reset();
    state.ResumeTiming();
  }
}
BENCHMARK(CandlesOfAnIndexRightAfterTheStart)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

void QuoteOfOneStock(benchmark::State& state) {
  TimeRequests(state, Site::Get(), "/pc/rt/stock_detail_list", {{"stock_arr", "[\"sh600000\"]"}}, 300);
}
BENCHMARK(QuoteOfOneStock)->MeasureProcessCPUTime()->UseRealTime();

void QuotesOfThreeIndices(benchmark::State& state) {
  TimeRequests(state, Site::Get(), "/pc/rt/stock_detail_list",
               {{"stock_arr", R"(["sh000001","sz399001","sz399006"])"}}, 500);
}
BENCHMARK(QuotesOfThreeIndices)->MeasureProcessCPUTime()->UseRealTime();

QueryMap Page(const std::string& end, const std::string& column = "change") {
  return {{"stock_type", "cn_a"}, {"sort_key", column}, {"sort_type", "desc"}, {"start", "0"}, {"end", end}};
}

void PageOfFiftyRows(benchmark::State& state) {
  TimeRequests(state, Site::Get(), "/pc/rt/get", Page("50"), 20'000);
}
BENCHMARK(PageOfFiftyRows)->MeasureProcessCPUTime()->UseRealTime();

void WholeBoard(benchmark::State& state) {
  TimeRequests(state, Site::Get(), "/pc/rt/get", Page("-1"), 2'000'000);
}
BENCHMARK(WholeBoard)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void WholeBoardOfANewMoment(benchmark::State& state) {
  // A fast clock: every request falls into another tick, so nothing that was computed can be used again.
  static auto& site = *new Site(1000);
  TimeRequests(state, site, "/pc/rt/get", Page("-1"), 2'000'000);
}
BENCHMARK(WholeBoardOfANewMoment)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime()->UseRealTime();

void MinuteLineOfAStock(benchmark::State& state) {
  TimeRequests(state, Site::Get(), "/pc/rt/get_day_time", {{"stock_arr", "[\"sh600000\"]"}}, 2000);
}
BENCHMARK(MinuteLineOfAStock)->MeasureProcessCPUTime()->UseRealTime();

void PackageOfDays(benchmark::State& state) {
  Site& site = Site::Get();
  const std::string version = site.Ask("/pc/rt/stock_version", {}).body.substr(22, 8);
  const std::string target = "/static/kline.sh600000.day.qfq." + version + ".gzip";
  const RawAnswer first = site.AskUnsigned(target);
  if (first.status != 200 || !first.body.starts_with("\x1f\x8b")) {
    state.SkipWithError("no package");
    return;
  }
  for (auto _ : state) benchmark::DoNotOptimize(site.AskUnsigned(target));
  state.SetItemsProcessed(state.iterations());
  state.counters["bytes"] = static_cast<double>(first.body.size());
}
BENCHMARK(PackageOfDays)->MeasureProcessCPUTime()->UseRealTime();

/// Every endpoint for five hundred stocks; the counter is what the process holds then, this client included.
void MemoryAfterFiveHundredStocks(benchmark::State& state) {
  for (auto _ : state) {
    Site& site = Site::Get();
    const std::string board = site.Ask("/pc/rt/get", Page("520", "mc")).body;
    std::vector<std::string> codes;
    for (std::size_t at = board.find(kCode); at != std::string::npos && codes.size() < 500;) {
      const std::size_t next = board.find(kCode, at + 1);
      const std::string row = board.substr(at, next - at);
      // What is listed on this very day has no packages yet.
      if (row.find("\"status\":\"5\"") == std::string::npos) codes.push_back(row.substr(kCode.size(), 8));
      at = next;
    }
    if (codes.size() != 500) state.SkipWithError("not five hundred stocks");
    const std::string version = site.Ask("/pc/rt/stock_version", {}).body.substr(22, 8);
    const auto need = [&state](bool good, const std::string& what) {
      if (!good) state.SkipWithError((what + " was refused").c_str());
    };
    const auto ask = [&](const std::string& path, const QueryMap& parameters) {
      need(Site::Good(site.Ask(path, parameters)), path);
    };
    const auto fetch = [&](const std::string& target) {
      need(site.AskUnsigned(target).status == 200, target);
    };
    for (const std::string& code : codes) {
      const QueryMap one = {{"stock_arr", SymbolList({code})}};
      for (const char* path : {"/pc/rt/stock_detail_list", "/pc/rt/get_day_time", "/pc/rt/get_day_kline",
                               "/pc/rt/stock_in_out"}) {
        ask(path, one);
      }
      ask("/pc/rt/get_day_htime", {{"stock", code}, {"date", "20240313"}});
      ask("/pc/rt/get_choice_htime", {{"stock", code}, {"date", "20240314"}, {"rn", "5"}});
      for (const char* period : {"day", "week", "month"}) {
        fetch("/static/kline." + code + "." + period + ".qfq." + version + ".gzip");
      }
      fetch(Site::HistoryOf(code));
    }
    const QueryMap stocks = {{"stock_type", ""}, {"sort_key", "tr"}, {"sort_type", ""},
                             {"start", "0"},     {"end", "-1"},      {"num", "50"}};
    for (const char* path :
         {"/pc/rt/get", "/pc/rt/stock_price_list", "/pc/rt/get_stock_rank", "/pc/rt/stock_five_change"}) {
      ask(path, stocks);
    }
    QueryMap plates = stocks;
    plates["bk_type"] = "";
    plates["bk_code"] = "bk1001";
    for (const char* path :
         {"/pc/rt/get_bk_detail", "/pc/rt/bk_price_list", "/pc/rt/get_bk_zone_list", "/pc/rt/get_bk_rank"}) {
      ask(path, plates);
    }
    for (const char* path : {"/pc/rt/get_basic_info", "/pc/rt/get_bk_list", "/pc/rt/stock_index_list",
                             "/pc/rt/stock_trade", "/pc/rt/stock_buy"}) {
      ask(path, {});
    }
    ask("/pc/rt/stock_in_bk", {{"category", ""}});
    ask("/pc/rt/trade_date", {{"date", "2024"}});
    for (const char* date : {"0", "20240313", "20230313"}) {
      ask("/pc/rt/stock_min_num", {{"date", date}});
      ask("/pc/rt/stock_min_average", {{"date", date}});
      ask("/pc/rt/stock_distribute_num", {{"date", date}});
    }
    ask("/pc/monitor/get_monitor", {{"date", "1710469800"}});
    fetch("/static/kline.meta.gzip");
  }
  state.counters["MiB"] = ResidentMebibytes();
}
BENCHMARK(MemoryAfterFiveHundredStocks)
    ->Iterations(1)
    ->Unit(benchmark::kMillisecond)
    ->MeasureProcessCPUTime()
    ->UseRealTime();

}  // namespace
}  // namespace market_server
