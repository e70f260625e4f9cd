#pragma once

#include <casebook/export.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace casebook {

using u64 = std::uint64_t;

/// A growable byte writer. Numbers are written as their bytes in memory, which are little-endian on every supported
/// platform. The block is kept between uses, so writing allocates only when a content exceeds every earlier one.
class CASEBOOK_EXPORT SimpleSerializer {
 public:
  /// Starts with a block of 80 bytes.
  SimpleSerializer();
  SimpleSerializer(SimpleSerializer const&) = delete;
  ~SimpleSerializer();

  /// Copies the fields, so that both objects refer to one block, which both would free.
  [[deprecated("both writers would own one block; not for use")]] SimpleSerializer& operator=(
      SimpleSerializer const& other);

  /// Appends `n` bytes. When they do not fit, the new block has twice the size needed; an allocation failure passes
  /// and leaves the writer as it was.
  void write(unsigned char const* data, u64 n);

  /// Bytes written so far.
  [[nodiscard]] u64 size() const noexcept { return size_; }
  /// Bytes allocated.
  [[nodiscard]] u64 capacity() const noexcept { return capacity_; }
  /// How often the content was copied into a new block.
  [[nodiscard]] u64 reallocations() const noexcept { return reallocations_; }

  /// The bytes written, (null, 0) when there are none, and sets the size to 0. The block stays the writer's: take
  /// the bytes out before writing again.
  [[nodiscard]] std::pair<unsigned char*, u64> finalize() noexcept;

  /// Sets the size to 0 and keeps the block.
  void clear() noexcept { size_ = 0; }

  /// Makes the block exactly `n` bytes when `n` is at least the capacity (an equal one is made anew too); a smaller
  /// hint does nothing.
  void sizeHint(u64 n) { reserve(n); }

  /// Writes a text: its length (8 bytes), then its bytes.
  void handleString(std::string const& text);

 private:
  void reserve(u64 n);
  void moveTo(u64 capacity);

  unsigned char* buffer_ = nullptr;
  u64 capacity_ = 0;
  u64 size_ = 0;
  u64 reallocations_ = 0;
};

/// A reader over bytes that it borrows; it never reads past their end.
class CASEBOOK_EXPORT SimpleDeserializer {
 public:
  SimpleDeserializer(unsigned char const* data, u64 n) noexcept : position_{data}, end_{data + n} {}

  /// Copies the next `n` bytes to `out`. With fewer left, throws
  /// varnel::ExceptionBase("Attempt to read beyond end of data block.", true) and stays where it is.
  void read(unsigned char* out, u64 n) {
    auto const* const from = passOver(n);
    if (n != 0) std::memcpy(out, from, n);
  }

  /// Passes over the next `n` bytes; throws as `read` does.
  void skip(u64 n) { passOver(n); }

  /// The next `n` bytes, which it passes over; throws as `read` does.
  [[nodiscard]] std::string_view view(u64 n) { return {reinterpret_cast<char const*>(passOver(n)), n}; }

  /// Reads a text as SimpleSerializer::handleString writes it. With fewer bytes left than its length says, the
  /// length is consumed, `text` becomes that many zero bytes as are left, and the message of `read` is thrown.
  void handleString(std::string& text);

  [[nodiscard]] u64 remaining() const noexcept { return static_cast<u64>(end_ - position_); }

 private:
  unsigned char const* passOver(u64 n) {
    if (n > remaining()) refuseRead();
    return std::exchange(position_, position_ + n);
  }
  [[noreturn]] static void refuseRead();

  unsigned char const* position_;
  unsigned char const* end_;
};

/// Writes and reads the text that it refers to: the length (8 bytes), then the bytes.
class CASEBOOK_EXPORT StringSerializer {
 public:
  explicit StringSerializer(std::string& text) noexcept : text_{text} {}

  /// Instantiated for SimpleSerializer (writes) and SimpleDeserializer (reads).
  template <class Archive>
  void serialize(Archive& archive);

 private:
  std::string& text_;
};

/// The same for a list of texts: their number (8 bytes), then each text.
class CASEBOOK_EXPORT VectorStringSerializer {
 public:
  explicit VectorStringSerializer(std::vector<std::string>& texts) noexcept : texts_{texts} {}

  /// Reading a list whose count exceeds what the remaining bytes can hold consumes the count, leaves as many empty
  /// texts as could follow and throws the message of SimpleDeserializer::read.
  template <class Archive>
  void serialize(Archive& archive);

 private:
  std::vector<std::string>& texts_;
};

extern template CASEBOOK_EXPORT void StringSerializer::serialize(SimpleSerializer&);
extern template CASEBOOK_EXPORT void StringSerializer::serialize(SimpleDeserializer&);
extern template CASEBOOK_EXPORT void VectorStringSerializer::serialize(SimpleSerializer&);
extern template CASEBOOK_EXPORT void VectorStringSerializer::serialize(SimpleDeserializer&);

}  // namespace casebook
