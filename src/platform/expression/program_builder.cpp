#include "platform/expression/program_builder.h"

#include <casebook/expression.h>

#include <algorithm>

namespace casebook::expression {

using Kind = Operand::Kind;

void ProgramBuilder::put(Kind kind, std::size_t index, std::size_t position) {
  values_.push_back({{kind, static_cast<std::uint32_t>(index)}, position});
}

void ProgramBuilder::putNumber(double value, std::size_t position) {
  put(Kind::Constant, program_.constants.size(), position);
  program_.constants.push_back(value);
}

void ProgramBuilder::putMissing(std::size_t position) {
  emit(allMissing, 0);
  top().position = position;
}

void ProgramBuilder::putText(std::string text, std::size_t position) {
  put(Kind::Text, program_.texts.size(), position);
  program_.texts.push_back(std::move(text));
}

void ProgramBuilder::putColumn(std::size_t column, std::size_t position) {
  auto const [found, isNew] = inputOf_.try_emplace(column, program_.inputs.size());
  if (isNew) program_.inputs.push_back({column});
  put(Kind::Column, found->second, position);
}

void ProgramBuilder::needNumber(Value& value) {
  value.isNumber = true;
  if (value.isText())
    throw Expression::Error{"A text can only be compared, with a column or with another text.", value.position};
  if (value.operand.kind == Kind::Column) program_.inputs[value.operand.index].numbers = true;
}

void ProgramBuilder::apply(PrefixOperator const& op) {
  if (op.kernel) applyToNumbers(op.kernel, 1);
  else needNumber(top());
}

void ProgramBuilder::apply(BinaryOperator const& op) {
  if (!op.texts || !compareTexts(op)) applyToNumbers(op.kernel, 2);
}

void ProgramBuilder::choose() { applyToNumbers(select, 3); }

void ProgramBuilder::endArgument(Function const& function, unsigned count) {
  if (!function.takesMore()) return;
  needNumber(top());
  if (count > 1) applyToNumbers(function.kernel, 2);
}

void ProgramBuilder::endCall(Function const& function, unsigned count) {
  switch (function.form) {
    case Form::Whole: return applyToNumbers(function.kernel, count);
    case Form::Folded: return;
    case Form::Average: putNumber(count, top().position); return applyToNumbers(division(), 2);
    case Form::Test:
      if (top().isCells()) return emit(function.cellKernel, 1);
      return applyToNumbers(function.kernel, 1);
  }
}

// A comparison in which a text takes part, or may: false where both sides can only be numbers.
bool ProgramBuilder::compareTexts(BinaryOperator const& op) {
  auto& left = top(1);
  auto& right = top();
  if (left.isText() && right.isText()) {
    bool const holds = op.texts->compare(program_.texts[left.operand.index], program_.texts[right.operand.index]);
    auto const position = left.position;
    values_.resize(values_.size() - 2);
    putNumber(lanes::asNumber(holds), position);
  } else if (left.isCells() && right.isCells()) {
    applyToNumbers(op.texts->columns, 2);
  } else if (left.isCells() && right.isText()) {
    emit(op.texts->columnWithText, 2);
  } else if (left.isText() && right.isCells()) {
    std::swap(left.operand, right.operand);
    emit(op.texts->textWithColumn, 2);
  } else {
    return false;
  }
  return true;
}

void ProgramBuilder::applyToNumbers(Kernel kernel, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) needNumber(top(count - 1 - i));
  if (auto const value = fold(kernel, count)) {
    auto const position = top(count - 1).position;
    values_.resize(values_.size() - count);
    program_.constants.resize(program_.constants.size() - count);
    putNumber(*value, position);
  } else {
    emit(kernel, count);
  }
}

// By the kernel itself, so that a constant is what a column of it would be.
std::optional<double> ProgramBuilder::fold(Kernel kernel, std::size_t count) const {
  Sources from;
  for (std::size_t i = 0; i < count; ++i) {
    auto const operand = values_[values_.size() - count + i].operand;
    if (operand.kind != Kind::Constant) return std::nullopt;
    from[i] = {.values = &program_.constants[operand.index], .constant = true};
  }
  Register to;
  kernel(from, to, 1);
  return to.values[0];
}

void ProgramBuilder::emit(Kernel kernel, std::size_t count) {
  Instruction instruction{kernel, {}, takeTemporary()};
  auto const first = values_.size() - count;
  std::size_t const position = count > 0 ? values_[first].position : 0;
  for (std::size_t i = 0; i < count; ++i) {
    instruction.from[i] = values_[first + i].operand;
    if (instruction.from[i].kind == Kind::Temporary) freeTemporaries_.push_back(instruction.from[i].index);
  }
  values_.resize(first);
  program_.instructions.push_back(instruction);
  put(Kind::Temporary, instruction.to, position);
}

std::uint32_t ProgramBuilder::takeTemporary() {
  if (freeTemporaries_.empty()) return program_.temporaries++;
  auto const temporary = freeTemporaries_.back();
  freeTemporaries_.pop_back();
  return temporary;
}

Program ProgramBuilder::finish(std::string_view text) {
  needNumber(top());
  program_.result = top().operand;
  program_.text = text;
  for (auto const& input : program_.inputs) program_.columns.push_back(input.column);
  std::ranges::sort(program_.columns);
  return std::move(program_);
}

}  // namespace casebook::expression
