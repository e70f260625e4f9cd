#pragma once

#include <casebook/variant.h>

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

/// A project's file, NAME.casebook. Numbers are little-endian, checks are CRC-32 (ISO-HDLC).
///
///   file    = header frame*
///   header  = magic:8 version:u32 zero:u32 identity:16 check:u32                 36 bytes, in every version
///             magic is 89 'C' 'B' 'K' 0D 0A 1A 0A; identity is random, made with the file;
///             check is that of the 32 bytes before it
///   frame   = head label block check:u32
///             check is that of the head without its own, the label and the block
///   head    = magic:u32 kind:u32 file:u32 previous:u32 sequence:u64 argument:u64 when:i64
///             blockLength:u64 labelLength:u32 part:u32 parts:u32 check:u32       64 bytes
///             magic is "cbFR"; file is the header's check; previous is the check of the frame before, for the
///             first frame that of the header; sequence counts from 1; when is in milliseconds since 1970, UTC;
///             check is that of the 60 bytes before it
///   label   = UTF-8, as it was given
///
///   kind          block                                               argument
///   1 transaction  as the journal signal gave it                       0
///   2 checkpoint   of Project::checkpoint                              the next UID
///   3 undo         as journalled when frame `argument` was undone      a frame's sequence number
///   4 redo         as journalled when frame `argument` was redone      a frame's sequence number
///
/// Replaying the blocks of the kinds 1, 3 and 4 forwards, each in a transaction, gives the state; a checkpoint is the
/// state that those before it gave, so that reading can begin there, and holds nothing that they do not. Kind 3 names
/// the latest frame of kind 1 that stands, kind 4 the latest of those undone since the last frame of kind 1; the block
/// of one that changed nothing is empty.
///
/// The frames of one edit are written and synced as one, and count only together: they are part 0 to parts - 1 of
/// a write. The next write begins after the sync of the one before; so a bad place with a later write behind it
/// was good once.
namespace casebook::format {

using Bytes = std::span<unsigned char const>;

/// The CRC-32 of what `before` is the CRC-32 of, followed by `bytes`.
[[nodiscard]] std::uint32_t check(Bytes bytes, std::uint32_t before = 0) noexcept;

struct FileHeader {
  static constexpr std::size_t size = 36;
  static constexpr std::uint32_t newestVersion = 1;
  using Encoded = std::array<unsigned char, size>;

  std::uint32_t version = newestVersion;
  std::array<unsigned char, 16> identity{};
  std::uint32_t storedCheck = 0;  ///< as read
  bool good = false;              ///< as read: the stored check is right

  /// Empty when the magic is not there.
  [[nodiscard]] static std::optional<FileHeader> decode(Encoded const& bytes) noexcept;
  [[nodiscard]] Encoded encode() const noexcept;
};

struct FrameHead {
  static constexpr std::size_t size = 64;
  static constexpr std::array<unsigned char, 4> magic{'c', 'b', 'F', 'R'};
  static constexpr std::size_t checkSize = 4;

  std::uint32_t kind = 1;
  std::uint32_t file = 0;
  std::uint32_t previous = 0;
  u64 sequence = 0;
  u64 argument = 0;
  std::int64_t when = 0;
  u64 blockLength = 0;
  std::uint32_t labelLength = 0;
  std::uint32_t part = 0;
  std::uint32_t parts = 1;

  /// Empty unless `bytes` begin with a head whose magic and check are right.
  [[nodiscard]] static std::optional<FrameHead> decode(Bytes bytes) noexcept;
  [[nodiscard]] std::array<unsigned char, size> encode() const noexcept;

  /// The check of the encoded head without its own, with which the frame's check begins.
  [[nodiscard]] std::uint32_t seed() const noexcept;
  /// Whether label, block and check lie within `room` bytes.
  [[nodiscard]] bool bodyFits(u64 room) const noexcept;
  /// Their length; only of a head whose body fits somewhere.
  [[nodiscard]] u64 bodyLength() const noexcept { return labelLength + blockLength + checkSize; }
  /// The sequence number of the first frame of the same write.
  [[nodiscard]] u64 firstOfWrite() const noexcept { return sequence - part; }
};

/// Appends a whole frame to `out`, the lengths in the head being filled in. Returns the frame's check.
std::uint32_t appendFrame(std::vector<unsigned char>& out, FrameHead head, std::string_view label, Bytes block);

/// The number behind a label and a block.
[[nodiscard]] std::uint32_t readCheck(std::span<unsigned char const, FrameHead::checkSize> bytes) noexcept;

}  // namespace casebook::format
