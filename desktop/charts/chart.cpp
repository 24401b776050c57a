#include "desktop/charts/chart.h"

#include <QEvent>

#include <algorithm>

#include "cli/format/words.h"

namespace desktop {
namespace {

constexpr int kMostLines = 3;  // of figures
constexpr int kAir = 4;        // pixels: signs of other fonts may be higher

}  // namespace

Chart::Chart(const char* name, int characters, QWidget* parent)
    : QWidget(parent),
      characters_(characters),
      stack_(*new QStackedLayout(this)),
      reason_(*new QLabel(this)),
      body_(*new QVBoxLayout),
      figures_(*new QLabel(this)) {
  setObjectName(QLatin1String(name));
  setAutoFillBackground(true);
  setFocusPolicy(Qt::StrongFocus);
  reason_.setTextFormat(Qt::PlainText);
  reason_.setWordWrap(true);
  reason_.setAlignment(Qt::AlignCenter);
  reason_.setMargin(12);
  figures_.setTextFormat(Qt::RichText);
  figures_.setWordWrap(true);
  figures_.setAlignment(Qt::AlignLeft | Qt::AlignTop);
  figures_.setContentsMargins(4, 0, 4, 0);
  figures_.setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  auto* const picture = new QWidget(this);
  picture->setLayout(&body_);
  body_.setContentsMargins(2, 2, 2, 2);
  body_.setSpacing(2);
  body_.addWidget(&figures_);
  stack_.addWidget(&reason_);
  stack_.addWidget(picture);
}

void Chart::SetReason(const QString& reason) {
  if (reason != reason_.text()) {
    reason_.setText(reason);
    if (!HasPicture()) {
      Describe(reason);
    }
  }
}

QString Chart::Word(std::string_view name) {
  return QString::fromStdString(cli::LabelOf(name));
}

std::vector<Figure> Chart::FiguresOf(const cli::StyledLine& line) {
  std::vector<Figure> figures;
  for (const cli::Cell& cell : line) {
    figures.push_back({QString::fromStdString(cell.text), CurrentTheme().Of(cell.tone)});
  }
  return figures;
}

void Chart::Show(const std::vector<Figure>& figures, const QString& more) {
  QString plain;
  QString coloured = QStringLiteral("<p style='white-space:pre-wrap'>");
  for (const Figure& figure : figures) {
    plain += figure.text;
    coloured += QStringLiteral("<span style='color:%1'>%2</span>")
                    .arg(figure.colour.name(), figure.text.toHtmlEscaped());
  }
  figures_.setText(coloured);
  Describe(plain.simplified() + more);
}

// So many lines whatever is shown, lest the plots jump.
void Chart::GiveRoom() {
  const int wanted = characters_ * fontMetrics().averageCharWidth();
  const int lines = std::clamp(wanted / std::max(width(), 1) + 1, 1, kMostLines);
  figures_.setFixedHeight(lines * fontMetrics().lineSpacing() + kAir);
  body_.activate();
}

void Chart::Redraw() {
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, CurrentTheme().base);
  palette.setColor(QPalette::WindowText, CurrentTheme().dim);
  setPalette(palette);
  const bool drawn = Draw();
  if (drawn != HasPicture()) {
    stack_.setCurrentIndex(drawn ? 1 : 0);
    body_.activate();
    Draw();  // the plots know their room only now
  }
  if (!drawn) {
    Describe(reason_.text());
  }
}

void Chart::Describe(const QString& text) {
  if (text != accessibleDescription()) {
    setAccessibleDescription(text);
  }
}

void Chart::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() == QEvent::LanguageChange || event->type() == QEvent::FontChange ||
      event->type() == QEvent::StyleChange) {
    Redraw();
  }
}

// The number of labels follows the room, which is known once the layout has run.
void Chart::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  GiveRoom();
  Redraw();
}

void Chart::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  GiveRoom();
  Redraw();
}

}  // namespace desktop
