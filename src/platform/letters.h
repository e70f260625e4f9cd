#pragma once

namespace casebook {

/// A to Z as small letters, every other byte as it is, whatever the locale.
constexpr char toSmallLetter(char c) noexcept { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

}  // namespace casebook
