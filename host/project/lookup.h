#pragma once

#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/variable.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace casebook::cli {

[[nodiscard]] std::vector<std::string> variableNames(Project& project);

/// What a variable holds: "text"; "number, calculated".
[[nodiscard]] std::string typeWords(Project& project, u64 variable);

/// Throws Failure with the nearest names when there is none.
[[nodiscard]] WeakPtr<Variable> findVariable(Project& project, std::string const& name);

/// Throws Failure with the nearest cases when there is none, or when `caseId` is no case identifier.
[[nodiscard]] WeakPtr<Record> findCase(Project& project, std::string const& caseId);

/// The identifiers of all cases, ascending.
[[nodiscard]] std::vector<std::uint32_t> caseIds(Project& project);

/// Identifiers that no case has, ascending, when these, ascending, are taken: those from one more than the largest on,
/// or when there is no room above it the smallest from 1 on.
[[nodiscard]] std::vector<std::uint32_t> freeCaseIds(std::vector<std::uint32_t> const& taken, std::size_t count);

/// Throws Failure unless a new variable may have this name: not empty, UTF-8, not taken, not that of a built-in one.
void checkNewName(Project& project, std::string const& name);

/// Throws Failure for the name of a built-in variable, which "keeps its name", or what else it `keeps`.
void checkNotBuiltIn(std::string const& name, std::string_view keeps);

/// Throws Failure when the text of an argument is not UTF-8: a table that holds it could not be read back.
void checkUtf8(std::string const& text);

}  // namespace casebook::cli
