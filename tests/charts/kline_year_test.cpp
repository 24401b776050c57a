// A year of trading days in one open chart per period and adjustment, for twenty stocks with dividends,
// splits, suspensions and a new listing: at each close, and in the middle of sessions, every candle is that
// of the market.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "kline_fixture.h"
#include "market_series.h"

namespace {

using namespace kline_test;
namespace model = market_server::model;

constexpr model::Date kFirstDay = 20160104;
constexpr model::Date kLastDay = 20161230;
// What lies before is neither served nor shown: the charts begin with a week, a month and a year.
constexpr model::Date kHistoryBegins = 20150101;
constexpr std::size_t kStocks = 20;

const model::Market& TheMarket() {
  static const model::Market& market = *new model::Market({.seed = 1, .stocks = 200});
  return market;
}

// What happened to a stock within the year.
struct Fate {
  const model::Security* stock = nullptr;
  int dividends = 0, splits = 0, days_missing = 0;
  bool is_new = false;
  double first_factor = 1;          // of the first day below
  std::vector<KLineCandle> days{};  // as traded
};

Fate FateOf(const model::Security& stock) {
  Fate fate{&stock};
  const auto candles = TheMarket().Candles(stock, model::Period::kDay, model::Adjustment::kNone, kLastDay);
  fate.is_new = stock.listed > kFirstDay && stock.listed < 20160901;
  for (std::size_t day = 0; day < candles.size(); ++day) {
    const KLineCandle candle = market_series::CandleOf(candles[day]);
    if (fate.days.empty() && day > 0) {
      fate.first_factor *= market_series::StepOf(market_series::CandleOf(candles[day - 1]), candle);
    }
    if (candle.date >= kHistoryBegins) fate.days.push_back(candle);
    if (candle.date < kFirstDay || day == 0) continue;
    const double step = candles[day - 1].close / candles[day].preclose;
    fate.dividends += step > 1.0001 && step < 1.15 ? 1 : 0;
    fate.splits += step >= 1.15 ? 1 : 0;
    fate.days_missing += model::NextTradingDay(candles[day - 1].date) != candles[day].date ? 1 : 0;
  }
  return fate;
}

// Those to whom most happened.
std::vector<Fate> Chosen() {
  std::vector<Fate> fates;
  for (const model::Security* const stock : TheMarket().Stocks(model::InstantOf(kLastDay, 16, 0, 0))) {
    fates.push_back(FateOf(*stock));
  }
  std::stable_sort(fates.begin(), fates.end(), [](const Fate& left, const Fate& right) {
    const auto rank = [](const Fate& fate) {
      return (fate.is_new ? 100 : 0) + 10 * fate.splits + 3 * std::min(fate.days_missing, 2) + fate.dividends;
    };
    return rank(left) > rank(right);
  });
  std::vector<Fate> chosen;
  int fresh = 0;
  for (const Fate& fate : fates) {
    if (chosen.size() < kStocks && (!fate.is_new || fresh++ == 0)) chosen.push_back(fate);
  }
  // The market keeps the whole year of those that it was asked for last, and need not make it anew every day.
  for (const Fate& fate : chosen) static_cast<void>(FateOf(*fate.stock));
  return chosen;
}

const std::vector<Fate>& TheStocks() {
  static const std::vector<Fate>& stocks = *new std::vector<Fate>(Chosen());
  return stocks;
}

// Compares what it is told with what is expected at the moment.
struct Chart final : IUpdate1<StockKLineData> {
  void Update(const StockKLineData& data) override {
    ++told;
    const auto wrong = std::mismatch(data.candles.begin(), data.candles.end(), expected.begin(),
                                     expected.end(), market_series::IsSame);
    is_right = wrong.first == data.candles.end() && wrong.second == expected.end();
    if (!is_right) {
      const KLineCandle shown = wrong.first == data.candles.end() ? KLineCandle() : *wrong.first;
      const KLineCandle right = wrong.second == expected.end() ? KLineCandle() : *wrong.second;
      difference = std::to_string(data.candles.size()) + " candles of " + std::to_string(expected.size()) +
                   ", the first wrong one " + std::to_string(shown.date) + " " + std::to_string(shown.close) +
                   " instead of " + std::to_string(right.date) + " " + std::to_string(right.close);
    }
  }
  std::vector<KLineCandle> expected;
  int told = 0;
  bool is_right = false;
  std::string difference;
};

class KLineYear : public KLineTest, public ::testing::WithParamInterface<std::tuple<int, int>> {
 protected:
  KLineYear() {
    HoldPolling();
    for (const int year : {2015, 2016}) {
      const std::vector<model::Date> holidays = model::Holidays(year);
      pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(
          year, {holidays.begin(), holidays.end()});
    }
    static constexpr const char* kPeriods[] = {"day", "week", "month"};
    static constexpr const char* kAdjustments[] = {"bfq", "qfq", "hfq"};
    period_name = kPeriods[std::get<0>(GetParam()) - 1];
    adjustment_name = kAdjustments[std::get<1>(GetParam()) - 1];
    host.Allow(Script(kDayPath).Inline([this](const Request& request) { return Day(request); }));
    host.Allow(Script(kHistoryPath).Inline([this](const Request& request) { return Rows(request); }));
  }

  ~KLineYear() override { LetPollingGo(); }

  void SetInstant(model::Date date, int hour, int minute, int second) {
    const model::Instant next = model::InstantOf(date, hour, minute, second);
    steady.Advance(static_cast<std::int64_t>((next - now) * 1000));
    now = next;
    host.SetTime(date, hour, minute, second);
  }
  // The metadata that the client has at the moment name another version.
  void Publish(model::Date date) {
    version = date;
    packages.Announce(std::to_wstring(date));
    for (const Fate& fate : stocks) {
      host.Allow(Script(PackagePath(fate.stock->code, period_name, adjustment_name, std::to_string(date)))
                     .Inline([this, &fate, date](const Request&) {
                       if (!TheMarket().HasPackages(*fate.stock, date)) return Answer::Failed();
                       return Answer::Body(Gzip(Package(Past(*fate.stock, date))));
                     }));
    }
  }

  std::vector<KLineCandle> Past(const model::Security& stock, model::Date through) const {
    std::vector<KLineCandle> candles;
    for (const model::Candle& candle : TheMarket().Candles(stock, period, adjustment, through)) {
      if (candle.date >= kHistoryBegins) candles.push_back(market_series::CandleOf(candle));
    }
    return candles;
  }

  Answer Day(const Request& request) {
    const std::string& list = request.parameters.at("stock_arr");
    const std::string symbol = list.substr(2, 8);
    const auto candle = TheMarket().DayCandle(*TheMarket().Find(symbol), now);
    return candle ? Today(symbol, market_series::CandleOf(*candle)) : NoToday();
  }
  Answer Rows(const Request& request) {
    const std::string& query = request.parameters.at("q");
    const auto text_after = [&query](const std::string& key) {
      return query.substr(query.find(key) + key.size());
    };
    const model::Security& security = *TheMarket().Find(text_after("\"symbol\":\"").substr(0, 8));
    const model::Date session = model::SessionDate(now);
    const bool over = now >= model::InstantOf(session, 15, 0, 0);
    const model::Date last = over ? session : model::PreviousTradingDay(session);
    if (security.kind == model::Kind::kIndex) return History({Candle(last, 3000)});
    std::vector<KLineCandle> rows = Past(security, last);
    const auto limit = static_cast<std::size_t>(std::stoul(text_after("\"limit\":")));
    rows.erase(rows.begin(), rows.end() - static_cast<std::ptrdiff_t>(std::min(limit, rows.size())));
    return History(rows);
  }

  std::vector<KLineCandle> DaysUntilNow(const Fate& fate) const {
    std::vector<KLineCandle> days;
    for (const KLineCandle& day : fate.days) {
      if (day.date < model::SessionDate(now)) days.push_back(day);
    }
    if (const auto today = TheMarket().DayCandle(*fate.stock, now)) {
      days.push_back(market_series::CandleOf(*today));
    }
    return days;
  }

  void ExpectTheMarketsCandles() {
    for (std::size_t place = 0; place < stocks.size(); ++place) {
      charts[place].expected = market_series::SeriesOf(DaysUntilNow(stocks[place]), period, adjustment,
                                                       stocks[place].first_factor);
      charts[place].told = 0;
    }
    service->Refresh();
    for (std::size_t place = 0; place < stocks.size(); ++place) {
      const Chart& chart = charts[place];
      SCOPED_TRACE(stocks[place].stock->code + " at " + std::to_string(model::DateOf(now)) + " " +
                   std::to_string(model::SecondOfDay(now) / 60));
      ASSERT_EQ(chart.told, 1);
      ASSERT_TRUE(chart.is_right) << chart.difference;
      compared += chart.expected.size();
    }
  }

  const model::Period period = static_cast<model::Period>(std::get<0>(GetParam()));
  const model::Adjustment adjustment = static_cast<model::Adjustment>(std::get<1>(GetParam()));
  std::string period_name, adjustment_name;
  const std::vector<Fate>& stocks = TheStocks();
  std::vector<Chart> charts{kStocks};
  std::size_t compared = 0;  // candles
  model::Instant now = model::InstantOf(kFirstDay, 0, 0, 0);
  model::Date version = 0;
};

TEST_P(KLineYear, everyCandleIsTheMarkets) {
  ASSERT_EQ(stocks.size(), kStocks);
  Fate all;
  for (const Fate& fate : stocks) {
    all.dividends += fate.dividends;
    all.splits += fate.splits;
    all.days_missing += fate.days_missing;
    all.is_new = all.is_new || fate.is_new;
  }
  ASSERT_TRUE(all.dividends > 10 && all.splits > 2 && all.days_missing > 5 && all.is_new);

  std::mt19937 random(20160104);  // NOLINT(cert-msc51-cpp): the same course in every run
  Publish(model::PreviousTradingDay(kFirstDay));
  for (std::size_t place = 0; place < kStocks; ++place) {
    const std::wstring symbol(stocks[place].stock->code.begin(), stocks[place].stock->code.end());
    service->Attach(&charts[place]);
    service->SetTarget(&charts[place], symbol);
    service->Resume(&charts[place], false);
    SetInstant(kFirstDay, 9, 30, 0);
    service->FetchKLine(symbol.c_str(), std::get<0>(GetParam()), std::get<1>(GetParam()), {});
  }
  int instants = 0;
  int days = 0;
  for (model::Date day = kFirstDay; day <= kLastDay && !HasFatalFailure(); day = model::NextTradingDay(day)) {
    ++days;
    if (random() % 4 == 0) {
      const int minute = static_cast<int>(random() % 120) + (random() % 2 == 0 ? 9 * 60 + 30 : 13 * 60);
      SetInstant(day, minute / 60, minute % 60, static_cast<int>(random() % 60));
      ++instants;
      ExpectTheMarketsCandles();
    }
    SetInstant(day, 15, 0, 3);
    ExpectTheMarketsCandles();
    // Packages come now and then, so that tails join bases that are days and weeks apart.
    if (random() % 10 == 0) {
      SetInstant(day, 19, 0, 0);
      Publish(day);
      ExpectTheMarketsCandles();
    }
    host.ForgetRequests();
  }
  EXPECT_GE(days, 240);
  EXPECT_GE(instants, 50);
  EXPECT_GT(compared, kStocks * 240);
  for (Chart& chart : charts) service->Detach(&chart);
}

std::string NameOf(const ::testing::TestParamInfo<std::tuple<int, int>>& chart) {
  static constexpr const char* kPeriods[] = {"days", "weeks", "months"};
  static constexpr const char* kAdjustments[] = {"AsTraded", "Forward", "Backward"};
  return std::string(kPeriods[std::get<0>(chart.param) - 1]) + kAdjustments[std::get<1>(chart.param) - 1];
}

INSTANTIATE_TEST_SUITE_P(Charts, KLineYear,
                         ::testing::Combine(::testing::Range(1, 4), ::testing::Range(1, 4)), NameOf);

}  // namespace
