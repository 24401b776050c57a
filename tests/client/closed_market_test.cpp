// What a client with every service asks for while the market is closed, over nights, a weekend and a holiday:
// counted by service and path, and held against what the rules of the intervals call for. Those that ask
// every three seconds are driven over the hour around midnight; CSM_LONG=1: over all of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <vector>

#include "driven_client.h"
#include "long_run.h"

namespace client_test {
namespace {

using Instants = std::vector<std::int64_t>;

std::int64_t At(std::uint32_t date, int hour, int minute, int second = 0) {
  return DrivenClient::Instant(date, hour, minute, second);
}

enum class Pollers { kYes, kLongRunsOnly };

// A time without trade, as the exchange's calendar gives it.
struct Closed {
  std::int64_t begin;
  std::int64_t end;
  Instants changes;    // of the phase, those after the end that the last sleep may reach included
  std::uint32_t date;  // of `begin`
  Pollers pollers;
};

/// Instants from `closed.begin` to its end at which a thread wakes that sleeps to the next change of the
/// phase, at least `least` seconds and an hour at most.
Instants Hourly(const Closed& closed, std::int64_t least) {
  Instants wakes;
  for (std::int64_t now = closed.begin; now < closed.end;) {
    wakes.push_back(now);
    const auto change = std::upper_bound(closed.changes.begin(), closed.changes.end(), now);
    now += std::clamp<std::int64_t>(*change - now, least, 3600);
  }
  return wakes;
}

class ClosedMarket : public ::testing::Test {
 protected:
  // Every service, each with two views of one key, one of another and a hidden one of a third.
  static void ShowAll(DrivenClient& client, const Closed& closed) {
    using Symbol = std::wstring;
    using Quotes = std::vector<StockMarketItem>;
    using Ranked = std::vector<StockMarketSummary>;
    const std::vector<Symbol> symbols = {L"sh600000", L"sz000001", L"sh600000"};
    const std::vector<Symbol> hidden = {L"sz300001"};
    const std::vector<RankingTarget> rankings = {{4, 2, 10}, {3, 1, 10}, {4, 2, 10}};
    const std::vector<RankingTarget> hidden_ranking = {{9, 2, 10}};
    const std::vector<std::uint32_t> dates = {0, closed.date, closed.date - 1, 0};
    const std::vector<std::uint32_t> hidden_date = {closed.date - 2};
    client.Add<StockMarketState>("market state", GetStockMarketState(), symbols, hidden);
    client.Add<std::vector<IndexMarketSummary>>("index quotes", GetIndexMarket(), symbols, hidden);
    client.Add<Ranked>("stock ranking", GetStockRanking(1, false, false), rankings, hidden_ranking);
    client.Add<Ranked>("five-minute ranking", GetStockRanking(1, true, false), rankings, hidden_ranking);
    client.Add<std::vector<PlateMarketSummary>>("plate ranking", GetPlateRanking(1, false), rankings,
                                                hidden_ranking);
    client.Add<StockMLineData>("minute line", GetStockMLine(), symbols, hidden);
    client.Add<StockKLineData>("K-line", GetStockKLine(), symbols, hidden);
    client.Add<std::list<StockUnusualEventItem>>("unusual events", GetStockUnusualEvent(), dates,
                                                 hidden_date);
    client.Add<StockInOutItem>("in and out", GetStockInOut(), symbols, hidden);
    client.Add<std::vector<StrengthRatingItem>>("strength", GetStrengthRating(), dates, hidden_date);
    client.Add<DistributionItem>("distribution", GetStockDistribution(), dates, hidden_date);
    client.Add<std::vector<MoneyEffectItem>>("money effect", GetMoneyEffect(), dates, hidden_date);
    if (!WithPollers(closed)) {
      return;
    }
    const std::vector<StockRangeRankingTarget> boards = {
        {1, 4, 2, 0, 49}, {2, 4, 2, 0, 49}, {1, 4, 2, 0, 49}};
    const std::vector<PlateRangeRankingTarget> plates = {
        {1, 4, 2, 0, 49}, {2, 4, 2, 0, 49}, {1, 4, 2, 0, 49}};
    const std::vector<PlateStockRankingTarget> members = {
        {L"bk0001", 4, 2, 0, 49}, {L"bk0002", 4, 2, 0, 49}, {L"bk0001", 4, 2, 0, 49}};
    client.Add<Quotes>("stock quotes", GetStockMarket(), boards, {{3, 4, 2, 0, 49}});
    client.Add<StockMarketItem>("single stock", GetSingleStockMarket(), symbols, hidden);
    client.Add<std::vector<OptionalMarketItem>>("watch list", GetOptionalStockMarket(),
                                                std::vector<SortingTarget>{{3, 1}, {4, 2}, {3, 1}}, {{1, 1}});
    client.Add<Quotes>("plate quotes", GetPlateMarket(), plates, {{1, 3, 2, 0, 49}});
    client.Add<PlateStockMarketData>("plate stocks", GetPlateStockMarket(), members,
                                     {{L"bk0003", 4, 2, 0, 49}});
  }

  static bool WithPollers(const Closed& closed) { return closed.pollers == Pollers::kYes || IsLongRun(); }

  // What the views call for; the history of K-lines and the reference data come on top.
  static std::map<std::string, Counts> Expected(const Closed& closed) {
    const auto count = [](const Instants& wakes) { return static_cast<std::uint64_t>(wakes.size()); };
    const Instants hourly = Hourly(closed, 1);
    const std::uint64_t wakes = count(hourly);
    // The view of the day's own date is one of the past from midnight on, and is asked for no more.
    const auto next_day = At(closed.date, 0, 0) + 86400;
    const auto of_the_day = static_cast<std::uint64_t>(
        std::count_if(hourly.begin(), hourly.end(), [&](std::int64_t wake) { return wake < next_day; }));
    std::map<std::string, Counts> expected = {
        {"index quotes", {{"/pc/rt/stock_detail_list", wakes}}},
        {"stock ranking", {{"/pc/rt/get_stock_rank", 2 * wakes}}},
        {"five-minute ranking", {{"/pc/rt/stock_five_change", 2 * wakes}}},
        {"plate ranking", {{"/pc/rt/get_bk_rank", 2 * wakes}}},
        {"minute line", {{"/pc/rt/get_day_time", wakes}}},
        {"K-line", {{"/pc/rt/get_day_kline", 2 * wakes}}},
        {"unusual events", {{"/pc/monitor/get_monitor", count(Hourly(closed, 30))}}},
        {"in and out", {{"/pc/rt/stock_in_out", count(Hourly(closed, 20))}}},
        {"strength", {{"/pc/rt/stock_min_num", wakes + of_the_day}}},
        {"distribution", {{"/pc/rt/stock_distribute_num", wakes + of_the_day}}},
        {"money effect", {{"/pc/rt/stock_min_average", wakes + of_the_day}}}};
    if (WithPollers(closed)) {
      const auto rounds = static_cast<std::uint64_t>((closed.end - closed.begin + 2) / 3);
      expected["stock quotes"] = {{"/pc/rt/get", 2 * rounds}};
      expected["single stock"] = {{"/pc/rt/stock_detail_list", 2 * rounds}};
      expected["watch list"] = {{"/pc/rt/stock_detail_list", rounds}};
      expected["plate quotes"] = {{"/pc/rt/get_bk_detail", 2 * rounds}};
      expected["plate stocks"] = {{"/pc/rt/get_bk_zone_list", 2 * rounds}};
    }
    return expected;
  }

  // The refresh thread: so many looks at the version of the metadata, so many loads of all lists.
  static Counts ReferenceData(std::uint64_t checks, std::uint64_t reloads) {
    Counts counts = {{"/pc/rt/stock_version", checks}};
    if (reloads > 0) {
      for (const char* const path : {"/pc/rt/get_basic_info", "/pc/rt/get_bk_list", "/pc/rt/stock_index_list",
                                     "/pc/rt/trade_date", "/pc/rt/stock_in_bk"}) {
        counts[path] = reloads;
      }
    }
    return counts;
  }

  // A package of each of the two symbols shown.
  static void AddPackages(Counts& counts, const std::string& version) {
    for (const std::string symbol : {"sh600000", "sz000001"}) {
      counts["/kline." + symbol + ".day.bfq." + version + ".gzip"] = 1;
    }
  }
};

World WithVersion(const std::string& version) {
  World world;
  world.version = [version](std::int64_t) { return version; };
  return world;
}

// Thursday's close to Friday's opening.
Closed ANight(int hour, int minute, int second) {
  return {At(20240314, hour, minute, second),
          At(20240315, 9, 30),
          {At(20240314, 15, 0), At(20240315, 0, 0), At(20240315, 9, 0), At(20240315, 9, 15),
           At(20240315, 9, 30), At(20240315, 11, 30)},
          20240314,
          Pollers::kLongRunsOnly};
}

TEST_F(ClosedMarket, aNightAsksWhatTheIntervalsCallFor) {
  const Closed night = ANight(15, 0, 0);
  // In the evening the packages of the day come out, and are seen at half past six.
  World world;
  world.version = [](std::int64_t now) { return now < At(20240314, 18, 0) ? "20240313" : "20240314"; };
  DrivenClient client(world, 20240314, 15, 0, 0);
  ShowAll(client, night);
  client.RunUntil(night.end);

  ASSERT_EQ(Hourly(night, 1).size(), 20U);  // 15:00 to 09:00 by the hour, and 09:15
  auto expected = Expected(night);
  // 17:00, 18:30, 20:30, 22:30, 00:30, and from there on with all lists 02:30, 04:30, 06:30, 08:30, 09:14
  expected["reference data"] = ReferenceData(10, 5);
  expected["reference data"]["/kline.meta.gzip"] = 1;
  AddPackages(expected["K-line"], "20240313");
  AddPackages(expected["K-line"], "20240314");
  EXPECT_EQ(client.counts(), expected);
}

TEST_F(ClosedMarket, aNightThatBeginsJustBeforeAChangeKeepsTheLeastIntervals) {
  const Closed night = ANight(14, 59, 45);
  DrivenClient client(WithVersion("20240313"), 20240314, 14, 59, 45);
  ShowAll(client, night);
  client.RunUntil(night.end);

  // The two with a least interval of their own sleep past the close: 14:59:45, 15:00:05 or 15:00:15, the same
  // of every hour to 23:00, midnight, and as everybody from there on.
  ASSERT_EQ(Hourly(night, 1).size(), 21U);
  ASSERT_EQ(Hourly(night, 20)[1], At(20240314, 15, 0, 5));
  ASSERT_EQ(Hourly(night, 30)[2], At(20240314, 16, 0, 15));
  auto expected = Expected(night);
  expected["reference data"] = ReferenceData(10, 5);
  AddPackages(expected["K-line"], "20240313");
  // The packages end on the 13th; on the 15th the history must reach the 14th.
  expected["K-line"]["/kql"] = 2;
  EXPECT_EQ(client.counts(), expected);
}

TEST_F(ClosedMarket, aWeekendIsOneLongPhase) {
  const Closed weekend = {At(20240315, 15, 0),
                          At(20240318, 9, 30),
                          {At(20240316, 0, 0), At(20240318, 9, 0), At(20240318, 9, 15), At(20240318, 9, 30),
                           At(20240318, 11, 30)},
                          20240315,
                          Pollers::kLongRunsOnly};
  DrivenClient client(WithVersion("20240314"), 20240315, 15, 0, 0);
  ShowAll(client, weekend);
  client.RunUntil(weekend.end);

  ASSERT_EQ(Hourly(weekend, 1).size(), 68U);  // 15:00 on Friday to 09:00 on Monday by the hour, and 09:15
  auto expected = Expected(weekend);
  expected["reference data"] = ReferenceData(4 + 2 * 13 + 6, 3 * 5);
  AddPackages(expected["K-line"], "20240314");
  // Friday itself is missing in the packages: asked for on each of the three days, once for each symbol.
  expected["K-line"]["/kql"] = 3 * 2;
  EXPECT_EQ(client.counts(), expected);
}

TEST_F(ClosedMarket, aHolidayIsAsLongAsTheCalendarSays) {
  // Thursday and Friday are holidays, so the market is closed from Wednesday to Monday.
  const Closed holiday = {At(20240403, 15, 0),
                          At(20240408, 9, 30),
                          {At(20240404, 0, 0), At(20240408, 9, 0), At(20240408, 9, 15), At(20240408, 9, 30),
                           At(20240408, 11, 30)},
                          20240403,
                          Pollers::kLongRunsOnly};
  World world = WithVersion("20240402");
  world.holidays = {"2024-04-04", "2024-04-05"};
  DrivenClient client(world, 20240403, 15, 0, 0);
  ShowAll(client, holiday);
  client.RunUntil(holiday.end);

  ASSERT_EQ(Hourly(holiday, 1).size(), 116U);
  auto expected = Expected(holiday);
  expected["reference data"] = ReferenceData(4 + 4 * 13 + 6, 5 * 5);
  AddPackages(expected["K-line"], "20240402");
  expected["K-line"]["/kql"] = 5 * 2;
  EXPECT_EQ(client.counts(), expected);
}

TEST_F(ClosedMarket, theHourAroundMidnightIsNoExceptionForThoseThatAskEveryThreeSeconds) {
  const Closed hour = {At(20240314, 23, 30),
                       At(20240315, 0, 30),
                       {At(20240315, 0, 0), At(20240315, 9, 0)},
                       20240314,
                       Pollers::kYes};
  DrivenClient client(WithVersion("20240313"), 20240314, 23, 30, 0);
  ShowAll(client, hour);
  client.RunUntil(hour.end);

  ASSERT_EQ(Hourly(hour, 1), (Instants{At(20240314, 23, 30), At(20240315, 0, 0)}));
  auto expected = Expected(hour);
  ASSERT_EQ(expected.at("watch list"), (Counts{{"/pc/rt/stock_detail_list", 1200}}));
  AddPackages(expected["K-line"], "20240313");
  expected["K-line"]["/kql"] = 2;
  EXPECT_EQ(client.counts(), expected);
}

TEST_F(ClosedMarket, theLunchBreakIsAskedAboutTwice) {
  const Closed lunch = {At(20240314, 11, 30),
                        At(20240314, 13, 0),
                        {At(20240314, 13, 0), At(20240314, 15, 0)},
                        20240314,
                        Pollers::kLongRunsOnly};
  DrivenClient client(WithVersion("20240313"), 20240314, 11, 30, 0);
  ShowAll(client, lunch);
  client.RunUntil(lunch.end);

  ASSERT_EQ(Hourly(lunch, 1), (Instants{At(20240314, 11, 30), At(20240314, 12, 30)}));
  auto expected = Expected(lunch);
  expected["reference data"] = ReferenceData(1, 0);  // 12:45
  AddPackages(expected["K-line"], "20240313");
  EXPECT_EQ(client.counts(), expected);
}

TEST_F(ClosedMarket, aDayOfTradeAsksAtItsPhasesAndHours) {
  const Closed day = {At(20240314, 9, 0),
                      At(20240314, 15, 0),
                      {At(20240314, 9, 15), At(20240314, 9, 30), At(20240314, 11, 30), At(20240314, 13, 0),
                       At(20240314, 15, 0)},
                      20240314,
                      Pollers::kLongRunsOnly};
  DrivenClient client(WithVersion("20240313"), 20240314, 9, 0, 0);
  ShowAll(client, day);
  client.RunUntil(day.end);

  ASSERT_EQ(Hourly(day, 1).size(), 8U);  // 09:00, 09:15, 09:30, 10:30, 11:30, 12:30, 13:00, 14:00
  auto expected = Expected(day);
  expected["reference data"] = ReferenceData(4, 1);  // 09:14 with all lists, 11:14, 12:45, 14:45
  AddPackages(expected["K-line"], "20240313");
  EXPECT_EQ(client.counts(), expected);
}

TEST_F(ClosedMarket, hiddenViewsAskForNothing) {
  const Closed night = ANight(15, 0, 0);
  DrivenClient client(WithVersion("20240313"), 20240314, 15, 0, 0);
  ShowAll(client, night);
  client.HideAll();
  client.RunUntil(night.end);
  EXPECT_EQ(client.counts(), (std::map<std::string, Counts>{{"reference data", ReferenceData(10, 5)}}));
}

TEST_F(ClosedMarket, whoAsksOnlyWhenToldIsSilentOtherwise) {
  DrivenClient client(WithVersion("20240313"), 20240314, 15, 0, 0);
  CountingView<std::list<MarginTradeItem>> margin;
  CountingView<std::list<StockPurchaseItem>> purchase;
  GetMarginTrade()->Attach(&margin);
  GetStockPurchase()->Attach(&purchase);
  client.Count("margin trading", [] { GetMarginTrade()->FetchMarginTradeInfo(); });
  client.Count("new shares", [] { GetStockPurchase()->FetchPurchaseInfo(); });
  client.RunUntil(At(20240315, 9, 30));
  EXPECT_EQ(client.counts(), (std::map<std::string, Counts>{{"margin trading", {{"/pc/rt/stock_trade", 1}}},
                                                            {"new shares", {{"/pc/rt/stock_buy", 1}}},
                                                            {"reference data", ReferenceData(10, 5)}}));
  EXPECT_EQ(margin.updates(), 1U);
  EXPECT_EQ(purchase.updates(), 1U);
  GetMarginTrade()->Detach(&margin);
  GetStockPurchase()->Detach(&purchase);
}

}  // namespace
}  // namespace client_test
