#include "project/open_project.h"

#include "console/messages.h"
#include "console/progress.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>

#include <utility>

namespace casebook::cli {
namespace {

ProjectFile openFile(std::filesystem::path const& path, Project& project, OpenProject::For purpose, Console& console) {
  using For = OpenProject::For;
  if (purpose == For::Creating) return ProjectFile::create(path, project);
  ProjectFile::Options options;
  options.access = purpose == For::Writing ? ProjectFile::Access::Write : ProjectFile::Access::Read;
  options.untilDamage = purpose == For::ReadingUntilDamage;
  Progress progress{console, fmt::format("Reading {}", printable(path.filename().string()))};
  options.progress = [&progress](u64 done, u64 total) { progress(done, total); };
  return ProjectFile::open(path, project, options);
}

void warnOfTail(ProjectFile const& file, Console& console) {
  auto const& tail = file.incompleteTail();
  if (!tail) return;
  std::string message = fmt::format("{}: The last write was cut off: {} from byte {} on are left out.",
                                    printable(file.path().string()), counted(tail->length, "byte"), tail->offset);
  if (!tail->keptAside.empty()) message += fmt::format(" They are kept in {}.", printable(tail->keptAside.string()));
  printWarning(console, message);
}

}  // namespace

CurrentProject::CurrentProject() : before_{projectPtr}, project_{createProject()} { projectPtr = project_.get(); }

CurrentProject::~CurrentProject() {
  project_.reset();
  projectPtr = before_;
}

OpenProject::OpenProject(std::filesystem::path const& path, For purpose, Console& console)
    : file_{openFile(path, *project_, purpose, console)} {
  warnOfTail(file_, console);
}

}  // namespace casebook::cli
