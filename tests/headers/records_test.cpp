// The records: which members they have, of which types, in which order, and that equality looks at every one.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "c_stock_market.h"

namespace {

/// Brace initialisation takes a value for each member of an aggregate and no more; this one fits any member.
struct Anything {
  template <class T>
  operator T() const;  // NOLINT(google-explicit-constructor): stands in for any member
};

template <class Record, std::size_t... index>
constexpr bool TakesValues(std::index_sequence<index...>) {
  return requires {
    Record{(static_cast<void>(index), Anything{})...};
  };
}

template <class T>
void Change(T& value);

template <class T>
void Change(std::vector<T>& values) {
  values.emplace_back();
}

template <class T>
void Change(std::list<T>& values) {
  values.emplace_back();
}

void Change(std::wstring& text) {
  text += L"x";
}

template <class T>
void Change(TickField<T>& field) {
  Change(field.value);
}

template <class T>
void Change(PlainField<T>& field) {
  Change(field.value);
}

void Change(CountField& field) {
  Change(field.value);
}

void Change(TrendValue& value) {
  Change(value.trend);
}

void Change(FlowAmounts& amounts) {
  Change(amounts.small_out);
}

template <class T>
void Change(T& value) {
  if constexpr (std::is_same_v<T, bool>) {
    value = !value;
  } else if constexpr (std::is_enum_v<T>) {
    value = static_cast<T>(static_cast<int>(value) + 1);
  } else {
    value = static_cast<T>(value + 1);
  }
}

/// Expects that `Record` consists of `members` and nothing else, and that two records differ as soon as one
/// of them differs.
template <class Record, class... Types>
void ExpectMembers(Types Record::*... members) {
  static_assert(std::is_aggregate_v<Record>);
  static_assert(TakesValues<Record>(std::make_index_sequence<sizeof...(Types)>{}), "a member is missing");
  static_assert(!TakesValues<Record>(std::make_index_sequence<sizeof...(Types) + 1>{}),
                "a member is untested");
  const Record plain{};
  EXPECT_TRUE(plain == Record{});
  int position = 0;
  const auto expect_difference = [&](auto member) {
    Record other{};
    Change(other.*member);
    EXPECT_FALSE(plain == other) << "member " << position;
    ++position;
  };
  (expect_difference(members), ...);
}

template <class Member>
struct TypeOf;

template <class Record, class T>
struct TypeOf<T Record::*> {
  using Type = T;
};

/// True when `member` is of the type `T`.
template <class T, auto member>
constexpr bool kIs = std::is_same_v<typename TypeOf<decltype(member)>::Type, T>;

using Tick = TickField<double>;
using Plain = PlainField<double>;
using Amount = PlainField<std::uint64_t>;

TEST(FieldShapes, startEmptyAbsentAndWithoutMovement) {
  const Tick tick{};
  EXPECT_EQ(tick.value, 0.0);
  EXPECT_FALSE(tick.present);
  EXPECT_EQ(tick.direction, 0);
  const TrendValue trend{};
  EXPECT_EQ(trend.value, 0.0);
  EXPECT_FALSE(trend.valid);
  EXPECT_EQ(trend.trend, 0);
}

TEST(FieldShapes, haveTheirMembers) {
  ExpectMembers(&Tick::value, &Tick::present, &Tick::direction);
  ExpectMembers(&Plain::value, &Plain::present);
  ExpectMembers(&CountField::value, &CountField::present);
  ExpectMembers(&BookLevel<float>::value, &BookLevel<float>::present, &BookLevel<float>::direction);
  ExpectMembers(&TrendValue::value, &TrendValue::valid, &TrendValue::trend);
  static_assert(kIs<std::int32_t, &Tick::direction> && kIs<bool, &Tick::present>);
  static_assert(kIs<std::int32_t, &CountField::value>);
  static_assert(kIs<std::int16_t, &BookLevel<float>::direction>);
  static_assert(kIs<double, &TrendValue::value> && kIs<std::int16_t, &TrendValue::trend>);
  static_assert(std::is_same_v<CodeNameList, std::vector<std::pair<std::wstring, std::wstring>>>);
  static_assert(std::is_same_v<CodeNameCallback, boost::function<void(const CodeNameList&)>>);
}

TEST(IndexMarketSummary, hasItsMembers) {
  using R = IndexMarketSummary;
  ExpectMembers(&R::code, &R::name, &R::last, &R::change, &R::diff, &R::null_flags);
  static_assert(kIs<double, &R::last> && kIs<std::uint32_t, &R::null_flags>);
  EXPECT_EQ(R(R{.code = L"c", .name = L"n", .last = 1, .change = 2, .diff = 3, .null_flags = 4}).null_flags,
            4U);
}

TEST(StockMarketItem, hasItsMembers) {
  using R = StockMarketItem;
  ExpectMembers(&R::symbol_type, &R::code, &R::name, &R::last, &R::change, &R::diff, &R::bid1, &R::ask1,
                &R::tr, &R::amt, &R::vol, &R::pe, &R::high, &R::low, &R::open, &R::preclose, &R::amp, &R::qrr,
                &R::cr, &R::mc, &R::pb, &R::tso, &R::shares, &R::cmc, &R::status, &R::bid_prices,
                &R::ask_prices, &R::bid_volumes, &R::ask_volumes, &R::limit_up, &R::limit_down, &R::avg_price,
                &R::lead, &R::lead_change, &R::num_u, &R::num_z, &R::num_d);
  static_assert(kIs<stock::SymbolType, &R::symbol_type> && kIs<stock::StockStatus, &R::status>);
  static_assert(kIs<Tick, &R::last> && kIs<Tick, &R::change> && kIs<Tick, &R::diff> && kIs<Tick, &R::bid1> &&
                kIs<Tick, &R::ask1> && kIs<Tick, &R::tr> && kIs<Tick, &R::amt>);
  static_assert(kIs<TickField<std::uint64_t>, &R::vol> && kIs<Amount, &R::tso> && kIs<Amount, &R::shares>);
  static_assert(kIs<Plain, &R::pe> && kIs<Plain, &R::high> && kIs<Plain, &R::low> && kIs<Plain, &R::open> &&
                kIs<Plain, &R::preclose> && kIs<Plain, &R::amp> && kIs<Plain, &R::qrr> &&
                kIs<Plain, &R::cr> && kIs<Plain, &R::mc> && kIs<Plain, &R::pb> && kIs<Plain, &R::cmc> &&
                kIs<Plain, &R::limit_up> && kIs<Plain, &R::limit_down> && kIs<Plain, &R::avg_price> &&
                kIs<Plain, &R::lead_change>);
  static_assert(kIs<std::vector<BookLevel<float>>, &R::bid_prices> &&
                kIs<std::vector<BookLevel<float>>, &R::ask_prices> &&
                kIs<std::vector<BookLevel<std::uint32_t>>, &R::bid_volumes> &&
                kIs<std::vector<BookLevel<std::uint32_t>>, &R::ask_volumes>);
  static_assert(kIs<CountField, &R::num_u> && kIs<CountField, &R::num_z> && kIs<CountField, &R::num_d>);
}

// Designated initialisers must follow the order of declaration, so that this compiles is half of the test.
TEST(StockMarketItem, declaresItsMembersInOrder) {
  const StockMarketItem item{.symbol_type = stock::kSymbolStock,
                             .code = L"sh600000",
                             .name = L"n",
                             .last = {1},
                             .change = {2},
                             .diff = {3},
                             .bid1 = {4},
                             .ask1 = {5},
                             .tr = {6},
                             .amt = {7},
                             .vol = {8},
                             .pe = {9},
                             .high = {10},
                             .low = {11},
                             .open = {12},
                             .preclose = {13},
                             .amp = {14},
                             .qrr = {15},
                             .cr = {16},
                             .mc = {17},
                             .pb = {18},
                             .tso = {19},
                             .shares = {20},
                             .cmc = {21},
                             .status = stock::kStockNormal,
                             .bid_prices = {},
                             .ask_prices = {},
                             .bid_volumes = {},
                             .ask_volumes = {},
                             .limit_up = {22},
                             .limit_down = {23},
                             .avg_price = {24},
                             .lead = L"l",
                             .lead_change = {25},
                             .num_u = {26},
                             .num_z = {27},
                             .num_d = {28}};
  EXPECT_EQ(item.vol.value, 8U);
  EXPECT_EQ(item.num_d.value, 28);
}

TEST(OptionalMarketItem, isAQuoteFollowedByThePlate) {
  static_assert(std::is_aggregate_v<OptionalMarketItem>);
  static_assert(std::is_base_of_v<StockMarketItem, OptionalMarketItem>);
  const OptionalMarketItem item{StockMarketItem{}, L"banks"};
  OptionalMarketItem other = item;
  EXPECT_TRUE(item == other);
  other.plate = L"";
  EXPECT_FALSE(item == other);
  other = item;
  other.code = L"sh600001";
  EXPECT_FALSE(item == other);
}

TEST(CurrentStockItem, hasItsMembers) {
  ExpectMembers(&CurrentStockItem::symbol, &CurrentStockItem::name);
  EXPECT_EQ((CurrentStockItem{.symbol = L"s", .name = L"n"}.name), L"n");
}

TEST(PlateStockMarketData, hasItsMembers) {
  using R = PlateStockMarketData;
  ExpectMembers(&R::total_num, &R::stocks);
  static_assert(kIs<std::int32_t, &R::total_num> && kIs<std::vector<StockMarketSummary>, &R::stocks>);
  EXPECT_EQ((R{.total_num = 3, .stocks = {}}.total_num), 3);
}

TEST(StockMarketSummary, hasItsMembers) {
  using R = StockMarketSummary;
  ExpectMembers(&R::code, &R::name, &R::last, &R::change, &R::diff, &R::tr);
  static_assert(kIs<TrendValue, &R::last> && kIs<TrendValue, &R::tr>);
  EXPECT_EQ((R{.code = L"", .name = L"", .last = {1}, .change = {2}, .diff = {3}, .tr = {4}}.tr.value), 4);
}

TEST(PlateMarketSummary, hasItsMembers) {
  using R = PlateMarketSummary;
  ExpectMembers(&R::bk, &R::name, &R::change, &R::bpin, &R::cud, &R::lead, &R::lead_change);
  static_assert(kIs<double, &R::bpin> && kIs<std::int32_t, &R::cud> && kIs<double, &R::lead_change>);
  EXPECT_EQ((R{.bk = L"", .name = L"", .change = 1, .bpin = 2, .cud = 3, .lead = L"", .lead_change = 4}.cud),
            3);
}

TEST(BaseInfoItem, hasItsMembers) {
  using R = BaseInfoItem;
  ExpectMembers(&R::code, &R::name, &R::pinyin, &R::type);
  static_assert(kIs<std::int32_t, &R::type>);
  EXPECT_EQ((R{.code = L"", .name = L"", .pinyin = L"", .type = 6}.type), 6);
}

TEST(KLineMetaInfo, hasItsMembers) {
  ExpectMembers(&KLineMetaInfo::version, &KLineMetaInfo::count);
  static_assert(kIs<std::int32_t, &KLineMetaInfo::count>);
  EXPECT_EQ((KLineMetaInfo{.version = L"", .count = 7}.count), 7);
}

TEST(StockMarketState, hasItsMembers) {
  using R = StockMarketState;
  ExpectMembers(&R::text, &R::time, &R::valid);
  static_assert(kIs<std::int32_t, &R::time> && kIs<bool, &R::valid>);
  EXPECT_EQ((R{.text = L"", .time = 5, .valid = true}.time), 5);
}

TEST(StockMLineData, hasItsMembers) {
  using R = StockMLineData;
  ExpectMembers(&R::symbol, &R::preclose, &R::days);
  static_assert(kIs<double, &R::preclose> && kIs<std::vector<MLineDay>, &R::days>);
  ExpectMembers(&MLineDay::date, &MLineDay::points);
  static_assert(kIs<std::uint32_t, &MLineDay::date> && kIs<std::vector<MinutePoint>, &MLineDay::points>);
  static_assert(std::is_same_v<MLineCallback, boost::function<void(const StockMLineData&)>>);
  EXPECT_EQ((R{.symbol = L"", .preclose = 2, .days = {}}.preclose), 2);
}

TEST(MinutePoint, hasItsMembers) {
  using R = MinutePoint;
  ExpectMembers(&R::time, &R::price, &R::volume, &R::amount, &R::qrr, &R::change, &R::change_rate,
                &R::avg_price);
  static_assert(kIs<std::int32_t, &R::time> && kIs<std::uint64_t, &R::volume> && kIs<double, &R::amount>);
  const R point{.time = 1,
                .price = 2,
                .volume = 3,
                .amount = 4,
                .qrr = 5,
                .change = 6,
                .change_rate = 7,
                .avg_price = 8};
  EXPECT_EQ(point.avg_price, 8);
}

TEST(StockKLineData, hasItsMembers) {
  using R = StockKLineData;
  ExpectMembers(&R::symbol, &R::period, &R::adjustment, &R::candles);
  static_assert(kIs<int, &R::period> && kIs<int, &R::adjustment> && kIs<std::list<KLineCandle>, &R::candles>);
  static_assert(std::is_same_v<KLineCallback, boost::function<void(const StockKLineData&)>>);
  EXPECT_EQ((R{.symbol = L"", .period = 1, .adjustment = 2, .candles = {}}.adjustment), 2);
}

TEST(KLineCandle, hasCloseBeforeLow) {
  using R = KLineCandle;
  ExpectMembers(&R::date, &R::preclose, &R::open, &R::high, &R::close, &R::low, &R::volume, &R::amount,
                &R::turnover);
  static_assert(kIs<std::uint32_t, &R::date> && kIs<std::uint64_t, &R::volume> && kIs<double, &R::turnover>);
  const R candle{.date = 20170227,
                 .preclose = 1,
                 .open = 2,
                 .high = 3,
                 .close = 4,
                 .low = 5,
                 .volume = 6,
                 .amount = 7,
                 .turnover = 8};
  EXPECT_EQ(candle.low, 5);
}

TEST(StockUnusualEventItem, hasItsMembersAndAlwaysTheSameSymbol) {
  using R = StockUnusualEventItem;
  ExpectMembers(&R::symbol, &R::time, &R::content);
  EXPECT_EQ(R{}.symbol, L"SH000001");
  static_assert(std::is_same_v<UnusualEventCallback, boost::function<void(const std::list<R>&)>>);
  EXPECT_EQ((R{.symbol = L"", .time = L"t", .content = L"c"}.content), L"c");
}

TEST(StockInOutItem, hasItsMembers) {
  using R = StockInOutItem;
  ExpectMembers(&R::symbol, &R::mtime, &R::d1, &R::d5, &R::d10);
  static_assert(kIs<std::uint64_t, &R::mtime> && kIs<FlowAmounts, &R::d1>);
  using F = FlowAmounts;
  ExpectMembers(&F::big_in, &F::big_out, &F::small_in, &F::small_out);
  static_assert(kIs<std::uint64_t, &F::big_in>);
  const R item{.symbol = L"s",
               .mtime = 1,
               .d1 = {.big_in = 2, .big_out = 3, .small_in = 4, .small_out = 5},
               .d5 = {},
               .d10 = {}};
  EXPECT_EQ(item.d1.small_out, 5U);
}

TEST(StrengthRatingItem, hasItsMembers) {
  using R = StrengthRatingItem;
  ExpectMembers(&R::min, &R::up, &R::down);
  static_assert(kIs<std::int32_t, &R::min> && kIs<std::int32_t, &R::up> && kIs<std::int32_t, &R::down>);
  EXPECT_EQ((R{.min = 1, .up = 2, .down = 3}.down), 3);
}

TEST(DistributionItem, hasItsMembers) {
  using R = DistributionItem;
  ExpectMembers(&R::up, &R::down, &R::nochange, &R::first_half, &R::second_half);
  static_assert(kIs<std::int32_t, &R::up> && kIs<std::vector<DistributionBucket>, &R::first_half>);
  ExpectMembers(&DistributionBucket::count, &DistributionBucket::ratio);
  static_assert(kIs<std::int32_t, &DistributionBucket::count> && kIs<double, &DistributionBucket::ratio>);
  EXPECT_EQ((R{.up = 1, .down = 2, .nochange = 3, .first_half = {{1, 0.5}}, .second_half = {}}.nochange), 3);
}

TEST(MoneyEffectItem, hasItsMembers) {
  using R = MoneyEffectItem;
  ExpectMembers(&R::time, &R::average);
  static_assert(kIs<std::int32_t, &R::time> && kIs<double, &R::average>);
  EXPECT_EQ((R{.time = 1, .average = 2}.average), 2);
}

TEST(MarginTradeItem, hasItsMembers) {
  using R = MarginTradeItem;
  ExpectMembers(&R::date, &R::sh_close, &R::sz_close, &R::balance, &R::change);
  static_assert(kIs<std::int32_t, &R::date> && kIs<std::int32_t, &R::sh_close> &&
                kIs<std::uint64_t, &R::balance> && kIs<std::int64_t, &R::change>);
  EXPECT_EQ((R{.date = 1, .sh_close = 2, .sz_close = 3, .balance = 4, .change = -5}.change), -5);
}

TEST(StockPurchaseItem, hasItsMembers) {
  using R = StockPurchaseItem;
  ExpectMembers(&R::code, &R::name, &R::publish_time, &R::publish_online_time, &R::buy_code, &R::publish_num,
                &R::publish_online_num, &R::publish_price, &R::pe, &R::buy_limit, &R::total_price,
                &R::chance);
  static_assert(kIs<std::wstring, &R::buy_code> && kIs<float, &R::publish_num> && kIs<float, &R::chance>);
  const R item{.code = L"",
               .name = L"",
               .publish_time = L"",
               .publish_online_time = L"",
               .buy_code = L"",
               .publish_num = 1,
               .publish_online_num = 2,
               .publish_price = 3,
               .pe = 4,
               .buy_limit = 5,
               .total_price = 6,
               .chance = 7};
  EXPECT_EQ(item.chance, 7.0F);
}

}  // namespace
