// A symbol as files and servers know it. Thread-safe: a pure function.
#pragma once

#include <boost/algorithm/string/case_conv.hpp>
#include <locale>
#include <string>

namespace charts {

/// The same security whatever the case of the letters.
[[nodiscard]] inline std::wstring LowerCase(std::wstring symbol) {
  boost::algorithm::to_lower(symbol, std::locale::classic());
  return symbol;
}

}  // namespace charts
