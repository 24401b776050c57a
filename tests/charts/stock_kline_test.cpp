// K-lines from request to view: who is asked, who is told, today's candle in the series.
#include "charts/stock_kline.h"

#include <gtest/gtest.h>

#include <set>

#include "kline_fixture.h"
#include "scripted_ticks.h"

namespace {

using namespace kline_test;

const KLineCandle kThursday = Candle(20240314, 30);
const KLineCandle kToday = Candle(20240315, 40);

class StockKLine : public KLineTest {
 protected:
  ScriptedTicks ticks;
};

TEST_F(StockKLine, asksForNothingWhenNobodyLooks) {
  service->Attach(&view);
  service->SetTarget(&view, L"sh600000");
  service->Fetch();
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(StockKLine, asksForEachShownSymbolAlone) {
  packages.Announce(L"");
  RecordingObserver<StockKLineData> second;
  RecordingObserver<StockKLineData> same;
  Show(view, L"sh600000");
  Show(second, L"sz399001");
  Show(same, L"sh600000");
  host.Allow(Script(kHistoryPath).Inline(History({kThursday})));
  host.Expect(Script(kDayPath)
                  .With({{"stock_arr", R"(["sh600000"])"}})
                  .Setting(30)
                  .Inline(Today("sh600000", kToday)));
  host.Expect(Script(kDayPath)
                  .With({{"stock_arr", R"(["sz399001"])"}})
                  .Setting(30)
                  .Inline(Today("sz399001", Candle(20240315, 50))));
  service->OnTimer();
  EXPECT_EQ(host.RequestsTo(kDayPath)[0].kind, Request::Kind::kAsync);
  EXPECT_EQ(view.Last(), (StockKLineData{L"sh600000", 1, 1, {kThursday, kToday}}));
  EXPECT_EQ(same.Count(), 1U);
  EXPECT_EQ(second.Last(), (StockKLineData{L"sz399001", 1, 1, {kThursday, Candle(20240315, 50)}}));
  service->Detach(&second);
  service->Detach(&same);
}

TEST_F(StockKLine, pollsThePeriodThatWasAskedForLast) {
  Show(view, L"sh600000");
  host.Allow(Script(kDayPath).Inline(NoToday()));
  host.Allow(Script(kHistoryPath).Inline(History({kThursday})));
  for (const char* period : {"day", "week", "month"}) {
    for (const char* adjustment : {"bfq", "qfq", "hfq"}) {
      host.Allow(Script(PackagePath("sh600000", period, adjustment, "20240314"))
                     .Inline(Answer::Body(Gzip(Package({kThursday})))));
    }
  }
  const auto shown = [this] { return std::pair(view.Last().period, view.Last().adjustment); };
  service->Refresh();
  EXPECT_EQ(shown(), std::pair(1, 1)) << "days without adjustment before anybody asks";
  service->FetchKLine(L"sh600000", 2, 3, {});
  EXPECT_EQ(shown(), std::pair(2, 3));
  service->Refresh();
  EXPECT_EQ(shown(), std::pair(2, 3));
  host.Expect(Script(PackagePath("sh600001", "month", "bfq", "20240314"))
                  .Inline(Answer::Body(Gzip(Package({kThursday})))));
  // Another symbol's question, or one with a call-back, changes nothing.
  service->FetchKLine(L"sh600001", 3, 1, {});
  service->FetchKLine(L"sh600000", 3, 2, KLineTest::Keep());
  service->Refresh();
  EXPECT_EQ(shown(), std::pair(2, 3));
  for (const int number : {0, 4, -1, 257}) {
    service->FetchKLine(L"sh600000", 3, 3, {});
    service->FetchKLine(L"sh600000", number, number, {});
    EXPECT_EQ(shown(), std::pair(1, 1)) << number;
  }
}

TEST_F(StockKLine, handsTheSeriesToACallbackAlone) {
  Show(view, L"sh600000");
  Keep(L"20240314", {kThursday});
  EXPECT_EQ(Load(1, 1, Today("sh600000", kToday)), List({kThursday, kToday}));
  EXPECT_EQ(got.back().symbol, L"sh600000");
  EXPECT_EQ(view.Count(), 0U);
  service->Suspend(&view);
  host.Expect(Script(kDayPath).Inline(NoToday()));
  service->Resume(&view, true);
  EXPECT_EQ(host.RequestsTo(kDayPath).size(), 2U) << "nothing was kept for views";
}

TEST_F(StockKLine, keepsTheSeriesForThoseWhoComeBackSoon) {
  Show(view, L"sh600000");
  Keep(L"20240314", {kThursday});
  host.Expect(Script(kDayPath).Inline(Today("sh600000", kToday)));
  service->Refresh();
  service->Suspend(&view);
  ticks.Advance(300);
  service->Resume(&view, true);
  ASSERT_EQ(view.Count(), 2U);
  EXPECT_EQ(view.Updates()[0], view.Updates()[1]);
}

// A view that was resumed was told days after weeks had been asked for.
TEST_F(StockKLine, forgetsTheSeriesThatWasAskedForBefore) {
  Show(view, L"sh600000");
  Keep(L"20240314", {kThursday});
  Keep(L"20240314", {kThursday}, 2);
  const auto resume = [this] {
    const std::size_t before = view.Count();
    service->Suspend(&view);
    service->Resume(&view, true);
    return view.Count() - before;
  };
  host.Expect(Script(kDayPath).Inline(Today("sh600000", kToday)));
  service->Refresh();
  host.Allow(Script(kDayPath).Held());
  service->FetchKLine(L"sh600000", 1, 1, {});
  EXPECT_EQ(resume(), 1U) << "the series is the same";
  service->FetchKLine(L"sh600000", 2, 1, KLineTest::Keep());
  EXPECT_EQ(resume(), 1U) << "a direct request changes nothing";
  service->FetchKLine(L"sh600000", 2, 1, {});
  EXPECT_EQ(resume(), 0U);
  host.Complete(host.RequestCount() - 1, Today("sh600000", kToday));
  EXPECT_EQ(view.Last().period, 2) << "the answer to what the resumed view asked for";
  EXPECT_EQ(resume(), 1U);
  service->FetchKLine(L"sh600000", 2, 3, {});
  EXPECT_EQ(resume(), 0U);
}

TEST_F(StockKLine, dropsTheSeriesOfASymbolThatIsLeft) {
  Show(view, L"sh600000");
  Keep(L"20240314", {kThursday});
  host.Expect(Script(kDayPath).Times(2).Inline(Today("sh600000", kToday)));
  service->Refresh();
  service->SetTarget(&view, L"sh600001");
  service->SetTarget(&view, L"sh600000");
  service->Suspend(&view);
  service->Resume(&view, true);
  EXPECT_EQ(host.RequestsTo(kDayPath).size(), 2U);
}

TEST_F(StockKLine, tellsOnlyActiveViewsOfTheSymbol) {
  RecordingObserver<StockKLineData> hidden;
  RecordingObserver<StockKLineData> other;
  Show(view, L"sh600000");
  Show(hidden, L"sh600000");
  service->Suspend(&hidden);
  Show(other, L"sh600001");
  service->Suspend(&other);
  Keep(L"20240314", {kThursday});
  host.Expect(Script(kDayPath).Inline(NoToday()));
  service->Refresh();
  EXPECT_EQ(view.Count(), 1U);
  EXPECT_EQ(hidden.Count() + other.Count(), 0U);
  service->Detach(&hidden);
  service->Detach(&other);
}

TEST_F(StockKLine, deliversTheHistoryWhereThereIsNoCandleOfToday) {
  Keep(L"20240314", {kThursday});
  for (const char* body :
       {R"({"errno":0})", R"({"data":[]})", R"({"data":{"sh600001":{"date":"20240315","list":{"last":1}}}})",
        R"({"data":{"sh600000":{"date":"20240315","list":[]}}})", R"({"data":{"sh600000":null}})"}) {
    EXPECT_EQ(Load(1, 1, Answer::Body(body)), List({kThursday})) << body;
  }
}

TEST_F(StockKLine, readsADayWithoutTrades) {
  Keep(L"20240314", {kThursday});
  const auto candles = Load(
      1, 1,
      Answer::Body(
          R"({"data":{"sh600000":{"date":"2024-03-15","list":[{"preclose":9,"last":9,"vol":0,"amt":0}]}}})"));
  EXPECT_EQ(candles.back(), (KLineCandle{20240315, 9, 0, 0, 9, 0, 0, 0, 0}));
}

TEST_F(StockKLine, replacesTodayAtEveryPoll) {
  Keep(L"20240314", {kThursday});
  for (int poll = 40; poll < 45; ++poll) {
    EXPECT_EQ(Load(1, 1, Today("sh600000", Candle(20240315, poll))),
              List({kThursday, Candle(20240315, poll)}));
  }
}

TEST_F(StockKLine, addsTodayToTheWeekAndTheMonthAtEveryPollAnew) {
  const KLineCandle week{20240314, 10, 11, 15, 12, 9, 1000, 50000, 1.5};
  Keep(L"20240314", {Candle(20240308, 5), week}, 2);
  Keep(L"20240314", {Candle(20240229, 5), week}, 3);
  for (const int volume : {300, 400, 400}) {
    KLineCandle today{20240315, 12, 12.5, 16, 13, 10, 0, 4000, 0.25};
    today.volume = static_cast<std::uint64_t>(volume);
    const KLineCandle merged{20240315, 10, 11, 16, 13, 9, 1000 + today.volume, 54000, 1.75};
    EXPECT_EQ(Load(2, 1, Today("sh600000", today)), List({Candle(20240308, 5), merged}));
    EXPECT_EQ(Load(3, 1, Today("sh600000", today)), List({Candle(20240229, 5), merged}));
  }
}

TEST_F(StockKLine, startsAWeekOnMondayAndAMonthOnItsFirstDay) {
  host.SetTime(20240401, 10, 0, 0);  // a Monday
  const KLineCandle monday = Candle(20240401, 50);
  Keep(L"20240329", {Candle(20240329, 30)}, 2);
  Keep(L"20240329", {Candle(20240329, 30)}, 3);
  EXPECT_EQ(Load(2, 1, Today("sh600000", monday)), List({Candle(20240329, 30), monday}));
  EXPECT_EQ(Load(3, 1, Today("sh600000", monday)), List({Candle(20240329, 30), monday}));
}

TEST_F(StockKLine, addsNothingToAPackageThatHoldsTheDay) {
  const KLineCandle week = Candle(20240315, 60);
  Keep(L"20240315", {week}, 2);
  Keep(L"20240315", {Candle(20240315, 60)}, 1);
  EXPECT_EQ(Load(2, 1, Today("sh600000", kToday)), List({week}));
  EXPECT_EQ(Load(1, 1, Today("sh600000", kToday)), List({kToday}));
}

TEST_F(StockKLine, ignoresADayBeforeTheLastCandle) {
  Keep(L"20240314", {kThursday});
  EXPECT_EQ(Load(1, 1, Today("sh600000", Candle(20240313, 1))), List({kThursday}));
}

// A holiday on the package's last trading day: the week goes on behind it.
TEST_F(StockKLine, addsTodayAcrossAHoliday) {
  pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(2024, {20240313, 20240314});
  packages.Announce(L"20240312");
  Keep(L"20240312", {Candle(20240312, 8)}, 2);
  EXPECT_EQ(Load(2, 1, Today("sh600000", kToday)).size(), 1U);
  EXPECT_EQ(host.RequestsTo(kHistoryPath).size(), 0U);
}

TEST_F(StockKLine, completesTheWeekByItsTailBeforeTodayIsAdded) {
  Keep(L"20240312", {Candle(20240308, 5), Candle(20240312, 8)}, 2);
  host.Expect(Script(kHistoryPath)
                  .With(Query("sh600000", "kline.week", "bfq", 3))
                  .Inline(History({Candle(20240308, 5), Candle(20240314, 9)})));
  packages.Announce(L"20240312");
  const auto candles = Load(2, 1, Today("sh600000", kToday));
  ASSERT_EQ(candles.size(), 2U);
  EXPECT_EQ(candles.back().date, 20240315U);
  EXPECT_EQ(candles.back().volume, 900U + 4000U);
}

TEST_F(StockKLine, waitsForTheHistoryInATaskOnly) {
  host.SetTaskMode(ScriptedHost::TaskMode::kQueued);
  Show(view, L"sh600000");
  Keep(L"20240314", {kThursday});
  host.Expect(Script(kDayPath).Inline(Today("sh600000", kToday)));
  service->Refresh();
  EXPECT_EQ(view.Count(), 0U);
  EXPECT_EQ(host.QueuedTasks(), 1U);
  host.RunTasks();
  EXPECT_EQ(view.Last().candles, List({kThursday, kToday}));
}

TEST_F(StockKLine, ignoresANullSymbol) {
  service->FetchKLine(nullptr, 1, 1, KLineTest::Keep());
  service->FetchKLine(nullptr, 1, 1, {});
  EXPECT_EQ(host.RequestCount(), 0U);
}

TEST_F(StockKLine, dropsWhatComesAfterItsEnd) {
  Show(view, L"sh600000");
  host.SetTaskMode(ScriptedHost::TaskMode::kQueued);
  Keep(L"20240314", {kThursday});
  host.Expect(Script(kDayPath).Inline(Today("sh600000", kToday)));
  host.Expect(Script(kDayPath).Held());
  service->Refresh();
  service->FetchKLine(L"sh600000", 1, 1, KLineTest::Keep());
  service.reset();
  host.RunTasks();
  host.Complete(1, Today("sh600000", kToday));
  EXPECT_EQ(host.RunTasks(), 0U);
  EXPECT_EQ(view.Count(), 0U);
  EXPECT_TRUE(got.empty());
  service.reset(charts::MakeStockKLine());
}

}  // namespace
