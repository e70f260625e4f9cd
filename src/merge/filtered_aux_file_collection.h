#pragma once

#include <casebook/aux_file_collection.h>

#include <boost/smart_ptr/shared_ptr.hpp>

namespace casebook {

/// Some rows of another collection: row k stands for the k-th wanted row, as far as the other has that many.
class FilteredAuxFileCollection : public virtual AuxFileCollectionInterface {
 public:
  /// `wanted` is ascending.
  FilteredAuxFileCollection(boost::shared_ptr<AuxFileCollectionInterface const> inner, std::vector<u64> const& wanted);

  [[nodiscard]] bool empty() const override { return rows_.empty(); }
  [[nodiscard]] std::set<std::string> tags() const override { return inner_->tags(); }
  /// None for a row at or beyond `size()`.
  [[nodiscard]] std::vector<std::string> files(u64 row, std::string const& tag) const override;
  [[nodiscard]] u64 size() const override { return rows_.size(); }

 private:
  boost::shared_ptr<AuxFileCollectionInterface const> inner_;
  std::vector<u64> rows_;  // of the other collection, ascending
};

}  // namespace casebook
