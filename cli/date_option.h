// Dates on the command line. Pure functions, but for the option that writes to its value.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "cli/command.h"

namespace cli {

/// YYYYMMDD for "20240315" or "2024-03-15"; nothing for a text that is no day of the calendar from 1990 to
/// 2099.
[[nodiscard]] std::optional<std::uint32_t> ParseDate(const std::string& text);

/// Adds --date to `form`. `date` stays 0, today, unless it is given.
void AddDateOption(Form& form, std::uint32_t& date, const std::string& help);

}  // namespace cli
