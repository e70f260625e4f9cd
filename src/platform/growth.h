#pragma once

#include <algorithm>
#include <vector>

namespace casebook {

/// Makes sure that one more element fits without an allocation; grows like push_back.
template <class T>
void reserveOneMore(std::vector<T>& list) {
  if (list.size() == list.capacity()) list.reserve(std::max<std::size_t>(8, 2 * list.size()));
}

}  // namespace casebook
