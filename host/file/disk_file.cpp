#include "disk_file.h"

#include <casebook/exception_base.h>

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <limits>
#include <system_error>
#include <thread>
#include <utility>

namespace casebook {

namespace {

// Without O_NONBLOCK a pipe that bears the name would hold the caller up; a regular file does not know the flag.
int flagsOf(DiskFile::Opening opening) {
  int const common = O_CLOEXEC | O_NONBLOCK;
  switch (opening) {
    case DiskFile::Opening::Read: return common | O_RDONLY;
    case DiskFile::Opening::Write: return common | O_RDWR;
    case DiskFile::Opening::New: return common | O_RDWR | O_CREAT | O_EXCL;
  }
  return common;
}

std::string_view verbOf(DiskFile::Opening opening) { return opening == DiskFile::Opening::New ? "create" : "open"; }

off_t toOffset(u64 value) {
  constexpr auto most = static_cast<u64>(std::numeric_limits<off_t>::max());
  if (value > most) throw varnel::ExceptionBase("A file cannot be this long.", false);
  return static_cast<off_t>(value);
}

// Repeats a call that a signal interrupted.
template <class Call>
auto uninterrupted(Call const& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

}  // namespace

void throwSystemError(std::string_view doing, std::filesystem::path const& path, int error) {
  throw varnel::ExceptionBase(
      "Cannot " + std::string{doing} + ' ' + path.string() + ": " + std::generic_category().message(error), false);
}

DiskFile::DiskFile(FileSystem& system, std::filesystem::path const& path, Opening opening,
                   std::filesystem::path const& name)
    : system_{&system}, name_{name}, file_{uninterrupted([&] { return system.open(path.c_str(), flagsOf(opening)); })} {
  if (file_ < 0) fail(verbOf(opening));
}

DiskFile::DiskFile(DiskFile&& other) noexcept
    : system_{other.system_}, name_{std::move(other.name_)}, file_{std::exchange(other.file_, -1)} {}

DiskFile& DiskFile::operator=(DiskFile&& other) noexcept {
  std::swap(system_, other.system_);
  std::swap(name_, other.name_);
  std::swap(file_, other.file_);
  return *this;
}

DiskFile::~DiskFile() { close(); }

void DiskFile::close() noexcept {
  if (isOpen()) system_->close(std::exchange(file_, -1));
}

void DiskFile::lock(FileSystem::Lock kind, std::chrono::milliseconds wait) {
  auto const start = std::chrono::steady_clock::now();
  while (uninterrupted([&] { return system_->lock(file_, kind); }) != 0) {
    if (errno != EWOULDBLOCK) fail("lock");
    if (std::chrono::steady_clock::now() - start >= wait) {
      throw varnel::ExceptionBase(
          name_.string() + " is in use: it stayed locked for " + std::to_string(wait.count()) + " ms.", false);
    }
    std::this_thread::sleep_for(std::min(wait, std::chrono::milliseconds{10}));
  }
}

u64 DiskFile::size() const {
  off_t const length = system_->size(file_);
  if (length < 0) fail("open");
  return static_cast<u64>(length);
}

void DiskFile::read(u64 offset, std::span<unsigned char> bytes) const {
  while (!bytes.empty()) {
    auto const n = uninterrupted([&] { return system_->read(file_, bytes, toOffset(offset)); });
    if (n < 0) fail("read");
    if (n == 0) throw varnel::ExceptionBase(name_.string() + " became shorter while it was read.", false);
    bytes = bytes.subspan(static_cast<std::size_t>(n));
    offset += static_cast<u64>(n);
  }
}

void DiskFile::write(u64 offset, std::span<unsigned char const> bytes) {
  while (!bytes.empty()) {
    auto const n = uninterrupted([&] { return system_->write(file_, bytes, toOffset(offset)); });
    if (n == 0) errno = ENOSPC;
    if (n <= 0) fail("write");
    bytes = bytes.subspan(static_cast<std::size_t>(n));
    offset += static_cast<u64>(n);
  }
}

void DiskFile::truncate(u64 length) {
  if (uninterrupted([&] { return system_->truncate(file_, toOffset(length)); }) != 0) fail("cut");
}

// An interrupted sync is a failed one: what the system still holds is not known.
void DiskFile::sync() {
  if (system_->sync(file_) != 0) fail("sync");
}

void DiskFile::fail(std::string_view doing) const { throwSystemError(doing, name_, errno); }

}  // namespace casebook
