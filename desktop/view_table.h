// A view's table as Qt's item views read it: the one model of all lists. Rows of a paged list that have not
// come yet have code and name at most. Main thread only.
#pragma once

#include <QtCore/QAbstractTableModel>
#include <QtCore/QElapsedTimer>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
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

  explicit ViewTable(QObject* parent = nullptr);

  /// `keys` tells the rows from each other, `securities` what each of them is; either may be shorter.
  void Show(cli::Table table, std::vector<std::wstring> keys, std::vector<cli::Security> securities,
            Place place);
  /// Nothing at all, the columns included if `columns`.
  void Clear();

  [[nodiscard]] const cli::Column& column(int column) const {
    return table_.columns()[static_cast<std::size_t>(column)];
  }
  /// The name by which a column is known: "change".
  [[nodiscard]] std::string ColumnName(int column) const;
  [[nodiscard]] int ColumnOf(std::string_view name) const;
  /// What the row is about, as far as that is known.
  [[nodiscard]] std::optional<cli::Security> SecurityAt(int row) const;
  /// The row of that key or code, in the table alone or in the whole list; -1: none that is known.
  [[nodiscard]] int RowHere(const std::wstring& key) const;
  [[nodiscard]] int RowOf(const std::wstring& key) const;
  [[nodiscard]] bool HasFigures(int row) const { return InTable(row) != nullptr; }
  [[nodiscard]] std::size_t first() const { return place_.first; }
  [[nodiscard]] std::size_t size() const { return table_.rows().size(); }

  [[nodiscard]] int rowCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] int columnCount(const QModelIndex& parent = {}) const override;
  [[nodiscard]] QVariant data(const QModelIndex& index, int role) const override;
  [[nodiscard]] QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
  [[nodiscard]] Qt::ItemFlags flags(const QModelIndex& index) const override;

  /// The column that the list is ordered by gets a mark in its title; -1: none.
  void SetOrder(int column, bool ascending);
  /// Rows may be dragged onto others.
  void SetDraggable(bool draggable) { draggable_ = draggable; }
  [[nodiscard]] Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }

 private:
  using Row = std::vector<cli::Cell>;

  [[nodiscard]] const Row* InTable(int row) const;
  [[nodiscard]] const std::vector<BaseInfoItem>& Names() const;
  void FindChanges(const cli::Table& before, const std::vector<std::wstring>& keys_before);
  void EndFlashes();

  cli::Table table_{{}};
  std::vector<std::wstring> keys_;
  std::vector<cli::Security> securities_;
  Place place_;
  int row_count_ = 0;
  mutable std::optional<std::vector<BaseInfoItem>> names_;  // as far as they were looked at
  std::unordered_map<std::wstring, int> rows_;              // by key, those of the table alone
  std::vector<signed char> flashes_;                        // by cell of the table
  bool flashing_ = false;
  int ordered_by_ = -1;
  bool ascending_ = false;
  bool draggable_ = false;
};

}  // namespace desktop
