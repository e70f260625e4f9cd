#pragma once

#include <casebook/export.h>

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace casebook {

using u64 = std::uint64_t;

/// The files that come with the rows of an imported table; a host implements it. Rows count from 0, in the order of
/// the table. The order of the virtual operations is part of the interface.
class CASEBOOK_EXPORT AuxFileCollectionInterface {
 public:
  AuxFileCollectionInterface();
  AuxFileCollectionInterface(AuxFileCollectionInterface const& other);
  AuxFileCollectionInterface& operator=(AuxFileCollectionInterface const& other);

  /// True when there is nothing to supply: no file is then attached to appended rows.
  [[nodiscard]] virtual bool empty() const = 0;
  /// The tags under which the collection holds files.
  [[nodiscard]] virtual std::set<std::string> tags() const = 0;
  /// The paths of a row's files under a tag. Asked for every row of the table: empty where there are none.
  [[nodiscard]] virtual std::vector<std::string> files(u64 row, std::string const& tag) const = 0;
  /// The number of rows that the collection covers.
  [[nodiscard]] virtual u64 size() const = 0;
  virtual ~AuxFileCollectionInterface();
};

}  // namespace casebook
