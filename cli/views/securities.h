// What a person means by a symbol or by a piece of a name: understood without asking anybody, or looked up in
// the reference data, so that a typing error is reported at once instead of waiting for an answer that does
// not come. Main thread only; what takes texts or lists is a pure function.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

/// "sh600000 浦发银行".
[[nodiscard]] std::string NameText(const Security& security);

/// The symbol of a stock or an index, "sh600000": market and six digits in any case, or six digits alone,
/// whose first one decides the market (0 to 3 Shenzhen, 5, 6 and 9 Shanghai). Nothing for anything else.
[[nodiscard]] std::optional<std::wstring> ParseSymbol(std::string_view text);

/// The first symbol of that kind in a sentence: "浦发银行(600000)封涨停板". Six digits of a longer number are
/// none.
[[nodiscard]] std::optional<std::wstring> SymbolIn(std::string_view sentence);

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

/// Copies of the lists of stocks, indices and plates, to look something up in.
class SecurityLists {
 public:
  explicit SecurityLists(IStockCommon& reference);

  /// As `FindByText`; stocks before indices before plates among equals. Valid as long as the lists.
  [[nodiscard]] std::vector<Match> Find(std::wstring_view text, std::size_t limit) const;

 private:
  std::array<std::vector<BaseInfoItem>, 5> lists_;
};

/// The stock, index or plate of that code in any case, of those six digits (a stock before an index) or of
/// that name. Throws std::runtime_error with what comes close when there is none.
[[nodiscard]] Security FindSecurity(IStockCommon& reference, const std::string& text);

}  // namespace cli
