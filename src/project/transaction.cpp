#include <casebook/exception_base.h>
#include <casebook/project.h>
#include <casebook/transaction.h>

#include <utility>

namespace casebook {

// A committed transaction has no project.

Transaction::Transaction(Transaction const& other) : project_{&other.project()}, active_{other.active_} {
  project_->startTransaction(0);
}

Transaction& Transaction::operator=(Transaction const& other) {
  auto& project = other.project();
  u64 const active = other.active_;
  commit();
  project_ = &project;
  active_ = active;
  project_->startTransaction(0);
  return *this;
}

Transaction::~Transaction() { release(); }

void Transaction::release() {
  if (project_ && active_ != 0) project_->endTransaction(0);
}

Project& Transaction::project() const {
  if (!project_) throw varnel::ExceptionBase{"The transaction was committed already.", true};
  return *project_;
}

Project* Transaction::operator->() const { return &project(); }

void Transaction::commit() {
  auto* const project = std::exchange(project_, nullptr);
  if (project && std::exchange(active_, 0) != 0) project->endTransaction(0);
}

}  // namespace casebook
