// Adjusted series: pieces of different bases are linked, so that no jump appears where nothing happened. The
// figures are those of a stock by hand: raw prices, and what its dividends and splits make of them.
#include <gtest/gtest.h>

#include <filesystem>

#include "kline_fixture.h"

namespace {

using namespace kline_test;

constexpr int kDay = 1;
constexpr int kWeek = 2;
constexpr int kMonth = 3;
constexpr int kNone = 1;
constexpr int kForward = 2;
constexpr int kBackward = 3;

// A candle at four prices around `close`, in a base in which prices are `factor` times the traded ones.
KLineCandle Prices(std::uint32_t date, double preclose, double close, double factor = 1,
                   std::uint64_t volume = 1000) {
  return {date,
          preclose * factor,
          (close - 0.25) * factor,
          (close + 0.5) * factor,
          close * factor,
          (close - 0.5) * factor,
          volume,
          static_cast<double>(volume) * 10,
          0.5};
}

const KLineCandle kNoTrade{20240315, 20, 0, 0, 0, 0, 0, 0, 0};

class KLineAdjusted : public KLineTest {
 protected:
  // A stock that closed at 18, 19 and 20 on the three days before today, in the base of each adjustment.
  void KeepThreeDays(int adjustment, double factor) {
    Keep(L"20240314",
         {Prices(20240312, 17, 18, factor), Prices(20240313, 18, 19, factor),
          Prices(20240314, 19, 20, factor)},
         kDay, adjustment);
  }
};

// A backward adjusted series ended in an unadjusted candle: 93.55, then 84.15 where nothing happened.
TEST_F(KLineAdjusted, todayGoesOnInTheBaseOfABackwardSeries) {
  KeepThreeDays(kBackward, 2);
  EXPECT_EQ(Load(kDay, kBackward, Today("sh600000", Prices(20240315, 20, 21))),
            List({Prices(20240312, 17, 18, 2), Prices(20240313, 18, 19, 2), Prices(20240314, 19, 20, 2),
                  Prices(20240315, 20, 21, 2)}));
}

TEST_F(KLineAdjusted, todaysSplitRaisesTheFactorOfABackwardSeries) {
  KeepThreeDays(kBackward, 2);
  EXPECT_EQ(Load(kDay, kBackward, Today("sh600000", Prices(20240315, 10, 10.5))),
            List({Prices(20240312, 17, 18, 2), Prices(20240313, 18, 19, 2), Prices(20240314, 19, 20, 2),
                  Prices(20240315, 10, 10.5, 4)}));
}

TEST_F(KLineAdjusted, todaysSplitLowersTheHistoryOfAForwardSeries) {
  KeepThreeDays(kForward, 1);
  const auto today = Today("sh600000", Prices(20240315, 10, 10.5));
  const auto expected = List({Prices(20240312, 17, 18, 0.5), Prices(20240313, 18, 19, 0.5),
                              Prices(20240314, 19, 20, 0.5), Prices(20240315, 10, 10.5)});
  EXPECT_EQ(Load(kDay, kForward, today), expected);
  EXPECT_EQ(Load(kDay, kForward, today), expected) << "once, however often it is loaded";
}

TEST_F(KLineAdjusted, unadjustedSeriesStayAsTraded) {
  KeepThreeDays(kNone, 1);
  EXPECT_EQ(Load(kDay, kNone, Today("sh600000", Prices(20240315, 10, 10.5))),
            List({Prices(20240312, 17, 18), Prices(20240313, 18, 19), Prices(20240314, 19, 20),
                  Prices(20240315, 10, 10.5)}));
}

// The week showed -13.83 % for -5.09 %.
TEST_F(KLineAdjusted, todayIsAddedToTheWeekAndTheMonthInTheirBase) {
  for (const int period : {kWeek, kMonth}) {
    Keep(L"20240314", {{20240314, 34, 35, 44, 40, 33, 3000, 30000, 1.5}}, period, kBackward);
    EXPECT_EQ(Load(period, kBackward, Today("sh600000", {20240315, 10, 10, 11.5, 9.5, 8, 500, 5000, 0.5})),
              List({{20240315, 34, 35, 46, 38, 32, 3500, 35000, 2}}))
        << "four times the prices of today";
    Keep(L"20240314", {{20240314, 17, 17.5, 22, 20, 16.5, 3000, 30000, 1.5}}, period, kForward);
    EXPECT_EQ(Load(period, kForward, Today("sh600000", {20240315, 10, 10, 11.5, 9.5, 8, 500, 5000, 0.5})),
              List({{20240315, 8.5, 8.75, 11.5, 9.5, 8, 3500, 35000, 2}}))
        << "half the prices of the days before";
  }
}

TEST_F(KLineAdjusted, aNewWeekBeginsInTheBaseOfTheOneBefore) {
  host.SetTime(20240318, 10, 0, 0);  // a Monday
  Keep(L"20240315", {Prices(20240315, 19, 20, 2)}, kWeek, kBackward);
  EXPECT_EQ(Load(kWeek, kBackward, Today("sh600000", Prices(20240318, 20, 21))),
            List({Prices(20240315, 19, 20, 2), Prices(20240318, 20, 21, 2)}));
}

// In the evening the adjusted candle of the package was replaced by the one as traded.
TEST_F(KLineAdjusted, aCandleThatCameAdjustedStays) {
  host.SetTime(20240315, 19, 0, 0);
  packages.Announce(L"20240315");
  for (const int adjustment : {kForward, kBackward}) {
    const std::vector<KLineCandle> whole = {Prices(20240314, 19, 20, 2), Prices(20240315, 20, 21, 2)};
    Keep(L"20240315", whole, kDay, adjustment);
    EXPECT_EQ(Load(kDay, adjustment, Today("sh600000", Prices(20240315, 20, 21))),
              (std::list(whole.begin(), whole.end())));
  }
}

TEST_F(KLineAdjusted, aCandleAsTradedIsReplacedByALaterOne) {
  Keep(L"20240315", {Prices(20240314, 19, 20), Prices(20240315, 20, 21)});
  EXPECT_EQ(Load(kDay, kNone, Today("sh600000", Prices(20240315, 20, 22))).back(), Prices(20240315, 20, 22));
}

// --- Tails ---

// A tail joined two bases: 22, 22, 12.
TEST_F(KLineAdjusted, aTailIsLinkedToAPackageOfAnOlderBase) {
  // Split on Thursday: what the history service has of Wednesday and before is halved.
  Keep(L"20240314", {Prices(20240312, 22, 22), Prices(20240313, 22, 22)}, kDay, kForward);
  host.Expect(Script(kHistoryPath)
                  .With(Query("sh600000", "kline.day", "qfq", 2))
                  .Inline(History({Prices(20240313, 22, 22, 0.5), Prices(20240314, 11, 12)})));
  EXPECT_EQ(Load(kDay, kForward),
            List({Prices(20240312, 22, 22, 0.5), Prices(20240313, 22, 22, 0.5), Prices(20240314, 11, 12)}));
}

TEST_F(KLineAdjusted, aTailOfAnotherBackwardBaseFollowsThePackage) {
  Keep(L"20240314", {Prices(20240312, 22, 22, 3), Prices(20240313, 22, 22, 3)}, kDay, kBackward);
  host.Expect(
      Script(kHistoryPath).Inline(History({Prices(20240313, 22, 22, 1.5), Prices(20240314, 11, 12, 3)})));
  EXPECT_EQ(Load(kDay, kBackward),
            List({Prices(20240312, 22, 22, 3), Prices(20240313, 22, 22, 3), Prices(20240314, 11, 12, 6)}));
}

TEST_F(KLineAdjusted, aTailThatBeginsWithTheNextDayIsLinkedByItsPreviousClose) {
  Keep(L"20240314", {Prices(20240313, 22, 22)}, kDay, kForward);
  host.Expect(Script(kHistoryPath).Inline(History({Prices(20240314, 11, 12)})));
  EXPECT_EQ(Load(kDay, kForward), List({Prices(20240313, 22, 22, 0.5), Prices(20240314, 11, 12)}));
}

TEST_F(KLineAdjusted, aTailOfWeeksIsLinkedThoughItCompletesTheLastOne) {
  Keep(L"20240314", {Prices(20240308, 22, 22), Prices(20240312, 22, 24)}, kWeek, kForward);
  host.Expect(
      Script(kHistoryPath).Inline(History({Prices(20240308, 22, 22, 0.5), Prices(20240314, 11, 13)})));
  EXPECT_EQ(Load(kWeek, kForward), List({Prices(20240308, 22, 22, 0.5), Prices(20240314, 11, 13)}));
}

// Rows of today came from the history query, too, and were never replaced again.
TEST_F(KLineAdjusted, aTailLeavesTodayToTheDayAnswer) {
  for (const int adjustment : {kNone, kForward, kBackward}) {
    const double factor = adjustment == kBackward ? 2 : 1;
    Keep(L"20240314", {Prices(20240313, 18, 19, factor)}, kDay, adjustment);
    host.Expect(Script(kHistoryPath)
                    .Inline(History({Prices(20240313, 18, 19, factor), Prices(20240314, 19, 20, factor),
                                     Prices(20240315, 20, 23, factor)})));
    EXPECT_EQ(Load(kDay, adjustment, Today("sh600000", Prices(20240315, 20, 21))),
              List({Prices(20240313, 18, 19, factor), Prices(20240314, 19, 20, factor),
                    Prices(20240315, 20, 21, factor)}));
  }
}

// A row of the week that ends with today froze the week as it was then.
TEST_F(KLineAdjusted, aTailThatEndsWithTodayDoesNotFreezeItsWeek) {
  for (const int period : {kWeek, kMonth}) {
    Keep(L"20240314", {{20240313, 18, 18, 20, 19, 17, 100, 1000, 0.25}}, period);
    // Until Thursday: from 18 to 20, between 17 and 20.5, 300 shares.
    host.Expect(Script(kHistoryPath).Inline(History({{20240315, 18, 18, 21, 20.75, 17, 340, 3400, 0.75}})));
    const KLineCandle morning{20240315, 20, 20, 21, 20.75, 19.5, 40, 400, 0.125};
    EXPECT_EQ(Load(period, kNone, Today("sh600000", morning)),
              List({{20240315, 18, 18, 21, 20.75, 17, 340, 3400, 0.75}}));
    const KLineCandle later{20240315, 20, 20, 22, 18, 16, 90, 900, 0.375};
    EXPECT_EQ(Load(period, kNone, Today("sh600000", later)),
              List({{20240315, 18, 18, 22, 18, 16, 390, 3900, 1}}));
  }
}

// --- Days that are missing ---

TEST_F(KLineAdjusted, aGapIsNotTakenForADividend) {
  // Thursday fell from 20 to 16 and the history service does not have it yet.
  Keep(L"20240314", {Prices(20240313, 19, 20)}, kDay, kForward);
  host.Allow(Script(kHistoryPath)
                 .With(Query("sh600000", "kline.day", "qfq", 2))
                 .Inline(History({Prices(20240313, 19, 20)})));
  host.Allow(Script(kHistoryPath)
                 .With(Query("sh000001", "kline.day", "bfq", 1))
                 .Inline(History({Prices(20240313, 3000, 3010)})));
  EXPECT_EQ(Load(kDay, kForward, Today("sh600000", Prices(20240315, 16, 17))),
            List({Prices(20240313, 19, 20), Prices(20240315, 16, 17)}));
}

// A stock that did not trade on the days that it lacks is linked across them: the market's index traded.
TEST_F(KLineAdjusted, daysWithoutTradingAreNotMissing) {
  Keep(L"20240314", {Prices(20240308, 19, 20, 2)}, kDay, kBackward);
  host.Expect(Script(kHistoryPath)
                  .With(Query("sh600000", "kline.day", "hfq", 7))
                  .Inline(History({Prices(20240308, 19, 20, 2)})));
  host.Expect(Script(kHistoryPath)
                  .With(Query("sh000001", "kline.day", "bfq", 1))
                  .Inline(History({Prices(20240314, 3000, 3010)})));
  for (int load = 0; load < 2; ++load) {
    EXPECT_EQ(Load(kDay, kBackward, Today("sh600000", Prices(20240315, 10, 11))),
              List({Prices(20240308, 19, 20, 2), Prices(20240315, 10, 11, 4)}));
    PassBackOff();
  }
}

// --- Days that the history does not have yet ---

// Friday was shown at 42 and Monday at 22.
TEST_F(KLineAdjusted, aDayFollowsTheOneToldBeforeThoughTheHistoryLagsBehind) {
  KeepThreeDays(kBackward, 2);
  Load(kDay, kBackward, Today("sh600000", Prices(20240315, 20, 21)));
  host.SetTime(20240318, 10, 0, 0);
  host.Expect(Script(kHistoryPath).Inline(Answer::Failed()));
  EXPECT_EQ(Load(kDay, kBackward, Today("sh600000", Prices(20240318, 21, 22))),
            List({Prices(20240312, 17, 18, 2), Prices(20240313, 18, 19, 2), Prices(20240314, 19, 20, 2),
                  Prices(20240315, 20, 21, 2), Prices(20240318, 21, 22, 2)}));
}

TEST_F(KLineAdjusted, aSplitLowersTheDayToldBeforeAndTheHistoryThatLagsBehind) {
  KeepThreeDays(kForward, 1);
  Load(kDay, kForward, Today("sh600000", Prices(20240315, 20, 21)));
  host.SetTime(20240318, 10, 0, 0);
  host.Expect(Script(kHistoryPath)
                  .Inline(History({Prices(20240313, 18, 19), Prices(20240314, 19, 20)})));  // not yet Friday
  host.Expect(Script(kHistoryPath).Inline(History({Prices(20240314, 3000, 3010)})));
  EXPECT_EQ(Load(kDay, kForward, Today("sh600000", Prices(20240318, 10.5, 11))),
            List({Prices(20240312, 17, 18, 0.5), Prices(20240313, 18, 19, 0.5), Prices(20240314, 19, 20, 0.5),
                  Prices(20240315, 20, 21, 0.5), Prices(20240318, 10.5, 11)}));
}

TEST_F(KLineAdjusted, aNewWeekFollowsTheOneToldBefore) {
  Keep(L"20240314", {Prices(20240314, 19, 20, 2)}, kWeek, kBackward);
  Load(kWeek, kBackward, Today("sh600000", Prices(20240315, 20, 21)));
  host.SetTime(20240318, 10, 0, 0);
  host.Expect(Script(kHistoryPath).Inline(Answer::Failed()));
  EXPECT_EQ(Load(kWeek, kBackward, Today("sh600000", Prices(20240318, 21, 22))).back(),
            Prices(20240318, 21, 22, 2));
}

TEST_F(KLineAdjusted, aDayAfterOneThatWasNeverToldIsNotLinked) {
  KeepThreeDays(kBackward, 2);
  Load(kDay, kBackward, Today("sh600000", Prices(20240315, 20, 21)));
  host.SetTime(20240319, 10, 0, 0);
  host.Expect(Script(kHistoryPath).Inline(Answer::Failed()));
  EXPECT_EQ(Load(kDay, kBackward, Today("sh600000", Prices(20240319, 22, 23))),
            List({Prices(20240312, 17, 18, 2), Prices(20240313, 18, 19, 2), Prices(20240314, 19, 20, 2),
                  Prices(20240315, 20, 21, 2), Prices(20240319, 22, 23)}))
      << "Monday is missing";
}

// What a stock did on its first day after a suspension lost its link with the next failure.
TEST_F(KLineAdjusted, whatIsKnownOfDaysWithoutTradingStaysKnown) {
  Keep(L"20240314", {Prices(20240308, 19, 20, 2)}, kDay, kBackward);
  host.Expect(Script(kHistoryPath).Inline(History({Prices(20240308, 19, 20, 2)})));
  host.Expect(Script(kHistoryPath).Inline(History({Prices(20240314, 3000, 3010)})));
  const auto friday = Today("sh600000", Prices(20240315, 20, 21));
  const auto linked = List({Prices(20240308, 19, 20, 2), Prices(20240315, 20, 21, 2)});
  ASSERT_EQ(Load(kDay, kBackward, friday), linked);
  packages.Announce(L"20240315");
  host.Allow(Script(PackagePath("sh600000", "day", "hfq", "20240315")).Inline(Answer::Failed()));
  host.Allow(Script(kHistoryPath).Inline(Answer::Failed()));
  EXPECT_EQ(Load(kDay, kBackward, friday), linked) << "when a new package cannot be had";
  host.SetTime(20240318, 10, 0, 0);
  EXPECT_EQ(Load(kDay, kBackward, Today("sh600000", Prices(20240318, 21, 22))),
            List({Prices(20240308, 19, 20, 2), Prices(20240315, 20, 21, 2), Prices(20240318, 21, 22, 2)}));
}

TEST_F(KLineAdjusted, aCandleOfADayToComeMakesNoDayKnown) {
  Keep(L"20240314", {Prices(20240313, 18, 19, 2), Prices(20241231, 1, 1, 2)}, kDay, kBackward);
  Load(kDay, kBackward);
  packages.Announce(L"20240315");
  host.Expect(Script(PackagePath("sh600000", "day", "hfq", "20240315"))
                  .Inline(Answer::Body(Gzip(Package({Prices(20240313, 18, 19, 2)})))));
  host.Expect(Script(kHistoryPath).Inline(Answer::Failed()));
  EXPECT_EQ(Load(kDay, kBackward, Today("sh600000", Prices(20240315, 20, 21))),
            List({Prices(20240313, 18, 19, 2), Prices(20240315, 20, 21)}))
      << "Thursday is missing";
}

// --- Prices of zero ---

TEST_F(KLineAdjusted, nothingIsLinkedByAPriceOfZero) {
  for (const int adjustment : {kForward, kBackward}) {
    Keep(L"20240314", {Prices(20240314, 19, 20)}, kDay, adjustment);
    EXPECT_EQ(Load(kDay, adjustment, Today("sh600000", Prices(20240315, 0, 11))),
              List({Prices(20240314, 19, 20), Prices(20240315, 0, 11)}));
  }
  service.reset(charts::MakeStockKLine());
  const KLineCandle worthless{20240314, 20, 0, 0, 0, 0, 1, 1, 1};
  for (const int adjustment : {kForward, kBackward}) {
    Keep(L"20240314", {worthless}, kDay, adjustment);
    EXPECT_EQ(Load(kDay, adjustment, Today("sh600000", Prices(20240315, 10, 11))),
              List({worthless, Prices(20240315, 10, 11)}));
  }
}

// --- Before the first trade ---

// Prices of 0 entered weeks and months as low and close.
TEST_F(KLineAdjusted, aDayWithoutATradeChangesNoWeekAndNoMonth) {
  std::uint32_t date = 0;
  host.Allow(
      Script(kHistoryPath).Inline([&date](const Request&) { return History({Prices(date, 19, 20)}); }));
  for (const int period : {kWeek, kMonth}) {
    for (const int adjustment : {kNone, kForward, kBackward}) {
      for (const std::uint32_t last : {20240314U, 20240209U}) {  // of the same period, and of one before
        date = last;
        service.reset(charts::MakeStockKLine());
        Keep(L"20240314", {Prices(date, 19, 20)}, period, adjustment);
        EXPECT_EQ(Load(period, adjustment, Today("sh600000", kNoTrade)), List({Prices(date, 19, 20)}));
      }
    }
  }
}

TEST_F(KLineAdjusted, aDayWithoutATradeHidesNoCandleOfThatDay) {
  Keep(L"20240315", {Prices(20240314, 19, 20), Prices(20240315, 20, 21)});
  EXPECT_EQ(Load(kDay, kNone, Today("sh600000", kNoTrade)),
            List({Prices(20240314, 19, 20), Prices(20240315, 20, 21)}));
}

}  // namespace
