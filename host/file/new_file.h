#pragma once

#include "disk_file.h"

#include <optional>

namespace casebook {

/// A file in the making: it has a temporary name beside the one that it shall have, and is gone again when it was
/// never put in place.
class NewFile {
 public:
  /// `name` is the one that it shall have, and the one in messages.
  NewFile(FileSystem& system, std::filesystem::path const& name);
  NewFile(NewFile const&) = delete;
  NewFile& operator=(NewFile const&) = delete;
  ~NewFile();

  [[nodiscard]] DiskFile& file() noexcept { return file_; }

  /// Gives the file its name, in the same folder, and answers when both are on the disk; false when something bears
  /// the name already. When it throws, the name is free again as far as the disk allows.
  [[nodiscard]] bool putInPlace(std::filesystem::path const& name);

  /// The open file, once in place.
  [[nodiscard]] DiskFile take() && { return std::move(file_); }

 private:
  std::filesystem::path folder_;
  std::filesystem::path temporary_;
  DiskFile file_;
  bool placed_ = false;
};

/// `n` bytes from the system's source of randomness.
void fillRandom(std::span<unsigned char> bytes);
/// Two lower-case digits for each byte.
[[nodiscard]] std::string toHex(std::span<unsigned char const> bytes);

}  // namespace casebook
