#include "derived/text_keys.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace casebook {

void TextKeys::clear() noexcept {
  beginnings_.clear();
  stands_ = {};
  ends_ = {};
}

void TextKeys::add(std::string_view text) {
  Beginning beginning;
  auto const size = std::min(text.size(), most);
  beginning.size = static_cast<std::uint8_t>(size);
  if (size == most) std::memcpy(beginning.bytes.data(), text.data(), most);  // of a known size it is no call
  else std::memcpy(beginning.bytes.data(), text.data(), size);
  for (std::size_t place = 0; place < size; ++place) stands_[place][beginning.bytes[place]] = true;
  ends_[size] = true;
  beginnings_.push_back(beginning);
}

u64 TextKeys::lettersAt(std::size_t place) const noexcept {
  auto const& stands = stands_[place];
  return static_cast<u64>(std::count(stands.begin(), stands.end(), true)) + (ends_[place] ? 1 : 0);
}

// A key is a number whose digits are the letters: each place has as many as stand there, the end of a text first.
void TextKeys::weigh() noexcept {
  u64 keys = 1;
  for (bytes_ = 0; bytes_ < most && lettersAt(bytes_) <= std::numeric_limits<u64>::max() / keys; ++bytes_)
    keys *= std::max(lettersAt(bytes_), u64{1});
  differ_ = keys > 1;
  u64 weight = 1;
  for (auto place = bytes_; place-- > 0;) {
    u64 next = ends_[place] ? weight : 0;
    for (std::size_t letter = 0; letter < 256; ++letter) {
      if (!stands_[place][letter]) continue;
      weights_[place][letter] = next;
      next += weight;
    }
    weight *= std::max(lettersAt(place), u64{1});
  }
}

u64 TextKeys::of(std::size_t place) const noexcept {
  auto const& [bytes, size] = beginnings_[place];
  u64 key = 0;
  for (std::size_t k = 0, told = std::min<std::size_t>(size, bytes_); k < told; ++k) key += weights_[k][bytes[k]];
  return key;
}

}  // namespace casebook
