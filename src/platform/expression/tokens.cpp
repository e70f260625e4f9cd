// text       = { blank | number | quoted | bracketed | word | symbol }
// blank      = space | no-break space | tab | line feed | carriage return
// number     = ( digits [ "." [ digits ] ] | "." digits ) [ ( "e" | "E" ) [ "+" | "-" ] digits ]
// quoted     = '"' { '""' | any byte but '"' } '"', and the same with single quotes
// bracketed  = "[" { "]]" | any byte but "]" } "]"
// word       = letter { letter | digit }, where a letter is A-Z, a-z, "_" or a byte from 0x80 on
// symbol     = one of `symbols` below, the longest that fits

#include "platform/expression/tokens.h"

#include <casebook/expression.h>

#include <algorithm>
#include <charconv>
#include <functional>

namespace casebook::expression {

namespace {

constexpr std::string_view symbols[] = {"<=", ">=", "==", "!=", "&&", "||", "<", ">", "+", "-",
                                        "*",  "/",  "^",  "!",  "?",  ":",  "(", ")", ","};

/// What people write who know other languages.
struct Refusal {
  std::string_view symbol;
  char const* message;
};
constexpr Refusal refusals[] = {
    {"**", "A power is written \"^\"."},
    {"<>", "Unequal is written \"!=\"."},
    {"=", "Nothing can be assigned here; to compare two values write \"==\"."},
    {"&", "Where two conditions must hold write \"and\"."},
    {"|", "Where one of two conditions must hold write \"or\"."},
    {"%", "What remains after a division is written \"mod(a, b)\"."},
    {";", "The arguments of a function are separated by commas."},
};

// What word processors put in unasked; it would look like a blank and be a letter.
constexpr std::string_view noBreakSpace = "\xC2\xA0";

bool isBlank(char c) noexcept { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }
bool isDigit(char c) noexcept { return c >= '0' && c <= '9'; }
bool isLetter(char c) noexcept {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || static_cast<unsigned char>(c) >= 0x80;
}
bool isLetterOrDigit(char c) noexcept { return isLetter(c) || isDigit(c); }

/// The length of the blanks with which the text begins.
std::size_t blanksBefore(std::string_view text) noexcept {
  std::size_t length = 0;
  for (auto rest = text; !rest.empty(); rest = text.substr(length)) {
    if (isBlank(rest.front())) ++length;
    else if (rest.starts_with(noBreakSpace)) length += noBreakSpace.size();
    else break;
  }
  return length;
}

/// The row whose symbol stands first in `rest`, or the end.
template <class Rows, class Projection>
auto findPrefix(Rows const& rows, std::string_view rest, Projection symbol) {
  return std::ranges::find_if(rows, [&](std::string_view candidate) { return rest.starts_with(candidate); }, symbol);
}

std::string characterAt(std::string_view rest) {
  constexpr std::string_view digits = "0123456789ABCDEF";
  auto const byte = static_cast<unsigned char>(rest.front());
  if (byte >= 0x20 && byte < 0x7F) return "\"" + std::string{rest.front()} + "\"";
  return std::string{"The byte 0x"} + digits[byte / 16] + digits[byte % 16];
}

}  // namespace

Token Tokens::next() {
  position_ += blanksBefore(text_.substr(position_));
  if (position_ == text_.size()) return take(Token::Kind::End, 0);
  char const c = text_[position_];
  bool const digitFollows = position_ + 1 < text_.size() && isDigit(text_[position_ + 1]);
  if (isDigit(c) || (c == '.' && digitFollows)) return number();
  if (c == '"' || c == '\'') return quoted(Token::Kind::Text, c);
  if (c == '[') return quoted(Token::Kind::BracketedName, ']');
  return isLetter(c) ? word() : symbol();
}

bool Tokens::parenthesisFollows() const noexcept {
  auto const rest = text_.substr(position_);
  return rest.substr(blanksBefore(rest)).starts_with('(');
}

Token Tokens::take(Token::Kind kind, std::size_t length) noexcept {
  Token const token{kind, position_, text_.substr(position_, length)};
  position_ += length;
  return token;
}

Token Tokens::number() {
  auto const rest = text_.substr(position_);
  double value = 0.0;
  auto const [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
  if (error != std::errc{}) throw Expression::Error{"This number is too large or too small.", position_};
  auto token = take(Token::Kind::Number, static_cast<std::size_t>(end - rest.data()));
  token.number = value;
  return token;
}

Token Tokens::quoted(Token::Kind kind, char closing) {
  std::string content;
  for (std::size_t i = position_ + 1; i < text_.size(); ++i) {
    if (text_[i] == closing) {
      bool const doubled = i + 1 < text_.size() && text_[i + 1] == closing;
      if (!doubled) {
        auto token = take(kind, i + 1 - position_);
        token.content = std::move(content);
        return token;
      }
      ++i;
    }
    content += text_[i];
  }
  throw Expression::Error{std::string{"This "} + text_[position_] + " is never closed.", position_};
}

Token Tokens::word() {
  auto rest = text_.substr(position_);
  rest = rest.substr(0, rest.find(noBreakSpace));
  auto const end = std::ranges::find_if_not(rest, isLetterOrDigit);
  return take(Token::Kind::Word, static_cast<std::size_t>(end - rest.begin()));
}

Token Tokens::symbol() {
  auto const rest = text_.substr(position_);
  auto const* const found = findPrefix(symbols, rest, std::identity{});
  auto const* const refused = findPrefix(refusals, rest, &Refusal::symbol);
  std::size_t const length = found == std::end(symbols) ? 0 : found->size();
  if (refused != std::end(refusals) && refused->symbol.size() > length)
    throw Expression::Error{refused->message, position_};
  if (length == 0) throw Expression::Error{characterAt(rest) + " means nothing in an expression.", position_};
  return take(Token::Kind::Symbol, length);
}

bool isPlainName(std::string_view name) noexcept {
  return !name.empty() && isLetter(name.front()) && std::ranges::all_of(name, isLetterOrDigit);
}

}  // namespace casebook::expression
