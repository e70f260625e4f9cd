#include <casebook/project.h>

#include <atomic>

namespace casebook {

Project* projectPtr = nullptr;

namespace {

struct Instance final : Project {};

}  // namespace

std::unique_ptr<Project> createProject() { return std::make_unique<Instance>(); }

// A host may set the pointer on one thread while another asks for the first time.
Project const& Project::project() {
  static Instance own;
  std::atomic_ref<Project*> const current{projectPtr};
  Project* none = nullptr;
  current.compare_exchange_strong(none, &own);
  return *current.load();
}

Project& currentProject() { return const_cast<Project&>(Project::project()); }

}  // namespace casebook
