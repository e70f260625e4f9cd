#include "commands/command.h"
#include "commands/import_report.h"
#include "console/progress.h"
#include "project/attachment.h"
#include "project/import_plan.h"
#include "project/open_project.h"
#include "project/table_files.h"
#include "project/table_import.h"
#include "project/table_merge.h"
#include "project/table_problems.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>
#include <boost/smart_ptr/make_shared.hpp>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace casebook::cli {
namespace {

/// The text of a table, from a file or from stdin.
class TableSource {
 public:
  explicit TableSource(std::string file) : file_{std::move(file)} {}

  /// How messages name it.
  [[nodiscard]] std::string name() const { return file_ == "-" ? "stdin" : printable(file_); }
  /// How the log names it.
  [[nodiscard]] std::string shortName() const {
    return file_ == "-" ? name() : printable(std::filesystem::path{file_}.filename().string());
  }

  [[nodiscard]] std::string read(Console& console) const {
    if (file_ == "-") return contentOf(console.in);
    std::ifstream in{file_, std::ios::binary};
    return contentOf(in);
  }

 private:
  [[nodiscard]] std::string contentOf(std::istream& in) const {
    std::string content;
    std::array<char, 65536> piece;
    while (in.read(piece.data(), piece.size()) || in.gcount() > 0)
      content.append(piece.data(), static_cast<std::size_t>(in.gcount()));
    if (in.eof() && !in.bad()) return content;
    throw Failure{fmt::format("{}: Cannot be read: {}.", name(), std::generic_category().message(errno))};
  }

  std::string file_;
};

class ImportCommand : public Command {
 public:
  ImportCommand() : Command{"import", "Fill a project that has no cases with a table, or merge a table into it"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("TABLE", table_, "A CSV file, - for stdin; its first line names the columns")
        ->required()
        ->option_text(" ");
    declareMerge(app);
    app.add_option("--separator", separator_, "What stands between fields: one character, or tab; a comma by default")
        ->option_text("CHARACTER");
    app.add_option("--encoding", encoding_, "utf8 by default; bytes takes texts as they are, UTF-8 or not")
        ->check(CLI::IsMember({"utf8", "latin1", "bytes"}))
        ->option_text("utf8|latin1|bytes");
    addTexts(app, "--missing", missing_, "Reads this word as a missing value; can be repeated")->option_text("WORD");
    addTexts(app, "--rename", wishes_.renames, "Brings a column in under another name; can be repeated")
        ->option_text("OLD=NEW");
    addTexts(app, "--type", wishes_.types, "What a column holds, instead of what its cells suggest; can be repeated")
        ->option_text("NAME=number|text|integer");
    addTexts(app, "--independent", wishes_.independents, "Marks an independent variable; can be repeated")
        ->option_text("NAME");
    app.footer(help);
  }

  ExitCode run(Console& console) override {
    readMode();
    wishes_.missing = {missing_.begin(), missing_.end()};
    TableSource const source{table_};
    CsvTable const table = parsed(source, console);
    OpenProject open{file_, dryRun_ ? OpenProject::For::Reading : OpenProject::For::Writing, console};
    Project& project = open.project();
    if (!wishes_.method) refuseCases(project);
    ImportPlan const plan = ImportPlan::make(table, source.name(), wishes_, project);
    auto const files = boost::make_shared<TableFiles const>(project, table, plan);
    bool const needsRoot = !files->empty() && project.auxFiles().empty() && project.rootPath().empty();
    ImportOutcome const outcome = carryOut(open, table, plan, files, source, console);
    ImportReport const report{table, source.name(), plan, outcome};
    report.print(console, dryRun_);
    report.warnOfLeftOut(console);
    for (std::string const& sentence : files->absent(outcome.leftOut, source.name())) printWarning(console, sentence);
    for (std::string const& hint : plan.hints) printHint(console, hint);
    if (needsRoot && outcome.attached > 0) printHint(console, noRootHint);
    return ExitCode::Ok;
  }

 private:
  static constexpr char const* help =
      R"(Without --mode the table fills a project that has no cases; a column "Case ID" numbers them then. With it:
  append  every row becomes a new case
  by-id   a row goes into the case of its "Case ID"; rows that bear the number of no case are left out
  by-key  a row goes into the case of the same values in all independent variables that the table has, the first that
          no row before it went into; every other row becomes a new case
A row overwrites what its case holds in the columns of the table, with a missing cell too: --dry-run tells how many
cells would be emptied.

A column holds numbers when it has a cell that is not empty and every such cell is a decimal number that loses
no digit; leading zeros, a leading "+", blanks, nan, inf, whole numbers beyond 2^53 and more than 17 significant
digits make it text. A variable that is there keeps its type. An empty cell is null among numbers and the empty text
among texts. A column "Case Status" holds "Active" or "Inactive".)";

  void declareMerge(CLI::App& app) {
    app.add_option("--mode", mode_, "Merges the table into a project that may have cases")
        ->check(CLI::IsMember({"append", "by-id", "by-key"}))
        ->option_text("append|by-id|by-key");
    addTexts(app, "--key", wishes_.keys,
             "Matches rows by this independent variable; where there are no cases yet, makes it one; can be repeated")
        ->option_text("NAME");
    addTexts(app, "--files", wishes_.files, "Attaches the files of this column, with its name as tag; can be repeated")
        ->option_text("NAME");
    app.add_flag("--ignore-case-id", wishes_.ignoreCaseId, "Leaves the column \"Case ID\" out");
    app.add_flag("--dry-run", dryRun_, "Tells what the import would do, and does nothing");
  }

  void readMode() {
    if (mode_ == "append") wishes_.method = MergeMethod::Append;
    if (mode_ == "by-id") wishes_.method = MergeMethod::ByCaseId;
    if (mode_ == "by-key") wishes_.method = MergeMethod::ByIndependentVariables;
    if (!wishes_.keys.empty() && mode_ != "by-key")
      throw Failure{"--key goes with --mode by-key.", "--independent NAME marks a variable alone.", ExitCode::Usage};
    if (wishes_.ignoreCaseId && mode_ == "by-id")
      throw Failure{"--mode by-id or --ignore-case-id, not both.", {}, ExitCode::Usage};
  }

  void refuseCases(Project& project) const {
    if (std::size_t const cases = project.records().size(); cases > 0)
      throw Failure{fmt::format("{} holds {} already; import fills a project that has none.", printable(file_),
                                counted(cases, "case")),
                    "--mode append adds the rows as new cases; --mode by-id and --mode by-key bring them into the "
                    "cases that they match."};
  }

  CsvTable parsed(TableSource const& source, Console& console) const {
    char const separator = separatorCharacter();
    std::string text;
    try {
      text = decodeTable(source.read(console), encoding());
    } catch (CsvError const& e) {
      throw Failure{at(source.name(), e.place(), e.what()), e.hint()};
    }
    std::string hint;
    if (auto const likelier = likelierSeparator(text, separator))
      hint = fmt::format("The header is one field; --separator {} reads it as several.",
                         *likelier == '\t' ? "tab" : "\";\"");
    try {
      CsvTable table = CsvTable::parse(std::move(text), separator);
      if (!hint.empty()) printHint(console, hint);
      return table;
    } catch (CsvError const& e) {
      throw Failure{at(source.name(), e.place(), e.what()), hint};
    }
  }

  [[nodiscard]] Encoding encoding() const {
    if (encoding_ == "utf8") return Encoding::Utf8;
    return encoding_ == "latin1" ? Encoding::Latin1 : Encoding::Bytes;
  }

  [[nodiscard]] char separatorCharacter() const {
    if (separator_ == "tab" || separator_ == "\\t") return '\t';
    bool const isOne = separator_.size() == 1 && static_cast<unsigned char>(separator_[0]) < 0x80;
    if (isOne && separator_.find_first_of("\"\r\n") == std::string::npos) return separator_[0];
    throw Failure{fmt::format("--separator {}: This is one ASCII character, neither a quote nor a line break.",
                              inQuotes(separator_)),
                  {},
                  ExitCode::Usage};
  }

  ImportOutcome carryOut(OpenProject& open, CsvTable const& table, ImportPlan const& plan,
                         TableMerge::Files const& files, TableSource const& source, Console& console) const {
    Progress progress{console, fmt::format("Importing {}", source.name())};
    auto const tell = [&](std::size_t done, std::size_t total) { progress(done, total); };
    std::string const name = source.name();
    ImportOutcome outcome;
    auto const change = [&](Transaction& transaction) {
      outcome = plan.method ? TableMerge{table, name, plan, *plan.method, files}.run(transaction, tell)
                            : importTable(transaction, table, plan, *files, tell);
    };
    if (dryRun_) {
      open.rehearse(change);
    } else {
      open.edit(label(source, table, plan), change);
    }
    return outcome;
  }

  [[nodiscard]] std::string label(TableSource const& source, CsvTable const& table, ImportPlan const& plan) const {
    std::string const columns = counted(plan.columns.size(), "column");
    if (!plan.method)
      return fmt::format("import {}: {}, {}", source.shortName(), counted(table.rows(), "case"), columns);
    return fmt::format("import {} {}: {}, {}", source.shortName(), mode_, counted(table.rows(), "row"), columns);
  }

  std::string file_;
  std::string table_;
  std::string mode_;
  std::string separator_ = ",";
  std::string encoding_ = "utf8";
  std::vector<std::string> missing_;
  ImportWishes wishes_;
  bool dryRun_ = false;
};

}  // namespace

void addImportCommands(Commands& commands) { commands.push_back(std::make_unique<ImportCommand>()); }

}  // namespace casebook::cli
