#include <casebook/exception_base.h>
#include <casebook/variant.h>

#include "platform/number_text.h"

#include <cmath>
#include <limits>

namespace casebook {

namespace {

static_assert(sizeof(void*) <= sizeof(u64));

double asDouble(u64 word) noexcept { return std::bit_cast<double>(word); }

// Saturates; NaN gives 0. 2^64 is the first double beyond the range.
u64 wholePart(double value) noexcept {
  if (!(value > 0.0)) return 0;
  return value >= 0x1p64 ? std::numeric_limits<u64>::max() : static_cast<u64>(value);
}

std::weak_ordering compareNumbers(double a, double b) noexcept {
  if (std::isnan(a) || std::isnan(b)) return std::isnan(a) <=> std::isnan(b);
  return a < b ? std::weak_ordering::less : a > b ? std::weak_ordering::greater : std::weak_ordering::equivalent;
}

}  // namespace

Variant::Variant(std::string text) : type_{String} {
  if (!text.empty()) word_ = reinterpret_cast<std::uintptr_t>(new Text{std::move(text)});
}

Variant::Variant(char const* text) : Variant{std::string{text}} {}

Variant Variant::ofWord(u64 word, Type type) {
  if (type == String) throw varnel::ExceptionBase{"A text cannot be made from a number.", true};
  return {type, type == Null ? 0 : word};
}

Variant Variant::nan() noexcept { return {std::numeric_limits<double>::quiet_NaN()}; }

void Variant::deleteText() const noexcept { delete text(); }

u64 Variant::longValue() const noexcept {
  if (type_ == UnsignedInteger) return word_;
  return type_ == FloatingPoint ? wholePart(asDouble(word_)) : 0;
}

double Variant::doubleValue() const noexcept {
  if (type_ == FloatingPoint) return asDouble(word_);
  return type_ == UnsignedInteger ? static_cast<double>(word_) : std::numeric_limits<double>::quiet_NaN();
}

std::string const& Variant::noText() noexcept {
  static std::string const none;
  return none;
}

std::string Variant::toString() const {
  switch (type_) {
    case Null: return {};
    case UnsignedInteger: return std::to_string(word_);
    case FloatingPoint: return numberText(asDouble(word_));
    case String: return stringValue();
  }
  return {};
}

std::weak_ordering Variant::compareSameType(Variant const& other) const noexcept {
  if (type_ == FloatingPoint) return compareNumbers(asDouble(word_), asDouble(other.word_));
  if (type_ == String && word_ != other.word_) return stringValue() <=> other.stringValue();
  return type_ == String ? std::weak_ordering::equivalent : word_ <=> other.word_;
}

}  // namespace casebook
