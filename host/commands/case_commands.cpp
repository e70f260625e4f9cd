#include "commands/command.h"
#include "project/lookup.h"
#include "project/open_project.h"
#include "project/words.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <casebook/transaction.h>

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <optional>
#include <ranges>

namespace casebook::cli {
namespace {

Variant caseIdValue(std::uint32_t id) { return {id, Variant::UnsignedInteger}; }

/// A value that a person wants in a variable, and that the variable can take.
struct CellWish {
  u64 variable = 0;  ///< 0 is "Case Status" in a project that has none yet
  VariableType kind = VariableType::Ordinary;
  std::string name;
  Variant value;

  /// Throws Failure when the variable is unknown, or cannot take the text.
  static CellWish read(Project& project, std::string const& name, std::string const& text) {
    checkUtf8(text);
    CellWish wish = find(project, name);
    wish.value = wish.read(project, text);
    return wish;
  }

  /// Throws Failure when the variable is unknown, or never null.
  static CellWish null(Project& project, std::string const& name) {
    CellWish wish = find(project, name);
    bool const isText =
        wish.kind == VariableType::CaseStatus || project.variableDataType(wish.variable) == Variant::String;
    if (isText || wish.kind == VariableType::CaseIdentifier)
      throw Failure{fmt::format("{} is never null.", inQuotes(name)),
                    isText ? R"(The value "" is the empty text.)" : ""};
    wish.value = wish.read(project, {});
    return wish;
  }

  void write(Transaction& transaction, WeakPtr<Record> record) const {
    if (current(record) == value) return;
    if (kind == VariableType::CaseStatus) {
      transaction->activate(record.id(), value.stringValue() == activeWord);
    } else {
      transaction->setValue(WeakPtr<Variable>{variable}.lock(transaction), record.lock(transaction), value);
    }
  }

  [[nodiscard]] Variant current(WeakPtr<Record> record) const {
    return variable == 0 ? Variant{std::string{activeWord}} : record.lock().data(WeakPtr<Variable>{variable}.lock());
  }

 private:
  static CellWish find(Project& project, std::string const& name) {
    if (name == caseStatusName && !project.variable(name)) return {0, VariableType::CaseStatus, name, {}};
    u64 const uid = findVariable(project, name).id();
    return {uid, project.variableType(uid), name, {}};
  }

  [[nodiscard]] Variant read(Project& project, std::string const& text) const {
    switch (kind) {
      case VariableType::Ordinary: return cell(text, project.variableDataType(variable));
      case VariableType::Calculated:
        throw Failure{fmt::format("{} is computed from other variables; it cannot be set.", inQuotes(name)),
                      "casebook set-expression FILE NAME TEXT changes how."};
      case VariableType::CaseStatus:
        if (text == activeWord || text == inactiveWord) return Variant{text};
        throw Failure{fmt::format("{} is \"Active\" or \"Inactive\".", inQuotes(name))};
      case VariableType::CaseIdentifier:
        if (auto const id = readWholeNumber(text)) return caseIdValue(*id);
        throw Failure{fmt::format("{} is not a case identifier: a whole number below 4294967296.", inQuotes(text))};
    }
    throw Failure{fmt::format("{} is of a kind that is not known here.", inQuotes(name))};
  }

  [[nodiscard]] Variant cell(std::string const& text, VariableDataType type) const {
    CellReading reading = readCell(text, type);
    if (reading.value) return *std::move(reading.value);
    throw Failure{
        fmt::format("{} {}; {} is of type {}.", inQuotes(text), reading.fault, inQuotes(name), typeWord(type))};
  }
};

void checkIsFree(Project& project, CellWish const& wish) {
  if (wish.kind == VariableType::CaseIdentifier && project.recordById(wish.value.longValue()))
    throw Failure{fmt::format("There is a case {} already.", wish.value.toString())};
}

class SetCommand : public Command {
 public:
  SetCommand() : Command{"set", "Set one value of one case"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("CASE-ID", case_, "Which case")->required()->option_text(" ");
    app.add_option("VARIABLE", variable_, "The variable's name")->required()->option_text(" ");
    auto* const value =
        app.add_option("VALUE", value_, "What it is set to; \"\" is null among numbers")->option_text(" ");
    app.add_flag("--null", null_, "Sets it to null: there is no value")->excludes(value)->option_text(" ");
  }

  ExitCode run(Console& console) override {
    if (!null_ && !value_)
      throw Failure{"VALUE is required, or --null.", "casebook set --help tells more.", ExitCode::Usage};
    OpenProject open{file_, OpenProject::For::Writing, console};
    Project& project = open.project();
    auto const record = findCase(project, case_);
    CellWish const wish = null_ ? CellWish::null(project, variable_) : CellWish::read(project, variable_, *value_);
    Variant const before = wish.current(record);
    if (before == wish.value) {
      fmt::print(console.out, "Case {}, {} is {} already.\n", case_, inQuotes(variable_), valueWords(before));
      return ExitCode::Ok;
    }
    checkIsFree(project, wish);
    open.edit(label(wish), [&](Transaction& transaction) { wish.write(transaction, record); });
    fmt::print(console.out, "Case {}, {}: {} -> {}\n", case_, inQuotes(variable_), valueWords(before),
               valueWords(wish.value));
    return ExitCode::Ok;
  }

 private:
  [[nodiscard]] std::string label(CellWish const& wish) const {
    return fmt::format("set case {} {} to {}", case_, inQuotes(variable_), valueWords(wish.value));
  }

  std::string file_;
  std::string case_;
  std::string variable_;
  std::optional<std::string> value_;
  bool null_ = false;
};

class AddCaseCommand : public Command {
 public:
  AddCaseCommand() : Command{"add-case", "Add a case, with the values that are given"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    addTexts(app, "VARIABLE=VALUE", values_, "A value of the new case")->option_text(" ");
    app.footer("The case gets the number after that of the last one, or the one given as \"Case ID=N\".");
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Writing, console};
    Project& project = open.project();
    std::vector<CellWish> const wishes = readWishes(project);
    std::uint32_t const id = identifier(project, wishes);
    open.edit(label(id, wishes), [&](Transaction& transaction) {
      auto const record = transaction->addRecord();
      CellWish{1, VariableType::CaseIdentifier, {}, caseIdValue(id)}.write(transaction, record);
      for (CellWish const& wish : wishes) wish.write(transaction, record);
    });
    fmt::print(console.out, "Added case {}.\n", id);
    return ExitCode::Ok;
  }

 private:
  static std::string label(std::uint32_t id, std::vector<CellWish> const& wishes) {
    constexpr std::size_t named = 3;
    std::string words = fmt::format("add case {}", id);
    for (CellWish const& wish : wishes | std::views::take(named))
      words +=
          fmt::format("{} {} {}", &wish == &wishes.front() ? ":" : ",", inQuotes(wish.name), valueWords(wish.value));
    return wishes.size() > named ? fmt::format("{} and {} more", words, wishes.size() - named) : words;
  }

  std::vector<CellWish> readWishes(Project& project) const {
    std::vector<CellWish> wishes;
    for (std::string const& text : values_) {
      auto const [name, value] = split(project, text);
      wishes.push_back(CellWish::read(project, name, value));
      checkIsFree(project, wishes.back());
      if (std::ranges::count(wishes, name, &CellWish::name) > 1)
        throw Failure{fmt::format("{} is given twice.", inQuotes(name)), {}, ExitCode::Usage};
    }
    return wishes;
  }

  /// At the first "=" that stands behind a variable's name, else at the first.
  static std::pair<std::string, std::string> split(Project& project, std::string const& text) {
    std::size_t const first = text.find('=');
    if (first == std::string_view::npos)
      throw Failure{fmt::format("{} has no \"=\".", inQuotes(text)), {}, ExitCode::Usage};
    for (std::size_t equals = first; equals != std::string_view::npos; equals = text.find('=', equals + 1))
      if (project.variable(text.substr(0, equals))) return {text.substr(0, equals), text.substr(equals + 1)};
    return {text.substr(0, first), text.substr(first + 1)};
  }

  /// The identifier that was asked for, else the one after that of the last record, else one that is free.
  static std::uint32_t identifier(Project& project, std::vector<CellWish> const& wishes) {
    auto const asked = std::ranges::find(wishes, VariableType::CaseIdentifier, &CellWish::kind);
    if (asked != wishes.end()) return static_cast<std::uint32_t>(asked->value.longValue());
    auto const records = project.records();
    if (records.empty()) return 1;
    u64 const next = project.getRow(records.back().id()).front().longValue() + 1;
    auto const id = static_cast<std::uint32_t>(next);
    return id == next && !project.recordById(next) ? id : freeCaseIds(caseIds(project), 1).front();
  }

  std::string file_;
  std::vector<std::string> values_;
};

/// What makes cases active or inactive; one verb for each.
class ActivityCommand : public Command {
 public:
  explicit ActivityCommand(bool active)
      : Command{active ? "activate" : "deactivate",
                active ? "Make a case active again" : "Make a case inactive: it stays in the table"},
        active_{active} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("CASE-ID", case_, "Which case")->required()->option_text(" ");
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Writing, console};
    auto const record = findCase(open.project(), case_);
    if (record.lock().isActive() == active_) {
      fmt::print(console.out, "Case {} is {} already.\n", case_, active_ ? "active" : "inactive");
      return ExitCode::Ok;
    }
    open.edit(fmt::format("{} case {}", name(), case_),
              [&](Transaction& transaction) { transaction->activate(record.id(), active_); });
    fmt::print(console.out, "Case {} is {} now.\n", case_, active_ ? "active" : "inactive");
    return ExitCode::Ok;
  }

 private:
  bool active_;
  std::string file_;
  std::string case_;
};

}  // namespace

void addCaseCommands(Commands& commands) {
  commands.push_back(std::make_unique<SetCommand>());
  commands.push_back(std::make_unique<AddCaseCommand>());
  commands.push_back(std::make_unique<ActivityCommand>(true));
  commands.push_back(std::make_unique<ActivityCommand>(false));
}

}  // namespace casebook::cli
