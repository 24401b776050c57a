#include "holidays.h"

#include <zlib.h>

#include <cerrno>
#include <cstdint>
#include <optional>
#include <sstream>
#include <utility>

#include "descriptor.h"
#include "host/tasks.h"
#include "log.h"
#include "replace_file.h"
#include "trading_day.h"

namespace stock_host {
namespace {

constexpr std::size_t kLargestFile = 1U << 20;
constexpr std::string_view kTitle = "csm-holidays 1 ";

// The first line, with the check sum of all others.
std::string TitleOf(const std::string& lines) {
  return std::string(kTitle) +
         std::to_string(
             crc32_z(crc32_z(0, nullptr, 0), reinterpret_cast<const Bytef*>(lines.data()), lines.size())) +
         "\n";
}

}  // namespace

bool Holidays::Know(std::chrono::year year) {
  const std::lock_guard lock(mutex_);
  return years_.contains(year);
}

bool Holidays::Contain(std::chrono::sys_days day) {
  const std::lock_guard lock(mutex_);
  const auto found = years_.find(std::chrono::year_month_day(day).year());
  return found != years_.end() && found->second.contains(day);
}

void Holidays::Set(std::chrono::year year, Days days) {
  {
    const std::lock_guard lock(mutex_);
    years_[year] = std::move(days);
  }
  StoreLater();
}

void Holidays::Open(const std::string& directory) {
  const std::string file = directory + "/holidays";
  Years found;
  const std::optional<std::string> text = ReadWhole(file, kLargestFile);
  if (!text && errno != ENOENT) {
    Log(Severity::kWarning, "calendar: cannot read \"" + file + "\": " + SystemText(errno));
  } else if (text && !Decode(*text, found)) {
    Log(Severity::kWarning, "calendar: \"" + file + "\" is damaged; the holidays are asked for anew");
  }
  {
    const std::lock_guard lock(mutex_);
    file_ = file;
    stored_ = text.value_or("");
    years_.merge(found);
  }
  StoreLater();
}

void Holidays::Close() {
  const std::lock_guard lock(mutex_);
  years_.clear();
  file_.clear();
  stored_.clear();
}

// A line for each year: the year and its holidays.
std::string Holidays::Encode(const Years& years) {
  std::string lines;
  for (const auto& [year, days] : years) {
    lines += std::to_string(static_cast<int>(year));
    for (const auto day : days) {
      lines += ' ' + std::to_string(DateOfDay(day));
    }
    lines += '\n';
  }
  return lines.empty() ? lines : TitleOf(lines) + lines;
}

bool Holidays::Decode(const std::string& text, Years& years) {
  const std::size_t title_end = text.find('\n');
  if (title_end == std::string::npos) {
    return false;
  }
  const std::string lines = text.substr(title_end + 1);
  if (text.substr(0, title_end + 1) != TitleOf(lines)) {
    return false;
  }
  std::istringstream in(lines);
  for (std::string line; std::getline(in, line);) {
    std::istringstream numbers(line);
    int year = 0;
    numbers >> year;
    Days& days = years[std::chrono::year(year)];
    for (std::uint64_t date = 0; numbers >> date;) {
      if (const auto day = DayOfDate(date)) {
        days.insert(*day);
      }
    }
  }
  return true;
}

void Holidays::StoreLater() {
  {
    const std::lock_guard lock(mutex_);
    if (storing_ || file_.empty() || years_.empty() || Encode(years_) == stored_) {
      return;
    }
    storing_ = true;
  }
  if (base::TaskManagerInstance()->AddTask([this] { Store(); }) == 0) {
    const std::lock_guard lock(mutex_);
    storing_ = false;
  }
}

void Holidays::Store() {
  for (;;) {
    std::string text;
    std::string file;
    {
      const std::lock_guard lock(mutex_);
      text = Encode(years_);
      file = file_;
      if (text == stored_) {
        storing_ = false;
        return;
      }
      stored_ = text;
    }
    std::string error;
    if (!ReplaceFile(file, text, error)) {
      Log(Severity::kWarning, "calendar: the holidays are not kept: " + error);
    }
  }
}

Holidays& TheHolidays() {
  static Holidays* const holidays = new Holidays;
  return *holidays;
}

}  // namespace stock_host
