#include "commands/command.h"
#include "console/progress.h"
#include "project/open_project.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <vector>

namespace casebook::cli {
namespace {

Frame const& transaction(ProjectFile const& file, u64 sequence) {
  return file.frames()[static_cast<std::size_t>(sequence - 1)];
}

/// What undo and redo have in common: the last few of a list of transactions, the last of all first.
class StepCommand : public Command {
 public:
  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    addCount(app, "N", steps_, "How many; 1 by default")->option_text(" ");
  }

  ExitCode run(Console& console) override {
    if (steps_ == 0) throw Failure{"N is a whole number from 1 on.", {}, ExitCode::Usage};
    OpenProject open{file_, OpenProject::For::Writing, console};
    auto const all = candidates(open.file());
    if (all.empty()) throw Failure{fmt::format("nothing to {}: {}", name(), whyNone(open.file()))};
    if (all.size() < steps_)
      throw Failure{fmt::format("There {} only {} to {}.", all.size() == 1 ? "is" : "are",
                                counted(all.size(), "transaction"), name())};
    step(open, steps_);
    for (std::size_t i = 0; i < steps_; ++i)
      fmt::print(console.out, "{} {}\n", done_, words(transaction(open.file(), all.rbegin()[difference(i)]), ": "));
    return ExitCode::Ok;
  }

 protected:
  StepCommand(std::string_view name, std::string_view summary, std::string_view done)
      : Command{name, summary}, done_{done} {}

  static std::string words(Frame const& transaction, std::string_view between) {
    return fmt::format("{}{}{}", transaction.sequence, between, printable(transaction.label));
  }

 private:
  static std::ptrdiff_t difference(std::size_t n) { return static_cast<std::ptrdiff_t>(n); }

  /// Sequence numbers of the transactions whose turn may come, the next one last.
  [[nodiscard]] virtual std::vector<u64> candidates(ProjectFile const& file) const = 0;
  [[nodiscard]] virtual std::string whyNone(ProjectFile const& file) const = 0;
  virtual void step(OpenProject& open, std::size_t steps) const = 0;

  std::string_view done_;
  std::string file_;
  std::size_t steps_ = 1;
};

class UndoCommand : public StepCommand {
 public:
  UndoCommand() : StepCommand{"undo", "Take back the last N transactions that stand", "Undid"} {}

 private:
  [[nodiscard]] std::vector<u64> candidates(ProjectFile const& file) const override { return file.undoable(); }
  [[nodiscard]] std::string whyNone(ProjectFile const&) const override { return "the project is as it was created."; }
  void step(OpenProject& open, std::size_t steps) const override { open.undo(steps); }
};

class RedoCommand : public StepCommand {
 public:
  RedoCommand() : StepCommand{"redo", "Do again the last N transactions that were undone", "Redid"} {}

 private:
  [[nodiscard]] std::vector<u64> candidates(ProjectFile const& file) const override { return file.redoable(); }
  [[nodiscard]] std::string whyNone(ProjectFile const& file) const override {
    auto const ender = file.redoEndedBy();
    return ender ? fmt::format("{}, came after the undo.", words(transaction(file, *ender), ", "))
                 : "nothing is undone.";
  }
  void step(OpenProject& open, std::size_t steps) const override { open.redo(steps); }
};

class VerifyCommand : public Command {
 public:
  VerifyCommand() : Command{"verify", "Read the whole file, and compare it with its checkpoints"} {}

  void declare(CLI::App& app) override { addFileArgument(app, file_); }

  ExitCode run(Console& console) override {
    OpenProject const open{file_, OpenProject::For::Reading, console};  // so that nobody writes meanwhile
    Verification const found = verify(console);
    auto const& passedOver = open.file().passedOver();
    for (DamageError const& damage : found.badCheckpoints)
      if (std::ranges::find(passedOver, damage.offset(), &DamageError::offset) == passedOver.end())
        warnOfCheckpoint(damage, console);
    fmt::print(console.out, "{} {}: {}, {} undone, {}.\n", printable(file_), finding(found),
               counted(static_cast<std::size_t>(found.transactions), "transaction"), found.undone, checkpoints(found));
    return found.badCheckpoints.empty() ? ExitCode::Ok : ExitCode::Failed;
  }

 private:
  [[nodiscard]] Verification verify(Console& console) const {
    Progress progress{console, fmt::format("Verifying {}", printable(file_))};
    ProjectFile::Options options;
    options.progress = [&progress](u64 done, u64 total) { progress(done, total); };
    CurrentProject const project;
    Verification found;
    readHistory([&] { found = ProjectFile::verify(file_, *project, options); });
    return found;
  }

  static std::string finding(Verification const& found) {
    if (!found.badCheckpoints.empty()) return "holds every transaction whole, but not every checkpoint";
    return found.tail ? "is whole up to the write that was cut off" : "is whole";
  }

  static std::string checkpoints(Verification const& found) {
    std::string const all = counted(static_cast<std::size_t>(found.checkpoints), "checkpoint");
    std::size_t const bad = found.badCheckpoints.size();
    return bad == 0 ? all : fmt::format("{}, {} bad", all, bad);
  }

  std::string file_;
};

}  // namespace

void addHistoryCommands(Commands& commands) {
  commands.push_back(std::make_unique<UndoCommand>());
  commands.push_back(std::make_unique<RedoCommand>());
  commands.push_back(std::make_unique<VerifyCommand>());
}

}  // namespace casebook::cli
