#include "cli/args/option.h"

#include <charconv>
#include <system_error>

namespace cli {
namespace {

template <class Number>
std::optional<Number> Read(const std::string& text) {
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && rest == end ? std::optional(number) : std::nullopt;
}

// Larger limits are those of a number's memory, and nobody's business.
constexpr std::int64_t kMostInWords = 1'000'000;

}  // namespace

Take Into(std::string& text) {
  return [&text](const std::string& typed) { text = typed; };
}

Take Into(std::vector<std::string>& texts) {
  return [&texts](const std::string& typed) { texts.push_back(typed); };
}

std::int64_t WholeNumber(const std::string& text, std::int64_t least, std::int64_t most) {
  const std::optional<std::int64_t> number = Read<std::int64_t>(text);
  if (!number || *number < least || *number > most) {
    const std::string range = most > kMostInWords
                                  ? "from " + std::to_string(least) + " on"
                                  : "from " + std::to_string(least) + " to " + std::to_string(most);
    throw UsageError("\"" + text + "\" is no whole number " + range);
  }
  return *number;
}

std::optional<double> ReadNumber(const std::string& text) {
  return Read<double>(text);
}

std::optional<std::uint64_t> ReadCount(const std::string& text) {
  return Read<std::uint64_t>(text);
}

}  // namespace cli
