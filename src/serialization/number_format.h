#pragma once

#include <casebook/serializer.h>
#include <casebook/variant.h>

#include <concepts>

/// Numbers and values in the form that journals and files keep:
///
///   number = its bytes, little-endian
///   value  = type:u32  ( text when type is 3, else word:u64 )
///   text   = length:u64  byte*
namespace casebook {

template <class T>
concept PlainNumber = std::integral<T> || std::is_enum_v<T>;

template <PlainNumber T>
void writeNumber(SimpleSerializer& out, T number) {
  out.write(reinterpret_cast<unsigned char const*>(&number), sizeof number);
}

template <PlainNumber T>
T readNumber(SimpleDeserializer& in) {
  T number{};
  in.read(reinterpret_cast<unsigned char*>(&number), sizeof number);
  return number;
}

/// The fewest bytes that a value takes.
constexpr u64 leastValueSize = sizeof(std::uint32_t) + sizeof(u64);

void writeValue(SimpleSerializer& out, Variant const& value);

/// Throws ("Unknown type of value in a journal command.", true) for a type that is not known, besides the message of
/// SimpleDeserializer::read.
Variant readValue(SimpleDeserializer& in);

}  // namespace casebook
