// Which keys of the feed fill which members of a stock, a plate and an index. The member `type` has readers
// of its own in reference_lists.cpp.
#pragma once

#include "json/record_table.h"
#include "reference/stock_common.h"

namespace reference {

inline constexpr auto kStockTable =
    request::TableOf<BaseInfoItem>(request::Read("c", "code", &BaseInfoItem::code, request::Text{}),
                                   request::Read("n", "name", &BaseInfoItem::name, request::Text{}),
                                   request::Read("py", "pinyin", &BaseInfoItem::pinyin, request::Text{}));

inline constexpr auto kPlateTable =
    request::TableOf<BaseInfoItem>(request::Read("bk", "code", &BaseInfoItem::code, request::Text{}),
                                   request::Read("n", "name", &BaseInfoItem::name, request::Text{}),
                                   request::Read("py", "pinyin", &BaseInfoItem::pinyin, request::Text{}));

/// An index is written as a stock is, without a board.
inline constexpr const auto& kIndexTable = kStockTable;

}  // namespace reference
