#pragma once

#include "casebook_table.h"

#include <array>
#include <string>

/// The study's table with its last ten columns calculated from others.
namespace casebook::bench {

/// The same expression in two languages.
struct Calculated {
  char const* text;
  char const* sql;
};

/// Two of them read column 11.
inline constexpr std::array<Calculated, 10> calculations{{
    {"c11 * 2 + 1", "c11 * 2 + 1"},
    {"(c11 + c12 + c13 + c14 + c15) / 5", "(c11 + c12 + c13 + c14 + c15) / 5"},
    {"c1 + c2", "c1 + c2"},
    {"(c1 - c2) / (c3 + 1)", "(c1 - c2) / (c3 + 1)"},
    {"sqrt(c12 * c12 + c13 * c13)", "sqrt(c12 * c12 + c13 * c13)"},
    {"c1 > c2 ? c1 - c2 : c2 - c1", "iif(c1 > c2, c1 - c2, c2 - c1)"},
    {"max(c12, c13, c14) - min(c12, c13, c14)", "max(c12, c13, c14) - min(c12, c13, c14)"},
    {"c12 > 25 && c13 < 75", "c12 > 25 AND c13 < 75"},
    {"abs(c12 - c14) * 100 / (c14 + 1)", "abs(c12 - c14) * 100 / (c14 + 1)"},
    {"ln(c13 + 1)", "ln(c13 + 1)"},
}};

/// The number of columns whose cells are entered, the case identifiers among them; the calculated ones follow.
[[nodiscard]] inline std::size_t enteredColumns() { return studyColumns().size() - calculations.size(); }

[[nodiscard]] inline Sheet enteredSheet(u64 records) {
  auto sheet = studySheet(records);
  sheet.resize(enteredColumns());
  return sheet;
}

class CalculatedTable : public CasebookTable {
 public:
  /// From a sheet of the entered columns.
  explicit CalculatedTable(Sheet const& sheet) : CasebookTable{sheet} {
    transaction([&] {
      for (std::size_t k = 0; k < calculations.size(); ++k)
        project().addCalcVariable(studyColumns()[enteredColumns() + k].name, VariableNature::Unspecified,
                                  calculations[k].text);
    });
  }
};

}  // namespace casebook::bench
