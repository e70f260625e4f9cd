#pragma once

#include <algorithm>
#include <vector>

namespace casebook {

/// Makes room for `size` elements without further allocations; grows as push_back does.
template <class T>
void reserveFor(std::vector<T>& list, std::size_t size) {
  if (size > list.capacity()) list.reserve(std::max({std::size_t{8}, 2 * list.size(), size}));
}

template <class T>
void reserveOneMore(std::vector<T>& list) {
  reserveFor(list, list.size() + 1);
}

/// Gives room back when most of it is empty, if there is memory for a smaller one.
template <class T>
void fitRoom(std::vector<T>& list) noexcept {
  constexpr std::size_t alwaysKept = 4096;
  if (list.capacity() > alwaysKept && list.capacity() / 4 > list.size()) list.shrink_to_fit();
}

}  // namespace casebook
