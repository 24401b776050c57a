// What an index answer costs: its decoding, and the whole way from its bytes to a view.
#include <benchmark/benchmark.h>

#include <QJsonDocument>
#include <string>

#include "c_stock_market.h"
#include "instant_host.h"
#include "json/record_reader.h"
#include "quotes/index_market_table.h"
#include "request/answer.h"

namespace {

constexpr const char* kAnswer =
    R"({"errno":0,"errmsg":"","data":{"list":[)"
    R"({"code":"sh000001","name":"\u4e0a\u8bc1\u6307\u6570","last":3054.64,"change":0.54,"diff":16.41,"open":3034.4},)"
    R"({"code":"sz399001","name":"\u6df1\u8bc1\u6210\u6307","last":9612.75,"change":0.6,"diff":57.34,"open":9520.1},)"
    R"({"code":"sz399006","name":"\u521b\u4e1a\u677f\u6307","last":1884.09,"change":-0.5,"diff":-9.5,"open":1890.2}]}})";

using IndexReader = request::RecordReader<quotes::kIndexMarketSummaryTable>;

bool IsRight(const std::vector<IndexMarketSummary>& list) {
  return list.size() == 3 && list[0].code == L"sh000001" && list[1].last == 9612.75 && list[2].diff == -9.5;
}

// The lower bound: the parser alone on the same bytes.
void ParseOnly(benchmark::State& state) {
  const std::string answer = kAnswer;
  const QByteArray bytes = QByteArray::fromRawData(answer.data(), static_cast<int>(answer.size()));
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(QJsonDocument::fromJson(bytes));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(answer.size()));
}
BENCHMARK(ParseOnly);

void DecodeAnswer(benchmark::State& state) {
  const std::string answer = kAnswer;
  const auto decode = [&answer] {
    const auto checked =
        request::CheckAnswer(request::Fetch::kIndexQuotes, {true, answer.data(), answer.size()});
    return IndexReader::ReadAll(checked.DataList());
  };
  if (!IsRight(decode())) {
    state.SkipWithError("the answer decodes to something else");
    return;
  }
  for ([[maybe_unused]] auto round : state) {
    benchmark::DoNotOptimize(decode());
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(answer.size()));
}
BENCHMARK(DecodeAnswer);

class View final : public IUpdate1<std::vector<IndexMarketSummary>> {
 public:
  void Update(const std::vector<IndexMarketSummary>& list) override {
    ++updates;
    right = right && IsRight(list);
  }
  std::int64_t updates = 0;
  bool right = true;
};

void AnswerToView(benchmark::State& state) {
  instant_host::SetAnswer(kAnswer);
  std::vector<View> views(static_cast<std::size_t>(state.range(0)));
  IIndexMarket* const service = GetIndexMarket();
  for (View& view : views) {
    service->Attach(&view);
  }
  service->Refresh();
  for (const View& view : views) {
    if (view.updates < 1 || !view.right) {
      state.SkipWithError("a view did not get the list");
    }
  }
  for ([[maybe_unused]] auto round : state) {
    service->Refresh();
  }
  for (View& view : views) {
    service->Detach(&view);
  }
  DestroyStockMarket();
}
BENCHMARK(AnswerToView)->Arg(1)->Arg(50);

}  // namespace
