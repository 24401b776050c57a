#include "charts/kline_history.h"

#include <new>
#include <utility>
#include <vector>

#include "host/tasks.h"

namespace charts {

void KLineHistory::Ask(const Request& request) {
  try {
    if (!flights_.Board(request)) {
      return;
    }
  } catch (const std::bad_alloc&) {
    tell_(*request, nullptr);
    return;
  }
  try {
    base::TaskManagerInstance()->AddTask([self = shared_from_this(), request] { self->Fly(request); });
  } catch (...) {
    const std::vector<Request> waiting = flights_.Land(request->series);
    if (waiting.empty()) {
      throw;  // by a view, in a task that ran at once
    }
    for (const Request& other : waiting) {
      tell_(*other, nullptr);
    }
  }
}

void KLineHistory::Fly(const Request& first) {
  SeriesHistory history;
  try {
    history = loader_.Load(first->series, first->today);
  } catch (...) {
    history = {};
  }
  const std::vector<Request> waiting = flights_.Land(first->series);
  for (std::size_t other = 1; other < waiting.size(); ++other) {
    try {
      base::TaskManagerInstance()->AddTask([self = shared_from_this(), request = waiting[other], history] {
        self->TellOf(*request, history);
      });
    } catch (...) {
      tell_(*waiting[other], nullptr);
    }
  }
  TellOf(*waiting.front(), history);
}

void KLineHistory::TellOf(const KLineRequest& request, const SeriesHistory& history) {
  std::shared_ptr<StockKLineData> record;
  try {
    if (history.candles != nullptr) {
      record = records_.Take();
      loader_.MakeRecord(request, history, *record);
    }
  } catch (...) {
    record = nullptr;
  }
  tell_(request, record);
}

}  // namespace charts
