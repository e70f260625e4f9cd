#include "commands/command.h"
#include "console/progress.h"
#include "console/table_view.h"
#include "project/import_plan.h"
#include "project/open_project.h"
#include "project/table_import.h"
#include "project/table_problems.h"
#include "project/words.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace casebook::cli {
namespace {

class CreateCommand : public Command {
 public:
  CreateCommand() : Command{"create", "Make a new project's file; never overwrites one"} {}

  void declare(CLI::App& app) override { addFileArgument(app, file_); }

  ExitCode run(Console& console) override {
    OpenProject{file_, OpenProject::For::Creating, console};
    fmt::print(console.out, "Created {}.\n", printable(file_));
    return ExitCode::Ok;
  }

 private:
  std::string file_;
};

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
  ImportCommand() : Command{"import", "Fill a project that has no cases yet with a table"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("TABLE", table_, "A CSV file, - for stdin; its first line names the columns")
        ->required()
        ->option_text(" ");
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
    wishes_.missing = {missing_.begin(), missing_.end()};
    TableSource const source{table_};
    CsvTable const table = parsed(source, console);
    OpenProject open{file_, OpenProject::For::Writing, console};
    if (std::size_t const cases = open.project().records().size(); cases > 0)
      throw Failure{fmt::format("{} holds {} already; import fills a project that has none.", printable(file_),
                                counted(cases, "case"))};
    ImportPlan const plan = ImportPlan::make(table, source.name(), wishes_, open.project());
    fill(open, table, plan, source, console);
    report(table, plan, source, console);
    return ExitCode::Ok;
  }

 private:
  static constexpr char const* help =
      R"(A column holds numbers when it has a cell that is not empty and every such cell is a decimal number that loses
no digit; leading zeros, a leading "+", blanks, nan, inf, whole numbers beyond 2^53 and more than 17 significant
digits make it text. An empty cell is null among numbers and the empty text among texts.
A column "Case ID" numbers the cases; a column "Case Status" holds "Active" or "Inactive".)";

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

  void fill(OpenProject& open, CsvTable const& table, ImportPlan const& plan, TableSource const& source,
            Console& console) const {
    Progress progress{console, fmt::format("Importing {}", source.name())};
    std::string const label = fmt::format("import {}: {}, {}", source.shortName(), counted(table.rows(), "case"),
                                          counted(plan.columns.size(), "column"));
    open.edit(label, [&](Transaction& transaction) {
      importTable(transaction, table, plan, wishes_.missing,
                  [&](std::size_t done, std::size_t total) { progress(done, total); });
    });
  }

  static void report(CsvTable const& table, ImportPlan const& plan, TableSource const& source, Console& console) {
    fmt::print(console.out, "Imported {} from {}.\n\n", counted(table.rows(), "case"), source.name());
    TableView view;
    view.addColumn("Variable");
    view.addColumn("Type");
    view.addColumn("Missing", TableView::Align::Right);
    for (PlannedColumn const& column : plan.columns)
      view.addRow({column.name, typeWord(column.type), column.missing == 0 ? "" : fmt::format("{}", column.missing)});
    view.print(console);
    for (std::string const& hint : plan.hints) printHint(console, hint);
  }

  std::string file_;
  std::string table_;
  std::string separator_ = ",";
  std::string encoding_ = "utf8";
  std::vector<std::string> missing_;
  ImportWishes wishes_;
};

}  // namespace

void addFileCommands(Commands& commands) {
  commands.push_back(std::make_unique<CreateCommand>());
  commands.push_back(std::make_unique<ImportCommand>());
}

}  // namespace casebook::cli
