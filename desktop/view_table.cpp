#include "desktop/view_table.h"

#include <QtCore/QTimer>
#include <algorithm>
#include <chrono>

#include "cli/format/record_rows.h"
#include "cli/format/words.h"
#include "desktop/words.h"

namespace desktop {
namespace {

constexpr std::chrono::milliseconds kFlashTime(450);

// A figure, and what moved it.
struct Figure {
  std::string_view text;
  int mark = 0;
};

Figure FigureIn(const std::string& cell) {
  std::string_view text = cell;
  for (const auto& [mark, direction] : {std::pair(std::string_view(cli::kRose), 1), {cli::kFell, -1}}) {
    if (text.ends_with(mark)) {
      return {text.substr(0, text.size() - mark.size()), direction};
    }
  }
  while (text.ends_with(' ')) {
    text.remove_suffix(1);
  }
  return {text, 0};
}

int DirectionOf(const cli::Cell& cell) {
  const int mark = FigureIn(cell.text).mark;
  if (mark != 0) {
    return mark;
  }
  return cell.tone == cli::Tone::kFall ? -1 : cell.tone == cli::Tone::kRise ? 1 : 0;
}

}  // namespace

ViewTable::ViewTable(QObject* parent) : QAbstractTableModel(parent) {}

void ViewTable::Show(cli::Table table, std::vector<std::wstring> keys, std::vector<cli::Security> securities,
                     Place place) {
  const auto is_same = [](const cli::Column& a, const cli::Column& b) { return a.name == b.name; };
  const bool same_columns = std::equal(table.columns().begin(), table.columns().end(),
                                       table_.columns().begin(), table_.columns().end(), is_same);
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
  const std::vector<std::wstring> keys_before = std::exchange(keys_, std::move(keys));
  securities_ = std::move(securities);
  place_ = std::move(place);
  names_.reset();
  rows_.clear();
  for (std::size_t i = 0; i < keys_.size(); ++i) {
    rows_.emplace(keys_[i], static_cast<int>(place_.first + i));
  }
  if (!same_columns) {
    flashes_.assign(table_.rows().size() * table_.columns().size(), 0);
    row_count_ = rows_after;
    endResetModel();
    return;
  }
  FindChanges(before, keys_before);
  if (row_count_ > 0) {
    Q_EMIT dataChanged(index(0, 0), index(row_count_ - 1, columnCount() - 1));
  }
  if (rows_after > row_count_) {
    beginInsertRows({}, row_count_, rows_after - 1);
    row_count_ = rows_after;
    endInsertRows();
  }
}

void ViewTable::Clear() {
  Show(cli::Table(table_.columns()), {}, {}, {});
}

void ViewTable::FindChanges(const cli::Table& before, const std::vector<std::wstring>& keys_before) {
  std::unordered_map<std::wstring, const Row*> old;
  for (std::size_t i = 0; i < std::min(keys_before.size(), before.rows().size()); ++i) {
    old.emplace(keys_before[i], &before.rows()[i]);
  }
  const std::size_t columns = table_.columns().size();
  flashes_.assign(table_.rows().size() * columns, 0);
  bool any = false;
  for (std::size_t i = 0; i < std::min(keys_.size(), table_.rows().size()); ++i) {
    const auto found = old.find(keys_[i]);
    for (std::size_t c = 0; found != old.end() && c < columns; ++c) {
      const cli::Cell& cell = table_.rows()[i][c];
      const bool is_figure = table_.columns()[c].align == cli::Align::kRight && cell.tone != cli::Tone::kDim;
      if (is_figure && FigureIn(cell.text).text != FigureIn((*found->second)[c].text).text) {
        flashes_[i * columns + c] = static_cast<signed char>(DirectionOf(cell));
        any = any || flashes_[i * columns + c] != 0;
      }
    }
  }
  if (any && !std::exchange(flashing_, true)) {
    QTimer::singleShot(kFlashTime, this, [this] { EndFlashes(); });
  }
}

void ViewTable::EndFlashes() {
  flashing_ = false;
  std::fill(flashes_.begin(), flashes_.end(), static_cast<signed char>(0));
  if (rowCount() > 0) {
    Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, columnCount() - 1));
  }
}

std::string ViewTable::ColumnName(int column) const {
  return table_.columns()[static_cast<std::size_t>(column)].name;
}

int ViewTable::ColumnOf(std::string_view name) const {
  for (int column = 0; column < columnCount(); ++column) {
    if (ColumnName(column) == name) {
      return column;
    }
  }
  return -1;
}

std::optional<cli::Security> ViewTable::SecurityAt(int row) const {
  const auto number = static_cast<std::size_t>(row);
  if (row >= 0 && number >= place_.first && number - place_.first < securities_.size()) {
    return securities_[number - place_.first];
  }
  if (row >= 0 && number < Names().size()) {
    return cli::SecurityOf(Names()[number].code, Names()[number].name);
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
  return found == rows_.end() ? -1 : found->second;
}

int ViewTable::RowOf(const std::wstring& key) const {
  if (const int here = RowHere(key); here >= 0) {
    return here;
  }
  const auto known = std::find_if(Names().begin(), Names().end(),
                                  [&](const BaseInfoItem& item) { return item.code == key; });
  return known == Names().end() ? -1 : static_cast<int>(known - Names().begin());
}

const ViewTable::Row* ViewTable::InTable(int row) const {
  const auto number = static_cast<std::size_t>(row);
  return row >= 0 && number >= place_.first && number - place_.first < table_.rows().size()
             ? &table_.rows()[number - place_.first]
             : nullptr;
}

void ViewTable::SetOrder(int column, bool ascending) {
  ordered_by_ = column;
  ascending_ = ascending;
  if (columnCount() > 0) {
    Q_EMIT headerDataChanged(Qt::Horizontal, 0, columnCount() - 1);
  }
}

int ViewTable::rowCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : row_count_;
}

int ViewTable::columnCount(const QModelIndex& parent) const {
  return parent.isValid() ? 0 : static_cast<int>(table_.columns().size());
}

QVariant ViewTable::data(const QModelIndex& index, int role) const {
  if (!index.isValid()) {
    return {};
  }
  const auto column = static_cast<std::size_t>(index.column());
  if (role == Qt::TextAlignmentRole) {
    const bool is_right = table_.columns()[column].align == cli::Align::kRight;
    return QVariant((is_right ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
  }
  const Row* const row = InTable(index.row());
  if (row == nullptr) {
    const std::string name = ColumnName(index.column());
    if (role == Qt::DisplayRole && static_cast<std::size_t>(index.row()) < Names().size()) {
      const BaseInfoItem& item = Names()[static_cast<std::size_t>(index.row())];
      return name == "code" ? Shown(item.code) : name == "name" ? Shown(item.name) : QString();
    }
    return role == kTone ? QVariant(static_cast<int>(cli::Tone::kDim)) : QVariant();
  }
  const cli::Cell& cell = (*row)[column];
  switch (role) {
    case Qt::DisplayRole:
      return Text(FigureIn(cell.text).text);
    case kTone:
      return static_cast<int>(cell.tone);
    case kMark:
      return FigureIn(cell.text).mark;
    case kFlash:
      return static_cast<int>(
          flashes_[(static_cast<std::size_t>(index.row()) - place_.first) * table_.columns().size() +
                   column]);
    default:
      return {};
  }
}

QVariant ViewTable::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || section >= columnCount()) {
    return {};
  }
  switch (role) {
    case Qt::DisplayRole:
      return TitleOf(table_.columns()[static_cast<std::size_t>(section)].name) +
             (section == ordered_by_ ? (ascending_ ? QStringLiteral(" ▲") : QStringLiteral(" ▼"))
                                     : QString());
    case Qt::ToolTipRole:
      return Text(cli::MeaningOf(ColumnName(section)));
    case Qt::TextAlignmentRole:
      return data(index(0, section), role);
    default:
      return {};
  }
}

Qt::ItemFlags ViewTable::flags(const QModelIndex& index) const {
  Qt::ItemFlags flags = QAbstractTableModel::flags(index);
  if (draggable_) {
    flags |= index.isValid() ? Qt::ItemIsDragEnabled : Qt::ItemIsDropEnabled;
  }
  return flags;
}

}  // namespace desktop
