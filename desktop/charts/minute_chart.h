// The course of trading days: price and average against the previous close, volumes below, events as marks on
// the line. Candles are candle_chart.h's matter. Used by the UI thread.
#pragma once

#include <list>
#include <optional>
#include <vector>

#include "analytics/stock_unusual_event.h"
#include "charts/stock_mline.h"
#include "desktop/charts/chart.h"
#include "desktop/charts/chart_plot.h"
#include "desktop/charts/cross_hair.h"
#include "desktop/charts/session_axis.h"

namespace desktop {

/// Left and Right read minute after minute, Escape ends that; the mouse reads, too.
class MinuteChart final : public Chart {
 public:
  explicit MinuteChart(QWidget* parent = nullptr);

  /// All days of `line`, side by side. An index has no average. Nothing happens when that is shown already.
  void SetLine(const StockMLineData& line, bool average);
  /// Events of the last day; one whose time is none of the line's minutes is left out.
  void SetEvents(const std::list<StockUnusualEventItem>& events);

 protected:
  void keyPressEvent(QKeyEvent* event) override;

 private:
  struct Minute {
    double place;
    std::uint32_t date;
    MinutePoint point;
    bool rise;
  };

  bool Draw() override;
  void DrawDays();
  void DrawEvents();
  void Read(std::optional<std::size_t> minute);
  void ReadAt(std::optional<QPointF> place);
  void ShowFigures();
  [[nodiscard]] QString EventsAt(const Minute& minute) const;
  [[nodiscard]] QwtText PriceLabel(double price) const;
  [[nodiscard]] QwtText RateLabel(double price) const;

  ChartPlot& prices_;
  ChartPlot& volumes_;
  CrossHair& price_cross_;
  CrossHair& volume_cross_;
  StockMLineData line_;
  bool average_ = true;
  std::list<StockUnusualEventItem> events_;
  SessionAxis axis_;
  std::vector<Minute> minutes_;  // those that have a price
  std::optional<std::size_t> read_;
};

}  // namespace desktop
