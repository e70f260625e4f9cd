#pragma once

#include <casebook/locked_handle.h>
#include <casebook/variable.h>

#include <string>

namespace casebook {

/// A locked handle to one rule, a wildcard pattern with a target: `Regex<std::string>` gives a tag to the paths that
/// match, `Regex<Variable>` names a variable. In a pattern `?` stands for any one character and `*` for any run of
/// them; everything else stands for itself. Reads ask Project::project(), changes go to the project of the
/// transaction.
template <class Target>
class CASEBOOK_EXPORT Regex : public LockedHandle<Regex<Target>> {
 public:
  Regex(u64 uid, NoLockRequired tag) noexcept : LockedHandle<Regex>{uid, tag} {}

  [[nodiscard]] WeakPtr<Regex> getWeakPtr() const noexcept { return WeakPtr<Regex>{this->uid()}; }

  [[nodiscard]] std::string expression() const;
  void setExpression(std::string const& expression, Transaction& transaction);
  /// The tag, or a locked handle to the variable: an invalid one when the variable is gone.
  [[nodiscard]] Target target() const;
  void setTarget(Target const& target, Transaction& transaction);

  void erase(Transaction& transaction);

 private:
  friend struct HandleAccess;
  explicit Regex(u64 uid) : LockedHandle<Regex>{uid} {}
};

extern template class Regex<std::string>;
extern template class Regex<Variable>;

extern template CASEBOOK_EXPORT Regex<std::string> WeakPtr<Regex<std::string>>::lock() const;
extern template CASEBOOK_EXPORT Regex<std::string> WeakPtr<Regex<std::string>>::lock(Transaction& transaction) const;
extern template CASEBOOK_EXPORT Regex<Variable> WeakPtr<Regex<Variable>>::lock() const;
extern template CASEBOOK_EXPORT Regex<Variable> WeakPtr<Regex<Variable>>::lock(Transaction& transaction) const;

}  // namespace casebook
