// The words by themselves; urls_test.cpp sees them in every request.
#include "request/vocabulary.h"

#include <gtest/gtest.h>

#include <utility>

#include "market_terms.h"

namespace {

// What a client writes by name travels as the word of that name.
TEST(Vocabulary, theNamesOfTheNumbersMeanTheirWords) {
  using namespace market;
  const std::pair<Column, const char*> columns[] = {
      {kByCode, "code"},          {kByName, "name"},     {kByLast, "last"},
      {kByChange, "change"},      {kByDiff, "diff"},     {kByTurnover, "tr"},
      {kByAmount, "amt"},         {kByVolume, "vol"},    {kByPe, "pe"},
      {kByHigh, "high"},          {kByLow, "low"},       {kByOpen, "open"},
      {kByPreclose, "preclose"},  {kByAmplitude, "amp"}, {kByVolumeRatio, "qrr"},
      {kByCommissionRatio, "cr"}, {kByMarketValue, "mc"}};
  for (const auto& [column, word] : columns) {
    EXPECT_EQ(request::StockSortField(column), word);
    EXPECT_EQ(request::PlateSortField(column), word);
  }
  EXPECT_EQ(request::StockSortField(kByBid1), "b1p");
  EXPECT_EQ(request::StockSortField(kByAsk1), "s1p");
  EXPECT_EQ(request::PlateSortField(kByLeader), "lead");
  EXPECT_EQ(request::PlateSortField(kByLeaderChange), "lead_change");
  EXPECT_EQ(request::PlateSortField(kByInflow), "bpin");
  EXPECT_EQ(request::PlateSortField(kByDaysInRow), "cud");
  const std::pair<Board, const char*> boards[] = {
      {kAllShares, "cn_a"}, {kShanghai, "sh_a"}, {kShenzhen, "sz_a"}, {kGem, "gem"}, {kSme, "sme"}};
  for (const auto& [board, word] : boards) EXPECT_EQ(request::StockType(board), word);
  EXPECT_EQ(request::PlateType(kIndustry), "hy");
  EXPECT_EQ(request::PlateType(kConcept), "gn");
  EXPECT_EQ(request::SortDirection(kAscending), "asc");
  EXPECT_EQ(request::SortDirection(kDescending), "desc");
  EXPECT_EQ(request::KLinePeriod(kDay), "day");
  EXPECT_EQ(request::KLinePeriod(kWeek), "week");
  EXPECT_EQ(request::KLinePeriod(kMonth), "month");
  EXPECT_EQ(request::KLineAdjustment(kUnadjusted), "bfq");
  EXPECT_EQ(request::KLineAdjustment(kForward), "qfq");
  EXPECT_EQ(request::KLineAdjustment(kBackward), "hfq");
}

}  // namespace
