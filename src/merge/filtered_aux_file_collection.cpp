#include "merge/filtered_aux_file_collection.h"

#include <algorithm>
#include <utility>

namespace casebook {

FilteredAuxFileCollection::FilteredAuxFileCollection(boost::shared_ptr<AuxFileCollectionInterface const> inner,
                                                     std::vector<u64> const& wanted)
    : inner_{std::move(inner)}, rows_(wanted.begin(), std::ranges::lower_bound(wanted, inner_->size())) {}

std::vector<std::string> FilteredAuxFileCollection::files(u64 row, std::string const& tag) const {
  return row < rows_.size() ? inner_->files(rows_[row], tag) : std::vector<std::string>{};
}

}  // namespace casebook
