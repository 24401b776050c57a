// Candles of days, weeks or months: today's from the quote API, history from packages; a task puts them
// together.
#include "charts/stock_kline.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "charts/kline_history.h"
#include "charts/kline_merge.h"
#include "charts/kline_package.h"
#include "charts/stock_kline_service.h"
#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "host/tasks.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/urls.h"

namespace charts {
namespace {

// What is asked for of one symbol.
struct Series {
  int period = 1;
  int adjustment = 1;
};

class CStockKLine : public IStockKLine, protected frame::Gated {
 public:
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }
  void FetchKLine(const wchar_t* symbol, int period, int adjustment, const KLineCallback& done) override;

 private:
  // Ask
  void FetchDay(const std::wstring& symbol, const Series& series, const KLineCallback& done);
  // Understand
  void OnDay(const std::wstring& symbol, const Series& series, const KLineCallback& done, bool ok,
             const char* body, std::size_t length);
  static StockKLineData Assemble(const std::wstring& symbol, const Series& series, const Candles& history,
                                 const Candles& today);

  boost::mutex lock_;                      // guards series_
  std::map<std::wstring, Series> series_;  // last asked for without a call-back, by symbol
  const std::shared_ptr<KLineHistory> history_ = std::make_shared<KLineHistory>();
};

void CStockKLine::Fetch() {
  std::vector<std::wstring> symbols;
  GetActiveTargets(symbols);
  for (const std::wstring& symbol : symbols) {
    Series series;
    {
      const boost::lock_guard<boost::mutex> guard(lock_);
      const auto found = series_.find(symbol);
      if (found != series_.end()) {
        series = found->second;
      }
    }
    FetchDay(symbol, series, {});
  }
}

void CStockKLine::FetchKLine(const wchar_t* symbol, int period, int adjustment, const KLineCallback& done) {
  if (symbol == nullptr) {
    return;
  }
  const auto one_of_three = [](int number) { return number >= 1 && number <= 3 ? number : 1; };
  const Series series{one_of_three(period), one_of_three(adjustment)};
  if (!done) {
    const boost::lock_guard<boost::mutex> guard(lock_);
    series_[symbol] = series;
  }
  FetchDay(symbol, series, done);
}

void CStockKLine::FetchDay(const std::wstring& symbol, const Series& series, const KLineCallback& done) {
  request::Ask(request::DayCandleUrl(symbol, series.period, series.adjustment), request::kUsualSeconds, gate_,
               [this, symbol, series, done](bool ok, const char* body, std::size_t length) {
                 OnDay(symbol, series, done, ok, body, length);
               });
}

void CStockKLine::OnDay(const std::wstring& symbol, const Series& series, const KLineCallback& done, bool ok,
                        const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kKLine, ok, body, length);
  if (!answer) {
    return;
  }
  Candles today;
  if (KLineCandle candle; ReadDayCandle(answer.DataObject(), symbol, candle)) {
    today.push_back(candle);
  }
  auto tell = gate_.Guard([this, done](const StockKLineData& data) {
    if (done) {
      done(data);
    } else {
      Deliver(data.symbol, data);
    }
  });
  // The history waits for disk and network: outside the gate, which is closed without waiting for either.
  base::TaskManagerInstance()->AddTask([history = history_, symbol, series, today, tell] {
    history->Load(symbol, series.period, series.adjustment,
                  [symbol, series, today, tell](const Candles& candles) mutable {
                    tell(Assemble(symbol, series, candles, today));
                  });
  });
}

StockKLineData CStockKLine::Assemble(const std::wstring& symbol, const Series& series, const Candles& history,
                                     const Candles& today) {
  StockKLineData data;
  data.symbol = symbol;
  data.period = series.period;
  data.adjustment = series.adjustment;
  data.candles.assign(history.begin(), history.end());
  for (const KLineCandle& candle : today) {
    MergeToday(series.period, data.candles, candle);
  }
  return data;
}

}  // namespace

IStockKLine* MakeStockKLine() {
  return frame::MakeOrNull<frame::Polling<CStockKLine>>();
}

}  // namespace charts
