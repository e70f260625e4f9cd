#include "commands/command.h"
#include "console/output_file.h"
#include "console/progress.h"
#include "project/open_project.h"
#include "project/table_export.h"
#include "text/utf8.h"

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include <optional>
#include <vector>

namespace casebook::cli {
namespace {

class ExportCommand : public Command {
 public:
  ExportCommand() : Command{"export", "Give out the whole table as CSV or JSON"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    auto* const format = app.add_option_group("Format");
    format->add_flag("--csv", csv_, "A table that import reads back");
    format->add_flag("--json", json_, "One JSON document");
    format->require_option(1);
    app.add_option("-o,--output", output_, "Where to; stdout otherwise. A file takes its name when it is whole")
        ->option_text("OUT");
    app.add_flag("--crlf", crlf_, "Ends the lines of CSV with CR LF instead of LF");
    app.add_flag("--until-damage", untilDamage_,
                 "Of a damaged file gives out what stands before the damage, and exits with 3");
    app.footer(help);
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, untilDamage_ ? OpenProject::For::ReadingUntilDamage : OpenProject::For::Reading, console};
    auto const types = giveOut(open.project(), console);
    auto const& damage = open.file().damage();
    if (damage) printWarning(console, fmt::format("{} Everything before it is given out.", printable(damage->what())));
    hint(types, console);
    return damage ? ExitCode::Damage : ExitCode::Ok;
  }

 private:
  static constexpr char const* help =
      R"(CSV: "Case ID" comes first. A null is an empty field; a number is the shortest text that reads back to it, or
nan, inf, -inf; texts are given out byte for byte. Columns that import would take for another type are named
afterwards, with the --type that each needs. Of calculated variables it has the values, JSON the expressions as well.
JSON: "variables" describes the columns, "cases" has an array of cells for each case. A null is null; nan, inf and
-inf are strings; a text that is not UTF-8 is {"hex": "..."}, its bytes in hexadecimal.)";

  /// Returns the columns that an import needs to be told the type of.
  std::vector<std::string> giveOut(Project& project, Console& console) const {
    Progress progress{console, fmt::format("Exporting {}", printable(file_))};
    auto const tell = [&](std::size_t done, std::size_t total) { progress(done, total); };
    if (!output_ || *output_ == "-") return write(project, console.out, tell);
    OutputFile out{*output_, file_};
    auto types = write(project, out.stream(), tell);
    out.commit();
    return types;
  }

  std::vector<std::string> write(Project& project, std::ostream& out, ExportProgress const& progress) const {
    if (csv_) return exportCsv(project, out, {',', crlf_ ? "\r\n" : "\n"}, progress);
    exportJson(project, out, progress);
    return {};
  }

  static void hint(std::vector<std::string> const& types, Console& console) {
    if (types.empty()) return;
    std::string options;
    for (std::string const& type : types) options += fmt::format(" --type \"{}\"", printable(type));
    printHint(console, fmt::format("To bring back every type, import with{}", options));
  }

  std::string file_;
  bool csv_ = false;
  bool json_ = false;
  bool crlf_ = false;
  bool untilDamage_ = false;
  std::optional<std::string> output_;
};

}  // namespace

void addExportCommands(Commands& commands) { commands.push_back(std::make_unique<ExportCommand>()); }

}  // namespace casebook::cli
