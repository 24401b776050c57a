// The lists of stocks, plates and indices: how they are read from their answers and how they are held. What
// each list is for is told in stock_common.h.
#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "reference/stock_common.h"
#include "request/json.h"

namespace reference {

using BaseInfoList = std::vector<BaseInfoItem>;

/// What the answer to a stock list request holds.
struct StockLists {
  BaseInfoList shanghai;
  BaseInfoList shenzhen;
};
[[nodiscard]] StockLists ReadStockLists(const request::json::Object& root);

/// Plates of both kinds in the order of the answer; those of no kind are left out.
struct PlateLists {
  BaseInfoList kind1;
  BaseInfoList kind2;
};
[[nodiscard]] PlateLists ReadPlateLists(const request::json::Object& root);

/// Indices; nothing for an exchange that the answer does not name.
struct IndexLists {
  std::optional<BaseInfoList> shanghai;
  std::optional<BaseInfoList> shenzhen;
};
[[nodiscard]] IndexLists ReadIndexLists(const request::json::Object& data);

/// A list of which references are handed out. A replaced list is kept until seven more have come, so that
/// whoever copies at once never reads freed memory. Not thread-safe.
class HeldList {
 public:
  using Pointer = std::unique_ptr<const BaseInfoList>;

  HeldList() { generations_.front() = std::make_unique<const BaseInfoList>(); }

  [[nodiscard]] const BaseInfoList& Get() const { return *generations_[newest_]; }

  /// Puts `list` in its place and returns the generation that nobody may read any more, to be freed where no
  /// lock is held. An equal list changes nothing and comes back.
  [[nodiscard]] Pointer Replace(Pointer list);

 private:
  std::array<Pointer, 8> generations_;
  std::size_t newest_ = 0;
};

}  // namespace reference
