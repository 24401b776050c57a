// The rules that stand between a feed's quote and a view: presence, directions, the watch list's orders.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <limits>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "json/record_reader.h"
#include "quotes/directions.h"
#include "quotes/presence.h"
#include "quotes/stock_market_item_table.h"
#include "quotes/watch_list_order.h"
#include "scripted_host.h"

namespace {

// Every figure that a rule may hide, with its name.
template <class Visit>
void ForEachFigure(StockMarketItem& item, Visit visit) {
  visit("last", item.last);
  visit("change", item.change);
  visit("diff", item.diff);
  visit("bid1", item.bid1);
  visit("ask1", item.ask1);
  visit("tr", item.tr);
  visit("amt", item.amt);
  visit("vol", item.vol);
  visit("pe", item.pe);
  visit("high", item.high);
  visit("low", item.low);
  visit("open", item.open);
  visit("preclose", item.preclose);
  visit("amp", item.amp);
  visit("qrr", item.qrr);
  visit("cr", item.cr);
  visit("mc", item.mc);
  visit("pb", item.pb);
  visit("tso", item.tso);
  visit("shares", item.shares);
  visit("cmc", item.cmc);
  visit("limit_up", item.limit_up);
  visit("limit_down", item.limit_down);
  visit("avg_price", item.avg_price);
}

// The sides of the book.
template <class Visit>
void ForEachLevel(StockMarketItem& item, Visit visit) {
  for (auto* const side : {&item.bid_prices, &item.ask_prices}) {
    for (auto& level : *side) visit(level);
  }
  for (auto* const side : {&item.bid_volumes, &item.ask_volumes}) {
    for (auto& level : *side) visit(level);
  }
}

StockMarketItem AllShown() {
  StockMarketItem item;
  ForEachFigure(item, [](const std::string&, auto& field) {
    field.value = 1;
    field.present = true;
  });
  item.lead_change = {1.0, true};
  for (auto* const field : {&item.num_u, &item.num_z, &item.num_d}) *field = {1, true};
  item.bid_prices.assign(5, {1.0F, true, 0});
  item.ask_prices.assign(5, {1.0F, true, 0});
  item.bid_volumes.assign(5, {1, true, 0});
  item.ask_volumes.assign(5, {1, true, 0});
  return item;
}

StockMarketItem AllHidden() {
  StockMarketItem item = AllShown();
  ForEachFigure(item, [](const std::string&, auto& field) { field.present = false; });
  return item;
}

// --- Zeros ---

TEST(HideZeros, hidesAFigureBelowTheToleranceAloneUnderEveryStatusButTheNormalOne) {
  StockMarketItem names = AllShown();
  ForEachFigure(names, [](const std::string& zero, auto&) {
    for (int status = 0; status <= 7; ++status) {
      for (const double tiny : {0.0, 0.0009, -0.0009}) {
        StockMarketItem item = AllShown();
        item.status = static_cast<stock::StockStatus>(status);
        ForEachFigure(item, [&](const std::string& name, auto& field) {
          if (name == zero) field.value = static_cast<decltype(field.value)>(tiny);
        });
        StockMarketItem expected = item;
        ForEachFigure(expected, [&](const std::string& name, auto& field) {
          field.present = status == 0 || name != zero;
        });
        quotes::HideZeros(item);
        EXPECT_EQ(item, expected) << zero << " of " << tiny << ", status " << status;
      }
    }
  });
}

TEST(HideZeros, keepsFiguresAtTheTolerance) {
  StockMarketItem item = AllShown();
  item.status = static_cast<stock::StockStatus>(1);
  item.last.value = 0.001;
  item.vol.value = 1;
  quotes::HideZeros(item);
  EXPECT_TRUE(item.last.present && item.vol.present);
}

TEST(HideBeforeOpening, leavesTheLastPriceAloneInPhasesTwoAndThree) {
  for (int phase = 0; phase <= 7; ++phase) {
    StockMarketItem item = AllShown();
    quotes::HideBeforeOpening(item, static_cast<stock::MarketStatus>(phase));
    StockMarketItem expected = AllShown();
    if (phase == 2 || phase == 3) {
      expected = AllHidden();
      expected.last.present = true;
    }
    EXPECT_EQ(item, expected) << "phase " << phase;
  }
}

// --- The single quote: every phase, status and kind of security ---

// The rules as a list, applied in order; written apart from the code.
void ApplyByTheBook(StockMarketItem& q, int phase, int status, bool is_stock) {
  const auto set = [](bool shown, auto&... fields) { ((fields.present = shown), ...); };
  if (phase == 2) set(false, q.last, q.change, q.diff, q.open, q.pb, q.cmc, q.mc);
  if (phase == 3) set(true, q.last, q.change, q.diff, q.open, q.pb, q.cmc, q.mc);
  if (phase == 2 || phase == 3) {
    set(false, q.shares, q.tso, q.cr, q.qrr, q.amp, q.low, q.high, q.pe, q.vol, q.amt, q.tr, q.ask1, q.bid1);
    set(true, q.preclose);
  }
  const bool halted = status == 1 || status == 2 || status == 3 || status == 4 || status == 7;
  if (halted) {
    set(true, q.pe, q.preclose, q.mc, q.last, q.cmc);
    set(false, q.pb, q.change, q.diff, q.bid1, q.ask1, q.tr, q.amt, q.vol, q.high, q.low, q.open, q.amp,
        q.qrr, q.cr, q.tso, q.shares);
  }
  if (phase == 2 || phase == 3 || halted) {
    if (is_stock) {
      ForEachLevel(q, [](auto& level) { level.present = false; });
      set(false, q.limit_up, q.limit_down, q.avg_price);
    } else {
      set(false, q.lead_change, q.num_u, q.num_z, q.num_d);
    }
  }
}

TEST(SingleQuoteRules, holdForEveryPhaseStatusAndKind) {
  for (int phase = 0; phase <= 8; ++phase) {
    for (int status = 0; status <= 8; ++status) {
      for (int kind = 0; kind <= 4; ++kind) {
        for (const bool shown : {true, false}) {
          StockMarketItem item = shown ? AllShown() : AllHidden();
          item.status = static_cast<stock::StockStatus>(status);
          item.symbol_type = static_cast<stock::SymbolType>(kind);
          StockMarketItem expected = item;
          ApplyByTheBook(expected, phase, status, kind == 2);
          quotes::ApplySingleQuoteRules(item, static_cast<stock::MarketStatus>(phase));
          EXPECT_EQ(item, expected) << "phase " << phase << " status " << status << " kind " << kind;
        }
      }
    }
  }
}

// --- Directions ---

std::vector<StockMarketItem> One(const wchar_t* code, double last, std::uint64_t vol = 0) {
  std::vector<StockMarketItem> items(1);
  items[0].code = code;
  items[0].last.value = last;
  items[0].vol.value = vol;
  return items;
}

TEST(Directions, knowATolerance) {
  const double before = 1.0;
  const std::pair<double, int> moves[] = {{before + 0.001, 0},   {before - 0.001, 0}, {before + 0.0011, 1},
                                          {before - 0.0011, -1}, {before, 0},         {std::nan(""), 0}};
  for (const auto& [now, direction] : moves) {
    auto items = One(L"a", now);
    quotes::SetDirections(items, One(L"a", before));
    EXPECT_EQ(items[0].last.direction, direction) << now;
  }
}

TEST(Directions, areToldOfEachTickFieldAlone) {
  const auto ticks = [](StockMarketItem& item) {
    return std::vector<TickField<double>*>{&item.last, &item.change, &item.diff, &item.bid1,
                                           &item.ask1, &item.tr,     &item.amt};
  };
  for (std::size_t moved = 0; moved < 7; ++moved) {
    std::vector<StockMarketItem> earlier{AllShown()};
    std::vector<StockMarketItem> items{AllShown()};
    ticks(items[0])[moved]->value = 1.5;
    quotes::SetDirections(items, earlier);
    for (std::size_t field = 0; field < 7; ++field) {
      EXPECT_EQ(ticks(items[0])[field]->direction, field == moved ? 1 : 0) << field << " of " << moved;
    }
    EXPECT_EQ(items[0].vol.direction, 0);
    quotes::SetDirections(earlier[0], items[0]);
    EXPECT_EQ(ticks(earlier[0])[moved]->direction, -1) << "of a single quote " << moved;
  }
}

TEST(Directions, areThoseOfTheValuesWhetherShownOrNot) {
  std::vector<StockMarketItem> earlier{AllHidden()};
  std::vector<StockMarketItem> items{AllShown()};
  items[0].last = {0, false, 0};
  items[0].vol.value = 2;
  quotes::SetDirections(items, earlier);
  EXPECT_EQ(items[0].last.direction, -1);
  EXPECT_EQ(items[0].vol.direction, 1);
}

TEST(Directions, leaveAnItemAloneWithoutAnswerBefore) {
  std::vector<StockMarketItem> items{AllShown()};
  items[0].last.direction = 1;
  quotes::SetDirections(items, {});
  EXPECT_EQ(items[0].last.direction, 1);
}

TEST(Directions, compareCodesExactly) {
  auto items = One(L"sh600000", 9);
  quotes::SetDirections(items, One(L"SH600000", 1));
  EXPECT_EQ(items[0].last.direction, 0);
}

TEST(Directions, compareVolumesExactly) {
  auto items = One(L"a", 1, std::numeric_limits<std::uint64_t>::max());
  quotes::SetDirections(items, One(L"a", 1, std::numeric_limits<std::uint64_t>::max() - 1));
  EXPECT_EQ(items[0].vol.direction, 1);
}

TEST(Directions, takeTheFirstEarlierItemOfTheCode) {
  auto earlier = One(L"a", 5);
  earlier.push_back(One(L"a", 1)[0]);
  auto items = One(L"a", 3);
  items.push_back(One(L"a", 3)[0]);
  items.push_back(One(L"b", 3)[0]);
  quotes::SetDirections(items, earlier);
  EXPECT_EQ(items[0].last.direction, -1);
  EXPECT_EQ(items[1].last.direction, -1) << "an earlier item serves every later one";
  EXPECT_EQ(items[2].last.direction, 0);
}

TEST(Directions, agreeWithALinearSearch) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::vector<StockMarketItem> earlier(random() % 60);
    std::vector<StockMarketItem> items(random() % 60);
    const auto fill = [&random](StockMarketItem& item) {
      item.code = std::to_wstring(random() % 40);
      item.last.value = static_cast<double>(random() % 4) / 2;
    };
    std::for_each(earlier.begin(), earlier.end(), fill);
    std::for_each(items.begin(), items.end(), fill);
    auto expected = items;
    for (StockMarketItem& item : expected) {
      const auto found =
          std::find_if(earlier.begin(), earlier.end(),
                       [&item](const StockMarketItem& candidate) { return candidate.code == item.code; });
      if (found != earlier.end()) {
        item.last.direction = found->last.value - 0.001 > item.last.value   ? -1
                              : item.last.value > found->last.value + 0.001 ? 1
                                                                            : 0;
      }
    }
    quotes::SetDirections(items, earlier);
    EXPECT_EQ(items, expected);
  }
}

TEST(Directions, ofASingleStockIncludeLevelsPresentInBoth) {
  StockMarketItem before = AllShown();
  StockMarketItem now = AllShown();
  now.symbol_type = stock::kSymbolStock;
  now.bid_prices[0].value = 2.0F;
  now.ask_volumes[1].value = 0;
  now.bid_prices[2].value = 9.0F;
  before.bid_prices[2].present = false;
  quotes::SetDirections(now, before);
  EXPECT_EQ(now.bid_prices[0].direction, 1);
  EXPECT_EQ(now.ask_volumes[1].direction, -1);
  EXPECT_EQ(now.bid_prices[2].direction, 0);
  StockMarketItem index = AllShown();
  index.symbol_type = stock::kSymbolIndex;
  index.bid_prices[0].value = 2.0F;
  quotes::SetDirections(index, before);
  EXPECT_EQ(index.bid_prices[0].direction, 0);
}

// --- The record's table ---

StockMarketItem ReadBoardRow(const char* text) {
  const auto document = request::json::Document::Parse(text, std::char_traits<char>::length(text));
  EXPECT_EQ(document.Error(), 0);
  StockMarketItem item;
  request::RecordReader<quotes::kBoardTable>::Fill(item, document.Root());
  return item;
}

class BoardRow : public ::testing::Test {
 protected:
  ScriptedHost host;
};

TEST_F(BoardRow, fillsBestPriceAndFirstLevelFromOneKey) {
  const StockMarketItem item = ReadBoardRow(R"({"b1p":10.5,"s1p":10.25})");
  EXPECT_EQ(item.bid1, (TickField<double>{10.5, true, 0}));
  ASSERT_EQ(item.bid_prices.size(), 5U);
  EXPECT_EQ(item.bid_prices[0], (BookLevel<float>{10.5F, true, 0}));
  EXPECT_FALSE(item.bid_prices[1].present);
  EXPECT_EQ(item.ask_prices[0].value, 10.25F);
  EXPECT_TRUE(item.bid_volumes.empty()) << "no level of that side was there";
}

TEST_F(BoardRow, marksAKeyThatIsNullAsPresent) {
  const StockMarketItem item = ReadBoardRow(R"({"last":null,"vol":null,"high":"text"})");
  EXPECT_EQ(item.last, (TickField<double>{0, true, 0}));
  EXPECT_TRUE(item.vol.present && item.high.present);
  EXPECT_FALSE(item.low.present);
}

TEST_F(BoardRow, keepsTheWholeRangeOfVolumes) {
  const StockMarketItem item =
      ReadBoardRow(R"({"vol":18446744073709549568,"tso":9223372036854775808,"b3v":4294967301})");
  EXPECT_EQ(item.vol.value, 18446744073709549568U);
  EXPECT_EQ(item.tso.value, std::uint64_t{1} << 63);
  EXPECT_EQ(item.bid_volumes[2].value, 5U) << "low 32 bits";
}

TEST_F(BoardRow, readsNoMembersOfAnIndex) {
  const StockMarketItem item = ReadBoardRow(R"({"lead":"x","lead_change":1,"num_u":2})");
  EXPECT_EQ(item, StockMarketItem{});
}

TEST_F(BoardRow, convertsTheStatus) {
  EXPECT_EQ(ReadBoardRow(R"({"status":"3"})").status, 3);
  EXPECT_EQ(ReadBoardRow(R"({"status":3})").status, 0) << "a number is no text";
}

// Every key of a quote with a value of its own.
constexpr const char* kWholeRow =
    R"({"code":"sh600000","name":"浦发","last":1.5,"change":2.5,"diff":3.5,"b1p":4.5,"s1p":5.5,"tr":6.5,)"
    R"("amt":7.5,"vol":8,"pe":9.5,"high":10.5,"low":11.5,"open":12.5,"preclose":13.5,"amp":14.5,"qrr":15.5,)"
    R"("cr":16.5,"mc":17.5,"pb":18.5,"tso":19,"shares":20,"cmc":21.5,"status":"5",)"
    R"("b2p":22.5,"b3p":23.5,"b4p":24.5,"b5p":25.5,"s2p":26.5,"s3p":27.5,"s4p":28.5,"s5p":29.5,)"
    R"("b1v":30,"b2v":31,"b3v":32,"b4v":33,"b5v":34,"s1v":35,"s2v":36,"s3v":37,"s4v":38,"s5v":39,)"
    R"("lead":"甲","lead_change":40.5,"num_u":41,"num_z":42,"num_d":43,)"
    R"("limit_up":1,"limit_down":1,"avg_price":1,"symbol_type":2,"LAST":9,"last ":9})";

StockMarketItem WholeFigures() {
  StockMarketItem item;
  item.code = L"sh600000";
  item.name = L"浦发";
  item.last = {1.5, true, 0};
  item.change = {2.5, true, 0};
  item.diff = {3.5, true, 0};
  item.bid1 = {4.5, true, 0};
  item.ask1 = {5.5, true, 0};
  item.tr = {6.5, true, 0};
  item.amt = {7.5, true, 0};
  item.vol = {8, true, 0};
  item.pe = {9.5, true};
  item.high = {10.5, true};
  item.low = {11.5, true};
  item.open = {12.5, true};
  item.preclose = {13.5, true};
  item.amp = {14.5, true};
  item.qrr = {15.5, true};
  item.cr = {16.5, true};
  item.mc = {17.5, true};
  item.pb = {18.5, true};
  item.tso = {19, true};
  item.shares = {20, true};
  item.cmc = {21.5, true};
  item.status = static_cast<stock::StockStatus>(5);
  return item;
}

void AddBook(StockMarketItem& item) {
  item.bid_prices = {{4.5F, true, 0}, {22.5F, true, 0}, {23.5F, true, 0}, {24.5F, true, 0}, {25.5F, true, 0}};
  item.ask_prices = {{5.5F, true, 0}, {26.5F, true, 0}, {27.5F, true, 0}, {28.5F, true, 0}, {29.5F, true, 0}};
  item.bid_volumes = {{30, true, 0}, {31, true, 0}, {32, true, 0}, {33, true, 0}, {34, true, 0}};
  item.ask_volumes = {{35, true, 0}, {36, true, 0}, {37, true, 0}, {38, true, 0}, {39, true, 0}};
}

void AddMembers(StockMarketItem& item) {
  item.lead = L"甲";
  item.lead_change = {40.5, true};
  item.num_u = {41, true};
  item.num_z = {42, true};
  item.num_d = {43, true};
}

template <const auto& kTable>
StockMarketItem ReadWholeRow() {
  const auto document = request::json::Document::Parse(kWholeRow, std::char_traits<char>::length(kWholeRow));
  EXPECT_EQ(document.Error(), 0);
  StockMarketItem item;
  request::RecordReader<kTable>::Fill(item, document.Root());
  return item;
}

TEST_F(BoardRow, readsEveryKeyOfFiguresAndBook) {
  StockMarketItem expected = WholeFigures();
  AddBook(expected);
  EXPECT_EQ(ReadWholeRow<quotes::kBoardTable>(), expected);
}

TEST_F(BoardRow, ofTheWatchListReadsTheMembersToo) {
  StockMarketItem expected = WholeFigures();
  AddBook(expected);
  AddMembers(expected);
  EXPECT_EQ(ReadWholeRow<quotes::kWatchListTable>(), expected);
}

TEST_F(BoardRow, ofASingleIndexReadsMembersAndNoBook) {
  StockMarketItem expected = WholeFigures();
  AddMembers(expected);
  EXPECT_EQ(ReadWholeRow<quotes::kSingleIndexTable>(), expected);
}

TEST_F(BoardRow, ofAPlateReadsFewerKeys) {
  StockMarketItem expected = WholeFigures();
  AddMembers(expected);
  expected.code.clear();  // it stands under another key
  expected.bid1 = expected.ask1 = {};
  expected.pb = expected.cmc = {};
  expected.tso = expected.shares = {};
  expected.status = stock::kStockNormal;
  EXPECT_EQ(ReadWholeRow<quotes::kPlateTable>(), expected);
}

}  // namespace
