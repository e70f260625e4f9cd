#include "commands/command.h"
#include "project/journal_words.h"
#include "project/open_project.h"
#include "text/json_text.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <limits>

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

/// One transaction, as the log tells of it.
struct LogEntry {
  Frame const& frame;
  std::size_t commands = 0;
  std::vector<std::string> words;  ///< of each command; only with --commands
};

void printText(LogEntry const& entry, std::ostream& out) {
  UtcTime const time = utc(entry.frame.when);
  fmt::print(out, "{:>4}  {} {} UTC  {:>14}  {:>13}  {}\n", entry.frame.sequence, time.date, time.clock.substr(0, 8),
             counted(entry.commands, "command"), counted(entry.frame.blockLength, "byte"),
             printable(entry.frame.label));
  for (std::string const& words : entry.words) fmt::print(out, "      {}\n", words);
}

Json json(LogEntry const& entry, bool withCommands) {
  UtcTime const time = utc(entry.frame.when);
  Json object{{"sequence", entry.frame.sequence},
              {"time", fmt::format("{}T{}Z", time.date, time.clock)},
              {"label", jsonText(entry.frame.label)},
              {"commands", entry.commands},
              {"bytes", entry.frame.blockLength}};
  if (withCommands) object["changes"] = entry.words;
  return object;
}

class LogCommand : public Command {
 public:
  LogCommand() : Command{"log", "List the transactions: what was changed, and when"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_flag("--commands", commands_, "Tells of every command of a transaction what it changed");
    app.add_flag("--json", json_, "One JSON document");
    addCount(app, "--last", last_, "Lists the last N transactions alone");
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Reading, console};
    ProjectFile const& file = open.file();
    std::size_t const count = file.frames().size();
    std::size_t const first = count - std::min(count, last_);
    if (json_) printHead(file, console.out);
    JournalWords words;
    for (std::size_t i = 0; i < count; ++i) {
      LogEntry const entry = read(file, file.frames()[i], words);
      if (i < first) continue;
      if (json_) {
        console.out << (i == first ? "\n  " : ",\n  ") << json(entry, commands_);
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

  LogEntry read(ProjectFile const& file, Frame const& frame, JournalWords& words) const {
    auto const block = file.block(frame);
    LogEntry entry{frame, Journal::Transaction{block, 0}.commands().size(), {}};
    if (commands_) entry.words = words.describe(block);
    return entry;
  }

  std::string file_;
  bool commands_ = false;
  bool json_ = false;
  std::size_t last_ = std::numeric_limits<std::size_t>::max();
};

}  // namespace

void addLogCommands(Commands& commands) { commands.push_back(std::make_unique<LogCommand>()); }

}  // namespace casebook::cli
