#include "charts/kline_history.h"

#include <new>

#include "frame/succeeds.h"
#include "host/tasks.h"

namespace charts {

void KLineHistory::Ask(const Request& request) {
  try {
    if (!Board(request)) {
      return;
    }
  } catch (const std::bad_alloc&) {
    tell_(*request, nullptr);
    return;
  }
  try {
    base::TaskManagerInstance()->AddTask([self = shared_from_this(), request] { self->Fly(request); });
  } catch (...) {
    const std::vector<Request> waiting = Land(request->series);
    if (waiting.empty()) {
      throw;  // by a view, in a task that ran at once
    }
    for (const Request& other : waiting) {
      tell_(*other, nullptr);
    }
  }
}

bool KLineHistory::Board(const Request& request) {
  const std::lock_guard<std::mutex> lock(mutex_);
  std::vector<Request>& waiting = waiting_[request->series];
  for (Request& other : waiting) {
    if (!request->done && !other->done) {
      other = frame::MayFollow(request->stamp, other->stamp) ? request : other;
      return false;
    }
  }
  waiting.push_back(request);
  return waiting.size() == 1;
}

std::vector<KLineHistory::Request> KLineHistory::Land(const Series& series) {
  const std::lock_guard<std::mutex> lock(mutex_);
  auto node = waiting_.extract(series);
  return node.empty() ? std::vector<Request>() : std::move(node.mapped());
}

void KLineHistory::Fly(const Request& first) {
  SeriesHistory history;
  static_cast<void>(frame::Succeeds([&] { history = loader_.Load(first->series, first->today); }));
  const std::vector<Request> waiting = Land(first->series);
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
  const bool made = history.candles != nullptr && frame::Succeeds([&] {
                      record = records_.Take();
                      loader_.MakeRecord(request, history, *record);
                    });
  tell_(request, made ? record : nullptr);
}

}  // namespace charts
