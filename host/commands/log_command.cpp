#include "commands/command.h"
#include "project/journal_words.h"
#include "project/open_project.h"
#include "text/json_text.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>
#include <optional>

namespace casebook::cli {
namespace {

using Json = nlohmann::ordered_json;

struct UtcTime {
  std::string date;
  std::string clock;  ///< with milliseconds
};

UtcTime utc(std::chrono::sys_time<std::chrono::milliseconds> when) {
  auto const day = std::chrono::floor<std::chrono::days>(when);
  std::chrono::year_month_day const date{day};
  std::chrono::hh_mm_ss const clock{when - day};
  return {fmt::format("{:04}-{:02}-{:02}", static_cast<int>(date.year()), static_cast<unsigned>(date.month()),
                      static_cast<unsigned>(date.day())),
          fmt::format("{:02}:{:02}:{:02}.{:03}", clock.hours().count(), clock.minutes().count(),
                      clock.seconds().count(), clock.subseconds().count())};
}

/// One transaction, or one step of undo or redo, as the log tells of it.
struct LogEntry {
  Frame const& frame;
  /// The transaction that a step undid or redid; the frame itself otherwise.
  Frame const& transaction;
  bool undone = false;                            ///< a transaction that does not stand now
  std::optional<std::vector<std::string>> words;  ///< of each command; only with --commands
};

std::string_view kindWord(FrameKind kind) {
  switch (kind) {
    case FrameKind::Transaction: return "transaction";
    case FrameKind::Checkpoint: return "checkpoint";
    case FrameKind::Undo: return "undo";
    case FrameKind::Redo: return "redo";
  }
  return "unknown";
}

bool isStep(LogEntry const& entry) { return &entry.frame != &entry.transaction; }

std::string title(LogEntry const& entry) {
  std::string const label = printable(entry.transaction.label);
  return isStep(entry) ? fmt::format("{} of {}: {}", kindWord(entry.frame.kind), entry.frame.argument, label) : label;
}

void printText(LogEntry const& entry, std::ostream& out) {
  UtcTime const time = utc(entry.frame.when);
  fmt::print(out, "{:>4}  {} {} UTC  ", entry.frame.sequence, time.date, time.clock.substr(0, 8));
  if (entry.words) fmt::print(out, "{:>14}  ", counted(entry.words->size(), "command"));
  fmt::print(out, "{:>13}  {:<6}  {}\n", counted(entry.frame.blockLength, "byte"), entry.undone ? "undone" : "",
             title(entry));
  if (!entry.words) return;
  for (std::string const& words : *entry.words) fmt::print(out, "      {}\n", words);
}

Json json(LogEntry const& entry) {
  UtcTime const time = utc(entry.frame.when);
  Json object{{"sequence", entry.frame.sequence}, {"kind", kindWord(entry.frame.kind)}};
  if (isStep(entry)) object["of"] = entry.frame.argument;
  object["time"] = fmt::format("{}T{}Z", time.date, time.clock);
  object["label"] = jsonText(entry.transaction.label);
  if (!isStep(entry)) object["undone"] = entry.undone;
  object["bytes"] = entry.frame.blockLength;
  if (entry.words) {
    object["commands"] = entry.words->size();
    object["changes"] = *entry.words;
  }
  return object;
}

/// The entries of a file's log: every frame but the checkpoints, which change nothing.
class LogEntries {
 public:
  LogEntries(ProjectFile const& file, bool withCommands) : file_{file}, withCommands_{withCommands} {
    for (Frame const& frame : file.frames())
      if (frame.kind != FrameKind::Checkpoint) listed_.push_back(&frame);
  }

  [[nodiscard]] std::size_t size() const noexcept { return listed_.size(); }

  /// The next one. Throws Failure when its block is needed and damaged.
  LogEntry next() {
    Frame const& frame = *listed_[next_++];
    bool const isTransaction = frame.kind == FrameKind::Transaction;
    Frame const& transaction = isTransaction ? frame : file_.frames()[static_cast<std::size_t>(frame.argument - 1)];
    bool const stands = std::ranges::binary_search(file_.undoable(), frame.sequence);
    LogEntry entry{frame, transaction, isTransaction && !stands, {}};
    if (withCommands_) readHistory([&] { entry.words = words_.describe(file_.block(frame)); });
    return entry;
  }

 private:
  ProjectFile const& file_;
  bool withCommands_;
  std::vector<Frame const*> listed_;
  std::size_t next_ = 0;
  JournalWords words_;
};

class LogCommand : public Command {
 public:
  LogCommand() : Command{"log", "List what was changed and when, and what of it is undone"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_flag("--commands", commands_, "Tells of every command what it changed; reads the whole file");
    app.add_flag("--json", json_, "One JSON document");
    addCount(app, "--last", last_, "Lists the last N alone");
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Reading, console};
    ProjectFile const& file = open.file();
    LogEntries entries{file, commands_};
    std::size_t const count = entries.size();
    std::size_t const first = count - std::min(count, last_);
    if (json_) printHead(file, console.out);
    for (std::size_t i = 0; i < count; ++i) {
      LogEntry const entry = entries.next();
      if (i < first) continue;
      if (json_) {
        console.out << (i == first ? "\n  " : ",\n  ") << json(entry);
      } else {
        printText(entry, console.out);
      }
    }
    if (json_) console.out << "]}\n";
    return ExitCode::Ok;
  }

 private:
  void printHead(ProjectFile const& file, std::ostream& out) const {
    out << "{\"file\": " << jsonText(file_) << ",\n \"identity\": " << jsonText(file.identity())
        << ",\n \"transactions\": [";
  }

  std::string file_;
  bool commands_ = false;
  bool json_ = false;
  std::size_t last_ = std::numeric_limits<std::size_t>::max();
};

}  // namespace

void addLogCommands(Commands& commands) { commands.push_back(std::make_unique<LogCommand>()); }

}  // namespace casebook::cli
