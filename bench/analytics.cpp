// What the answers of the analytics services cost, from their bytes to a view: a day of events and curves,
// the flows of fifty stocks, margin balances and new shares. The counter "of_parser" is the ratio to the JSON
// parser alone on the same bytes.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "instant_host.h"
#include "parser_ratio.h"

namespace {

constexpr int kMinutes = 241;  // of a session, the auction included
constexpr int kFollowed = 50;
constexpr int kMarginDays = 120;
constexpr int kIssues = 40;

// "HHMM" of minute `index` of the session, as the feed writes it.
int ClockOf(int index) {
  const int minute = index <= 120 ? 9 * 60 + 30 + index : 13 * 60 + (index - 120);
  return minute / 60 * 100 + minute % 60;
}

std::string SymbolOf(int index) {
  return "sh60" + std::to_string(1000 + index);
}

// An answer whose "list" holds `count` rows, the text of each from `row(index)`.
template <class Row>
std::string ListAnswer(int count, Row row) {
  std::string text = R"({"errno":0,"data":{"list":[)";
  for (int index = 0; index < count; ++index) {
    text += (index == 0 ? "" : ",") + row(index);
  }
  return text + "]}}";
}

std::string EventsAnswer(int count) {
  return ListAnswer(count, [](int index) {
    return R"({"time":"09:)" + std::to_string(30 + index % 30) + R"(:15","content":"浦发银行)" +
           SymbolOf(index % 1000) + R"(快速拉升,五分钟涨幅)" + std::to_string(index % 7) + R"(.35%"})";
  });
}

std::string FlowsAnswer(int count) {
  const auto periods = [](std::int64_t amount) {
    return R"({"d1":)" + std::to_string(amount) + R"(,"d5":)" + std::to_string(amount * 5) + R"(,"d10":)" +
           std::to_string(amount * 10) + "}";
  };
  return ListAnswer(count, [&periods](int index) {
    const std::int64_t amount = 123456789LL + index;
    return R"({")" + SymbolOf(index) + R"(":{"mtime":1710468000,"in":{"big":)" + periods(amount) +
           R"(,"small":)" + periods(amount + 1) + R"(},"out":{"big":)" + periods(amount + 2) +
           R"(,"small":)" + periods(amount + 3) + "}}}";
  });
}

std::string StrengthAnswer() {
  return ListAnswer(kMinutes, [](int index) {
    return R"({"min":)" + std::to_string(ClockOf(index)) + R"(,"up":)" + std::to_string(2000 + index) +
           R"(,"down":)" + std::to_string(3000 - index) + "}";
  });
}

std::string EffectAnswer() {
  return ListAnswer(kMinutes, [](int index) {
    return R"({"time":)" + std::to_string(ClockOf(index)) + R"(,"average":0.)" +
           std::to_string(1234 + index) + "}";
  });
}

std::string DistributionAnswer() {
  return R"({"errno":0,"data":{"up":2310,"nochange":120,"down":2890,)"
         R"("list":[12,130,420,980,1348,1300,640,250,80,40]}})";
}

std::string MarginAnswer() {
  const auto side = [](const char* exchange, int index) {
    return R"(")" + std::string(exchange) + R"(":{"date":)" + std::to_string(20240315 - index) +
           R"(,"close":3054.64,"meta":{"bsta":)" + std::to_string(830000000000LL + index) + "}}";
  };
  return ListAnswer(kMarginDays,
                    [&side](int index) { return "{" + side("sh", index) + "," + side("sz", index) + "}"; });
}

std::string PurchaseAnswer() {
  return ListAnswer(kIssues, [](int index) {
    return R"({"code":")" + SymbolOf(index) + R"(","name":"新股份","publish_time":"2024-03-25",)" +
           R"("publish_online_time":"2024-03-15","buy_code":"73)" + std::to_string(1000 + index) +
           R"(","publish_num":4000.5,"publish_online_num":1200,"publish_price":12.34,"pe":22.97,)" +
           R"("buy_limit":1.2,"total_price":4.94,"chance":0.0345})";
  });
}

std::size_t Size(const DistributionItem& item) {
  return item.first_half.size() + item.second_half.size();
}
std::size_t Size(const StockInOutItem& item) {
  return item.d10.small_out == 0 ? 0 : 1;
}
template <class List>
std::size_t Size(const List& list) {
  return list.size();
}

// Looks whether what it is told has as many rows as the answer.
template <class Data>
class View final : public IUpdate1<Data> {
 public:
  explicit View(std::size_t rows) : rows_(rows) {}
  void Update(const Data& data) override {
    told = true;
    right = right && Size(data) == rows_;
  }
  [[nodiscard]] bool Right() const { return told && right; }

 private:
  const std::size_t rows_;
  bool told = false;
  bool right = true;
};

// Answers, asks with `fetch`, and times it when every view was told the right thing.
template <class Views, class Fetch>
void Run(benchmark::State& state, const std::string& answer, const Views& views, Fetch fetch) {
  instant_host::SetAnswer(answer);
  fetch();
  for (const auto& view : views) {
    if (!view->Right()) {
      state.SkipWithError("a view was told something else");
      return;
    }
  }
  bench::AgainstParser(state, answer, fetch);
  state.counters["answer_bytes"] = static_cast<double>(answer.size());
}

// A polled service whose views show the keys.
template <class Data, class Service, class Key>
void Polled(benchmark::State& state, Service* service, const std::vector<Key>& keys, std::size_t rows,
            const std::string& answer) {
  std::vector<std::unique_ptr<View<Data>>> views;
  for (const Key& key : keys) {
    views.push_back(std::make_unique<View<Data>>(rows));
    service->Attach(views.back().get());
    service->SetTarget(views.back().get(), key);
    service->Resume(views.back().get(), false);
  }
  Run(state, answer, views, [service] { service->Refresh(); });
  for (const auto& view : views) {
    service->Detach(view.get());
  }
  DestroyStockMarket();
}

template <class Data, class Service>
void OneShot(benchmark::State& state, Service* service, void (Service::*fetch)(), std::size_t rows,
             const std::string& answer) {
  std::vector<std::unique_ptr<View<Data>>> views;
  views.push_back(std::make_unique<View<Data>>(rows));
  service->Attach(views.front().get());
  Run(state, answer, views, [service, fetch] { (service->*fetch)(); });
  service->Detach(views.front().get());
  DestroyStockMarket();
}

const std::vector<std::uint32_t> kToday = {0};

void EventsOfADay(benchmark::State& state) {
  const auto count = static_cast<int>(state.range(0));
  Polled<std::list<StockUnusualEventItem>>(state, GetStockUnusualEvent(), kToday,
                                           static_cast<std::size_t>(count), EventsAnswer(count));
}
BENCHMARK(EventsOfADay)->Arg(300)->Arg(3000)->UseManualTime();

// All flows come in one answer; so many of the symbols are shown by a view each.
void FlowsOfFiftyStocks(benchmark::State& state) {
  std::vector<std::wstring> symbols;
  for (int index = 0; index < state.range(0); ++index) {
    const std::string symbol = SymbolOf(index);
    symbols.emplace_back(symbol.begin(), symbol.end());
  }
  Polled<StockInOutItem>(state, GetStockInOut(), symbols, 1, FlowsAnswer(kFollowed));
}
BENCHMARK(FlowsOfFiftyStocks)->Arg(1)->Arg(kFollowed)->UseManualTime();

void StrengthOfADay(benchmark::State& state) {
  Polled<std::vector<StrengthRatingItem>>(state, GetStrengthRating(), kToday, kMinutes, StrengthAnswer());
}
BENCHMARK(StrengthOfADay)->UseManualTime();

void DistributionOfADay(benchmark::State& state) {
  Polled<DistributionItem>(state, GetStockDistribution(), kToday, 10, DistributionAnswer());
}
BENCHMARK(DistributionOfADay)->UseManualTime();

void MoneyEffectOfADay(benchmark::State& state) {
  Polled<std::vector<MoneyEffectItem>>(state, GetMoneyEffect(), kToday, kMinutes, EffectAnswer());
}
BENCHMARK(MoneyEffectOfADay)->UseManualTime();

void MarginBalances(benchmark::State& state) {
  OneShot<std::list<MarginTradeItem>>(state, GetMarginTrade(), &IMarginTrade::FetchMarginTradeInfo,
                                      kMarginDays - 1, MarginAnswer());
}
BENCHMARK(MarginBalances)->UseManualTime();

void NewShares(benchmark::State& state) {
  OneShot<std::list<StockPurchaseItem>>(state, GetStockPurchase(), &IStockPurchase::FetchPurchaseInfo,
                                        kIssues, PurchaseAnswer());
}
BENCHMARK(NewShares)->UseManualTime();

}  // namespace
