// The selected security and its place in the list that it was chosen from. One thread only; the lists are the
// reference data's.
#include "quotes/current_stock.h"

#include <algorithm>
#include <array>
#include <boost/thread/null_mutex.hpp>
#include <cstddef>
#include <optional>

#include "frame/running.h"
#include "frame/subject.h"
#include "host/log.h"
#include "host/text.h"
#include "reference/reference_data.h"
#include "services.h"

namespace quotes {
namespace {

using Stocks = std::vector<BaseInfoItem>;

// The list kinds: each family follows the one before it.
constexpr int kIndexLists = 0;
constexpr int kPlateLists = 2;
constexpr int kStockLists = 4;
constexpr int kShanghaiStocks = 6;
constexpr int kGemStocks = 8;
constexpr int kCustomList = 10;

// Where a symbol is looked for when its own list does not hold it: the stock lists 2, 3 and 1, the plate
// lists, the index lists. GEM and SME stocks are in the exchanges' lists.
constexpr std::array kSearchOrder = {6, 7, 5, 3, 4, 1, 2};

std::optional<int> PositionOf(const std::wstring& symbol, const Stocks& list) {
  const auto found = std::find_if(list.begin(), list.end(),
                                  [&symbol](const BaseInfoItem& item) { return item.code == symbol; });
  return found != list.end() ? std::optional(static_cast<int>(found - list.begin())) : std::nullopt;
}

class CCurrentStock final : public ICurrentStock,
                            public SubjectBase<IUpdate1<CurrentStockItem>, boost::null_mutex> {
 public:
  void Attach(IUpdate1<CurrentStockItem>* observer) override {
    SubjectBase::Attach(observer);
    if (observer != nullptr && !current_.symbol.empty()) {
      const CurrentStockItem item = current_;
      observer->Update(item);
    }
  }
  void Detach(IUpdate1<CurrentStockItem>* observer) override { SubjectBase::Detach(observer); }
  bool EnsureStockCommon() override { return reference::TheStockCommon() != nullptr; }
  void SelectIndex(const std::wstring& symbol, int variant) override { Select(symbol, kIndexLists, variant); }
  void SelectStock(const std::wstring& symbol, int number) override { Select(symbol, kStockLists, number); }
  void SelectPlate(const std::wstring& symbol, int variant) override { Select(symbol, kPlateLists, variant); }
  void SetListKind(int kind) override { kind_ = kind; }
  int SetCustomStocks(const Stocks& stocks) override {
    custom_stocks_ = stocks;
    if (kind_ == kCustomList) {
      position_ = PositionOf(current_.symbol, custom_stocks_).value_or(position_);
    }
    if (custom_stocks_.empty()) {
      WriteProgramLogNoMask(L"CCurrentStock::SetCustomStocks，待切换股票列表为空");
    }
    return static_cast<int>(custom_stocks_.size());
  }
  void Previous() override { Step(false); }
  void Next() override { Step(true); }
  CurrentStockItem GetCurrentItem() override { return current_; }

 private:
  void Select(const std::wstring& symbol, int family, int number) {
    if (common::Compare(symbol, current_.symbol, false) == 0) {
      return;
    }
    const int numbers = family == kStockLists ? 5 : 2;
    if (number >= 1 && number <= numbers && SelectIn(family + number, symbol)) {
      return;
    }
    static_cast<void>(std::any_of(kSearchOrder.begin(), kSearchOrder.end(),
                                  [&](int kind) { return SelectIn(kind, symbol); }));
  }

  bool SelectIn(int kind, const std::wstring& symbol) {
    const Stocks& list = List(kind);
    const std::optional<int> position = PositionOf(symbol, list);
    if (position) {
      SetPosition(kind, list, *position);
    }
    return position.has_value();
  }

  void SetPosition(int kind, const Stocks& list, int position) {
    const BaseInfoItem& entry = list[static_cast<std::size_t>(position)];
    const CurrentStockItem item = {entry.code, entry.name};
    current_ = CurrentStockItem(item);  // a second copy: an `Update` may select another
    kind_ = kind;
    position_ = position;
    if (!item.symbol.empty() && !item.name.empty()) {
      Notify(item);
    }
  }

  void Step(bool forward);
  [[nodiscard]] const Stocks& List(int kind);

  Stocks custom_stocks_;
  int kind_ = 0;
  int position_ = 0;
  CurrentStockItem current_;
};

void CCurrentStock::Step(bool forward) {
  const bool can_step =
      kind_ == kCustomList ? !custom_stocks_.empty() : kind_ > kIndexLists && kind_ < kGemStocks;
  // Kept: the lists that cannot be stepped through lead to the first stock of Shanghai.
  const int kind = can_step ? kind_ : kShanghaiStocks;
  const Stocks& list = List(kind);
  const int size = static_cast<int>(list.size());
  if (size == 0) {
    return;
  }
  // Beyond the ends of the list the next entry is the first, the previous one the last.
  const int here = position_ >= 0 && position_ < size ? position_ : forward ? size - 1 : 0;
  SetPosition(kind, list, can_step ? (here + (forward ? 1 : size - 1)) % size : 0);
}

// An empty list when the kind has none, or when there is no reference data.
const Stocks& CCurrentStock::List(int kind) {
  static const auto* const kNothing = new Stocks;
  if (kind == kCustomList) {
    return custom_stocks_;
  }
  IStockCommon* const lists = reference::TheStockCommon();
  if (lists == nullptr || kind <= kIndexLists || kind > kCustomList) {
    return *kNothing;
  }
  return kind <= kPlateLists   ? lists->GetIndexList(kind - kIndexLists)
         : kind <= kStockLists ? lists->GetPlateList(kind - kPlateLists)
                               : lists->GetStockList(kind - kStockLists);
}

}  // namespace

ICurrentStock* MakeCurrentStock() {
  return frame::MakeOrNull<CCurrentStock>();
}

}  // namespace quotes
