#pragma once

#include "file_system.h"

#include <casebook/variant.h>

#include <chrono>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>

namespace casebook {

/// An open file, which is read and written in whole ranges: what the system leaves undone or interrupts is taken up
/// again. Every failure is a varnel::ExceptionBase("Cannot <do something to> <path>: <the system's reason>", false).
class DiskFile {
 public:
  enum class Opening { Read, Write, New };

  /// Opens what stands at `path`; `name` is what messages call it.
  DiskFile(FileSystem& system, std::filesystem::path const& path, Opening opening, std::filesystem::path const& name);
  DiskFile(DiskFile&& other) noexcept;
  DiskFile& operator=(DiskFile&& other) noexcept;
  ~DiskFile();

  /// Lets go of the file and of its lock.
  void close() noexcept;
  [[nodiscard]] bool isOpen() const noexcept { return file_ >= 0; }

  [[nodiscard]] FileSystem& system() const noexcept { return *system_; }
  [[nodiscard]] std::filesystem::path const& name() const noexcept { return name_; }

  /// Tries again until `wait` is over, then throws ("<path> is in use: it stayed locked for <n> ms.", false).
  void lock(FileSystem::Lock kind, std::chrono::milliseconds wait);
  [[nodiscard]] u64 size() const;
  void read(u64 offset, std::span<unsigned char> bytes) const;
  void write(u64 offset, std::span<unsigned char const> bytes);
  void truncate(u64 length);
  void sync();

 private:
  [[noreturn]] void fail(std::string_view doing) const;

  FileSystem* system_;
  std::filesystem::path name_;
  int file_;
};

/// "Cannot <doing> <path>: <reason>", the reason being that of the system's `error`.
[[noreturn]] void throwSystemError(std::string_view doing, std::filesystem::path const& path, int error);

}  // namespace casebook
