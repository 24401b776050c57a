// The newest warning or error in the program log, read from its file: what went wrong inside the module
// reaches a person only by the log. Main thread only. Counts of failed requests are stock_host's matter.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace cli {

class LogTail {
 public:
  /// Lines that are in `file` already do not count; it may be missing.
  explicit LogTail(std::string file);
  ~LogTail();
  LogTail(const LogTail&) = delete;
  LogTail& operator=(const LogTail&) = delete;

  /// Reads what was appended since, in a new file too if the log was rotated.
  void Poll();

  /// The newest line of a warning or an error, without time and level; empty when there was none.
  [[nodiscard]] const std::string& last() const { return last_; }
  /// The oldest such line: what others follow from.
  [[nodiscard]] const std::string& first() const { return first_; }
  /// How many of them there were.
  [[nodiscard]] std::uint64_t count() const { return count_; }

  struct Lines {
    std::uint64_t count = 0;
    std::string last;
  };
  /// The same of the lines of one writer, "StockRanking" for "StockRanking::FetchStockRanking Failed.".
  [[nodiscard]] Lines Of(std::string_view writer) const;

 private:
  void ReadOn();
  void Take(std::string_view line);
  void CountWriter();

  std::string file_;
  int fd_ = -1;
  std::string partial_;
  std::string last_;
  std::string first_;
  std::uint64_t count_ = 0;
  std::map<std::string, Lines, std::less<>> writers_;
};

}  // namespace cli
