// Finds securities by what a person types: a piece of a code, of a name or of the pinyin initials. Pure
// functions.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "reference/stock_common.h"

namespace cli {

/// A list that is looked through.
struct NamedList {
  std::string_view name;  ///< "stock", "plate" or "index"
  const std::vector<BaseInfoItem>* items;
};

struct Match {
  std::string_view list;
  const BaseInfoItem* item;
};

/// At most `limit` matches, the closest first and the lists' order among equals: the code itself (with or
/// without its market), the name or the initials as a whole, their beginnings, then any piece of them. Latin
/// letters match in any case.
[[nodiscard]] std::vector<Match> FindByText(const std::vector<NamedList>& lists, std::wstring_view text,
                                            std::size_t limit);

}  // namespace cli
