#include "desktop/charts/chart.h"

#include <QEvent>

#include "cli/format/words.h"

namespace desktop {

Chart::Chart(const char* name, QWidget* parent)
    : QWidget(parent),
      stack_(*new QStackedLayout(this)),
      reason_(*new QLabel(this)),
      body_(*new QVBoxLayout),
      figures_(*new FiguresLine(this)) {
  setObjectName(QLatin1String(name));
  setAutoFillBackground(true);
  setFocusPolicy(Qt::StrongFocus);
  reason_.setTextFormat(Qt::PlainText);
  reason_.setWordWrap(true);
  reason_.setAlignment(Qt::AlignCenter);
  reason_.setMargin(12);
  auto* const picture = new QWidget(this);
  picture->setLayout(&body_);
  body_.setContentsMargins(2, 2, 2, 2);
  body_.setSpacing(2);
  body_.addWidget(&figures_);
  stack_.addWidget(&reason_);
  stack_.addWidget(picture);
}

void Chart::SetColours(const ChartColours& colours) {
  if (colours != colours_) {
    colours_ = colours;
    Redraw();
  }
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

void Chart::Redraw() {
  QPalette palette = this->palette();
  palette.setColor(QPalette::Window, colours_.background);
  palette.setColor(QPalette::WindowText, colours_.dim);
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
  if (event->type() == QEvent::LanguageChange || event->type() == QEvent::FontChange) {
    Redraw();
  }
}

// The number of labels follows the room, which is known once the layout has run.
void Chart::resizeEvent(QResizeEvent* event) {
  QWidget::resizeEvent(event);
  body_.activate();
  Redraw();
}

void Chart::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  body_.activate();
  Redraw();
}

}  // namespace desktop
