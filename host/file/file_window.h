#pragma once

#include "disk_file.h"

#include <vector>

namespace casebook {

/// A file of a known length, read through one buffer, so that many small reads in ascending order cost few calls
/// and no read takes more memory than its caller's. It borrows the file.
class FileWindow {
 public:
  /// The most that `at` gives.
  static constexpr std::size_t reach = std::size_t{1} << 16;

  FileWindow(DiskFile const& file, u64 length) : file_{&file}, length_{length} {}

  [[nodiscard]] u64 length() const noexcept { return length_; }

  /// `n` bytes, or as many as there are up to the end; valid until the next call.
  [[nodiscard]] std::span<unsigned char const> at(u64 offset, std::size_t n);

  /// Exactly these bytes, which must lie within the length.
  void read(u64 offset, std::span<unsigned char> out);

 private:
  DiskFile const* file_;
  u64 length_;
  u64 begin_ = 0;
  std::vector<unsigned char> buffer_;
};

}  // namespace casebook
