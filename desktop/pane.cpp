#include "desktop/pane.h"

#include <algorithm>
#include <utility>

#include "cli/views/feed_health.h"
#include "desktop/theme.h"

namespace desktop {
namespace {

constexpr int kMargin = 6;
constexpr int kStateHeight = 20;
constexpr double kSmall = 0.9;

QColor ColourOf(cli::FeedState state) {
  const bool is_wrong = state == cli::FeedState::kStale || state == cli::FeedState::kFailed;
  return state == cli::FeedState::kLive        ? QColor(0x35b06b)
         : state == cli::FeedState::kUnchanged ? CurrentTheme().accent
         : is_wrong                            ? CurrentTheme().warning
                                               : CurrentTheme().dim;
}

}  // namespace

Pane::Pane(Desk& desk, QString id)
    : desk_(desk),
      id_(std::move(id)),
      stack_(new QStackedWidget),
      reason_(new QLabel),
      state_(new QLabel),
      note_(new QLabel(state_)) {
  auto* const layout = new QVBoxLayout(this);
  layout->setContentsMargins(0, 0, 0, 0);
  layout->setSpacing(0);
  layout->addWidget(stack_, 1);
  layout->addWidget(state_);
  reason_->setAlignment(Qt::AlignCenter);
  reason_->setWordWrap(true);
  reason_->setTextFormat(Qt::PlainText);
  reason_->setMargin(2 * kMargin);
  reason_->setAutoFillBackground(true);
  reason_->setBackgroundRole(QPalette::Base);
  reason_->setForegroundRole(QPalette::PlaceholderText);
  stack_->addWidget(reason_);
  state_->setFont(FigureFont(kSmall));
  state_->setTextFormat(Qt::RichText);
  state_->setIndent(kMargin);
  state_->setFixedHeight(kStateHeight);
  state_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
  state_->setAutoFillBackground(true);
  state_->setBackgroundRole(QPalette::Button);
  note_->setTextFormat(Qt::PlainText);
  note_->setForegroundRole(QPalette::PlaceholderText);
  auto* const beside = new QHBoxLayout(state_);
  beside->setContentsMargins(0, 0, kMargin, 0);
  beside->addWidget(note_, 0, Qt::AlignRight);
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

void Pane::Follow(cli::View& view) {
  if (!desk_.current().code.empty()) {
    view.Select(desk_.current());
  }
  view.OnArrivals([this] { DrawAndSay(); });
}

void Pane::SetBody(QWidget* body) {
  stack_->addWidget(body);
  setFocusProxy(body);
}

QHBoxLayout& Pane::AddTools() {
  if (tools_ == nullptr) {
    tools_ = new QHBoxLayout;
    tools_->setContentsMargins(kMargin, 3, kMargin, 3);
    tools_->setSpacing(kMargin);
    tools_->addStretch();
    static_cast<QVBoxLayout*>(layout())->insertLayout(0, tools_);
  }
  return *tools_;
}

void Pane::AddKnob(cli::Knob knob) {
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
  AddTools().insertWidget(AddTools().count() - 1, box);
}

void Pane::UpdateSeen() {
  const bool now = isVisible() && on_stage_ && !window()->isMinimized();
  if (std::exchange(seen_, now) == now) {
    return;
  }
  for (const auto& view : views_) {
    now ? view->Show() : view->Hide();
  }
  DrawAndSay();
}

bool Pane::event(QEvent* event) {
  const bool done = QWidget::event(event);
  if (event->type() == QEvent::Show || event->type() == QEvent::Hide) {
    UpdateSeen();
  }
  return done;
}

void Pane::Pin(const cli::Security& security) {
  pinned_ = security;
  OnSecurity(security);
  DrawAndSay();
}

void Pane::OnSecurity(const cli::Security& security) {
  for (const auto& view : views_) {
    view->Select(security);
  }
}

void Pane::Refresh(bool at_interval) {
  for (const auto& view : views_) {
    // What is asked once is asked again after a failure.
    const bool rests = view->PollsItself() || (view->IsAskedOnce() && view->Failure().empty());
    if (seen_ && !(at_interval && rests)) {
      view->Refresh();
    }
  }
}

bool Pane::IsSettled() const {
  return std::none_of(views_.begin(), views_.end(),
                      [](const auto& view) { return ReportOf(*view).state == cli::FeedState::kWaiting; });
}

void Pane::ShowState() {
  if (!seen_) {
    return;
  }
  const cli::FeedReport report = Report();
  const QString text = StateText(report);
  const QColor colour = ColourOf(report.state);
  note_->setText(Note());
  const int room = state_->width() - note_->sizeHint().width() - 5 * kMargin;
  const QString shown = state_->fontMetrics().elidedText(text, Qt::ElideRight, room);
  state_->setText(Coloured(QStringLiteral("● "), colour) +
                  Coloured(shown, colour == CurrentTheme().warning ? colour : CurrentTheme().dim));
  state_->setAccessibleName(text);
  state_->setToolTip(text);
  const bool has_picture = stack_->count() > 1 && HasPicture();
  if (!has_picture) {
    reason_->setText(text);
  }
  stack_->setCurrentIndex(has_picture ? 1 : 0);
}

void Pane::DrawAndSay() {
  if (seen_) {
    Draw();
    ShowState();
  }
}

}  // namespace desktop
