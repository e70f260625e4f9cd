#pragma once

#include "derived/value_key.h"

#include <boost/container/small_vector.hpp>
#include <boost/unordered/unordered_flat_map.hpp>

#include <algorithm>
#include <array>
#include <functional>
#include <ranges>
#include <span>
#include <string_view>
#include <vector>

namespace casebook {

/// A case, by the rank of its identifier, gets a value (1) or loses it (-1).
struct CaseChange {
  Variant value;
  std::uint32_t rank;
  std::int32_t sign;
};

/// What is left of changes, by value, then by rank, no two of the same value and rank.
class ChangeRun {
 public:
  struct Step {
    std::uint32_t rank;
    std::int32_t sign;
  };

  void reserve(std::size_t changes) { changes_.reserve(changes); }
  /// All that happened to a value higher than those before, in any order.
  void append(Variant const& value, std::span<Step> steps);

  [[nodiscard]] std::span<CaseChange const> all() const noexcept { return changes_; }
  [[nodiscard]] std::span<CaseChange const> of(Variant const& value) const noexcept;

 private:
  std::vector<CaseChange> changes_;
};

/// The changes of the first value of some that are sorted, which are not none.
[[nodiscard]] std::span<CaseChange const> leadingValue(std::span<CaseChange const> sorted) noexcept;

/// The changes since a column was indexed, found by their values. A change that undoes the last one of its value leaves
/// nothing.
class CaseChanges {
 public:
  /// What a case gets it did not have, and what it loses it had. When it throws, changes are lost.
  void add(CaseChange const& change);

  [[nodiscard]] std::size_t size() const noexcept { return size_; }
  [[nodiscard]] bool empty() const noexcept { return size_ == 0; }
  void clear() noexcept;

  [[nodiscard]] ChangeRun asOneRun() const;

  /// How many more cases have the value.
  [[nodiscard]] std::int64_t total(Variant const& value) const noexcept {
    auto const found = values_.find(value);
    return found == values_.end() ? 0 : found->second.total;
  }

  /// Calls `visit` with the changes of the value, in the order of time.
  template <class Visit>
  void forCases(Variant const& value, Visit visit) const;

  struct Total {
    Variant value;
    std::int64_t cases;
  };
  /// The values that more or fewer cases have, ascending.
  [[nodiscard]] std::vector<Total> totals() const;

  /// The smallest and the largest value of a kind, Whole or Number, among those that cases got and that still have any,
  /// which `hasCases` tells, and `known`, which may be null. What it tells not to have any is not asked for again until
  /// a case gets it.
  template <class HasCases>
  [[nodiscard]] Variant least(ValueKind kind, Variant const& known, HasCases hasCases) {
    return firstOf(gained_[kind == ValueKind::Whole].least, std::greater{}, kind, known, hasCases);
  }
  template <class HasCases>
  [[nodiscard]] Variant most(ValueKind kind, Variant const& known, HasCases hasCases) {
    return firstOf(gained_[kind == ValueKind::Whole].most, std::less{}, kind, known, hasCases);
  }

 private:
  static constexpr auto none = ~std::uint32_t{0};

  struct Entry {
    std::uint32_t rank;
    std::int32_t sign;      // 0 where it was undone
    std::uint32_t earlier;  // of the same value
  };
  /// The changes of one value.
  struct OfValue {
    std::uint32_t last = none;
    std::int32_t total = 0;
  };
  struct Hash {
    std::size_t operator()(Variant const& value) const noexcept {
      auto const [kind, key] = keyOf(value);
      return kind == ValueKind::Text ? std::hash<std::string_view>{}(value.stringValue())
                                     : key * valueKinds + static_cast<u64>(kind);
    }
  };
  struct Equal {
    bool operator()(Variant const& a, Variant const& b) const noexcept { return compareValues(a, b) == 0; }
  };
  using Values = boost::unordered_flat_map<Variant, OfValue, Hash, Equal>;
  /// Two heaps of keys, some of values that have no cases any more.
  struct Gained {
    std::vector<u64> least;
    std::vector<u64> most;
  };

  template <class Visit>
  void forCases(Values::value_type const& ofValue, Visit visit) const;

  void undoLast(Values::iterator place);
  void noteGained(Variant const& value);
  void compact();
  [[nodiscard]] std::vector<CaseChange> all() const;
  [[nodiscard]] std::vector<Values::value_type const*> valuesInOrder() const;
  template <class Order, class HasCases>
  [[nodiscard]] static Variant firstOf(std::vector<u64>& heap, Order order, ValueKind kind, Variant const& known,
                                       HasCases& hasCases);

  std::vector<Entry> entries_;  // in the order of time
  Values values_;
  std::array<Gained, 2> gained_;  // numbers, whole numbers
  std::size_t size_ = 0;
  std::size_t addedSince_ = 0;  // the last compaction
};

template <class Visit>
void CaseChanges::forCases(Variant const& value, Visit visit) const {
  if (auto const found = values_.find(value); found != values_.end()) forCases(*found, visit);
}

template <class Visit>
void CaseChanges::forCases(Values::value_type const& ofValue, Visit visit) const {
  auto const& [value, changes] = ofValue;
  boost::container::small_vector<std::uint32_t, 32> places;
  for (auto place = changes.last; place != none; place = entries_[place].earlier) places.push_back(place);
  for (auto const place : std::views::reverse(places)) visit({value, entries_[place].rank, entries_[place].sign});
}

template <class Order, class HasCases>
Variant CaseChanges::firstOf(std::vector<u64>& heap, Order order, ValueKind kind, Variant const& known,
                             HasCases& hasCases) {
  while (!heap.empty() && (known.isNull() || order(keyOf(known).key, heap.front()))) {
    auto const value = valueOf({kind, heap.front()});
    if (hasCases(value)) return value;
    std::ranges::pop_heap(heap, order);
    heap.pop_back();
  }
  return known;
}

}  // namespace casebook
