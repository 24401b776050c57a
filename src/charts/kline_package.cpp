#include "charts/kline_package.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "json/numbers.h"
#include "json/plain_reader.h"
#include "request/dates.h"

namespace charts {
namespace {

using request::json::Array;
using request::json::Document;
using request::json::Object;
using request::json::Value;

constexpr std::size_t kPositions = 9;
using Positions = std::array<double, kPositions>;

KLineCandle CandleOf(const Positions& positions) {
  KLineCandle candle;
  candle.date = request::ToUnsigned32(positions[0]);
  candle.preclose = positions[1];
  candle.open = positions[2];
  candle.high = positions[3];
  candle.close = positions[4];
  candle.low = positions[5];
  candle.volume = request::ToUnsigned64(positions[6]);
  candle.amount = positions[7];
  candle.turnover = positions[8];
  return candle;
}

KLineCandle CandleOf(const Array& row) {
  if (row.Size() < kPositions) {
    KLineCandle candle;
    candle.date = kShortLineDate;
    return candle;
  }
  Positions positions{};
  std::size_t place = 0;
  row.ForEach([&](const Value& value) {
    if (place < kPositions) {
      positions[place++] = value.Number();
    }
  });
  return CandleOf(positions);
}

template <class ReadLine>
Candles ReadLines(std::string_view text, ReadLine read_line) {
  Candles candles;
  // A candle's line has this many characters at least; there may be shorter ones, and nothing but line ends.
  constexpr std::size_t kShortestPlainLine = 26;
  candles.reserve(std::min(CountLines(text), text.size() / kShortestPlainLine + 1));
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    if (!line.empty()) {
      read_line(line, candles);
    }
  }
  return candles;
}

void ReadAnyLine(std::string_view line, Candles& candles) {
  const Document document = Document::ParseByQt(line.data(), line.size());
  if (document.Error() == 0) {
    candles.push_back(CandleOf(document.RootArray()));
  }
}

}  // namespace

std::size_t CountLines(std::string_view text) {
  std::size_t lines = 1;
  for (std::size_t at = text.find('\n'); at != std::string_view::npos; at = text.find('\n', at + 1)) {
    ++lines;
  }
  return lines;
}

Candles ReadPackage(std::string_view text) {
  return ReadLines(text, [](std::string_view line, Candles& candles) {
    Positions positions{};
    if (request::json::detail::ReadPlainNumbers(line, positions)) {
      candles.push_back(CandleOf(positions));
    } else {
      ReadAnyLine(line, candles);
    }
  });
}

Candles ReadPackageByQt(std::string_view text) {
  return ReadLines(text, ReadAnyLine);
}

Candles ReadHistory(const Object& root) {
  Candles candles;
  root.ObjectAt("data").ObjectAt("foo").ArrayAt("list").ForEach(
      [&candles](const Value& row) { candles.push_back(CandleOf(row.AsArray())); });
  return candles;
}

bool ReadDayCandle(const Object& entry, KLineCandle& candle) {
  const Value list = entry.Member("list");
  Object day = list.AsObject();
  if (list.IsArray()) {
    if (list.AsArray().Size() == 0) {
      return false;
    }
    day = list.AsArray().At(0).AsObject();
  } else if (!list.IsObject()) {
    return false;
  }
  candle = {};
  const Value date = entry.Member("date");
  candle.date = request::DateFromTextOrNumber(date.IsUndefined() ? day.Member("date") : date);
  candle.preclose = day.Member("preclose").Number();
  candle.open = day.Member("open").Number();
  candle.high = day.Member("high").Number();
  candle.close = day.Member("last").Number();
  candle.low = day.Member("low").Number();
  candle.volume = request::ToUnsigned64(day.Member("vol").Number());
  candle.amount = day.Member("amt").Number();
  candle.turnover = day.Member("tr").Number();
  return true;
}

bool ReadDayCandle(const Object& data, const std::wstring& symbol, KLineCandle& candle) {
  bool named = false;
  bool has_candle = false;
  data.ForEach([&](std::string_view key, const Value& entry) {
    if (request::json::WideKey(key) == symbol) {
      named = true;
      has_candle = ReadDayCandle(entry.AsObject(), candle);
    }
  });
  return named ? has_candle : ReadDayCandle(data, candle);
}

}  // namespace charts
