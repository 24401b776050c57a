// The lines that mark the item that is read: across one plot, upright through the others below it. The item
// is chosen by the mouse, or by the chart's keys. Used by the UI thread.
#pragma once

#include <qwt_plot_picker.h>

#include <QPointF>
#include <functional>
#include <optional>

namespace desktop {

class CrossHair final : public QwtPlotPicker {
 public:
  /// The mouse stands at this place of the plot, or has left it. Answers by `Place` or `Hide`.
  using Moved = std::function<void(std::optional<QPointF>)>;

  CrossHair(QWidget* canvas, RubberBand lines, Moved moved);

  /// Goes to a place in the values of the plot.
  void Place(const QPointF& at);
  void Hide();

 protected:
  void append(const QPoint& at) override { moved_(invTransform(at)); }
  void move(const QPoint& at) override { moved_(invTransform(at)); }
  void widgetLeaveEvent(QEvent* event) override;

 private:
  const Moved moved_;
};

}  // namespace desktop
