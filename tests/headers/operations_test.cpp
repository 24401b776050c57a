// The interfaces: bases, signatures, and the order in which their virtual operations are declared. The order
// shows in the compiler's tables of virtual operations, and those in pointers to members.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <type_traits>
#include <vector>

#include "c_stock_market.h"

namespace {

/// The entry of a virtual operation in its class's table.
template <class Operation>
std::ptrdiff_t Entry(Operation operation) {
  struct {
    std::ptrdiff_t pointer;
    std::ptrdiff_t adjustment;
  } parts;
  static_assert(sizeof(parts) == sizeof(operation));
  std::memcpy(&parts, &operation, sizeof(parts));
#if defined(__aarch64__) || defined(__arm__)
  const std::ptrdiff_t offset = parts.pointer;
#else
  const std::ptrdiff_t offset = parts.pointer - 1;
#endif
  return offset / static_cast<std::ptrdiff_t>(sizeof(void*));
}

/// Expects that the operations stand one behind the other.
template <class... Operations>
void ExpectConsecutive(Operations... operations) {
  const std::vector<std::ptrdiff_t> entries{Entry(operations)...};
  for (std::size_t i = 1; i < entries.size(); ++i) {
    EXPECT_EQ(entries[i], entries[i - 1] + 1) << "operation " << i;
  }
}

/// True when the operation is of the type `Signature`.
template <class Signature, auto operation>
constexpr bool kIs = std::is_same_v<decltype(operation), Signature>;

template <class T>
using Observer = IUpdate1<T>;

TEST(TimerSubject, declaresItsOperationsInOrder) {
  using S = IIndexMarket;
  EXPECT_EQ(Entry(&IUpdate1<int>::Update), 0);
  EXPECT_EQ(Entry(&S::Attach), 2) << "two entries for the destructor";
  ExpectConsecutive(&S::Attach, &S::Detach, &S::Refresh, &S::Suspend, &S::Resume, &S::IsSuspended,
                    &S::SetTarget, &S::GetTarget, &S::RemoveTarget, &S::GetActiveTargets, &S::Fetch,
                    &S::OnTimer, &S::GetInterval);
}

TEST(PolledServices, appendTheirOwnOperations) {
  ExpectConsecutive(&IStockMarket::GetInterval, &IStockMarket::FetchStockItems);
  ExpectConsecutive(&IOptionalStockMarket::GetInterval, &IOptionalStockMarket::FetchStockItems);
  ExpectConsecutive(&IPlateMarket::GetInterval, &IPlateMarket::FetchPlateItems);
  ExpectConsecutive(&IPlateStockMarket::GetInterval, &IPlateStockMarket::FetchStockMarkets);
  ExpectConsecutive(&IStockMLine::GetInterval, &IStockMLine::FetchMLine, &IStockMLine::FetchHistoryMLine);
  ExpectConsecutive(&IStockKLine::GetInterval, &IStockKLine::FetchKLine);
  ExpectConsecutive(&IStockUnusualEvent::GetInterval, &IStockUnusualEvent::FetchUnusualEvent);
}

TEST(PolledServices, haveOperationsOfTheirSignatures) {
  using Items = CodeNameCallback;
  static_assert(kIs<void (IStockMarket::*)(int, int, int, const Items&), &IStockMarket::FetchStockItems>);
  static_assert(
      kIs<void (IOptionalStockMarket::*)(int, int, const Items&), &IOptionalStockMarket::FetchStockItems>);
  static_assert(kIs<void (IPlateMarket::*)(int, int, int, const Items&), &IPlateMarket::FetchPlateItems>);
  static_assert(kIs<void (IPlateStockMarket::*)(const std::wstring&, std::uint32_t, std::uint32_t,
                                                std::uint32_t, std::uint32_t),
                    &IPlateStockMarket::FetchStockMarkets>);
  static_assert(
      kIs<void (IStockMLine::*)(const wchar_t*, int, const MLineCallback&), &IStockMLine::FetchMLine>);
  static_assert(kIs<void (IStockMLine::*)(const wchar_t*, std::uint32_t, int, const MLineCallback&),
                    &IStockMLine::FetchHistoryMLine>);
  static_assert(
      kIs<void (IStockKLine::*)(const wchar_t*, int, int, const KLineCallback&), &IStockKLine::FetchKLine>);
  static_assert(kIs<void (IStockUnusualEvent::*)(std::uint32_t, const UnusualEventCallback&),
                    &IStockUnusualEvent::FetchUnusualEvent>);
}

TEST(CurrentStock, declaresItsOperationsInOrder) {
  using S = ICurrentStock;
  EXPECT_EQ(Entry(&S::Attach), 0);
  ExpectConsecutive(&S::Attach, &S::Detach, &S::EnsureStockCommon, &S::SelectIndex, &S::SelectStock,
                    &S::SelectPlate, &S::SetListKind, &S::SetCustomStocks, &S::Previous, &S::Next,
                    &S::GetCurrentItem);
  static_assert(std::has_virtual_destructor_v<S>);
  static_assert(kIs<void (S::*)(Observer<CurrentStockItem>*), &S::Attach>);
  static_assert(kIs<bool (S::*)(), &S::EnsureStockCommon>);
  static_assert(kIs<void (S::*)(const std::wstring&, int), &S::SelectPlate>);
  static_assert(kIs<int (S::*)(const std::vector<BaseInfoItem>&), &S::SetCustomStocks>);
  static_assert(kIs<CurrentStockItem (S::*)(), &S::GetCurrentItem>);
}

TEST(StockCommon, declaresItsOperationsInOrder) {
  using S = IStockCommon;
  EXPECT_EQ(Entry(&S::Init), 0);
  ExpectConsecutive(&S::Init, &S::GetStockList, &S::GetPlateList, &S::GetIndexList, &S::Placeholder,
                    &S::GetKLineMetaInfo, &S::GetPlatesOfStock);
  static_assert(std::has_virtual_destructor_v<S>);
  static_assert(kIs<void (S::*)(const boost::function<void(bool)>&), &S::Init>);
  static_assert(kIs<const std::vector<BaseInfoItem>& (S::*)(int), &S::GetStockList>);
  static_assert(kIs<void (S::*)(int, int), &S::Placeholder>);
  static_assert(kIs<KLineMetaInfo (S::*)(const std::wstring&, int, int), &S::GetKLineMetaInfo>);
  static_assert(kIs<bool (S::*)(const std::wstring&, std::vector<std::pair<std::wstring, std::wstring>>&),
                    &S::GetPlatesOfStock>);
}

TEST(OneShotServices, declareTheirOperationsInOrder) {
  EXPECT_EQ(Entry(&IMarginTrade::Attach), 0);
  ExpectConsecutive(&IMarginTrade::Attach, &IMarginTrade::Detach, &IMarginTrade::FetchMarginTradeInfo);
  EXPECT_EQ(Entry(&IStockPurchase::Attach), 0);
  ExpectConsecutive(&IStockPurchase::Attach, &IStockPurchase::Detach, &IStockPurchase::FetchPurchaseInfo);
  static_assert(std::has_virtual_destructor_v<IMarginTrade> && std::has_virtual_destructor_v<IStockPurchase>);
  static_assert(kIs<void (IMarginTrade::*)(Observer<std::list<MarginTradeItem>>*), &IMarginTrade::Attach>);
  static_assert(
      kIs<void (IStockPurchase::*)(Observer<std::list<StockPurchaseItem>>*), &IStockPurchase::Detach>);
}

/// A getter may be called for its load alone; an unused result is an error in this build.
[[maybe_unused]] void DropResults(IStockCommon& lists, ICurrentStock& current) {
  lists.GetStockList(1);
  lists.GetPlateList(1);
  lists.GetIndexList(1);
  lists.GetKLineMetaInfo(L"sh600000", 1, 1);
  current.GetCurrentItem();
}

}  // namespace
