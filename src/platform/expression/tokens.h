#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace casebook::expression {

struct Token {
  enum class Kind : std::uint8_t { Number, Text, Word, BracketedName, Symbol, End };

  Kind kind = Kind::End;
  std::size_t position = 0;
  std::string_view written;  ///< as it stands in the text; "" at the end
  double number = 0.0;       ///< of a number
  std::string content = {};  ///< of a text or a name in brackets

  [[nodiscard]] bool is(std::string_view symbol) const noexcept { return kind == Kind::Symbol && written == symbol; }
};

/// Cuts a text, which is borrowed, into tokens.
class Tokens {
 public:
  explicit Tokens(std::string_view text) noexcept : text_{text} {}

  /// The next token; Kind::End again and again at the end. Throws Expression::Error for what is none.
  [[nodiscard]] Token next();

  /// Whether the next token is an opening parenthesis.
  [[nodiscard]] bool parenthesisFollows() const noexcept;

 private:
  [[nodiscard]] Token number();
  [[nodiscard]] Token quoted(Token::Kind kind, char closing);
  [[nodiscard]] Token word();
  [[nodiscard]] Token symbol();
  [[nodiscard]] Token take(Token::Kind kind, std::size_t length) noexcept;

  std::string_view text_;
  std::size_t position_ = 0;
};

/// Whether a column of this name is written without brackets.
[[nodiscard]] bool isPlainName(std::string_view name) noexcept;

}  // namespace casebook::expression
