// What the date-keyed services share: a view that resumes gets any day, the polling thread asks for today
// only, because a past day no longer changes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "frame/phase_interval.h"
#include "frame/running.h"
#include "json/record_reader.h"
#include "request/dates.h"
#include "request/keyed_service.h"
#include "services.h"

namespace analytics {

/// Base of the services whose key is a date, 0 standing for today.
template <class Interface, request::Fetch kFetch, std::wstring (*kUrl)(std::uint32_t)>
class DailyService : public request::KeyedService<Interface> {
 public:
  DailyService() : request::KeyedService<Interface>(kFetch) {}

  void OnTimer() override { this->AskForEach(&request::IsToday); }
  int GetInterval() override { return frame::PhaseInterval(); }

 private:
  std::wstring UrlOf(const std::uint32_t& date) override { return kUrl(date); }
};

/// The curves: one row per minute of a day. They differ in endpoint, record and log texts only.
template <class Interface, const auto& kTable, request::Fetch kFetch, std::wstring (*kUrl)(std::uint32_t)>
class DailyCurve : public DailyService<Interface, kFetch, kUrl> {
 private:
  using Data = typename Interface::Told;

  std::shared_ptr<Data> Read(const std::uint32_t& /*date*/, const request::Answer& answer) override {
    return request::Share(request::RecordReader<kTable>::ReadAll(answer.DataList()));
  }
};

}  // namespace analytics
