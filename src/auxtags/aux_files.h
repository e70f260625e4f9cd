#pragma once

#include <casebook/filesystem.h>

#include "store/change_sink.h"

#include <string>
#include <vector>

namespace casebook {

/// Those of image files.
[[nodiscard]] FileExtensions const& imageExtensions();

/// The files attached to records.
class AuxFiles {
 public:
  /// Both are borrowed.
  AuxFiles(Store& store, ChangeSink& sink) : store_{store}, sink_{sink} {}

  /// The record's files in the order of attachment.
  [[nodiscard]] std::vector<DataAuxFile const*> ofRecord(u64 record) const;

  /// Attaches the file unless the record has one of the same path and tag; gives that one or the new one.
  DataAuxFile const& add(u64 record, std::string const& path, std::string const& tag);

  /// The same with the record's files at hand; a new file joins them.
  DataAuxFile const& addUnique(u64 record, std::vector<DataAuxFile const*>& existing, std::string const& path,
                               std::string const& tag);

  /// Puts a file under its UID and enters it in the list of its record, at its place by UID.
  DataAuxFile& insert(DataAuxFile file);

  /// The path joined to the project's root path; as it is when it is absolute.
  [[nodiscard]] std::string fullPath(DataAuxFile const& file) const;

 private:
  Store& store_;
  ChangeSink& sink_;
};

}  // namespace casebook
