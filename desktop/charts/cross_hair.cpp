#include "desktop/charts/cross_hair.h"

#include <qwt_picker_machine.h>
#include <qwt_plot.h>

#include <utility>

namespace desktop {

CrossHair::CrossHair(QWidget* canvas, RubberBand lines, Moved moved)
    : QwtPlotPicker(QwtPlot::xBottom, QwtPlot::yLeft, lines, AlwaysOff, canvas), moved_(std::move(moved)) {
  setStateMachine(new QwtPickerTrackerMachine);
  setResizeMode(KeepSize);
}

// There is always one point at most.
void CrossHair::Place(const QPointF& at) {
  const QPoint pixel = transform(at);
  begin();
  if (pickedPoints().isEmpty()) {
    QwtPlotPicker::append(pixel);
  } else if (pickedPoints().last() != pixel) {
    QwtPlotPicker::move(pixel);
  }
}

void CrossHair::Hide() {
  if (isActive()) {
    end(false);
  }
}

void CrossHair::widgetLeaveEvent(QEvent* event) {
  QwtPlotPicker::widgetLeaveEvent(event);
  moved_(std::nullopt);
}

}  // namespace desktop
