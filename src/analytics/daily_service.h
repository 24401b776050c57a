// What the date-keyed services share: a view that resumes gets any day, the polling thread asks for today
// only, because a past day no longer changes.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/phase_interval.h"
#include "frame/polling.h"
#include "host/clock.h"

namespace analytics {

/// Base of the services whose key is a date, 0 standing for today.
template <class Interface>
class DailyService : public Interface, protected frame::Gated {
 public:
  void Fetch() override {
    for (const std::uint32_t date : ActiveDates()) {
      FetchDay(date);
    }
  }

  void OnTimer() override {
    const std::uint32_t today = common::GetCurrentServerDate();
    for (const std::uint32_t date : ActiveDates()) {
      if (date == 0 || date == today) {
        FetchDay(date);
      }
    }
  }

  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  /// Sends the request for one day.
  virtual void FetchDay(std::uint32_t date) = 0;

  std::vector<std::uint32_t> ActiveDates() {
    std::vector<std::uint32_t> dates;
    this->GetActiveTargets(dates);
    return dates;
  }
};

}  // namespace analytics
