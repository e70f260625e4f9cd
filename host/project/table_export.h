#pragma once

#include "csv/csv_writer.h"

#include <casebook/project.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace casebook::cli {

/// Told how many of how many cases are out.
using ExportProgress = std::function<void(std::size_t, std::size_t)>;

/// The table with a header, "Case ID" first. A null is an empty field; numbers are the shortest text that reads back
/// to the same number, or nan, inf, -inf. Returns the columns that an import takes for another type unless it is told,
/// as "NAME=type".
std::vector<std::string> exportCsv(Project& project, std::ostream& out, CsvWriter::Options options,
                                   ExportProgress const& progress);

/// One document:
///
///   {"name": text, "description": text, "root": text,
///    "variables": [{"name": text, "type": "number", "nature": "none", "kind": "ordinary", ...}, ...],
///    "cases": [[cell of each variable], ...]}                            one line for each case
///
/// A text is what jsonText makes of it; a null is null; what JSON has no number for is "nan", "inf", "-inf".
void exportJson(Project& project, std::ostream& out, ExportProgress const& progress);

}  // namespace casebook::cli
