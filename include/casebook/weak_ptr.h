#pragma once

#include <compare>
#include <cstdint>

namespace casebook {

using u64 = std::uint64_t;

class Transaction;

/// An identifier of an entity of kind `T` (Record, Variable, AuxFile, TagGroup, Regex<std::string>, Regex<Variable>).
/// It keeps nothing alive; 0 is the empty pointer. `lock` is defined with the handle of each kind.
template <class T, class Id = u64>
class WeakPtr {
 public:
  constexpr WeakPtr() noexcept = default;
  constexpr explicit WeakPtr(Id id) noexcept : id_{id} {}

  [[nodiscard]] constexpr Id id() const noexcept { return id_; }
  [[nodiscard]] constexpr bool valid() const noexcept { return id_ != 0; }
  [[nodiscard]] constexpr explicit operator bool() const noexcept { return valid(); }

  /// A locked handle from the current project; an invalid handle when it holds no such entity.
  [[nodiscard]] T lock() const;
  /// The same from the transaction's project.
  [[nodiscard]] T lock(Transaction& transaction) const;

  [[nodiscard]] friend constexpr bool operator==(WeakPtr, WeakPtr) noexcept = default;
  [[nodiscard]] friend constexpr auto operator<=>(WeakPtr, WeakPtr) noexcept = default;

 private:
  Id id_ = 0;
};

}  // namespace casebook
