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
  auto const& text = value.stringValue();
  auto* const slot = slotOf(text);
  if (!slot) return value;
  if (!holds(*slot, text)) {
    *slot = value;
    lose();
    return value;
  }
  if (&slot->stringValue() != &text) gain();
  return *slot;
}

Variant KnownTexts::of(std::string_view text) {
  auto* const slot = slotOf(text);
  if (slot && holds(*slot, text)) {
    gain();
    return *slot;
  }
  Variant value{std::string{text}};
  if (slot) {
    *slot = value;
    lose();
  }
  return value;
}

// A text has two places; the first gives way when both hold others.
Variant* KnownTexts::slotOf(std::string_view text) noexcept {
  if (!isWorthALook(text)) return nullptr;
  auto const hash = std::hash<std::string_view>{}(text);
  auto& first = (*known_)[hash % slots];
  auto& second = (*known_)[(hash >> 32) % slots];
  if (holds(first, text)) return &first;
  return holds(second, text) || (!first.isNull() && second.isNull()) ? &second : &first;
}

// Without memory no text is known.
bool KnownTexts::isWorthALook(std::string_view text) noexcept try {
  if (text.size() > longest) return false;
  if (credit_ < 0) {
    if (++credit_ == 0) credit_ = mostCredit / 8;
    return false;
  }
  if (!known_) known_ = std::make_unique<Slots>();
  return true;
} catch (std::bad_alloc const&) {
  return false;
}

void KnownTexts::gain() noexcept { credit_ = std::min(credit_ + 8, mostCredit); }

void KnownTexts::lose() noexcept {
  if (--credit_ > 0) return;
  credit_ = -pause;
  known_.reset();
}

}  // namespace casebook
