// Heads of blocks and of commands (casebook/journal.h has the grammar): both begin with a length of 8 bytes and a
// number of 4, a CRC for a block and a code for a command, little-endian.

#include "transactions/block_format.h"

#include <zlib.h>

#include <algorithm>
#include <cstring>

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

std::uint32_t crcOf(Journal::Bytes bytes) noexcept {
  return static_cast<std::uint32_t>(crc32_z(0, bytes.data(), bytes.size()));
}

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

/// What follows the head of a block, as far as its length and the bytes reach.
Journal::Bytes commandBytes(Journal::Bytes block) noexcept {
  if (block.size() < Head::size) return {};
  u64 const length = std::min<u64>(readHead(block).length, block.size());
  return length < Head::size ? Journal::Bytes{} : block.subspan(Head::size, length - Head::size);
}

}  // namespace

void OpenBlock::append(std::uint32_t code, Journal::Bytes payload) {
  u64 const place = bytes_.size();
  u64 const length = Head::size + payload.size();
  bytes_.resize(place + length);
  writeHead(bytes_.data() + place, {length, code});
  if (!payload.empty()) std::memcpy(bytes_.data() + place + Head::size, payload.data(), payload.size());
}

void OpenBlock::restart() noexcept {
  constexpr std::size_t roomToKeep = 65536;
  bytes_.resize(headerSize);
  if (bytes_.capacity() > roomToKeep) bytes_.shrink_to_fit();
  std::ranges::fill(bytes_, static_cast<unsigned char>(0));
}

namespace Journal {

RestoreError::RestoreError(u64 number, std::string reason)
    : ExceptionBase{"Block " + std::to_string(number) + " cannot be restored: " + reason, true},
      number_{number},
      reason_{std::move(reason)} {}

RestoreError::~RestoreError() = default;

TransactionWriter::TransactionWriter() : bytes_(headerSize) {}

Bytes TransactionWriter::finalize() noexcept {
  Bytes const content = bytes().subspan(headerSize);
  writeHead(bytes_.data(), {size(), content.empty() ? 0 : crcOf(content)});
  return bytes_;
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

std::vector<Command> Transaction::commands() const {
  std::vector<Command> commands;
  Bytes rest = commandBytes(from(bytes_, offset_));
  while (holdsWhole(rest)) {
    auto const [length, code] = readHead(rest);
    commands.push_back({code, rest.subspan(Head::size, length - Head::size)});
    rest = rest.subspan(length);
  }
  return commands;
}

}  // namespace Journal
}  // namespace casebook
