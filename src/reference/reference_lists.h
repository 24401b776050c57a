// How the answers to list requests become lists of stocks, plates and indices. Pure functions; held_lists.h
// holds what they return. They throw `request::json::TooMuchMemory` when a list would take more than one
// answer may. What each list is for stands in stock_common.h.
#pragma once

#include <optional>
#include <vector>

#include "json/json.h"
#include "reference/stock_common.h"

namespace reference {

using BaseInfoList = std::vector<BaseInfoItem>;

/// Stocks of both exchanges, and what follows from them.
struct StockLists {
  BaseInfoList shanghai, shenzhen;
  BaseInfoList all;       ///< Shanghai, then Shenzhen
  BaseInfoList gem, sme;  ///< of `all`

  bool operator==(const StockLists&) const = default;
};
[[nodiscard]] StockLists ReadStockLists(const request::json::Object& root);

/// Plates of both kinds in the order of the answer; those of no kind are left out.
struct PlateLists {
  BaseInfoList kind1;
  BaseInfoList kind2;

  bool operator==(const PlateLists&) const = default;
};
[[nodiscard]] PlateLists ReadPlateLists(const request::json::Object& root);

/// Indices; nothing for an exchange that the answer does not name.
struct IndexLists {
  std::optional<BaseInfoList> shanghai;
  std::optional<BaseInfoList> shenzhen;
};
[[nodiscard]] IndexLists ReadIndexLists(const request::json::Object& data);

}  // namespace reference
