// A first program: a table of three cases, one edit, and the same table again from its journal.

#include <casebook/casebook.h>

#include <iomanip>
#include <iostream>
#include <vector>

namespace {

/// Prints the current project, one line for each record.
void print(casebook::Project const& project) {
  for (auto const variable : project.variables()) std::cout << std::setw(10) << variable.lock().name();
  std::cout << '\n';
  for (auto const record : project.records()) {
    for (auto const& cell : record.lock().data()) std::cout << std::setw(10) << cell.toString();
    std::cout << '\n';
  }
}

}  // namespace

int main() {
  // [README.md quotes from here
  casebook::Project& project = casebook::currentProject();

  // One slot hears what a transaction changed, another takes the block that undoes or redoes it.
  project.connectProjectChange([](casebook::TransactionRecord const& changes) {
    std::cout << "new variables: " << changes.added.variables.size()
              << ", new records: " << changes.added.records.size() << '\n';
  });
  std::vector<unsigned char> block;
  project.connectProjectJournal([&block](casebook::Journal::TransactionWriter& writer) {
    auto const bytes = writer.finalize();
    block.assign(bytes.begin(), bytes.end());
  });

  {
    casebook::Transaction transaction = project.startTransaction();
    auto const nature = casebook::VariableNature::Unspecified;
    auto const name = project.addVariable("Name", nature, casebook::Variant::String, "").lock();
    auto const height = project.addVariable("Height", nature, casebook::Variant::FloatingPoint, 1.5).lock();
    for (auto const* person : {"Ada", "Grace", "Sonja"}) project.addRecord().lock().setData(person, name, transaction);
    project.recordById(2).lock().setData(1.68, height, transaction);
    transaction.commit();  // the slots are called here
  }
  // to here]
  print(project);

  // Handles belong to the current project, so all of the first one's are gone when a second takes its place.
  auto const copy = casebook::createProject();
  casebook::projectPtr = copy.get();

  casebook::Journal::Transaction const stored{block, 0};
  if (!stored.valid()) return 1;
  casebook::Transaction transaction = copy->startTransaction();
  copy->processJournalTransaction(stored, casebook::Journal::Direction::Forwards);
  transaction.commit();

  std::cout << "from the journal:\n";
  print(*copy);
}
