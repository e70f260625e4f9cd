#include "platform/known_texts.h"

#include <algorithm>
#include <functional>
#include <new>
#include <string>

namespace casebook {

namespace {

bool holds(Variant const& known, std::string_view text) noexcept {
  return known.type() == Variant::String && known.stringValue() == text;
}

}  // namespace

Variant const& KnownTexts::sharedText(Variant const& value) noexcept {
  auto* const slot = slotOf(value.stringValue());
  if (!slot) return value;
  if (!holds(*slot, value.stringValue())) *slot = value;
  return *slot;
}

Variant KnownTexts::of(std::string_view text) {
  auto* const slot = slotOf(text);
  if (slot && holds(*slot, text)) return *slot;
  Variant value{std::string{text}};
  if (slot) *slot = value;
  return value;
}

// A text has two places; the first gives way when both hold others.
Variant* KnownTexts::slotOf(std::string_view text) noexcept {
  if (!isWorthALook()) return nullptr;
  auto const hash = std::hash<std::string_view>{}(text);
  auto& first = (*known_)[hash % slots];
  auto& second = (*known_)[(hash >> 32) % slots];
  for (auto* const slot : {&first, &second}) {
    if (!holds(*slot, text)) continue;
    credit_ = std::min(credit_ + 8, mostCredit);
    return slot;
  }
  if (--credit_ == 0) credit_ = -pause;
  return first.isNull() || !second.isNull() ? &first : &second;
}

bool KnownTexts::isWorthALook() noexcept {
  if (credit_ < 0) {
    if (++credit_ == 0) credit_ = mostCredit / 8;
    return false;
  }
  if (!known_) known_.reset(new (std::nothrow) Slots);
  return known_ != nullptr;
}

}  // namespace casebook
