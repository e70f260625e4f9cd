#include "derived/few_values.h"

namespace casebook {

/// To where their values begin and on.
void FewValues::move(Positions positions, std::span<std::uint32_t const> ends) {
  std::vector<std::uint32_t> places{0};
  places.insert(places.end(), ends.begin(), ends.end());
  if (arranged_.size() < positions.size()) arranged_.resize(positions.size());
  for (std::size_t k = 0; k < positions.size(); ++k) arranged_[places[counted_[numbers_[k]].value]++] = positions[k];
  std::copy_n(arranged_.begin(), positions.size(), positions.begin());
}

}  // namespace casebook
