// The unusual events of a day. Today is polled, a past day is asked for once; a failure delivers an empty
// list, so that views clear.
#include "analytics/stock_unusual_event.h"

#include <cstdint>
#include <list>
#include <memory>
#include <vector>

#include "analytics/stock_unusual_event_table.h"
#include "frame/phase_interval.h"
#include "frame/polled_subject.h"
#include "frame/recycler.h"
#include "frame/running.h"
#include "host/clock.h"
#include "json/record_reader.h"
#include "request/ask.h"
#include "request/dates.h"
#include "request/urls.h"
#include "services.h"

namespace analytics {
namespace {

using Events = std::list<StockUnusualEventItem>;

constexpr auto kFetch = request::Fetch::kUnusualEvents;
constexpr int kShortestInterval = 30;

class CStockUnusualEvent : public frame::PolledSubject<IStockUnusualEvent> {
 public:
  void SetTarget(Observer* obs, const std::uint32_t& date) override;
  void Fetch() override;
  int GetInterval() override { return frame::PhaseInterval(kShortestInterval); }
  void FetchUnusualEvent(std::uint32_t date, const UnusualEventCallback& done) override;

 private:
  template <class OnEvents>
  void AskForDay(std::uint32_t date, OnEvents on_events);
  bool TellViews(std::uint32_t date, frame::Stamp stamp, const std::shared_ptr<const Events>& events) {
    return Tell(date, stamp, {frame::Whom::kActive, frame::Keep::kNever}, [&] { return events; });
  }

  frame::Stamps stamps_;
  frame::Recycler<Events> lists_;
  const std::shared_ptr<const Events> none_ = std::make_shared<Events>();
};

// Today is kept as 0, so that the view follows the day after midnight.
void CStockUnusualEvent::SetTarget(Observer* obs, const std::uint32_t& date) {
  bool is_today = false;
  static_cast<void>(request::Succeeds(kFetch, [&] { is_today = request::IsToday(date); }));
  PolledSubject::SetTarget(obs, is_today ? 0 : date);
}

// --- Ask, understand ---

// Asks for the events of a date. `on_events(events)` is called once whatever comes, unless there is no
// server.
template <class OnEvents>
void CStockUnusualEvent::AskForDay(std::uint32_t date, OnEvents on_events) {
  request::Ask(
      {kFetch, gate_},
      [date] {
        return request::UnusualEventsUrl(date == 0 ? common::GetCurrentServerTime()
                                                   : common::DateToTime(date, 23, 59, 59));
      },
      [this](const request::Answer& answer) -> std::shared_ptr<const Events> {
        const std::shared_ptr<Events> events = lists_.Take();
        request::RecordReader<kStockUnusualEventTable>::ReadInto(*events, answer.DataList());
        return events;
      },
      on_events, [on_events, none = none_] { on_events(none); });
}

// --- Tell ---

void CStockUnusualEvent::Fetch() {
  const frame::Stamp stamp = stamps_.Next();
  std::vector<std::uint32_t> dates;
  const bool known = request::Succeeds(kFetch, [&] {
    dates = ActiveKeys();
    std::erase_if(dates, [](std::uint32_t date) { return !request::IsToday(date); });
  });
  if (!known) {
    TellViews(0, stamp, none_);
  }
  for (const std::uint32_t date : dates) {
    AskForDay(date, [this, date, stamp](const std::shared_ptr<const Events>& events) {
      return TellViews(date, stamp, events);
    });
  }
}

void CStockUnusualEvent::FetchUnusualEvent(std::uint32_t date, const UnusualEventCallback& done) {
  const auto shared = request::Shared(kFetch, done);
  if (shared == nullptr) {
    if (done) {
      done({});
    }
    return;
  }
  AskForDay(date, [shared](const std::shared_ptr<const Events>& events) {
    if (*shared) {
      (*shared)(*events);
    }
    return true;
  });
}

}  // namespace

IStockUnusualEvent* MakeStockUnusualEvent() {
  return frame::MakeOrNull<frame::Running<CStockUnusualEvent>>();
}

}  // namespace analytics
