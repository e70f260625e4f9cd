#pragma once

#include <cstddef>
#include <vector>

namespace casebook::expression {

struct DependencyOrder {
  std::vector<std::size_t> order;  ///< every node once, each after those that it needs; circles hold together
  std::vector<bool> onCircle;      ///< by node: whether it needs itself, through others or at once
};

/// `needs[i]` are the nodes that node i needs. Takes time in proportion to nodes and needs, and no more of the stack
/// for a long chain than for a short one.
[[nodiscard]] DependencyOrder orderByNeed(std::vector<std::vector<std::size_t>> const& needs);

}  // namespace casebook::expression
