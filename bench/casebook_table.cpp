#include "casebook_table.h"

#include <boost/smart_ptr/make_shared.hpp>

#include <stdexcept>

namespace casebook::bench {

namespace {

class NoFiles : public AuxFileCollectionInterface {
 public:
  [[nodiscard]] bool empty() const override { return true; }
  [[nodiscard]] std::set<std::string> tags() const override { return {}; }
  [[nodiscard]] std::vector<std::string> files(u64, std::string const&) const override { return {}; }
  [[nodiscard]] u64 size() const override { return 0; }
};

VariableDataType dataTypeOf(StudyColumn const& column) {
  if (column.content == Content::CaseId) return Variant::UnsignedInteger;
  return column.isText() ? Variant::String : Variant::FloatingPoint;
}

template <class Handle>
std::vector<Handle> locked(std::vector<WeakPtr<Handle>> const& entities) {
  std::vector<Handle> handles;
  handles.reserve(entities.size());
  for (auto const entity : entities) handles.push_back(entity.lock());
  return handles;
}

}  // namespace

std::vector<ColumnInfo> descriptionsOf(std::vector<StudyColumn> const& columns) {
  std::vector<ColumnInfo> descriptions;
  for (auto const& column : columns)
    descriptions.push_back(
        {column.name, column.isKey ? VariableNature::Independent : VariableNature::Unspecified, dataTypeOf(column)});
  return descriptions;
}

boost::shared_ptr<AuxFileCollectionInterface const> noFiles() { return boost::make_shared<NoFiles>(); }

CasebookTable::CasebookTable() : project_{createProject()} {
  projectPtr = project_.get();
  journal_ = project_->connectProjectJournal([this](Journal::TransactionWriter& writer) {
    auto const bytes = writer.finalize();
    block_.assign(bytes.begin(), bytes.end());
    untilJournalled_ = started_.seconds();
  });
  auto const slot = [this](TransactionRecord const& record) { cellChangesHeard_ += record.valuesChanged; };
  project_->connectProjectChangePre(slot);
  project_->connectProjectChange(slot);
}

CasebookTable::CasebookTable(Sheet const& sheet) : CasebookTable{} {
  std::vector<StudyColumn> const columns{studyColumns().begin() + 1,
                                         studyColumns().begin() + static_cast<std::ptrdiff_t>(sheet.size())};
  transaction([&] {
    project_->merge({sheet.begin() + 1, sheet.end()}, descriptionsOf(columns), MergeMethod::Append, noFiles());
  });
}

double CasebookTable::replay(Block const& block, Journal::Direction direction, double* replayed) {
  Stopwatch const watch;
  Journal::Transaction const stored{block, 0};
  if (!stored.valid()) throw std::runtime_error{"the block is damaged"};
  transaction([&] {
    project_->processJournalTransaction(stored, direction);
    if (replayed) *replayed = watch.seconds();
  });
  return watch.seconds();
}

std::vector<Variable> CasebookTable::variables() const { return locked(project_->variables()); }
std::vector<Record> CasebookTable::records() const { return locked(project_->records()); }

u64 CasebookTable::checksum(std::size_t columns) const {
  Checksum checksum;
  u64 row = 0;
  for (auto const record : project_->records()) {
    auto const cells = project_->getRow(record.id());
    for (u64 column = 0; column < columns; ++column) checksum.add(column, row, cells[column]);
    ++row;
  }
  return checksum.value();
}

}  // namespace casebook::bench
