#include "derived/variable_statistics.h"

#include "platform/parallel.h"

#include <mutex>

namespace casebook {

namespace {

// Below, the work takes about a millisecond, and starting the threads takes a good part of what they would save.
constexpr u64 leastCellsForThreads = 20'000;

/// Lends builders to threads, so that they keep their memory from column to column. There are never more than threads.
class Builders {
 public:
  [[nodiscard]] ValueIndex build(std::vector<Variant> const& column, CaseOrder const& order) {
    auto builder = take();
    auto index = builder->build(column, order);
    giveBack(std::move(builder));
    return index;
  }

 private:
  using Builder = std::unique_ptr<IndexBuilder>;

  Builder take() {
    {
      std::lock_guard const lock{mutex_};
      if (!idle_.empty()) {
        auto builder = std::move(idle_.back());
        idle_.pop_back();
        return builder;
      }
    }
    return std::make_unique<IndexBuilder>();
  }

  void giveBack(Builder builder) {
    std::lock_guard const lock{mutex_};
    idle_.push_back(std::move(builder));
  }

  std::mutex mutex_;
  std::vector<Builder> idle_;
};

/// Fills the entry of one variable.
struct VariableStatisticsCollector {
  std::vector<Variant> const& column;
  ValueIndex& index;

  template <class Builder>
  void run(Builder& builder, CaseOrder const& order) const {
    index = builder.build(column, order);
  }
};

}  // namespace

void VariableStatistics::clear() noexcept { entries_.clear(); }

// The entries are all there before the first collector starts, so that each writes into its own alone.
void VariableStatistics::recompute() {
  clear();
  CaseOrder const order{store_.caseId->values};
  std::vector<VariableStatisticsCollector> collectors;
  collectors.reserve(store_.variables.size());
  for (auto const& variable : store_.variables.all()) collectors.push_back({variable.values, enterEmpty(variable.id)});

  if (order.size() * collectors.size() < leastCellsForThreads) {
    runInTurn(collectors.size(), [&](std::size_t number) { collectors[number].run(builder_, order); });
    return;
  }
  Builders builders;
  runInParallel(collectors.size(), [&](std::size_t number) { collectors[number].run(builders, order); });
}

std::vector<Variant> VariableStatistics::uniqueValues(u64 variable) {
  auto& values = entryOf(variable).values;
  if (!values) values = std::make_shared<DistinctValues const>(built(variable).values());
  return values->all();
}

std::set<u64> VariableStatistics::caseIDs(u64 variable, Variant const& value) {
  return indexOf(variable).caseIds(value);
}

u64 VariableStatistics::valueCount(u64 variable, Variant const& value) { return indexOf(variable).count(value); }

ValueIndex const& VariableStatistics::indexOf(u64 variable) {
  auto& index = entryOf(variable).index;
  if (!index) index = std::make_shared<ValueIndex const>(built(variable));
  return *index;
}

VariableStatistics::Entry& VariableStatistics::entryOf(u64 variable) {
  auto const found = entries_.find(variable);
  if (found != entries_.end()) return found->second;
  return entries_[store_.variables.at(variable).id];
}

ValueIndex VariableStatistics::built(u64 variable) const {
  CaseOrder const order{store_.caseId->values};
  return IndexBuilder{}.build(store_.variables.at(variable).values, order);
}

/// An empty entry, its values those of its index.
ValueIndex& VariableStatistics::enterEmpty(u64 variable) {
  auto const index = std::make_shared<ValueIndex>();
  entries_.emplace(variable, Entry{index, {index, &index->values()}});
  return *index;
}

}  // namespace casebook
