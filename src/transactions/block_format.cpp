// Heads of blocks and of commands (casebook/journal.h has the grammar): both begin with a length of 8 bytes and a
// number of 4, a CRC for a block and a code for a command, little-endian.

#include "transactions/block_format.h"

#include <libdeflate.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace casebook {

namespace {

struct Head {
  static constexpr u64 size = Journal::TransactionWriter::headerSize;

  u64 length = 0;
  std::uint32_t number = 0;
};

Head readHead(Journal::Bytes bytes) noexcept {
  Head head;
  std::memcpy(&head.length, bytes.data(), sizeof head.length);
  std::memcpy(&head.number, bytes.data() + sizeof head.length, sizeof head.number);
  return head;
}

void writeHead(unsigned char* out, Head head) noexcept {
  std::memcpy(out, &head.length, sizeof head.length);
  std::memcpy(out + sizeof head.length, &head.number, sizeof head.number);
}

std::uint32_t crcOf(Journal::Bytes bytes) noexcept { return libdeflate_crc32(0, bytes.data(), bytes.size()); }

/// What begins at `offset`, empty when it lies outside.
Journal::Bytes from(Journal::Bytes bytes, u64 offset) noexcept {
  return offset <= bytes.size() ? bytes.subspan(offset) : Journal::Bytes{};
}

/// Whether a whole item, a block or a command, begins the bytes.
bool holdsWhole(Journal::Bytes bytes) noexcept {
  if (bytes.size() < Head::size) return false;
  u64 const length = readHead(bytes).length;
  return length >= Head::size && length <= bytes.size();
}

}  // namespace

void OpenBlock::appendHead() { std::memset(bytes_.append(headerSize), 0, headerSize); }

void OpenBlock::restart() noexcept {
  constexpr u64 smallRoom = 65536;
  constexpr u64 mostRoom = u64{1} << 29;
  recentSize_ = std::max(size(), recentSize_ - recentSize_ / 8);
  bytes_.truncate(std::min<u64>(headerSize, size()));
  if (bytes_.capacity() > mostRoom || bytes_.capacity() > std::max(smallRoom, 4 * recentSize_)) bytes_.release();
  else if (bytes_.size() != 0) std::memset(bytes_.data(), 0, headerSize);
}

CommandList::CommandList(Journal::Bytes block) : block_{block} {
  for (u64 place = Head::size; holdsWhole(from(block, place)); place += readHead(from(block, place)).length)
    places_.push_back(place);
}

Journal::Command CommandList::operator[](std::size_t number) const noexcept {
  Journal::Bytes const rest = block_.subspan(places_[number]);
  auto const [length, code] = readHead(rest);
  return {code, rest.subspan(Head::size, length - Head::size)};
}

namespace Journal {

RestoreError::RestoreError(u64 number, std::string reason)
    : ExceptionBase{"Block " + std::to_string(number) + " cannot be restored: " + reason, true},
      number_{number},
      reason_{std::move(reason)} {}

RestoreError::~RestoreError() = default;

namespace {

// From here on bytes come from malloc, whose blocks can grow where they are.
constexpr std::size_t largeCapacity = std::size_t{1} << 20;

unsigned char* allocated(std::size_t capacity) {
  auto* const bytes = capacity < largeCapacity ? ::operator new(capacity) : std::malloc(capacity);
  if (!bytes) throw std::bad_alloc{};
  return static_cast<unsigned char*>(bytes);
}

unsigned char* reallocated(unsigned char* bytes, std::size_t capacity) {
  auto* const moved = std::realloc(bytes, capacity);
  if (!moved) throw std::bad_alloc{};
  return static_cast<unsigned char*>(moved);
}

}  // namespace

void GrowingBytes::grow(std::size_t n) {
  std::size_t const capacity = std::max<std::size_t>({size_ + n, capacity_ + capacity_ / 2, 256});
  if (capacity_ >= largeCapacity) {
    data_ = reallocated(data_, capacity);
  } else {
    auto* const bytes = allocated(capacity);
    if (size_ != 0) std::memcpy(bytes, data_, size_);
    ::operator delete(data_);
    data_ = bytes;
  }
  capacity_ = capacity;
}

void GrowingBytes::release() noexcept {
  if (capacity_ < largeCapacity) ::operator delete(data_);
  else std::free(data_);
  data_ = nullptr;
  size_ = capacity_ = 0;
}

void GrowingBytes::swap(GrowingBytes& other) noexcept {
  std::swap(data_, other.data_);
  std::swap(size_, other.size_);
  std::swap(capacity_, other.capacity_);
}

TransactionWriter::TransactionWriter() { std::memset(bytes_.append(headerSize), 0, headerSize); }

Bytes TransactionWriter::finalize() noexcept {
  if (size() < headerSize) return bytes();
  Bytes const content = bytes().subspan(headerSize);
  writeHead(bytes_.data(), {size(), content.empty() ? 0 : crcOf(content)});
  return bytes();
}

u64 Transaction::length() const noexcept {
  Bytes const rest = from(bytes_, offset_);
  return rest.size() < Head::size ? 0 : readHead(rest).length;
}

bool Transaction::valid() const noexcept {
  Bytes const rest = from(bytes_, offset_);
  if (!holdsWhole(rest)) return false;
  auto const [length, crc] = readHead(rest);
  return length == Head::size || crcOf(rest.subspan(Head::size, length - Head::size)) == crc;
}

Bytes Transaction::bytes() const noexcept {
  Bytes const rest = from(bytes_, offset_);
  return rest.first(std::min<u64>(length(), rest.size()));
}

std::vector<Command> Transaction::commands() const {
  CommandList const list{bytes()};
  std::vector<Command> commands;
  commands.reserve(list.size());
  for (std::size_t k = 0; k < list.size(); ++k) commands.push_back(list[k]);
  return commands;
}

}  // namespace Journal
}  // namespace casebook
