#include "file_window.h"

#include <algorithm>

namespace casebook {

std::span<unsigned char const> FileWindow::at(u64 offset, std::size_t n) {
  if (offset >= length_) return {};
  n = static_cast<std::size_t>(std::min<u64>({n, reach, length_ - offset}));
  if (offset < begin_ || offset - begin_ > buffer_.size() || buffer_.size() - (offset - begin_) < n) {
    buffer_.resize(static_cast<std::size_t>(std::min<u64>(4 * reach, length_ - offset)));
    begin_ = offset;
    try {
      file_->read(begin_, buffer_);
    } catch (...) {
      buffer_.clear();
      throw;
    }
  }
  return std::span<unsigned char const>{buffer_}.subspan(static_cast<std::size_t>(offset - begin_), n);
}

void FileWindow::read(u64 offset, std::span<unsigned char> out) {
  if (out.size() > reach) {
    file_->read(offset, out);
    return;
  }
  auto const bytes = at(offset, out.size());
  std::copy(bytes.begin(), bytes.end(), out.begin());
}

}  // namespace casebook
