// What a request asks, apart from its wording: two requests for rows of one list ask for the same list, two
// for quotes for the same kind of quotes, and two for the events of one day for the same day whatever second
// they name. A record is searched by this. Pure functions.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stock_host {

struct Question {
  enum class Part {
    kAll,      ///< everything that the subject has
    kRows,     ///< the rows from `first` up to the one before `end`
    kNewest,   ///< the last `end` of a series
    kSymbols,  ///< what belongs to `symbols`
  };

  std::string subject;  ///< of requests that can answer each other the same text
  Part part = Part::kAll;
  std::int64_t first = 0;
  std::int64_t end = 0;
  std::vector<std::string> symbols{};

  bool operator==(const Question&) const = default;
};

/// `request` is a text as records keep it, see `RequestText`.
[[nodiscard]] Question QuestionOf(std::string_view request);

/// How many rows, or values of a series, an answer to `question` has; nothing when it is no answer of that
/// form.
[[nodiscard]] std::optional<std::int64_t> CountRows(const Question& question, const std::string& answer);

/// Of an answer to `recorded` as much as `asked` asks for; both are of one subject. Nothing when the answer
/// has another form.
[[nodiscard]] std::optional<std::string> CutOut(const Question& recorded, const Question& asked,
                                                const std::string& answer);

/// What `symbols` have in `answers`, each in the one at its place, as one answer. Nothing when one of them
/// has another form.
[[nodiscard]] std::optional<std::string> PutTogether(const std::vector<std::string>& symbols,
                                                     const std::vector<const std::string*>& answers);

}  // namespace stock_host
