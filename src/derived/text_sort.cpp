#include "derived/text_sort.h"

namespace casebook {

void TextSort::markRuns(Range range, std::span<u64 const> positions, std::span<u64 const> keys) {
  for (auto begin = range.begin; begin != range.end;) {
    u64 const key = keys[positions[begin]];
    auto end = begin + 1;
    while (end != range.end && keys[positions[end]] == key) ++end;
    begins_[begin] = true;
    if (end - begin > 1 && text_key::moreFollows(key)) waiting_.push_back({begin, end, range.depth + text_key::bytes});
    begin = end;
  }
}

void TextSort::putEnds(std::size_t size, std::vector<std::uint32_t>& ends) const {
  for (std::size_t place = 1; place < size; ++place)
    if (begins_[place]) ends.push_back(static_cast<std::uint32_t>(place));
  ends.push_back(static_cast<std::uint32_t>(size));
}

}  // namespace casebook
