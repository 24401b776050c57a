// Candles of days, weeks or months with volumes and averages, on an axis without gaps. The course of a day is
// minute_chart.h's matter. Used by the UI thread.
#pragma once

#include <cstddef>
#include <vector>

#include "charts/stock_kline.h"
#include "cli/plot/candle_chart.h"
#include "desktop/charts/chart.h"

namespace desktop {

/// Keys: + and - zoom, as the wheel does; Left and Right scroll, as dragging does; Home and End go to the
/// oldest and the newest candle; Shift with Left and Right reads candle after candle, as the mouse does,
/// Escape ends that.
class CandleChart final : public Chart {
 public:
  CandleChart();

  /// The newest candles of another series; of the same one the part that is in sight stays there. Nothing
  /// happens when that is shown already.
  void SetSeries(const StockKLineData& series);

  /// The candles in sight: the number of the first one, and how many.
  [[nodiscard]] std::size_t First() const;
  [[nodiscard]] std::size_t Count() const;
  void Zoom(double factor);               ///< so many times as many candles
  void ScrollBy(std::ptrdiff_t candles);  ///< into the past if negative

 private:
  void keyPressEvent(QKeyEvent* event) override;
  [[nodiscard]] std::size_t Points() const override { return candles_.size(); }
  [[nodiscard]] QPointF PlaceOf(std::size_t candle) const override {
    return {static_cast<double>(candle), candles_[candle].close};
  }
  void DrawPoints() override;
  void ShowFigures() override;
  void DrawCandles(std::size_t first, std::size_t last, std::size_t sharing);
  void LabelDates(std::size_t first, std::size_t last);
  [[nodiscard]] std::size_t Room() const;
  [[nodiscard]] double PixelsPerCandle() const;

  ChartPlot& prices_;
  ChartPlot& volumes_;
  StockKLineData series_;
  std::vector<KLineCandle> candles_;
  std::vector<cli::Average> averages_;
  std::size_t wanted_ = 0;  // candles in sight; 0: as many as look good
  std::size_t back_ = 0;    // newer candles that are out of sight
  int dragged_ = 0;         // the pixel where the mouse stood that drags
};

}  // namespace desktop
