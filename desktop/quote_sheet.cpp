#include "desktop/quote_sheet.h"

#include <QtGui/QPainter>
#include <algorithm>
#include <array>
#include <string>

#include "cli/format/quote_sheet.h"
#include "cli/format/record_rows.h"
#include "cli/format/words.h"
#include "desktop/theme.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr int kMargin = 10;
constexpr int kLeastRow = 15;
constexpr int kMostRow = 24;
constexpr int kBarAlpha = 38;

QString Trimmed(const cli::Cell& cell) {
  return Text(cell.text).trimmed();
}

// "ask1" is the level's name in any language; people here say 卖一.
QString LevelName(const QString& name) {
  if (cli::CurrentLanguage() != cli::Language::kChinese || name.size() != 4) {
    return name;
  }
  static const QString digits = QStringLiteral("一二三四五");
  const int level = name.at(3).digitValue();
  const bool is_ask = name.startsWith(QLatin1String("ask"));
  return level < 1 || level > digits.size()
             ? name
             : (is_ask ? QStringLiteral("卖") : QStringLiteral("买")) + digits.at(level - 1);
}

double LargestVolume(const StockMarketItem& quote) {
  double largest = 1;
  for (const auto* const side : {&quote.ask_volumes, &quote.bid_volumes}) {
    for (const auto& level : *side) {
      largest = std::max(largest, level.present ? static_cast<double>(level.value) : 0);
    }
  }
  return largest;
}

}  // namespace

struct QuoteSheet::Painting {
  QPainter& painter;
  int y;
  int row;  // height of one
  int left;
  int right;
  cli::QuoteTables tables;

  [[nodiscard]] QRect Row(int from, int to) const { return {from, y, to - from, row}; }
  void Draw(const QRect& room, Qt::Alignment alignment, const QString& text, const QColor& colour) {
    painter.setPen(colour);
    painter.drawText(room, static_cast<int>(alignment | Qt::AlignVCenter),
                     painter.fontMetrics().elidedText(text, Qt::ElideRight, room.width()));
  }
  void Rule() {
    painter.setPen(CurrentTheme().line);
    painter.drawLine(left, y, right, y);
  }
};

QuoteSheet::QuoteSheet(QWidget* parent) : QWidget(parent) {
  setFocusPolicy(Qt::StrongFocus);
}

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
  QPainter painter(this);
  painter.fillRect(rect(), CurrentTheme().base);
  cli::QuoteTables tables = cli::QuoteTablesOf(quote_);
  const auto rows = static_cast<int>(tables.beside.rows().size() +
                                     std::max(tables.prices.rows().size(), tables.trade.rows().size()));
  constexpr int kHeadRows = 4;
  const int row = std::clamp((height() - 3 * kMargin) / (rows + kHeadRows), kLeastRow, kMostRow);
  Painting at{painter, kMargin / 2, row, kMargin, width() - kMargin, std::move(tables)};
  PaintHead(at);
  PaintBeside(at);
  PaintFigures(at);
}

void QuoteSheet::PaintHead(Painting& at) const {
  const Theme& theme = CurrentTheme();
  at.painter.setFont(FigureFont(1.3, true));
  const QString name = Shown(quote_.name);
  const int after_name = at.left + at.painter.fontMetrics().horizontalAdvance(name) + kMargin;
  at.Draw(at.Row(at.left, at.right), Qt::AlignLeft, name, theme.text);
  at.painter.setFont(FigureFont());
  at.Draw(at.Row(std::min(after_name, at.right), at.right), Qt::AlignLeft, Shown(quote_.code), theme.dim);
  at.Draw(at.Row(at.left, at.right), Qt::AlignRight, Text(cli::StatusText(quote_.status)), theme.warning);
  at.y += at.row;
  const cli::StyledLine price = cli::PriceLine(quote_);
  QString last = Trimmed(price[0]);
  last.remove(Text(cli::kRose)).remove(Text(cli::kFell));
  const QRect tall(at.left, at.y, at.right - at.left, 2 * at.row);
  at.painter.setFont(FigureFont(2.4, true));
  at.Draw(tall, Qt::AlignLeft, last, theme.Of(price[0].tone));
  const int beside = at.left + at.painter.fontMetrics().horizontalAdvance(last) + 2 * kMargin;
  at.painter.setFont(FigureFont(1.15));
  at.Draw({beside, at.y, at.right - beside, at.row}, Qt::AlignLeft, Trimmed(price[2]),
          theme.Of(price[2].tone));
  at.Draw({beside, at.y + at.row, at.right - beside, at.row}, Qt::AlignLeft, Trimmed(price[4]),
          theme.Of(price[4].tone));
  at.y += 2 * at.row + kMargin / 2;
}

// The levels of the book with bars of their volumes, or the members of an index.
void QuoteSheet::PaintBeside(Painting& at) const {
  const Theme& theme = CurrentTheme();
  at.painter.setFont(FigureFont());
  at.Rule();
  const double largest = LargestVolume(quote_);
  const auto& rows = at.tables.beside.rows();
  const bool is_book = quote_.symbol_type == stock::kSymbolStock;
  const auto half = rows.size() / 2;
  const int middle = at.left + (at.right - at.left) * 3 / 5;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (is_book && i == half) {
      at.Rule();
    }
    const QString name = Trimmed(rows[i][0]);
    at.Draw(at.Row(at.left, at.right), Qt::AlignLeft,
            is_book ? LevelName(name) : Text(cli::LabelOf(rows[i][0].text)), theme.dim);
    if (is_book) {
      const auto level = i < half ? half - 1 - i : i - half;
      const auto& side = i < half ? quote_.ask_volumes : quote_.bid_volumes;
      if (level < side.size() && side[level].present) {
        QColor bar = i < half ? theme.fall : theme.rise;
        bar.setAlpha(kBarAlpha);
        const double part = static_cast<double>(side[level].value) / largest;
        const int length = static_cast<int>(part * (at.right - middle));
        at.painter.fillRect(at.right - length, at.y + 2, length, at.row - 4, bar);
      }
      at.Draw(at.Row(at.left, middle), Qt::AlignRight, Trimmed(rows[i][1]), theme.Of(rows[i][1].tone));
    }
    const cli::Cell& figure = rows[i].back();
    at.Draw(at.Row(at.left, at.right), Qt::AlignRight, Trimmed(figure), theme.Of(figure.tone));
    at.y += at.row;
  }
  at.y += kMargin / 4;
  at.Rule();
}

void QuoteSheet::PaintFigures(Painting& at) const {
  const Theme& theme = CurrentTheme();
  const int top = at.y;
  const int middle = (at.left + at.right) / 2;
  const std::array columns = {std::pair(&at.tables.prices, std::pair(at.left, middle - kMargin)),
                              std::pair(&at.tables.trade, std::pair(middle + kMargin, at.right))};
  for (const auto& [table, span] : columns) {
    at.y = top;
    for (const auto& row : table->rows()) {
      at.Draw(at.Row(span.first, span.second), Qt::AlignLeft,
              Text(row[0].text).replace(QLatin1Char('_'), QLatin1Char(' ')), theme.dim);
      at.Draw(at.Row(span.first, span.second), Qt::AlignRight, Trimmed(row[1]), theme.Of(row[1].tone));
      at.y += at.row;
    }
  }
}

}  // namespace desktop
