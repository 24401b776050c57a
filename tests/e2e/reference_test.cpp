// Reference data from the simulated market to the module's own threads: real HTTP, the real host services,
// the library, and the server's clock at the instants that matter.
#include <string>
#include <utility>
#include <vector>

#include "running_market.h"
#include "sleeping_threads.h"

namespace {

class ReferenceDataTest : public RunningMarket {
 protected:
  // Starts everything at an instant, at which the clock stands, and loads the reference data. The thread that
  // refreshes them starts after that is told, and plans its wait by the clock that it finds.
  void LoadAt(const std::string& clock) {
    options_.stocks = 400;
    StartAll(clock, 0);
    ASSERT_TRUE(LoadReferenceData());
    AwaitSleepingThreads();
  }
};

constexpr const char* kStocks = "/pc/rt/get_basic_info";
constexpr const char* kVersion = "/pc/rt/stock_version";

TEST_F(ReferenceDataTest, loadsTheWholeMarket) {
  StartAll("2024-03-15 10:30:00", 0);
  ASSERT_TRUE(LoadReferenceData());
  IStockCommon& reference = *GetStockCommon();
  const auto all = reference.GetStockList(1);
  EXPECT_GT(all.size(), 4000U);
  EXPECT_EQ(all.size(), reference.GetStockList(2).size() + reference.GetStockList(3).size());
  EXPECT_FALSE(reference.GetStockList(4).empty());
  EXPECT_FALSE(reference.GetStockList(5).empty());
  EXPECT_FALSE(reference.GetPlateList(1).empty());
  EXPECT_FALSE(reference.GetPlateList(2).empty());
  EXPECT_FALSE(reference.GetIndexList(1).empty());
  EXPECT_FALSE(reference.GetIndexList(2).empty());
  std::size_t with_plates = 0;
  std::size_t with_packages = 0;
  for (const BaseInfoItem& stock : all) {
    EXPECT_FALSE(stock.code.empty() || stock.name.empty() || stock.pinyin.empty());
    EXPECT_EQ(stock::CheckSymbol(stock.code.c_str()), stock::kSymbolStock);
    std::vector<std::pair<std::wstring, std::wstring>> plates;
    with_plates += reference.GetPlatesOfStock(stock.code, plates) ? 1U : 0U;
    const KLineMetaInfo info = reference.GetKLineMetaInfo(stock.code, 1, 1);
    EXPECT_EQ(info.version, L"20240314") << "the packages hold the session before";
    with_packages += info.count > 0 ? 1U : 0U;
  }
  EXPECT_EQ(with_plates, all.size());
  EXPECT_GT(with_packages, all.size() * 9 / 10);
  EXPECT_TRUE(Warnings().empty()) << Warnings().front();
}

TEST_F(ReferenceDataTest, knowsTheHolidaysOfTheYear) {
  StartAll("2024-05-01 10:30:00", 0);
  ASSERT_TRUE(LoadReferenceData());
  ASSERT_TRUE(AwaitSucceeded("/pc/rt/trade_date", 1));
  ASSERT_TRUE(AwaitQuiet());
  EXPECT_EQ(stock::CheckMarketStatus(static_cast<std::uint32_t>(common::GetCurrentServerTime())),
            stock::kMarketNotOpened)
      << "Labour Day is a Wednesday in 2024";
}

TEST_F(ReferenceDataTest, isLoadedAnewAtFourteenPastNine) {
  LoadAt("2024-03-15 09:13:00");
  EXPECT_EQ(Succeeded(kStocks), 1U);
  MoveTo("2024-03-15 09:14:00");
  ASSERT_TRUE(AwaitSucceeded(kStocks, 2));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/get_bk_list", 2));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/stock_index_list", 2));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/stock_in_bk", 2));
  EXPECT_TRUE(AwaitSucceeded("/pc/rt/trade_date", 2));
  EXPECT_TRUE(AwaitSucceeded(kVersion, 2));
  const std::uint64_t asked = Succeeded(kStocks);
  EXPECT_FALSE(GetStockCommon()->GetStockList(1).empty());
  EXPECT_EQ(Succeeded(kStocks), asked) << "the list of the morning holds for the day";
}

TEST_F(ReferenceDataTest, checksTheMetadataAtNoonAndInTheEvening) {
  LoadAt("2024-03-15 12:44:00");
  std::uint64_t checks = 1;  // that of the start
  for (const char* const clock : {"2024-03-15 12:45:00", "2024-03-15 18:30:00"}) {
    MoveTo(clock);
    EXPECT_TRUE(AwaitSucceeded(kVersion, ++checks)) << clock;
    EXPECT_EQ(Succeeded(kStocks), 1U) << "the lists are loaded in the morning only";
  }
}

}  // namespace
