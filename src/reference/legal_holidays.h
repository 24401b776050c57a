// The exchange's holidays of a year, on their way from the server to the host's calendar, which keeps them.
// Thread-safe.
#pragma once

#include <atomic>
#include <deque>
#include <map>
#include <mutex>
#include <vector>

#include "frame/gate.h"
#include "frame/stamp.h"
#include "json/json.h"

namespace reference {

/// The dates of a list, in order. An element's digits make the date (YYYYMMDD), whatever stands between them.
struct HolidayList {
  std::vector<unsigned long> days;
  int without_date = 0;  ///< elements that are no date, and are left out
};
[[nodiscard]] HolidayList ReadHolidays(const request::json::Array& list);

/// Asks for the holidays and remembers for which years the host's calendar has been given some. Answers come
/// through the gate. A failure, of the request or of a function of the host, is logged and changes nothing;
/// nothing is thrown.
class LegalHolidays {
 public:
  explicit LegalHolidays(const frame::CompletionGate& gate) : gate_(gate) {}

  /// Asks for the year of the server's date and returns. The answer replaces the host calendar's list for
  /// that year: one without a list empties it; one whose elements are all unusable is damaged and changes
  /// nothing, and neither does one that a newer request's list for the year has overtaken.
  void Ask() noexcept;

  /// The same if the calendar has no list for that year and none is being asked for: the first answers bring
  /// the server's time, and that may be of another year than the machine's.
  void AskIfMissing() noexcept;

  /// The same, but only if that year is another one than was asked for last: for looks that come often.
  void FollowYear() noexcept;

 private:
  // A list on its way to the calendar.
  struct List {
    int year;
    frame::Stamp stamp;
    std::vector<unsigned long> days;
  };
  struct Year {
    frame::Stamp told = 0;  // of the request whose list the calendar has
    int under_way = 0;      // requests without an outcome
  };

  void AskFor(int year);
  void Ended(int year);
  bool Take(int year, frame::Stamp stamp, HolidayList&& holidays);
  [[nodiscard]] bool IsKnownOrOnItsWay(int year);

  const frame::CompletionGate& gate_;
  frame::Stamps stamps_;
  std::mutex mutex_;  // guards the members below
  std::map<int, Year> years_;
  std::deque<List> waiting_;  // of answers that came while the calendar is given a list; that one is in front
  bool is_giving_ = false;

  std::atomic<int> latest_ = 0;  // year asked for
};

}  // namespace reference
