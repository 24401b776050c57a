// What the quotes of a whole market cost, from the bytes of an answer to the views: a board of 5,400 stocks,
// and a watch list of 500 that ten views want in ten orders. Counters: "of_parser" is the ratio to the JSON
// parser alone on the same bytes.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "frame/polled_subject.h"
#include "host/clock.h"
#include "instant_host.h"
#include "json/record_reader.h"
#include "parser_ratio.h"
#include "quote_answers.h"
#include "quotes/directions.h"
#include "quotes/presence.h"
#include "quotes/stock_market_item_table.h"
#include "quotes/watch_list_order.h"
#include "request/answer.h"
#include "request/code_index.h"
#include "simdjson_board.h"

namespace {

// What operator new handed out to this thread so far; the services' own threads are not counted.
thread_local std::int64_t allocated_bytes = 0;
thread_local std::int64_t allocations = 0;

void* Allocate(std::size_t size) {
  allocated_bytes += static_cast<std::int64_t>(size);
  ++allocations;
  if (void* const memory = std::malloc(size == 0 ? 1 : size)) {
    return memory;
  }
  throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
  return Allocate(size);
}
void* operator new[](std::size_t size) {
  return Allocate(size);
}
void operator delete(void* memory) noexcept {
  std::free(memory);
}
void operator delete[](void* memory) noexcept {
  std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}
void operator delete[](void* memory, std::size_t /*size*/) noexcept {
  std::free(memory);
}

namespace {

using Board = std::vector<StockMarketItem>;
using WatchList = std::vector<OptionalMarketItem>;
using BoardReader = request::RecordReader<quotes::kBoardTable>;

constexpr std::size_t kMarket = 5400;
constexpr std::size_t kWatched = 500;
constexpr StockRangeRankingTarget kTarget{1, 4, 2, 0, 0xFFFFFFFFU};

Board Decode(const std::string& answer) {
  const auto checked =
      request::CheckAnswer(request::Fetch::kStockQuotes, {true, answer.data(), answer.size()});
  return BoardReader::ReadAll(checked.DataArray());
}

bool HoldsTick(const Board& board, std::size_t rows, int tick) {
  return board.size() == rows && board.front().code == bench::CodeOf(0) &&
         board.front().last.value == bench::LastOf(0, tick) && board.back().code == bench::CodeOf(rows - 1) &&
         board.back().last.value == bench::LastOf(rows - 1, tick) && board.back().bid_prices.size() == 5 &&
         board.back().ask_volumes[4].present;
}

// Counts what it is told and looks whether it is the board of the answer.
class BoardView final : public IUpdate1<Board> {
 public:
  explicit BoardView(std::size_t rows) : rows_(rows) {}
  void Update(const Board& board) override {
    ++updates;
    right = right && (HoldsTick(board, rows_, 0) || HoldsTick(board, rows_, 1));
  }
  std::atomic<int> updates{0};
  std::atomic<bool> right{true};

 private:
  const std::size_t rows_;
};

// One view on the board service, which ends with it.
class ShownBoard {
 public:
  explicit ShownBoard(std::size_t rows) : view(rows) {
    service_->Attach(&view);
    service_->SetTarget(&view, kTarget);
    service_->Resume(&view, false);
  }
  ShownBoard(const ShownBoard&) = delete;
  ShownBoard& operator=(const ShownBoard&) = delete;
  ~ShownBoard() {
    service_->Detach(&view);
    DestroyStockMarket();
  }

  void Refresh() { service_->Refresh(); }
  [[nodiscard]] bool Right() const { return view.updates > 0 && view.right; }

  BoardView view;

 private:
  IStockMarket* const service_ = GetStockMarket();
};

void ParseBoardAlone(benchmark::State& state) {
  const std::string answer = bench::BoardAnswer(kMarket);
  for ([[maybe_unused]] auto round : state) {
    bench::ParseAlone(answer);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(answer.size()));
  state.counters["answer_bytes"] = static_cast<double>(answer.size());
}
BENCHMARK(ParseBoardAlone)->Unit(benchmark::kMillisecond);

// What a board is held against: simdjson, which fills the same rows, and Qt's parser alone.
class BoardPeers {
 public:
  explicit BoardPeers(const std::string& answer) : answer_(answer), padded_(answer) {}

  [[nodiscard]] Board BySimdjson() { return bench::BoardBySimdjson(parser_, padded_, kMarket); }

  std::vector<bench::Peer> All() {
    return {{"of_simdjson", [this] { benchmark::DoNotOptimize(BySimdjson()); }},
            {"of_parser", [this] { bench::ParseAlone(answer_); }}};
  }

 private:
  const std::string& answer_;
  const simdjson::padded_string padded_;
  simdjson::ondemand::parser parser_;
};

void DecodeBoard(benchmark::State& state) {
  const std::string answer = bench::BoardAnswer(kMarket);
  BoardPeers peers(answer);
  const Board board = Decode(answer);
  if (!HoldsTick(board, kMarket, 0) || board != peers.BySimdjson()) {
    state.SkipWithError("the answer decodes to something else");
    return;
  }
  bench::AgainstPeers(
      state, [&answer] { benchmark::DoNotOptimize(Decode(answer)); }, peers.All());
}
BENCHMARK(DecodeBoard)->UseManualTime()->Unit(benchmark::kMillisecond);

void CompareBoards(benchmark::State& state) {
  const std::string answer = bench::BoardAnswer(kMarket, 1);
  const Board earlier = Decode(bench::BoardAnswer(kMarket, 0));
  Board now = Decode(answer);
  // Taken while the rows are read, as the board service does it.
  const auto hashes = request::HashesOfCodes(now);
  const auto earlier_hashes = request::HashesOfCodes(earlier);
  bench::AgainstParser(state, answer, [&] { quotes::SetDirections(now, hashes, earlier, earlier_hashes); });
  for (const StockMarketItem& item : now) {
    if (item.last.direction != 1 || item.change.direction != 0) {
      state.SkipWithError("a direction is wrong");
    }
  }
}
BENCHMARK(CompareBoards)->UseManualTime()->Unit(benchmark::kMillisecond);

// A subject with nothing of its own: cache and delivery, as the board service has them.
class Subject final
    : public frame::PolledSubject<ITimerSubject<IUpdate1<Board>, StockRangeRankingTarget, Board>> {
 public:
  bool Deliver(const std::shared_ptr<const Board>& board) {
    return Tell(kTarget, stamps_.Next(), {}, [&] { return board; });
  }

 private:
  frame::Stamps stamps_;
};

void FixAndDeliverBoard(benchmark::State& state) {
  const std::string answer = bench::BoardAnswer(kMarket);
  std::shared_ptr<Board> board;
  std::shared_ptr<Board> earlier;  // its end is not counted: the service fills it again
  BoardView view(kMarket);
  Subject subject;
  subject.Attach(&view);
  subject.SetTarget(&view, kTarget);
  subject.Resume(&view, false);
  const auto decode = [&] {
    earlier = board;
    board = std::make_shared<Board>(Decode(answer));
  };
  bench::AgainstParserPrepared(state, answer, decode, [&] {
    for (StockMarketItem& item : *board) {
      quotes::HideZeros(item);
      quotes::HideBeforeOpening(
          item, stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime())));
    }
    benchmark::DoNotOptimize(subject.Deliver(board));
  });
  if (view.updates == 0 || !view.right) {
    state.SkipWithError("the view did not get the board");
  }
  subject.Detach(&view);
}
BENCHMARK(FixAndDeliverBoard)->UseManualTime()->Unit(benchmark::kMillisecond);

void BoardToView(benchmark::State& state) {
  const std::string answer = bench::BoardAnswer(kMarket);
  instant_host::SetAnswer(answer);
  ShownBoard shown(kMarket);
  // From the third answer on a board takes the place of one that nobody reads any more.
  shown.Refresh();
  shown.Refresh();
  const std::int64_t bytes_before = allocated_bytes;
  const std::int64_t allocations_before = allocations;
  shown.Refresh();
  const auto per_row = [](std::int64_t now, std::int64_t before) {
    return static_cast<double>(now - before) / static_cast<double>(kMarket);
  };
  state.counters["bytes_a_row"] = per_row(allocated_bytes, bytes_before);
  state.counters["allocations_a_row"] = per_row(allocations, allocations_before);
  BoardPeers peers(answer);
  bench::AgainstPeers(
      state, [&shown] { shown.Refresh(); }, peers.All());
  if (!shown.Right()) {
    state.SkipWithError("the view did not get the board");
  }
}
BENCHMARK(BoardToView)->UseManualTime()->Unit(benchmark::kMillisecond);

// Ten times the rows must not cost much more than ten times as much.
void TenTimesTheRowsToView(benchmark::State& state) {
  const std::string few = bench::BoardAnswer(kMarket / 10);
  const std::string all = bench::BoardAnswer(kMarket);
  std::vector<double> ratios;
  const auto time = [&state](const std::string& answer, std::size_t rows, int times) {
    instant_host::SetAnswer(answer);
    ShownBoard shown(rows);
    for (int warm = 0; warm < 3; ++warm) {
      shown.Refresh();
    }
    const double seconds = bench::ProcessorSeconds([&shown, times] {
      for (int again = 0; again < times; ++again) {
        shown.Refresh();
      }
    });
    if (!shown.Right()) {
      state.SkipWithError("the view did not get the board");
    }
    return seconds / times;
  };
  for ([[maybe_unused]] auto round : state) {
    const double seconds = time(all, kMarket, 3);
    ratios.push_back(seconds / time(few, kMarket / 10, 30));
    state.SetIterationTime(seconds);
  }
  state.counters["of_a_tenth"] = bench::Median(ratios);
}
BENCHMARK(TenTimesTheRowsToView)->UseManualTime()->Unit(benchmark::kMillisecond);

double ResidentMebibytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) {
      return std::stod(line.substr(6)) / 1024;
    }
  }
  return 0;
}

void HundredBoardsInMemory(benchmark::State& state) {
  const std::array<std::string, 2> answers{bench::BoardAnswer(kMarket, 0), bench::BoardAnswer(kMarket, 1)};
  for ([[maybe_unused]] auto round : state) {
    malloc_trim(0);  // what earlier benchmarks left behind is not for these boards to use
    const double start = ResidentMebibytes();
    instant_host::SetAnswer(answers[0]);  // the polling thread may ask at once
    ShownBoard shown(kMarket);
    for (std::size_t board = 0; board < 100; ++board) {
      instant_host::SetAnswer(answers.at(board % 2));
      shown.Refresh();
    }
    state.counters["grown_MiB"] = ResidentMebibytes() - start;
    if (!shown.Right() || shown.view.updates < 100) {
      state.SkipWithError("the view did not get the boards");
    }
  }
}
BENCHMARK(HundredBoardsInMemory)->Iterations(1)->Unit(benchmark::kMillisecond);

// --- The watch list ---

constexpr std::array<SortingTarget, 10> kOrders{
    {{1, 1}, {2, 2}, {3, 1}, {4, 2}, {9, 2}, {10, 1}, {11, 1}, {17, 1}, {19, 2}, {24, 1}}};

class WatchListView final : public IUpdate1<WatchList> {
 public:
  void Update(const WatchList& list) override {
    ++updates;
    right = right && list.size() == kWatched;
    ascends = true;
    for (std::size_t row = 1; row < list.size(); ++row) {
      ascends = ascends && list[row].code > list[row - 1].code;
    }
  }
  std::atomic<int> updates{0};
  std::atomic<bool> right{true};
  std::atomic<bool> ascends{true};
};

// A whole answer with ten views in ten orders, less one with ten views in the order of the list, by ten.
void OrderWatchListForTenViews(benchmark::State& state) {
  const std::string answer = bench::WatchListAnswer(kWatched);
  instant_host::SetAnswer(answer);
  std::vector<std::wstring> codes;
  for (std::size_t row = kWatched; row-- > 0;) {
    codes.push_back(bench::CodeOf(row));
  }
  instant_host::SetWatchList(codes);
  IOptionalStockMarket* const service = GetOptionalStockMarket();
  std::array<WatchListView, kOrders.size()> views;
  std::vector<double> parser;
  std::vector<double> of_orders;
  for (WatchListView& view : views) {
    service->Attach(&view);
    service->Resume(&view, false);
  }
  // The third answer in the same orders: the first makes room for the copies, the second lets those go that
  // nobody shows.
  const auto second_answer = [service, &views](bool ordered) {
    for (std::size_t view = 0; view < views.size(); ++view) {
      service->SetTarget(&views.at(view), ordered ? kOrders.at(view) : SortingTarget{0, 0});
    }
    service->Refresh();
    service->Refresh();
    return bench::ProcessorSeconds([service] { service->Refresh(); });
  };
  for ([[maybe_unused]] auto round : state) {
    parser.push_back(bench::ProcessorSeconds([&answer] { bench::ParseAlone(answer); }));
    const double plain = second_answer(false);
    const double ordered = second_answer(true);
    of_orders.push_back(ordered - plain);
    state.SetIterationTime(ordered);
  }
  for (WatchListView& view : views) {
    service->Detach(&view);
  }
  DestroyStockMarket();
  for (const WatchListView& view : views) {
    if (view.updates == 0 || !view.right) {
      state.SkipWithError("a view did not get the list");
      return;
    }
  }
  if (!views[0].ascends || views[3].ascends) {
    state.SkipWithError("a view did not get its order");
    return;
  }
  const double order = bench::Median(of_orders) / static_cast<double>(views.size());
  state.counters["order_of_parser"] = order / bench::Median(parser);
}
BENCHMARK(OrderWatchListForTenViews)->UseManualTime()->Unit(benchmark::kMillisecond);

// One order after the other, alone.
void OrderWatchList(benchmark::State& state) {
  const SortingTarget target = kOrders.at(static_cast<std::size_t>(state.range(0)));
  const std::string answer = bench::WatchListAnswer(kWatched);
  const auto checked =
      request::CheckAnswer(request::Fetch::kOptionalStocks, {true, answer.data(), answer.size()});
  WatchList list(checked.DataList().Size());
  auto item = list.begin();
  checked.DataList().ForEach([&item](const request::json::Value& element) {
    request::RecordReader<quotes::kWatchListTable>::Fill(*item++, element.AsObject());
  });
  WatchList sorted;
  quotes::OrderInto(sorted, list, target);
  if (sorted.size() != kWatched || (target == SortingTarget{1, 1} && sorted != list)) {
    state.SkipWithError("the order is wrong");
    return;
  }
  bench::AgainstParser(state, answer, [&] { quotes::OrderInto(sorted, list, target); });
  state.SetLabel("column " + std::to_string(target.sort_key));
}
BENCHMARK(OrderWatchList)->DenseRange(0, kOrders.size() - 1)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
