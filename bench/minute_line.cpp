// What the minute lines of fifty symbols cost, a whole day of 240 minutes each in one answer: the answer's
// decoding, and the whole way from its bytes to fifty views. "of_parser" is the ratio to the JSON parser
// alone on the same bytes.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>
#include <vector>

#include "c_stock_market.h"
#include "charts/minute_line_reader.h"
#include "instant_host.h"
#include "parser_ratio.h"
#include "request/answer.h"

namespace {

constexpr int kSymbols = 50;
constexpr int kMinutes = 240;

std::string SymbolAt(int number) {
  return "sh" + std::to_string(600000 + number);
}

std::string MakeAnswer() {
  std::mt19937 random(20240315);  // NOLINT(cert-msc51-cpp): the same prices in every run
  std::string text = R"({"errno":0,"data":{)";
  for (int symbol = 0; symbol < kSymbols; ++symbol) {
    text += (symbol == 0 ? "\"" : ",\"") + SymbolAt(symbol) + R"(":{"date":"2024-03-15","list":[)";
    double price = 10 + symbol;
    long volume = 0;
    double amount = 0;
    for (int minute = 0; minute < kMinutes; ++minute) {
      price *= 1 + std::normal_distribution<double>(0, 0.001)(random);
      const long traded = 100 * std::uniform_int_distribution<long>(0, 9000)(random);
      volume += traded;
      amount += static_cast<double>(traded) * price;
      char point[160];
      std::snprintf(point, sizeof point, R"(%s{"min":%d,"last":%.2f,"vol":%ld,"amt":%.2f,"qrr":%.2f%s})",
                    minute == 0 ? "" : ",", 930 + minute, price, volume, amount, 1.07,
                    minute == 0 ? R"(,"preclose":10.5)" : "");
      text += point;
    }
    text += "]}";
  }
  return text + "}}";
}

void DecodeLines(benchmark::State& state) {
  const std::string answer = MakeAnswer();
  const auto decode = [&answer] {
    const auto checked =
        request::CheckAnswer(request::Fetch::kMinuteLine, {true, answer.data(), answer.size()});
    return charts::ReadMinuteLines(checked.DataObject(), {});
  };
  const auto lines = decode();
  if (lines.size() != kSymbols || lines.back().days.size() != 1 ||
      lines.back().days[0].points.size() != kMinutes) {
    state.SkipWithError("the answer decodes to something else");
    return;
  }
  bench::AgainstParser(state, answer, [&decode] { benchmark::DoNotOptimize(decode()); });
  state.counters["points/s"] = benchmark::Counter(
      static_cast<double>(state.iterations()) * kSymbols * kMinutes, benchmark::Counter::kIsRate);
}
BENCHMARK(DecodeLines)->UseManualTime()->Unit(benchmark::kMicrosecond);

class View final : public IUpdate1<StockMLineData> {
 public:
  void Update(const StockMLineData& line) override {
    right = line.days.size() == 1 && line.days[0].points.size() == kMinutes;
  }
  bool right = false;
};

void AnswerToViews(benchmark::State& state) {
  const std::string answer = MakeAnswer();
  instant_host::SetAnswer(answer);
  IStockMLine* const service = GetStockMLine();
  std::vector<View> views(kSymbols);
  for (int number = 0; number < kSymbols; ++number) {
    View& view = views[static_cast<std::size_t>(number)];
    const std::string symbol = SymbolAt(number);
    service->Attach(&view);
    service->SetTarget(&view, std::wstring(symbol.begin(), symbol.end()));
    service->Resume(&view, false);
  }
  service->Refresh();
  for (const View& view : views) {
    if (!view.right) {
      state.SkipWithError("a view did not get its line");
      break;
    }
  }
  bench::AgainstParser(state, answer, [service] { service->Refresh(); });
  for (View& view : views) service->Detach(&view);
  DestroyStockMarket();
}
BENCHMARK(AnswerToViews)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace
