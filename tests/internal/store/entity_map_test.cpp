#include "store/entity_map.h"

#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>

namespace casebook {
namespace {

struct Numbered {
  u64 id;
};

// Of UIDs near to each other and far away, in any order, so that some are in the list and some are not.
RC_GTEST_PROP(EntityMap, GoesThroughWhatItHoldsInTheOrderOfUids, ()) {
  EntityMap<Numbered> map;
  std::map<u64, Numbered const*> held;
  u64 const farthest = *rc::gen::elementOf(std::vector<u64>{20, 1200, 5000, 1'000'000});
  for (auto const uid : *rc::gen::container<std::vector<u64>>(rc::gen::inRange<u64>(1, farthest)))
    if (held.contains(uid)) {
      map.erase(uid);
      held.erase(uid);
    } else {
      held.emplace(uid, &map.insert({uid}));
    }
  std::vector<std::pair<u64 const, Numbered const*>> visited;
  map.forEach([&](u64 uid, Numbered const* entity) { visited.emplace_back(uid, entity); });
  RC_ASSERT(std::ranges::equal(visited, held));
  for (auto const& [uid, entity] : held) RC_ASSERT(map.find(uid) == entity);
}

// As rows are kept, of which some are not known yet.
RC_GTEST_PROP(UidIndex, FindsWhatWasAssignedLast, (std::vector<std::uint8_t> const& values)) {
  std::vector<u64> const uids{1, 2, 1030, 1050, 1100, 5000};
  UidIndex<int, 0> index;
  std::map<u64, int> held;
  for (auto const value : values) {
    auto const uid = *rc::gen::elementOf(uids);
    auto const found = held.find(uid);
    if (found == held.end()) {
      index.insert(uid, value % 4);
      held.emplace(uid, value % 4);
    } else if (value % 5 == 0) {
      index.erase(uid);
      held.erase(found);
    } else {
      index.assign(uid, found->second = value % 4);
    }
    for (auto const any : uids) RC_ASSERT(index.find(any) == (held.contains(any) ? held.at(any) : 0));
  }
}

}  // namespace
}  // namespace casebook
