#pragma once

#include "platform/expression/program.h"

#include <boost/unordered/unordered_flat_map.hpp>

#include <memory>
#include <optional>
#include <string_view>

namespace casebook::expression {

/// Where each name stands first in a list, which is borrowed.
class NameIndex {
 public:
  explicit NameIndex(std::vector<std::string> const& names);

  [[nodiscard]] std::optional<std::size_t> find(std::string_view name) const;

 private:
  boost::unordered_flat_map<std::string_view, std::size_t> first_;
};

/// Throws Expression::Error.
[[nodiscard]] std::shared_ptr<Program const> compile(std::string_view text, NameIndex const& names);

}  // namespace casebook::expression
