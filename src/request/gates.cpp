#include "request/gates.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/predicate.hpp>
#include <locale>

namespace request {
namespace {

bool IsDigit(wchar_t character) {
  return character >= L'0' && character <= L'9';
}

// Columns of the version store: unquoted, one of these would be read as the row's own value.
constexpr std::array<std::string_view, 6> kColumnNames = {"id",    "version", "count",
                                                          "rowid", "oid",     "_rowid_"};

}  // namespace

bool IsPlainSymbol(std::wstring_view symbol) {
  if (symbol.size() != 8 || (symbol[0] != L's' && symbol[0] != L'S')) {
    return false;
  }
  const wchar_t market = symbol[1];
  if (market != L'h' && market != L'H' && market != L'z' && market != L'Z') {
    return false;
  }
  return std::all_of(symbol.begin() + 2, symbol.end(), IsDigit);
}

bool IsPlainVersion(std::string_view version) {
  constexpr std::size_t kLongest = 64;
  constexpr std::string_view kForbidden = "\"\\/?#%&";
  if (version.empty() || version.size() > kLongest) {
    return false;
  }
  const bool clean = std::all_of(version.begin(), version.end(), [&](char character) {
    return character >= ' ' && character <= '~' && kForbidden.find(character) == std::string_view::npos;
  });
  return clean && std::none_of(kColumnNames.begin(), kColumnNames.end(), [&](std::string_view name) {
           return boost::algorithm::iequals(name, version, std::locale::classic());
         });
}

}  // namespace request
