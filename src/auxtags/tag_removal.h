#pragma once

#include "auxtags/file_tags.h"
#include "transactions/deletion.h"

#include <functional>

namespace casebook {

/// How tags leave: with all that carries them, at the host's wish, or out of the groups, when no image file carries
/// them any more.
class TagRemoval {
 public:
  /// Removes the first such tag from the group that has the UID.
  using RemoveTag = std::function<void(u64 group, std::string const& tag)>;

  /// All are borrowed but `removeTag`, by which every tag leaves its group.
  TagRemoval(Store const& store, FileTags& fileTags, StaleTags& stale, Deletion& deletion, ChangeLog& log,
             RemoveTag removeTag)
      : store_{store},
        fileTags_{fileTags},
        stale_{stale},
        deletion_{deletion},
        log_{log},
        removeTag_{std::move(removeTag)} {}

  /// Takes each tag out of the groups that list it, once, and requests the erasure of the rules that give the tags and
  /// of the files that carry them, in this order. Throws as Deletion::request, for a file that carries two of the tags
  /// as well; what was done before stays done.
  void removeTags(std::set<std::string> const& tags);

  /// Takes out of every group the tags that no image file carries. Does nothing unless a file, a rule or a group
  /// changed since.
  void updateTagGroups();

 private:
  [[nodiscard]] std::vector<std::string> lostTags(u64 group);

  Store const& store_;
  FileTags& fileTags_;
  StaleTags& stale_;
  Deletion& deletion_;
  ChangeLog& log_;
  RemoveTag removeTag_;
};

}  // namespace casebook
