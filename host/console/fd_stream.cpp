#include "console/fd_stream.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace casebook::cli {

FdBuffer::FdBuffer(int fd) : fd_{fd} { setp(buffer_.data(), buffer_.data() + buffer_.size()); }

FdBuffer::int_type FdBuffer::overflow(int_type c) {
  if (!writeOut()) return traits_type::eof();
  if (!traits_type::eq_int_type(c, traits_type::eof())) sputc(traits_type::to_char_type(c));
  return traits_type::not_eof(c);
}

int FdBuffer::sync() { return writeOut() ? 0 : -1; }

bool FdBuffer::writeOut() {
  for (char const* from = pbase(); error_ == 0 && from < pptr();) {
    auto const written = ::write(fd_, from, static_cast<std::size_t>(pptr() - from));
    if (written >= 0) {
      from += written;
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  setp(buffer_.data(), buffer_.data() + buffer_.size());
  return error_ == 0;
}

void FdStream::finish() {
  flush();
  if (buffer_.error() != 0) throw std::system_error{buffer_.error(), std::generic_category()};
}

}  // namespace casebook::cli
