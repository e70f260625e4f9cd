#include "file_system.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace casebook {

FileSystem::~FileSystem() = default;

FileSystem& FileSystem::real() noexcept {
  static FileSystem system;
  return system;
}

int FileSystem::open(char const* path, int flags) { return ::open(path, flags, mode_t{0666}); }

int FileSystem::close(int file) { return ::close(file); }

ssize_t FileSystem::read(int file, std::span<unsigned char> bytes, off_t offset) {
  return ::pread(file, bytes.data(), bytes.size(), offset);
}

ssize_t FileSystem::write(int file, std::span<unsigned char const> bytes, off_t offset) {
  return ::pwrite(file, bytes.data(), bytes.size(), offset);
}

off_t FileSystem::size(int file) {
  struct stat status{};
  if (::fstat(file, &status) != 0) return -1;
  if (S_ISREG(status.st_mode)) return status.st_size;
  errno = S_ISDIR(status.st_mode) ? EISDIR : ESPIPE;
  return -1;
}

int FileSystem::sync(int file) { return ::fdatasync(file); }

int FileSystem::truncate(int file, off_t length) { return ::ftruncate(file, length); }

int FileSystem::lock(int file, Lock kind) {
  return ::flock(file, (kind == Lock::Shared ? LOCK_SH : LOCK_EX) | LOCK_NB);
}

int FileSystem::putInPlace(char const* from, char const* to) {
  if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0) return 0;
  // Not every file system has this kind of rename; a link never replaces anything either.
  if (errno != EINVAL && errno != ENOSYS && errno != ENOTSUP) return -1;
  if (::link(from, to) != 0) return -1;
  ::unlink(from);
  return 0;
}

int FileSystem::remove(char const* path) { return ::unlink(path); }

int FileSystem::syncDirectory(char const* path) {
  int const directory = ::open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (directory < 0) return -1;
  int const result = ::fsync(directory);
  int const error = errno;
  ::close(directory);
  errno = error;
  return result;
}

}  // namespace casebook
