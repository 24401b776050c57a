// Quotes for people: the sheet of one with its order book, lists and the columns that they have.
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/format/quote_rows.h"
#include "cli/format/quote_sheet.h"
#include "cli/views/list_views.h"
#include "cli/views/securities.h"
#include "cli/views/vocabulary.h"

namespace cli {
namespace {

const Palette kPlainText(false);

std::vector<std::string> TextsOf(const std::vector<StyledLine>& lines) {
  std::vector<std::string> texts;
  for (const StyledLine& line : lines) {
    texts.push_back(Render(line, kPlainText));
  }
  return texts;
}

std::string TextOf(const std::vector<StyledLine>& lines) {
  return cli::TextOf(lines, kPlainText);
}

// The tone of the first cell that holds `text`.
Tone ToneOfText(const std::vector<StyledLine>& lines, const std::string& text) {
  for (const StyledLine& line : lines) {
    for (const Cell& cell : line) {
      if (cell.text.find(text) != std::string::npos) {
        return cell.tone;
      }
    }
  }
  ADD_FAILURE() << "nowhere: " << text;
  return Tone::kWarning;
}

StockMarketItem Stock() {
  StockMarketItem quote;
  quote.symbol_type = stock::kSymbolStock;
  quote.code = L"sh600000";
  quote.name = L"浦发银行";
  quote.last = {10.02, true, 1};
  quote.diff = {0.02, true, 0};
  quote.change = {0.2, true, 0};
  quote.preclose = {10, true};
  quote.high = {10.05, true};
  quote.low = {9.95, true};
  quote.vol = {123456789, true, 1};
  quote.bid_prices.resize(5);
  quote.ask_prices.resize(5);
  quote.bid_volumes.resize(5);
  quote.ask_volumes.resize(5);
  for (std::size_t level = 0; level < 5; ++level) {
    const auto step = 0.01F * static_cast<float>(level);
    quote.ask_prices[level] = {10.02F + step, true, 0};
    quote.bid_prices[level] = {10.01F - step, true, 0};
    quote.ask_volumes[level] = {static_cast<std::uint32_t>(1000 * (level + 1)), true, 0};
    quote.bid_volumes[level] = {static_cast<std::uint32_t>(100 * (level + 1)), true, 0};
  }
  return quote;
}

// The module derives a tenth for all of them.
StockMarketItem StockOf(const wchar_t* code, const wchar_t* name, double preclose) {
  StockMarketItem quote;
  quote.code = code;
  quote.name = name;
  quote.preclose = {preclose, true};
  quote.limit_up = {preclose * 1.1, true};
  quote.limit_down = {preclose * 0.9, true};
  return quote;
}

// A price of +13 % stood beside a limit of +10 %.
TEST(PriceLimits, areThoseOfTheBoard) {
  struct Case {
    const wchar_t* code;
    const wchar_t* name;
    double preclose;
    double up;
    double down;
  };
  for (const Case& one : {Case{L"sh600000", L"浦发银行", 9.99, 10.99, 8.99},
                          {L"sz002594", L"比亚迪", 3.35, 3.69, 3.02},
                          {L"sz300750", L"宁德时代", 9.99, 11.99, 7.99},
                          {L"sz301001", L"凯淳股份", 10, 12, 8},
                          {L"sh688981", L"中芯国际", 50.05, 60.06, 40.04},
                          {L"sh600001", L"ST某某", 4.05, 4.25, 3.85},
                          {L"sz000002", L"*ST某某", 2, 2.1, 1.9}}) {
    const StockMarketItem quote = WithLimitsOfBoard(StockOf(one.code, one.name, one.preclose));
    ASSERT_TRUE(quote.limit_up.present && quote.limit_down.present);
    EXPECT_NEAR(quote.limit_up.value, one.up, 1e-9) << one.preclose;
    EXPECT_NEAR(quote.limit_down.value, one.down, 1e-9) << one.preclose;
  }
}

TEST(PriceLimits, areAbsentOnTheFirstDays) {
  StockMarketItem fresh = StockOf(L"sh601234", L"某某", 10);
  fresh.status = static_cast<stock::StockStatus>(5);
  for (const StockMarketItem& quote :
       {fresh, StockOf(L"sh688001", L"N某某", 10), StockOf(L"sh688001", L"C某某", 10)}) {
    EXPECT_FALSE(WithLimitsOfBoard(quote).limit_up.present);
    EXPECT_FALSE(WithLimitsOfBoard(quote).limit_down.present);
  }
}

TEST(PriceLimits, areNotKnownWhenAPriceLiesBeyond) {
  StockMarketItem quote = StockOf(L"sh600000", L"某某", 10);
  quote.high = {11, true};
  quote.last = {10.5, true, 0};
  EXPECT_TRUE(WithLimitsOfBoard(quote).limit_up.present);
  quote.high = {11.01, true};
  EXPECT_FALSE(WithLimitsOfBoard(quote).limit_up.present);
  EXPECT_FALSE(WithLimitsOfBoard(quote).limit_down.present);
}

TEST(PriceLimits, ofAnIndexAreNone) {
  EXPECT_FALSE(WithLimitsOfBoard(StockMarketItem()).limit_up.present);
}

// The order book of a sheet, below its name and price.
std::vector<StyledLine> BookIn(const StockMarketItem& quote) {
  const std::vector<StyledLine> sheet = NarrowQuoteSheet(quote);
  return {sheet.begin() + 2, sheet.begin() + 13};
}

TEST(OrderBook, hasTheOffersAboveTheBids) {
  EXPECT_EQ(TextsOf(BookIn(Stock())),
            (std::vector<std::string>{"ask5      10.06          5,000", "ask4      10.05          4,000",
                                      "ask3      10.04          3,000", "ask2      10.03          2,000",
                                      "ask1      10.02          1,000", "-------------------------------",
                                      "bid1      10.01            100", "bid2      10.00            200",
                                      "bid3       9.99            300", "bid4       9.98            400",
                                      "bid5       9.97            500"}));
}

TEST(OrderBook, paintsPricesByTheirDifferenceToThePreviousClose) {
  const auto lines = BookIn(Stock());
  EXPECT_EQ(ToneOfText(lines, "10.06"), Tone::kRise);
  EXPECT_EQ(ToneOfText(lines, "10.00"), Tone::kPlain);
  EXPECT_EQ(ToneOfText(lines, "9.97"), Tone::kFall);
  StockMarketItem quote = Stock();
  quote.preclose.present = false;
  EXPECT_EQ(ToneOfText(BookIn(quote), "10.06"), Tone::kPlain);
}

TEST(OrderBook, marksAndPaintsWhatMoved) {
  StockMarketItem quote = Stock();
  quote.ask_prices[4].direction = -1;
  quote.ask_volumes[4].direction = 1;
  quote.bid_volumes[0].direction = -1;
  const auto lines = BookIn(quote);
  EXPECT_EQ(Render(lines[0], kPlainText), "ask5      10.06▾         5,000▴");
  EXPECT_EQ(Render(lines[6], kPlainText), "bid1      10.01            100▾");
  EXPECT_EQ(ToneOfText(lines, "5,000"), Tone::kRise);
  EXPECT_EQ(ToneOfText(lines, "100▾"), Tone::kFall);
  EXPECT_EQ(ToneOfText(lines, "4,000"), Tone::kPlain);
}

TEST(OrderBook, showsAbsentLevelsAsSuch) {
  StockMarketItem quote = Stock();
  quote.ask_prices[1].present = false;
  quote.ask_volumes[1].present = false;
  quote.bid_prices.clear();
  quote.bid_volumes.clear();
  const auto texts = TextsOf(BookIn(quote));
  ASSERT_EQ(texts.size(), 11U);
  EXPECT_EQ(texts[3], "ask2         --             --");
  EXPECT_EQ(texts[6], "bid1         --             --");
}

TEST(QuoteSheet, beginsWithNamePriceAndChange) {
  EXPECT_EQ(TextsOf(QuoteSheet(Stock())).front(), "sh600000  浦发银行   10.02▴  +0.02   +0.20%");
  EXPECT_EQ(ToneOfText(QuoteSheet(Stock()), "+0.20%"), Tone::kRise);
}

TEST(QuoteSheet, showsFiguresAndBookOfAStockSideBySide) {
  const auto texts = TextsOf(QuoteSheet(Stock()));
  ASSERT_EQ(texts.size(), 12U);
  EXPECT_EQ(texts[1], "open               --   vol            1.23亿▴   ask5      10.06          5,000");
  EXPECT_EQ(texts[2], "high            10.05   amt                --    ask4      10.05          4,000");
  for (const std::string& text : texts) {
    EXPECT_LE(DisplayWidth(text), 80) << text;
    EXPECT_FALSE(text.ends_with(' ')) << text;
  }
}

TEST(QuoteSheet, saysThatAStockIsSuspended) {
  StockMarketItem quote = Stock();
  for (const int suspended : {1, 2, 3, 4, 7}) {
    quote.status = static_cast<stock::StockStatus>(suspended);
    EXPECT_NE(TextsOf(QuoteSheet(quote)).front().find("suspended"), std::string::npos) << suspended;
  }
}

// "status 5" means nothing to anybody.
TEST(QuoteSheet, saysThatAStockIsNewOrExRights) {
  StockMarketItem quote = Stock();
  quote.status = static_cast<stock::StockStatus>(5);
  EXPECT_NE(TextsOf(QuoteSheet(quote)).front().find("new listing"), std::string::npos);
  quote.status = static_cast<stock::StockStatus>(6);
  EXPECT_NE(TextsOf(QuoteSheet(quote)).front().find("ex rights"), std::string::npos);
}

TEST(QuoteSheet, showsTheMembersOfAnIndexInPlaceOfABook) {
  StockMarketItem quote;
  quote.symbol_type = stock::kSymbolIndex;
  quote.code = L"sh000001";
  quote.num_u = {1200, true};
  quote.num_d = {800, true};
  quote.lead = L"龙头股";
  quote.lead_change = {-1.5, true};
  const auto sheet = QuoteSheet(quote);
  const std::string text = TextOf(sheet);
  EXPECT_EQ(text.find("ask1"), std::string::npos) << text;
  EXPECT_EQ(text.find("limit_up"), std::string::npos) << text;
  EXPECT_EQ(ToneOfText(sheet, "1,200"), Tone::kRise);
  EXPECT_EQ(ToneOfText(sheet, "800"), Tone::kFall);
  EXPECT_NE(text.find("unchanged          --"), std::string::npos) << text;
  EXPECT_NE(text.find("龙头股"), std::string::npos);
  EXPECT_EQ(ToneOfText(sheet, "-1.50%"), Tone::kFall);
}

TEST(QuoteSheet, escapesWhatTheServerSays) {
  StockMarketItem quote = Stock();
  quote.name = L"\x1b[2J";
  EXPECT_EQ(TextOf(QuoteSheet(quote)).find('\x1b'), std::string::npos);
}

TEST(BoardLines, standUnderEachOtherWhateverTheNamesAre) {
  StockMarketItem wide = Stock();
  StockMarketItem narrow = Stock();
  narrow.name = L"ST A";
  narrow.last.present = false;
  const auto texts = TextsOf(BoardTable({wide, narrow}, BoardLook().Usual("change")).Lines());
  ASSERT_EQ(texts.size(), 3U);
  EXPECT_EQ(texts[0], "code      name           last      diff    change       tr        vol        amt");
  EXPECT_EQ(texts[1], "sh600000  浦发银行     10.02▴    +0.02    +0.20%       --     1.23亿▴        --");
  EXPECT_EQ(texts[2], "sh600000  ST A            --     +0.02    +0.20%       --     1.23亿▴        --");
}

std::vector<std::string> NamesOf(const std::vector<MemberColumn>& columns) {
  std::vector<std::string> names;
  for (const MemberColumn& column : columns) {
    names.emplace_back(column.member);
  }
  return names;
}

TEST(ListLook, addsTheColumnThatTheListIsOrderedBy) {
  EXPECT_EQ(NamesOf(BoardLook().Usual("change")).size(), 8U);
  EXPECT_EQ(NamesOf(BoardLook().Usual("pe")).size(), 9U);
  EXPECT_EQ(NamesOf(BoardLook().Usual("pe")).back(), "pe");
}

TEST(ListLook, hasAColumnForEveryOrder) {
  for (const Choice& column : kStockColumns) {
    EXPECT_NO_THROW(static_cast<void>(BoardLook().Chosen(std::string(column.name)))) << column.name;
    EXPECT_NO_THROW(static_cast<void>(WatchListLook().Chosen(std::string(column.name)))) << column.name;
  }
  EXPECT_NO_THROW(static_cast<void>(WatchListLook().Chosen("plate")));
}

TEST(ListLook, takesTheColumnsThatTheUserChooses) {
  EXPECT_EQ(NamesOf(BoardLook().Chosen("pe,code")), (std::vector<std::string>{"pe", "code"}));
  EXPECT_EQ(NamesOf(BoardLook().Chosen("all")).size(), 24U);
  try {
    static_cast<void>(BoardLook().Chosen("code,prize"));
    FAIL() << "prize is no column";
  } catch (const std::invalid_argument& error) {
    EXPECT_EQ(std::string(error.what()).rfind("\"prize\" is not one of all, code, name, last", 0), 0U)
        << error.what();
  }
}

TEST(WatchListLines, showTheirPlate) {
  OptionalMarketItem quote;
  static_cast<StockMarketItem&>(quote) = Stock();
  quote.plate = L"银行";
  EXPECT_NE(TextOf(WatchListTable({quote}, WatchListLook().Usual("")).Lines()).find("  银行\n"),
            std::string::npos);
}

TEST(RankedStockLines, numberTheirRowsAndMarkWhatMoved) {
  StockMarketSummary row;
  row.code = L"sh600000";
  row.name = L"浦发银行";
  row.last = {10.02, true, -1};
  row.change = {1.5, true, 1};
  const auto texts = TextsOf(RankedTable({row}, {"row", 20}).Lines());
  EXPECT_EQ(texts[0].rfind("row  code", 0), 0U) << texts[0];
  EXPECT_EQ(texts[1].rfind(" 20  sh600000  浦发银行     10.02▾", 0), 0U) << texts[1];
  EXPECT_NE(texts[1].find("+1.50%▴"), std::string::npos) << texts[1];
}

TEST(RankedPlateLines, showTheirLeader) {
  PlateMarketSummary row;
  row.bk = L"bk1001";
  row.name = L"银行";
  row.change = -0.5;
  row.bpin = -123456;
  row.cud = -3;
  row.lead = L"浦发银行";
  row.lead_change = 2;
  const auto texts = TextsOf(RankedTable(std::vector{row}).Lines());
  EXPECT_EQ(texts[1], "1  bk1001    银行        -0.50%   -12.35万    -3  浦发银行       +2.00%");
}

// The head of the codes was "bk", which no order has: a click on it did nothing but in Chinese.
TEST(RankedPlateLines, haveHeadsThatTheirOrderKnows) {
  const Table table = RankedTable(std::vector<PlateMarketSummary>(1));
  for (std::size_t i = 1; i < table.columns().size(); ++i) {
    EXPECT_TRUE(NumberOf(kPlateColumns, table.columns()[i].name)) << table.columns()[i].name;
  }
}

TEST(Vocabulary, numbersItsWordsAsTheServicesDo) {
  EXPECT_EQ(NumberOf(kBoards, "all"), 1);
  EXPECT_EQ(NumberOf(kBoards, "sme"), 5);
  EXPECT_EQ(NumberOf(kPlateKinds, "concept"), 2);
  int expected = 1;
  for (const char* name : {"code", "name", "last", "change", "diff", "bid1", "ask1", "tr", "amt", "vol", "pe",
                           "high", "low", "open", "preclose", "amp", "qrr", "cr", "mc"}) {
    EXPECT_EQ(NumberOf(kStockColumns, name), expected) << name;
    EXPECT_EQ(NumberOf(kWatchListColumns, name), expected) << name;
    if (expected != 6 && expected != 7) {
      EXPECT_EQ(NumberOf(kPlateColumns, name), expected) << name;
    }
    ++expected;
  }
  EXPECT_EQ(NumberOf(kPlateColumns, "cud"), 23);
  EXPECT_EQ(NumberOf(kWatchListColumns, "plate"), 24);
  EXPECT_EQ(NumberOf(kPlateColumns, "bid1"), std::nullopt);
}

TEST(Order, isNamedForKeyAndTitle) {
  ListChoice choice;
  choice.order = {kStockColumns, 8, kAscending};
  EXPECT_EQ(choice.Key(L"gem", {20, 40}), L"gem tr asc 20:40");
  EXPECT_EQ(choice.order.Title(), "by tr, ascending");
}

// Enter on an event selected the index of the whole market, which every event has for its symbol.
TEST(SymbolIn, findsTheStockThatAnEventNames) {
  EXPECT_EQ(SymbolIn("浦发银行(600000)封涨停板"), L"sh600000");
  EXPECT_EQ(SymbolIn("14:30 sz000002 万科A 大笔买入 123456789 股"), L"sz000002");
  EXPECT_EQ(SymbolIn("成交 1234567 股, 平安银行 000001"), L"sz000001");
  EXPECT_EQ(SymbolIn("SH000001 翻红"), L"sh000001");
  EXPECT_EQ(SymbolIn("大盘跳水"), std::nullopt);
  EXPECT_EQ(SymbolIn("1234567"), std::nullopt);
  EXPECT_EQ(SymbolIn(""), std::nullopt);
}

TEST(Symbols, mayBeTypedWithoutTheirMarket) {
  EXPECT_EQ(ParseSymbol("sh600000"), L"sh600000");
  EXPECT_EQ(ParseSymbol("SZ000002"), L"sz000002");
  EXPECT_EQ(ParseSymbol("600000"), L"sh600000");
  EXPECT_EQ(ParseSymbol("900901"), L"sh900901");
  EXPECT_EQ(ParseSymbol("510300"), L"sh510300");
  EXPECT_EQ(ParseSymbol("000002"), L"sz000002");
  EXPECT_EQ(ParseSymbol("159915"), L"sz159915");
  EXPECT_EQ(ParseSymbol("200002"), L"sz200002");
  EXPECT_EQ(ParseSymbol("300001"), L"sz300001");
}

TEST(Symbols, areRefusedWhenTheyAreNone) {
  for (const char* text : {"", "6", "60000", "6000000", "sh60000", "sh6000000", "bj600000", "430047",
                           "800000", "bk1001", "sh60000a", "sh 60000", "../etc", "ｓｈ600000"}) {
    EXPECT_EQ(ParseSymbol(text), std::nullopt) << text;
  }
}

TEST(NarrowQuoteSheet, putsTheBookBelowThePriceAndTheFiguresBelowThat) {
  const std::vector<std::string> texts = TextsOf(NarrowQuoteSheet(Stock()));
  EXPECT_EQ(texts[0], "sh600000  浦发银行");
  EXPECT_EQ(texts[1].rfind("10.02▴", 0), 0U) << texts[1];
  EXPECT_EQ(texts[2].rfind("ask5 ", 0), 0U) << texts[2];
  EXPECT_EQ(texts[12].rfind("bid5 ", 0), 0U) << texts[12];
  EXPECT_EQ(texts[13].rfind("vol ", 0), 0U) << texts[13];
  for (const std::string& text : texts) {
    EXPECT_LE(DisplayWidth(text), 31) << text;
  }
}

// Beside a list of 80 columns the status was cut.
TEST(NarrowQuoteSheet, hasRoomForEveryStatusInThirtyOneColumns) {
  StockMarketItem quote = Stock();
  for (int status = 0; status < 8; ++status) {
    quote.status = static_cast<stock::StockStatus>(status);
    EXPECT_LE(DisplayWidth(NarrowQuoteSheet(quote).front()), 31) << status;
  }
}

TEST(NarrowQuoteSheet, showsTheMembersOfAnIndexAndTheStatusOfAStock) {
  StockMarketItem index = Stock();
  index.symbol_type = stock::kSymbolIndex;
  EXPECT_EQ(TextsOf(NarrowQuoteSheet(index))[2].rfind("up ", 0), 0U);
  StockMarketItem suspended = Stock();
  suspended.status = static_cast<stock::StockStatus>(1);
  EXPECT_EQ(TextsOf(NarrowQuoteSheet(suspended))[0], "sh600000  浦发银行  suspended");
}

std::string JoinedNames(const Table& table) {
  std::string names;
  for (const Column& column : table.columns()) {
    names += (names.empty() ? "" : ",") + column.name;
  }
  return names;
}

// The change stood far behind, and the first columns were all that 80 columns showed of a list ordered by
// another.
TEST(ListLook, keepsNamePriceChangeAndOrderWhereThereIsLittleRoom) {
  StockMarketItem quote = Stock();
  quote.name = L"浦发银行";
  const auto fitting = [&](const char* sorted_by, int width) {
    return JoinedNames(BoardTable({quote}, BoardLook().All(sorted_by)).Fitting(width));
  };
  EXPECT_EQ(fitting("change", 19), "name,last");
  EXPECT_EQ(fitting("change", 30), "name,last,change");
  EXPECT_EQ(fitting("change", 40), "code,name,last,change");
  EXPECT_EQ(fitting("amt", 44), "name,last,change,amt");
  EXPECT_EQ(fitting("pe", 44), "name,last,change,pe");
  EXPECT_EQ(fitting("change", 50), "code,name,last,diff,change");
  EXPECT_EQ(fitting("change", 1000), JoinedNames(BoardTable({quote}, BoardLook().Chosen("all"))));
  EXPECT_EQ(fitting("change", 0), "name");
  OptionalMarketItem own;
  static_cast<StockMarketItem&>(own) = quote;
  EXPECT_EQ(JoinedNames(WatchListTable({own}, WatchListLook().All("none")).Fitting(44)),
            "code,name,last,change");
}

TEST(Table, leavesOutWholeColumnsAndCutsNoFigure) {
  StockMarketItem quote = Stock();
  const Table table = BoardTable({quote}, BoardLook().All("mc"));
  const std::string whole = TextOf(table.Lines());
  for (int width = 8; width < 250; ++width) {
    for (const std::string& text : TextsOf(table.Lines(width))) {
      EXPECT_LE(DisplayWidth(text), width);
      std::istringstream words(text);
      for (std::string word; words >> word;) {
        EXPECT_NE((" " + whole).find(word), std::string::npos) << word;
      }
    }
  }
}

}  // namespace
}  // namespace cli
