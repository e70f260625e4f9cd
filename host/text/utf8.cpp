#include "text/utf8.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <span>

namespace casebook::cli {
namespace {

struct CodePoint {
  char32_t value = 0;
  std::size_t length = 1;
  bool valid = false;
};

struct Range {
  char32_t first, last;
};

// What terminals draw over two columns: East Asian scripts and pictographs.
constexpr std::array wide{Range{0x1100, 0x115f},   Range{0x2329, 0x232a},   Range{0x2e80, 0x303e},
                          Range{0x3041, 0xa4cf},   Range{0xac00, 0xd7a3},   Range{0xf900, 0xfaff},
                          Range{0xfe30, 0xfe6f},   Range{0xff00, 0xff60},   Range{0xffe0, 0xffe6},
                          Range{0x1f300, 0x1f64f}, Range{0x1f900, 0x1f9ff}, Range{0x20000, 0x3fffd}};
constexpr std::array combining{Range{0x0300, 0x036f}, Range{0x1ab0, 0x1aff}, Range{0x1dc0, 0x1dff},
                               Range{0x200b, 0x200f}, Range{0x20d0, 0x20ff}, Range{0xfe00, 0xfe0f},
                               Range{0xfe20, 0xfe2f}};
constexpr std::array unprintable{Range{0x00, 0x1f},     Range{0x7f, 0x9f},     Range{0x061c, 0x061c},
                                 Range{0x200e, 0x200f}, Range{0x2028, 0x2029}, Range{0x202a, 0x202e},
                                 Range{0x2066, 0x2069}, Range{0xfeff, 0xfeff}};

bool isIn(std::span<Range const> ranges, char32_t c) {
  return std::ranges::any_of(ranges, [c](Range r) { return r.first <= c && c <= r.last; });
}

bool isContinuation(char c) { return (static_cast<unsigned char>(c) & 0xc0U) == 0x80U; }

/// The character that `text`, which is not empty, begins with: shortest form only, no surrogates.
CodePoint decode(std::string_view text) {
  auto const lead = static_cast<unsigned char>(text.front());
  if (lead < 0x80) return {lead, 1, true};
  std::size_t const length = lead >= 0xf0 ? 4 : lead >= 0xe0 ? 3 : 2;
  if (lead < 0xc2 || lead > 0xf4 || text.size() < length) return {lead, 1, false};
  char32_t value = lead & (0x7fU >> length);
  for (char c : text.substr(1, length - 1)) {
    if (!isContinuation(c)) return {lead, 1, false};
    value = value << 6 | (static_cast<unsigned char>(c) & 0x3fU);
  }
  constexpr std::array<char32_t, 5> least{0, 0, 0x80, 0x800, 0x10000};
  bool const surrogate = value >= 0xd800 && value <= 0xdfff;
  if (value < least[length] || value > 0x10ffff || surrogate) return {lead, 1, false};
  return {value, length, true};
}

std::size_t widthOf(CodePoint c) {
  if (!c.valid || c.value < 0x300) return 1;
  return isIn(combining, c.value) ? 0 : isIn(wide, c.value) ? 2 : 1;
}

void appendEscape(std::string& out, CodePoint c) {
  if (c.value == U'\n' && c.valid) {
    out += "\\n";
  } else if (c.value == U'\t' && c.valid) {
    out += "\\t";
  } else if (c.value < 0x100) {
    fmt::format_to(std::back_inserter(out), "\\x{:02x}", static_cast<unsigned>(c.value));
  } else {
    fmt::format_to(std::back_inserter(out), "\\u{:04x}", static_cast<unsigned>(c.value));
  }
}

}  // namespace

std::size_t firstInvalidUtf8(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    CodePoint const c = decode(text.substr(at));
    if (!c.valid) return at;
    at += c.length;
  }
  return std::string_view::npos;
}

std::string latin1ToUtf8(std::string_view text) {
  std::string out;
  out.reserve(text.size() + text.size() / 8);
  for (char c : text) {
    auto const byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      out += c;
    } else {
      out += static_cast<char>(0xc0U | byte >> 6);
      out += static_cast<char>(0x80U | (byte & 0x3fU));
    }
  }
  return out;
}

std::size_t characters(std::string_view text) {
  std::size_t count = 0;
  for (; !text.empty(); ++count) text.remove_prefix(decode(text).length);
  return count;
}

std::size_t displayWidth(std::string_view text) {
  std::size_t width = 0;
  while (!text.empty()) {
    CodePoint const c = decode(text);
    width += widthOf(c);
    text.remove_prefix(c.length);
  }
  return width;
}

std::string printable(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    CodePoint const c = decode(text);
    if (!c.valid || isIn(unprintable, c.value)) {
      appendEscape(out, c);
    } else {
      out += text.substr(0, c.length);
    }
    text.remove_prefix(c.length);
  }
  return out;
}

std::string shortened(std::string_view text, std::size_t width) {
  std::size_t used = 0;
  std::size_t fits = 0;  // bytes that leave a column for the "…"
  for (std::size_t at = 0; at < text.size();) {
    CodePoint const c = decode(text.substr(at));
    used += widthOf(c);
    at += c.length;
    if (used < width) fits = at;
    if (used > width) return std::string{text.substr(0, fits)} + "…";
  }
  return std::string{text};
}

std::string shortenedInFront(std::string_view text, std::size_t width) {
  std::size_t used = displayWidth(text);
  if (used <= width) return std::string{text};
  while (used >= width && !text.empty()) {
    CodePoint const c = decode(text);
    used -= widthOf(c);
    text.remove_prefix(c.length);
  }
  return "…" + std::string{text};
}

std::string withCaret(std::string_view text, std::size_t position) {
  constexpr std::size_t widest = 76;
  constexpr std::size_t widestBefore = 48;
  std::string const before = shortenedInFront(printable(text.substr(0, position)), widestBefore);
  std::size_t const column = displayWidth(before);
  return fmt::format("  {}{}\n  {:>{}}", before, shortened(printable(text.substr(position)), widest - column), "^",
                     column + 1);
}

std::string cutToBytes(std::string_view text, std::size_t bytes) {
  constexpr std::string_view ellipsis = "…";
  if (text.size() <= bytes) return std::string{text};
  std::size_t end = bytes - ellipsis.size();
  while (end > 0 && isContinuation(text[end])) --end;
  return std::string{text.substr(0, end)}.append(ellipsis);
}

std::string inQuotes(std::string_view text) {
  // A text can be huge; no more of it is looked at than can be shown.
  constexpr std::size_t longest = 80;
  return fmt::format("\"{}\"", shortened(printable(text.substr(0, 8 * longest)), longest));
}

}  // namespace casebook::cli
