#pragma once

#include "store/change_sink.h"

#include <string>

namespace casebook {

/// The named, ordered lists of tags.
class TagGroups {
 public:
  /// Both are borrowed.
  TagGroups(Store& store, ChangeSink& sink) : store_{store}, sink_{sink} {}

  /// The group of that name, of lowest UID; null when there is none.
  [[nodiscard]] DataTagGroup const* find(std::string const& name) const;

  DataTagGroup& add(std::string const& name);
  /// Puts a group back under its UID; its name may be taken.
  DataTagGroup& insert(DataTagGroup group);
  void setName(u64 group, std::string const& name);

  void addTag(u64 group, std::string const& tag);
  void insertTag(u64 group, std::string const& tag, u64 index);
  void removeTag(u64 group, std::string const& tag);
  /// Removes the tag at that place; there must be one.
  void removeTagAt(u64 group, u64 index);

 private:
  void refuseTakenName(std::string const& name) const;

  Store& store_;
  ChangeSink& sink_;
};

}  // namespace casebook
