// How the work on an answer grows with its rows, with the keys that are shown and with the views that show
// one of them, from the bytes of the answer to the last view; and what keeping and telling a whole board
// costs beside copying the bytes of its answer. No network: the answers are there at once.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "frame/polled_subject.h"
#include "instant_host.h"
#include "json/record_reader.h"
#include "parser_ratio.h"
#include "quote_answers.h"
#include "quotes/stock_market_item_table.h"
#include "request/answer.h"
#include "sleeping_threads.h"

namespace {

using Board = std::vector<StockMarketItem>;

constexpr std::size_t kMarket = 5400;
constexpr StockRangeRankingTarget kTarget{1, 4, 2, 0, 0xFFFFFFFFU};

// Heap in use, in bytes.
double HeapInUse() {
  const auto heap = mallinfo2();
  return static_cast<double>(heap.uordblks + heap.hblkhd);
}

class BoardView final : public IUpdate1<Board> {
 public:
  explicit BoardView(std::size_t rows) : rows_(rows) {}
  void Update(const Board& board) override {
    right = board.size() == rows_ && board.back().code == bench::CodeOf(rows_ - 1) &&
            board.back().last.value == bench::LastOf(rows_ - 1, 0);
  }
  bool right = false;

 private:
  const std::size_t rows_;
};

class QuoteView final : public IUpdate1<StockMarketItem> {
 public:
  void Update(const StockMarketItem& quote) override { right = quote.last.value == bench::LastOf(0, 0); }
  bool right = false;
};

// A service whose polling thread has looked at its observers and sleeps: from here on it is this thread that
// fetches.
template <class Service>
Service* AtRest(Service* service) {
  AwaitSleepingThreads();
  return service;
}

template <class Service, class View, class Key>
void Show(Service* service, View& view, const Key& key) {
  service->Attach(&view);
  service->SetTarget(&view, key);
  service->Resume(&view, false);
}

// Times refreshes of `service`, each of which is answered `answers` times with `answer`, and looks whether
// every view was told the right thing. Counters: processor time, also for one of `parts`, bytes of answers,
// and the heap that is held between two of them. `heap` is what was in use before.
template <class Service, class Views>
void TimeRefresh(benchmark::State& state, Service* service, Views& views, const std::string& answer,
                 double answers, double parts, double heap) {
  std::vector<double> worked;
  service->Refresh();
  state.counters["held_bytes"] = HeapInUse() - heap;
  for ([[maybe_unused]] auto round : state) {
    worked.push_back(bench::ProcessorSeconds([service] { service->Refresh(); }));
    state.SetIterationTime(worked.back());
  }
  for (auto& view : views) {
    if (!view.right) {
      state.SkipWithError("a view was told something else");
    }
    service->Detach(&view);
  }
  DestroyStockMarket();
  state.counters["median_us"] = bench::Median(worked) * 1e6;
  state.counters["us_each"] = bench::Median(worked) / parts * 1e6;
  state.counters["answer_bytes"] = static_cast<double>(answer.size()) * answers;
}

// One view on a board of so many rows.
void Rows(benchmark::State& state) {
  const auto rows = static_cast<std::size_t>(state.range(0));
  const std::string answer = bench::BoardAnswer(rows);
  instant_host::SetAnswer(answer);
  IStockMarket* const service = AtRest(GetStockMarket());
  const double heap = HeapInUse();
  std::deque<BoardView> views;
  Show(service, views.emplace_back(rows), kTarget);
  TimeRefresh(state, service, views, answer, 1, static_cast<double>(rows), heap);
}
BENCHMARK(Rows)->Arg(54)->Arg(540)->Arg(5400)->UseManualTime()->Unit(benchmark::kMicrosecond);

// So many stocks, each shown by a view and asked for by itself.
void Keys(benchmark::State& state) {
  const auto keys = static_cast<std::size_t>(state.range(0));
  const std::string answer = bench::WatchListAnswer(1);
  instant_host::SetAnswer(answer);
  ISingleStockMarket* const service = AtRest(GetSingleStockMarket());
  const double heap = HeapInUse();
  std::deque<QuoteView> views;
  for (std::size_t key = 0; key < keys; ++key) {
    Show(service, views.emplace_back(), bench::CodeOf(key));
  }
  const auto count = static_cast<double>(keys);
  TimeRefresh(state, service, views, answer, count, count, heap);
}
BENCHMARK(Keys)->Arg(5)->Arg(50)->Arg(500)->UseManualTime()->Unit(benchmark::kMicrosecond);

// So many views of the same whole board.
void Observers(benchmark::State& state) {
  const auto observers = static_cast<std::size_t>(state.range(0));
  const std::string answer = bench::BoardAnswer(kMarket);
  instant_host::SetAnswer(answer);
  IStockMarket* const service = AtRest(GetStockMarket());
  const double heap = HeapInUse();
  std::deque<BoardView> views;
  for (std::size_t observer = 0; observer < observers; ++observer) {
    Show(service, views.emplace_back(kMarket), kTarget);
  }
  TimeRefresh(state, service, views, answer, 1, static_cast<double>(observers), heap);
}
BENCHMARK(Observers)->Arg(1)->Arg(10)->Arg(100)->UseManualTime()->Unit(benchmark::kMicrosecond);

// A subject with nothing of its own: cache and delivery, as every polled service has them.
class Subject final
    : public frame::PolledSubject<ITimerSubject<IUpdate1<Board>, StockRangeRankingTarget, Board>> {
 public:
  bool Deliver(const Board& board) {
    return Tell(kTarget, stamps_.Next(), {}, [&] { return std::make_shared<const Board>(board); });
  }

 private:
  frame::Stamps stamps_;
};

void KeepAndTellBoard(benchmark::State& state) {
  const std::string answer = bench::BoardAnswer(kMarket);
  const auto checked =
      request::CheckAnswer(request::Fetch::kStockQuotes, {true, answer.data(), answer.size()});
  const Board board = request::RecordReader<quotes::kBoardTable>::ReadAll(checked.DataArray());
  BoardView view(kMarket);
  Subject subject;
  Show(&subject, view, kTarget);
  std::string copy(answer.size(), '\0');
  std::vector<double> copied;
  std::vector<double> delivered;
  for ([[maybe_unused]] auto round : state) {
    copied.push_back(bench::ProcessorSeconds([&] {
      std::memcpy(copy.data(), answer.data(), answer.size());
      benchmark::DoNotOptimize(copy.data());
      benchmark::ClobberMemory();
    }));
    delivered.push_back(bench::ProcessorSeconds([&] { benchmark::DoNotOptimize(subject.Deliver(board)); }));
    state.SetIterationTime(delivered.back());
  }
  subject.Detach(&view);
  if (!view.right) {
    state.SkipWithError("the view did not get the board");
  }
  state.counters["of_memcpy"] = bench::Median(delivered) / bench::Median(copied);
  state.counters["memcpy_us"] = bench::Median(copied) * 1e6;
}
BENCHMARK(KeepAndTellBoard)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
