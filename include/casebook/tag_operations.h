#pragma once

#include <casebook/export.h>
#include <casebook/weak_ptr.h>

#include <cstdint>
#include <set>
#include <string>

namespace casebook {

class TagGroup;

/// Questions about the tags of a selection of cases, to the current project. The order of the virtual operations is
/// part of the interface.
class CASEBOOK_EXPORT TagOperations {
 public:
  enum class AuxFileType : std::uint32_t { Image = 0, NonImage = 1 };

  /// The tags of these cases' files of one type. A case identifier that names no record adds nothing.
  [[nodiscard]] virtual std::set<std::string> getTagsForCases(std::set<u64> const& caseIds, AuxFileType type);
  /// Those of `tags` that no file of these cases carries, of whatever type.
  [[nodiscard]] virtual std::set<std::string> getUnusedTags(std::set<std::string> const& tags,
                                                            std::set<u64> const& caseIds);
  virtual ~TagOperations();
};

/// Finds a tag group by its name among others, with the standard algorithms.
class CASEBOOK_EXPORT TagGroupNameIs {
 public:
  explicit TagGroupNameIs(std::string const& name);

  /// Whether the group is there and its name is the one sought, byte for byte.
  [[nodiscard]] bool operator()(WeakPtr<TagGroup> const& group) const;

 private:
  std::string name_;
};

}  // namespace casebook
