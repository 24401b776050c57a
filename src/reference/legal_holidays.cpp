#include "reference/legal_holidays.h"

#include "host/calendar.h"
#include "host/clock.h"
#include "host/log.h"
#include "host/singleton.h"
#include "reference/succeeds.h"
#include "request/answer.h"
#include "request/ask.h"
#include "request/dates.h"
#include "request/urls.h"

namespace reference {
namespace {

int YearNow() {
  return static_cast<int>(common::GetCurrentServerDate() / 10000);
}

}  // namespace

HolidayList ReadHolidays(const request::json::Array& list) {
  HolidayList holidays;
  holidays.days.reserve(list.Size());
  list.ForEach([&holidays](const request::json::Value& element) {
    if (const auto date = request::ExactDate(element.Text())) {
      holidays.days.push_back(*date);
    } else {
      ++holidays.without_date;
    }
  });
  return holidays;
}

void LegalHolidays::Ask() noexcept {
  static_cast<void>(request::Succeeds(request::Fetch::kLegalHolidays, [this] { AskFor(YearNow()); }));
}

void LegalHolidays::AskIfMissing() noexcept {
  static_cast<void>(request::Succeeds(request::Fetch::kLegalHolidays, [this] {
    if (const int year = YearNow(); !IsKnown(year)) {
      AskFor(year);
    }
  }));
}

void LegalHolidays::FollowYear() noexcept {
  static_cast<void>(Succeeds([this] {
    if (!WasAskedForLast(YearNow())) {
      AskIfMissing();
    }
    return true;
  }));
}

void LegalHolidays::AskFor(int year) {
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    latest_ = year;
  }
  request::Ask(
      {request::Fetch::kLegalHolidays, gate_}, [year] { return request::TradeDateUrl(year); },
      [](const request::Answer& answer) { return ReadHolidays(answer.DataList()); },
      [this, year, stamp = stamps_.Next()](const HolidayList& holidays) {
        return Succeeds([&] { return Take(year, stamp, holidays); });
      });
}

// False is a failure that nothing was written about yet.
bool LegalHolidays::Take(int year, frame::Stamp stamp, const HolidayList& holidays) {
  if (holidays.without_date > 0) {
    WriteProgramLogNoMask(L"StockCommon::InitLegalHolidays Elements Without Date: %d", holidays.without_date);
    if (holidays.days.empty()) {
      return true;
    }
  }
  const std::lock_guard<std::mutex> lock(mutex_);
  frame::Stamp& told = years_[year];
  if (frame::MayFollow(stamp, told)) {
    pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(year, holidays.days);
    told = stamp;
  }
  return true;
}

bool LegalHolidays::WasAskedForLast(int year) {
  const std::lock_guard<std::mutex> lock(mutex_);
  return latest_ == year;
}

bool LegalHolidays::IsKnown(int year) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = years_.find(year);
  return found != years_.end() && found->second != 0;
}

}  // namespace reference
