#pragma once

#include <casebook/export.h>

#include <atomic>
#include <bit>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace casebook {

using u64 = std::uint64_t;

/// The value of one cell: 16 bytes, the 32-bit type first, then an 8-byte word. A null's word is 0.
///
/// A text is immutable and shared: copying a value never copies its text. The count of a text's owners is atomic,
/// so values may be read and copied on several threads while nobody writes them.
///
/// Order is total: by type, then by value. Texts compare byte by byte, -0.0 equals 0.0, NaN equals NaN and stands
/// after every other number. Every conversion is defined for every type.
class CASEBOOK_EXPORT Variant {
 public:
  /// Stored in files: never renumber.
  enum Type : std::uint32_t { Null = 0, UnsignedInteger = 1, FloatingPoint = 2, String = 3 };

  constexpr Variant() noexcept = default;
  Variant(double value) noexcept : type_{FloatingPoint}, word_{std::bit_cast<u64>(value)} {}
  Variant(char const* text);
  Variant(std::string text);
  Variant(std::nullptr_t) = delete;

  /// A number of 32 bits held under `type`, which is one of the types that hold no text. A null's word stays 0.
  /// Throws varnel::ExceptionBase("A text cannot be made from a number.", true) for type String.
  Variant(std::uint32_t value, Type type) : Variant{ofWord(value, type)} {}

  /// The same for a word of 64 bits: identifiers of entities, and words read back from a journal (for type
  /// FloatingPoint the word is the bits of the double).
  [[nodiscard]] static Variant ofWord(u64 word, Type type);

  /// A missing number.
  [[nodiscard]] static Variant nan() noexcept;

  Variant(Variant const& other) noexcept : type_{other.type_}, word_{other.word_} { retain(); }
  Variant(Variant&& other) noexcept : type_{other.type_}, word_{other.word_} { other.forget(); }
  Variant& operator=(Variant const& other) noexcept {
    Variant{other}.swap(*this);
    return *this;
  }
  Variant& operator=(Variant&& other) noexcept {
    Variant{std::move(other)}.swap(*this);
    return *this;
  }
  ~Variant() { release(); }

  void swap(Variant& other) noexcept {
    std::swap(type_, other.type_);
    std::swap(word_, other.word_);
  }

  [[nodiscard]] Type type() const noexcept { return type_; }
  [[nodiscard]] bool isNull() const noexcept { return type_ == Null; }

  /// The number as an unsigned integer: null, NaN and texts give 0, a double is cut to its whole part and to the
  /// range from 0 to 2^64-1.
  [[nodiscard]] u64 longValue() const noexcept;

  /// The number as a double: null and texts give NaN.
  [[nodiscard]] double doubleValue() const noexcept;

  /// The text held; "" for every other type. The reference lasts as long as some value holds this text.
  [[nodiscard]] std::string const& stringValue() const noexcept { return ownsText() ? text()->content : noText(); }

  /// The value as text: null is "", a number the fewest digits that read back to the same number ("nan", "inf" and
  /// "-inf" for those). Doubles of magnitudes from 1e-5 up to 1e15 are written without an exponent. Equal values give
  /// the same text.
  [[nodiscard]] std::string toString() const;

  /// The 8 bytes behind the type as they stand; 0 for texts, whose word means nothing outside the process.
  [[nodiscard]] u64 word() const noexcept { return type_ == String ? 0 : word_; }

  /// Whether the values cannot be told apart: unlike with ==, -0.0 is not 0.0, and a NaN is itself alone.
  [[nodiscard]] bool isIdentical(Variant const& other) const noexcept {
    return type_ == other.type_ && (word_ == other.word_ || (type_ == String && hasSameText(other)));
  }

  [[nodiscard]] friend bool operator==(Variant const& a, Variant const& b) noexcept {
    return a.type_ == b.type_ && (a.word_ == b.word_ || a.equalsSameType(b));
  }
  [[nodiscard]] friend std::weak_ordering operator<=>(Variant const& a, Variant const& b) noexcept {
    return a.type_ != b.type_ ? std::weak_ordering{a.type_ <=> b.type_} : a.compareSameType(b);
  }

 private:
  struct Text {
    explicit Text(std::string value) : content{std::move(value)} {}

    std::atomic<u64> owners{1};
    std::string const content;
  };

  constexpr Variant(Type type, u64 word) noexcept : type_{type}, word_{word} {}

  [[nodiscard]] Text* text() const noexcept { return reinterpret_cast<Text*>(static_cast<std::uintptr_t>(word_)); }
  [[nodiscard]] std::weak_ordering compareSameType(Variant const& other) const noexcept;

  // Of values whose words differ.
  [[nodiscard]] bool equalsSameType(Variant const& other) const noexcept {
    if (type_ == String) return hasSameText(other);
    auto const a = std::bit_cast<double>(word_);
    auto const b = std::bit_cast<double>(other.word_);
    return type_ == FloatingPoint && (a == b || (a != a && b != b));
  }
  [[nodiscard]] bool hasSameText(Variant const& other) const noexcept {
    return ownsText() && other.ownsText() && text()->content == other.text()->content;
  }
  [[nodiscard]] static std::string const& noText() noexcept;

  // The empty text needs no storage: its word is 0.
  [[nodiscard]] bool ownsText() const noexcept { return type_ == String && word_ != 0; }
  void retain() const noexcept {
    if (ownsText()) text()->owners.fetch_add(1, std::memory_order_relaxed);
  }
  void release() const noexcept {
    if (ownsText() && text()->owners.fetch_sub(1, std::memory_order_acq_rel) == 1) deleteText();
  }
  void forget() noexcept {
    type_ = Null;
    word_ = 0;
  }
  void deleteText() const noexcept;

  Type type_ = Null;
  u64 word_ = 0;
};

static_assert(sizeof(Variant) == 16);

inline void swap(Variant& a, Variant& b) noexcept { a.swap(b); }

}  // namespace casebook
