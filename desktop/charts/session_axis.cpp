#include "desktop/charts/session_axis.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "cli/format/china_time.h"
#include "cli/plot/scale.h"

namespace desktop {
namespace {

constexpr int kOpening = 930;
constexpr int kAuction = 15;  // minutes: from 09:15
constexpr int kNarrow = 460;  // pixels

// Minutes from `clock` to 09:30; 0 from then on.
int MinutesBeforeOpening(std::int32_t clock) {
  return std::clamp(9 * 60 + 30 - (clock / 100 * 60 + clock % 100), 0, kAuction);
}

}  // namespace

SessionAxis::SessionAxis(const std::vector<MLineDay>& days) {
  if (!days.empty()) {
    dates_.clear();
  }
  for (const MLineDay& day : days) {
    dates_.push_back(day.date);
    for (const MinutePoint& point : day.points) {
      if (cli::SessionMinute(point.time) >= 0 && point.time < kOpening) {
        lead_ = kAuction;
      }
    }
  }
}

double SessionAxis::Width() const {
  return lead_ + cli::kSessionMinutes + (dates_.size() > 1 ? 1 : 0);
}

double SessionAxis::At(std::size_t day, std::int32_t minute) const {
  const int place = cli::SessionMinute(minute);
  if (place < 0) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  return static_cast<double>(day) * Width() + (place > 0 ? place : -MinutesBeforeOpening(minute));
}

double SessionAxis::end() const {
  return static_cast<double>(dates_.size()) * Width() - lead_;
}

QList<double> SessionAxis::Ticks(int pixels) const {
  QList<double> ticks;
  if (dates_.size() > 1) {
    for (std::size_t day = 0; day < dates_.size(); ++day) {
      ticks.push_back(At(day, 1130));
    }
  } else {
    ticks = pixels < kNarrow ? QList<double>{0, 120, 240} : QList<double>{0, 60, 120, 180, 240};
  }
  return ticks;
}

QString SessionAxis::LabelOf(double place) const {
  if (dates_.size() > 1) {
    const auto day = static_cast<std::size_t>(std::max(std::floor(place / Width()), 0.0));
    return QString::fromStdString(cli::DateText(dates_[std::min(day, dates_.size() - 1)])).mid(5);
  }
  const int minute = static_cast<int>(place);
  if (minute == cli::kSessionMinutes / 2) {
    return QStringLiteral("11:30/13:00");
  }
  const int clock = minute + 9 * 60 + 30 + (minute > cli::kSessionMinutes / 2 ? 90 : 0);
  return QString::fromStdString(cli::MinuteText(clock / 60 * 100 + clock % 60));
}

}  // namespace desktop
