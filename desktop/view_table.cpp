#include "desktop/view_table.h"

#include <QtCore/QTimer>
#include <QtGui/QPainter>
#include <algorithm>
#include <chrono>
#include <utility>

#include "cli/format/record_rows.h"
#include "desktop/theme.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::chrono::milliseconds kFlashTime(450);
constexpr int kFlashAlpha = 60;
constexpr int kPadding = 6;
constexpr int kMark = 6;  // width and height of the triangle

// A figure, and what moved it.
struct Figure {
  std::string_view text;
  int mark = 0;
};

Figure FigureIn(std::string_view text) {
  for (const auto& [mark, direction] : {std::pair(std::string_view(cli::kRose), 1), {cli::kFell, -1}}) {
    if (text.ends_with(mark)) {
      return {text.substr(0, text.size() - mark.size()), direction};
    }
  }
  return {text.substr(0, text.find_last_not_of(' ') + 1), 0};
}

signed char DirectionOf(const cli::Cell& cell) {
  const int mark = FigureIn(cell.text).mark;
  const int tone = cell.tone == cli::Tone::kFall ? -1 : cell.tone == cli::Tone::kRise ? 1 : 0;
  return static_cast<signed char>(mark != 0 ? mark : tone);
}

}  // namespace

void ViewTable::Show(cli::Table table, const std::vector<std::wstring>& keys,
                     std::vector<cli::Security> securities, Place place) {
  const bool same_columns =
      std::ranges::equal(table.columns(), table_.columns(), {}, &cli::Column::name, &cli::Column::name);
  const int rows_after =
      static_cast<int>(std::max(place.total.value_or(0), place.first + table.rows().size()));
  // Rows go before the figures change and come after that, so that each step is one that Qt knows.
  if (!same_columns) {
    beginResetModel();
  } else if (rows_after < row_count_) {
    beginRemoveRows({}, rows_after, row_count_ - 1);
    row_count_ = rows_after;
    endRemoveRows();
  }
  const cli::Table before = std::exchange(table_, std::move(table));
  const RowsByKey rows_before = std::exchange(rows_, {});
  securities_ = std::move(securities);
  place_ = std::move(place);
  names_.reset();
  for (std::size_t i = 0; i < std::min(keys.size(), size()); ++i) {
    rows_.emplace(keys[i], i);
  }
  flashes_.assign(size() * table_.columns().size(), 0);
  if (!same_columns) {
    row_count_ = rows_after;
    endResetModel();
    return;
  }
  FindChanges(before, rows_before);
  SayChanged();
  if (rows_after > row_count_) {
    beginInsertRows({}, row_count_, rows_after - 1);
    row_count_ = rows_after;
    endInsertRows();
  }
}

void ViewTable::FindChanges(const cli::Table& before, const RowsByKey& rows_before) {
  const std::size_t columns = table_.columns().size();
  for (const auto& [key, row] : rows_) {
    const auto found = rows_before.find(key);
    for (std::size_t c = 0; found != rows_before.end() && c < columns; ++c) {
      const cli::Cell& cell = table_.rows()[row][c];
      const cli::Cell& old = before.rows()[found->second][c];
      const bool is_figure = table_.columns()[c].align == cli::Align::kRight && cell.tone != cli::Tone::kDim;
      if (is_figure && FigureIn(cell.text).text != FigureIn(old.text).text) {
        flashes_[row * columns + c] = DirectionOf(cell);
      }
    }
  }
  const bool any = std::ranges::any_of(flashes_, [](signed char flash) { return flash != 0; });
  if (any && !std::exchange(flashing_, true)) {
    QTimer::singleShot(kFlashTime, this, [this] {
      flashing_ = false;
      std::ranges::fill(flashes_, static_cast<signed char>(0));
      SayChanged();
    });
  }
}

void ViewTable::SayChanged() {
  if (row_count_ > 0) {
    Q_EMIT dataChanged(index(0, 0), index(row_count_ - 1, columnCount() - 1));
  }
}

int ViewTable::ColumnOf(std::string_view name) const {
  const auto found = std::ranges::find(table_.columns(), name, &cli::Column::name);
  return found == table_.columns().end() ? -1 : static_cast<int>(found - table_.columns().begin());
}

std::optional<cli::Security> ViewTable::SecurityAt(int row) const {
  if (Here(row) < securities_.size()) {
    const cli::Security& security = securities_[Here(row)];
    return security.code.empty() ? std::nullopt : std::optional(security);
  }
  if (static_cast<std::size_t>(row) < Names().size()) {
    const BaseInfoItem& item = Names()[static_cast<std::size_t>(row)];
    return cli::SecurityOf(item.code, item.name);
  }
  return std::nullopt;
}

const std::vector<BaseInfoItem>& ViewTable::Names() const {
  if (!names_) {
    names_ = place_.names ? place_.names() : std::vector<BaseInfoItem>();
  }
  return *names_;
}

int ViewTable::RowHere(const std::wstring& key) const {
  const auto found = rows_.find(key);
  return found == rows_.end() ? -1 : static_cast<int>(place_.first + found->second);
}

int ViewTable::RowOf(const std::wstring& key) const {
  if (const int here = RowHere(key); here >= 0) {
    return here;
  }
  const auto known = std::ranges::find(Names(), key, &BaseInfoItem::code);
  return known == Names().end() ? -1 : static_cast<int>(known - Names().begin());
}

void ViewTable::SetOrder(int column, bool ascending) {
  ordered_by_ = column;
  ascending_ = ascending;
  if (columnCount() > 0) {
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
  }
}

QVariant ViewTable::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) {
    return {};
  }
  const cli::Column& shape = column(index.column());
  if (role == Qt::TextAlignmentRole) {
    return QVariant((shape.align == cli::Align::kRight ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
  }
  if (!HasFigures(index.row())) {
    if (role == Qt::DisplayRole && static_cast<std::size_t>(index.row()) < Names().size()) {
      const BaseInfoItem& item = Names()[static_cast<std::size_t>(index.row())];
      return shape.name == "code" ? Shown(item.code) : shape.name == "name" ? Shown(item.name) : QString();
    }
    return role == kTone ? QVariant(static_cast<int>(cli::Tone::kDim)) : QVariant();
  }
  const std::size_t row = Here(index.row());
  const auto number = static_cast<std::size_t>(index.column());
  const cli::Cell& cell = table_.rows()[row][number];
  switch (role) {
    case Qt::DisplayRole:
      return Text(FigureIn(cell.text).text);
    case kTone:
      return static_cast<int>(cell.tone);
    case kMark:
      return FigureIn(cell.text).mark;
    case kFlash:
      return static_cast<int>(flashes_[row * table_.columns().size() + number]);
    default:
      return {};
  }
}

QVariant ViewTable::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section >= columnCount()) {
    return {};
  }
  const QString mark = ascending_ ? QStringLiteral(" ▲") : QStringLiteral(" ▼");
  switch (role) {
    case Qt::DisplayRole:
      return TitleOf(column(section).name) + (section == ordered_by_ ? mark : QString());
    case Qt::ToolTipRole:
      return Text(cli::MeaningOf(column(section).name));
    case Qt::TextAlignmentRole:
      return data(index(0, section), role);
    default:
      return {};
  }
}

int CellPainter::WidthFor(const QFontMetrics& metrics, const QString& text) {
  return metrics.horizontalAdvance(text) + 2 * kPadding + kMark + 2;
}

void CellPainter::paint(QPainter* painter, const QStyleOptionViewItem& option,
                        const QModelIndex& index) const {
  const Theme& theme = CurrentTheme();
  const QRect& cell = option.rect;
  if (index.row() == current_row_) {
    painter->fillRect(cell, theme.selection);
  } else if (index.row() % 2 == 1) {
    painter->fillRect(cell, theme.stripe);
  }
  if (const int flash = index.data(ViewTable::kFlash).toInt(); flash != 0) {
    QColor colour = flash > 0 ? theme.rise : theme.fall;
    colour.setAlpha(kFlashAlpha);
    painter->fillRect(cell, colour);
  }
  const QString text = index.data(Qt::DisplayRole).toString();
  const auto alignment = static_cast<Qt::Alignment>(index.data(Qt::TextAlignmentRole).toInt());
  const bool is_figure = alignment.testFlag(Qt::AlignRight);
  const QRect room = cell.adjusted(kPadding, 0, is_figure ? -kPadding - kMark - 2 : -kPadding, 0);
  // A figure that is cut would be another figure.
  const bool fits = !is_figure || option.fontMetrics.horizontalAdvance(text) <= room.width();
  painter->setFont(option.font);
  painter->setPen(theme.Of(static_cast<cli::Tone>(index.data(ViewTable::kTone).toInt())));
  painter->drawText(
      room, static_cast<int>(alignment),
      fits ? option.fontMetrics.elidedText(text, Qt::ElideRight, room.width()) : QStringLiteral("…"));
  if (const int mark = index.data(ViewTable::kMark).toInt(); mark != 0) {
    const QPoint at(cell.right() - kPadding - kMark / 2 + 2, cell.center().y() + 1);
    const int third = mark * kMark / 3;
    const QPoint triangle[] = {at + QPoint(-kMark / 2, third), at + QPoint(kMark / 2, third),
                               at - QPoint(0, third)};
    painter->setRenderHint(QPainter::Antialiasing);
    painter->setPen(Qt::NoPen);
    painter->setBrush(mark > 0 ? theme.rise : theme.fall);
    painter->drawPolygon(triangle, 3);
    painter->setRenderHint(QPainter::Antialiasing, false);
  }
}

}  // namespace desktop
