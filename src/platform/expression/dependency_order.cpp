#include "platform/expression/dependency_order.h"

#include <algorithm>

namespace casebook::expression {

namespace {

/// Tarjan's strongly connected components, which come out in the order wanted: a component is complete when all that
/// its nodes need has come out. Recursion is written out as a list of visits.
class Search {
 public:
  explicit Search(std::vector<std::vector<std::size_t>> const& needs)
      : needs_{needs}, seenAs_(needs.size(), unseen), earliest_(needs.size()), isWaiting_(needs.size()) {
    found_.onCircle.resize(needs.size());
  }

  DependencyOrder run() {
    for (std::size_t node = 0; node < needs_.size(); ++node)
      if (seenAs_[node] == unseen) walkFrom(node);
    return std::move(found_);
  }

 private:
  static constexpr std::size_t unseen = static_cast<std::size_t>(-1);

  struct Visit {
    std::size_t node;
    std::size_t nextNeed = 0;
  };

  void walkFrom(std::size_t root) {
    enter(root);
    while (!visits_.empty()) {
      auto& [node, nextNeed] = visits_.back();
      if (nextNeed == needs_[node].size()) leave();
      else follow(node, needs_[node][nextNeed++]);
    }
  }

  void enter(std::size_t node) {
    seenAs_[node] = earliest_[node] = count_++;
    isWaiting_[node] = true;
    waiting_.push_back(node);
    visits_.push_back({node});
  }

  void follow(std::size_t node, std::size_t need) {
    if (need == node) found_.onCircle[node] = true;
    if (seenAs_[need] == unseen) enter(need);
    else if (isWaiting_[need]) earliest_[node] = std::min(earliest_[node], seenAs_[need]);
  }

  void leave() {
    auto const node = visits_.back().node;
    visits_.pop_back();
    if (earliest_[node] == seenAs_[node]) release(node);
    if (visits_.empty()) return;
    auto const by = visits_.back().node;
    earliest_[by] = std::min(earliest_[by], earliest_[node]);
  }

  // The component of `node` is what has waited since it was entered.
  void release(std::size_t node) {
    auto const first = std::ranges::find(waiting_.rbegin(), waiting_.rend(), node).base() - 1;
    bool const isCircle = waiting_.end() - first > 1;
    for (auto member = first; member != waiting_.end(); ++member) {
      isWaiting_[*member] = false;
      if (isCircle) found_.onCircle[*member] = true;
      found_.order.push_back(*member);
    }
    waiting_.erase(first, waiting_.end());
  }

  std::vector<std::vector<std::size_t>> const& needs_;
  std::vector<std::size_t> seenAs_;
  std::vector<std::size_t> earliest_;  // the first entered of those that wait and can be reached
  std::vector<bool> isWaiting_;
  std::vector<std::size_t> waiting_;  // entered, their component not yet complete
  std::vector<Visit> visits_;
  std::size_t count_ = 0;
  DependencyOrder found_;
};

}  // namespace

DependencyOrder orderByNeed(std::vector<std::vector<std::size_t>> const& needs) { return Search{needs}.run(); }

}  // namespace casebook::expression
