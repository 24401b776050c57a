// The keys that change the order of a list. Main thread only.
#pragma once

#include "cli/screen/key.h"
#include "cli/screen/panel.h"
#include "cli/sort_options.h"

namespace cli {

/// For the line of keys.
inline constexpr KeyHint kColumnHint{"s S", "column"};
inline constexpr KeyHint kDirectionHint{"d", "direction"};

/// s and S: the next column and the one before; d: the other direction. True when `key` was one of them.
bool ChangeOrder(SortOptions& sort, const Key& key);

}  // namespace cli
