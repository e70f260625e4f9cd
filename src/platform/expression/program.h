#pragma once

#include "platform/expression/kernels.h"

#include <cstdint>
#include <string>
#include <vector>

namespace casebook::expression {

/// What an instruction works on, or gives: the index into the program's list of that kind.
struct Operand {
  enum class Kind : std::uint8_t { None, Constant, Column, Temporary, Text };

  Kind kind = Kind::None;
  std::uint32_t index = 0;
};

struct Instruction {
  Kernel kernel;
  std::array<Operand, mostOperands> from;
  std::uint32_t to;  ///< a temporary, which is none of the operands
};

/// A column that is read.
struct Input {
  std::size_t column;    ///< position in the names
  bool numbers = false;  ///< whether as numbers; some are read for their texts alone
};

/// An expression as instructions over registers: straight on, without a jump. Immutable.
struct Program {
  std::string text;
  std::vector<Input> inputs;         ///< in the order of their first mention
  std::vector<std::size_t> columns;  ///< the same, ascending
  std::vector<double> constants;
  std::vector<std::string> texts;
  std::vector<Instruction> instructions;
  std::uint32_t temporaries = 0;
  Operand result;  ///< a constant, a column or a temporary
};

/// Works out the first `rows` rows. `inputs` has one source for each of the program's inputs, `temporaries` at least as
/// many registers as the program says; the result lies in one of them or in the program.
[[nodiscard]] Source run(Program const& program, Source const* inputs, Register* temporaries,
                         std::size_t rows) noexcept;

}  // namespace casebook::expression
