#include "merge/match_index.h"

#include "derived/value_key.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <string_view>

namespace casebook {

namespace {

/// Equal values have equal hashes.
u64 hashOf(Variant const& value) noexcept {
  auto const [kind, key] = keyOf(value);
  u64 const hash = kind == ValueKind::Text ? std::hash<std::string_view>{}(value.stringValue()) : key;
  return hash + static_cast<u64>(kind);
}

u64 mix(u64 hash, u64 more) noexcept {
  hash = (hash ^ more) * 0x9e37'79b9'7f4a'7c15;
  return hash ^ (hash >> 29);
}

/// Of each row; column by column, for each lies in one piece.
template <class ColumnOf>
std::vector<u64> hashRows(std::span<MatchIndex::Key const> keys, ColumnOf const& columnOf) {
  std::vector<u64> hashes(columnOf(keys.front())->size());
  for (auto const& key : keys)
    std::ranges::transform(hashes, *columnOf(key), hashes.begin(),
                           [](u64 hash, Variant const& value) { return mix(hash, hashOf(value)); });
  return hashes;
}

}  // namespace

MatchIndex::MatchIndex(std::vector<Key> keys)
    : keys_{std::move(keys)}, inputHashes_{hashRows(keys_, [](Key const& key) { return key.input; })} {
  auto const hashes = hashRows(keys_, [](Key const& key) { return key.table; });
  next_.resize(hashes.size());
  groups_.resize(std::bit_ceil(2 * hashes.size() + 2));
  shift_ = std::countl_zero(groups_.size() - 1);
  for (auto row = static_cast<Row>(hashes.size()); row > 0; --row) insert(row - 1, hashes[row - 1]);
}

// Rows come from the highest to the lowest, so that each is the first of its group.
void MatchIndex::insert(Row row, u64 hash) noexcept {
  auto& group = groupOf(hash);
  next_[row] = group.first;
  group = {hash, row, true};
}

auto MatchIndex::groupOf(u64 hash) noexcept -> Group& {
  std::size_t const mask = groups_.size() - 1;
  std::size_t place = hash >> shift_;
  while (groups_[place].used && groups_[place].hash != hash) place = (place + 1) & mask;
  return groups_[place];
}

u64 MatchIndex::claim(u64 inputRow) noexcept {
  for (Row* link = &groupOf(inputHashes_[inputRow]).first; *link != end; link = &next_[*link]) {
    Row const row = *link;
    if (!isTrueMatch(row, inputRow)) continue;
    *link = next_[row];
    return row;
  }
  return none;
}

bool MatchIndex::isTrueMatch(u64 row, u64 inputRow) const noexcept {
  return std::ranges::all_of(keys_, [=](Key const& key) { return (*key.input)[inputRow] == (*key.table)[row]; });
}

}  // namespace casebook
