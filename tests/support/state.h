#pragma once

#include "support/current_project.h"

#include <sstream>

namespace casebook::test {

enum class CalculatedCells { Shown, Hidden };

template <class Tags>
std::string listed(Tags const& tags) {
  std::string list;
  for (auto const& tag : tags) list += tag + ',';
  return list;
}

/// Everything that a project holds and answers, as lines of text: equal projects have equal states. The cells of
/// calculated variables can be left out.
inline std::string stateOf(Project& project, CalculatedCells cells = CalculatedCells::Shown) {
  std::ostringstream out;
  std::vector<bool> shown;
  out << "texts " << project.friendlyName() << '|' << project.description() << '|' << project.rootPath() << '\n';
  for (auto const variable : project.variables()) {
    u64 const uid = variable.id();
    out << "variable " << uid << ' ' << project.variableName(uid) << '|' << project.variableDescription(uid) << '|'
        << project.variableExpression(uid) << '|' << exactly(project.variableDefaultValue(uid)) << '|'
        << project.variableDataType(uid) << '|' << static_cast<u64>(project.variableType(uid)) << '|'
        << static_cast<u64>(project.variableNature(uid)) << (project.variableIsCaseID(uid) ? "|case id\n" : "\n");
    shown.push_back(cells == CalculatedCells::Shown || project.variableType(uid) != VariableType::Calculated);
  }
  for (auto const record : project.records()) {
    out << "record " << record.id() << (project.recordIsActive(record.id()) ? " active" : " inactive");
    auto isShown = shown.begin();
    for (auto const& cell : project.getRow(record.id())) out << ' ' << (*isShown++ ? exactly(cell) : "calculated");
    for (auto const file : project.auxFiles(record.id())) out << " file " << file.id();
    out << '\n';
  }
  for (auto const file : project.auxFiles())
    out << "file " << file.id() << ' ' << project.auxFileRawPath(file.id()) << '|'
        << project.auxFileRecord(file.id()).id() << '|' << listed(project.auxFileTags(file.id())) << '\n';
  for (auto const group : project.tagGroups()) {
    out << "group " << group.id() << ' ' << project.tagGroupName(group.id());
    out << '|' << listed(project.tags(group.id())) << '\n';
  }
  if (auto const tags = project.tags(); !tags.empty())
    out << "tags " << listed(tags) << " of images " << listed(project.imageTags()) << '\n';
  for (auto const rule : project.variableRegexs())
    out << "variable rule " << rule.id() << ' ' << project.variableRegexExpression(rule.id()) << '|'
        << project.variableRegexTarget(rule.id()).id() << '\n';
  for (auto const rule : project.pathRegexs())
    out << "path rule " << rule.id() << ' ' << project.pathRegexExpression(rule.id()) << '|'
        << project.pathRegexTarget(rule.id()) << '\n';
  return out.str();
}

}  // namespace casebook::test
