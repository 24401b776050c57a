// The curve services: one row per minute of a day. They differ in endpoint, record and log texts only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "analytics/daily_service.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/record_reader.h"

namespace analytics {

/// A curve service: the interface, the record's table, the fetch and its URL.
template <class Interface, const auto& kTable, request::Fetch kFetch, std::wstring (*kUrl)(std::uint32_t)>
class DailyCurve : public DailyService<Interface> {
 private:
  // Ask
  void FetchDay(std::uint32_t date) override {
    request::Ask(
        kUrl(date), request::kQuickSeconds, this->gate_,
        [this, date](bool ok, const char* body, std::size_t length) { OnAnswer(date, ok, body, length); });
  }

  // Understand and tell
  void OnAnswer(std::uint32_t date, bool ok, const char* body, std::size_t length) {
    const request::Answer answer = request::CheckAnswer(kFetch, ok, body, length);
    if (answer) {
      this->Deliver(date, request::RecordReader<kTable>::ReadAll(answer.DataList()));
    }
  }
};

}  // namespace analytics
