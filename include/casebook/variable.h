#pragma once

#include <casebook/locked_handle.h>
#include <casebook/variable_enums.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

namespace casebook {

/// A locked handle to one variable: a column of the table. Reads ask Project::project(), changes go to the project
/// of the transaction.
class CASEBOOK_EXPORT Variable : public LockedHandle<Variable> {
 public:
  using DataType = casebook::VariableDataType;
  using VariableType = casebook::VariableType;
  using Nature = casebook::VariableNature;

  Variable(u64 uid, NoLockRequired tag) noexcept : LockedHandle{uid, tag} {}
  Variable(Variable const&) = default;
  Variable& operator=(Variable const&) = default;
  virtual ~Variable();

  [[nodiscard]] friend bool operator<(Variable const& a, Variable const& b) noexcept { return a.uid() < b.uid(); }
  [[nodiscard]] WeakPtr<Variable> getWeakPtr() const noexcept { return WeakPtr<Variable>{uid()}; }

  [[nodiscard]] std::string name() const;
  [[nodiscard]] std::string description() const;
  [[nodiscard]] std::string expression() const;
  [[nodiscard]] Nature nature() const;
  [[nodiscard]] DataType dataType() const;
  [[nodiscard]] VariableType type() const;
  [[nodiscard]] Variant defaultValue() const;
  [[nodiscard]] bool isCaseID() const;
  [[nodiscard]] bool isStringType() const;

  void setName(std::string const& name, Transaction& transaction);
  void setDescription(std::string const& description, Transaction& transaction);
  void setExpression(std::string const& expression, Transaction& transaction);
  void setNature(Nature nature, Transaction& transaction);
  void setDataType(DataType dataType, Transaction& transaction);
  void setType(VariableType type, Transaction& transaction);
  void setDefaultValue(Variant const& value, Transaction& transaction);

  /// The statistics; see Project::variableUniqueValues and its neighbours.
  [[nodiscard]] std::vector<Variant> uniqueValues() const;
  [[nodiscard]] u64 valueCount(Variant const& value) const;
  [[nodiscard]] std::set<u64> caseIDs(Variant const& value) const;
  [[nodiscard]] u64 numNullValues() const;
  [[nodiscard]] std::pair<double, double> range() const;

  void erase(Transaction& transaction);

 private:
  friend struct HandleAccess;
  explicit Variable(u64 uid) : LockedHandle{uid} {}
};

extern template CASEBOOK_EXPORT Variable WeakPtr<Variable>::lock() const;
extern template CASEBOOK_EXPORT Variable WeakPtr<Variable>::lock(Transaction& transaction) const;

}  // namespace casebook
