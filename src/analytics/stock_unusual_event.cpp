// The unusual events of a day. Today is polled, a past day is asked for once; a failure delivers an empty
// list, so that views clear.
#include "analytics/stock_unusual_event.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <list>
#include <vector>

#include "analytics/stock_unusual_event_service.h"
#include "analytics/stock_unusual_event_table.h"
#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "host/clock.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/record_reader.h"
#include "request/urls.h"

namespace analytics {
namespace {

using Events = std::list<StockUnusualEventItem>;

constexpr int kShortestInterval = 30;

class CStockUnusualEvent : public IStockUnusualEvent, protected frame::Gated {
 public:
  void SetTarget(IUpdate1<Events>* obs, const std::uint32_t& date) override;
  void Fetch() override;
  int GetInterval() override {
    return std::clamp(frame::SecondsToNextPhase(), kShortestInterval, frame::kLongestInterval);
  }
  void FetchUnusualEvent(std::uint32_t date, const UnusualEventCallback& done) override;

 private:
  // Understand
  static Events ReadEvents(bool ok, const char* body, std::size_t length);
};

// Today is kept as 0, so that the view follows the day after midnight.
void CStockUnusualEvent::SetTarget(IUpdate1<Events>* obs, const std::uint32_t& date) {
  IStockUnusualEvent::SetTarget(obs, date == common::GetCurrentServerDate() ? 0 : date);
}

void CStockUnusualEvent::Fetch() {
  std::vector<std::uint32_t> dates;
  GetActiveTargets(dates);
  for (const std::uint32_t date : dates) {
    if (date == 0 || date == common::GetCurrentServerDate()) {
      FetchUnusualEvent(date, [this, date](const Events& events) { DeliverUncached(date, events); });
    }
  }
}

void CStockUnusualEvent::FetchUnusualEvent(std::uint32_t date, const UnusualEventCallback& done) {
  const std::int64_t time = date == 0 ? common::GetCurrentServerTime() : common::DateToTime(date, 23, 59, 59);
  request::Ask(request::UnusualEventsUrl(time), request::kUsualSeconds, gate_,
               [done](bool ok, const char* body, std::size_t length) {
                 const Events events = ReadEvents(ok, body, length);
                 if (done) {
                   done(events);
                 }
               });
}

Events CStockUnusualEvent::ReadEvents(bool ok, const char* body, std::size_t length) {
  const request::Answer answer = request::CheckAnswer(request::Fetch::kUnusualEvents, ok, body, length);
  if (!answer) {
    return {};
  }
  auto events = request::RecordReader<kStockUnusualEventTable>::ReadAll(answer.DataList());
  return {std::make_move_iterator(events.begin()), std::make_move_iterator(events.end())};
}

}  // namespace

IStockUnusualEvent* MakeStockUnusualEvent() {
  return frame::MakeOrNull<frame::Polling<CStockUnusualEvent>>();
}

}  // namespace analytics
