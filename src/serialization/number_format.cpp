#include "serialization/number_format.h"

#include <casebook/exception_base.h>

namespace casebook {

namespace {

[[noreturn]] void refuseType() { throw varnel::ExceptionBase{"Unknown type of value in a journal command.", true}; }

}  // namespace

Variant readValue(SimpleDeserializer& in, KnownTexts& texts) {
  switch (auto const tag = readNumber<std::uint32_t>(in); tag) {
    case Variant::Null:
    case Variant::UnsignedInteger:
    case Variant::FloatingPoint: return Variant::ofWord(readNumber<u64>(in), static_cast<Variant::Type>(tag));
    case Variant::String: return texts.of(in.view(readNumber<u64>(in)));
  }
  refuseType();
}

void skipValue(SimpleDeserializer& in) {
  switch (readNumber<std::uint32_t>(in)) {
    case Variant::Null:
    case Variant::UnsignedInteger:
    case Variant::FloatingPoint: return in.skip(sizeof(u64));
    case Variant::String: return in.skip(readNumber<u64>(in));
  }
  refuseType();
}

}  // namespace casebook
