#include <casebook/expression.h>

#include "platform/expression/compile.h"
#include "platform/expression/tokens.h"
#include "platform/expression/vocabulary.h"

namespace casebook {

Expression::Expression(std::string_view text, std::vector<std::string> const& names)
    : program_{expression::compile(text, expression::NameIndex{names})} {}

std::string const& Expression::text() const noexcept { return program_->text; }

std::vector<std::size_t> const& Expression::columns() const noexcept { return program_->columns; }

std::string Expression::written(std::string_view name) {
  if (expression::isPlainName(name)) return std::string{name};
  std::string inBrackets = "[";
  for (char const c : name) inBrackets.append(c == ']' ? 2 : 1, c);
  return inBrackets + "]";
}

std::vector<std::string_view> Expression::functions() {
  std::vector<std::string_view> names;
  for (auto const& function : expression::functions()) names.push_back(function.name);
  return names;
}

Expression::Error::Error(std::string const& message, std::size_t position)
    : Error{message, position, Unknown::Nothing, {}} {}

Expression::Error::Error(std::string const& message, std::size_t position, Unknown unknown, std::string_view name)
    : ExceptionBase{message, true}, position_{position}, unknown_{unknown}, unknownName_{name} {}

Expression::Error::~Error() = default;

}  // namespace casebook
