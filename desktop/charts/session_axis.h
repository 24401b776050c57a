// The axis of trading days side by side: minutes of the session, lunch left out, with the opening auction in
// front where the data hold it. A value.
#pragma once

#include <QList>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "charts/stock_mline.h"
#include "cli/plot/scale.h"

namespace desktop {

class SessionAxis {
 public:
  SessionAxis() = default;
  /// That of one day without an auction if there are none.
  explicit SessionAxis(const std::vector<MLineDay>& days);

  /// The place of a minute (931 for 09:31) of the day number `day`; 09:30 of the first one is 0. NaN for what
  /// is no clock time.
  [[nodiscard]] double At(std::size_t day, std::int32_t minute) const;
  [[nodiscard]] double begin() const { return -lead_; }
  [[nodiscard]] double end() const { return static_cast<double>(dates_.size()) * Width() - lead_; }

  /// Where labels stand, and what they say: times of one day, dates of several.
  [[nodiscard]] QList<double> Ticks(int pixels) const;
  [[nodiscard]] QString LabelOf(double place) const;

 private:
  [[nodiscard]] double Width() const { return lead_ + cli::kSessionMinutes + (dates_.size() > 1 ? 1 : 0); }

  std::vector<std::uint32_t> dates_{0};
  int lead_ = 0;  // minutes before 09:30
};

}  // namespace desktop
