#pragma once

#include <casebook/variant.h>

#include <bit>
#include <compare>
#include <cstdint>

namespace casebook {

/// The kinds of values in the order of Variant. Values of two kinds never equal each other; all nulls are equal, and
/// so are all NaNs.
enum class ValueKind : std::uint8_t { Null, Whole, Number, NotANumber, Text };

inline constexpr std::size_t valueKinds = 5;

/// A value as its order sees it: by kind, then by key. The keys of nulls, NaNs and texts are 0; those of whole numbers
/// and numbers tell the value, but for the sign of zero.
struct ValueKey {
  ValueKind kind;
  u64 key;
};

namespace value_key {

inline constexpr u64 signBit = u64{1} << 63;
inline constexpr u64 infinity = u64{0x7ff} << 52;

// Bits of doubles ascend with the value above zero, and descend below it.
constexpr ValueKey ofNumber(u64 bits) noexcept {
  if ((bits & ~signBit) > infinity) return {ValueKind::NotANumber, 0};
  bool const negative = bits > signBit;
  return {ValueKind::Number, negative ? ~bits : bits | signBit};
}

constexpr u64 numberOf(u64 key) noexcept { return (key & signBit) != 0 ? key ^ signBit : ~key; }

}  // namespace value_key

inline ValueKey keyOf(Variant const& value) noexcept {
  switch (value.type()) {
    case Variant::Null: return {ValueKind::Null, 0};
    case Variant::UnsignedInteger: return {ValueKind::Whole, value.word()};
    case Variant::FloatingPoint: return value_key::ofNumber(value.word());
    case Variant::String: return {ValueKind::Text, 0};
  }
  return {ValueKind::Null, 0};
}

/// The value of a key of kind Whole or Number; zero is positive.
inline Variant valueOf(ValueKey key) {
  if (key.kind == ValueKind::Whole) return Variant::ofWord(key.key, Variant::UnsignedInteger);
  return std::bit_cast<double>(value_key::numberOf(key.key));
}

/// Whether it is a null or a NaN, which are no distinct values.
inline bool isMissing(Variant const& value) noexcept {
  auto const kind = keyOf(value).kind;
  return kind == ValueKind::Null || kind == ValueKind::NotANumber;
}

/// The order of Variant, found without a call unless both are texts.
inline std::weak_ordering compareValues(Variant const& a, Variant const& b) noexcept {
  auto const first = keyOf(a);
  auto const second = keyOf(b);
  if (first.kind != second.kind) return first.kind <=> second.kind;
  return first.kind == ValueKind::Text ? a <=> b : std::weak_ordering{first.key <=> second.key};
}

}  // namespace casebook
