#include "reference/legal_holidays.h"

#include <string>
#include <utility>

#include "frame/stoppable_wait.h"
#include "frame/succeeds.h"
#include "host/calendar.h"
#include "host/clock.h"
#include "host/log.h"
#include "host/singleton.h"
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
    if (const int year = YearNow(); !IsKnownOrOnItsWay(year)) {
      AskFor(year);
    }
  }));
}

void LegalHolidays::FollowYear() noexcept {
  static_cast<void>(frame::Succeeds([this] {
    if (latest_ != YearNow()) {
      AskIfMissing();
    }
  }));
}

void LegalHolidays::AskFor(int year) {
  const auto ended = [this, year] { Ended(year); };
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++years_[year].under_way;
  }
  latest_ = year;
  request::Ask(
      {request::Fetch::kLegalHolidays, gate_},
      [year, ended] {
        std::wstring url = request::TradeDateUrl(year);
        if (url.empty()) {
          ended();
        }
        return url;
      },
      [](const request::Answer& answer) { return ReadHolidays(answer.DataList()); },
      [this, year, ended, stamp = stamps_.Next()](HolidayList&& holidays) {
        const bool taken = frame::Succeeds([&] { return Take(year, stamp, std::move(holidays)); });
        if (taken) {
          ended();
        }
        return taken;
      },
      ended);
}

void LegalHolidays::Ended(int year) {
  const std::lock_guard<std::mutex> lock(mutex_);
  --years_[year].under_way;
}

// False is a failure that nothing was written about yet. No lock is held while the host's calendar is given a
// list, because the host may call back; who comes meanwhile leaves its list for the one who gives.
bool LegalHolidays::Take(int year, frame::Stamp stamp, HolidayList&& holidays) {
  if (holidays.without_date > 0) {
    WriteProgramLogNoMask(L"StockCommon::InitLegalHolidays Elements Without Date: %d", holidays.without_date);
    if (holidays.days.empty()) {
      return true;
    }
  }
  std::unique_lock<std::mutex> lock(mutex_);
  waiting_.push_back({year, stamp, std::move(holidays.days)});
  if (std::exchange(is_giving_, true)) {
    return true;
  }
  bool ok = true;
  for (; !waiting_.empty(); waiting_.pop_front()) {
    const List& next = waiting_.front();
    frame::Stamp& told = years_[next.year].told;
    if (!frame::MayFollow(next.stamp, told)) {
      continue;
    }
    const bool is_learned = told == 0;
    lock.unlock();
    const bool given = frame::Succeeds([&next] {
      pattern::CSingleton<common::LegalHoliday>::GetInstance()->SetHolidays(next.year, next.days);
    });
    if (given && is_learned) {
      frame::StoppableWait::PlanAnew();
    }
    lock.lock();
    told = given ? next.stamp : told;
    ok = ok && given;
  }
  is_giving_ = false;
  return ok;
}

bool LegalHolidays::IsKnownOrOnItsWay(int year) {
  const std::lock_guard<std::mutex> lock(mutex_);
  const auto found = years_.find(year);
  return found != years_.end() && (found->second.told != 0 || found->second.under_way > 0);
}

}  // namespace reference
