#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace casebook::cli {

/// The offset of the first byte that is not part of well-formed UTF-8; npos when there is none.
[[nodiscard]] std::size_t firstInvalidUtf8(std::string_view text);

[[nodiscard]] inline bool isUtf8(std::string_view text) { return firstInvalidUtf8(text) == std::string_view::npos; }

[[nodiscard]] std::string latin1ToUtf8(std::string_view text);

/// Characters, counted as code points; a byte that is not UTF-8 counts as one.
[[nodiscard]] std::size_t characters(std::string_view text);

/// Columns of a terminal: wide characters take two, combining ones none.
[[nodiscard]] std::size_t displayWidth(std::string_view text);

/// The text on one line that a terminal may be given: control characters, characters that turn the direction of
/// writing, and bytes that are not UTF-8 are written as \n, \x1b, \u202e.
[[nodiscard]] std::string printable(std::string_view text);

/// The longest beginning of a printable text that fits `width` columns, closed with "…" when something is left out.
[[nodiscard]] std::string shortened(std::string_view text, std::size_t width);

/// The longest end of a printable text that fits `width` columns, opened with "…" when something is left out.
[[nodiscard]] std::string shortenedInFront(std::string_view text, std::size_t width);

/// The text on one line and a "^" on a second, under the byte at `position` or behind the last one: "  a + b\n      ^".
/// Of a text too long for 80 columns, what stands around the place.
[[nodiscard]] std::string withCaret(std::string_view text, std::size_t position);

/// The longest beginning of a UTF-8 text that is not longer than `bytes`, closed with "…" when something is left out.
[[nodiscard]] std::string cutToBytes(std::string_view text, std::size_t bytes);

/// A name or a text within a sentence: printable, in quotes, of 80 columns at the most.
[[nodiscard]] std::string inQuotes(std::string_view text);

}  // namespace casebook::cli
