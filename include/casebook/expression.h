#pragma once

#include <casebook/exception_base.h>
#include <casebook/export.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace casebook {

namespace expression {
struct Program;
}

/// A compiled expression, in the language of docs/expressions.md. It never changes; copies share it and cost no more
/// than a pointer, and it may be used on several threads.
class CASEBOOK_EXPORT Expression {
 public:
  class Error;

  /// Compiles `text` for a table whose columns have these names, in this order; of several columns with one name the
  /// first is meant. Throws Expression::Error; the names are not kept.
  Expression(std::string_view text, std::vector<std::string> const& names);
  explicit Expression(std::shared_ptr<expression::Program const> program) noexcept : program_{std::move(program)} {}

  // Moving copies: no expression is ever empty.
  Expression(Expression const&) = default;
  Expression& operator=(Expression const&) = default;
  ~Expression() = default;

  [[nodiscard]] std::string const& text() const noexcept;

  /// The columns that it reads, as positions in the names, ascending.
  [[nodiscard]] std::vector<std::size_t> const& columns() const noexcept;

  /// What the library evaluates; of no use to a host.
  [[nodiscard]] expression::Program const& program() const noexcept { return *program_; }

  /// How a column of this name is written in an expression: as it is, or in square brackets.
  [[nodiscard]] static std::string written(std::string_view name);

  /// The names of all functions.
  [[nodiscard]] static std::vector<std::string_view> functions();

 private:
  std::shared_ptr<expression::Program const> program_;
};

/// Why a text is no expression: one English sentence, for the person who wrote it. Its flag is true.
class CASEBOOK_EXPORT Expression::Error : public varnel::ExceptionBase {
 public:
  enum class Unknown : unsigned char { Nothing, Column, Function };

  Error(std::string const& message, std::size_t position);
  /// No column or function has this name.
  Error(std::string const& message, std::size_t position, Unknown unknown, std::string_view name);
  ~Error() override;

  [[nodiscard]] std::string message() const { return what(); }

  /// The byte of the text where what is wrong begins; the length of the text where it ends too early.
  [[nodiscard]] std::size_t position() const noexcept { return position_; }

  /// What a host can offer other names for.
  [[nodiscard]] Unknown unknown() const noexcept { return unknown_; }
  /// The name of it, without brackets; "" when nothing is unknown.
  [[nodiscard]] std::string const& unknownName() const noexcept { return unknownName_; }

 private:
  std::size_t position_;
  Unknown unknown_ = Unknown::Nothing;
  std::string unknownName_;
};

}  // namespace casebook
