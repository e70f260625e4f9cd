#include <casebook/aux_file.h>
#include <casebook/project.h>
#include <casebook/record.h>
#include <casebook/variable.h>

namespace casebook {

Record::~Record() = default;

void Record::activate(Transaction& transaction) { transaction->activate(uid(), true); }
void Record::deactivate(Transaction& transaction) { transaction->activate(uid(), false); }
bool Record::isActive() const { return Project::project().recordIsActive(uid()); }

void Record::setData(std::vector<Variant> const& row, Transaction& transaction) { transaction->setRow(uid(), row); }
void Record::setData(Variant const& value, Variable const& variable, Transaction& transaction) {
  transaction->setValue(variable, *this, value);
}
Variant const& Record::data(Variable const& variable) const { return Project::project().value(variable, *this); }
std::vector<Variant> Record::data() const { return currentProject().getRow(uid()); }

std::vector<WeakPtr<AuxFile>> Record::auxFiles() const { return currentProject().auxFiles(uid()); }
std::vector<WeakPtr<AuxFile>> Record::auxFiles(std::set<std::string> const& tags) const {
  return currentProject().auxFiles(uid(), tags);
}
std::vector<WeakPtr<AuxFile>> Record::auxFilesImage() const { return currentProject().auxFilesImage(uid()); }
std::vector<WeakPtr<AuxFile>> Record::auxFiles3DX() const { return currentProject().auxFiles3DX(uid()); }
std::vector<WeakPtr<AuxFile>> Record::auxFilesNonImage(std::set<std::string> const& tags) const {
  return currentProject().auxFilesNonImage(uid(), tags);
}
WeakPtr<AuxFile> Record::addAuxFile(std::string const& path, Transaction& transaction, std::string const& tag) {
  return transaction->addAuxFile(uid(), path, tag);
}

void Record::erase(Transaction& transaction) { transaction->eraseRecord(uid()); }

}  // namespace casebook
