#include "console/output_file.h"

#include "console/messages.h"
#include "text/utf8.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace casebook::cli {
namespace fs = std::filesystem;
namespace {

void refuse(fs::path const& path, std::string_view why) {
  throw Failure{fmt::format("{}: {}", printable(path.string()), why)};
}

constexpr std::string_view ownFile = "This is the project's own file; the output needs another.";

bool isUnder(fs::path const& path, fs::path const& folder) {
  return std::ranges::mismatch(folder, path).in1 == folder.end();
}

/// Whether the path, or a link on the way to where it leads, is one that the system makes up.
bool isSystems(fs::path path) {
  std::error_code error;
  for (int links = 0; links < 40; ++links) {
    path = fs::absolute(path, error).lexically_normal();
    if (isUnder(path, "/proc") || (isUnder(path, "/dev") && !isUnder(path, "/dev/shm"))) return true;
    fs::path const target = fs::read_symlink(path, error);
    if (error) return false;
    path = path.parent_path() / target;
  }
  return false;
}

fs::path behindLinks(fs::path const& path) {
  std::error_code error;
  fs::path const real = fs::canonical(path, error);
  return error ? path : real;
}

}  // namespace

void refuseStdoutInto(fs::path const& keep) {
  struct stat out{};
  struct stat kept{};
  if (::fstat(STDOUT_FILENO, &out) != 0 || ::stat(keep.c_str(), &kept) != 0) return;
  if (out.st_dev == kept.st_dev && out.st_ino == kept.st_ino) refuse("stdout", ownFile);
}

OutputFile::OutputFile(fs::path const& path) : name_{path}, target_{behindLinks(path)} {}

OutputFile::OutputFile(fs::path const& path, fs::path const& keep) : OutputFile{path} {
  std::error_code error;
  if (fs::equivalent(path, keep, error)) refuse(path, ownFile);
  fs::file_status const status = fs::status(target_, error);
  if (fs::is_directory(status)) refuse(path, "This is a folder.");
  if (isSystems(path) || (fs::exists(status) && !fs::is_regular_file(status))) {
    check(fd_ = ::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
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
  syncFolder();
}

void OutputFile::syncFolder() const {
  fs::path const folder = target_.has_parent_path() ? target_.parent_path() : ".";
  int const fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  int const error = fd < 0 || ::fsync(fd) != 0 ? errno : 0;
  if (fd >= 0) ::close(fd);
  // A folder that may be written but not read, or of a kind that knows no sync, is as safe as it can be.
  if (error != 0 && error != EINVAL && error != EACCES) fail(error);
}

void OutputFile::check(int result) const {
  if (result < 0) fail(errno);
}

void OutputFile::fail(int error) const {
  throw Failure{
      fmt::format("{}: Cannot be written: {}.", printable(name_.string()), std::generic_category().message(error))};
}

}  // namespace casebook::cli
