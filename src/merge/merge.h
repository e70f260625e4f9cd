#pragma once

#include <casebook/aux_file_collection.h>

#include "auxtags/aux_files.h"
#include "merge/imported_columns.h"
#include "store/table.h"

#include <functional>
#include <optional>

namespace casebook {

/// Brings imported tables into the project. Every variable, record, cell and file that comes of it is one edit of the
/// open transaction.
class Merge {
 public:
  using AuxFileCollection = boost::shared_ptr<AuxFileCollectionInterface const>;

  /// How variables and records are made: through the operations of the face, which a host may have overridden. Both
  /// give the UID.
  struct Makers {
    std::function<u64(ColumnInfo const& info, Variant const& defaultValue)> addVariable;
    std::function<u64()> addRecord;
    std::function<bool()> areTheTables;  ///< whether nobody has overridden them, so that they do nothing else
  };

  /// All are borrowed but the makers.
  Merge(Store& store, Table& table, AuxFiles& auxFiles, Makers makers)
      : store_{store}, table_{table}, auxFiles_{auxFiles}, makers_{std::move(makers)} {}

  /// These do what the operations of Project say.
  [[nodiscard]] MergeInfo prepare(ImportedTable const& table, std::vector<ColumnInfo> const& descriptions) const;
  void merge(MergeInfo const& info, AuxFileCollection const& auxFiles);
  void merge(ImportedTable const& table, std::vector<ColumnInfo> const& descriptions, MergeMethod method,
             AuxFileCollection const& auxFiles);

 private:
  using Selections = std::vector<std::size_t>;

  /// `independent` are the columns that were found to be so when the merge was prepared.
  void mergeColumns(ImportedColumns columns, MergeMethod method, std::optional<Selections> independent,
                    AuxFileCollection const& auxFiles);
  void createImportedColumns(ImportedColumns& columns);

  Store& store_;
  Table& table_;
  AuxFiles& auxFiles_;
  Makers makers_;
};

}  // namespace casebook
