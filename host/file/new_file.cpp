#include "new_file.h"

#include <array>
#include <cerrno>
#include <random>

namespace casebook {

namespace {

std::filesystem::path folderOf(std::filesystem::path const& name) {
  return name.has_parent_path() ? name.parent_path() : std::filesystem::path{"."};
}

std::string temporaryName() {
  std::array<unsigned char, 8> random{};
  fillRandom(random);
  return '.' + toHex(random) + ".casebook-new";
}

}  // namespace

void fillRandom(std::span<unsigned char> bytes) {
  std::random_device source;
  for (auto& byte : bytes) byte = static_cast<unsigned char>(source());
}

std::string toHex(std::span<unsigned char const> bytes) {
  std::string text;
  for (auto const byte : bytes) {
    text += "0123456789abcdef"[byte >> 4];
    text += "0123456789abcdef"[byte & 15];
  }
  return text;
}

NewFile::NewFile(FileSystem& system, std::filesystem::path const& name)
    : folder_{folderOf(name)},
      temporary_{folder_ / temporaryName()},
      file_{system, temporary_, DiskFile::Opening::New, name} {}

NewFile::~NewFile() {
  if (!placed_) file_.system().remove(temporary_.c_str());
}

bool NewFile::putInPlace(std::filesystem::path const& name) {
  auto& system = file_.system();
  file_.sync();
  if (system.putInPlace(temporary_.c_str(), name.c_str()) != 0) {
    if (errno == EEXIST) return false;
    throwSystemError("create", name, errno);
  }
  placed_ = true;
  if (system.syncDirectory(folder_.c_str()) != 0) {
    int const error = errno;
    system.remove(name.c_str());
    throwSystemError("create", name, error);
  }
  return true;
}

}  // namespace casebook
