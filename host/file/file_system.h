#pragma once

#include <sys/types.h>

#include <span>

namespace casebook {

/// Every call by which this library touches files: the system's own, which answer -1 and set `errno` where they
/// fail, write less than they were given, and are interrupted. A test puts failing ones in their place.
class FileSystem {
 public:
  /// Locks are those of flock: they belong to the open file, so that two of one process exclude each other, they
  /// need no right to write, and closing another descriptor of the same file does not drop them.
  enum class Lock { Shared, Exclusive };

  FileSystem() = default;
  FileSystem(FileSystem const&) = delete;
  FileSystem& operator=(FileSystem const&) = delete;
  virtual ~FileSystem();

  [[nodiscard]] static FileSystem& real() noexcept;
  [[nodiscard]] static FileSystem& orReal(FileSystem* chosen) noexcept { return chosen ? *chosen : real(); }

  /// `flags` are those of open(2). A file that is made is readable and writable as the umask allows.
  virtual int open(char const* path, int flags);
  virtual int close(int file);
  virtual ssize_t read(int file, std::span<unsigned char> bytes, off_t offset);
  virtual ssize_t write(int file, std::span<unsigned char const> bytes, off_t offset);
  /// The length of a regular file; fails for every other kind.
  virtual off_t size(int file);
  /// The bytes and the length are on the disk when it answers 0.
  virtual int sync(int file);
  virtual int truncate(int file, off_t length);
  /// Does not wait: EWOULDBLOCK when another holds the lock.
  virtual int lock(int file, Lock kind);
  /// Renames; EEXIST when something has the new name.
  virtual int putInPlace(char const* from, char const* to);
  virtual int remove(char const* path);
  virtual int syncDirectory(char const* path);
};

}  // namespace casebook
