// One series from package, tail and today.
#include <gtest/gtest.h>

#include <cstdint>
#include <list>
#include <memory>
#include <utility>
#include <vector>

#include "charts/kline_link.h"
#include "charts/kline_today.h"
#include "scripted_host.h"

namespace {

using charts::Candles;
using charts::IsSamePeriod;
using charts::LastDate;
using charts::MergeTail;
using charts::Period;
using charts::Series;

constexpr Period kDay = Period::kDay;
constexpr Period kWeek = Period::kWeek;
constexpr Period kMonth = Period::kMonth;

// A candle whose figures all follow from `base`.
KLineCandle Candle(std::uint32_t date, double base) {
  return {
      date,        base,    base + 1, base + 3, base + 2, base - 1, static_cast<std::uint64_t>(base * 100),
      base * 1000, base / 8};
}

// The series as a view gets it, with today's candle in each of `polls`, one after the other.
std::list<KLineCandle> Merged(Period period, const Candles& history, const std::vector<KLineCandle>& polls) {
  StockKLineData data;
  for (const KLineCandle& today : polls) {
    charts::Assemble({L"sh600000", period}, {std::make_shared<const Candles>(history), LastDate(history)},
                     {today}, data);
  }
  return data.candles;
}

Candles WithTail(Period period, Candles candles, const Candles& tail) {
  MergeTail({L"sh600000", period}, candles, tail);
  return candles;
}

TEST(KLineMerge, knowsWhichDaysShareACandle) {
  EXPECT_TRUE(IsSamePeriod(kDay, 20240315, 20240315));
  EXPECT_FALSE(IsSamePeriod(kDay, 20240315, 20240314));
  EXPECT_TRUE(IsSamePeriod(kWeek, 20240311, 20240315));   // Monday and Friday
  EXPECT_TRUE(IsSamePeriod(kWeek, 20240311, 20240317));   // Monday and Sunday
  EXPECT_FALSE(IsSamePeriod(kWeek, 20240315, 20240318));  // Friday and Monday
  EXPECT_TRUE(IsSamePeriod(kWeek, 20231231, 20231225));
  EXPECT_TRUE(IsSamePeriod(kWeek, 20241230, 20250103));  // a week over the end of a year
  EXPECT_TRUE(IsSamePeriod(kMonth, 20240301, 20240331));
  EXPECT_FALSE(IsSamePeriod(kMonth, 20240331, 20240401));
  EXPECT_FALSE(IsSamePeriod(kMonth, 20230315, 20240315));
}

TEST(KLineMerge, startsAnEmptySeriesWithToday) {
  for (const Period period : {kDay, kWeek, kMonth}) {
    EXPECT_EQ(Merged(period, {}, {Candle(20240315, 10)}), (std::list{Candle(20240315, 10)}));
  }
}

TEST(KLineMerge, replacesTheDayOfTheSameDate) {
  EXPECT_EQ(Merged(kDay, {Candle(20240314, 9), Candle(20240315, 10)}, {Candle(20240315, 11)}),
            (std::list{Candle(20240314, 9), Candle(20240315, 11)}));
}

TEST(KLineMerge, appendsALaterDay) {
  EXPECT_EQ(Merged(kDay, {Candle(20240314, 9)}, {Candle(20240315, 10)}),
            (std::list{Candle(20240314, 9), Candle(20240315, 10)}));
}

TEST(KLineMerge, ignoresAnEarlierDay) {
  for (const Period period : {kDay, kWeek, kMonth}) {
    EXPECT_EQ(Merged(period, {Candle(20240314, 9)}, {Candle(20240313, 10)}),
              (std::list{Candle(20240314, 9)}));
  }
}

TEST(KLineMerge, addsTodayToTheWeekOfYesterday) {
  KLineCandle week{20240314, 10, 11, 15, 12, 9, 1000, 50000, 1.5};
  const KLineCandle today{20240315, 12, 12.5, 16, 13, 8, 300, 4000, 0.25};
  EXPECT_EQ(Merged(kWeek, {week}, {today}),
            (std::list{KLineCandle{20240315, 10, 11, 16, 13, 8, 1300, 54000, 1.75}}));
  // Within the range of the week so far high and low stay.
  const KLineCandle quiet{20240315, 12, 12.5, 14, 13, 10, 300, 4000, 0.25};
  EXPECT_EQ(Merged(kWeek, {week}, {quiet}),
            (std::list{KLineCandle{20240315, 10, 11, 15, 13, 9, 1300, 54000, 1.75}}));
}

TEST(KLineMerge, startsANewWeekOnMonday) {
  EXPECT_EQ(Merged(kWeek, {Candle(20240315, 9)}, {Candle(20240318, 10)}),
            (std::list{Candle(20240315, 9), Candle(20240318, 10)}));
}

TEST(KLineMerge, addsTodayToTheWeekAcrossAYearAndAMonth) {
  EXPECT_EQ(Merged(kWeek, {Candle(20241231, 9)}, {Candle(20250102, 10)}).size(), 1U);
  EXPECT_EQ(Merged(kMonth, {Candle(20241231, 9)}, {Candle(20250102, 10)}).size(), 2U);
}

// After a long holiday the next week is another one, though no trading day lies between.
TEST(KLineMerge, startsANewWeekAfterAHolidayThatTookAWhole) {
  EXPECT_EQ(Merged(kWeek, {Candle(20240208, 9)}, {Candle(20240219, 10)}).size(), 2U);
  EXPECT_EQ(Merged(kMonth, {Candle(20240208, 9)}, {Candle(20240219, 10)}).size(), 1U);
  EXPECT_EQ(Merged(kMonth, {Candle(20240930, 9)}, {Candle(20241008, 10)}).size(), 2U);
}

TEST(KLineMerge, addsTodayToTheMonth) {
  const auto merged = Merged(kMonth, {Candle(20240314, 9)}, {Candle(20240329, 10)});
  ASSERT_EQ(merged.size(), 1U);
  EXPECT_EQ(merged.back().date, 20240329U);
  EXPECT_EQ(merged.back().volume, 1900U);
  EXPECT_EQ(merged.back().open, 10.0);
  EXPECT_EQ(merged.back().preclose, 9.0);
  EXPECT_EQ(Merged(kMonth, {Candle(20240329, 9)}, {Candle(20240401, 10)}).size(), 2U);
}

TEST(KLineMerge, addsADayNeverTwice) {
  for (const Period period : {kWeek, kMonth}) {
    const auto once = Merged(period, {Candle(20240314, 9)}, {Candle(20240315, 10)});
    EXPECT_EQ(Merged(period, {Candle(20240314, 9)}, {Candle(20240315, 10), Candle(20240315, 10)}), once);
    // The package of the evening holds the day already.
    EXPECT_EQ(Merged(period, {Candle(20240315, 9)}, {Candle(20240315, 10)}),
              (std::list{Candle(20240315, 9)}));
  }
}

TEST(KLineMerge, appendsTheLaterRowsOfATail) {
  EXPECT_EQ(WithTail(kDay, {Candle(20240312, 1)},
                     {Candle(20240311, 7), Candle(20240312, 8), Candle(20240313, 2), Candle(20240314, 3)}),
            (Candles{Candle(20240312, 1), Candle(20240313, 2), Candle(20240314, 3)}));
  EXPECT_EQ(WithTail(kDay, {Candle(20240312, 1)}, {}), (Candles{Candle(20240312, 1)}));
  EXPECT_EQ(WithTail(kDay, {}, {Candle(20240311, 7)}), (Candles{Candle(20240311, 7)}));
}

TEST(KLineMerge, replacesAnUnfinishedWeekOrMonthByTheRowOfTheTail) {
  EXPECT_EQ(
      WithTail(kWeek, {Candle(20240308, 1), Candle(20240312, 2)}, {Candle(20240308, 8), Candle(20240314, 3)}),
      (Candles{Candle(20240308, 1), Candle(20240314, 3)}));
  EXPECT_EQ(WithTail(kMonth, {Candle(20240312, 2)}, {Candle(20240329, 3), Candle(20240402, 4)}),
            (Candles{Candle(20240329, 3), Candle(20240402, 4)}));
}

// A short line of a package stands where it stood, also at its end, and says nothing of where the series
// ends.
TEST(KLineMerge, looksPastShortLines) {
  const KLineCandle odd{20160101};
  EXPECT_EQ(LastDate({Candle(20240311, 1), Candle(20240312, 2), odd, odd}), 20240312U);
  EXPECT_EQ(LastDate({odd, Candle(20240312, 2)}), 20240312U);
  EXPECT_EQ(LastDate({odd}), 20160101U);

  EXPECT_EQ(WithTail(kDay, {Candle(20240312, 1), odd}, {Candle(20240312, 8), Candle(20240313, 2)}),
            (Candles{Candle(20240312, 1), odd, Candle(20240313, 2)}));
  EXPECT_EQ(WithTail(kWeek, {Candle(20240312, 1), odd}, {Candle(20240314, 3)}),
            (Candles{Candle(20240314, 3), odd}));
  EXPECT_EQ(WithTail(kDay, {odd}, {Candle(20240314, 3)}), (Candles{odd, Candle(20240314, 3)}));

  EXPECT_EQ(Merged(kDay, {Candle(20240314, 9), odd}, {Candle(20240314, 11)}),
            (std::list{Candle(20240314, 11), odd}));
  EXPECT_EQ(Merged(kDay, {Candle(20240314, 9), odd}, {Candle(20240315, 11)}),
            (std::list{Candle(20240314, 9), odd, Candle(20240315, 11)}));
  EXPECT_EQ(Merged(kDay, {odd}, {Candle(20240315, 11)}), (std::list{odd, Candle(20240315, 11)}));
  for (const Period period : {kWeek, kMonth}) {
    const auto merged = Merged(period, {Candle(20240314, 9), odd}, {Candle(20240315, 10)});
    ASSERT_EQ(merged.size(), 2U);
    EXPECT_EQ(merged.front().date, 20240315U);
    EXPECT_EQ(merged.front().volume, 1900U);
    EXPECT_EQ(merged.back(), odd);
  }
}

TEST(KLineMerge, passesOverRowsThatAreOutOfOrder) {
  EXPECT_EQ(
      WithTail(kDay, {Candle(20240312, 1)}, {Candle(20240314, 3), Candle(20240313, 2), Candle(20240314, 9)}),
      (Candles{Candle(20240312, 1), Candle(20240314, 3)}));
}

}  // namespace
