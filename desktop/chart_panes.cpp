#include "desktop/chart_panes.h"

#include <array>

#include "cli/format/chart_headings.h"
#include "cli/format/market_rows.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::array kDays = {1, 2, 3, 5, 10};

}  // namespace

MinutePane::MinutePane(Desk& desk, const QString& id)
    : Pane(desk, id),
      line_(Add(std::make_unique<cli::MinuteLineView>(desk.views()))),
      events_(Add(std::make_unique<cli::EventsView>(desk.views(), 0, std::nullopt))),
      days_(new QComboBox),
      chart_(new MinuteChart) {
  for (const int count : kDays) {
    days_->addItem(count == 1 ? Word("Today", "分时") : Word("%1 days", "%1日").arg(count), count);
  }
  days_->setFocusPolicy(Qt::NoFocus);
  tools().setContentsMargins(6, 3, 6, 3);
  tools().addWidget(days_);
  tools().addStretch();
  connect(days_, QOverload<int>::of(&QComboBox::activated), this, [this] { ShowDays(); });
  SetBody(chart_);
}

void MinutePane::ShowDays() {
  const int count = days_->currentData().toInt();
  line_.SelectDays(count == 1 ? 0 : line_.Session(), count);
  Draw();
  ShowState();
}

bool MinutePane::HasPicture() const {
  return line_.has_data() && line_.WhyEmpty().empty();
}

void MinutePane::Draw() {
  if (line_.newest() != nullptr) {
    chart_->SetLine(line_.newest()->data, cli::HasAverage(line_.security()));
  }
  if (events_.newest() != nullptr) {
    chart_->SetEvents(cli::EventsOf(line_.security(), events_.newest()->data));
  }
}

}  // namespace desktop
