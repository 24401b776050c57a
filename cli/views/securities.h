// What a person means by a symbol: looked up in the reference data, so that a typing error is reported at
// once instead of waiting for an answer that does not come. Main thread only, after the reference data were
// loaded.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "cli/views/type_ahead.h"
#include "host/calendar.h"
#include "reference/stock_common.h"

namespace cli {

struct Security {
  std::wstring code;  ///< "sh600000"
  std::wstring name;
  stock::SymbolType type = stock::kSymbolUnknown;

  bool operator==(const Security&) const = default;
};

[[nodiscard]] Security SecurityOf(const std::wstring& code, const std::wstring& name);

/// Copies of the lists of stocks, indices and plates, to look something up in.
class SecurityLists {
 public:
  explicit SecurityLists(IStockCommon& reference);

  /// At most `limit` matches, as `FindByText` orders them; stocks before indices before plates among equals.
  /// They are valid as long as the lists.
  [[nodiscard]] std::vector<Match> Find(std::wstring_view text, std::size_t limit) const;

 private:
  std::array<std::vector<BaseInfoItem>, 5> lists_;
};

/// The stock, index or plate of that code in any case, of those six digits (a stock before an index) or of
/// that name. Throws std::runtime_error with what comes close when there is none.
[[nodiscard]] Security FindSecurity(IStockCommon& reference, const std::string& text);

}  // namespace cli
