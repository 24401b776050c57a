// The server's clock: real time, or any other time at any speed. Thread-safe. Dates and trading days are
// those of the market's calendar (model/calendar.h); clients have one of their own.
#pragma once

#include <mutex>
#include <string>
#include <string_view>

namespace market_server {

/// Seconds since 1970-01-01 UTC by the machine's own clock.
[[nodiscard]] double RealNow();

/// Reads a clock text (see Options::clock) as seconds since 1970-01-01 UTC, `now` being the real time. Throws
/// std::runtime_error for a text that is none.
[[nodiscard]] double ParseClock(std::string_view text, double now);

/// "Fri, 15 Mar 2024 01:30:00 GMT", the form of the Date header.
[[nodiscard]] std::string HttpDate(double time);

class ServerClock {
 public:
  ServerClock(std::string_view text, double speed);

  [[nodiscard]] double Now() const;
  [[nodiscard]] double speed() const;
  /// Throws std::runtime_error and changes nothing when the text is no clock or the speed is negative or no
  /// number.
  void Set(std::string_view text);
  void SetSpeed(double speed);

 private:
  struct Base {
    double real = 0;    // steady seconds
    double server = 0;  // seconds since 1970 at that moment
    double speed = 1;
  };
  mutable std::mutex mutex_;  ///< guards base_
  Base base_;
};

}  // namespace market_server
