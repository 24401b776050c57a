// The table of routes: path, parameters and encoder of every endpoint of the quote API, and the way from a
// request to an answer. Pure functions of request, market and instant; safe from any thread. Signing, faults
// and the clock are service.h; static files and history queries have files of their own below endpoints/.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "market_server/answer.h"
#include "market_server/http/message.h"
#include "market_server/json_writer.h"
#include "market_server/model/market.h"

namespace market_server {

/// How the value of a parameter is read. An empty word is the value that a client sends for "none of these";
/// what it stands for is said at each kind.
enum class ParameterKind {
  kSymbols,    ///< a JSON array of texts
  kSymbol,     ///< any text
  kStockSort,  ///< a column of stocks
  kPlateSort,  ///< a column of plates
  kStockType,  ///< a board; empty: all A shares
  kPlateType,  ///< a kind of plate; empty: both kinds
  kDirection,  ///< asc or desc; empty: desc
  kInteger,    ///< a signed decimal of 32 bits
  kDate,       ///< YYYYMMDD; 0: the session of the server's clock
  kYear,       ///< YYYY, or YYYYMMDD for its year
  kSeconds     ///< seconds since 1970-01-01 UTC
};

struct ParameterRule {
  std::string_view name;
  ParameterKind kind;
};

/// The values that a parameter of that kind may have besides the empty one; empty when it is no word.
[[nodiscard]] std::span<const std::string_view> Words(ParameterKind kind);

/// Thrown by whatever cannot answer a request.
class ApiError : public std::runtime_error {
 public:
  ApiError(Error error, const std::string& detail) : std::runtime_error(detail), error_(error) {}
  [[nodiscard]] Error error() const { return error_; }

 private:
  Error error_;
};

/// The value of the one parameter of that name. Throws ApiError when there is none, or more than one.
[[nodiscard]] const std::string& ReadOnce(const http::Parameters& parameters, std::string_view name);

/// What an encoder is given: its parameters, checked, and the market as it stands.
struct Call {
  const model::Market& market;
  model::Instant instant;  ///< of the figures; the same as the server's clock unless the feed is interrupted
  std::vector<std::string> symbols{};
  std::map<std::string_view, std::string> texts{};
  std::map<std::string_view, std::int64_t> numbers{};

  [[nodiscard]] const std::string& Text(std::string_view name) const { return texts.at(name); }
  [[nodiscard]] std::int64_t Number(std::string_view name) const { return numbers.at(name); }
};

/// What an answer is made from, as far as it takes time: the market of one moment, or that of whole days.
enum class Cost { kMoment, kDays };

struct Route {
  std::string_view path;
  std::vector<ParameterRule> parameters;
  /// Writes the members that follow "errno" in the root object.
  void (*encode)(const Call&, JsonWriter&);
  std::string_view summary;
  std::string_view example;  ///< a query for the documentation, decoded
  Cost cost = Cost::kMoment;
};

[[nodiscard]] std::span<const Route> Routes();

/// Null for a path that is none.
[[nodiscard]] const Route* FindRoute(std::string_view path);

/// Checks the parameters and encodes the answer for the figures of `instant`. Signing parameters are ignored.
/// Throws ApiError.
[[nodiscard]] Answer AnswerRoute(const Route& route, const http::Parameters& parameters,
                                 const model::Market& market, model::Instant instant);

/// Reads a JSON array of texts; false when it is none.
[[nodiscard]] bool ReadSymbolList(const std::string& text, std::vector<std::string>& symbols);

inline constexpr std::size_t kMostSymbols = 4000;

}  // namespace market_server
