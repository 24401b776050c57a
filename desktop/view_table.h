// A view's table as Qt's item views read it, and how its cells are painted: the one model and the one
// delegate of all lists. Rows of a paged list that have not come yet have code and name at most. Main thread
// only.
#pragma once

#include <QtCore/QAbstractTableModel>
#include <QtWidgets/QStyledItemDelegate>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "cli/format/table.h"
#include "cli/views/securities.h"

namespace desktop {

class ViewTable final : public QAbstractTableModel {
 public:
  enum Role {
    kTone = Qt::UserRole,  ///< cli::Tone of the text
    kMark,                 ///< 1 rose, -1 fell against the answer before, 0 neither
    kFlash,                ///< the same for a short while after the figure has changed
  };

  /// What stands where in the whole list.
  struct Place {
    std::size_t first = 0;             ///< number of the table's first row
    std::optional<std::size_t> total;  ///< nothing: as many as the table has
    /// Code and name of the whole list, asked for when a row beyond the table is looked at; empty: not known.
    std::function<std::vector<BaseInfoItem>()> names = {};
  };

  using QAbstractTableModel::QAbstractTableModel;

  /// `keys` tells the rows from each other, `securities` what each of them is; either may be shorter.
  void Show(cli::Table table, const std::vector<std::wstring>& keys, std::vector<cli::Security> securities,
            Place place);
  /// Removes all rows.
  void Clear() { Show(cli::Table(table_.columns()), {}, {}, {}); }

  [[nodiscard]] const cli::Column& column(int column) const {
    return table_.columns()[static_cast<std::size_t>(column)];
  }
  /// By the name of the column: "change"; -1: there is none.
  [[nodiscard]] int ColumnOf(std::string_view name) const;
  /// What the row is about, as far as that is known.
  [[nodiscard]] std::optional<cli::Security> SecurityAt(int row) const;
  /// The row of that key or code, in the table alone or in the whole list; -1: none that is known.
  [[nodiscard]] int RowHere(const std::wstring& key) const;
  [[nodiscard]] int RowOf(const std::wstring& key) const;
  [[nodiscard]] bool HasFigures(int row) const { return Here(row) < size(); }
  [[nodiscard]] std::size_t first() const { return place_.first; }
  [[nodiscard]] std::size_t size() const { return table_.rows().size(); }

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override {
    return parent.isValid() ? 0 : row_count_;
  }
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override {
    return parent.isValid() ? 0 : static_cast<int>(table_.columns().size());
  }
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  /// Rows may be dragged between others, where the view lets them.
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override {
    return QAbstractTableModel::flags(index) |
           (index.isValid() ? Qt::ItemIsDragEnabled : Qt::ItemIsDropEnabled);
  }
  [[nodiscard]] Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }

  /// The column that the list is ordered by gets a mark in its title; -1: none.
  void SetOrder(int column, bool ascending);

 private:
  using RowsByKey = std::unordered_map<std::wstring, std::size_t>;

  // The number of the row in the table; beyond its end: it is not there.
  [[nodiscard]] std::size_t Here(int row) const { return static_cast<std::size_t>(row) - place_.first; }
  [[nodiscard]] const std::vector<BaseInfoItem>& Names() const;
  void FindChanges(const cli::Table& before, const RowsByKey& rows_before);
  void SayChanged();

  cli::Table table_{{}};
  std::vector<cli::Security> securities_;
  Place place_;
  int row_count_ = 0;
  mutable std::optional<std::vector<BaseInfoItem>> names_;  // as far as they were looked at
  RowsByKey rows_;                                          // those of the table alone
  std::vector<signed char> flashes_;                        // by cell of the table
  bool flashing_ = false;
  int ordered_by_ = -1;
  bool ascending_ = false;
};

/// Figures in the colour of what they mean, a mark for what moved, a short flash for what has changed.
class CellPainter final : public QStyledItemDelegate {
 public:
  using QStyledItemDelegate::QStyledItemDelegate;

  /// The row that stands for the current security, -1: none.
  void SetCurrentRow(int row) { current_row_ = row; }
  /// Pixels that a text needs in a cell.
  [[nodiscard]] static int WidthFor(const QFontMetrics& metrics, const QString& text);

 private:
  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;

  int current_row_ = -1;
};

}  // namespace desktop
