#pragma once

#include "file_system.h"
#include "support/state.h"

#include <casebook/casebook.h>
#include <casebook/file.h>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace casebook {

using test::Content;

inline Content contentOf(std::filesystem::path const& path) {
  std::ifstream in{path, std::ios::binary};
  return {std::istreambuf_iterator<char>{in}, {}};
}

inline void setContent(std::filesystem::path const& path, Content const& bytes) {
  std::ofstream{path, std::ios::binary}.write(reinterpret_cast<char const*>(bytes.data()),
                                              static_cast<std::streamsize>(bytes.size()));
}

class TemporaryFolder {
 public:
  TemporaryFolder() {
    std::string name = std::filesystem::temp_directory_path() / "casebook-XXXXXX";
    path_ = ::mkdtemp(name.data());
  }
  TemporaryFolder(TemporaryFolder const&) = delete;
  ~TemporaryFolder() { std::filesystem::remove_all(path_); }

  [[nodiscard]] std::filesystem::path operator/(std::string const& name) const { return path_ / name; }
  [[nodiscard]] std::vector<std::string> names() const {
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator{path_}) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

 private:
  std::filesystem::path path_;
};

/// The real file system without the waiting for disks. It notes each call by a letter; the call of one number, or all
/// from that number on, fail.
class FaultyFileSystem : public FileSystem {
 public:
  long failAt = 0;  ///< 1 for the first call; 0 for none
  bool andAllLater = false;
  int error = EIO;
  bool halfWritten = false;            ///< a write that fails leaves half of its bytes behind
  bool readOnly = false;               ///< as a medium that cannot be written
  std::size_t most = std::size_t(-1);  ///< bytes that one call reads or writes
  std::string calls;

  [[nodiscard]] bool failed() const { return failAt != 0 && calls.size() >= static_cast<std::size_t>(failAt); }

  int open(char const* path, int flags) override {
    if (readOnly && (flags & (O_WRONLY | O_RDWR | O_CREAT)) != 0) return refuse(EROFS);
    return fails('o') ? -1 : FileSystem::open(path, flags);
  }
  ssize_t read(int file, std::span<unsigned char> bytes, off_t offset) override {
    return fails('r') ? -1 : FileSystem::read(file, bytes.first(std::min(most, bytes.size())), offset);
  }
  ssize_t write(int file, std::span<unsigned char const> bytes, off_t offset) override {
    if (!fails('w')) return FileSystem::write(file, bytes.first(std::min(most, bytes.size())), offset);
    if (halfWritten) static_cast<void>(FileSystem::write(file, bytes.first(bytes.size() / 2), offset));
    return refuse(error);
  }
  off_t size(int file) override { return fails('z') ? -1 : FileSystem::size(file); }
  int sync(int) override { return fails('s') ? -1 : 0; }
  int truncate(int file, off_t length) override { return fails('t') ? -1 : FileSystem::truncate(file, length); }
  int lock(int file, Lock kind) override { return fails('l') ? -1 : FileSystem::lock(file, kind); }
  int putInPlace(char const* from, char const* to) override {
    return fails('p') ? -1 : FileSystem::putInPlace(from, to);
  }
  int remove(char const* path) override { return fails('u') ? -1 : FileSystem::remove(path); }
  int syncDirectory(char const*) override { return fails('d') ? -1 : 0; }

 private:
  static int refuse(int reason) {
    errno = reason;
    return -1;
  }
  bool fails(char call) {
    calls += call;
    auto const number = static_cast<long>(calls.size());
    if (failAt == 0 || number < failAt || (number > failAt && !andAllLater)) return false;
    errno = error;
    return true;
  }
};

/// The current project while it lives, and everything in it as text.
class TestProject : public test::CurrentProject {
 public:
  [[nodiscard]] std::string state() const { return test::stateOf(**this); }
  /// What such projects are told apart by whose UIDs need not be the same.
  [[nodiscard]] std::string content() const {
    auto& project = **this;
    std::string text = project.friendlyName() + '|' + project.description() + '|' + project.rootPath();
    for (auto const variable : project.variables()) text += "\nvariable " + project.variableName(variable.id());
    for (auto const record : project.records()) {
      text += "\nrecord";
      for (auto const& value : project.getRow(record.id())) text += ' ' + value.toString();
    }
    return text;
  }
};

using Change = std::function<void(Transaction&)>;

inline Change nameIt(std::string name) {
  return [name](Transaction& transaction) { transaction->setFriendlyName(name); };
}

inline Change describeIt(std::string description) {
  return [description](Transaction& transaction) { transaction->setDescription(description); };
}

/// Two of these edits are worth a checkpoint, when the second takes the text away again.
inline std::string const longText(530'000, 'x');

/// One more record; the first time the variable "size" with it. Its cell is set.
inline void addCase(Transaction& transaction) {
  auto& project = transaction.project();
  auto column = project.variable("size");
  if (!column) column = project.addVariable("size", VariableNature{0}, VariableDataType{2}, Variant{1.0});
  auto const record = project.addRecord();
  project.setValue(column.lock(transaction), record.lock(transaction), Variant{2.5});
}

/// A host whose slot keeps the description up to date, and holds still while the file is replayed, or does not.
class EditingSlot {
 public:
  EditingSlot(Project& project, ProjectFile const* file)
      : connection_{project.connectProjectChange([&project, file](TransactionRecord const&) {
          auto const wanted = std::to_string(project.records().size()) + " records";
          if (project.description() == wanted || (file && file->isReplaying())) return;
          auto transaction = project.startTransaction();
          transaction->setDescription(wanted);
          transaction.commit();
        })} {}

 private:
  ScopedConnection connection_;
};

inline ProjectFile::Options with(FileSystem& system, ProjectFile::Access access = ProjectFile::Access::Write) {
  ProjectFile::Options options;
  options.access = access;
  options.fileSystem = &system;
  options.lockWait = std::chrono::milliseconds{0};
  return options;
}

/// What a file brings a project to. Reads a copy, so that a lock on the file is no hindrance.
inline std::string stateIn(std::filesystem::path const& path, std::string (TestProject::*what)() const) {
  auto const copy = std::filesystem::path{path} += ".copy";
  std::filesystem::copy_file(path, copy, std::filesystem::copy_options::overwrite_existing);
  FaultyFileSystem system;
  TestProject project;
  auto const file = ProjectFile::open(copy, *project, with(system, ProjectFile::Access::Read));
  std::filesystem::remove(copy);
  return (project.*what)();
}
inline std::string stateIn(std::filesystem::path const& path) { return stateIn(path, &TestProject::state); }
inline std::string contentIn(std::filesystem::path const& path) { return stateIn(path, &TestProject::content); }

inline IncompleteTail tailOf(ProjectFile const& file) { return file.incompleteTail().value_or(IncompleteTail{}); }

/// What a call throws, "" when nothing.
template <class Call>
std::string messageOf(Call const& call) {
  try {
    call();
  } catch (std::exception const& error) {
    return error.what();
  }
  return {};
}

}  // namespace casebook
