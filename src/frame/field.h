// The small shapes that quote records are made of: a value with a mark that says whether it may be shown and,
// for some, how it moved. Plain values without any locking. Which feed key fills which field is no matter of
// these shapes: the records say it.
#pragma once

#include <boost/function/function1.hpp>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

/// A figure that moves during the day. Show `value` only when `present` is set.
/// `direction`: -1 fell, 0 unchanged, +1 rose against the service's previous answer; a real number has to
/// move by more than 0.001, an integer by one.
template <class T>
struct TickField {
  T value{};
  bool present = false;
  std::int32_t direction = 0;

  bool operator==(const TickField&) const = default;
};

/// A figure whose movement is not followed. Show `value` only when `present` is set.
template <class T>
struct PlainField {
  T value{};
  bool present = false;

  bool operator==(const PlainField&) const = default;
};

/// A number of securities. Show `value` only when `present` is set.
struct CountField {
  std::int32_t value = 0;
  bool present = false;

  bool operator==(const CountField&) const = default;
};

/// One level of the order book: a price or a volume. Show `value` only when `present` is set; `direction` as
/// in `TickField`.
template <class T>
struct BookLevel {
  T value{};
  bool present = false;
  std::int16_t direction = 0;

  bool operator==(const BookLevel&) const = default;
};

/// A figure of a ranked row. `trend`: -1 fell, 0 unchanged or new, +1 rose against the service's previous
/// answer, without any tolerance.
struct TrendValue {
  double value = 0;
  bool valid = false;
  std::int16_t trend = 0;

  bool operator==(const TrendValue&) const = default;
};

/// Pairs of (code, name), in the order asked for.
using CodeNameList = std::vector<std::pair<std::wstring, std::wstring>>;

/// Receives a list that was asked for once. The list is valid during the call only.
using CodeNameCallback = boost::function<void(const CodeNameList&)>;
