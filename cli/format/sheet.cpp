#include "cli/format/sheet.h"

#include <array>
#include <charconv>
#include <cmath>

#include "cli/format/china_time.h"
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

std::string CsvField(double number) {
  if (!std::isfinite(number)) {
    return {};
  }
  constexpr int kDigits = 15;
  constexpr int kDecimals = 6;
  const double magnitude = std::fabs(number);
  const int whole = magnitude < 1 ? 1 : static_cast<int>(std::log10(magnitude)) + 1;
  std::array<char, 400> buffer{};
  const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                 std::chars_format::fixed, std::clamp(kDigits - whole, 0, kDecimals))
                       .ptr;
  std::string text(buffer.data(), end);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    text.erase(text.find_last_not_of('.') + 1);
  }
  return text == "-0" ? "0" : text;
}

std::string CsvDate(std::int64_t date) {
  return DateText(static_cast<std::uint32_t>(date));
}

std::string CsvMinute(std::int64_t minute) {
  return MinuteText(static_cast<std::int32_t>(minute));
}

void BeginJsonLine(JsonWriter& json, std::string_view service, std::wstring_view key,
                   std::int64_t server_time) {
  json.BeginObject();
  json.Member("service", service);
  json.Member("key", key);
  json.Member("time", IsoTime(server_time));
  json.Key("data");
}

}  // namespace cli
