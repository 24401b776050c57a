// Quotes and rankings from the simulated market to the views: every figure that is told is the market's own.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "expected_quotes.h"
#include "live_market.h"
#include "recording_observer.h"

namespace {

namespace model = market_server::model;
using Board = std::vector<StockMarketItem>;
using WatchList = std::vector<OptionalMarketItem>;
using Rows = std::vector<const model::Quote*>;

constexpr std::uint64_t kSeed = 20240315;
constexpr std::size_t kStocks = 400;
constexpr model::Date kDay = 20240315;
constexpr std::uint32_t kToTheEnd = 0xFFFFFFFFU;
constexpr std::uint32_t kByCode = 1;
constexpr std::uint32_t kByChange = 4;
constexpr std::uint32_t kAscending = 1;
constexpr std::uint32_t kDescending = 2;

// The market that the server simulates, without the server.
const model::Market& TheMarket() {
  static const auto& market = *new model::Market({.seed = kSeed, .scenario_date = kDay, .stocks = kStocks});
  return market;
}

// The rows ordered by a figure; equal ones stay in the order of their codes.
Rows OrderedBy(Rows rows, bool ascending, const std::function<double(const model::Quote&)>& figure) {
  std::stable_sort(rows.begin(), rows.end(), [&](const model::Quote* a, const model::Quote* b) {
    return ascending ? figure(*a) < figure(*b) : figure(*b) < figure(*a);
  });
  return rows;
}

double ChangeOf(const model::Quote& quote) {
  return quote.change;
}

template <class Make>
auto Each(const Rows& rows, Make make) {
  std::vector<decltype(make(*rows.front()))> made;
  for (const model::Quote* row : rows) made.push_back(make(*row));
  return made;
}

// A view with a key on a service; it leaves the service when it goes.
template <class Service, class Data>
class View {
 public:
  template <class Key>
  View(Service* service, const Key& key) : service_(service) {
    service_->Attach(&observer_);
    service_->SetTarget(&observer_, key);
    service_->Resume(&observer_, true);
  }
  View(const View&) = delete;
  View& operator=(const View&) = delete;
  ~View() { service_->Detach(&observer_); }

  /// Waits for the first record.
  [[nodiscard]] Data First() {
    observer_.Await(1);
    return Count() == 0 ? Data{} : observer_.Updates().front();
  }
  [[nodiscard]] Data Last() const { return observer_.Last(); }
  [[nodiscard]] std::size_t Count() const { return observer_.Count(); }
  RecordingObserver<Data>& observer() { return observer_; }

 private:
  Service* const service_;
  RecordingObserver<Data> observer_;
};

using BoardView = View<IStockMarket, Board>;
using SingleView = View<ISingleStockMarket, StockMarketItem>;
using WatchListView = View<IOptionalStockMarket, WatchList>;
using PlateView = View<IPlateMarket, Board>;
using PlateStocksView = View<IPlateStockMarket, PlateStockMarketData>;

// What comes by a call-back, which may outlive the test's wait for it.
template <class Data>
using Received = std::shared_ptr<RecordingObserver<Data>>;

template <class Data>
Received<Data> Receiver() {
  return std::make_shared<RecordingObserver<Data>>();
}

class QuotesTest : public LiveMarketTest {
 protected:
  QuotesTest() {
    options_.seed = kSeed;
    options_.stocks = kStocks;
    options_.speed = 0;
  }

  // The clock stands still at that time of the day.
  void StartAt(int hour, int minute, int second = 0) {
    now_ = model::InstantOf(kDay, hour, minute, second);
    options_.clock = ClockText();
    StartAll();
    Ask(L"/pc/rt/stock_version", {});  // brings the server's clock
    board_ = TheMarket().BoardAt(now_);
  }

  void MoveTo(model::Instant instant) {
    now_ = instant;
    server_->SetClock(ClockText());
    board_ = TheMarket().BoardAt(now_);
  }

  Rows Stocks(const std::function<bool(const model::Quote&)>& chosen = {}) const {
    return Pointers(board_->stocks, chosen);
  }
  Rows Plates(int kind) const {
    return Pointers(board_->plates,
                    [kind](const model::Quote& quote) { return quote.security->plate_kind == kind; });
  }

  model::Quote QuoteOf(const std::string& code) const {
    return TheMarket().QuoteOf(*TheMarket().Find(code), now_);
  }

  // The first stock, by code, of which this is true.
  const model::Quote& FirstStock(const std::function<bool(const model::Quote&)>& chosen) const {
    const Rows rows = Stocks(chosen);
    if (rows.empty()) throw std::runtime_error("the simulated market has no such stock");
    return *rows.front();
  }

  model::Instant now_ = 0;
  std::shared_ptr<const model::BoardQuotes> board_;

 private:
  [[nodiscard]] std::string ClockText() const {
    return "@" + std::to_string(static_cast<std::int64_t>(now_));
  }

  static Rows Pointers(const std::vector<model::Quote>& quotes,
                       const std::function<bool(const model::Quote&)>& chosen) {
    Rows rows;
    for (const model::Quote& quote : quotes) {
      if (!chosen || chosen(quote)) rows.push_back(&quote);
    }
    return rows;
  }
};

// --- Boards ---

TEST_F(QuotesTest, tellTheWholeBoardByChange) {
  StartAt(10, 30);
  BoardView view(GetStockMarket(), StockRangeRankingTarget{1, kByChange, kDescending, 0, kToTheEnd});
  EXPECT_EQ(view.First(), Each(OrderedBy(Stocks(), false, ChangeOf), expected::TradedRow));
  EXPECT_GE(view.First().size(), 200U);
}

TEST_F(QuotesTest, tellAPageOfEveryBoard) {
  StartAt(14, 59, 30);
  const std::vector<std::pair<std::uint32_t, std::function<bool(const model::Quote&)>>> boards{
      {2, [](const model::Quote& q) { return q.security->code.starts_with("sh"); }},
      {3, [](const model::Quote& q) { return q.security->code.starts_with("sz"); }},
      {4, [](const model::Quote& q) { return q.security->board == model::Board::kGrowth; }},
      {5, [](const model::Quote& q) { return q.security->board == model::Board::kSme; }}};
  for (const auto& [board, chosen] : boards) {
    Rows rows = OrderedBy(Stocks(chosen), true, [](const model::Quote& q) { return q.last; });
    ASSERT_GT(rows.size(), 8U) << "board " << board;
    rows = Rows(rows.begin() + 3, rows.begin() + 8);
    BoardView view(GetStockMarket(), StockRangeRankingTarget{board, 3, kAscending, 3, 8});
    EXPECT_EQ(view.First(), Each(rows, expected::TradedRow)) << "board " << board;
  }
}

// --- One security ---

TEST_F(QuotesTest, tellAStockWithBookLimitsAndAverage) {
  StartAt(10, 30);
  const model::Quote quote = FirstStock([](const model::Quote& q) {
    return q.status == model::Status::kTrading && q.vol > 0 && q.bids[4].price > 0 && q.asks[4].price > 0;
  });
  StockMarketItem row = expected::StockRow(quote);
  row.symbol_type = stock::kSymbolStock;
  SingleView view(GetSingleStockMarket(), row.code);
  StockMarketItem item = view.First();
  EXPECT_NEAR(item.limit_up.value, std::floor(quote.preclose * 110 + 0.5001) / 100, 2e-8);
  EXPECT_NEAR(item.limit_down.value, std::floor(quote.preclose * 90 + 0.5001) / 100, 2e-8);
  EXPECT_DOUBLE_EQ(item.avg_price.value, quote.amt / static_cast<double>(quote.vol));
  EXPECT_GE(item.avg_price.value, quote.low - 0.01);
  EXPECT_LE(item.avg_price.value, quote.high + 0.01);
  EXPECT_TRUE(item.limit_up.present && item.limit_down.present && item.avg_price.present);
  item.limit_up = item.limit_down = item.avg_price = {};
  EXPECT_EQ(item, row);
}

TEST_F(QuotesTest, tellAnIndexWithItsMembers) {
  StartAt(10, 30);
  StockMarketItem row = expected::IndexRow(QuoteOf("sh000001"));
  row.symbol_type = stock::kSymbolIndex;
  SingleView view(GetSingleStockMarket(), std::wstring(L"sh000001"));
  EXPECT_EQ(view.First(), row);
  EXPECT_GT(row.num_u.value + row.num_z.value + row.num_d.value, 0);
}

// --- The watch list ---

class WatchListTest : public QuotesTest {
 protected:
  static void Add(const std::string& code) {
    std::string error;
    ASSERT_TRUE(stock_host::AddToWatchList(expected::Wide(code), error)) << error;
  }

  // Asks until the view has a list: the host tells the service the watch list on a thread of its own, some
  // time after the service is made.
  static void AwaitList(WatchListView& view) {
    EXPECT_TRUE(AwaitTrue([&view] {
      GetOptionalStockMarket()->Refresh();
      return view.Count() > 0;
    }));
  }

  // The watched stock as it is told, without directions.
  [[nodiscard]] OptionalMarketItem Watched(const std::string& code) const {
    OptionalMarketItem item;
    const model::Quote quote = QuoteOf(code);
    const bool is_stock = quote.security->kind == model::Kind::kStock;
    static_cast<StockMarketItem&>(item) = is_stock ? expected::StockRow(quote) : expected::IndexRow(quote);
    item.symbol_type = is_stock ? stock::kSymbolStock : stock::kSymbolIndex;
    return item;
  }
};

TEST_F(WatchListTest, isToldInTheUsersOrderAndInEveryViewsOwn) {
  StartAt(10, 30);
  std::vector<std::string> codes{"sh000001"};
  const Rows stocks = Stocks();
  for (const std::size_t place : {90U, 7U, 200U, 31U}) codes.push_back(stocks.at(place)->security->code);
  for (const std::string& code : codes) Add(code);
  WatchList rows;
  for (const std::string& code : codes) rows.push_back(Watched(code));
  WatchListView given(GetOptionalStockMarket(), SortingTarget{});
  WatchListView falling(GetOptionalStockMarket(), SortingTarget{kByChange, kDescending});
  AwaitList(given);
  AwaitList(falling);
  EXPECT_EQ(given.Last(), rows);
  std::stable_sort(rows.begin(), rows.end(),
                   [](const auto& a, const auto& b) { return a.change.value > b.change.value + 0.001; });
  EXPECT_EQ(falling.Last(), rows);
}

TEST_F(WatchListTest, namesThePlateOfEachStock) {
  StartAt(10, 30);
  const std::string code = Stocks().at(11)->security->code;
  Add(code);
  Add("sh000001");
  const auto loaded = Receiver<bool>();
  GetStockCommon()->Init([loaded](bool ok) { loaded->Update(ok); });
  ASSERT_TRUE(loaded->Await(1));
  ASSERT_TRUE(loaded->Last());
  WatchListView view(GetOptionalStockMarket(), SortingTarget{});
  AwaitList(view);
  const auto plates = TheMarket().PlatesOf(*TheMarket().Find(code), 1);
  ASSERT_FALSE(plates.empty());
  EXPECT_EQ(view.Last()[0].plate, expected::Wide(plates.front()->name));
  EXPECT_EQ(view.Last()[1].plate, L"");
}

// --- Plates ---

TEST_F(QuotesTest, tellPlatesOfBothKinds) {
  StartAt(13, 30);
  for (const auto& [type, kind] : {std::pair{1U, 1}, {2U, 3}}) {
    PlateView view(GetPlateMarket(), PlateRangeRankingTarget{type, kByChange, kAscending, 0, kToTheEnd});
    const Rows rows = OrderedBy(Plates(kind), true, ChangeOf);
    ASSERT_FALSE(rows.empty());
    EXPECT_EQ(view.First(), Each(rows, expected::PlateRow)) << "kind " << kind;
    const auto list = Receiver<CodeNameList>();
    GetPlateMarket()->FetchPlateItems(kByCode, kDescending, static_cast<int>(type),
                                      [list](const CodeNameList& got) { list->Update(got); });
    ASSERT_TRUE(list->Await(1));
    const Rows by_code = Plates(kind);
    EXPECT_EQ(list->Last(), Each(Rows(by_code.rbegin(), by_code.rend()), [](const model::Quote& q) {
                return std::pair(expected::Wide(q.security->code), expected::Wide(q.security->name));
              }));
  }
}

TEST_F(QuotesTest, tellTheStocksOfAPlate) {
  StartAt(10, 30);
  const model::Quote& plate = *Plates(1).at(5);
  const auto members = TheMarket().Members(*plate.security);
  Rows rows = OrderedBy(Stocks([&members](const model::Quote& q) {
                          return std::find(members.begin(), members.end(), q.security) != members.end();
                        }),
                        false, ChangeOf);
  ASSERT_GE(rows.size(), 3U);
  const auto total = static_cast<std::int32_t>(rows.size());
  rows.erase(rows.begin());
  rows.resize(2);
  PlateStocksView view(GetPlateStockMarket(), PlateStockRankingTarget{expected::Wide(plate.security->code),
                                                                      kByChange, kDescending, 1, 3});
  EXPECT_EQ(view.First(), (PlateStockMarketData{total, Each(rows, [](const model::Quote& q) {
                                                  return expected::Summary(q, q.change);
                                                })}));
}

// --- Rankings ---

TEST_F(QuotesTest, rankStocksByChangeAndByFiveMinutes) {
  StartAt(10, 30);
  const RankingTarget target{kByChange, kDescending, 15};
  View<IStockRanking, std::vector<StockMarketSummary>> plain(GetStockRanking(1, false, false), target);
  Rows rows = OrderedBy(Stocks(), false, ChangeOf);
  rows.resize(15);
  EXPECT_EQ(plain.First(), Each(rows, [](const model::Quote& q) { return expected::Summary(q, q.change); }));
  View<IStockRanking, std::vector<StockMarketSummary>> five(GetStockRanking(1, true, false), target);
  rows = OrderedBy(Stocks(), false, [](const model::Quote& q) { return q.five_change; });
  rows.resize(15);
  EXPECT_EQ(five.First(),
            Each(rows, [](const model::Quote& q) { return expected::Summary(q, q.five_change); }));
}

TEST_F(QuotesTest, rankPlates) {
  StartAt(10, 30);
  View<IPlateRanking, std::vector<PlateMarketSummary>> view(GetPlateRanking(1, false),
                                                            RankingTarget{23, kDescending, 10});
  Rows rows = OrderedBy(Plates(1), false, [](const model::Quote& q) { return q.cud; });
  rows.resize(10);
  EXPECT_EQ(view.First(), Each(rows, expected::PlateSummary));
}

// --- A minute of trading ---

// What a service tells of one state of the market, and how it tells that the state came after another one.
template <class Data>
struct Telling {
  std::function<Data(const model::BoardQuotes&)> of;
  std::function<Data(const Data& now, const Data& before)> after;
  std::function<Data(Data)> without_movement;
  std::function<Data(Data)> compared = [](Data data) { return data; };  // what of a record is looked at
};

class MinuteOfTrading : public QuotesTest {
 protected:
  static constexpr int kSteps = 20;
  static constexpr int kSecondsAStep = 3;  // the market ticks so

  // Shows a view the market of every third second and expects of each record the movement since the one
  // before, computed from the market's two states. The polling thread may ask as well: its answers are
  // records like others.
  template <class Service, class Key, class Data>
  void Follow(Service* service, const Key& key, const Telling<Data>& telling) {
    View<Service, Data> shown(service, key);
    RecordingObserver<Data>& view = shown.observer();
    std::vector<Data> states;
    for (int step = 0; step <= kSteps; ++step) {
      // No answer is under way that was made before the clock moves and might come after it.
      ASSERT_TRUE(AwaitQuiet()) << "step " << step;
      MoveTo(start_ + step * kSecondsAStep);
      states.push_back(telling.of(*board_));
      const std::size_t told = view.Count();
      service->Refresh();
      ASSERT_TRUE(view.Await(told + 1)) << "step " << step;
    }
    ASSERT_TRUE(AwaitQuiet());
    std::set<std::size_t> seen;
    std::size_t moved = 0;
    const Data* before = nullptr;
    for (const Data& record : view.Updates()) {
      const Data update = telling.compared(record);
      const Data still = telling.without_movement(update);
      const auto state = std::find(states.begin(), states.end(), still);
      ASSERT_NE(state, states.end()) << "the market was never so";
      EXPECT_EQ(update, before == nullptr ? still : telling.after(still, *before));
      if (!(update == still)) ++moved;
      seen.insert(static_cast<std::size_t>(state - states.begin()));
      before = &*state;
    }
    // A market that stands still for a tick gives the same state twice.
    std::set<std::size_t> distinct;
    for (const Data& state : states) {
      distinct.insert(
          static_cast<std::size_t>(std::find(states.begin(), states.end(), state) - states.begin()));
    }
    EXPECT_EQ(seen, distinct);
    EXPECT_GE(moved, states.size() / 4) << "the market hardly moved";
  }

  void StartAtHalfPastTen() {
    StartAt(10, 30);
    start_ = now_;
  }

  model::Instant start_ = 0;
};

void Still(StockMarketItem& item) {
  for (auto* const field :
       {&item.last, &item.change, &item.diff, &item.bid1, &item.ask1, &item.tr, &item.amt}) {
    field->direction = 0;
  }
  item.vol.direction = 0;
  const auto still_side = [](auto& side) {
    for (auto& level : side) level.direction = 0;
  };
  still_side(item.bid_prices);
  still_side(item.ask_prices);
  still_side(item.bid_volumes);
  still_side(item.ask_volumes);
}

template <class List>
List StillList(List list) {
  for (auto& item : list) Still(item);
  return list;
}

template <class List>
List ListAfter(List now, const List& before) {
  for (auto& item : now) {
    const auto found = std::find_if(before.begin(), before.end(),
                                    [&item](const auto& row) { return row.code == item.code; });
    if (found != before.end()) expected::SetDirections(item, *found);
  }
  return now;
}

TEST_F(MinuteOfTrading, isToldByABoard) {
  StartAtHalfPastTen();
  constexpr std::uint32_t kRows = 120;
  const auto of = [](const model::BoardQuotes& board) {
    Rows rows;
    for (const model::Quote& quote : board.stocks) rows.push_back(&quote);
    rows = OrderedBy(rows, false, ChangeOf);
    rows.resize(kRows);
    return Each(rows, expected::TradedRow);
  };
  Follow(GetStockMarket(), StockRangeRankingTarget{1, kByChange, kDescending, 0, kRows},
         Telling<Board>{of, ListAfter<Board>, StillList<Board>});
}

TEST_F(MinuteOfTrading, isToldByAStockAndItsBook) {
  StartAtHalfPastTen();
  const std::string code =
      FirstStock([](const model::Quote& q) {
        return q.status == model::Status::kTrading && q.bids[4].price > 0 && q.asks[4].price > 0;
      }).security->code;
  const auto of = [&code](const model::BoardQuotes& board) {
    const auto row = std::find_if(board.stocks.begin(), board.stocks.end(),
                                  [&code](const model::Quote& q) { return q.security->code == code; });
    StockMarketItem item = expected::StockRow(*row);
    item.symbol_type = stock::kSymbolStock;
    for (auto* const side : {&item.bid_prices, &item.ask_prices}) side->resize(5);
    for (auto* const side : {&item.bid_volumes, &item.ask_volumes}) side->resize(5);
    return item;
  };
  const auto after = [](StockMarketItem now, const StockMarketItem& before) {
    expected::SetDirections(now, before);
    expected::SetBookDirections(now, before);
    return now;
  };
  const auto still = [](StockMarketItem item) {
    Still(item);
    return item;
  };
  const auto without_derived = [](StockMarketItem item) {
    item.limit_up = item.limit_down = item.avg_price = {};
    return item;
  };
  Follow(GetSingleStockMarket(), expected::Wide(code),
         Telling<StockMarketItem>{of, after, still, without_derived});
}

TEST_F(MinuteOfTrading, isToldByARanking) {
  StartAtHalfPastTen();
  using List = std::vector<StockMarketSummary>;
  constexpr std::int32_t kRows = 40;
  const auto of = [](const model::BoardQuotes& board) {
    Rows rows;
    for (const model::Quote& quote : board.stocks) rows.push_back(&quote);
    rows = OrderedBy(rows, false, ChangeOf);
    rows.resize(kRows);
    return Each(rows, [](const model::Quote& q) { return expected::Summary(q, q.change); });
  };
  const auto after = [](List now, const List& before) {
    for (StockMarketSummary& row : now) {
      const auto found = std::find_if(before.begin(), before.end(),
                                      [&row](const auto& old) { return old.code == row.code; });
      if (found != before.end()) expected::SetTrends(row, *found);
    }
    return now;
  };
  const auto without = [](List list) {
    for (StockMarketSummary& row : list)
      row.last.trend = row.change.trend = row.diff.trend = row.tr.trend = 0;
    return list;
  };
  Follow(GetStockRanking(1, false, false), RankingTarget{kByChange, kDescending, kRows},
         Telling<List>{of, after, without});
}

}  // namespace
