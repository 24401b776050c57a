#include "desktop/index_strip.h"

#include "cli/format/china_time.h"
#include "cli/format/market_rows.h"
#include "cli/views/feed_health.h"
#include "desktop/theme.h"
#include "desktop/words.h"
#include "host/clock.h"

namespace desktop {
namespace {

constexpr int kHeight = 34;
constexpr int kGap = 12;
constexpr int kRoomForDifferences = 1500;

// Cells of index_rows.h.
enum IndexCell : std::size_t { kName = 1, kLast = 2, kDiff = 3, kChange = 4 };

}  // namespace

IndexStrip::IndexStrip(Desk& desk)
    : Pane(desk, QStringLiteral("indices")),
      indices_(Add(std::make_unique<cli::IndexView>(desk.views()))),
      phase_(Add(std::make_unique<cli::StateView>(desk.views()))),
      figures_(new QLabel),
      caption_(new QLabel),
      clock_(new QLabel) {
  setMinimumSize(0, 0);
  setFixedHeight(kHeight);
  setAutoFillBackground(true);
  setBackgroundRole(QPalette::Button);
  HideBody();
  for (QLabel* const label : {figures_, caption_, clock_}) {
    AddTools().addWidget(label, label == figures_ ? 1 : 0);
  }
  AddTools().setContentsMargins(kGap, 0, kGap, 0);
  AddTools().setSpacing(kGap);
  figures_->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
  figures_->setTextFormat(Qt::RichText);
  caption_->setTextFormat(Qt::PlainText);
  caption_->setForegroundRole(QPalette::Link);
  caption_->setFont(FigureFont(1, true));
  connect(figures_, &QLabel::linkActivated, this, [this](const QString& number) {
    const IndexMarketSummary& index = indices_.newest()->data.at(number.toUInt());
    this->desk().Select(cli::SecurityOf(index.code, index.name));
  });
  connect(&desk, &Desk::ticked, this, [this] {
    if (seen()) {
      Draw();
    }
  });
  connect(&desk, &Desk::listsLoaded, this, [this] { Refresh(false); });
}

QString IndexStrip::Note() const {
  const QString caption = Shown(phase_.Caption());
  const QString phase = Text(cli::PhaseName(cli::CurrentPhase()));
  return caption.isEmpty() ? phase : caption + Word(" " + phase.toStdString(), "");
}

// As many indices as have room; each is a link that selects it.
void IndexStrip::Draw() {
  clock_->setText(Text(cli::DateAndTime(common::GetCurrentServerTime())));
  caption_->setText(Note());
  caption_->setAccessibleName(Note());
  QStringList links;
  QString plain;
  const auto* const newest = indices_.newest();
  for (std::size_t i = 0; newest != nullptr && i < newest->data.size(); ++i) {
    const std::vector<cli::Cell> cells = cli::IndexCells(newest->data[i]);
    QString words;
    for (const IndexCell cell : {kName, kLast, kDiff, kChange}) {
      const QString text = Text(cells[cell].text);
      const QString word =
          Coloured(text, CurrentTheme().Of(cell == kName ? cli::Tone::kPlain : cells[cell].tone));
      plain += text + QLatin1Char(' ');
      if (cell != kDiff || width() > kRoomForDifferences) {
        words += (cell == kLast ? QStringLiteral("<b>%1</b>&nbsp; ") : QStringLiteral("%1&nbsp; ")).arg(word);
      }
    }
    links << QStringLiteral("<a href='%1' style='text-decoration:none'>%2</a>").arg(i).arg(words);
  }
  figures_->setAccessibleDescription(plain);
  bool fits = false;
  for (; !fits && !links.isEmpty(); links.removeLast()) {
    figures_->setText(links.join(QStringLiteral("&nbsp; ")));
    fits = figures_->sizeHint().width() <= figures_->width();
  }
  if (!fits) {
    figures_->setText(Coloured(StateText(Report()), CurrentTheme().dim));
  }
}

}  // namespace desktop
