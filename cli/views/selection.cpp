#include "cli/views/selection.h"

#include <algorithm>

namespace cli {
namespace {

constexpr int kAllStocks = 1;
constexpr int kIndustries = 1;
constexpr int kShanghaiIndices = 1;
constexpr int kShenzhenIndices = 2;
constexpr int kCustomList = 10;

}  // namespace

void Selection::OnReferenceData() {
  is_ready_ = current_.EnsureStockCommon();
  if (is_ready_ && wanted_) {
    Select(*std::exchange(wanted_, std::nullopt));
  }
}

void Selection::Select(const Security& security) {
  // Before that a look-up would ask the server, and the screen would stand still meanwhile.
  if (!is_ready_) {
    wanted_ = security;
    return;
  }
  switch (security.type) {
    case stock::kSymbolIndex:
      current_.SelectIndex(security.code,
                           security.code.rfind(L"sh", 0) == 0 ? kShanghaiIndices : kShenzhenIndices);
      break;
    case stock::kSymbolPlate:
      current_.SelectPlate(security.code, kIndustries);
      break;
    default:
      current_.SelectStock(security.code, kAllStocks);
      break;
  }
  SetList();
}

void Selection::StepThrough(std::vector<BaseInfoItem> list) {
  list_ = std::move(list);
  if (list_.empty()) {
    return;
  }
  if (current_.GetCurrentItem().symbol.empty() && !wanted_) {
    Select(SecurityOf(list_.front().code, list_.front().name));
  } else {
    SetList();
  }
}

// A selection chooses the list of its own kind; this one takes its place. The position follows the symbol, so
// that a list without it must not be taken.
void Selection::SetList() {
  const std::wstring symbol = current_.GetCurrentItem().symbol;
  const auto is_current = [&](const BaseInfoItem& item) { return item.code == symbol; };
  if (!symbol.empty() && std::any_of(list_.begin(), list_.end(), is_current)) {
    current_.SetListKind(kCustomList);
    current_.SetCustomStocks(list_);
  }
}

void Selection::Next() {
  if (is_ready_) {
    current_.Next();
  }
}

void Selection::Previous() {
  if (is_ready_) {
    current_.Previous();
  }
}

}  // namespace cli
