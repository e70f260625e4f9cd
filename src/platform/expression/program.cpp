#include "platform/expression/program.h"

namespace casebook::expression {

namespace {

Source sourceOf(Operand operand, Program const& program, Source const* inputs, Register const* temporaries) noexcept {
  switch (operand.kind) {
    case Operand::Kind::None: return {};
    case Operand::Kind::Constant: return {.values = &program.constants[operand.index], .constant = true};
    case Operand::Kind::Column: return inputs[operand.index];
    case Operand::Kind::Temporary:
      return {.values = temporaries[operand.index].values.data(), .missing = temporaries[operand.index].missing.data()};
    case Operand::Kind::Text: return {.text = &program.texts[operand.index]};
  }
  return {};
}

}  // namespace

Source run(Program const& program, Source const* inputs, Register* temporaries, std::size_t rows) noexcept {
  auto const source = [&](Operand operand) { return sourceOf(operand, program, inputs, temporaries); };
  for (auto const& [kernel, from, to] : program.instructions)
    kernel({source(from[0]), source(from[1]), source(from[2])}, temporaries[to], rows);
  return source(program.result);
}

}  // namespace casebook::expression
