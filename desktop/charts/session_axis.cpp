#include "desktop/charts/session_axis.h"

#include <algorithm>
#include <cmath>

#include "cli/format/china_time.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr int kOpening = 9 * 60 + 30;  // in minutes of the day
constexpr int kAuction = 15;           // minutes: from 09:15
constexpr int kNarrow = 460;           // pixels

int MinuteOfDay(std::int32_t clock) {
  return clock / 100 * 60 + clock % 100;
}

}  // namespace

SessionAxis::SessionAxis(const std::vector<MLineDay>& days) {
  if (!days.empty()) {
    dates_.clear();
  }
  for (const MLineDay& day : days) {
    dates_.push_back(day.date);
    for (const MinutePoint& point : day.points) {
      if (cli::SessionMinute(point.time) >= 0 && MinuteOfDay(point.time) < kOpening) {
        lead_ = kAuction;
      }
    }
  }
}

double SessionAxis::At(std::size_t day, std::int32_t minute) const {
  const int place = cli::SessionMinute(minute);
  const int before = std::clamp(kOpening - MinuteOfDay(minute), 0, kAuction);
  return place < 0 ? std::nan("") : static_cast<double>(day) * Width() + place - before;
}

QList<double> SessionAxis::Ticks(int pixels) const {
  if (dates_.size() == 1) {
    return pixels < kNarrow ? QList<double>{0, 120, 240} : QList<double>{0, 60, 120, 180, 240};
  }
  QList<double> ticks;
  for (std::size_t day = 0; day < dates_.size(); ++day) {
    ticks.push_back(At(day, 1130));
  }
  return ticks;
}

QString SessionAxis::LabelOf(double place) const {
  if (dates_.size() > 1) {
    const auto day = static_cast<std::size_t>(std::max(std::floor(place / Width()), 0.0));
    return Text(cli::DateText(dates_[std::min(day, dates_.size() - 1)])).mid(5);
  }
  const int minute = static_cast<int>(place);
  if (minute == cli::kSessionMinutes / 2) {
    return QStringLiteral("11:30/13:00");
  }
  const int clock = kOpening + minute + (minute > cli::kSessionMinutes / 2 ? 90 : 0);
  return Text(cli::MinuteText(clock / 60 * 100 + clock % 60));
}

}  // namespace desktop
