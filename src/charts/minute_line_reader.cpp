#include "charts/minute_line_reader.h"

#include <cmath>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "charts/symbol_case.h"
#include "host/calendar.h"
#include "json/budget.h"
#include "json/numbers.h"
#include "request/dates.h"
#include "request/tolerance.h"

namespace charts {
namespace {

using request::json::Array;
using request::json::Object;
using request::json::Value;

// Turns the cumulative figures of one day into those of its minutes.
class DayReader {
 public:
  explicit DayReader(double preclose) : preclose_(preclose), price_(preclose) {}

  MinutePoint Read(const Object& element) {
    MinutePoint point;
    point.time = element.Member("min").Integer();
    if (point.time == 0) {
      point.time = element.Member("time").Integer();
    }
    const std::uint64_t volume = request::ToUnsigned64(element.Member("vol").Number());
    const double amount = element.Member("amt").Number();
    point.volume = volume > volume_ ? volume - volume_ : 0;
    point.amount = amount > amount_ + request::kTolerance ? amount - amount_ : 0.0;
    // A minute without trades carries the last price and the last average on.
    point.price = element.Member("last").Number();
    if (std::fabs(point.price) < request::kTolerance) {
      point.price = price_;
    }
    point.qrr = element.Member("qrr").Number();
    if (volume > 0) {
      point.avg_price = amount / static_cast<double>(volume);
    } else {
      point.avg_price = first_ ? point.price : average_;
    }
    point.change = point.price - preclose_;
    point.change_rate = preclose_ == 0 ? 0.0 : point.change * 100.0 / preclose_;

    first_ = false;
    volume_ = volume;
    amount_ = amount;
    price_ = point.price;
    average_ = point.avg_price;
    return point;
  }

 private:
  const double preclose_;
  bool first_ = true;
  std::uint64_t volume_ = 0;
  double amount_ = 0;
  double price_;
  double average_ = 0;
};

// The record of one symbol in the making.
class LineReader {
 public:
  LineReader(StockMLineData& line, request::json::Budget& budget) : line_(line), budget_(budget) {}

  void ReadEntry(const Value& entry) {
    if (!entry.IsArray()) {
      ReadDay(entry.AsObject());
      return;
    }
    entry.AsArray().ForEach([this](const Value& day) { ReadDay(day.AsObject()); });
  }

 private:
  void ReadDay(const Object& entry) {
    MLineDay& day = line_.days.emplace_back();
    day.date = request::DateFromText(entry.Member("date"));
    const Array list = entry.ArrayAt("list");
    budget_.Require(list.Size(), sizeof(MinutePoint));
    budget_.Require(3, sizeof(MLineDay));  // as the days grow in number
    day.points.reserve(list.Size());
    std::optional<DayReader> reader;
    list.ForEach([&](const Value& element) {
      if (element.IsNull()) {
        return;
      }
      const Object point = element.AsObject();
      if (!std::exchange(has_preclose_, true)) {
        line_.preclose = point.Member("preclose").Number();
      }
      if (!reader) {
        reader.emplace(line_.preclose);
      }
      day.points.push_back(reader->Read(point));
    });
  }

  StockMLineData& line_;
  request::json::Budget& budget_;
  bool has_preclose_ = false;  // it is read once, from the first element of all
};

// An object, or an array of objects and not without any.
bool IsEntry(const Value& entry) {
  bool only_objects = entry.AsArray().Size() > 0;
  entry.AsArray().ForEach([&](const Value& day) { only_objects = only_objects && day.IsObject(); });
  return only_objects || entry.IsObject();
}

}  // namespace

std::vector<StockMLineData> ReadMinuteLines(const Object& data, const std::vector<std::wstring>& asked) {
  std::multimap<std::wstring, std::wstring> spellings;
  for (const std::wstring& symbol : asked) {
    spellings.emplace(LowerCase(symbol), symbol);
  }
  std::vector<StockMLineData> lines;
  request::json::Budget budget;
  const auto read = [&](std::wstring symbol, const Value& entry) {
    // As the lines grow in number, and once more when they are kept.
    budget.Require(4, sizeof(StockMLineData));
    StockMLineData& line = lines.emplace_back();
    line.symbol = std::move(symbol);
    budget.Require(2, request::json::HeldBytes(line.symbol));
    LineReader(line, budget).ReadEntry(entry);
  };
  data.ForEach([&](std::string_view key, const Value& entry) {
    std::wstring symbol = request::json::WideKey(key);
    if (stock::CheckSymbol(symbol.c_str()) == stock::kSymbolUnknown || !IsEntry(entry)) {
      return;
    }
    const auto [first, last] = spellings.equal_range(LowerCase(symbol));
    for (auto other = first; other != last; ++other) {
      const std::wstring& spelling = other->second;
      if (spelling != symbol && data.Member(std::string(spelling.begin(), spelling.end())).IsUndefined()) {
        read(spelling, entry);
      }
    }
    spellings.erase(first, last);  // of several entries of one symbol the first serves the other spellings
    read(std::move(symbol), entry);
  });
  return lines;
}

bool ReadMinuteLine(const Object& data, const std::wstring& symbol, StockMLineData& line) {
  for (StockMLineData& candidate : ReadMinuteLines(data, {symbol})) {
    if (candidate.symbol == symbol) {
      line = std::move(candidate);
      return true;
    }
  }
  if (!data.Member("list").IsArray()) {
    return false;
  }
  line = {};
  line.symbol = symbol;
  request::json::Budget budget;
  LineReader reader(line, budget);
  reader.ReadEntry(data.Self());
  return true;
}

}  // namespace charts
