#pragma once

#include <casebook/serializer.h>
#include <casebook/variant.h>

#include "platform/known_texts.h"

#include <concepts>

/// Numbers and values in the form that journals and files keep:
///
///   number = its bytes, little-endian
///   value  = type:u32  ( text when type is 3, else word:u64 )
///   text   = length:u64  byte*
namespace casebook {

template <class T>
concept PlainNumber = std::integral<T> || std::is_enum_v<T>;

/// What can be written to: `write(data, n)` appends `n` bytes.
template <PlainNumber T, class Out>
void writeNumber(Out& out, T number) {
  out.write(reinterpret_cast<unsigned char const*>(&number), sizeof number);
}

template <class Out>
void writeText(Out& out, std::string const& text) {
  writeNumber(out, static_cast<u64>(text.size()));
  out.write(reinterpret_cast<unsigned char const*>(text.data()), text.size());
}

template <PlainNumber T>
T readNumber(SimpleDeserializer& in) {
  T number{};
  in.read(reinterpret_cast<unsigned char*>(&number), sizeof number);
  return number;
}

/// The fewest bytes that a value takes.
constexpr u64 leastValueSize = sizeof(std::uint32_t) + sizeof(u64);

template <class Out>
void writeValue(Out& out, Variant const& value) {
  writeNumber(out, static_cast<std::uint32_t>(value.type()));
  if (value.type() == Variant::String) writeText(out, value.stringValue());
  else writeNumber(out, value.word());
}

/// A text shares the storage of one in `texts`. Throws ("Unknown type of value in a journal command.", true) for a type
/// that is not known, besides the message of SimpleDeserializer::read.
Variant readValue(SimpleDeserializer& in, KnownTexts& texts);

/// Passes over a value; throws as readValue does.
void skipValue(SimpleDeserializer& in);

}  // namespace casebook
