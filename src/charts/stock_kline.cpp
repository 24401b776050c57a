// K-lines: today's candle from the quote server, then the history, in a task, then both as one series.
#include "charts/stock_kline.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "charts/kline_history.h"
#include "charts/kline_package.h"
#include "frame/newest_told.h"
#include "frame/phase_interval.h"
#include "frame/polled_subject.h"
#include "frame/running.h"
#include "frame/ticks.h"
#include "request/ask.h"
#include "request/urls.h"
#include "services.h"

namespace charts {
namespace {

constexpr auto kFetch = request::Fetch::kKLine;
constexpr std::size_t kMostChoices = 1000;
using Choice = std::pair<Period, Adjustment>;
constexpr Choice kUsualChoice{Period::kDay, Adjustment::kUnadjusted};

class CStockKLine : public frame::PolledSubject<IStockKLine> {
 public:
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(); }
  void FetchKLine(const wchar_t* symbol, int period, int adjustment, const KLineCallback& done) override;

 private:
  void FetchDay(const std::wstring& symbol, const Choice& choice, const KLineCallback& done);
  Choice ChoiceFor(const std::wstring& symbol) noexcept {
    const std::lock_guard<std::mutex> lock(mutex_);
    const auto found = asked_.find(symbol);
    return found != asked_.end() ? found->second : kUsualChoice;
  }
  bool IsAskedForLast(const Series& series) noexcept {
    return ChoiceFor(series.symbol) == Choice(series.period, series.adjustment);
  }
  void TellSeries(const KLineRequest& request, const Record& record);

  frame::Stamps stamps_;
  frame::NewestTold<Series> told_;
  // Waits for disk and network in tasks outside the gate, which is closed without waiting for either.
  const std::shared_ptr<KLineHistory> history_ = std::make_shared<KLineHistory>(
      gate_.Guard([this](const KLineRequest& request, const Record& record) { TellSeries(request, record); }),
      gate_.Watch());
  std::mutex mutex_;                      // guards asked_
  std::map<std::wstring, Choice> asked_;  // last without a call-back, by symbol
};

// --- Ask ---

void CStockKLine::Fetch() {
  std::vector<std::wstring> symbols;
  static_cast<void>(request::Succeeds(kFetch, [&] { symbols = ActiveKeys(); }));
  for (const std::wstring& symbol : symbols) {
    FetchDay(symbol, ChoiceFor(symbol), {});
  }
}

void CStockKLine::FetchKLine(const wchar_t* symbol, int period, int adjustment, const KLineCallback& done) {
  if (symbol == nullptr) {
    return;
  }
  const auto one_of_three = [](int number) { return number >= 1 && number <= 3 ? number : 1; };
  const Choice choice{Period(one_of_three(period)), Adjustment(one_of_three(adjustment))};
  std::wstring name;
  bool replaces = false;
  const bool known = request::Succeeds(kFetch, [&] {
    name = symbol;
    if (!done) {
      const std::lock_guard<std::mutex> lock(mutex_);
      if (asked_.size() >= kMostChoices) {  // those of charts that nobody shows at the moment go
        std::erase_if(asked_, [this](const auto& other) { return !IsShown(other.first); });
      }
      replaces = std::exchange(asked_.try_emplace(name, kUsualChoice).first->second, choice) != choice;
    }
  });
  if (replaces) {
    Forget(name);
  }
  if (known) {
    FetchDay(name, choice, done);
  }
}

void CStockKLine::FetchDay(const std::wstring& symbol, const Choice& choice, const KLineCallback& done) {
  std::shared_ptr<KLineRequest> request;
  if (!request::Succeeds(kFetch, [&] {
        request = std::make_shared<KLineRequest>(
            KLineRequest{{symbol, choice.first, choice.second}, stamps_.Next(), done, {}});
      })) {
    return;
  }
  request::Ask(
      {kFetch, gate_}, [&] { return request::DayCandleUrl(symbol, choice.first, choice.second); },
      [request](const request::Answer& answer) {
        return ReadDayCandle(answer.DataObject(), request->series.symbol);
      },
      [this, request](const std::optional<KLineCandle>& today) {
        request->today = today;
        history_->Ask(request);
        return true;
      });
}

// --- Tell ---

// Views are told the series that was asked for last, and of each series no older answer after a newer one.
void CStockKLine::TellSeries(const KLineRequest& request, const Record& record) {
  const Series& series = request.series;
  if (record != nullptr && request.done) {
    request.done(*record);
    return;
  }
  bool passes = false;
  const bool told =
      record != nullptr && Tell(series.symbol, request.stamp, {.newest_wins = false}, [&]() -> Record {
        if (!IsAskedForLast(series) || !told_.Admits(series, request.stamp)) {
          return nullptr;
        }
        const std::int64_t now = frame::Ticks();
        told_.Sweep(now, [this](const Series& other) { return IsShown(other.symbol); });
        if (IsShown(series.symbol)) {
          told_.Told(series, request.stamp, now);
        }
        passes = true;
        return record;
      });
  if (!told) {
    request::LogFailed(kFetch);
  } else if (passes && !IsAskedForLast(series)) {
    Forget(series.symbol);  // another was asked for while this one was kept
  }
}

}  // namespace

IStockKLine* MakeStockKLine() {
  return frame::MakeOrNull<frame::Running<CStockKLine>>();
}

}  // namespace charts
