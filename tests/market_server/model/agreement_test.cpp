// One market behind every question: whatever is asked for an instant agrees with whatever else is asked for
// it.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>

#include "small_market.h"

namespace market_server::model {
namespace {

class Agreement : public testing::TestWithParam<std::uint64_t> {
 protected:
  Market market_{Small(GetParam())};

  [[nodiscard]] std::vector<const Security*> SomeSecurities(Instant time) const {
    auto out = SomeStocks(market_, time);
    for (const char* code : {"sh000001", "sz399006", "sh000688", "bk1008", "bk2017", "bk3002"}) {
      out.push_back(market_.Find(code));
    }
    return out;
  }
};

TEST_P(Agreement, aSingleQuoteIsTheRowOfTheBoard) {
  for (const Instant time : InstantsOfAllKinds()) {
    // Asked for before the board, when the day is not at hand, and after.
    std::map<const Security*, Quote> before;
    for (const Security* security : SomeStocks(market_, time)) {
      before[security] = market_.QuoteOf(*security, time);
    }
    const auto board = market_.BoardAt(time);
    for (const auto* rows : {&board->stocks, &board->indices, &board->plates}) {
      for (const Quote& row : *rows) {
        EXPECT_EQ(market_.QuoteOf(*row.security, time), row) << At(*row.security, time);
        if (before.contains(row.security)) {
          EXPECT_EQ(before[row.security], row) << At(*row.security, time);
        }
      }
    }
  }
}

TEST_P(Agreement, theMinuteLineOfAPastDayEndsAtItsClose) {
  const Instant now = InstantOf(20261120, 10, 0, 0);
  for (const Date date : {20150105u, 20190604u, 20261118u}) {
    for (const Security* security : SomeSecurities(InstantOf(date, 16, 0, 0))) {
      const Quote close = market_.QuoteOf(*security, InstantOf(date, 16, 0, 0));
      const MinuteLine line = market_.MinuteLineOf(*security, date, now);
      if (!Trades(close.status)) {
        EXPECT_TRUE(line.points.empty());
        continue;
      }
      ASSERT_EQ(line.points.size(), 241u) << At(*security, now);
      EXPECT_EQ(line.points.back().last, close.last) << At(*security, now);
      EXPECT_EQ(line.points.back().vol, close.vol) << At(*security, now);
      EXPECT_EQ(line.points.back().amt, close.amt) << At(*security, now);
    }
  }
}

TEST_P(Agreement, aMinuteOfTheLineIsTheQuoteAtItsEnd) {
  const Date date = 20261120;
  for (const Security* security : SomeSecurities(InstantOf(date, 16, 0, 0))) {
    const MinuteLine line = market_.MinuteLineOf(*security, date, InstantOf(date, 16, 0, 0));
    for (std::size_t i = 0; i < line.points.size(); i += 17) {
      const MinutePoint& point = line.points[i];
      const Quote quote =
          market_.QuoteOf(*security, InstantOf(date, point.minute / 100, point.minute % 100, 0));
      EXPECT_EQ(quote.last, point.last) << security->code << " " << point.minute;
      EXPECT_EQ(quote.vol, point.vol) << security->code << " " << point.minute;
      EXPECT_EQ(quote.amt, point.amt) << security->code << " " << point.minute;
      EXPECT_EQ(quote.qrr, point.qrr) << security->code << " " << point.minute;
    }
  }
}

TEST_P(Agreement, everyPastCandleIsTheQuoteAtThatClose) {
  for (const char* code :
       {"sh600000", "sh688001", "sz000001", "sz300001", "sh000001", "sz399006", "sh000038"}) {
    const Security& security = *market_.Find(code);
    const auto candles = market_.Candles(security, Period::kDay, Adjustment::kNone, 20261119);
    ASSERT_GT(candles.size(), 500u) << code;
    for (std::size_t i = 0; i < candles.size();
         i += candles.size() / (security.kind == Kind::kIndex ? 5 : 40)) {
      const auto whole = market_.DayCandle(security, InstantOf(candles[i].date, 20, 0, 0));
      ASSERT_TRUE(whole.has_value()) << code << " " << candles[i].date;
      EXPECT_EQ(candles[i], *whole) << code << " " << candles[i].date;
    }
  }
}

TEST_P(Agreement, aDayBeginsAtTheCloseOfTheDayBefore) {
  int ex_rights = 0;
  for (const Date date : {20150106u, 20170619u, 20170627u, 20200608u, 20200617u, 20261120u}) {
    const auto before = market_.BoardAt(InstantOf(PreviousTradingDay(date), 15, 0, 0));
    const auto board = market_.BoardAt(InstantOf(date, 15, 0, 0));
    std::map<const Security*, const Quote*> closes;
    for (const auto* rows : {&before->stocks, &before->indices, &before->plates}) {
      for (const Quote& row : *rows) {
        closes[row.security] = &row;
      }
    }
    for (const auto* rows : {&board->stocks, &board->indices, &board->plates}) {
      for (const Quote& row : *rows) {
        if (row.status == Status::kNewListing) {
          EXPECT_FALSE(closes.contains(row.security));
          continue;
        }
        ASSERT_TRUE(closes.contains(row.security)) << row.security->code;
        if (row.status == Status::kExRights) {
          EXPECT_LT(row.preclose, closes[row.security]->last) << row.security->code << " " << date;
          ++ex_rights;
        } else {
          EXPECT_EQ(row.preclose, closes[row.security]->last) << row.security->code << " " << date;
        }
      }
    }
  }
  EXPECT_GT(ex_rights, 0);
}

TEST_P(Agreement, theLineOfAnIndexCountsItsMembers) {
  const Date date = 20261120;
  const Instant time = InstantOf(date, 16, 0, 0);
  for (const char* code : {"sh000001", "sz399006", "bk1005"}) {
    const Security& security = *market_.Find(code);
    const MinuteLine line = market_.MinuteLineOf(security, date, time);
    std::vector<std::uint64_t> sums(line.points.size());
    for (const Security* member : market_.Members(security)) {
      if (market_.IsListed(*member, date)) {
        const MinuteLine own = market_.MinuteLineOf(*member, date, time);
        for (std::size_t i = 0; i < own.points.size(); ++i) {
          sums[i] += own.points[i].vol;
        }
      }
    }
    for (std::size_t i = 0; i < sums.size(); ++i) {
      EXPECT_EQ(line.points[i].vol, sums[i]) << code << " " << line.points[i].minute;
    }
  }
}

TEST_P(Agreement, aPlateMovesAsTheCapitalisationOfItsMembers) {
  const Date date = 20261120;
  const auto early = market_.BoardAt(InstantOf(date, 9, 45, 0));
  const auto late = market_.BoardAt(InstantOf(date, 14, 30, 0));
  int checked = 0;
  for (std::size_t i = 0; i < early->plates.size(); ++i) {
    const auto members = market_.Members(*early->plates[i].security);
    if (members.empty() || !std::all_of(members.begin(), members.end(),
                                        [&](const Security* s) { return market_.IsListed(*s, date); })) {
      continue;
    }
    const double moved = late->plates[i].last / early->plates[i].last;
    EXPECT_NEAR(moved, late->plates[i].mc / early->plates[i].mc, 0.011 / early->plates[i].last)
        << early->plates[i].security->code;
    ++checked;
  }
  EXPECT_GT(checked, 10);
}

TEST_P(Agreement, anIndexMovesWithItsMembers) {
  for (const Instant time : TradingInstants()) {
    const auto board = market_.BoardAt(time);
    double sum = 0;
    double weight = 0;
    for (const Quote& row : board->stocks) {
      if (row.security->code[1] == 'h' && row.status == Status::kTrading) {
        sum += row.change;
        ++weight;
      }
    }
    EXPECT_NEAR(board->indices[0].change, sum / weight, 1.2) << At(*board->indices[0].security, time);
  }
}

TEST_P(Agreement, theFiveMinuteChangeComparesWithTheLine) {
  const Instant time = InstantOf(20261120, 10, 20, 0);
  for (const Security* stock : SomeStocks(market_, time)) {
    const Quote quote = market_.QuoteOf(*stock, time);
    const MinuteLine line = market_.MinuteLineOf(*stock, 20261120, time);
    if (line.points.empty()) {
      EXPECT_EQ(quote.five_change, 0);
      continue;
    }
    const double ago = line.points[line.points.size() - 6].last;
    EXPECT_NEAR(quote.five_change, (quote.last - ago) * 100 / ago, 0.0051) << At(*stock, time);
  }
}

TEST_P(Agreement, outsideTradingTheLastCloseStands) {
  const auto close = market_.BoardAt(InstantOf(20261120, 15, 0, 0));
  for (const Instant time :
       {InstantOf(20261120, 15, 0, 1), InstantOf(20261120, 23, 59, 59), InstantOf(20261121, 10, 0, 0),
        InstantOf(20261122, 14, 0, 0), InstantOf(20261123, 9, 14, 59)}) {
    const auto board = market_.BoardAt(time);
    EXPECT_EQ(board->stocks, close->stocks);
    EXPECT_EQ(board->indices, close->indices);
    EXPECT_EQ(board->plates, close->plates);
  }
  EXPECT_EQ(market_.BoardAt(InstantOf(20261123, 9, 15, 0))->date, 20261123u);
}

TEST_P(Agreement, nothingMovesAtLunch) {
  const auto noon = market_.BoardAt(InstantOf(20261120, 11, 30, 0));
  EXPECT_EQ(market_.BoardAt(InstantOf(20261120, 12, 59, 59))->stocks, noon->stocks);
  EXPECT_EQ(market_.BoardAt(InstantOf(20261120, 12, 0, 0))->indices, noon->indices);
}

INSTANTIATE_TEST_SUITE_P(Seeds, Agreement, testing::Values(1, 20261121));

}  // namespace
}  // namespace market_server::model
