#include "project/open_project.h"

#include "console/messages.h"
#include "console/output_file.h"
#include "console/progress.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>

#include <system_error>
#include <utility>

namespace casebook::cli {
namespace {

ProjectFile openFile(std::filesystem::path const& path, Project& project, OpenProject::For purpose, Console& console) {
  using For = OpenProject::For;
  if (path.empty()) throw Failure{"The name of the project's file is empty.", {}, ExitCode::Usage};
  refuseStdoutInto(path);
  if (purpose == For::Creating) return ProjectFile::create(path, project);
  ProjectFile::Options options;
  options.access = purpose == For::Writing ? ProjectFile::Access::Write : ProjectFile::Access::Read;
  options.untilDamage = purpose == For::ReadingUntilDamage;
  Progress progress{console, fmt::format("Reading {}", printable(path.filename().string()))};
  options.progress = [&progress](u64 done, u64 total) { progress(done, total); };
  try {
    return ProjectFile::open(path, project, options);
  } catch (varnel::ExceptionBase const& e) {
    std::error_code error;
    if (std::filesystem::status(path, error).type() != std::filesystem::file_type::not_found) throw;
    throw Failure{printable(e.what()), "casebook create FILE makes one."};
  }
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
    : console_{console}, file_{openFile(path, *project_, purpose, console)} {
  warnOfTail(file_, console);
  console_.stored = purpose == For::Creating;
}

void OpenProject::edit(std::string_view label, std::function<void(Transaction&)> const& change) {
  constexpr std::size_t longestLabel = 2000;
  if (file_.edit(cutToBytes(label, longestLabel), change)) console_.stored = true;
}

}  // namespace casebook::cli
