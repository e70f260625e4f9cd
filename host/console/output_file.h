#pragma once

#include "console/fd_stream.h"

#include <filesystem>
#include <memory>

namespace casebook::cli {

/// Throws Failure when what is printed on stdout would go into the file `keep`.
void refuseStdoutInto(std::filesystem::path const& keep);

/// A file that takes the place of its name only when it is whole: it is written beside and renamed by `commit`. A
/// link is followed, and the permissions of a file that is replaced stay. What is no regular file (a pipe, a
/// terminal) is written to as it is, and so is what a name under /dev or /proc leads to: that is a file which is open
/// already, such as stdout.
class OutputFile {
 public:
  /// Throws Failure when the file cannot be made, and when `path` is the file `keep`, by whatever name.
  OutputFile(std::filesystem::path const& path, std::filesystem::path const& keep);
  OutputFile(OutputFile const&) = delete;
  /// Without a commit, nothing is left of it.
  ~OutputFile();

  [[nodiscard]] std::ostream& stream() { return *stream_; }
  /// Throws Failure when something could not be written, and the earlier file is untouched then; also when the new one
  /// has its name, but perhaps not after a loss of power.
  void commit();

 private:
  explicit OutputFile(std::filesystem::path const& path);
  void openBeside();
  void syncFolder() const;
  [[noreturn]] void fail(int error) const;
  void check(int result) const;

  std::filesystem::path name_;    // as the person gave it
  std::filesystem::path target_;  // where links lead
  std::filesystem::path beside_;  // empty when the target itself is written
  int fd_ = -1;
  std::unique_ptr<FdStream> stream_;
};

}  // namespace casebook::cli
