#include "desktop/pane.h"

#include <QtGui/QPainter>
#include <utility>

#include "cli/views/feed_health.h"
#include "desktop/theme.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr int kMargin = 6;
constexpr int kStateHeight = 20;
constexpr int kDot = 7;
constexpr double kSmall = 0.9;

QColor ColourOf(cli::FeedState state) {
  const Theme& theme = CurrentTheme();
  switch (state) {
    case cli::FeedState::kLive:
      return QColor(0x35b06b);
    case cli::FeedState::kUnchanged:
      return theme.accent;
    case cli::FeedState::kStale:
    case cli::FeedState::kFailed:
      return theme.warning;
    case cli::FeedState::kWaiting:
    case cli::FeedState::kClosed:
    case cli::FeedState::kEmpty:
      break;
  }
  return theme.dim;
}

bool IsWrong(cli::FeedState state) {
  return state == cli::FeedState::kStale || state == cli::FeedState::kFailed;
}

}  // namespace

StateLine::StateLine(QWidget* parent) : QWidget(parent) {
  setFixedHeight(kStateHeight);
}

void StateLine::Show(const cli::FeedReport& report, const QString& note) {
  const QString text = StateText(report);
  if (report.state == report_.state && text == accessibleName() && note == note_) {
    return;
  }
  report_ = report;
  note_ = note;
  setAccessibleName(text);
  setToolTip(text);
  update();
}

void StateLine::paintEvent(QPaintEvent* /*event*/) {
  const Theme& theme = CurrentTheme();
  QPainter painter(this);
  painter.fillRect(rect(), theme.heading);
  painter.setFont(FigureFont(kSmall));
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(ColourOf(report_.state));
  painter.drawEllipse(QRect(kMargin, (height() - kDot) / 2, kDot, kDot));
  painter.setPen(IsWrong(report_.state) ? theme.warning : theme.dim);
  const QFontMetrics metrics = painter.fontMetrics();
  const int note_width = note_.isEmpty() ? 0 : metrics.horizontalAdvance(note_) + 2 * kMargin;
  const QRect left = rect().adjusted(2 * kMargin + kDot, 0, -note_width - kMargin, 0);
  painter.drawText(left, Qt::AlignVCenter,
                   metrics.elidedText(accessibleName(), Qt::ElideRight, left.width()));
  painter.setPen(theme.dim);
  painter.drawText(rect().adjusted(0, 0, -kMargin, 0), Qt::AlignVCenter | Qt::AlignRight, note_);
}

Pane::Pane(Desk& desk, QString id)
    : desk_(desk),
      id_(std::move(id)),
      tools_(new QHBoxLayout),
      stack_(new QStackedWidget),
      reason_(new QLabel),
      state_(new StateLine(this)) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addLayout(tools_);
  layout->addWidget(stack_, 1);
  layout->addWidget(state_);
  tools_->setSpacing(kMargin);
  reason_->setAlignment(Qt::AlignCenter);
  reason_->setWordWrap(true);
  reason_->setTextFormat(Qt::PlainText);
  reason_->setMargin(2 * kMargin);
  reason_->setAutoFillBackground(true);
  reason_->setBackgroundRole(QPalette::Base);
  reason_->setForegroundRole(QPalette::PlaceholderText);
  stack_->addWidget(reason_);
  setMinimumSize(120, 80);
  desk_.Register(*this);
  connect(&desk_, &Desk::selected, this, [this] {
    if (pinned_.code.empty()) {
      OnSecurity(desk_.current());
      DrawAndSay();
    }
  });
  connect(&desk_, &Desk::themeChanged, this, [this] { DrawAndSay(); });
}

Pane::~Pane() {
  desk_.Unregister(*this);
}

void Pane::Take(std::unique_ptr<cli::View> view) {
  auto live = std::make_unique<LiveView>(std::move(view));
  if (!desk_.current().code.empty()) {
    live->view().Select(desk_.current());
  }
  connect(live.get(), &LiveView::arrived, this, [this] { DrawAndSay(); });
  views_.push_back(std::move(live));
}

void Pane::SetBody(QWidget* body) {
  stack_->addWidget(body);
  setFocusProxy(body);
}

void Pane::HideState() {
  stack_->hide();
  state_->hide();
}

QComboBox* Pane::AddKnob(cli::Knob knob) {
  const auto setting = view().SettingOf(knob);
  auto* const box = new QComboBox;
  box->setFocusPolicy(Qt::NoFocus);
  for (const cli::Choice& choice : setting->choices) {
    box->addItem(NameOf(choice), choice.number);
  }
  // What was chosen last time.
  const QString key = id_ + QStringLiteral("/knob") + QString::number(static_cast<int>(knob));
  view().Set(knob, desk_.settings().value(key, setting->number).toInt());
  box->setCurrentIndex(box->findData(view().SettingOf(knob)->number));
  connect(box, QOverload<int>::of(&QComboBox::activated), this, [this, box, knob, key] {
    const int number = box->currentData().toInt();
    desk_.settings().setValue(key, number);
    view().Set(knob, number);
    OnTurned();
    DrawAndSay();
  });
  if (tools_->isEmpty()) {
    tools_->setContentsMargins(kMargin, 3, kMargin, 3);
    tools_->addStretch();
  }
  tools_->insertWidget(tools_->count() - 1, box);
  return box;
}

QString Pane::Title() const {
  return Text(view().Title());
}

void Pane::SetOnStage(bool on_stage) {
  on_stage_ = on_stage;
  UpdateSeen();
}

void Pane::UpdateSeen() {
  const bool now = isVisible() && on_stage_ && !window()->isMinimized();
  if (std::exchange(seen_, now) == now) {
    return;
  }
  for (const auto& live : views_) {
    if (now) {
      live->view().Show();
    } else {
      live->view().Hide();
    }
  }
  if (now) {
    OnSeen();
    DrawAndSay();
  }
}

void Pane::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  UpdateSeen();
}

void Pane::hideEvent(QHideEvent* event) {
  QWidget::hideEvent(event);
  UpdateSeen();
}

void Pane::Pin(const cli::Security& security) {
  pinned_ = security;
  OnSecurity(security);
  DrawAndSay();
}

void Pane::OnSecurity(const cli::Security& security) {
  for (const auto& live : views_) {
    live->view().Select(security);
  }
}

void Pane::Refresh(bool at_interval) {
  for (const auto& live : views_) {
    cli::View& one = live->view();
    if (seen_ && !(at_interval && (one.PollsItself() || one.IsAskedOnce()))) {
      one.Refresh();
    }
  }
}

cli::FeedReport Pane::Report() const {
  return view().Report(cli::View::Clock::now(), cli::CurrentPhase());
}

bool Pane::IsSettled() const {
  const auto now = cli::View::Clock::now();
  for (const auto& live : views_) {
    if (live->view().Report(now, cli::CurrentPhase()).state == cli::FeedState::kWaiting) {
      return false;
    }
  }
  return true;
}

QString Pane::Note() const {
  return Text(view().Note());
}

void Pane::ShowState() {
  if (!seen_) {
    return;
  }
  const cli::FeedReport report = Report();
  state_->Show(report, Note());
  const bool has_picture = stack_->count() > 1 && HasPicture();
  if (!has_picture) {
    reason_->setText(StateText(report));
  }
  if (stack_->count() > 1) {
    stack_->setCurrentIndex(has_picture ? 1 : 0);
  }
}

void Pane::DrawAndSay() {
  if (seen_) {
    Draw();
    ShowState();
  }
}

}  // namespace desktop
