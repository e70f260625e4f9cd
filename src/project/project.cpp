// The project as a whole: its life, texts, transactions and signals.

#include <casebook/project.h>

#include <casebook/journal.h>

#include "project/components.h"
#include "project/instance.h"
#include "replay/checkpoint.h"
#include "replay/restore.h"
#include "store/locks.h"
#include "store/property.h"

#include <atomic>

namespace casebook {

namespace {

void refuseInSlot(Signals const& signals) {
  if (signals.emitting()) throw varnel::ExceptionBase{"The project cannot be replaced while it is signalling.", true};
}

}  // namespace

namespace {

/// Tags leave their groups, and merges make variables and records, through the operations of the face, which a derived
/// class may override.
std::unique_ptr<Components> componentsOf(Project& project) {
  auto removeTag = [&project](u64 group, std::string const& tag) { project.removeTag(group, tag); };
  Merge::Makers makers{[&project](ColumnInfo const& info, Variant const& defaultValue) {
                         return project.addVariable(info.name, info.nature, info.dataType, defaultValue).id();
                       },
                       [&project] { return project.addRecord().id(); },
                       [&project] { return typeid(project) == typeid(Instance); }};
  return std::make_unique<Components>(std::move(removeTag), std::move(makers));
}

}  // namespace

Project::Project() : components_{componentsOf(*this)} {}

Project::~Project() {
  Project* self = this;
  std::atomic_ref<Project*>{projectPtr}.compare_exchange_strong(self, nullptr);
}

void Project::signalProjectChangePreConnected() {}
void Project::signalProjectChangeConnected() {}
void Project::signalProjectJournalConnected() {}
void Project::signalProjectResetConnected() {}

bool Project::empty() const { return components_->store.records.empty(); }

std::string Project::friendlyName() const { return components_->store.texts.friendlyName; }
std::string Project::description() const { return components_->store.texts.description; }
std::string Project::rootPath() const { return components_->store.texts.rootPath; }

void Project::setFriendlyName(std::string const& name) {
  setProperty(components_->recorder, components_->store.texts, properties::friendlyName, name);
}
void Project::setDescription(std::string const& description) {
  setProperty(components_->recorder, components_->store.texts, properties::projectDescription, description);
}
void Project::setRootPath(std::string const& path) {
  setProperty(components_->recorder, components_->store.texts, properties::rootPath, path);
}

Transaction Project::startTransaction() {
  startTransaction(0);
  return Transaction{*this, 1};
}
void Project::startTransaction(u64) { components_->transactions.openLevel(); }
void Project::endTransaction(u64) { components_->transactions.closeLevel(); }
u64 Project::transactionDepth() const { return components_->transactions.depth(); }
bool Project::isEmitting() const { return components_->signals.emitting(); }

void Project::processJournalTransaction(Journal::Transaction const& block, Direction direction) {
  refuseInSlot(components_->signals);
  components_->replay.run(block, direction);
}

void Project::resetProject() {
  refuseInSlot(components_->signals);
  components_->restart();
  components_->transactions.emitReset();
}

Journal::Checkpoint Project::checkpoint() const {
  if (components_->transactions.depth() != 0)
    throw varnel::ExceptionBase{"A checkpoint needs all transactions to be closed.", true};
  return makeCheckpoint(components_->store);
}

void Project::restore(std::span<Journal::Transaction const> blocks, u64 nextUid) {
  auto& parts = *components_;
  bool const isNew = isFresh(parts.store) && parts.log.empty();
  if (!isNew || parts.transactions.depth() != 0 || parts.signals.emitting())
    throw varnel::ExceptionBase{"Only a new project can be restored.", true};
  try {
    restoreBlocks(parts.store, parts.recorder, parts.calculation, parts.replay, blocks, nextUid);
    parts.transactions.refreshStatistics();
  } catch (...) {
    parts.restart();
    throw;
  }
}

void Project::clearEntireProjectWithoutSignal() {
  refuseInSlot(components_->signals);
  auto fresh = componentsOf(*this);
  fresh->transactions.continueAt(components_->transactions.depth());
  components_.swap(fresh);
}

bool Project::isCompletelyUnlocked() const {
  return components_->transactions.depth() == 0 && isUnlocked(components_->store);
}

namespace {

/// Tells the project of the new connection; a hook that throws has not accepted it.
template <class Hook>
Connection announced(Connection connection, Hook const& hook) {
  try {
    hook();
  } catch (...) {
    connection.disconnect();
    throw;
  }
  return connection;
}

}  // namespace

Connection Project::connectProjectChangePre(ChangeSlot slot) {
  return announced(components_->signals.changePre.connect(std::move(slot)),
                   [this] { signalProjectChangePreConnected(); });
}
Connection Project::connectProjectChange(ChangeSlot slot) {
  return announced(components_->signals.change.connect(std::move(slot)), [this] { signalProjectChangeConnected(); });
}
Connection Project::connectProjectJournal(JournalSlot slot) {
  return announced(components_->signals.journal.connect(std::move(slot)), [this] { signalProjectJournalConnected(); });
}
Connection Project::connectProjectReset(ResetSlot slot) {
  return announced(components_->signals.reset.connect(std::move(slot)), [this] { signalProjectResetConnected(); });
}

}  // namespace casebook
