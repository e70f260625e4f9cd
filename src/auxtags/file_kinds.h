#pragma once

#include "store/uid_index.h"

#include <boost/functional/hash.hpp>

#include <unordered_map>

namespace casebook {

/// Which kind each file is of. There are few kinds, however many the files: each is kept once, with what was found out
/// about its files, so that a file takes no more than a pointer and what is asked about it is in the cache.
///
/// A `Kind` is compared, and hashed by a `hash_value` of its own. After an exception only `clear` may be called.
template <class Kind, class Findings>
class FileKinds {
 public:
  struct Shared {
    Findings findings;
    u64 files = 0;
  };
  using Entry = std::pair<Kind const, Shared>;

  /// Null when the file has no kind.
  [[nodiscard]] Entry* find(u64 file) const noexcept { return entries_.find(file); }
  [[nodiscard]] Kind const& kindOf(u64 file) const noexcept { return find(file)->first; }

  /// Instead of the kind that the file had. The findings about a kind that had no file are empty.
  void put(u64 file, Kind const& kind) {
    auto& entry = *kinds_.try_emplace(kind).first;
    ++entry.second.files;
    remove(file);
    entries_.insert(file, &entry);
  }

  void remove(u64 file) noexcept {
    auto* const entry = find(file);
    if (!entry) return;
    entries_.erase(file);
    if (--entry->second.files == 0) kinds_.erase(kinds_.find(entry->first));
  }

  void clear() noexcept {
    entries_ = {};
    kinds_.clear();
  }

  void forgetFindings() {
    for (auto& [kind, shared] : kinds_) shared.findings = {};
  }

 private:
  UidIndex<Entry*, nullptr> entries_;
  std::unordered_map<Kind, Shared, boost::hash<Kind>> kinds_;
};

}  // namespace casebook
