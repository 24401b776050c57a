// Host contract: text conversion and comparison. Every function may be called from any thread.
#pragma once

#include <string>

#include "host/export.h"

namespace common {

/// Code page number of UTF-8, the only one that the module passes.
inline constexpr unsigned kUtf8 = 65001;

/// Compares by code unit: -1, 0 or 1. `ignore_case` folds ASCII letters.
STOCK_HOST_API int Compare(const std::wstring& left, const std::wstring& right, bool ignore_case);

/// Narrow text of a code page to wide text. Bytes that are no text of the code page become U+FFFD.
STOCK_HOST_API std::wstring s2ws(const std::string& text, unsigned code_page);

/// Wide text to narrow text of a code page. Code units that are no text become U+FFFD.
STOCK_HOST_API std::string ws2s(const std::wstring& text, unsigned code_page);

}  // namespace common
