// The seven analytics services from the simulated market to their views: every figure that arrives is the
// market's own, at every hour of a day, and a day that runs by itself.
#include <algorithm>
#include <cstdint>
#include <list>
#include <map>

#include "long_run.h"
#include "running_market.h"

namespace {

namespace model = market_server::model;

using Events = std::list<StockUnusualEventItem>;
using Strength = std::vector<StrengthRatingItem>;
using Effect = std::vector<MoneyEffectItem>;
using Days = std::list<MarginTradeItem>;
using Issues = std::list<StockPurchaseItem>;

constexpr model::Date kFriday = 20240315;
constexpr model::Date kThursday = 20240314;
constexpr std::size_t kMarginDays = 120;

std::string DateText(model::Date date) {
  std::string text = std::to_string(date);
  return text.insert(6, "-").insert(4, "-");
}

std::string ClockText(model::Instant time) {
  const int second = model::SecondOfDay(time);
  char text[32];
  std::snprintf(text, sizeof text, "%02d:%02d:%02d", second / 3600, second / 60 % 60, second % 60);
  return text;
}

std::wstring Wide(const std::string& text) {
  return common::s2ws(text, common::kUtf8);
}

// What views have to be told, from the market's own figures.

Events ExpectedEvents(const std::vector<model::MarketEvent>& events) {
  Events items;
  for (const model::MarketEvent& event : events) {
    items.push_back({L"SH000001", Wide(ClockText(event.time)), Wide(event.content)});
  }
  return items;
}

FlowAmounts Expected(const model::FlowAmounts& amounts) {
  return {amounts.big_in, amounts.big_out, amounts.small_in, amounts.small_out};
}

StockInOutItem Expected(const std::string& symbol, const model::Flows& flows) {
  return {Wide(symbol), static_cast<std::uint64_t>(flows.time), Expected(flows.d1), Expected(flows.d5),
          Expected(flows.d10)};
}

Strength ExpectedStrength(const std::vector<model::Breadth>& rows) {
  Strength items;
  for (const model::Breadth& row : rows) items.push_back({row.minute, row.up, row.down});
  return items;
}

Effect ExpectedEffect(const std::vector<model::Breadth>& rows) {
  Effect items;
  for (const model::Breadth& row : rows) items.push_back({row.minute, row.average});
  return items;
}

DistributionItem Expected(const model::Distribution& distribution) {
  std::int32_t total = 0;
  for (const std::int32_t count : distribution.buckets) total += count;
  std::vector<DistributionBucket> buckets;
  for (const std::int32_t count : distribution.buckets) {
    buckets.push_back({count, total == 0 ? 0.0 : static_cast<double>(count) / total});
  }
  return {distribution.up,
          distribution.down,
          distribution.unchanged,
          {buckets.begin(), buckets.begin() + 5},
          {buckets.begin() + 5, buckets.end()}};
}

Days Expected(const std::vector<model::MarginDay>& newest_first) {
  Days items;
  for (std::size_t day = newest_first.size() - 1; day-- > 0;) {
    const model::MarginDay& now = newest_first[day];
    const model::MarginDay& before = newest_first[day + 1];
    const std::uint64_t balance = now.sh_balance + now.sz_balance;
    items.push_back({static_cast<std::int32_t>(now.date), static_cast<std::int32_t>(now.sh_close),
                     static_cast<std::int32_t>(now.sz_close), balance,
                     static_cast<std::int64_t>(balance - (before.sh_balance + before.sz_balance))});
  }
  return items;
}

Issues Expected(const std::vector<model::NewShare>& shares) {
  Issues items;
  for (const model::NewShare& share : shares) {
    const auto number = [](double value) { return static_cast<float>(value); };
    items.push_back({Wide(share.security->code), Wide(share.security->name), Wide(DateText(share.publish)),
                     Wide(DateText(share.publish_online)), Wide(share.buy_code), number(share.publish_num),
                     number(share.publish_online_num), number(share.publish_price), number(share.pe),
                     number(share.buy_limit), number(share.total_price), number(share.chance)});
  }
  return items;
}

// A view of a polled service, shown for as long as it lives.
template <class Service, class Data>
class Live {
 public:
  template <class Key>
  Live(Service* service, const Key& key) : service_(service) {
    service_->Attach(&view);
    service_->SetTarget(&view, key);
    service_->Resume(&view, true);
  }
  ~Live() { service_->Detach(&view); }
  Live(const Live&) = delete;
  Live& operator=(const Live&) = delete;

  Collector<Data> view;

 private:
  Service* const service_;
};

using LiveEvents = Live<IStockUnusualEvent, Events>;
using LiveFlows = Live<IStockInOut, StockInOutItem>;
using LiveStrength = Live<IStrengthRating, Strength>;
using LiveDistribution = Live<IStockDistribution, DistributionItem>;
using LiveEffect = Live<IMoneyEffect, Effect>;

class AnalyticsTest : public RunningMarket {
 protected:
  // Enough stocks to fill every figure; the whole market in a long run.
  AnalyticsTest() { options_.stocks = IsLongRun() ? 0 : 300; }
};

// From before the opening to the evening, over a weekend, and on a holiday.
const std::vector<std::string> kInstants = {
    "2024-03-15 08:30:00", "2024-03-15 09:20:00", "2024-03-15 09:25:30", "2024-03-15 09:30:00",
    "2024-03-15 09:45:30", "2024-03-15 10:30:07", "2024-03-15 11:29:59", "2024-03-15 12:10:00",
    "2024-03-15 13:00:00", "2024-03-15 14:17:42", "2024-03-15 14:59:59", "2024-03-15 15:30:00",
    "2024-03-15 20:00:00", "2024-03-16 10:00:00", "2024-03-18 09:31:00", "2024-04-04 11:00:00"};

TEST_F(AnalyticsTest, deliverTheMarketsOwnFiguresAtEveryHour) {
  StartAll(kInstants.front(), 0);
  std::vector<std::string> symbols;
  for (const model::Security* stock : market_->Stocks(Now())) {
    if (stock->number % 100 == 7) symbols.push_back(stock->code);
  }
  ASSERT_GE(symbols.size(), 2U);
  Collector<Days> margin;
  Collector<Issues> purchase;
  GetMarginTrade()->Attach(&margin);
  GetStockPurchase()->Attach(&purchase);
  LiveEvents events(GetStockUnusualEvent(), 0U);
  LiveStrength strength(GetStrengthRating(), 0U);
  LiveDistribution distribution(GetStockDistribution(), 0U);
  LiveEffect effect(GetMoneyEffect(), 0U);
  std::list<LiveFlows> flows;
  for (const std::string& symbol : symbols) flows.emplace_back(GetStockInOut(), Wide(symbol));

  std::map<model::Date, std::size_t> events_of_day;
  for (const std::string& instant : kInstants) {
    SCOPED_TRACE(instant);
    ASSERT_NO_FATAL_FAILURE(MoveTo(instant));
    const model::Date session = model::SessionDate(Now());
    GetStockUnusualEvent()->Refresh();
    GetStrengthRating()->Refresh();
    GetStockDistribution()->Refresh();
    GetMoneyEffect()->Refresh();
    GetStockInOut()->Refresh();
    GetMarginTrade()->FetchMarginTradeInfo();
    GetStockPurchase()->FetchPurchaseInfo();

    const auto todays_events = market_->Events(model::DateOf(Now()), Now());
    EXPECT_TRUE(events.view.WaitForLast(ExpectedEvents(todays_events)));
    events_of_day[session] = std::max(events_of_day[session], todays_events.size());
    const auto breadth = market_->BreadthOn(session, Now());
    EXPECT_TRUE(strength.view.WaitForLast(ExpectedStrength(breadth)));
    EXPECT_TRUE(effect.view.WaitForLast(ExpectedEffect(breadth)));
    EXPECT_TRUE(distribution.view.WaitForLast(Expected(market_->DistributionOn(session, Now()))));
    EXPECT_TRUE(margin.WaitForLast(Expected(market_->Margin(Now(), kMarginDays))));
    EXPECT_TRUE(purchase.WaitForLast(Expected(market_->NewShares(Now()))));
    auto flow = flows.begin();
    for (const std::string& symbol : symbols) {
      EXPECT_TRUE(
          (flow++)->view.WaitForLast(Expected(symbol, market_->FlowsOf(*market_->Find(symbol), Now()))));
    }
  }
  EXPECT_GT(events_of_day[kFriday], 0U) << "a day without events proves nothing";
  EXPECT_EQ(strength.view.All().back().size(), 241U) << "a whole session: the auction and 240 minutes";
  EXPECT_EQ(margin.All().back().size(), kMarginDays - 1);
  EXPECT_FALSE(purchase.All().back().empty());
  EXPECT_TRUE(Warnings().empty());
  GetMarginTrade()->Detach(&margin);
  GetStockPurchase()->Detach(&purchase);
}

TEST_F(AnalyticsTest, deliverPastDaysWholeAndAskForThemOnce) {
  StartAll("2024-03-15 10:30:00", 0);
  const model::Instant evening = model::InstantOf(kThursday, 20, 0, 0);
  LiveStrength strength(GetStrengthRating(), kThursday);
  LiveDistribution distribution(GetStockDistribution(), kThursday);
  LiveEffect effect(GetMoneyEffect(), kThursday);
  const auto breadth = market_->BreadthOn(kThursday, evening);
  EXPECT_TRUE(strength.view.WaitForLast(ExpectedStrength(breadth)));
  EXPECT_TRUE(effect.view.WaitForLast(ExpectedEffect(breadth)));
  EXPECT_TRUE(distribution.view.WaitForLast(Expected(market_->DistributionOn(kThursday, evening))));
  EXPECT_EQ(breadth.size(), 241U);

  // Rounds of the polling threads, with the clock on: nothing more is asked for.
  ASSERT_NO_FATAL_FAILURE(MoveTo("2024-03-15 14:00:00"));
  for (int round = 0; round < 3; ++round) {
    GetStrengthRating()->OnTimer();
    GetStockDistribution()->OnTimer();
    GetMoneyEffect()->OnTimer();
  }
  for (const char* const path :
       {"/pc/rt/stock_min_num", "/pc/rt/stock_distribute_num", "/pc/rt/stock_min_average"}) {
    EXPECT_EQ(stock_host::ReadCounters().endpoints[path].requests, 1U) << path;
  }

  Collector<Events> asked;
  GetStockUnusualEvent()->FetchUnusualEvent(kThursday,
                                            [&asked](const Events& items) { asked.Update(items); });
  EXPECT_TRUE(asked.WaitForLast(ExpectedEvents(market_->Events(kThursday, evening))));
  EXPECT_FALSE(asked.All().back().empty());
}

// A day within seconds: the polling threads alone ask, at each change of phase and at least hourly. A machine
// that is busy for the whole session gets a slower day.
TEST_F(AnalyticsTest, followADayByThemselves) {
  bool during = false;
  for (const double speed : {3600.0, 900.0, 300.0}) {
    StartAll("2024-03-15 09:14:00", speed);
    LiveStrength strength(GetStrengthRating(), 0U);
    LiveEffect effect(GetMoneyEffect(), 0U);
    LiveDistribution distribution(GetStockDistribution(), 0U);
    const model::Instant evening = model::InstantOf(kFriday, 20, 0, 0);
    const auto whole = market_->BreadthOn(kFriday, evening);
    EXPECT_TRUE(strength.view.WaitForLast(ExpectedStrength(whole)));
    EXPECT_TRUE(effect.view.WaitForLast(ExpectedEffect(whole)));
    EXPECT_TRUE(distribution.view.WaitForLast(Expected(market_->DistributionOn(kFriday, evening))));

    // Whatever came meanwhile was that day as it stood: all minutes that were over read as in the evening.
    const Strength day = ExpectedStrength(whole);
    std::size_t rows = 0;
    for (const Strength& curve : strength.view.All()) {
      if (curve.empty() || (rows == 0 && curve.size() == day.size())) continue;  // the day before
      ASSERT_LE(rows, curve.size()) << "a curve only grows";
      ASSERT_LE(curve.size(), day.size());
      rows = curve.size();
      during = during || rows < day.size();
      EXPECT_TRUE(std::equal(curve.begin(), curve.end() - 1, day.begin()));
    }
    if (during) break;
    DestroyStockMarket();
    stock_host::Stop();
  }
  EXPECT_TRUE(during) << "no round fell into a session";
}

}  // namespace
