// The gate that a symbol passes before it forms a path or stands in the watch list. No state, callable from
// any thread.
#pragma once

#include <string>
#include <string_view>

namespace stock_host {

/// `text` in lower case when it is "sh" or "sz" (any case) and six digits; else an empty text.
[[nodiscard]] std::wstring SecuritySymbol(std::wstring_view text);

}  // namespace stock_host
