#include "cli/date_option.h"

#include <algorithm>
#include <chrono>

namespace cli {

std::optional<std::uint32_t> ParseDate(const std::string& text) {
  std::string digits = text;
  if (text.size() == 10 && text[4] == '-' && text[7] == '-') {
    digits = text.substr(0, 4) + text.substr(5, 2) + text.substr(8);
  }
  if (digits.size() != 8 ||
      !std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; })) {
    return std::nullopt;
  }
  const auto date = static_cast<std::uint32_t>(std::stoul(digits));
  const std::chrono::year_month_day day{std::chrono::year(static_cast<int>(date / 10000)),
                                        std::chrono::month(date / 100 % 100), std::chrono::day(date % 100)};
  return day.ok() && date >= 19900101 && date < 21000101 ? std::optional(date) : std::nullopt;
}

void AddDateOption(Form& form, std::uint32_t& date, const std::string& help) {
  form.Add({.name = "--date",
            .help = help,
            .take =
                [&date](const std::string& text) {
                  const std::optional<std::uint32_t> parsed = ParseDate(text);
                  if (!parsed) {
                    throw UsageError(
                        "it must be a day of the calendar from 1990 to 2099: 20240315 or 2024-03-15");
                  }
                  date = *parsed;
                },
            .value = "DATE"});
}

}  // namespace cli
