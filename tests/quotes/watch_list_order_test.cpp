// The orders that views give the watch list, column by column. Built with the containers' own checks.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "host/text.h"
#include "long_run.h"
#include "quotes/watch_list_order.h"

namespace {

std::vector<OptionalMarketItem> Ordered(const std::vector<OptionalMarketItem>& items,
                                        const SortingTarget& target) {
  std::vector<OptionalMarketItem> sorted;
  quotes::OrderInto(sorted, items, target);
  return sorted;
}

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
};

const double kAbsent = std::nan("");

TEST_F(WatchListOrder, ofCodesComparesDigitsAsText) {
  const Items items{Item(L"sz9"), Item(L"sh10"), Item(L"xx10"), Item(L"sh2")};
  EXPECT_EQ(Codes(Ordered(items, {1, 1})), L"sh10xx10sh2sz9");
  EXPECT_EQ(Codes(Ordered(items, {1, 2})), L"sz9sh2sh10xx10");
}

TEST_F(WatchListOrder, ofCodesComparesAnyNumberOfDigits) {
  const Items items{Item(L"a1234567890123456"),
                    Item(L"b123456789012345"),
                    Item(L"c123456789012345000"),
                    Item(L"d12345678901234501"),
                    Item(L"e0"),
                    Item(L"f"),
                    Item(L"g00")};
  EXPECT_EQ(Codes(Ordered(items, {1, 1})),
            L"fe0g00b123456789012345c123456789012345000d12345678901234501a1234567890123456");
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

TEST_F(WatchListOrder, ofAbsentFiguresGoesByWhatTheyHold) {
  Items items = Figures(&StockMarketItem::pe, {3, 1, 2, 9});
  for (std::size_t row : {0U, 1U, 2U}) items[row].pe.present = false;
  EXPECT_EQ(Codes(Ordered(items, {11, 1})), L"dbca");
  EXPECT_EQ(Codes(Ordered(items, {11, 2})), L"dacb");
  items = Figures(&StockMarketItem::vol, {3, 1, 2, 9});
  for (std::size_t row : {0U, 1U, 2U}) items[row].vol.present = false;
  EXPECT_EQ(Codes(Ordered(items, {10, 1})), L"dbca");
  EXPECT_EQ(Codes(Ordered(items, {10, 2})), L"dacb");
}

TEST_F(WatchListOrder, ofVolumesComparesWholeNumbers) {
  const Items items = Figures(&StockMarketItem::vol, {2, 1, 2});
  EXPECT_EQ(Codes(Ordered(items, {10, 1})), L"bac");
  EXPECT_EQ(Codes(Ordered(items, {10, 2})), L"acb");
}

TEST_F(WatchListOrder, ofCodesKeepsThoseWithEqualDigits) {
  const Items items{Item(L"sz000001"), Item(L"sh000001"), Item(L"000001x"), Item(L"no digit")};
  EXPECT_EQ(Codes(Ordered(items, {1, 1})), L"no digitsz000001sh000001000001x");
  EXPECT_EQ(Codes(Ordered(items, {1, 2})), L"sz000001sh000001000001xno digit");
}

TEST_F(WatchListOrder, reusesWhatTheCopyHeld) {
  const Items items = Figures(&StockMarketItem::last, {2, 1, 3});
  Items sorted = Figures(&StockMarketItem::high, {7, 7, 7, 7, 7});
  quotes::OrderInto(sorted, items, {3, 1});
  EXPECT_EQ(sorted, Ordered(items, {3, 1}));
}

// --- Random lists, against the comparison as it is written down ---

struct Compared {
  double value;
  bool present;
};

// What column `column` shows of a row, for the columns that compare figures.
Compared FigureOf(const OptionalMarketItem& item, std::uint32_t column) {
  const auto of = [](const auto& field) { return Compared{field.value, field.present}; };
  switch (column) {
    case 3:
      return of(item.last);
    case 4:
      return of(item.change);
    case 5:
      return of(item.diff);
    case 6:
      return of(item.bid1);
    case 7:
      return of(item.ask1);
    case 8:
      return of(item.tr);
    case 9:
      return of(item.amt);
    case 11:
      return of(item.pe);
    case 12:
      return of(item.high);
    case 13:
      return of(item.low);
    case 14:
      return of(item.open);
    case 15:
      return of(item.preclose);
    case 16:
      return of(item.amp);
    case 17:
      return of(item.qrr);
    case 18:
      return of(item.cr);
    default:
      return of(item.mc);
  }
}

std::wstring Digits(const std::wstring& code) {
  std::wstring digits;
  for (const wchar_t character : code) {
    if (character >= L'0' && character <= L'9') digits += character;
  }
  return digits;
}

// Whether a goes before b.
bool GoesBefore(const OptionalMarketItem& a, const OptionalMarketItem& b, const SortingTarget& target) {
  const bool ascending = target.sort_type == 1;
  const auto compare = [ascending](const auto& left, const auto& right) {
    return ascending ? left < right : left > right;
  };
  switch (target.sort_key) {
    case 1:
      return compare(Digits(a.code), Digits(b.code));
    case 2:
      return compare(common::ws2s(a.name, common::kUtf8), common::ws2s(b.name, common::kUtf8));
    case 10:
      return a.vol.present != b.vol.present ? a.vol.present : compare(a.vol.value, b.vol.value);
    case 24:
      return a.plate.empty() != b.plate.empty() ? !a.plate.empty() : compare(a.plate, b.plate);
    default:
      break;
  }
  const Compared left = FigureOf(a, target.sort_key);
  const Compared right = FigureOf(b, target.sort_key);
  const bool looks_at_presence = target.sort_key != 17 || !ascending;
  if (looks_at_presence && left.present != right.present) return left.present;
  return ascending ? right.value - 0.001 > left.value : left.value > right.value + 0.001;
}

class RandomLists {
 public:
  using Items = std::vector<OptionalMarketItem>;

  // `values` are what figures are drawn from.
  explicit RandomLists(std::vector<double> values) : values_(std::move(values)) {}

  // Every row knows its place by its `num_u`.
  Items Next() {
    Items items(random_() % 48);
    std::int32_t place = 0;
    for (OptionalMarketItem& item : items) {
      item.num_u.value = place++;
      item.code = Text(L"shz019");
      item.name = Text(L"AaB中国\U0001F600");
      item.plate = Text(L"银钢x");
      for (auto* const field :
           {&item.last, &item.change, &item.diff, &item.bid1, &item.ask1, &item.tr, &item.amt}) {
        field->value = Value();
        field->present = Flip();
      }
      for (auto* const field : {&item.pe, &item.high, &item.low, &item.open, &item.preclose, &item.amp,
                                &item.qrr, &item.cr, &item.mc}) {
        field->value = Value();
        field->present = Flip();
      }
      item.vol = {Flip() ? random_() % 5 : std::numeric_limits<std::uint64_t>::max() - random_() % 2, Flip(),
                  0};
    }
    return items;
  }

 private:
  bool Flip() { return random_() % 2 == 0; }
  double Value() { return values_[random_() % values_.size()]; }
  std::wstring Text(const std::wstring& alphabet) {
    std::wstring text;
    for (std::size_t length = random_() % 4; length > 0; --length)
      text += alphabet[random_() % alphabet.size()];
    return text;
  }

  const std::vector<double> values_;
  std::mt19937 random_{11};
};

const std::vector<std::uint32_t> kColumns{1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                          11, 12, 13, 14, 15, 16, 17, 18, 19, 24};

// Visits lists in all orders of all columns until the sort has made `comparisons` comparisons: one for each
// row of each merge, at least half of the rows in each of log2(rows) merges.
template <class Visit>
void ForRandomLists(RandomLists lists, int comparisons, Visit visit) {
  for (std::size_t made = 0; made < static_cast<std::size_t>(comparisons);) {
    const auto items = lists.Next();
    for (const std::uint32_t column : kColumns) {
      for (const std::uint32_t direction : {1U, 2U}) {
        visit(items, SortingTarget{column, direction});
        for (std::size_t width = 1; width < items.size(); width *= 2) made += items.size() / 2;
      }
    }
  }
}

TEST_F(WatchListOrder, isThatOfAStableSortWhereFiguresAreEqualOrFarApart) {
  ForRandomLists(RandomLists({-2, -0.5, 0, 0.01, 0.02, 1, 1e9}), Rounds(100'000, 1'000'000),
                 [](const Items& items, const SortingTarget& target) {
                   Items expected = items;
                   std::stable_sort(expected.begin(), expected.end(),
                                    [&](const auto& a, const auto& b) { return GoesBefore(a, b, target); });
                   ASSERT_EQ(Ordered(items, target), expected) << target.sort_key << " " << target.sort_type;
                 });
}

TEST_F(WatchListOrder, givesAPermutationWhateverTheFigures) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  ForRandomLists(RandomLists({0, -0.0, 0.001, 0.0005, 0.0015, 1, 1.0009, 1.0018, 1e308, -1e308, kInfinity,
                              -kInfinity, std::nan(""), 5e-324}),
                 Rounds(100'000, 1'000'000), [](const Items& items, const SortingTarget& target) {
                   std::vector<bool> seen(items.size());
                   const Items sorted = Ordered(items, target);
                   ASSERT_EQ(sorted.size(), items.size());
                   for (const OptionalMarketItem& item : sorted) {
                     const auto place = static_cast<std::size_t>(item.num_u.value);
                     ASSERT_FALSE(seen.at(place)) << target.sort_key << " " << target.sort_type;
                     seen[place] = true;
                   }
                 });
}

}  // namespace
