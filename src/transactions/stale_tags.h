#pragma once

#include "store/change_sink.h"

#include <vector>

namespace casebook {

/// What changed since the answers about tags were worked out: hears of every change and names what has to be looked
/// at again. A note of a change that did not happen does no harm.
class StaleTags {
 public:
  template <class Other>
  void note(Other const&) noexcept {}
  void note(Creation<DataAuxFile> const& change) noexcept { noteIn(files_, change.entity.id); }
  void note(Erasure<DataAuxFile> const& change) noexcept { noteIn(files_, change.entity.id); }
  void note(Creation<DataPathRegex> const& change) noexcept { noteIn(rules_, change.entity.id); }
  void note(Erasure<DataPathRegex> const& change) noexcept { noteIn(rules_, change.entity.id); }
  void note(Creation<DataTagGroup> const&) noexcept { groups_ = true; }
  void note(PropertyChange const& change) noexcept {
    if (change.kind == EntityKind::PathRegex) noteIn(rules_, change.uid);
    if (change.kind == EntityKind::TagGroup) groups_ = true;
  }

  /// Whether there is anything to look at again in files or rules.
  [[nodiscard]] bool filesOrRules() const noexcept { return everything_ || !files_.empty() || !rules_.empty(); }
  /// Whether single files and rules are not named, because all are stale.
  [[nodiscard]] bool everything() const noexcept { return everything_; }
  /// UIDs in the order of the changes, some more than once, of entities that are there or not.
  [[nodiscard]] std::vector<u64> const& files() const noexcept { return files_; }
  [[nodiscard]] std::vector<u64> const& rules() const noexcept { return rules_; }
  void settleFilesAndRules() noexcept {
    everything_ = false;
    files_.clear();
    rules_.clear();
  }
  void markEverything() noexcept {
    settleFilesAndRules();
    everything_ = true;
    groups_ = true;
  }

  /// Whether a file, a rule or a group changed since the groups were held to the tags of image files.
  [[nodiscard]] bool groups() const noexcept { return groups_; }
  void settleGroups() noexcept { groups_ = false; }

 private:
  /// More changes than this are not named one by one: nobody may ever ask for tags.
  static constexpr std::size_t mostNamed = 65536;

  void noteIn(std::vector<u64>& uids, u64 uid) noexcept {
    groups_ = true;
    if (everything_) return;
    try {
      if (uids.size() < mostNamed) uids.push_back(uid);
      else markEverything();
    } catch (...) {
      markEverything();
    }
  }

  std::vector<u64> files_;
  std::vector<u64> rules_;
  bool everything_ = true;
  bool groups_ = true;
};

}  // namespace casebook
