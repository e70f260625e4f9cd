#pragma once

#include <array>
#include <ostream>
#include <streambuf>

namespace casebook::cli {

/// Writes to a file descriptor, which it borrows, and remembers why a write failed: no stream of the standard
/// library tells.
class FdBuffer : public std::streambuf {
 public:
  explicit FdBuffer(int fd);

  /// errno of the first write that failed, 0 when none did.
  [[nodiscard]] int error() const noexcept { return error_; }

 protected:
  int_type overflow(int_type c) override;
  int sync() override;

 private:
  bool writeOut();

  int fd_;
  int error_ = 0;
  std::array<char, 65536> buffer_;
};

class FdStream : public std::ostream {
 public:
  explicit FdStream(int fd) : std::ostream{nullptr}, buffer_{fd} { rdbuf(&buffer_); }

  /// Writes out what is buffered. Throws std::system_error with the reason of the first failure, now or earlier.
  void finish();

 private:
  FdBuffer buffer_;
};

}  // namespace casebook::cli
