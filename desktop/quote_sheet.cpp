#include "desktop/quote_sheet.h"

#include <QtGui/QPainter>
#include <algorithm>

#include "cli/format/quote_sheet.h"
#include "cli/format/record_rows.h"
#include "desktop/theme.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr int kMargin = 10;
constexpr int kHeadRows = 4;
constexpr int kLeastRow = 15;
constexpr int kMostRow = 24;
constexpr int kBarAlpha = 38;

// "ask1" is the level's name in any language; people here say 卖一.
QString LevelName(const QString& name) {
  static const QString digits = QStringLiteral("一二三四五");
  const QString side = name.startsWith(QLatin1String("ask")) ? QStringLiteral("卖") : QStringLiteral("买");
  return Word(name.toStdString(), (side + digits.mid(name.right(1).toInt() - 1, 1)).toStdString());
}

// One picture of a sheet, row after row from the top down.
class Painting {
 public:
  Painting(QWidget& sheet, const StockMarketItem& quote)
      : painter_(&sheet), quote_(quote), tables_(cli::QuoteTablesOf(quote)), right_(sheet.width() - kMargin) {
    const auto rows =
        tables_.beside.rows().size() + std::max(tables_.prices.rows().size(), tables_.trade.rows().size());
    row_ = std::clamp((sheet.height() - 3 * kMargin) / (static_cast<int>(rows) + kHeadRows), kLeastRow,
                      kMostRow);
    painter_.fillRect(sheet.rect(), CurrentTheme().base);
  }

  void Head() {
    const QString name = Shown(quote_.name);
    painter_.setFont(FigureFont(1.3, true));
    const int after_name = std::min(kMargin + Width(name) + kMargin, right_);
    Draw(kMargin, right_, Qt::AlignLeft, name, CurrentTheme().text);
    painter_.setFont(FigureFont());
    Draw(after_name, right_, Qt::AlignLeft, Shown(quote_.code), CurrentTheme().dim);
    Draw(kMargin, right_, Qt::AlignRight, Text(cli::StatusText(quote_.status)), CurrentTheme().warning);
    y_ += row_;
    const cli::StyledLine price = cli::PriceLine(quote_);
    const QString last = Text(price[0].text).remove(Text(cli::kRose)).remove(Text(cli::kFell)).trimmed();
    painter_.setFont(FigureFont(2.4, true));
    Draw(kMargin, right_, Qt::AlignLeft, last, CurrentTheme().Of(price[0].tone), 2);
    const int beside = kMargin + Width(last) + 2 * kMargin;
    painter_.setFont(FigureFont(1.15));
    for (const std::size_t cell : {2U, 4U}) {
      Draw(beside, right_, Qt::AlignLeft, price[cell]);
      y_ += row_;
    }
    y_ += kMargin / 2;
  }

  // The levels of the book with bars of their volumes, or the members of an index.
  void Beside() {
    painter_.setFont(FigureFont());
    Rule();
    const auto& rows = tables_.beside.rows();
    const bool is_book = quote_.symbol_type == stock::kSymbolStock;
    const std::size_t half = rows.size() / 2;
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const QString name = Text(rows[i][0].text).trimmed();
      Draw(kMargin, right_, Qt::AlignLeft, is_book ? LevelName(name) : TitleOf(rows[i][0].text),
           CurrentTheme().dim);
      if (is_book) {
        if (i == half) {
          Rule();
        }
        Bar(i < half ? quote_.ask_volumes : quote_.bid_volumes, i < half ? half - 1 - i : i - half,
            i < half ? CurrentTheme().fall : CurrentTheme().rise);
        Draw(kMargin, Middle(), Qt::AlignRight, rows[i][1]);
      }
      Draw(kMargin, right_, Qt::AlignRight, rows[i].back());
      y_ += row_;
    }
    y_ += kMargin / 4;
    Rule();
  }

  void Figures() {
    const int top = y_;
    const int middle = (kMargin + right_) / 2;
    for (const cli::Table* const table : {&tables_.prices, &tables_.trade}) {
      const bool is_left = table == &tables_.prices;
      const int from = is_left ? kMargin : middle + kMargin;
      const int to = is_left ? middle - kMargin : right_;
      y_ = top;
      for (const auto& row : table->rows()) {
        Draw(from, to, Qt::AlignLeft, Text(row[0].text).replace(QLatin1Char('_'), QLatin1Char(' ')),
             CurrentTheme().dim);
        Draw(from, to, Qt::AlignRight, row[1]);
        y_ += row_;
      }
    }
  }

 private:
  [[nodiscard]] int Middle() const { return kMargin + (right_ - kMargin) * 3 / 5; }
  [[nodiscard]] int Width(const QString& text) const {
    return painter_.fontMetrics().horizontalAdvance(text);
  }
  void Rule() {
    painter_.setPen(CurrentTheme().line);
    painter_.drawLine(kMargin, y_, right_, y_);
  }
  void Draw(int from, int to, Qt::Alignment side, const QString& text, const QColor& colour, int rows = 1) {
    painter_.setPen(colour);
    painter_.drawText(QRect(from, y_, to - from, rows * row_), static_cast<int>(side | Qt::AlignVCenter),
                      painter_.fontMetrics().elidedText(text, Qt::ElideRight, to - from));
  }
  void Draw(int from, int to, Qt::Alignment side, const cli::Cell& cell) {
    Draw(from, to, side, Text(cell.text).trimmed(), CurrentTheme().Of(cell.tone));
  }
  // The largest volume of the book has the longest bar.
  template <class Levels>
  void Bar(const Levels& levels, std::size_t level, QColor colour) {
    double largest = 1;
    for (const auto* const side : {&quote_.ask_volumes, &quote_.bid_volumes}) {
      for (const auto& one : *side) {
        largest = std::max(largest, one.present ? static_cast<double>(one.value) : 0);
      }
    }
    if (level < levels.size() && levels[level].present) {
      colour.setAlpha(kBarAlpha);
      const double part = static_cast<double>(levels[level].value) / largest;
      const int length = static_cast<int>(part * (right_ - Middle()));
      painter_.fillRect(right_ - length, y_ + 2, length, row_ - 4, colour);
    }
  }

  QPainter painter_;
  const StockMarketItem& quote_;
  const cli::QuoteTables tables_;
  const int right_;
  int row_ = 0;  // height of one
  int y_ = kMargin / 2;
};

}  // namespace

void QuoteSheet::Show(const StockMarketItem& quote) {
  if (quote == quote_) {
    return;
  }
  quote_ = quote;
  QString text;
  for (const cli::StyledLine& line : cli::NarrowQuoteSheet(quote_)) {
    text += Text(cli::Render(line, cli::Palette(false))).trimmed() + QLatin1Char('\n');
  }
  setAccessibleDescription(text);
  update();
}

void QuoteSheet::paintEvent(QPaintEvent* /*event*/) {
  Painting painting(*this, quote_);
  painting.Head();
  painting.Beside();
  painting.Figures();
}

}  // namespace desktop
