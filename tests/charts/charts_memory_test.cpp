// Thousands of symbols shown one after another in one chart. With CSM_LONG=1 in the environment five
// thousand of them.
#include <gtest/gtest.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "kline_fixture.h"

#if defined(__SANITIZE_ADDRESS__)
#define CSM_TEST_ADDRESS_SANITIZER 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CSM_TEST_ADDRESS_SANITIZER 1
#endif
#endif
#ifdef CSM_TEST_ADDRESS_SANITIZER
#include <sanitizer/allocator_interface.h>
#endif

namespace {

using namespace kline_test;

constexpr int kCandles = 8000;  // thirty years of days
constexpr double kMiB = 1 << 20;

// Resident memory; with the address sanitizer, which keeps what is freed, the heap that is in use.
double BytesInUse() {
#ifdef CSM_TEST_ADDRESS_SANITIZER
  return static_cast<double>(__sanitizer_get_current_allocated_bytes());
#else
  std::ifstream statm("/proc/self/statm");
  double pages = 0;
  statm >> pages >> pages;
  return pages * static_cast<double>(sysconf(_SC_PAGESIZE));
#endif
}

// Counts what it is shown, and keeps nothing.
struct Chart final : IUpdate1<StockKLineData> {
  void Update(const StockKLineData& data) override {
    symbol = data.symbol;
    candles = data.candles.size();
  }
  std::wstring symbol;
  std::size_t candles = 0;
};

class KLineMemory : public KLineTest {
 protected:
  KLineMemory() {
    HoldPolling();
    packages.Announce(L"");  // what is on disk is good
    host.Allow(Script(kDayPath).Inline([](const Request&) { return NoToday(); }));
    for (int line = 0; line < kCandles; ++line) {
      package += Line(Candle(19'900'101 + static_cast<std::uint32_t>(line), 10 + line % 90)) + "\n";
    }
    package += Line(Candle(20240314, 30)) + "\n";
    package = Gzip(package);
    service->Attach(&chart);
    service->Resume(&chart, false);
  }
  ~KLineMemory() override {
    service->Detach(&chart);
    LetPollingGo();
  }

  static std::wstring Symbol(int number) { return L"sh" + std::to_wstring(600'000 + number); }

  // True when the chart shows the whole series of the symbol.
  [[nodiscard]] bool Show(int number) {
    chart.candles = 0;
    service->SetTarget(&chart, Symbol(number));
    service->FetchKLine(Symbol(number).c_str(), 1, 1, {});
    host.ForgetRequests();
    return chart.symbol == Symbol(number) && chart.candles == kCandles + 1;
  }
  void PutOnDisk(int number) const {
    const std::string directory = Folder() + "/" + common::ws2s(Symbol(number), common::kUtf8);
    std::filesystem::create_directories(directory);
    std::ofstream(directory + "/1.1.dat", std::ios::binary) << package;
  }
  std::string Folder() const { return host.Directory() + "/kline"; }

  std::string package;
  Chart chart;
};

TEST_F(KLineMemory, hasABoundHoweverManySymbolsAreShown) {
  const int symbols = std::getenv("CSM_LONG") != nullptr ? 5000 : 200;
  PutOnDisk(0);
  ASSERT_TRUE(Show(0));
  const double before = BytesInUse();
  double most = 0;
  for (int number = 1; number < symbols; ++number) {
    PutOnDisk(number);
    ASSERT_TRUE(Show(number)) << number;
    std::filesystem::remove_all(Folder());
    most = std::max(most, BytesInUse() - before);
  }
  std::printf("%d symbols of %d candles: %.1f MiB at most\n", symbols, kCandles, most / kMiB);
  EXPECT_LT(most, 48 * kMiB);
  EXPECT_GT(most, 8 * kMiB) << "the series shown lately are held";

  ASSERT_TRUE(Show(symbols - 1)) << "its package is not on disk any more";
  EXPECT_FALSE(std::filesystem::exists(Folder())) << "not even the store is opened";
}

}  // namespace
