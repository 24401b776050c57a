// Candles of days, weeks or months: today's from the quote API, history from packages; a task puts them
// together.
#include "charts/stock_kline.h"

#include <algorithm>
#include <compare>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "charts/kline_history.h"
#include "charts/kline_merge.h"
#include "charts/kline_package.h"
#include "frame/newest_told.h"
#include "frame/phase_interval.h"
#include "frame/polled_subject.h"
#include "frame/running.h"
#include "host/tasks.h"
#include "request/ask.h"
#include "request/urls.h"
#include "services.h"

namespace charts {
namespace {

constexpr auto kFetch = request::Fetch::kKLine;

struct Series {
  std::wstring symbol;
  int period = 1;
  int adjustment = 1;

  auto operator<=>(const Series&) const = default;
};

// One request: of what, since when, and for whom; without a call-back for the views of the symbol.
struct Wanted {
  Series series;
  frame::Stamp stamp = 0;
  KLineCallback done;
};

class CStockKLine : public frame::PolledSubject<IStockKLine> {
 public:
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }
  void FetchKLine(const wchar_t* symbol, int period, int adjustment, const KLineCallback& done) override;

 private:
  using Order = std::shared_ptr<const Wanted>;

  // Ask
  void FetchDay(const Series& series, const KLineCallback& done);
  Series AskedForLast(const std::wstring& symbol);
  // Understand
  bool AddHistory(const Order& wanted, const Candles& today);
  // Tell
  bool TellSeries(const Wanted& wanted, const std::shared_ptr<const StockKLineData>& data);

  frame::Stamps stamps_;
  frame::NewestTold<Series> told_;
  const std::shared_ptr<KLineHistory> history_ = std::make_shared<KLineHistory>();
  std::mutex mutex_;                       // guards series_
  std::map<std::wstring, Series> series_;  // last asked for without a call-back, by symbol
};

// --- Ask ---

void CStockKLine::Fetch() {
  std::vector<Series> wanted;
  const bool known = request::Succeeds(kFetch, [&] {
    for (const std::wstring& symbol : ActiveKeys()) {
      wanted.push_back(AskedForLast(symbol));
    }
  });
  if (known) {
    for (const Series& series : wanted) {
      FetchDay(series, {});
    }
  }
}

void CStockKLine::FetchKLine(const wchar_t* symbol, int period, int adjustment, const KLineCallback& done) {
  if (symbol == nullptr) {
    return;
  }
  const auto one_of_three = [](int number) { return number >= 1 && number <= 3 ? number : 1; };
  Series series{{}, one_of_three(period), one_of_three(adjustment)};
  const bool known = request::Succeeds(kFetch, [&] {
    series.symbol = symbol;
    if (!done) {
      const std::lock_guard<std::mutex> lock(mutex_);
      series_[series.symbol] = series;
    }
  });
  if (known) {
    FetchDay(series, done);
  }
}

Series CStockKLine::AskedForLast(const std::wstring& symbol) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = series_.find(symbol);
  return found != series_.end() ? found->second : Series{symbol};
}

void CStockKLine::FetchDay(const Series& series, const KLineCallback& done) {
  Order wanted;
  const bool kept = request::Succeeds(kFetch, [&] {
    wanted = std::make_shared<const Wanted>(Wanted{series, stamps_.Next(), done});
  });
  if (!kept) {
    return;
  }
  request::Ask(
      {kFetch, gate_}, [&] { return request::DayCandleUrl(series.symbol, series.period, series.adjustment); },
      [wanted](const request::Answer& answer) {
        Candles today(1);
        if (!ReadDayCandle(answer.DataObject(), wanted->series.symbol, today.front())) {
          today.clear();
        }
        return today;
      },
      [this, wanted](const Candles& today) { return AddHistory(wanted, today); });
}

// --- Understand ---

std::shared_ptr<const StockKLineData> Assemble(const Series& series, const Candles& history,
                                               const Candles& today) {
  auto data = std::make_shared<StockKLineData>();
  data->symbol = series.symbol;
  data->period = series.period;
  data->adjustment = series.adjustment;
  data->candles.assign(history.begin(), history.end());
  for (const KLineCandle& candle : today) {
    MergeToday(series.period, data->candles, candle);
  }
  return data;
}

// The history waits for disk and network: in a task outside the gate, which is closed without waiting for
// either. False when the task could not be posted.
bool CStockKLine::AddHistory(const Order& wanted, const Candles& today) {
  std::shared_ptr<bool> began;
  try {
    began = std::make_shared<bool>(false);
    auto use = [tell = gate_.Guard([this, wanted](const std::shared_ptr<const StockKLineData>& data) {
      if (!TellSeries(*wanted, data)) {
        request::LogFailed(kFetch);
      }
    }),
                wanted, today](const Candles& candles) mutable {
      std::shared_ptr<const StockKLineData> data;
      if (request::Succeeds(kFetch, [&] { data = Assemble(wanted->series, candles, today); })) {
        tell(data);
      }
    };
    base::TaskManagerInstance()->AddTask(
        [began, history = history_, wanted, use, is_wanted = gate_.Watch()]() mutable {
          *began = true;
          std::shared_ptr<const Candles> candles;
          const bool loaded =
              is_wanted() && request::Succeeds(kFetch, [&] {
                const Series& series = wanted->series;
                candles = history->Load(series.symbol, series.period, series.adjustment, use, is_wanted);
              });
          if (loaded && candles != nullptr) {
            use(*candles);
          }
        });
  } catch (...) {
    if (began != nullptr && *began) {
      throw;  // by a view, in a task that ran at once
    }
    return false;
  }
  return true;
}

// --- Tell ---

// Views are told the series that was asked for last, and of each series no older answer after a newer one.
bool CStockKLine::TellSeries(const Wanted& wanted, const std::shared_ptr<const StockKLineData>& data) {
  if (wanted.done) {
    wanted.done(*data);
    return true;
  }
  constexpr frame::Telling kHow{frame::Whom::kActive, frame::Keep::kIfShown, false};
  return Tell(data->symbol, wanted.stamp, kHow, [&]() -> std::shared_ptr<const StockKLineData> {
    if (AskedForLast(data->symbol) != wanted.series || !told_.Admits(wanted.series, wanted.stamp)) {
      return nullptr;
    }
    told_.Sweep([this](const Series& series) { return IsShown(series.symbol); });
    if (IsShown(data->symbol)) {
      told_.Told(wanted.series, wanted.stamp);
    }
    return data;
  });
}

}  // namespace

IStockKLine* MakeStockKLine() {
  return frame::MakeOrNull<frame::Running<CStockKLine>>();
}

}  // namespace charts
