// The course of trading days: price and average against the previous close, volumes below, events as marks on
// the line. Candles are candle_chart.h's matter. Used by the UI thread.
#pragma once

#include <QMap>
#include <list>
#include <vector>

#include "analytics/stock_unusual_event.h"
#include "charts/stock_mline.h"
#include "desktop/charts/chart.h"
#include "desktop/charts/session_axis.h"

namespace desktop {

class MinuteChart final : public Chart {
 public:
  MinuteChart();

  /// All days of `line`, side by side. An index has no average. Nothing happens when that is shown already.
  void SetLine(const StockMLineData& line, bool average);
  /// Events of the last day; one whose time is none of the line's minutes is left out.
  void SetEvents(const std::list<StockUnusualEventItem>& events);

 private:
  struct Minute {
    double place;
    std::uint32_t date;
    MinutePoint point;
    bool rise;
  };

  [[nodiscard]] std::size_t Points() const override { return minutes_.size(); }
  [[nodiscard]] QPointF PlaceOf(std::size_t minute) const override {
    return {minutes_[minute].place, minutes_[minute].point.price};
  }
  void DrawPoints() override;
  void ShowFigures() override;
  void DrawVolumes();
  void DrawDays();
  void DrawEvents();
  [[nodiscard]] QString EventsAt(const Minute& minute) const;

  ChartPlot& prices_;
  ChartPlot& volumes_;
  StockMLineData line_;
  bool average_ = true;
  QMap<int, QStringList> events_;  // what they say, by their minutes
  SessionAxis axis_;
  std::vector<Minute> minutes_;  // those that have a price
};

}  // namespace desktop
