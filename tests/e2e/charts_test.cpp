// Minute lines and K-lines of the simulated market, through real HTTP, the real host services and the
// library, against the market's own series.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "../charts/market_series.h"
#include "long_run.h"
#include "running_market.h"

namespace {

namespace model = market_server::model;
using Series = std::vector<KLineCandle>;

constexpr const char* kFriday = "2024-03-15 10:30:00";
constexpr const char* kFridayEvening = "2024-03-15 16:00:00";
constexpr const char* kFridayNight = "2024-03-15 19:00:00";
constexpr const char* kMonday = "2024-03-18 10:30:00";

void ExpectSame(const Series& delivered, const Series& expected) {
  ASSERT_EQ(delivered.size(), expected.size());
  for (std::size_t place = 0; place < expected.size(); ++place) {
    ASSERT_TRUE(market_series::IsSame(delivered[place], expected[place]))
        << "candle " << place << " of " << expected.size() << ": " << delivered[place].date << " closed at "
        << delivered[place].close << ", expected " << expected[place].date << " at " << expected[place].close;
  }
}

class ChartsTest : public RunningMarket {
 protected:
  ChartsTest() { options_.stocks = 200; }

  // Starts everything, with announced packages.
  void Open(const std::string& clock) {
    StartAll(clock, 0);
    ASSERT_TRUE(LoadReferenceData());
  }

  // As a program that is started anew: nothing is in memory, the files are there.
  static void StartAgain() {
    DestroyStockMarket();
    ASSERT_TRUE(LoadReferenceData());
  }

  template <class Data, class Ask>
  static Data AskFor(Ask ask) {
    auto got = std::make_shared<std::promise<Data>>();
    ask([got](const Data& data) { got->set_value(data); });
    auto record = got->get_future();
    if (record.wait_for(std::chrono::seconds(60)) != std::future_status::ready) {
      ADD_FAILURE() << "no record came";
      return {};
    }
    return record.get();
  }

  static Series Load(const model::Security& security, int period, int adjustment) {
    const std::wstring symbol(security.code.begin(), security.code.end());
    const auto data = AskFor<StockKLineData>([&](const KLineCallback& done) {
      GetStockKLine()->FetchKLine(symbol.c_str(), period, adjustment, done);
    });
    EXPECT_EQ(data.symbol, symbol);
    EXPECT_EQ(data.period, period);
    EXPECT_EQ(data.adjustment, adjustment);
    return {data.candles.begin(), data.candles.end()};
  }

  // The market's series as a view must see it now: every day as traded times the factor of that day.
  Series Expected(const model::Security& security, int period, int adjustment) const {
    return market_series::SeriesOf(market_series::DaysAt(*market_, security, Now()),
                                   static_cast<model::Period>(period),
                                   static_cast<model::Adjustment>(adjustment));
  }

  void ExpectTheMarketsSeries(const model::Security& security, int period, int adjustment) {
    SCOPED_TRACE(security.code + " period " + std::to_string(period) + " adjustment " +
                 std::to_string(adjustment));
    ExpectSame(Load(security, period, adjustment), Expected(security, period, adjustment));
  }

  const model::Security& AnyStock() {
    const auto stocks = market_->Stocks(Now());
    return *stocks[std::uniform_int_distribution<std::size_t>(0, stocks.size() - 1)(random_)];
  }
  const model::Security& AnyIndex() {
    const auto indices = market_->indices();
    return indices[std::uniform_int_distribution<std::size_t>(0, indices.size() - 1)(random_)];
  }
  int AnyOfThree() { return std::uniform_int_distribution<int>(1, 3)(random_); }

  static std::string FileOf(const model::Security& security, int period, int adjustment) {
    const std::wstring symbol(security.code.begin(), security.code.end());
    return common::ws2s(stock::GetKLineFilePath(symbol.c_str()), common::kUtf8) + "/" +
           std::to_string(period) + "." + std::to_string(adjustment) + ".dat";
  }

  std::mt19937 random_{20240315};  // NOLINT(cert-msc51-cpp): the same choice in every run
};

// --- K-lines ---

TEST_F(ChartsTest, deliverTheSameCandlesFromServerAndDiskAndOnTheNextDay) {
  Open(kFriday);
  std::vector<std::tuple<const model::Security*, int, int>> charts;
  const model::Security& stock = AnyStock();
  for (int package = 0; package < 9; ++package) charts.emplace_back(&stock, package / 3 + 1, package % 3 + 1);
  for (int chart = Rounds(12, 200); chart > 0; --chart) {
    charts.emplace_back(chart % 8 == 0 ? &AnyIndex() : &AnyStock(), AnyOfThree(), AnyOfThree());
  }
  const auto expect_all = [&](const char* when) {
    SCOPED_TRACE(when);
    for (const auto& [security, period, adjustment] : charts)
      ExpectTheMarketsSeries(*security, period, adjustment);
  };
  const auto packages = [&] {
    auto distinct = charts;
    std::sort(distinct.begin(), distinct.end());
    return static_cast<std::uint64_t>(std::unique(distinct.begin(), distinct.end()) - distinct.begin());
  };

  const std::uint64_t before = Succeeded("static");
  expect_all("first load");
  EXPECT_EQ(Succeeded("static"), before + packages());
  StartAgain();
  expect_all("from disk");
  EXPECT_EQ(Succeeded("static"), before + packages()) << "nothing that is current is downloaded";
  // The refresh thread sees that the day has changed and learns of the new versions while charts are opened:
  // a chart shows the old package with its tail, or the new one.
  MoveTo(kMonday);
  expect_all("next day");
  StartAgain();  // and the metadata with it
  expect_all("next day, new version");
  const std::uint64_t downloads = Succeeded("static") - before;
  EXPECT_GE(downloads, 2 * packages() + 1) << "the metadata and each package";
  EXPECT_LE(downloads, 2 * packages() + 2) << "the metadata twice: by the thread and by the start";
  EXPECT_EQ(Warnings(), std::vector<std::string>());
}

// After the close, and when the package with the day is out: the day is counted once.
TEST_F(ChartsTest, deliverTheDaysOwnSeriesInTheEvening) {
  Open(kFridayEvening);
  for (const char* const clock : {kFridayEvening, kFridayNight}) {
    MoveTo(clock);
    StartAgain();
    for (int chart = Rounds(6, 100); chart > 0; --chart) {
      const model::Security& stock = AnyStock();
      for (int period = 1; period <= 3; ++period) {
        SCOPED_TRACE(stock.code + " period " + std::to_string(period) + " " + clock);
        ExpectTheMarketsSeries(stock, period, AnyOfThree());
      }
    }
  }
}

TEST_F(ChartsTest, deliverTheSeriesWithoutTheStaticServer) {
  Open(kFriday);
  server_->SetFaults({"package_missing"});
  const model::Security& stock = AnyStock();
  for (int package = 0; package < 9; ++package) {
    ExpectTheMarketsSeries(stock, package / 3 + 1, package % 3 + 1);
    EXPECT_FALSE(std::filesystem::exists(FileOf(stock, package / 3 + 1, package % 3 + 1)));
  }
  EXPECT_EQ(Succeeded("history"), 9U);
  EXPECT_EQ(Warnings().size(), 27U) << "three tries for each package";
  server_->SetFaults({});
  ExpectTheMarketsSeries(stock, 1, 1);
  EXPECT_FALSE(std::filesystem::exists(FileOf(stock, 1, 1))) << "it is left alone for a while";
  StartAgain();
  ExpectTheMarketsSeries(stock, 1, 1);
  EXPECT_TRUE(std::filesystem::exists(FileOf(stock, 1, 1)));
}

TEST_F(ChartsTest, deliverTheSeriesWhileNobodyListensWherePackagesAre) {
  market_server::Options options = options_;
  options.clock = kFriday;
  options.speed = 0;
  market_server::Server files(options);
  files.Start();
  static_root_ = files.static_url();
  Open(kFriday);
  files.Stop();
  const model::Security& stock = AnyStock();
  const int period = AnyOfThree();
  const int adjustment = AnyOfThree();
  ExpectTheMarketsSeries(stock, period, adjustment);
  EXPECT_EQ(Succeeded("history"), 1U);
  EXPECT_FALSE(std::filesystem::exists(FileOf(stock, period, adjustment)));
}

TEST_F(ChartsTest, deliverTheSeriesWhateverIsWrongWithThePackage) {
  Open(kFriday);
  for (const std::string fault : {"package_not_gzip", "package_truncated", "package_wrong_sum",
                                  "package_wrong_size", "package_trailing", "package_bomb", "package_empty",
                                  "package_concatenated", "empty_body", "status::1:503"}) {
    SCOPED_TRACE(fault);
    const std::size_t name_end = fault.find(':');
    server_->SetFaults({fault.substr(0, name_end) + ":/static/*" +
                        (name_end == std::string::npos ? "" : fault.substr(name_end + 1))});
    const model::Security& stock = AnyStock();
    const int period = AnyOfThree();
    const int adjustment = AnyOfThree();
    ExpectTheMarketsSeries(stock, period, adjustment);
    server_->SetFaults({});
    ExpectTheMarketsSeries(stock, period, adjustment);
  }
}

TEST_F(ChartsTest, deliverTheSeriesThoughTheFileIsDamaged) {
  Open(kFriday);
  const model::Security& stock = AnyStock();
  ExpectTheMarketsSeries(stock, 1, 2);
  const std::string path = FileOf(stock, 1, 2);
  std::string whole;
  {
    std::ifstream file(path, std::ios::binary);
    whole.assign(std::istreambuf_iterator<char>(file), {});
  }
  ASSERT_GT(whole.size(), 1000U);
  for (const int damage : {0, 1, 2, 3}) {
    SCOPED_TRACE(damage);
    std::string bytes = whole;
    if (damage == 0) bytes.resize(bytes.size() / 2);
    if (damage == 1) bytes[bytes.size() / 3] ^= 0x10;
    if (damage == 2) bytes.clear();
    if (damage == 3) bytes.assign(5000, 'x');
    std::ofstream(path, std::ios::binary | std::ios::trunc) << bytes;
    StartAgain();
    const std::uint64_t downloads = Succeeded("static");
    ExpectTheMarketsSeries(stock, 1, 2);
    EXPECT_EQ(Succeeded("static"), downloads) << "the history query serves this load";
    ExpectTheMarketsSeries(stock, 1, 2);
    EXPECT_EQ(Succeeded("static"), downloads + 1);
  }
}

TEST_F(ChartsTest, linkATailToAPackageOfAnOlderBase) {
  Open(kFriday);
  server_->SetFaults({"package_behind:/static/kline.s*:1:150"});
  int dividends = 0;
  for (const model::Security* const stock : market_->Stocks(Now())) {
    const Series traded = market_series::DaysAt(*market_, *stock, Now());
    bool pays = false;
    for (std::size_t day = traded.size() > 100 ? traded.size() - 100 : 1; day < traded.size(); ++day) {
      pays = pays || market_series::StepOf(traded[day - 1], traded[day]) > 1.0001;
    }
    if (!pays || ++dividends > Rounds(4, 40)) continue;
    for (int chart = 0; chart < 9; ++chart) ExpectTheMarketsSeries(*stock, chart / 3 + 1, chart % 3 + 1);
  }
  EXPECT_GT(dividends, 2) << "dividends are in view on any day";
}

TEST_F(ChartsTest, showADayThatTheHistoryLearnsLate) {
  Open(kFriday);
  server_->SetFaults({"package_behind:/static/kline.s*:1:2", "history_late:/kql:1:1031"});
  const model::Security& stock = AnyStock();
  Series expected = Expected(stock, 1, 1);
  if (expected.size() > 2 && expected[expected.size() - 2].date == 20240314) {
    expected.erase(expected.end() - 2);
  }
  ExpectSame(Load(stock, 1, 1), expected);
}

// Past days and today in one chart, while the date changes: each day that is told replaces the one of its
// date.
TEST_F(ChartsTest, keepPastMinutesBesideTodaysOverNight) {
  Open(kFriday);
  const model::Security& index = market_->indices().front();
  const std::wstring symbol(index.code.begin(), index.code.end());
  std::map<std::uint32_t, std::size_t> chart;  // minutes of each day
  const auto join = [&chart](const StockMLineData& line) {
    for (const MLineDay& day : line.days) chart[day.date] = day.points.size();
  };
  join(AskFor<StockMLineData>([&](const MLineCallback& done) {
    GetStockMLine()->FetchHistoryMLine(symbol.c_str(), 20240314, 2, done);
  }));
  Collector<StockMLineData> view;
  GetStockMLine()->Attach(&view);
  GetStockMLine()->SetTarget(&view, symbol);
  GetStockMLine()->Resume(&view, true);
  const auto await = [&view](std::uint32_t date, std::size_t minutes) {
    EXPECT_TRUE(view.WaitForLast([&](const StockMLineData& line) {
      return line.days.size() == 1 && line.days[0].date == date && line.days[0].points.size() == minutes;
    }));
  };
  await(20240315, 61);
  MoveTo(kFridayEvening);
  GetStockMLine()->Refresh();
  await(20240315, 241);
  join(view.All().back());
  MoveTo(kMonday);
  GetStockMLine()->Refresh();
  await(20240318, 61);
  join(view.All().back());
  EXPECT_EQ(chart, (std::map<std::uint32_t, std::size_t>{
                       {20240313, 241}, {20240314, 241}, {20240315, 241}, {20240318, 61}}));
  GetStockMLine()->Detach(&view);
}

TEST_F(ChartsTest, followASymbolAsTheViewAsks) {
  Open(kFriday);
  const model::Security& stock = AnyStock();
  const std::wstring symbol(stock.code.begin(), stock.code.end());
  Collector<StockKLineData> view;
  GetStockKLine()->Attach(&view);
  GetStockKLine()->SetTarget(&view, symbol);
  GetStockKLine()->Resume(&view, true);
  const auto shows = [&](int period, int adjustment) {
    const Series expected = Expected(stock, period, adjustment);
    return [=](const StockKLineData& data) {
      return data.period == period && data.adjustment == adjustment &&
             std::equal(data.candles.begin(), data.candles.end(), expected.begin(), expected.end(),
                        market_series::IsSame);
    };
  };
  EXPECT_TRUE(view.WaitForLast(shows(1, 1)));
  GetStockKLine()->FetchKLine(symbol.c_str(), 2, 2, {});
  EXPECT_TRUE(view.WaitForLast(shows(2, 2)));
  MoveTo("2024-03-15 14:00:00");
  GetStockKLine()->Refresh();
  EXPECT_TRUE(view.WaitForLast(shows(2, 2))) << "the day has moved on within its week";
  GetStockKLine()->Detach(&view);
}

// --- Minute lines ---

// The market's line in the figures of each minute.
MLineDay DayOf(const model::MinuteLine& line, double preclose) {
  MLineDay day{line.date, {}};
  model::MinutePoint before;
  before.last = preclose;
  double average = 0;
  for (const model::MinutePoint& point : line.points) {
    MinutePoint minute;
    minute.time = point.minute;
    minute.price = point.last == 0 ? before.last : point.last;
    minute.volume = point.vol - before.vol;
    minute.amount = point.amt - before.amt > 0.001 ? point.amt - before.amt : 0;
    minute.qrr = point.qrr;
    minute.change = minute.price - preclose;
    minute.change_rate = minute.change * 100.0 / preclose;
    minute.avg_price = point.vol > 0 ? point.amt / static_cast<double>(point.vol)
                                     : (day.points.empty() ? minute.price : average);
    average = minute.avg_price;
    before = point;
    before.last = minute.price;
    day.points.push_back(minute);
  }
  return day;
}

StockMLineData LineOf(const model::Security& security, const std::vector<model::MinuteLine>& lines) {
  StockMLineData data;
  data.symbol.assign(security.code.begin(), security.code.end());
  for (const model::MinuteLine& line : lines) {
    if (data.preclose == 0 && !line.points.empty()) data.preclose = line.preclose;
    data.days.push_back(DayOf(line, data.preclose));
  }
  return data;
}

TEST_F(ChartsTest, deliverTheMarketsMinuteLines) {
  Open(kFriday);
  constexpr std::size_t kViews = 10;
  std::vector<const model::Security*> shown;
  std::vector<Collector<StockMLineData>> views(kViews);
  for (std::size_t view = 0; view < kViews; ++view) {
    shown.push_back(view == 0 ? &AnyIndex() : &AnyStock());
    GetStockMLine()->Attach(&views[view]);
    GetStockMLine()->SetTarget(&views[view],
                               std::wstring(shown[view]->code.begin(), shown[view]->code.end()));
    GetStockMLine()->Resume(&views[view], false);
  }
  for (const char* clock :
       {kFriday, "2024-03-15 09:29:59", "2024-03-15 12:00:00", kFridayEvening, "2024-03-16 12:00:00"}) {
    SCOPED_TRACE(clock);
    MoveTo(clock);
    GetStockMLine()->Refresh();
    for (std::size_t view = 0; view < kViews; ++view) {
      EXPECT_TRUE(views[view].WaitForLast(
          LineOf(*shown[view], {market_->MinuteLineOf(*shown[view], model::SessionDate(Now()), Now())})))
          << shown[view]->code;
    }
  }
  for (auto& view : views) GetStockMLine()->Detach(&view);
  EXPECT_EQ(Warnings(), std::vector<std::string>());
}

TEST_F(ChartsTest, deliverMinuteLinesOfOneSymbolAtCall) {
  Open(kFriday);
  for (int round = Rounds(5, 50); round > 0; --round) {
    const model::Security& stock = AnyStock();
    SCOPED_TRACE(stock.code);
    const std::wstring symbol(stock.code.begin(), stock.code.end());
    EXPECT_EQ(AskFor<StockMLineData>(
                  [&](const MLineCallback& done) { GetStockMLine()->FetchMLine(symbol.c_str(), 0, done); }),
              LineOf(stock, {market_->MinuteLineOf(stock, 20240315, Now())}));
    EXPECT_EQ(AskFor<StockMLineData>([&](const MLineCallback& done) {
                GetStockMLine()->FetchHistoryMLine(symbol.c_str(), 20240312, 0, done);
              }),
              LineOf(stock, {market_->MinuteLineOf(stock, 20240312, Now())}));
    std::vector<model::MinuteLine> days;
    for (const model::Date date : {20240311U, 20240312U, 20240313U, 20240314U, 20240315U}) {
      const model::MinuteLine line = market_->MinuteLineOf(stock, date, Now());
      if (!line.points.empty()) days.push_back(line);
    }
    EXPECT_EQ(AskFor<StockMLineData>([&](const MLineCallback& done) {
                GetStockMLine()->FetchHistoryMLine(symbol.c_str(), 20240315, 5, done);
              }),
              LineOf(stock, days));
  }
}

}  // namespace
