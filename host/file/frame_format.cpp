#include "frame_format.h"

#include <libdeflate.h>

#include <algorithm>
#include <concepts>

namespace casebook::format {

namespace {

constexpr std::array<unsigned char, 8> fileMagic{0x89, 'C', 'B', 'K', 0x0D, 0x0A, 0x1A, 0x0A};

class Writer {
 public:
  explicit Writer(unsigned char* out) noexcept : out_{out} {}

  void bytes(Bytes bytes) noexcept { out_ = std::copy(bytes.begin(), bytes.end(), out_); }
  void number(std::unsigned_integral auto value) noexcept {
    for (std::size_t k = 0; k < sizeof value; ++k) *out_++ = static_cast<unsigned char>(value >> (8 * k));
  }

 private:
  unsigned char* out_;
};

class Reader {
 public:
  explicit Reader(unsigned char const* in) noexcept : in_{in} {}

  void bytes(std::span<unsigned char> out) noexcept {
    std::copy_n(in_, out.size(), out.begin());
    in_ += out.size();
  }
  template <std::unsigned_integral Number>
  void number(Number& value) noexcept {
    value = 0;
    for (std::size_t k = 0; k < sizeof value; ++k) value |= static_cast<Number>(Number{*in_++} << (8 * k));
  }

 private:
  unsigned char const* in_;
};

}  // namespace

std::uint32_t check(Bytes bytes, std::uint32_t before) noexcept {
  return bytes.empty() ? before : libdeflate_crc32(before, bytes.data(), bytes.size());
}

FileHeader::Encoded FileHeader::encode() const noexcept {
  Encoded bytes{};
  Writer writer{bytes.data()};
  writer.bytes(fileMagic);
  writer.number(version);
  writer.number(std::uint32_t{0});
  writer.bytes(identity);
  writer.number(check(Bytes{bytes}.first(size - 4)));
  return bytes;
}

std::optional<FileHeader> FileHeader::decode(Encoded const& bytes) noexcept {
  if (!std::equal(fileMagic.begin(), fileMagic.end(), bytes.begin())) return std::nullopt;
  FileHeader header;
  std::uint32_t zero = 0;
  Reader reader{bytes.data() + fileMagic.size()};
  reader.number(header.version);
  reader.number(zero);
  reader.bytes(header.identity);
  reader.number(header.storedCheck);
  header.good = header.storedCheck == check(Bytes{bytes}.first(size - 4));
  return header;
}

std::array<unsigned char, FrameHead::size> FrameHead::encode() const noexcept {
  std::array<unsigned char, size> bytes{};
  Writer writer{bytes.data()};
  writer.bytes(magic);
  writer.number(kind);
  writer.number(file);
  writer.number(previous);
  writer.number(sequence);
  writer.number(argument);
  writer.number(static_cast<u64>(when));
  writer.number(blockLength);
  writer.number(labelLength);
  writer.number(part);
  writer.number(parts);
  writer.number(check(Bytes{bytes}.first(size - 4)));
  return bytes;
}

std::optional<FrameHead> FrameHead::decode(Bytes bytes) noexcept {
  if (bytes.size() < size || !std::equal(magic.begin(), magic.end(), bytes.begin())) return std::nullopt;
  FrameHead head;
  u64 when = 0;
  std::uint32_t stored = 0;
  Reader reader{bytes.data() + magic.size()};
  reader.number(head.kind);
  reader.number(head.file);
  reader.number(head.previous);
  reader.number(head.sequence);
  reader.number(head.argument);
  reader.number(when);
  reader.number(head.blockLength);
  reader.number(head.labelLength);
  reader.number(head.part);
  reader.number(head.parts);
  reader.number(stored);
  if (stored != check(bytes.first(size - 4))) return std::nullopt;
  head.when = static_cast<std::int64_t>(when);
  return head;
}

// Not continued over the head's own check: a CRC that runs over bytes and their CRC forgets the bytes.
std::uint32_t FrameHead::seed() const noexcept { return check(Bytes{encode()}.first(size - 4)); }

bool FrameHead::bodyFits(u64 room) const noexcept {
  return room >= checkSize && room - checkSize >= labelLength && room - checkSize - labelLength >= blockLength;
}

std::uint32_t appendFrame(std::vector<unsigned char>& out, FrameHead head, std::string_view label, Bytes block) {
  head.blockLength = block.size();
  head.labelLength = static_cast<std::uint32_t>(label.size());
  auto const encoded = head.encode();
  std::array<unsigned char, FrameHead::checkSize> end{};
  auto const begin = out.size();
  out.insert(out.end(), encoded.begin(), encoded.end());
  out.insert(out.end(), label.begin(), label.end());
  out.insert(out.end(), block.begin(), block.end());
  auto const frameCheck = check(Bytes{out}.subspan(begin + FrameHead::size), head.seed());
  Writer{end.data()}.number(frameCheck);
  out.insert(out.end(), end.begin(), end.end());
  return frameCheck;
}

std::uint32_t readCheck(std::span<unsigned char const, FrameHead::checkSize> bytes) noexcept {
  std::uint32_t stored = 0;
  Reader{bytes.data()}.number(stored);
  return stored;
}

}  // namespace casebook::format
