#pragma once

#include "auxtags/file_kinds.h"
#include "platform/wildcard.h"
#include "store/store.h"
#include "transactions/stale_tags.h"

#include <boost/container/flat_map.hpp>
#include <boost/container/flat_set.hpp>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace casebook {

/// Which files carry which tags: a file's own tag or, when that is empty, the targets of the rules that its path
/// matches.
///
/// Which rules a path matches is found once and kept until the file or the rule changes; what is stale is worked out
/// at the next question. The empty tag is carried by every file that has no tag of its own.
class FileTags {
 public:
  using Uids = boost::container::flat_set<u64>;

  /// Both are borrowed.
  FileTags(Store const& store, StaleTags& stale) : store_{store}, stale_{stale} {}

  /// Ascending, each once.
  [[nodiscard]] std::vector<std::string> tagsOf(u64 file);
  [[nodiscard]] bool hasTag(DataAuxFile const& file, std::string const& tag);
  /// The UIDs of the files that carry the tag, ascending.
  [[nodiscard]] Uids filesWith(std::string const& tag);

  /// Every target of a rule and every tag that a file has of its own.
  [[nodiscard]] std::set<std::string> tags();
  /// The tags of image files: those whose first file that has the tag of its own is an image, and those claimed from
  /// rules. One file after the other, an image file without a tag claims the first rule that it matches and that none
  /// before it has claimed.
  [[nodiscard]] std::set<std::string> imageTags();
  [[nodiscard]] bool isImageTag(std::string const& tag);

  /// Forgets all answers, of a store that was emptied.
  void clear() noexcept;

 private:
  /// UIDs of files, the image files apart.
  struct Carriers {
    Uids images;
    Uids others;

    [[nodiscard]] Uids& of(bool image) noexcept { return image ? images : others; }
    [[nodiscard]] bool empty() const noexcept { return images.empty() && others.empty(); }
    [[nodiscard]] bool firstIsImage() const noexcept;
  };
  /// A rule and the files without a tag of their own that match it.
  struct Rule {
    DataPathRegex const* source;  ///< for its target
    Wildcard wildcard;            ///< which the carriers match
    Carriers carriers;
    u64 claimer = 0;  ///< the image file that claimed it, while the claims are known
  };
  using RuleMap = boost::container::flat_map<u64, std::unique_ptr<Rule>>;
  using OwnTags = std::map<std::string, Carriers>;
  /// What the answers about a file follow from.
  struct Kind {
    bool image = false;
    OwnTags::value_type* own = nullptr;  ///< borrowed; null when it has none
    std::vector<Rule*> rules;            ///< that it matches; borrowed

    [[nodiscard]] bool operator==(Kind const&) const = default;
    friend std::size_t hash_value(Kind const& kind) {
      auto hash = boost::hash_range(kind.rules.begin(), kind.rules.end());
      boost::hash_combine(hash, kind.own);
      boost::hash_combine(hash, kind.image);
      return hash;
    }
  };
  /// Once they were asked for.
  using KnownTags = std::optional<std::vector<std::string>>;

  void refresh();
  void refreshStale();
  void refreshAll();
  void refreshFile(u64 uid);
  void refreshRule(u64 uid);
  /// `forEachMatch` calls what it is given with each rule that matches the file.
  template <class ForEachMatch>
  void enter(DataAuxFile const& file, ForEachMatch const& forEachMatch);
  void leave(u64 uid);
  void carry(u64 uid, Rule& rule);
  Rule& enter(DataPathRegex const& rule);
  void leave(RuleMap::iterator rule);
  [[nodiscard]] static std::vector<std::string> targetsOf(std::vector<Rule*> const& rules);
  [[nodiscard]] std::set<std::string> const& claimedTags();

  Store const& store_;
  StaleTags& stale_;
  FileKinds<Kind, KnownTags> files_;
  Kind kind_;  ///< of the file at hand
  OwnTags ownTags_;
  RuleMap rules_;
  std::optional<std::set<std::string>> claimed_;
};

}  // namespace casebook
