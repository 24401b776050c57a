#include "desktop/charts/chart.h"

#include <qwt_picker_machine.h>
#include <qwt_plot_picker.h>

#include <QEvent>
#include <QKeyEvent>
#include <QRegularExpression>
#include <algorithm>

namespace desktop {
namespace {

constexpr int kMostLines = 4;  // of figures
constexpr int kAir = 4;        // pixels: signs of other fonts may be higher

}  // namespace

// The lines that mark the point that is read. The mouse says where it stands, the chart where they go.
class Chart::CrossHair final : public QwtPlotPicker {
 public:
  CrossHair(Chart& chart, QWidget* canvas, RubberBand lines)
      : QwtPlotPicker(QwtPlot::xBottom, QwtPlot::yLeft, lines, AlwaysOff, canvas), chart_(chart) {
    setStateMachine(new QwtPickerTrackerMachine);
    setResizeMode(KeepSize);
  }
  // There is always one point at most.
  void Place(const QPointF& at) {
    begin();
    if (pickedPoints().isEmpty()) {
      QwtPlotPicker::append(transform(at));
    } else {
      QwtPlotPicker::move(transform(at));
    }
  }
  void Hide() { end(false); }

 private:
  void append(const QPoint& at) override { chart_.ReadAt(invTransform(at)); }
  void move(const QPoint& at) override { chart_.ReadAt(invTransform(at)); }
  void widgetLeaveEvent(QEvent* event) override {
    QwtPlotPicker::widgetLeaveEvent(event);
    chart_.ReadAt(std::nullopt);
  }

  Chart& chart_;
};

Chart::Chart(int characters)
    : characters_(characters), layout_(*new QVBoxLayout(this)), figures_(*new QLabel) {
  setBackgroundRole(QPalette::Base);
  setAutoFillBackground(true);
  setFocusPolicy(Qt::StrongFocus);
  figures_.setTextFormat(Qt::RichText);
  figures_.setWordWrap(true);
  figures_.setAlignment(Qt::AlignLeft | Qt::AlignTop);
  figures_.setContentsMargins(4, 0, 4, 0);
  figures_.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  layout_.setContentsMargins(2, 2, 2, 2);
  layout_.setSpacing(2);
  layout_.addWidget(&figures_);
}

ChartPlot& Chart::AddPlot(int stretch, bool has_cross_hair) {
  auto* const plot = new ChartPlot(this);
  plot->hide();
  layout_.addWidget(plot, stretch);
  plots_.push_back(plot);
  if (has_cross_hair) {
    const auto lines = cross_hairs_.empty() ? QwtPicker::CrossRubberBand : QwtPicker::VLineRubberBand;
    cross_hairs_.push_back(new CrossHair(*this, plot->canvas(), lines));
  }
  return *plot;
}

std::vector<Figure> Chart::FiguresOf(const cli::StyledLine& line) {
  std::vector<Figure> figures;
  for (const cli::Cell& cell : line) {
    figures.push_back({Text(cell.text), CurrentTheme().Of(cell.tone)});
  }
  return figures;
}

void Chart::Show(const std::vector<Figure>& figures, const QString& more) {
  static const QRegularExpression in_chinese(
      QStringLiteral("(?<=\\S)(?=[^\\x00-\\x7F])"));  // no end of a line
  QString plain;
  QString coloured = QStringLiteral("<p style='white-space:pre-wrap'>");
  for (const Figure& figure : figures) {
    plain += figure.text;
    coloured += Coloured(QString(figure.text).replace(in_chinese, QChar(0x2060)), figure.colour);
  }
  figures_.setText(coloured);
  setAccessibleDescription(plain.simplified() + more);
}

void Chart::Redraw() {
  DrawAll();
  if (const bool has_points = Points() > 0; has_points != has_picture_) {
    has_picture_ = has_points;
    for (ChartPlot* const plot : plots_) {
      plot->setVisible(has_points);
    }
    layout_.activate();
    DrawAll();  // the plots know their room only now
  }
}

void Chart::DrawAll() {
  for (ChartPlot* const plot : plots_) {
    plot->Clear();
  }
  if (Points() > 0) {
    DrawPoints();
    for (ChartPlot* const plot : plots_) {
      plot->replot();
    }
  }
  Read(reading_);
}

// Where the point is out of sight there is no cross-hair.
void Chart::Read(std::optional<std::size_t> point) {
  reading_ = point && Points() > 0 ? std::optional(std::min(*point, Points() - 1)) : std::nullopt;
  for (CrossHair* const cross_hair : cross_hairs_) {
    cross_hair->setRubberBandPen(CurrentTheme().averages[0]);
    if (reading_ && plots_.front()->axisInterval(QwtPlot::xBottom).contains(PlaceOf(*reading_).x())) {
      cross_hair->Place(PlaceOf(*reading_));
    } else {
      cross_hair->Hide();
    }
  }
  if (Points() > 0) {
    ShowFigures();
  } else {
    Show({});
  }
}

void Chart::ReadAt(std::optional<QPointF> place) {
  std::size_t nearest = 0;
  for (std::size_t i = 1; place && i < Points(); ++i) {
    if (place->x() < (PlaceOf(i - 1).x() + PlaceOf(i).x()) / 2) {
      break;
    }
    nearest = i;
  }
  Read(place ? std::optional(nearest) : std::nullopt);
}

void Chart::ReadNext(int way) {
  if (reading_) {
    Read(way < 0 ? *reading_ - std::min<std::size_t>(*reading_, 1) : *reading_ + 1);
  } else {
    ReadAt(QPointF(plots_.front()->axisInterval(QwtPlot::xBottom).maxValue(), 0));
  }
}

void Chart::keyPressEvent(QKeyEvent* event) {
  const bool is_left = event->key() == Qt::Key_Left;
  if (event->key() == Qt::Key_Escape && reading_) {
    Read(std::nullopt);
  } else if ((is_left || event->key() == Qt::Key_Right) && !cross_hairs_.empty() && Points() > 0) {
    ReadNext(is_left ? -1 : 1);
  } else {
    QWidget::keyPressEvent(event);
  }
}

bool Chart::event(QEvent* event) {
  const bool done = QWidget::event(event);
  const QEvent::Type type = event->type();
  const bool has_room = type == QEvent::Resize || type == QEvent::Show;
  if (has_room) {
    FitFigures();
  }
  if (has_room || type == QEvent::LanguageChange || type == QEvent::FontChange ||
      type == QEvent::StyleChange) {
    Redraw();
  }
  return done;
}

// So many lines whatever is shown, lest the plots jump.
void Chart::FitFigures() {
  const int wanted = characters_ * fontMetrics().averageCharWidth();
  const int lines = std::clamp(wanted / std::max(width(), 1) + 1, 1, kMostLines);
  figures_.setFixedHeight(lines * fontMetrics().lineSpacing() + kAir);
  layout_.activate();
}

}  // namespace desktop
