#include "charts/kline_package.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "charts/kline_table.h"
#include "charts/symbol_case.h"
#include "json/budget.h"
#include "json/numbers.h"
#include "json/plain_reader.h"
#include "json/record_reader.h"
#include "request/dates.h"

namespace charts {
namespace {

using request::json::Array;
using request::json::Document;
using request::json::Object;
using request::json::Value;

constexpr std::size_t kPositions = std::remove_cvref_t<decltype(kKLineCandleTable)>::kSize;
using Positions = std::array<double, kPositions>;

void Assign(double number, double& member) {
  member = number;
}
void Assign(double number, std::uint32_t& member) {
  member = request::ToUnsigned32(number);
}
void Assign(double number, std::uint64_t& member) {
  member = request::ToUnsigned64(number);
}

KLineCandle CandleOf(const Positions& positions) {
  KLineCandle candle;
  const double* number = positions.data();
  request::ForEachMember(kKLineCandleTable,
                         [&](const auto& line) { Assign(*number++, candle.*line.member); });
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

void ReadAnyLine(std::string_view line, Candles& candles) {
  const Document document = Document::ParseByQt(line.data(), line.size());
  if (document.Error() == 0) {
    candles.push_back(CandleOf(document.RootArray()));
  }
}

// `read_plain` gives the length of a plain line that the text begins with; 0: there is none.
template <class ReadPlain>
Candles ReadLines(std::string_view text, ReadPlain read_plain) {
  Candles candles;
  // A candle's line has this many characters at least; there may be shorter ones, and nothing but line ends.
  constexpr std::size_t kShortestPlainLine = 26;
  candles.reserve(std::min(CountLines(text), text.size() / kShortestPlainLine + 1));
  while (!text.empty()) {
    Positions positions{};
    std::size_t length = read_plain(text, positions);
    if (length > 0 && (length == text.size() || text[length] == '\n')) {
      candles.push_back(CandleOf(positions));
    } else {
      length = std::min(text.find('\n'), text.size());
      if (length > 0) {
        ReadAnyLine(text.substr(0, length), candles);
      }
    }
    text.remove_prefix(std::min(length + 1, text.size()));
  }
  return candles;
}

// The figures stand in "list", an object or an array in which it is the first one. The date stands beside
// "list" or, when it is missing there, among the figures.
std::optional<KLineCandle> CandleOf(const Object& entry) {
  Value figures = entry.Member("list");
  figures.AsArray().ForEach([&figures](const Value& element) {
    if (!figures.IsObject() && element.IsObject()) {
      figures = element;
    }
  });
  if (!figures.IsObject()) {
    return std::nullopt;
  }
  Value date = entry.Member("date");
  if (date.IsUndefined()) {
    date = figures.AsObject().Member("date");
  }
  const auto day = request::ExactDate(date);
  if (!day) {
    return std::nullopt;
  }
  KLineCandle candle;
  request::RecordReader<kKLineCandleTable>::Fill(candle, figures.AsObject());
  candle.date = *day;
  return candle;
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
  return ReadLines(text, request::json::detail::ReadPlainNumbers);
}

Candles ReadPackageByQt(std::string_view text) {
  return ReadLines(text, [](std::string_view, const Positions&) { return std::size_t{0}; });
}

Candles ReadHistory(const Object& root) {
  const Array rows = root.ObjectAt("data").ObjectAt("foo").ArrayAt("list");
  request::json::Budget budget;
  budget.Require(rows.Size(), 3 * sizeof(KLineCandle));  // once more while they are merged, and in the series
  Candles candles;
  candles.reserve(rows.Size());
  rows.ForEach([&candles](const Value& row) { candles.push_back(CandleOf(row.AsArray())); });
  return candles;
}

std::optional<KLineCandle> ReadDayCandle(const Object& data, const std::wstring& symbol) {
  bool named = false;
  std::optional<KLineCandle> candle;
  data.ForEach([&](std::string_view key, const Value& entry) {
    if (LowerCase(request::json::WideKey(key)) == LowerCase(symbol)) {
      named = true;
      candle = CandleOf(entry.AsObject());
    }
  });
  return named ? candle : CandleOf(data);
}

}  // namespace charts
