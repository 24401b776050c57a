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

#include "quotes/directions.h"
#include "quotes/presence.h"
#include "quotes/stock_market_item_table.h"
#include "quotes/watch_list_order.h"
#include "request/record_reader.h"
#include "scripted_host.h"

namespace {

std::vector<OptionalMarketItem> Ordered(const std::vector<OptionalMarketItem>& items,
                                        const SortingTarget& target) {
  std::vector<OptionalMarketItem> sorted;
  quotes::OrderInto(sorted, items, target);
  return sorted;
}

StockMarketItem AllShown() {
  StockMarketItem item;
  for (auto* const field :
       {&item.last, &item.change, &item.diff, &item.bid1, &item.ask1, &item.tr, &item.amt}) {
    *field = {1.0, true, 0};
  }
  item.vol = {1, true, 0};
  for (auto* const field :
       {&item.pe, &item.high, &item.low, &item.open, &item.preclose, &item.amp, &item.qrr, &item.cr, &item.mc,
        &item.pb, &item.cmc, &item.limit_up, &item.limit_down, &item.avg_price, &item.lead_change}) {
    *field = {1.0, true};
  }
  item.tso = {1, true};
  item.shares = {1, true};
  for (auto* const field : {&item.num_u, &item.num_z, &item.num_d}) {
    *field = {1, true};
  }
  item.bid_prices.assign(5, {1.0F, true, 0});
  item.ask_prices.assign(5, {1.0F, true, 0});
  item.bid_volumes.assign(5, {1, true, 0});
  item.ask_volumes.assign(5, {1, true, 0});
  return item;
}

StockMarketItem AllHidden() {
  StockMarketItem item = AllShown();
  for (auto* const field :
       {&item.last, &item.change, &item.diff, &item.bid1, &item.ask1, &item.tr, &item.amt}) {
    field->present = false;
  }
  item.vol.present = false;
  for (auto* const field :
       {&item.pe, &item.high, &item.low, &item.open, &item.preclose, &item.amp, &item.qrr, &item.cr, &item.mc,
        &item.pb, &item.cmc, &item.limit_up, &item.limit_down, &item.avg_price}) {
    field->present = false;
  }
  item.tso.present = false;
  item.shares.present = false;
  return item;
}

// --- Zeros ---

TEST(HideZeros, leavesASecurityThatIsTraded) {
  StockMarketItem item = AllShown();
  item.last.value = 0;
  const StockMarketItem before = item;
  quotes::HideZeros(item);
  EXPECT_EQ(item, before);
}

TEST(HideZeros, hidesEveryFigureBelowTheTolerance) {
  StockMarketItem item = AllShown();
  item.status = static_cast<stock::StockStatus>(5);
  for (auto* const field :
       {&item.last, &item.change, &item.diff, &item.bid1, &item.ask1, &item.tr, &item.amt}) {
    field->value = -0.0009;
  }
  for (auto* const field :
       {&item.pe, &item.high, &item.low, &item.open, &item.preclose, &item.amp, &item.qrr, &item.cr, &item.mc,
        &item.pb, &item.cmc, &item.limit_up, &item.limit_down, &item.avg_price, &item.lead_change}) {
    field->value = 0.0009;
  }
  item.vol.value = 0;
  item.tso.value = 0;
  item.shares.value = 0;
  quotes::HideZeros(item);
  EXPECT_FALSE(item.last.present || item.change.present || item.diff.present || item.bid1.present ||
               item.ask1.present || item.tr.present || item.amt.present || item.vol.present);
  EXPECT_FALSE(item.pe.present || item.high.present || item.low.present || item.open.present ||
               item.preclose.present || item.amp.present || item.qrr.present || item.cr.present ||
               item.mc.present || item.pb.present || item.cmc.present || item.tso.present ||
               item.shares.present || item.limit_up.present || item.limit_down.present ||
               item.avg_price.present);
  EXPECT_TRUE(item.lead_change.present && item.num_u.present && item.bid_prices[0].present);
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

// The rules as a list, applied in order to flags by name; written apart from the code.
struct Flags {
  bool last, change, diff, bid1, ask1, tr, amt, vol, pe, high, low, open, preclose, amp, qrr, cr, mc, pb, tso,
      shares, cmc, limit_up, limit_down, avg_price, lead_change, num_u, num_z, num_d, book;
  bool operator==(const Flags&) const = default;
};

Flags FlagsOf(const StockMarketItem& item) {
  return {item.last.present,
          item.change.present,
          item.diff.present,
          item.bid1.present,
          item.ask1.present,
          item.tr.present,
          item.amt.present,
          item.vol.present,
          item.pe.present,
          item.high.present,
          item.low.present,
          item.open.present,
          item.preclose.present,
          item.amp.present,
          item.qrr.present,
          item.cr.present,
          item.mc.present,
          item.pb.present,
          item.tso.present,
          item.shares.present,
          item.cmc.present,
          item.limit_up.present,
          item.limit_down.present,
          item.avg_price.present,
          item.lead_change.present,
          item.num_u.present,
          item.num_z.present,
          item.num_d.present,
          item.bid_prices[0].present && item.ask_volumes[4].present};
}

void ApplyByTheBook(Flags& f, int phase, int status, bool is_stock) {
  if (phase == 2) f.last = f.change = f.diff = f.open = f.pb = f.cmc = f.mc = false;
  if (phase == 3) f.last = f.change = f.diff = f.open = f.pb = f.cmc = f.mc = true;
  if (phase == 2 || phase == 3) {
    f.shares = f.tso = f.cr = f.qrr = f.amp = f.low = f.high = f.pe = f.vol = f.amt = f.tr = f.ask1 = f.bid1 =
        false;
    f.preclose = true;
  }
  const bool halted = status == 1 || status == 2 || status == 3 || status == 4 || status == 7;
  if (halted) {
    f.pe = f.preclose = f.mc = f.last = f.cmc = true;
    f.pb = f.change = f.diff = f.bid1 = f.ask1 = f.tr = f.amt = f.vol = f.high = f.low = f.open = f.amp =
        f.qrr = f.cr = f.tso = f.shares = false;
  }
  if (phase == 2 || phase == 3 || halted) {
    if (is_stock) {
      f.book = f.limit_up = f.limit_down = f.avg_price = false;
    } else {
      f.lead_change = f.num_u = f.num_z = f.num_d = false;
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
          Flags expected = FlagsOf(item);
          ApplyByTheBook(expected, phase, status, kind == 2);
          quotes::ApplySingleQuoteRules(item, static_cast<stock::MarketStatus>(phase));
          EXPECT_EQ(FlagsOf(item), expected) << "phase " << phase << " status " << status << " kind " << kind;
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

// --- Orders of the watch list ---

class WatchListOrder : public ::testing::Test {
 protected:
  using Items = std::vector<OptionalMarketItem>;

  static std::wstring Codes(const Items& items) {
    std::wstring codes;
    for (const OptionalMarketItem& item : items) codes += item.code;
    return codes;
  }
  static OptionalMarketItem Item(const wchar_t* code) {
    OptionalMarketItem item;
    item.code = code;
    return item;
  }
  // Four rows a, b, c, d with these figures; a NaN is an absent one whose stored value is 0.
  template <class Field>
  static Items Figures(Field StockMarketItem::*field, std::initializer_list<double> values) {
    Items items;
    wchar_t code = L'a';
    for (const double value : values) {
      OptionalMarketItem item = Item(std::wstring(1, code++).c_str());
      if (!std::isnan(value)) {
        (item.*field).value = static_cast<decltype((item.*field).value)>(value);
        (item.*field).present = true;
      }
      items.push_back(item);
    }
    return items;
  }

  ScriptedHost host;
};

const double kAbsent = std::nan("");

TEST_F(WatchListOrder, ofCodesComparesDigitsAsText) {
  const Items items{Item(L"sz9"), Item(L"sh10"), Item(L"xx10"), Item(L"sh2")};
  EXPECT_EQ(Codes(Ordered(items, {1, 1})), L"sh10xx10sh2sz9");
  EXPECT_EQ(Codes(Ordered(items, {1, 2})), L"sz9sh2sh10xx10");
}

TEST_F(WatchListOrder, ofNamesComparesBytes) {
  Items items{Item(L"a"), Item(L"b"), Item(L"c")};
  items[0].name = L"中国";
  items[1].name = L"AB";
  items[2].name = L"A";
  EXPECT_EQ(Codes(Ordered(items, {2, 1})), L"cba");
  EXPECT_EQ(Codes(Ordered(items, {2, 2})), L"abc");
}

TEST_F(WatchListOrder, ofFiguresPutsAbsentOnesLastInBothDirections) {
  const auto check = [](std::uint32_t column, const Items& items) {
    EXPECT_EQ(Codes(Ordered(items, {column, 1})), L"cadb") << column;
    EXPECT_EQ(Codes(Ordered(items, {column, 2})), L"dacb") << column;
  };
  const std::initializer_list<double> values{2, kAbsent, 1, 3};
  check(3, Figures(&StockMarketItem::last, values));
  check(4, Figures(&StockMarketItem::change, values));
  check(5, Figures(&StockMarketItem::diff, values));
  check(6, Figures(&StockMarketItem::bid1, values));
  check(7, Figures(&StockMarketItem::ask1, values));
  check(8, Figures(&StockMarketItem::tr, values));
  check(9, Figures(&StockMarketItem::amt, values));
  check(10, Figures(&StockMarketItem::vol, values));
  check(11, Figures(&StockMarketItem::pe, values));
  check(12, Figures(&StockMarketItem::high, values));
  check(13, Figures(&StockMarketItem::low, values));
  check(14, Figures(&StockMarketItem::open, values));
  check(15, Figures(&StockMarketItem::preclose, values));
  check(16, Figures(&StockMarketItem::amp, values));
  check(18, Figures(&StockMarketItem::cr, values));
  check(19, Figures(&StockMarketItem::mc, values));
}

TEST_F(WatchListOrder, ofVolumeRatiosForgetsPresenceWhenItAscends) {
  const Items items = Figures(&StockMarketItem::qrr, {1.5, kAbsent, 0.5});
  EXPECT_EQ(Codes(Ordered(items, {17, 1})), L"bca");
  EXPECT_EQ(Codes(Ordered(items, {17, 2})), L"acb");
}

TEST_F(WatchListOrder, keepsValuesWithinTheToleranceInTheirOrder) {
  const Items items = Figures(&StockMarketItem::last, {1.001, 1.0, 1.0005});
  EXPECT_EQ(Codes(Ordered(items, {3, 1})), L"abc");
  EXPECT_EQ(Codes(Ordered(items, {3, 2})), L"abc");
}

TEST_F(WatchListOrder, ofPlatesPutsStocksWithoutPlateLast) {
  Items items{Item(L"a"), Item(L"b"), Item(L"c")};
  items[0].plate = L"银行";
  items[2].plate = L"钢铁";
  EXPECT_EQ(Codes(Ordered(items, {24, 1})), items[0].plate < items[2].plate ? L"acb" : L"cab");
  EXPECT_EQ(Codes(Ordered(items, {24, 2})), items[0].plate < items[2].plate ? L"cab" : L"acb");
}

TEST_F(WatchListOrder, isTheAnswersWhenColumnOrDirectionSaysNothing) {
  const Items items = Figures(&StockMarketItem::last, {2, 1, 3});
  for (const SortingTarget& target :
       {SortingTarget{0, 2}, {3, 0}, {3, 3}, {20, 1}, {25, 2}, {0xFFFFFFFF, 1}}) {
    EXPECT_EQ(Codes(Ordered(items, target)), L"abc") << target.sort_key << " " << target.sort_type;
  }
}

TEST_F(WatchListOrder, givesAPermutationWhateverTheFigures) {
  std::mt19937 random(11);
  const double hostile[] = {0,
                            -0.0,
                            0.001,
                            0.0005,
                            1,
                            1e308,
                            -1e308,
                            std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity(),
                            std::nan(""),
                            5e-324};
  for (int round = 0; round < 3000; ++round) {
    Items items(random() % 70);
    for (std::size_t place = 0; place < items.size(); ++place) {
      OptionalMarketItem& item = items[place];
      item.code = std::to_wstring(place);
      item.last = {hostile[random() % std::size(hostile)], random() % 2 == 0, 0};
      item.qrr = {hostile[random() % std::size(hostile)], random() % 2 == 0};
      item.vol = {random(), random() % 2 == 0, 0};
    }
    const std::uint32_t columns[] = {1, 3, 10, 17};
    auto sorted = Ordered(items, {columns[random() % 4], random() % 2 == 0 ? 1U : 2U});
    ASSERT_EQ(sorted.size(), items.size());
    std::vector<bool> seen(items.size());
    for (const OptionalMarketItem& item : sorted) {
      const auto place = static_cast<std::size_t>(std::stoul(item.code));
      ASSERT_FALSE(seen[place]);
      seen[place] = true;
    }
  }
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

}  // namespace
