#include <casebook/project.h>
#include <casebook/tag_group.h>

namespace casebook {

TagGroup::~TagGroup() = default;

std::string const& TagGroup::name() const { return Project::project().tagGroupName(uid()); }
void TagGroup::setName(std::string const& name, Transaction& transaction) { transaction->setTagGroupName(uid(), name); }
std::vector<std::string> const& TagGroup::tags() const { return Project::project().tags(uid()); }
void TagGroup::addTag(std::string const& tag, Transaction& transaction) { transaction->addTag(uid(), tag); }
void TagGroup::removeTag(std::string const& tag, Transaction& transaction) { transaction->removeTag(uid(), tag); }
void TagGroup::insertTag(std::string const& tag, u64 index, Transaction& transaction) {
  transaction->insertTag(uid(), tag, index);
}
WeakPtr<TagGroup> TagGroup::getWeakPtr() const { return WeakPtr<TagGroup>{uid()}; }

void TagGroup::erase(Transaction& transaction) { transaction->eraseTagGroup(uid()); }

}  // namespace casebook
