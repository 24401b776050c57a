// Whole services, from the bytes of an answer to a view: the first byte chooses the service, the rest is the
// answer. No input crashes, leaks or is undefined behaviour, and the view is told exactly when and how much
// the answer says.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <list>
#include <string>
#include <string_view>
#include <vector>

#include "c_stock_market.h"
#include "instant_host.h"
#include "json/json.h"

namespace {

using request::json::Array;
using request::json::Object;
using request::json::Value;

constexpr const wchar_t* kSymbol = L"sh600000";
constexpr int kRows = 10;

// Whether the present input has led to what it should.
bool right = true;

void Require(bool condition) {
  right = right && condition;
}

// What a service has to make of an answer.
struct Expected {
  bool accepted = false;
  Object root;
  [[nodiscard]] Object Data() const { return root.ObjectAt("data"); }
  [[nodiscard]] Array Rows() const { return root.ArrayAt("data"); }
  [[nodiscard]] Array List() const { return Data().ArrayAt("list"); }
};

template <class Data>
class View final : public IUpdate1<Data> {
 public:
  void Update(const Data& data) override {
    ++told;
    last = data;
  }
  std::size_t told = 0;
  Data last{};
};

// One fetch of a polled service with one view, which is shown meanwhile only.
template <class Data, class Service, class Key>
View<Data> Fetched(Service* service, const Key& key) {
  View<Data> view;
  service->Attach(&view);
  view = {};  // some services hand out the last data at once
  service->SetTarget(&view, key);
  service->Resume(&view, false);
  service->Refresh();
  service->Detach(&view);
  return view;
}

template <class Data, class Service, class Key>
void CheckList(Service* service, const Key& key, const Expected& expected, const Array& rows) {
  const View<Data> view = Fetched<Data>(service, key);
  Require(view.told == (expected.accepted ? 1 : 0));
  Require(!expected.accepted || view.last.size() == rows.Size());
}

using Board = std::vector<StockMarketItem>;
using Ranks = std::vector<StockMarketSummary>;

void CheckIndices(const Expected& expected) {
  CheckList<std::vector<IndexMarketSummary>>(GetIndexMarket(), L"", expected, expected.List());
}
void CheckStocks(const Expected& expected) {
  CheckList<Board>(GetStockMarket(), StockRangeRankingTarget{1, 4, 2, 0, 49}, expected, expected.Rows());
}
void CheckPlates(const Expected& expected) {
  CheckList<Board>(GetPlateMarket(), PlateRangeRankingTarget{1, 4, 2, 0, 49}, expected, expected.Rows());
}
void CheckWatchList(const Expected& expected) {
  CheckList<std::vector<OptionalMarketItem>>(GetOptionalStockMarket(), SortingTarget{3, 1}, expected,
                                             expected.List());
}
void CheckPlateRanking(const Expected& expected) {
  CheckList<std::vector<PlateMarketSummary>>(GetPlateRanking(1, false), RankingTarget{4, 2, kRows}, expected,
                                             expected.Rows());
}
void CheckStrength(const Expected& expected) {
  CheckList<std::vector<StrengthRatingItem>>(GetStrengthRating(), 0U, expected, expected.List());
}
void CheckMoneyEffect(const Expected& expected) {
  CheckList<std::vector<MoneyEffectItem>>(GetMoneyEffect(), 0U, expected, expected.List());
}

void CheckStockRanking(const Expected& expected) {
  const auto view = Fetched<Ranks>(GetStockRanking(1, false, false), RankingTarget{4, 2, kRows});
  Require(view.told == (expected.accepted ? 1 : 0));
  Require(!expected.accepted || view.last.size() == std::min<std::size_t>(expected.Rows().Size(), kRows));
}

void CheckSingle(const Expected& expected) {
  const auto view = Fetched<StockMarketItem>(GetSingleStockMarket(), kSymbol);
  Require(view.told == (expected.accepted && expected.List().Size() > 0 ? 1 : 0));
  Require(view.told == 0 || (view.last.code == kSymbol && view.last.bid_prices.size() == 5));
}

void CheckPlateStocks(const Expected& expected) {
  const auto view =
      Fetched<PlateStockMarketData>(GetPlateStockMarket(), PlateStockRankingTarget{L"bk0001", 4, 2, 0, 49});
  Require(view.told == (expected.accepted ? 1 : 0));
  Require(!expected.accepted || (view.last.stocks.size() == expected.Rows().Size() &&
                                 view.last.total_num == expected.root.Member("total_num").Integer()));
}

void CheckMinuteLine(const Expected& expected) {
  const auto view = Fetched<StockMLineData>(GetStockMLine(), kSymbol);
  const Value entry = expected.Data().Member("sh600000");
  Require(view.told == (expected.accepted && !entry.IsUndefined() ? 1 : 0));
  if (view.told == 1) {
    Require(view.last.days.size() == (entry.IsArray() ? entry.AsArray().Size() : 1));
  }
}

// The answer to the history query is the same text.
void CheckKLine(const Expected& expected) {
  const auto view = Fetched<StockKLineData>(GetStockKLine(), kSymbol);
  Require(view.told == (expected.accepted ? 1 : 0));
  Require(view.last.candles.size() <=
          expected.Data().ObjectAt("foo").ArrayAt("list").Size() + (expected.accepted ? 1 : 0));
}

void CheckEvents(const Expected& expected) {
  const auto view = Fetched<std::list<StockUnusualEventItem>>(GetStockUnusualEvent(), 0U);
  Require(view.told == 1);
  Require(view.last.size() == (expected.accepted ? expected.List().Size() : 0));
  for (const StockUnusualEventItem& event : view.last) {
    Require(event.symbol == L"SH000001");
  }
}

void CheckFlows(const Expected& expected) {
  const auto view = Fetched<StockInOutItem>(GetStockInOut(), kSymbol);
  std::size_t of_symbol = 0;
  if (expected.accepted) {
    expected.List().ForEach([&of_symbol](const Value& element) {
      std::wstring first;
      bool any = false;
      element.AsObject().ForEach([&](std::string_view key, const Value& /*flows*/) {
        if (!any) {
          first = request::json::WideKey(key);
        }
        any = true;
      });
      of_symbol += first == kSymbol ? 1U : 0U;
    });
  }
  Require(view.told == of_symbol);
  Require(view.told == 0 || view.last.symbol == kSymbol);
}

void CheckDistribution(const Expected& expected) {
  const auto view = Fetched<DistributionItem>(GetStockDistribution(), 0U);
  Require(view.told == (expected.accepted ? 1 : 0));
  if (expected.accepted) {
    const std::size_t rows = expected.List().Size();
    Require(view.last.first_half.size() == rows / 2 && view.last.second_half.size() == rows - rows / 2);
  }
}

template <class Data, class Service>
View<Data> FetchedOnce(Service* service, void (Service::*fetch)()) {
  View<Data> view;
  service->Attach(&view);
  (service->*fetch)();
  service->Detach(&view);
  return view;
}

void CheckMargin(const Expected& expected) {
  const auto view =
      FetchedOnce<std::list<MarginTradeItem>>(GetMarginTrade(), &IMarginTrade::FetchMarginTradeInfo);
  const std::size_t days = expected.List().Size();
  Require(view.told == (expected.accepted ? 1 : 0));
  Require(view.last.size() == (expected.accepted && days > 0 ? days - 1 : 0));
}

void CheckPurchase(const Expected& expected) {
  const auto view =
      FetchedOnce<std::list<StockPurchaseItem>>(GetStockPurchase(), &IStockPurchase::FetchPurchaseInfo);
  Require(view.told == (expected.accepted ? 1 : 0));
  Require(view.last.size() == (expected.accepted ? expected.List().Size() : 0));
}

void CheckItems(const Expected& expected) {
  std::size_t calls = 0;
  std::size_t rows = 0;
  GetStockMarket()->FetchStockItems(4, 2, 1, [&](const CodeNameList& list) {
    ++calls;
    rows = list.size();
  });
  Require(calls == (expected.accepted ? 1 : 0));
  Require(rows == (expected.accepted ? expected.Rows().Size() : 0));
}

constexpr std::array kServices = {
    &CheckIndices,     &CheckStocks,       &CheckSingle,       &CheckWatchList,    &CheckPlates,
    &CheckPlateStocks, &CheckStockRanking, &CheckPlateRanking, &CheckMinuteLine,   &CheckKLine,
    &CheckEvents,      &CheckFlows,        &CheckStrength,     &CheckDistribution, &CheckMoneyEffect,
    &CheckMargin,      &CheckPurchase,     &CheckItems};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) {
    return 0;
  }
  static const bool prepared = [] {
    instant_host::SetWatchList({kSymbol});
    instant_host::HoldOtherThreads();
    return true;
  }();
  static_cast<void>(prepared);
  const std::string answer(reinterpret_cast<const char*>(data) + 1, size - 1);
  instant_host::SetAnswer(answer);
  // By the plain parser: what the answer is, is not for the module to say.
  const auto document = request::json::Document::ParseByQt(answer.data(), answer.size());
  const Expected expected{
      !answer.empty() && document.Error() == 0 && document.Root().Member("errno").Integer() == 0,
      document.Root()};
  const int held = instant_host::HeldThreads();
  right = true;
  kServices[static_cast<std::uint8_t>(data[0] - 'A') % kServices.size()](expected);
  // A polling thread that asked meanwhile, which each does once at most, may have made this answer an old
  // one.
  if (!right && held == instant_host::HeldThreads()) {
    std::abort();
  }
  return 0;
}
