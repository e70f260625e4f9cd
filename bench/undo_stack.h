#pragma once

#include "study.h"

#include <QStandardItemModel>
#include <QString>
#include <QUndoStack>
#include <QVariant>

#include <memory>
#include <utility>
#include <vector>

/// Qt's undo stack over tables of Qt's variants.
namespace casebook::bench::qt {

[[nodiscard]] inline QVariant valueOf(Variant const& cell) {
  switch (cell.type()) {
    case Variant::Null: break;
    case Variant::UnsignedInteger: return static_cast<qulonglong>(cell.longValue());
    case Variant::FloatingPoint: return cell.doubleValue();
    case Variant::String: return QString::fromStdString(cell.stringValue());
  }
  return {};
}

/// Columns of variants.
class Columns {
 public:
  using Row = std::vector<QVariant>;

  explicit Columns(Sheet const& sheet) : cells_(sheet.size()) {
    for (std::size_t column = 0; column < sheet.size(); ++column)
      for (auto const& cell : sheet[column]) cells_[column].push_back(valueOf(cell));
  }

  [[nodiscard]] int rows() const { return static_cast<int>(cells_.front().size()); }
  [[nodiscard]] QVariant value(int row, int column) const { return cellAt(row, column); }
  void set(int row, int column, QVariant const& value) { cellAt(row, column) = value; }
  void append(std::vector<QVariant> const& row) {
    for (std::size_t column = 0; column < cells_.size(); ++column) cells_[column].push_back(row[column]);
  }
  void removeLast() {
    for (auto& column : cells_) column.pop_back();
  }

 private:
  QVariant& cellAt(int row, int column) {
    return cells_[static_cast<std::size_t>(column)][static_cast<std::size_t>(row)];
  }
  QVariant const& cellAt(int row, int column) const { return const_cast<Columns*>(this)->cellAt(row, column); }

  std::vector<std::vector<QVariant>> cells_;
};

/// Qt's model of items, to which nothing is connected.
class Items {
 public:
  explicit Items(Sheet const& sheet) : model_{0, static_cast<int>(sheet.size())} {
    std::vector<QVariant> row(sheet.size());
    for (std::size_t k = 0; k < sheet.front().size(); ++k) {
      for (std::size_t column = 0; column < sheet.size(); ++column) row[column] = valueOf(sheet[column][k]);
      append(row);
    }
  }

  [[nodiscard]] int rows() const { return model_.rowCount(); }
  [[nodiscard]] QVariant value(int row, int column) const { return model_.item(row, column)->data(Qt::EditRole); }
  void set(int row, int column, QVariant const& value) { model_.item(row, column)->setData(value, Qt::EditRole); }
  void append(std::vector<QVariant> const& row) {
    QList<QStandardItem*> items;
    items.reserve(static_cast<qsizetype>(row.size()));
    for (auto const& cell : row) {
      items.push_back(new QStandardItem);
      items.back()->setData(cell, Qt::EditRole);
    }
    model_.appendRow(items);
  }
  void removeLast() { model_.removeRow(rows() - 1); }

 private:
  QStandardItemModel model_;
};

/// What a command keeps of a cell.
struct Cell {
  int row;
  int column;
  QVariant value;  ///< what the cell does not hold now: undo and redo exchange it

  template <class Model>
  void exchange(Model& model) {
    auto before = model.value(row, column);
    model.set(row, column, value);
    value = std::move(before);
  }
};

template <class Model>
class WriteCell : public QUndoCommand {
 public:
  WriteCell(Model& model, Cell const& cell) : model_{model}, cell_{cell} {}

  void redo() override { cell_.exchange(model_); }
  void undo() override { cell_.exchange(model_); }

 private:
  Model& model_;
  Cell cell_;
};

template <class Model>
class WriteCells : public QUndoCommand {
 public:
  WriteCells(Model& model, std::vector<Cell> cells) : model_{model}, cells_{std::move(cells)} {}

  void redo() override {
    for (auto& cell : cells_) cell.exchange(model_);
  }
  void undo() override {
    for (auto cell = cells_.rbegin(); cell != cells_.rend(); ++cell) cell->exchange(model_);
  }

 private:
  Model& model_;
  std::vector<Cell> cells_;
};

template <class Model>
class AppendRows : public QUndoCommand {
 public:
  AppendRows(Model& model, std::vector<std::vector<QVariant>> const& rows) : model_{model}, rows_{rows} {}

  void redo() override {
    for (auto const& row : rows_) model_.append(row);
  }
  void undo() override {
    for (std::size_t k = 0; k < rows_.size(); ++k) model_.removeLast();
  }

 private:
  Model& model_;
  std::vector<std::vector<QVariant>> const& rows_;  // the incoming ones, which stay
};

template <class Model>
u64 checksumOf(Model const& model, int columns = static_cast<int>(studyColumns().size())) {
  Checksum checksum;
  for (int row = 0; row < model.rows(); ++row)
    for (int column = 0; column < columns; ++column) {
      auto const value = model.value(row, column);
      auto const at = std::pair{static_cast<u64>(column), static_cast<u64>(row)};
      if (!value.isValid()) checksum.addMissing(at.first, at.second);
      else if (value.typeId() == QMetaType::QString)
        checksum.addText(at.first, at.second, value.toString().toStdString());
      else checksum.addNumber(at.first, at.second, value.toDouble());
    }
  return checksum.value();
}

}  // namespace casebook::bench::qt
