#include "console/output_file.h"

#include "console/messages.h"
#include "text/utf8.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace casebook::cli {
namespace fs = std::filesystem;
namespace {

void refuse(fs::path const& path, std::string_view why) {
  throw Failure{fmt::format("{}: {}", printable(path.string()), why)};
}

fs::path behindLinks(fs::path const& path) {
  std::error_code error;
  fs::path const real = fs::canonical(path, error);
  return error ? path : real;
}

}  // namespace

OutputFile::OutputFile(fs::path const& path) : name_{path}, target_{behindLinks(path)} {}

OutputFile::OutputFile(fs::path const& path, fs::path const& keep) : OutputFile{path} {
  std::error_code error;
  if (fs::equivalent(path, keep, error)) refuse(path, "This is the project's own file; the output needs another.");
  fs::file_status const status = fs::status(target_, error);
  if (fs::is_directory(status)) refuse(path, "This is a folder.");
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    check(fd_ = ::open(target_.c_str(), O_WRONLY | O_CLOEXEC));
  } else {
    openBeside();
  }
  stream_ = std::make_unique<FdStream>(fd_);
}

OutputFile::~OutputFile() {
  if (fd_ >= 0) ::close(fd_);
  if (!beside_.empty()) ::unlink(beside_.c_str());
}

void OutputFile::openBeside() {
  std::string beside = fmt::format("{}.{}.part", target_.string(), ::getpid());
  check(fd_ = ::open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
  beside_ = std::move(beside);
  struct stat earlier{};
  if (::stat(target_.c_str(), &earlier) == 0) check(::fchmod(fd_, earlier.st_mode & 07777U));
}

void OutputFile::commit() {
  try {
    stream_->finish();
  } catch (std::system_error const& e) {
    fail(e.code().value());
  }
  if (!beside_.empty()) check(::fsync(fd_));
  check(::close(std::exchange(fd_, -1)));
  if (beside_.empty()) return;
  check(::rename(beside_.c_str(), target_.c_str()));
  beside_.clear();
}

void OutputFile::check(int result) const {
  if (result < 0) fail(errno);
}

void OutputFile::fail(int error) const {
  throw Failure{
      fmt::format("{}: Cannot be written: {}.", printable(name_.string()), std::generic_category().message(error))};
}

}  // namespace casebook::cli
