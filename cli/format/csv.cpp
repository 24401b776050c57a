#include "cli/format/csv.h"

#include <array>
#include <charconv>
#include <cmath>

#include "cli/format/text.h"

namespace cli {

std::string CsvField(std::string_view utf8) {
  std::string field = ValidUtf8(utf8);
  if (field.find_first_of(",\"\r\n") == std::string::npos) {
    return field;
  }
  for (std::size_t at = field.find('"'); at != std::string::npos; at = field.find('"', at + 2)) {
    field.insert(at, 1, '"');
  }
  return "\"" + field + "\"";
}

std::string CsvField(std::wstring_view text) {
  return CsvField(Utf8(text));
}

std::string CsvField(double number) {
  if (!std::isfinite(number)) {
    return {};
  }
  std::array<char, 32> buffer{};
  return {buffer.data(), std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr};
}

}  // namespace cli
