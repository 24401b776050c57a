// What a command takes, as values: the name of an option, its help, and where it goes. How a line is
// read by them is the parser's matter. Main thread only.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstdint>
#include <functional>
#include <limits>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace cli {

/// What was typed makes no sense; says why in one line.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Gets a text that was typed. Throws UsageError for one that makes no sense.
using Take = std::function<void(const std::string& text)>;

struct Option {
  enum class Kind {
    kOne,      ///< takes one text
    kSeveral,  ///< takes several: with "--" one each time it is given, else one or more in a row
    kFlag,     ///< takes nothing: `take` gets an empty text
  };

  std::string name{};  ///< "--rows", or "SYMBOL" for what is typed without a name
  std::string help{};
  Take take{};  ///< called for each text, in their order
  Kind kind = Kind::kOne;
  std::string value{};     ///< what the help calls its text; may be empty
  std::string standard{};  ///< what holds without it, for the help; empty: not said
  std::string group{};     ///< title of its part of the help; empty: the usual one
  bool is_required = false;
  std::vector<std::string> excludes{};  ///< names of options that must not stand beside it
  std::vector<std::string> needs{};     ///< names of options that must
  std::vector<std::string> values{};    ///< all that make sense, if those can be listed
};

/// What is typed goes into `text`, or after what is in `texts`.
[[nodiscard]] Take Into(std::string& text);
[[nodiscard]] Take Into(std::vector<std::string>& texts);

/// A whole number, in decimal digits. Throws UsageError for anything else, and beyond `least` and `most`.
[[nodiscard]] std::int64_t WholeNumber(const std::string& text, std::int64_t least, std::int64_t most);

/// A whole number from `least` to `most` goes into `number`.
template <std::integral Number>
[[nodiscard]] Take Into(Number& number, std::int64_t least, std::int64_t most) {
  return [&number, least, most](const std::string& text) {
    number = static_cast<Number>(WholeNumber(text, least, most));
  };
}
template <std::integral Number>
[[nodiscard]] Take Into(std::optional<Number>& number, std::int64_t least, std::int64_t most) {
  return [&number, least, most](const std::string& text) {
    number = static_cast<Number>(WholeNumber(text, least, most));
  };
}

/// The whole of `text` as a number; nothing when it is none.
[[nodiscard]] std::optional<double> ReadNumber(const std::string& text);
[[nodiscard]] std::optional<std::uint64_t> ReadCount(const std::string& text);

}  // namespace cli
