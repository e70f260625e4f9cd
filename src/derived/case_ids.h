#pragma once

#include <casebook/variant.h>

#include <memory>
#include <span>
#include <vector>

namespace casebook {

/// Distinct case identifiers by rank. Those of which it is made have ascending ranks; one that comes later ranks behind
/// all others, whatever it is. None ever goes.
class CaseIds {
 public:
  using ByRank = std::shared_ptr<std::vector<u64> const>;

  explicit CaseIds(std::vector<u64> ascending);

  /// Who has them sees them grow.
  [[nodiscard]] ByRank byRank() const noexcept { return ids_; }
  [[nodiscard]] std::size_t size() const noexcept { return ids_->size(); }

  /// The ranks of identifiers, ascending and distinct, of which those that are not known come now.
  void rankAll(std::span<u64 const> ascending, std::vector<std::uint32_t>& ranks);

 private:
  [[nodiscard]] std::uint32_t rankAt(std::size_t place) const noexcept {
    return order_.empty() ? static_cast<std::uint32_t>(place) : order_[place];
  }
  [[nodiscard]] std::size_t placeOf(u64 id) const noexcept;

  std::shared_ptr<std::vector<u64>> ids_;
  std::vector<std::uint32_t> order_;  // ranks, ascending by identifier; empty while they ascend themselves
};

}  // namespace casebook
