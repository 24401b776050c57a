#include "quote_answers.h"

#include <array>
#include <cstdio>

namespace bench {
namespace {

constexpr std::size_t kFirstCode = 600'000;
constexpr std::size_t kSuspendedEvery = 50;
constexpr std::array<const char*, 8> kNames{"浦发银行", "平安银行", "贵州茅台", "中国石油",
                                            "万科A",    "东方财富", "宁德时代", "紫金矿业"};

template <class... Values>
void Append(std::string& out, const char* format, Values... values) {
  std::array<char, 128> text{};
  const int length = std::snprintf(text.data(), text.size(), format, values...);
  out.append(text.data(), static_cast<std::size_t>(length));
}

void AppendNumber(std::string& out, const char* key, double value) {
  Append(out, R"(,"%s":%.2f)", key, value);
}

void AppendCount(std::string& out, const char* key, unsigned long long value) {
  Append(out, R"(,"%s":%llu)", key, value);
}

void AppendRow(std::string& out, std::size_t row, int tick) {
  const double last = LastOf(row, tick);
  const bool suspended = row % kSuspendedEvery == kSuspendedEvery - 1;
  Append(out, R"({"code":"sh%zu","name":"%s%zu")", kFirstCode + row, kNames.at(row % kNames.size()), row);
  AppendNumber(out, "last", last);
  AppendNumber(out, "change", static_cast<double>(row % 2000) / 100 - 10);
  AppendNumber(out, "diff", static_cast<double>(row % 300) / 100 - 1.5);
  AppendNumber(out, "tr", static_cast<double>(row % 700) / 100);
  AppendNumber(out, "amt", 12'345'678.5 * static_cast<double>(row % 90 + 1));
  AppendCount(out, "vol", 100ULL * (row * 7919 % 1'000'000 + 1));
  AppendNumber(out, "pe", static_cast<double>(row % 9000) / 100);
  AppendNumber(out, "high", last + 0.35);
  AppendNumber(out, "low", last - 0.35);
  AppendNumber(out, "open", last - 0.1);
  AppendNumber(out, "preclose", last - 0.2);
  AppendNumber(out, "amp", static_cast<double>(row % 800) / 100);
  AppendNumber(out, "qrr", static_cast<double>(row % 500) / 100);
  AppendNumber(out, "cr", static_cast<double>(row % 190) - 95);
  AppendNumber(out, "mc", 1e9 + static_cast<double>(row) * 1e6);
  AppendNumber(out, "pb", static_cast<double>(row % 1200) / 100);
  AppendCount(out, "tso", 1'000'000'000ULL + row * 1000);
  AppendCount(out, "shares", 800'000'000ULL + row * 1000);
  AppendNumber(out, "cmc", 8e8 + static_cast<double>(row) * 1e6);
  Append(out, R"(,"status":"%d")", suspended ? 1 : 0);
  for (const char* const side : {"b", "s"}) {
    for (int level = 1; level <= 5; ++level) {
      const double away = 0.01 * level * (*side == 'b' ? -1 : 1);
      Append(out, R"(,"%s%dp":%.2f,"%s%dv":%zu)", side, level, last + away, side, level,
             (row * 31 + static_cast<std::size_t>(level)) % 5000 * 100);
    }
  }
  out += '}';
}

std::string Rows(std::size_t rows, int tick) {
  std::string out;
  constexpr std::size_t kBytesOfRow = 620;
  out.reserve(rows * kBytesOfRow);
  for (std::size_t row = 0; row < rows; ++row) {
    if (row > 0) {
      out += ',';
    }
    AppendRow(out, row, tick);
  }
  return out;
}

}  // namespace

std::wstring CodeOf(std::size_t row) {
  return L"sh" + std::to_wstring(kFirstCode + row);
}

double LastOf(std::size_t row, int tick) {
  return (static_cast<double>(row * 37 % 9000) + 500 + tick) / 100;
}

std::string BoardAnswer(std::size_t rows, int tick) {
  return R"({"errno":0,"data":[)" + Rows(rows, tick) + "]}";
}

std::string WatchListAnswer(std::size_t rows, int tick) {
  return R"({"errno":0,"data":{"list":[)" + Rows(rows, tick) + "]}}";
}

}  // namespace bench
