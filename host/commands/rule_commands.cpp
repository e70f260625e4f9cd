#include "commands/list_command.h"
#include "project/open_project.h"
#include "project/tags.h"
#include "text/json_text.h"
#include "text/nearest.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <casebook/regex.h>
#include <casebook/transaction.h>

#include <fmt/ostream.h>
#include <CLI/CLI.hpp>

#include <vector>

namespace casebook::cli {
namespace {

class RuleCommand : public Command {
 public:
  RuleCommand() : Command{"rule", "Give a tag to all files whose paths match a pattern, or stop doing so"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_option("PATTERN", pattern_, "What the end of a path has to match")->required()->option_text(" ");
    app.add_option("TAG", tag_, "The tag that matching files carry")->required()->option_text(" ");
    app.add_flag("--remove", remove_, "Takes the rule out");
    app.footer(help);
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Writing, console};
    remove_ ? remove(open, console) : add(open, console);
    return ExitCode::Ok;
  }

 private:
  static constexpr char const* help =
      R"(The path is the one that casebook files lists. In a pattern * stands for any run of characters, ? for any one;
put it in quotes, or the shell expands it. Capital and small letters differ. A file with a tag of its own carries that
one alone, whatever rules say.)";

  using Rules = std::vector<WeakPtr<Regex<std::string>>>;

  void add(OpenProject& open, Console& console) const {
    Project& project = open.project();
    if (pattern_.empty()) throw Failure{"A pattern cannot be empty; \"*\" matches every path."};
    checkTag(tag_);
    if (!matching(project).empty()) {
      fmt::print(console.out, "There is a rule {} already.\n", words());
      return;
    }
    std::size_t const files = countMatches(project, {pattern_}).front();
    open.edit(fmt::format("add rule {}", words()),
              [&](Transaction& transaction) { transaction->addPathRegex(pattern_, tag_); });
    fmt::print(console.out, "Added the rule {}; it gives the tag to {} now.\n", words(), counted(files, "file"));
  }

  void remove(OpenProject& open, Console& console) const {
    Project& project = open.project();
    auto const rules = matching(project);
    if (rules.empty()) throw Failure{fmt::format("There is no rule {}. {}", words(), nearRules(project))};
    GroupsBefore const groups{project};
    open.edit(fmt::format("remove rule {}", words()), [&](Transaction& transaction) {
      for (auto rule : rules) transaction->erasePathRegex(rule.id());
    });
    fmt::print(console.out, "Removed the rule {}.\n", words());
    groups.warnOfLost(project, console);
  }

  [[nodiscard]] std::string words() const {
    return fmt::format("{} for the tag {}", inQuotes(pattern_), inQuotes(tag_));
  }

  /// More than one only where another program made them.
  [[nodiscard]] Rules matching(Project& project) const {
    Rules rules = project.pathRegexs();
    std::erase_if(rules, [&](auto rule) {
      return project.pathRegexExpression(rule.id()) != pattern_ || project.pathRegexTarget(rule.id()) != tag_;
    });
    return rules;
  }

  [[nodiscard]] std::string nearRules(Project& project) const {
    std::vector<std::string> patterns;
    std::vector<std::string> tagsOfPattern;
    for (auto rule : project.pathRegexs()) {
      patterns.push_back(project.pathRegexExpression(rule.id()));
      if (patterns.back() == pattern_) tagsOfPattern.push_back(project.pathRegexTarget(rule.id()));
    }
    if (patterns.empty()) return "There are no rules.";
    if (tagsOfPattern.empty()) return suggestion(pattern_, patterns);
    return fmt::format("The rule of that pattern is for {}.", tagWords(tagsOfPattern));
  }

  std::string file_;
  std::string pattern_;
  std::string tag_;
  bool remove_ = false;
};

class RulesCommand : public ListCommand {
 public:
  RulesCommand() : ListCommand{"rules", "List the rules that give tags to files", "rule"} {}

 private:
  void fill(Project& project, Listing& listing) const override {
    auto const rules = project.pathRegexs();
    std::vector<std::string> patterns;
    for (auto rule : rules) patterns.push_back(project.pathRegexExpression(rule.id()));
    auto const counts = countMatches(project, patterns);
    listing.table().addColumn("Files", TableView::Align::Right);
    listing.table().addColumn("Tag");
    listing.table().addColumn("Pattern", TableView::Align::Left, TableView::Fit::Whole);
    for (std::size_t i = 0; i < patterns.size(); ++i) {
      std::string const tag = project.pathRegexTarget(rules[i].id());
      listing.add({fmt::format("{}", counts[i]), tag, patterns[i]},
                  {{"pattern", jsonText(patterns[i])}, {"tag", jsonText(tag)}, {"files", counts[i]}});
    }
  }
};

}  // namespace

void addRuleCommands(Commands& commands) {
  commands.push_back(std::make_unique<RuleCommand>());
  commands.push_back(std::make_unique<RulesCommand>());
}

}  // namespace casebook::cli
