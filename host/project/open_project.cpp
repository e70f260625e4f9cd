#include "project/open_project.h"

#include "console/messages.h"
#include "console/output_file.h"
#include "console/progress.h"
#include "project/calculated_variables.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>

#include <algorithm>
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
  for (DamageError const& damage : file_.passedOver()) warnOfCheckpoint(damage, console);
  console_.stored = purpose == For::Creating;
}

void OpenProject::edit(std::string_view label, std::function<void(Transaction&)> const& change) {
  constexpr std::size_t longestLabel = 2000;
  carryOut([&] { return stored(file_.edit(cutToBytes(label, longestLabel), change)); });
}

void OpenProject::rehearse(std::function<void(Transaction&)> const& change) {
  carryOut([&] {
    Transaction transaction = project().startTransaction();
    change(transaction);
    transaction.commit();
    return true;
  });
}

void OpenProject::undo(std::size_t steps) {
  step([&] { file_.undo(steps); });
}

void OpenProject::redo(std::size_t steps) {
  step([&] { file_.redo(steps); });
}

void OpenProject::step(std::function<void()> const& walk) {
  carryOut([&] {
    readHistory(walk);
    return stored(true);
  });
}

bool OpenProject::stored(bool isWritten) {
  console_.stored = console_.stored || isWritten;
  return isWritten;
}

void OpenProject::carryOut(std::function<bool()> const& change) {
  auto const calculated = calculatedVariables(*project_);
  if (!change()) return;
  bool isLost = false;
  for (auto const& [name, fault] : madeStatic(*project_, calculated)) {
    isLost = isLost || !fault.empty();
    printWarning(console_, fault.empty() ? fmt::format("{} is not calculated any more.", inQuotes(name))
                                         : fmt::format("{} keeps its values, but is not calculated any more: {}",
                                                       inQuotes(name), fault));
  }
  for (auto const& sentence : changedMeanings(*project_, calculated)) printWarning(console_, sentence);
  if (isLost) printHint(console_, "casebook set-expression FILE NAME TEXT --replace calculates it anew.");
}

std::size_t OpenProject::transactions() const {
  return static_cast<std::size_t>(std::ranges::count(file_.frames(), FrameKind::Transaction, &Frame::kind));
}

void readHistory(std::function<void()> const& read) {
  try {
    read();
  } catch (DamageError const& damage) {
    throw Failure{printable(damage.what()),
                  "The table can be read all the same: casebook export FILE --csv gives it out."};
  }
}

void warnOfCheckpoint(DamageError const& damage, Console& console) {
  printWarning(console, fmt::format("{} Nothing is lost: this is a checkpoint, and what it repeats was read from an "
                                    "earlier place.",
                                    printable(damage.what())));
}

}  // namespace casebook::cli
