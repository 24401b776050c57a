#include "desktop/index_strip.h"

#include <QtGui/QMouseEvent>
#include <QtGui/QPainter>

#include "cli/format/china_time.h"
#include "cli/format/market_rows.h"
#include "cli/views/feed_health.h"
#include "desktop/theme.h"
#include "desktop/words.h"
#include "host/clock.h"

namespace desktop {
namespace {

constexpr int kHeight = 34;
constexpr int kGap = 22;
constexpr int kMargin = 12;
constexpr int kWord = 7;

// Cells of index_rows.h.
enum IndexCell : std::size_t { kName = 1, kLast = 2, kDiff = 3, kChange = 4 };

}  // namespace

class IndexStrip::Bar final : public QWidget {
 public:
  explicit Bar(IndexStrip& strip) : strip_(strip) { setFixedHeight(kHeight); }

 private:
  void paintEvent(QPaintEvent* /*event*/) override {
    const Theme& theme = CurrentTheme();
    QPainter painter(this);
    painter.fillRect(rect(), theme.heading);
    const QString clock = Text(cli::DateAndTime(common::GetCurrentServerTime()));
    const QString phase = strip_.Note();
    painter.setFont(FigureFont());
    const int clock_width = painter.fontMetrics().horizontalAdvance(clock);
    painter.setPen(theme.text);
    painter.drawText(rect().adjusted(0, 0, -kMargin, 0), Qt::AlignRight | Qt::AlignVCenter, clock);
    painter.setFont(FigureFont(1, true));
    const int phase_width = painter.fontMetrics().horizontalAdvance(phase);
    painter.setPen(theme.accent);
    painter.drawText(rect().adjusted(0, 0, -kMargin - clock_width - kGap / 2, 0),
                     Qt::AlignRight | Qt::AlignVCenter, phase);
    const int end = width() - 2 * kMargin - clock_width - phase_width - kGap;
    int x = kMargin;
    places_.clear();
    for (const IndexMarketSummary& index : Indices()) {
      const std::vector<cli::Cell> cells = cli::IndexCells(index);
      const int begin = x;
      for (const auto& [cell, bold, wanted] :
           {std::tuple(kName, false, true), std::tuple(kLast, true, true),
            std::tuple(kDiff, false, width() > 1500), std::tuple(kChange, false, true)}) {
        if (!wanted) {
          continue;
        }
        painter.setFont(FigureFont(1, bold));
        const QString text = Text(cells[cell].text);
        const int word = painter.fontMetrics().horizontalAdvance(text);
        if (x + word > end) {
          return;
        }
        painter.setPen(cell == kName ? theme.text : theme.Of(cells[cell].tone));
        painter.drawText(QRect(x, 0, word + 1, height()), Qt::AlignVCenter, text);
        x += word + kWord;
      }
      places_.push_back({{begin, 0, x - begin, height()}, cli::SecurityOf(index.code, index.name)});
      x += kGap - kWord;
    }
    if (places_.empty()) {
      painter.setFont(FigureFont());
      painter.setPen(theme.dim);
      painter.drawText(rect().adjusted(kMargin, 0, 0, 0), Qt::AlignVCenter, StateText(strip_.Report()));
    }
  }
  void mousePressEvent(QMouseEvent* event) override {
    for (const auto& [place, security] : places_) {
      if (place.contains(event->pos())) {
        strip_.desk().Select(security);
      }
    }
  }
  [[nodiscard]] const std::vector<IndexMarketSummary>& Indices() const {
    static const std::vector<IndexMarketSummary> kNone;
    return strip_.indices_.newest() == nullptr ? kNone : strip_.indices_.newest()->data;
  }

  IndexStrip& strip_;
  std::vector<std::pair<QRect, cli::Security>> places_;
};

IndexStrip::IndexStrip(Desk& desk)
    : Pane(desk, QStringLiteral("indices")),
      indices_(Add(std::make_unique<cli::IndexView>(desk.views()))),
      phase_(Add(std::make_unique<cli::StateView>(desk.views()))),
      bar_(new Bar(*this)) {
  setMinimumSize(0, 0);
  setFixedHeight(kHeight);
  layout()->addWidget(bar_);
  HideState();
  connect(&desk, &Desk::ticked, bar_, [this] {
    if (seen()) {
      bar_->update();
    }
  });
  connect(&desk, &Desk::listsLoaded, this, [this] { Refresh(false); });
}

QString IndexStrip::Figures() const {
  QString text;
  if (indices_.newest() != nullptr) {
    for (const IndexMarketSummary& index : indices_.newest()->data) {
      for (const cli::Cell& cell : cli::IndexCells(index)) {
        text += Text(cell.text) + QLatin1Char(' ');
      }
    }
  }
  return text;
}

QString IndexStrip::Note() const {
  const QString caption = Shown(phase_.Caption());
  const QString phase = Text(cli::PhaseName(cli::CurrentPhase()));
  return caption.isEmpty() ? phase : caption + Word(qPrintable(QLatin1Char(' ') + phase), "");
}

void IndexStrip::Draw() {
  bar_->setAccessibleName(Note());
  bar_->setAccessibleDescription(Figures());
  bar_->update();
}

}  // namespace desktop
