#include "project/table_export.h"

#include "project/words.h"
#include "text/json_text.h"

#include <casebook/record.h>
#include <casebook/variable.h>

#include <nlohmann/json.hpp>

#include <cmath>
#include <vector>

namespace casebook::cli {
namespace {

using Json = nlohmann::ordered_json;

std::string_view kindWord(VariableType type) {
  switch (type) {
    case VariableType::Ordinary: return "ordinary";
    case VariableType::Calculated: return "calculated";
    case VariableType::CaseStatus: return "case status";
    case VariableType::CaseIdentifier: return "case identifier";
  }
  return "unknown";
}

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

Json describe(Project& project, u64 variable) {
  Json json{{"name", jsonText(project.variableName(variable))},
            {"type", typeWord(project.variableDataType(variable))},
            {"nature", natureWord(project.variableNature(variable))},
            {"kind", kindWord(project.variableType(variable))}};
  if (auto const text = project.variableDescription(variable); !text.empty()) json["description"] = jsonText(text);
  if (auto const text = project.variableExpression(variable); !text.empty()) json["expression"] = jsonText(text);
  return json;
}

std::string jsonCell(Variant const& cell) {
  switch (cell.type()) {
    case Variant::Null: return "null";
    case Variant::String: return jsonText(cell.stringValue()).dump();
    case Variant::UnsignedInteger: return cell.toString();
    case Variant::FloatingPoint: break;
  }
  return std::isfinite(cell.doubleValue()) ? cell.toString() : Json(cell.toString()).dump();
}

}  // namespace

void exportCsv(Project& project, std::ostream& out, CsvWriter::Options options, ExportProgress const& progress) {
  CsvWriter writer{out, options};
  for (auto variable : project.variables()) writer.field(project.variableName(variable.id()));
  writer.endRow();
  forEachRow(
      project, progress, [&](Variant const& cell) { writer.field(cell.toString()); }, [&](bool) { writer.endRow(); });
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
