// expression = choice
// choice     = or [ "?" expression ":" choice ]
// or         = and { ( "or" | "||" ) and }
// and        = condition { ( "and" | "&&" ) condition }
// condition  = ( "not" | "!" ) condition | comparison
// comparison = sum { ( "<" | "<=" | ">" | ">=" | "==" | "!=" ) sum }
// sum        = product { ( "+" | "-" ) product }
// product    = signed { ( "*" | "/" ) signed }
// signed     = ( "-" | "+" ) signed | power
// power      = value [ "^" ( power | signed ) ]
// value      = number | quoted | column | constant | "(" expression ")" | word "(" expression { "," expression } ")"
//
// A prefix may stand wherever a value may, and then takes what its own line says: 2 * not a > b is 2 * (not (a > b)).
//
// Read by precedence with a stack of what is still open, and not by recursion: neither a long text nor a nested one
// needs the program's stack.
#include "platform/expression/compile.h"

#include "platform/expression/program_builder.h"
#include "platform/expression/tokens.h"

#include <casebook/expression.h>

namespace casebook::expression {

namespace {

constexpr std::size_t longestText = 65536;
constexpr std::size_t deepestNesting = 256;

/// An operator that waits for its right operand, or a bracket, call or choice for its end.
struct Open {
  enum class Kind : std::uint8_t { Binary, Prefix, Parenthesis, Call, Condition, Alternative };

  Kind kind;
  std::size_t position;
  BinaryOperator const* binary = nullptr;
  PrefixOperator const* prefix = nullptr;
  Function const* function = nullptr;
  unsigned arguments = 1;

  [[nodiscard]] bool nests() const noexcept { return kind != Kind::Binary || binary->fromRightToLeft(); }
};

std::string argumentsOf(Function const& function, unsigned given) {
  auto const number = std::to_string(function.arguments);
  return "\"" + std::string{function.name} + "\" takes " + (function.takesMore() ? "at least " : "") + number +
         (function.arguments == 1 ? " argument" : " arguments") + ", not " + std::to_string(given) + ".";
}

std::string unclosed(Open const& open) {
  if (open.kind == Open::Kind::Parenthesis) return "This \"(\" is never closed.";
  return "\"" + std::string{open.function->name} + "(\" is never closed.";
}

class Parser {
 public:
  Parser(std::string_view text, NameIndex const& names) : text_{text}, tokens_{text}, names_{names} {}

  Program program() {
    bool valueWanted = true;
    while (token_.kind != Token::Kind::End || valueWanted) valueWanted = valueWanted ? readValue() : readOperator();
    closeChoices();
    if (!open_.empty()) throw Expression::Error{unclosed(open_.back()), open_.back().position};
    return builder_.finish(text_);
  }

 private:
  // Both read what stands at token_ and go on to the next; they say whether a value has to follow.
  bool readValue();
  bool readOperator();

  bool readSymbolBeforeValue();
  bool readWord();
  bool readCall();
  void putColumn(std::string_view name);

  void open(Open opened);
  Open close();
  [[nodiscard]] bool isOpen(Open::Kind kind) const { return !open_.empty() && open_.back().kind == kind; }

  void closeOperators(Precedence incoming, bool fromRightToLeft);
  void closeOperators() { closeOperators(Precedence::Or, false); }
  void closeChoices();
  void closeParenthesis();
  void endArgument();
  void beginAlternative();

  bool advance(bool valueWanted) {
    token_ = tokens_.next();
    return valueWanted;
  }
  [[noreturn]] void refuse(std::string const& message) const { throw Expression::Error{message, token_.position}; }
  [[nodiscard]] std::string here() const { return "\"" + std::string{token_.written} + "\""; }

  std::string_view text_;
  Tokens tokens_;
  NameIndex const& names_;
  Token token_ = tokens_.next();
  ProgramBuilder builder_;
  std::vector<Open> open_;
  std::size_t nesting_ = 0;
};

bool Parser::readValue() {
  switch (token_.kind) {
    case Token::Kind::Number: builder_.putNumber(token_.number, token_.position); return advance(false);
    case Token::Kind::Text: builder_.putText(std::move(token_.content), token_.position); return advance(false);
    case Token::Kind::BracketedName: putColumn(token_.content); return advance(false);
    case Token::Kind::Word: return readWord();
    case Token::Kind::Symbol: return readSymbolBeforeValue();
    case Token::Kind::End: break;
  }
  bool const isEmpty = text_.find_first_not_of(" \t\r\n") == std::string_view::npos;
  refuse(isEmpty ? "There is no expression." : "The expression ends where a value is expected.");
}

bool Parser::readSymbolBeforeValue() {
  if (auto const* const prefix = findPrefixOperator(token_.written))
    open({.kind = Open::Kind::Prefix, .position = token_.position, .prefix = prefix});
  else if (token_.is("(")) open({.kind = Open::Kind::Parenthesis, .position = token_.position});
  else refuse("A value is expected before " + here() + ".");
  return advance(true);
}

// A column, unless a parenthesis follows; then what the language has under this name.
bool Parser::readWord() {
  bool const isColumn = names_.find(token_.written).has_value();
  if (auto const* const prefix = findPrefixOperator(token_.written); prefix && !isColumn) {
    open({.kind = Open::Kind::Prefix, .position = token_.position, .prefix = prefix});
    return advance(true);
  }
  if (tokens_.parenthesisFollows()) return readCall();
  if (auto const* const constant = findConstant(token_.written); constant && !isColumn)
    builder_.putNumber(constant->value, token_.position);
  else if (isMissingValue(token_.written) && !isColumn) builder_.putMissing(token_.position);
  else putColumn(token_.written);
  return advance(false);
}

void Parser::putColumn(std::string_view name) {
  if (auto const column = names_.find(name)) return builder_.putColumn(*column, token_.position);
  if (token_.kind == Token::Kind::Word && findBinaryOperator(name))
    refuse("A value is expected before " + here() + ".");
  if (token_.kind == Token::Kind::Word && findFunction(name))
    refuse(here() + " is a function: its arguments follow in parentheses.");
  throw Expression::Error{"There is no column \"" + std::string{name} + "\".", token_.position,
                          Expression::Error::Unknown::Column, name};
}

bool Parser::readCall() {
  auto const* const function = findFunction(token_.written);
  if (!function)
    throw Expression::Error{"There is no function " + here() + ".", token_.position,
                            Expression::Error::Unknown::Function, token_.written};
  open({.kind = Open::Kind::Call, .position = token_.position, .function = function});
  advance(true);  // to the parenthesis
  advance(true);
  if (token_.is(")")) throw Expression::Error{argumentsOf(*function, 0), open_.back().position};
  return true;
}

bool Parser::readOperator() {
  if (token_.is(")")) {
    closeParenthesis();
    return advance(false);
  }
  if (token_.is(",")) {
    endArgument();
  } else if (token_.is("?")) {
    closeOperators();
    open({.kind = Open::Kind::Condition, .position = token_.position});
  } else if (token_.is(":")) {
    beginAlternative();
  } else if (auto const* const binary = findBinaryOperator(token_.written)) {
    closeOperators(binary->precedence, binary->fromRightToLeft());
    open({.kind = Open::Kind::Binary, .position = token_.position, .binary = binary});
  } else {
    refuse("An operator is expected before " + here() + ".");
  }
  return advance(true);
}

void Parser::open(Open opened) {
  if (opened.nests() && ++nesting_ > deepestNesting)
    throw Expression::Error{"The expression is nested more than 256 levels deep.", opened.position};
  open_.push_back(opened);
}

Open Parser::close() {
  auto const closed = open_.back();
  if (closed.nests()) --nesting_;
  open_.pop_back();
  return closed;
}

void Parser::closeOperators(Precedence incoming, bool fromRightToLeft) {
  auto const isDoneFirst = [&](Precedence waiting) {
    return waiting > incoming || (waiting == incoming && !fromRightToLeft);
  };
  while (true) {
    if (isOpen(Open::Kind::Binary) && isDoneFirst(open_.back().binary->precedence)) builder_.apply(*close().binary);
    else if (isOpen(Open::Kind::Prefix) && isDoneFirst(open_.back().prefix->precedence))
      builder_.apply(*close().prefix);
    else return;
  }
}

// Up to the bracket or the call around, or to the condition that still waits for its ":".
void Parser::closeChoices() {
  closeOperators();
  while (isOpen(Open::Kind::Alternative)) {
    close();
    builder_.choose();
    closeOperators();
  }
  if (isOpen(Open::Kind::Condition) && !token_.is(":"))
    throw Expression::Error{"This \"?\" needs a \":\" with the other value.", open_.back().position};
}

void Parser::beginAlternative() {
  closeChoices();
  if (!isOpen(Open::Kind::Condition)) refuse("There is no \"?\" before this \":\".");
  open_.back().kind = Open::Kind::Alternative;
}

void Parser::endArgument() {
  closeChoices();
  if (!isOpen(Open::Kind::Call)) refuse("A comma separates the arguments of a function; the decimal point is a point.");
  auto& call = open_.back();
  builder_.endArgument(*call.function, call.arguments++);
}

void Parser::closeParenthesis() {
  closeChoices();
  if (open_.empty()) refuse("There is no \"(\" before this \")\".");
  auto const closed = close();
  if (closed.kind == Open::Kind::Parenthesis) return;
  auto const& function = *closed.function;
  if (!function.takesMore() && closed.arguments != function.arguments)
    throw Expression::Error{argumentsOf(function, closed.arguments), closed.position};
  builder_.endArgument(function, closed.arguments);
  builder_.endCall(function, closed.arguments);
}

}  // namespace

NameIndex::NameIndex(std::vector<std::string> const& names) {
  first_.reserve(names.size());
  for (std::size_t i = 0; i < names.size(); ++i) first_.try_emplace(names[i], i);
}

std::optional<std::size_t> NameIndex::find(std::string_view name) const {
  auto const found = first_.find(name);
  return found == first_.end() ? std::nullopt : std::optional{found->second};
}

std::shared_ptr<Program const> compile(std::string_view text, NameIndex const& names) {
  if (text.size() > longestText) throw Expression::Error{"An expression is at most 65536 bytes long.", longestText};
  return std::make_shared<Program const>(Parser{text, names}.program());
}

}  // namespace casebook::expression
