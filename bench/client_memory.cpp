// What a client takes of memory with the whole market loaded. The market server is a process of its own and
// does not count.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <fstream>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "served_client.h"

namespace {

using client_test::Await;

constexpr std::size_t kWatched = 500;
constexpr std::size_t kLeastStocks = 5400;

void Need(bool fact, const char* otherwise) {
  if (!fact) {
    throw std::runtime_error(otherwise);
  }
}

double Mebibytes(const std::string& line) {
  std::ifstream status("/proc/self/status");
  for (std::string text; std::getline(status, text);) {
    if (text.rfind(line + ":", 0) == 0) {
      return std::stod(text.substr(line.size() + 1)) / 1024;
    }
  }
  throw std::runtime_error("the system does not tell " + line);
}

// Counts what it is told and keeps the codes only.
class CodesOfBoard final : public IUpdate1<std::vector<StockMarketItem>> {
 public:
  void Update(const std::vector<StockMarketItem>& board) override {
    const std::lock_guard lock(mutex_);
    ++updates_;
    codes_.clear();
    for (const StockMarketItem& item : board) {
      codes_.push_back(item.code);
    }
  }
  std::size_t Updates() {
    const std::lock_guard lock(mutex_);
    return updates_;
  }
  std::vector<std::wstring> Codes() {
    const std::lock_guard lock(mutex_);
    return codes_;
  }

 private:
  std::mutex mutex_;  // guards the members below
  std::size_t updates_ = 0;
  std::vector<std::wstring> codes_;
};

// Counts the rows that it is told.
class RowsOfWatchList final : public IUpdate1<std::vector<OptionalMarketItem>> {
 public:
  void Update(const std::vector<OptionalMarketItem>& list) override {
    const std::lock_guard lock(mutex_);
    rows_ = list.size();
  }
  std::size_t Rows() {
    const std::lock_guard lock(mutex_);
    return rows_;
  }

 private:
  std::mutex mutex_;  // guards rows_
  std::size_t rows_ = 0;
};

// Tells one after another what is resident with more and more of the market loaded.
void MeasureMemory(benchmark::State& state) {
  bench::ServedClient served("2027-06-15 10:30:00", "1");
  state.counters["start_MiB"] = Mebibytes("VmRSS");
  bench::ServedClient::LoadReferenceData();
  Need(GetStockCommon()->GetStockList(1).size() >= kLeastStocks, "the market is too small");
  state.counters["reference_MiB"] = Mebibytes("VmRSS");

  CodesOfBoard board;
  GetStockMarket()->Attach(&board);
  GetStockMarket()->SetTarget(&board, {1, 4, 2, 0, 0xFFFFFFFFU});
  GetStockMarket()->Resume(&board, true);
  Need(Await([&] { return board.Codes().size() >= kLeastStocks; }), "the board does not come");
  state.counters["board_MiB"] = Mebibytes("VmRSS");

  const std::vector<std::wstring> codes = board.Codes();
  for (std::size_t i = 0; stock_host::WatchList().size() < kWatched; ++i) {
    std::string error;
    if (!stock_host::AddToWatchList(codes.at(i), error)) {
      throw std::runtime_error(error);
    }
  }
  RowsOfWatchList list;
  GetOptionalStockMarket()->Attach(&list);
  GetOptionalStockMarket()->SetTarget(&list, {3, 1});
  GetOptionalStockMarket()->Resume(&list, true);
  Need(Await([&] { return list.Rows() == kWatched; }), "the watch list does not come");
  state.counters["watch_list_MiB"] = Mebibytes("VmRSS");

  served.ShowEverything();
  state.counters["everything_MiB"] = Mebibytes("VmRSS");

  for (int again = 0; again < 20; ++again) {
    const std::size_t before = board.Updates();
    GetStockMarket()->Refresh();
    Need(Await([&] { return board.Updates() > before; }), "the board does not come again");
  }
  state.counters["twenty_boards_later_MiB"] = Mebibytes("VmRSS");
  state.counters["peak_MiB"] = Mebibytes("VmHWM");
  GetStockMarket()->Detach(&board);
  GetOptionalStockMarket()->Detach(&list);
}

void MemoryOfAWholeMarket(benchmark::State& state) {
  for ([[maybe_unused]] auto round : state) {
    try {
      MeasureMemory(state);
    } catch (const std::exception& failure) {
      state.SkipWithError(failure.what());
    }
  }
}
BENCHMARK(MemoryOfAWholeMarket)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace
