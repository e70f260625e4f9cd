#pragma once

#include <casebook/expression.h>
#include <casebook/expression_executor.h>

#include <gtest/gtest.h>
#include <pthread.h>

#include <functional>
#include <string>
#include <vector>

namespace casebook::test {

/// Columns of one length.
struct Columns {
  std::vector<std::string> names;
  std::vector<std::vector<Variant>> cells;
};

/// What the executor writes into a column that held texts.
inline std::vector<Variant> evaluate(std::string const& text, Columns columns) {
  std::vector<Variant> results(columns.cells.empty() ? 1 : columns.cells.front().size(), "an old text");
  std::vector<ExpressionExecutor::VariableArray> bindings;
  for (std::size_t i = 0; i < columns.names.size(); ++i) bindings.push_back({columns.names[i], &columns.cells[i]});
  bindings.push_back({"the result", &results});
  ExpressionExecutor{}.execute({{"the result", text}}, bindings);
  return results;
}

/// "null", or the number as text.
inline std::string written(Variant const& cell) { return cell.isNull() ? "null" : cell.toString(); }

/// "<position>: <message>" of the refusal; "" if there is none.
inline std::string refusalAt(std::string const& text, std::vector<std::string> const& names = {}) {
  try {
    Expression const expression{text, names};
    return "";
  } catch (Expression::Error const& error) {
    return std::to_string(error.position()) + ": " + error.message();
  }
}

/// On a thread with a stack of 256 KiB; one that needs more ends the program.
inline void runOnSmallStack(std::function<void()> work) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_attr_init(&attributes), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{256} * 1024), 0);
  auto const call = [](void* given) -> void* {
    (*static_cast<std::function<void()>*>(given))();
    return nullptr;
  };
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, call, &work), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
}

}  // namespace casebook::test
