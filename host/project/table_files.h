#pragma once

#include "project/import_plan.h"

#include <casebook/aux_file_collection.h>

#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace casebook::cli {

/// The files of a table's rows: a column of paths has at most one for each row, and its name is their tag.
class TableFiles : public AuxFileCollectionInterface {
 public:
  /// Paths are understood and kept as FilePlace does; a file that the project has already keeps the path that it has
  /// there. Throws Failure for a column whose name can be no tag. The table
  /// is borrowed.
  TableFiles(Project& project, CsvTable const& table, ImportPlan const& plan);

  [[nodiscard]] bool empty() const override { return columns_.empty(); }
  [[nodiscard]] std::set<std::string> tags() const override;
  [[nodiscard]] std::vector<std::string> files(u64 row, std::string const& tag) const override;
  [[nodiscard]] u64 size() const override { return table_.rows(); }

  /// A sentence on each file that is not on the disk, as TableProblems has them. Rows that are left out, ascending, do
  /// not count.
  [[nodiscard]] std::vector<std::string> absent(std::vector<std::size_t> const& leftOut, std::string_view source) const;

 private:
  struct Place {
    std::string stored;  ///< empty where there is no file
    bool isThere = true;
  };
  struct Column {
    std::string tag;
    std::size_t index;  ///< in the table
    std::vector<Place> places;
  };

  [[nodiscard]] Place place(Project& project, std::string const& path) const;

  CsvTable const& table_;
  std::unordered_map<std::string, std::string> known_;  // paths of files of the project, by their places
  std::vector<Column> columns_;                         // in the order of the table
};

}  // namespace casebook::cli
