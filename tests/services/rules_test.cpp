// What the polled services differ in: how long they sleep, what a late view gets, whom they tell.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "answers.h"
#include "fetches.h"
#include "frame/polled_subject.h"

namespace {

enum class Sleep {
  kThreeSeconds,
  kPhase,          // to the next phase; asks the host again and takes the second answer
  kTwentyAtLeast,  // to the next phase within limits; asks the host once
  kThirtyAtLeast,
};

struct PolledCase {
  std::string name;
  std::string fetch;  // the fetch of a refresh; empty without one
  Sleep sleep;
  bool cached;        // a late view is served without a request
  bool tells_hidden;  // a view that is not shown is told as well

  std::function<int(AllServices&)> interval;
  std::function<void(AllServices&)> refresh;
  std::function<std::pair<std::size_t, std::size_t>(AllServices&)> told;  // shown, hidden
  std::function<bool(AllServices&)> keeps;
};

void PrintTo(const PolledCase& service, std::ostream* stream) {
  *stream << service.name;
}

template <class Subject>
PolledCase Polled(const std::string& name, Subject AllServices::*subject, const std::string& fetch,
                  Sleep sleep, bool cached = true, bool tells_hidden = false) {
  return {name,
          fetch,
          sleep,
          cached,
          tells_hidden,
          [subject](AllServices& all) { return (all.*subject).service->GetInterval(); },
          [subject](AllServices& all) { (all.*subject).Refresh(); },
          [subject](AllServices& all) {
            return std::pair((all.*subject).view.Count(), (all.*subject).hidden.Count());
          },
          [subject](AllServices& all) { return (all.*subject).KeepsTheLast(); }};
}

std::vector<PolledCase> AllPolled() {
  return {
      Polled("MarketState", &AllServices::market_state, "", Sleep::kPhase, true, true),
      Polled("IndexMarket", &AllServices::index_market, "IndexQuotes", Sleep::kPhase, false, true),
      Polled("StockMarket", &AllServices::stock_market, "StockQuotes", Sleep::kThreeSeconds),
      Polled("SingleStock", &AllServices::single_stock, "SingleStock", Sleep::kThreeSeconds),
      Polled("OptionalStocks", &AllServices::optional_stocks, "OptionalStocks", Sleep::kThreeSeconds, false),
      Polled("PlateMarket", &AllServices::plate_market, "PlateQuotes", Sleep::kThreeSeconds),
      Polled("PlateStocks", &AllServices::plate_stocks, "PlateStocks", Sleep::kThreeSeconds),
      Polled("StockRanking", &AllServices::stock_ranking, "StockRanking", Sleep::kPhase),
      Polled("FiveMinuteRanking", &AllServices::five_minute_ranking, "FiveMinuteRanking", Sleep::kPhase),
      Polled("PlateRanking", &AllServices::plate_ranking, "PlateRanking", Sleep::kPhase),
      Polled("MinuteLine", &AllServices::minute_line, "MinuteLine", Sleep::kPhase),
      Polled("KLine", &AllServices::kline, "KLine", Sleep::kPhase),
      Polled("UnusualEvents", &AllServices::events, "UnusualEvents", Sleep::kThirtyAtLeast, false),
      Polled("InOut", &AllServices::in_out, "InOut", Sleep::kTwentyAtLeast),
      Polled("StrengthRating", &AllServices::strength, "StrengthRating", Sleep::kPhase),
      Polled("Distribution", &AllServices::distribution, "Distribution", Sleep::kPhase),
      Polled("MoneyEffect", &AllServices::money_effect, "MoneyEffect", Sleep::kPhase),
  };
}

class EveryPolledService : public ::testing::TestWithParam<PolledCase> {
 protected:
  // The interval after these answers of the host, and how often it was asked.
  std::pair<int, std::size_t> Interval(const std::vector<std::int32_t>& spans) {
    const std::size_t before = all.host.SpanCalls().size();
    all.host.ScriptSpans(spans);
    const int interval = service.interval(all);
    all.host.ScriptSpans({});
    return {interval, all.host.SpanCalls().size() - before};
  }
  void AnswerWell() {
    if (service.fetch.empty()) return;
    const FetchCase& fetch = FetchNamed(service.fetch);
    all.host.Allow(Script(fetch.path).Inline(Answer::Body(fetch.good)));
    all.host.Allow(Script("/kql").Inline(Answer::Body("{}")));
  }

  const PolledCase& service = GetParam();
  AllServices all;
};

using Asked = std::pair<int, std::size_t>;

TEST_P(EveryPolledService, sleepsForItsInterval) {
  switch (service.sleep) {
    case Sleep::kThreeSeconds:
      EXPECT_EQ(Interval({7200}), Asked(3, 0));
      break;
    case Sleep::kPhase:
      EXPECT_EQ(Interval({3601, 5}), Asked(3600, 1));
      EXPECT_EQ(Interval({3600, 3599}), Asked(3599, 2));
      EXPECT_EQ(Interval({10, 9}), Asked(9, 2));
      EXPECT_EQ(Interval({10, 90000}), Asked(90000, 2));
      break;
    case Sleep::kTwentyAtLeast:
    case Sleep::kThirtyAtLeast: {
      const int least = service.sleep == Sleep::kTwentyAtLeast ? 20 : 30;
      EXPECT_EQ(Interval({7200, 5}), Asked(3600, 1));
      EXPECT_EQ(Interval({3600, 5}), Asked(3600, 1));
      EXPECT_EQ(Interval({least + 1, 5}), Asked(least + 1, 1));
      EXPECT_EQ(Interval({least - 1, 50}), Asked(least, 1));
      EXPECT_EQ(Interval({-1, 50}), Asked(least, 1));
      break;
    }
  }
}

TEST_P(EveryPolledService, tellsShownViewsAndHiddenOnesIfItDoes) {
  AnswerWell();
  service.refresh(all);
  EXPECT_EQ(service.told(all), (std::pair<std::size_t, std::size_t>(1, service.tells_hidden ? 1 : 0)));
  EXPECT_EQ(all.Told(), service.tells_hidden ? 2U : 1U) << "another service told somebody";
}

TEST_P(EveryPolledService, servesALateViewFromItsCacheIfItHasOne) {
  AnswerWell();
  service.refresh(all);
  EXPECT_EQ(service.keeps(all), service.cached);
}

TEST_P(EveryPolledService, asksAgainForALateViewOfOldData) {
  AnswerWell();
  service.refresh(all);
  all.ticks.Advance(300);
  EXPECT_EQ(service.keeps(all), service.cached) << "fresh for 300 ms";
  const std::size_t requests = all.host.RequestCount();
  all.ticks.Advance(100000);
  service.keeps(all);
  EXPECT_EQ(all.host.RequestCount() > requests, !service.fetch.empty());
}

// A view that comes back on Monday was given Friday's curve, and no request was made, because another day's
// had just come.
TEST(ViewsOfToday, areGivenTheLastCurveAndANewOneAfterMidnight) {
  AllServices all;
  const auto answer = [&all](const char* body) {
    all.host.Expect(Script("/pc/rt/stock_min_num").Inline(Answer::Body(body)));
  };
  IStrengthRating* const service = all.strength.service.get();
  RecordingObserver<std::vector<StrengthRatingItem>> today, past;
  service->Attach(&today);
  service->SetTarget(&today, 0);
  answer(R"({"data":{"list":[{"min":1500,"up":1}]}})");
  service->Resume(&today, true);
  service->Suspend(&today);
  all.host.SetTime(20240318, 10, 0, 0);
  all.ticks.Advance(3 * 86'400'000);
  service->Attach(&past);
  service->SetTarget(&past, 20240314);
  answer(R"({"data":{"list":[{"min":1500,"up":2}]}})");
  service->Resume(&past, true);
  service->Suspend(&past);
  ASSERT_EQ(past.Count(), 1U);
  answer(R"({"data":{"list":[{"min":931,"up":3}]}})");
  service->Resume(&today, true);
  ASSERT_EQ(today.Count(), 3U) << "Friday's curve twice, then Monday's";
  EXPECT_EQ(today.Updates()[1][0].up, 1);
  EXPECT_EQ(today.Updates()[2][0].up, 3);
  for (auto* const view : {&today, &past}) service->Detach(view);
}

// On a line that is slower than the interval each answer was old when it came.
TEST(StocksOfAPlate, areShownOnASlowLine) {
  AllServices all;
  all.host.Allow(Script("/pc/rt/get_bk_zone_list").Held());
  const auto asked = [&all] { return all.host.RequestsTo("/pc/rt/get_bk_zone_list").size(); };
  all.plate_stocks.While([&] {
    IPlateStockMarket* const service = all.plate_stocks.service.get();
    auto& polled = dynamic_cast<frame::PolledSubject<IPlateStockMarket>&>(*service);
    polled.PollOnce();
    all.steady.Advance(3000);
    polled.PollOnce();
    all.steady.Advance(3000);
    polled.PollOnce();
    EXPECT_EQ(asked(), 1U) << "rounds are left out while the answer is on its way";
    all.host.Complete(0, Answer::Body(R"({"total_num":7,"data":[]})"));
    EXPECT_EQ(all.plate_stocks.view.Last().total_num, 7);
    polled.PollOnce();
    EXPECT_EQ(asked(), 2U);
    service->Refresh();
    service->OnTimer();
    EXPECT_EQ(asked(), 4U) << "who asks is asked for";
    all.steady.Advance(10'000);
    polled.PollOnce();
    EXPECT_EQ(asked(), 4U);
    all.steady.Advance(1);
    polled.PollOnce();
    EXPECT_EQ(asked(), 5U) << "for ten seconds at most";
  });
}

INSTANTIATE_TEST_SUITE_P(Rules, EveryPolledService, ::testing::ValuesIn(AllPolled()),
                         [](const auto& each) { return each.param.name; });

}  // namespace
