// The K-line service with announced packages and scripted answers.
#pragma once

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "announced_packages.h"
#include "charts/stock_kline.h"
#include "host/host.h"
#include "reference/package_version_store.h"
#include "scripted_ticks.h"
#include "service_fixture.h"
#include "services.h"

namespace kline_test {

inline constexpr const char* kDayPath = "/pc/rt/get_day_kline";
inline constexpr const char* kHistoryPath = "/kql";

/// A candle whose figures all follow from `base`.
inline KLineCandle Candle(std::uint32_t date, int base) {
  return {date,
          base + 0.5,
          base + 1.0,
          base + 3.0,
          base + 2.0,
          base - 1.0,
          static_cast<std::uint64_t>(base) * 100,
          base * 1e3,
          base / 8.0};
}

/// A candle as a line of a package.
inline std::string Line(const KLineCandle& candle) {
  std::string line = "[" + std::to_string(candle.date);
  for (const double number : {candle.preclose, candle.open, candle.high, candle.close, candle.low,
                              static_cast<double>(candle.volume), candle.amount, candle.turnover}) {
    line += "," + std::to_string(number);
  }
  return line + "]";
}

inline std::string Package(const std::vector<KLineCandle>& candles) {
  std::string text;
  for (const KLineCandle& candle : candles) text += Line(candle) + "\n";
  return text;
}

inline Answer History(const std::vector<KLineCandle>& candles) {
  std::string rows;
  for (const KLineCandle& candle : candles) rows += (rows.empty() ? "" : ",") + Line(candle);
  return Answer::Body(R"({"errno":0,"data":{"foo":{"list":[)" + rows + "]}}}");
}

inline Answer Today(const std::string& symbol, const KLineCandle& candle) {
  return Answer::Body(R"({"errno":0,"data":{")" + symbol + R"(":{"date":")" + std::to_string(candle.date) +
                      R"(","list":{"preclose":)" + std::to_string(candle.preclose) + R"(,"open":)" +
                      std::to_string(candle.open) + R"(,"high":)" + std::to_string(candle.high) +
                      R"(,"last":)" + std::to_string(candle.close) + R"(,"low":)" +
                      std::to_string(candle.low) + R"(,"vol":)" + std::to_string(candle.volume) +
                      R"(,"amt":)" + std::to_string(candle.amount) + R"(,"tr":)" +
                      std::to_string(candle.turnover) + "}}}}");
}

/// An answer without a candle of today.
inline Answer NoToday() {
  return Answer::Body(R"({"errno":0,"data":{}})");
}

inline std::string PackagePath(const std::string& symbol, const std::string& period,
                               const std::string& adjustment, const std::string& version) {
  return "/kline." + symbol + "." + period + "." + adjustment + "." + version + ".gzip";
}

/// The parameters of a query for the newest `limit` rows.
inline NameValues Query(const std::string& symbol, const std::string& series, const std::string& type,
                        int limit) {
  return {{"q", R"({"foo":[")" + series + R"(",{"symbol":")" + symbol + R"(","mtime":0,"type":")" + type +
                    R"(","offset":0,"limit":)" + std::to_string(limit) + "}]}"}};
}

inline std::list<KLineCandle> List(std::initializer_list<KLineCandle> candles) {
  return candles;
}

/// The day is Friday 2024-03-15: the last trading day before it is Thursday 2024-03-14. The package of the
/// symbol `kStock` is announced with version 20240314.
class KLineTest : public ChartServiceTest<IStockKLine, StockKLineData> {
 protected:
  KLineTest() : ChartServiceTest(charts::MakeStockKLine) {
    packages.Announce(L"20240314");
    host.SetTaskMode(ScriptedHost::TaskMode::kInline);
  }
  ~KLineTest() override { service.reset(); }  // its thread waits by the clock that goes next

  KLineCallback Keep() {
    return [this](const StockKLineData& data) { got.push_back(data); };
  }

  /// One request for the K-line, with `today` as the day's answer; its candles.
  std::list<KLineCandle> Load(int period = 1, int adjustment = 1, const Answer& today = NoToday()) {
    const std::size_t before = got.size();
    host.Expect(Script(kDayPath).Inline(today));
    service->FetchKLine(L"sh600000", period, adjustment, Keep());
    EXPECT_EQ(got.size(), before + 1);
    return got.size() == before + 1 ? got.back().candles : std::list<KLineCandle>();
  }

  std::string Directory() const { return host.Directory() + "/kline/sh600000"; }
  std::string File(int period = 1, int adjustment = 1) const {
    return Directory() + "/" + std::to_string(period) + "." + std::to_string(adjustment) + ".dat";
  }
  static std::string Bytes(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }
  void Write(const std::string& path, const std::string& bytes) const {
    std::filesystem::create_directories(Directory());
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
  }
  /// Puts a package on disk, with its row in the store.
  void Keep(const std::wstring& version, const std::vector<KLineCandle>& candles, int period = 1,
            int adjustment = 1) const {
    Write(File(period, adjustment), Gzip(Package(candles)));
    reference::PackageVersionStore(L"sh600000")
        .Set(reference::PackageKey(period, adjustment), {version, static_cast<int>(candles.size())});
  }
  KLineMetaInfo Stored(int period = 1, int adjustment = 1) const {
    return reference::PackageVersionStore(L"sh600000")
        .Get(reference::PackageKey(period, adjustment))
        .value_or(KLineMetaInfo());
  }

  /// From now on the service asks for nothing by itself, however the clock is moved. Before that service
  /// ends, `LetPollingGo` has to be called.
  void HoldPolling() {
    service.reset();  // first: its thread may not have asked for its interval yet
    host.HoldSpans();
    service.reset(charts::MakeStockKLine());
    EXPECT_TRUE(host.AwaitHeldSpan());
  }
  void LetPollingGo() { host.ReleaseSpan(4000); }

  /// Lets the back-off of whatever failed pass.
  void PassBackOff() { steady.Advance(600'000); }

  AnnouncedPackages packages;
  ScriptedSteady steady;
  std::vector<StockKLineData> got;
};

}  // namespace kline_test
