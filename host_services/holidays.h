// The legal holidays that were told, by year, in memory and in the file "holidays" of the data directory, so
// that the next start knows them without a server. Callable from any thread. What a trading day is:
// calendar.h.
#pragma once

#include <chrono>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace stock_host {

class Holidays {
 public:
  using Days = std::set<std::chrono::sys_days>;

  /// True once the holidays of `year` were told, by this run or an earlier one.
  [[nodiscard]] bool Know(std::chrono::year year);

  [[nodiscard]] bool Contain(std::chrono::sys_days day);

  /// Replaces the holidays of `year`. A task stores them once there is a directory.
  void Set(std::chrono::year year, Days days);

  /// Reads what is stored in `directory`, for the years that nobody has told yet. A damaged file counts as
  /// none, with a line in the log. From now on holidays are stored there.
  void Open(const std::string& directory);

  /// Forgets everything: the next run may have another directory, and another server.
  void Close();

 private:
  using Years = std::map<std::chrono::year, Days>;
  [[nodiscard]] static std::string Encode(const Years& years);
  [[nodiscard]] static bool Decode(const std::string& text, Years& years);
  void StoreLater();
  void Store();

  std::mutex mutex_;  // guards all members below
  Years years_;
  std::string file_;
  std::string stored_;    // text of the file, or of the attempt to write it
  bool storing_ = false;  // a task is queued or under way
};

/// The one of the process; leaked.
[[nodiscard]] Holidays& TheHolidays();

}  // namespace stock_host
