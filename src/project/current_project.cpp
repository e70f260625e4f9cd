#include "project/instance.h"

#include <atomic>

namespace casebook {

Project* projectPtr = nullptr;

std::unique_ptr<Project> createProject() { return std::make_unique<Instance>(); }

// Several threads may ask for the first time at once.
Project const& Project::project() {
  static Instance own;
  std::atomic_ref<Project*> const current{projectPtr};
  if (auto const* const set = current.load()) return *set;
  Project* none = nullptr;
  return current.compare_exchange_strong(none, &own) ? own : *none;
}

Project& currentProject() { return const_cast<Project&>(Project::project()); }

}  // namespace casebook
