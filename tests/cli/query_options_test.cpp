// What people type: dates and symbols.
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "cli/commands/options.h"
#include "cli/format/china_time.h"
#include "cli/format/text.h"
#include "cli/views/securities.h"
#include "host/clock.h"

namespace cli {
namespace {

TEST(ParseDate, takesBothForms) {
  EXPECT_EQ(ParseDate("20240315"), 20240315U);
  EXPECT_EQ(ParseDate("2024-03-15"), 20240315U);
  EXPECT_EQ(ParseDate("20240229"), 20240229U);
}

TEST(ParseDate, refusesWhatIsNoDay) {
  for (const char* const text :
       {"", "2024", "20240230", "20230229", "2024-3-15", "2024/03/15", "20240315 ", "20241301", "20240300",
        "yesterday", "18991231", "21000101", "2024-0315", "-2024315", "202403150"}) {
    EXPECT_EQ(ParseDate(text), std::nullopt) << text;
  }
}

TEST(TradingDays, knowWeekends) {
  EXPECT_FALSE(IsWeekend(20240315));  // a Friday
  EXPECT_TRUE(IsWeekend(20240316));
  EXPECT_TRUE(IsWeekend(20240317));
  EXPECT_FALSE(IsWeekend(20240318));
  EXPECT_TRUE(IsTradingDay(20240315));
  EXPECT_FALSE(IsTradingDay(20240317));
}

TEST(SessionDate, isTodayFromTheCallAuctionOn) {
  const auto at = [](std::uint32_t date, int hour, int minute) {
    return SessionDate(common::DateToTime(date, hour, minute, 0));
  };
  EXPECT_EQ(at(20240315, 9, 14), 20240314U);
  EXPECT_EQ(at(20240315, 9, 15), 20240315U);
  EXPECT_EQ(at(20240315, 23, 59), 20240315U);
  EXPECT_EQ(at(20240317, 12, 0), 20240315U);
  EXPECT_EQ(at(20240318, 8, 0), 20240315U);
}

TEST(WhyNoFigures, givesTheReason) {
  const std::int64_t now = common::DateToTime(20240315, 9, 20, 0);
  const auto has = [now](std::uint32_t date, const std::string& text) {
    return WhyNoFigures(date, now).find(text) != std::string::npos;
  };
  EXPECT_TRUE(has(20240318, "has not come yet")) << WhyNoFigures(20240318, now);
  EXPECT_TRUE(has(20240310, "weekend")) << WhyNoFigures(20240310, now);
  EXPECT_TRUE(has(20240310, "2024-03-08")) << WhyNoFigures(20240310, now);
  EXPECT_TRUE(has(20240315, "begins at 09:30; it is 09:20:00")) << WhyNoFigures(20240315, now);
  EXPECT_EQ(WhyNoFigures(20240314, now), "");
  EXPECT_EQ(WhyNoFigures(20240315, common::DateToTime(20240315, 9, 30, 0)), "");
}

class Lists final : public IStockCommon {
 public:
  void Init(const boost::function<void(bool)>&) override {}
  const std::vector<BaseInfoItem>& GetStockList(int) override { return stocks_; }
  const std::vector<BaseInfoItem>& GetPlateList(int kind) override { return kind == 1 ? plates_ : none_; }
  const std::vector<BaseInfoItem>& GetIndexList(int kind) override { return kind == 1 ? indices_ : none_; }
  void Placeholder(int, int) override {}
  KLineMetaInfo GetKLineMetaInfo(const std::wstring&, int, int) override { return {}; }
  bool GetPlatesOfStock(const std::wstring&, std::vector<std::pair<std::wstring, std::wstring>>&) override {
    return false;
  }

 private:
  const std::vector<BaseInfoItem> stocks_ = {{L"sh600000", L"浦江银行", L"PJYH", 6},
                                             {L"sz000001", L"平山银行", L"PSYH", 6}};
  const std::vector<BaseInfoItem> plates_ = {{L"bk1001", L"银行", L"YH", 1}};
  const std::vector<BaseInfoItem> indices_ = {{L"sh000001", L"上证指数", L"SZZS", 0}};
  const std::vector<BaseInfoItem> none_{};
};

std::wstring Found(const std::string& text) {
  Lists lists;
  return FindSecurity(lists, text).code;
}

std::string Refusal(const std::string& text) {
  Lists lists;
  try {
    return Utf8(FindSecurity(lists, text).code);
  } catch (const std::runtime_error& error) {
    return error.what();
  }
}

TEST(FindSecurity, takesCodesInAnyCaseWithOrWithoutMarketAndNames) {
  EXPECT_EQ(Found("sh600000"), L"sh600000");
  EXPECT_EQ(Found("SH600000"), L"sh600000");
  EXPECT_EQ(Found("600000"), L"sh600000");
  EXPECT_EQ(Found("浦江银行"), L"sh600000");
  EXPECT_EQ(Found("bk1001"), L"bk1001");
  EXPECT_EQ(Found("银行"), L"bk1001");
}

TEST(FindSecurity, prefersAStockToAnIndexWithTheSameDigits) {
  EXPECT_EQ(Found("000001"), L"sz000001");
  EXPECT_EQ(Found("sh000001"), L"sh000001");
}

TEST(FindSecurity, knowsTheKind) {
  Lists lists;
  EXPECT_EQ(FindSecurity(lists, "600000").type, stock::kSymbolStock);
  EXPECT_EQ(FindSecurity(lists, "sh000001").type, stock::kSymbolIndex);
  EXPECT_EQ(FindSecurity(lists, "bk1001").type, stock::kSymbolPlate);
  EXPECT_EQ(FindSecurity(lists, "600000").name, L"浦江银行");
}

TEST(FindSecurity, saysWhatComesClose) {
  EXPECT_NE(Refusal("60000").find("did you mean sh600000 浦江银行?"), std::string::npos) << Refusal("60000");
  EXPECT_NE(Refusal("psyh").find("sz000001"), std::string::npos) << Refusal("psyh");
  EXPECT_NE(Refusal("999999").find("csm find"), std::string::npos) << Refusal("999999");
  EXPECT_NE(Refusal("").find("csm find"), std::string::npos);
}

TEST(FindSecurity, escapesWhatWasTyped) {
  EXPECT_NE(Refusal("\x1b[2J").find("\\u{1b}[2J"), std::string::npos) << Refusal("\x1b[2J");
}

}  // namespace
}  // namespace cli
