// The warnings and errors that were written to the program log: what went wrong inside the module reaches a
// person only by them. Thread-safe.
#pragma once

#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>

namespace cli {

class Warnings {
 public:
  /// A line of the log without time and level.
  void Add(std::string_view line);

  struct Lines {
    std::uint64_t count = 0;
    std::string first;  ///< what the others follow from
    std::string last;
  };
  [[nodiscard]] Lines All() const;
  /// Those of one writer, "StockRanking" for "StockRanking::FetchStockRanking Failed.".
  [[nodiscard]] Lines Of(std::string_view writer) const;

 private:
  mutable std::mutex mutex_;  // guards all members
  Lines all_;
  std::map<std::string, Lines, std::less<>> writers_;
};

}  // namespace cli
