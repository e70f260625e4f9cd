#include "project/table_export.h"

#include "project/words.h"
#include "text/json_text.h"
#include "text/numbers.h"

#include <casebook/record.h>
#include <casebook/variable.h>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <optional>
#include <vector>

namespace casebook::cli {
namespace {

using Json = nlohmann::ordered_json;

/// Calls `eachCell` for every cell of a row and `endRow` after it, row by row.
template <class EachCell, class EndRow>
void forEachRow(Project& project, ExportProgress const& progress, EachCell const& eachCell, EndRow const& endRow) {
  auto const records = project.records();
  for (std::size_t i = 0; i < records.size(); ++i) {
    for (Variant const& cell : project.getRow(records[i].id())) eachCell(cell);
    endRow(i + 1 == records.size());
    progress(i + 1, records.size());
  }
}

/// What an import would make of a column, as `guessColumn` does.
class ReadBack {
 public:
  ReadBack(Project& project, u64 variable)
      : name_{project.variableName(variable)},
        type_{project.variableDataType(variable)},
        isBuiltIn_{name_ == caseIdName || name_ == caseStatusName} {}

  void note(std::string_view text) {
    if (text.empty() || isBuiltIn_ || hasOther_) return;
    (readNumber(text).value ? hasNumber_ : hasOther_) = true;
  }

  [[nodiscard]] std::optional<std::string> wish() const {
    VariableDataType const guessed = hasNumber_ && !hasOther_ ? Variant::FloatingPoint : Variant::String;
    bool const isSame = isBuiltIn_ || guessed == type_ || !readType(typeWord(type_));
    return isSame ? std::nullopt : std::optional{fmt::format("{}={}", name_, typeWord(type_))};
  }

 private:
  std::string name_;
  VariableDataType type_;
  bool isBuiltIn_;
  bool hasNumber_ = false;
  bool hasOther_ = false;
};

Json describe(Project& project, u64 variable) {
  Json json{{"name", jsonText(project.variableName(variable))},
            {"type", typeWord(project.variableDataType(variable))},
            {"nature", natureWord(project.variableNature(variable))},
            {"kind", kindWord(project.variableType(variable))}};
  if (auto const text = project.variableDescription(variable); !text.empty()) json["description"] = jsonText(text);
  if (auto const text = project.variableExpression(variable); !text.empty()) json["expression"] = jsonText(text);
  return json;
}

}  // namespace

std::vector<std::string> exportCsv(Project& project, std::ostream& out, CsvWriter::Options options,
                                   ExportProgress const& progress) {
  CsvWriter writer{out, options};
  std::vector<ReadBack> columns;
  for (auto variable : project.variables()) {
    columns.emplace_back(project, variable.id());
    writer.field(project.variableName(variable.id()));
  }
  writer.endRow();
  auto column = columns.begin();
  auto const field = [&](Variant const& cell) {
    std::string const text = cell.toString();
    writer.field(text);
    (column++)->note(text);
  };
  forEachRow(project, progress, field, [&](bool) {
    writer.endRow();
    column = columns.begin();
  });
  std::vector<std::string> wishes;
  for (ReadBack const& readBack : columns)
    if (auto const wish = readBack.wish()) wishes.push_back(*wish);
  return wishes;
}

void exportJson(Project& project, std::ostream& out, ExportProgress const& progress) {
  out << "{\"name\": " << jsonText(project.friendlyName()) << ",\n \"description\": " << jsonText(project.description())
      << ",\n \"root\": " << jsonText(project.rootPath()) << ",\n \"variables\": [";
  std::string_view before = "\n  ";
  for (auto variable : project.variables()) {
    out << before << describe(project, variable.id());
    before = ",\n  ";
  }
  out << "],\n \"cases\": [" << (project.empty() ? "" : "\n");
  bool rowBegins = true;
  forEachRow(
      project, progress,
      [&](Variant const& cell) {
        out << (rowBegins ? "  [" : ", ") << jsonCell(cell);
        rowBegins = false;
      },
      [&](bool last) {
        out << (last ? "]" : "],\n");
        rowBegins = true;
      });
  out << "]}\n";
}

}  // namespace casebook::cli
