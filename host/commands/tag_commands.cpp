#include "commands/command.h"
#include "console/listing.h"
#include "project/attachment.h"
#include "project/open_project.h"
#include "project/tags.h"
#include "text/json_text.h"
#include "text/numbers.h"
#include "text/utf8.h"

#include <casebook/aux_file.h>
#include <casebook/regex.h>
#include <casebook/tag_group.h>
#include <casebook/transaction.h>

#include <fmt/ostream.h>
#include <fmt/ranges.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <set>
#include <vector>

namespace casebook::cli {
namespace {

class TagsCommand : public Command {
 public:
  TagsCommand() : Command{"tags", "List the tags of files, rules and groups"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    app.add_flag("--unused", unused_, "Those that no file carries alone");
    app.add_flag("--json", json_, "One JSON document");
    app.footer(help);
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, OpenProject::For::Reading, console};
    Project& project = open.project();
    auto const images = project.imageTags();
    auto const files = countFiles(project);
    Listing listing{"tag", json_};
    listing.table().addColumn("Tag");
    listing.table().addColumn("Files", TableView::Align::Right);
    listing.table().addColumn("Of images");
    listing.table().addColumn("Rules", TableView::Align::Right);
    listing.table().addColumn("Groups");
    for (std::string const& tag : allTags(project)) {
      std::size_t const count = files.contains(tag) ? files.at(tag) : 0;
      if (unused_ && count > 0) continue;
      bool const isOfImages = contains(images, tag);
      std::size_t const rules = countRules(project, tag);
      Tags const groups = groupsOf(project, tag);
      listing.add({tag, fmt::format("{}", count), isOfImages ? "yes" : "", rules == 0 ? "" : fmt::format("{}", rules),
                   fmt::format("{}", fmt::join(groups, ", "))},
                  {{"tag", jsonText(tag)},
                   {"files", count},
                   {"images", isOfImages},
                   {"rules", rules},
                   {"groups", jsonTexts(groups)}});
    }
    listing.print(console, file_);
    return ExitCode::Ok;
  }

 private:
  static constexpr char const* help =
      R"(Groups may hold tags of images alone. The own tag of files is one when the first of them is an image. Of the
tags that rules give, each image file without a tag of its own stands for one: that of the first rule which matches it
and for which no file before it stands.)";

  /// Of the tags that any file carries.
  static std::map<std::string, std::size_t> countFiles(Project& project) {
    std::map<std::string, std::size_t> counts;
    for (auto file : project.auxFiles())
      for (std::string const& tag : project.auxFileTags(file.id())) ++counts[tag];
    return counts;
  }

  static std::size_t countRules(Project& project, std::string const& tag) {
    return static_cast<std::size_t>(std::ranges::count_if(
        project.pathRegexs(), [&](auto rule) { return project.pathRegexTarget(rule.id()) == tag; }));
  }

  static Tags groupsOf(Project& project, std::string const& tag) {
    Tags names;
    for (auto group : project.tagGroups())
      if (contains(project.tags(group.id()), tag)) names.push_back(project.tagGroupName(group.id()));
    return names;
  }

  std::string file_;
  bool unused_ = false;
  bool json_ = false;
};

/// What goes when tags are removed. The files are asked for tag by tag, so that one that carries two of the tags goes
/// once.
class TagRemoval {
 public:
  TagRemoval(Project& project, std::set<std::string> const& tags) : project_{project}, tags_{tags} {
    for (std::string const& tag : tags)
      for (auto file : project.auxFiles(tag)) files_.insert(file);
    for (auto rule : project.pathRegexs())
      if (tags.contains(project.pathRegexTarget(rule.id()))) rules_.push_back(rule);
    for (auto group : project.tagGroups())
      for (std::string const& tag : project.tags(group.id()))
        if (tags.contains(tag)) places_.emplace_back(group, tag);
  }

  /// A line for each thing.
  void print(std::ostream& out) const {
    for (auto file : files_)
      fmt::print(out, "  case {}: file {}{}\n", caseIdOf(project_, project_.auxFileRecord(file.id())),
                 inQuotes(project_.auxFileRawPath(file.id())), othersOf(file));
    for (auto rule : rules_)
      fmt::print(out, "  rule {} for the tag {}\n", inQuotes(project_.pathRegexExpression(rule.id())),
                 inQuotes(project_.pathRegexTarget(rule.id())));
    for (auto const& [group, tag] : places_)
      fmt::print(out, "  {} in the group {}\n", inQuotes(tag), inQuotes(project_.tagGroupName(group.id())));
  }

  /// "2 files, 1 rule and 0 places in groups".
  [[nodiscard]] std::string counts() const {
    return fmt::format("{}, {} and {} in groups", counted(files_.size(), "file"), counted(rules_.size(), "rule"),
                       counted(places_.size(), "place"));
  }

  void carryOut(Project& project) const {
    for (auto const& [group, tag] : places_) project.removeTag(group.id(), tag);
    for (auto rule : rules_) project.erasePathRegex(rule.id());
    for (auto file : files_) project.eraseAuxFile(file.id());
  }

 private:
  /// The tags that a file carries besides.
  [[nodiscard]] std::string othersOf(WeakPtr<AuxFile> file) const {
    Tags others = project_.auxFileTags(file.id());
    std::erase_if(others, [this](std::string const& tag) { return tags_.contains(tag); });
    return others.empty() ? "" : fmt::format(", which carries {} too", tagWords(others));
  }

  Project& project_;
  std::set<std::string> const& tags_;
  std::set<WeakPtr<AuxFile>> files_;
  std::vector<WeakPtr<Regex<std::string>>> rules_;
  std::vector<std::pair<WeakPtr<TagGroup>, std::string>> places_;
};

class RemoveTagCommand : public Command {
 public:
  RemoveTagCommand() : Command{"remove-tag", "Remove tags with all files that carry them and rules that give them"} {}

  void declare(CLI::App& app) override {
    addFileArgument(app, file_);
    addTexts(app, "TAG", given_, "A tag that goes")->required()->option_text("...");
    app.add_flag("--dry-run", dryRun_, "Lists what would go, and leaves it");
    app.footer("The files leave their cases; on the disk they stay.");
  }

  ExitCode run(Console& console) override {
    OpenProject open{file_, dryRun_ ? OpenProject::For::Reading : OpenProject::For::Writing, console};
    Project& project = open.project();
    for (std::string const& tag : given_) checkTagIsThere(project, tag);
    std::set<std::string> const tags{given_.begin(), given_.end()};
    std::string const words =
        fmt::format("{} {}", tags.size() == 1 ? "tag" : "tags", tagWords({tags.begin(), tags.end()}));
    TagRemoval const removal{project, tags};
    fmt::print(console.out, "With the {} {}:\n", words, dryRun_ ? "would go" : "go");
    removal.print(console.out);
    if (dryRun_) return ExitCode::Ok;
    console.out.flush();
    GroupsBefore const groups{project};
    open.edit(fmt::format("remove {}", words),
              [&](Transaction& transaction) { removal.carryOut(transaction.project()); });
    fmt::print(console.out, "Removed {}; casebook undo FILE brings them back.\n", removal.counts());
    groups.warnOfLost(project, console, tags);
    return ExitCode::Ok;
  }

 private:
  std::string file_;
  Tags given_;
  bool dryRun_ = false;
};

}  // namespace

void addTagCommands(Commands& commands) {
  commands.push_back(std::make_unique<TagsCommand>());
  commands.push_back(std::make_unique<RemoveTagCommand>());
}

}  // namespace casebook::cli
