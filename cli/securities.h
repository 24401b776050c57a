// What a person means by a symbol: looked up in the reference data, so that a typing error is told at once
// instead of waiting for an answer that does not come. Main thread only, after the reference data were
// loaded.
#pragma once

#include <string>

#include "host/calendar.h"
#include "reference/stock_common.h"

namespace cli {

struct Security {
  std::wstring code;  ///< "sh600000"
  std::wstring name;
  stock::SymbolType type = stock::kSymbolUnknown;
};

/// The stock, index or plate of that code in any case, of those six digits (a stock before an index) or of
/// that name. Throws std::runtime_error with what comes close when there is none.
[[nodiscard]] Security FindSecurity(IStockCommon& reference, const std::string& text);

}  // namespace cli
